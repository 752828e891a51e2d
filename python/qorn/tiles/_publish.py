"""Puts a complete result where it belongs."""

from __future__ import annotations

import errno
import json
import os
import uuid
from typing import Any, Optional

from . import _stores
from ._manifest import Manifest


def publish(manifest: Manifest, result: Optional[dict[str, Any]]) -> None:
    """Publishes the store of the last stage, or the result of a measure. Several processes may do so at a time."""
    replaces = bool(manifest.plan["replaces"])
    store = manifest.get_store(len(manifest.stages) - 1)
    if result is not None:
        new = f"{manifest.target}.{uuid.uuid4().hex}"
        with open(new, "w", encoding="utf-8") as file:
            json.dump(result, file)
        os.replace(new, manifest.target)
    else:
        try:
            _move(manifest, store, replaces)
        except FileNotFoundError:
            # Another process was faster.
            if os.path.exists(store) or not os.path.exists(manifest.target):
                raise
    manifest.note_complete()


def _move(manifest: Manifest, store: str, replaces: bool) -> None:
    os.stat(store)  # raises FileNotFoundError where another process has moved it
    if os.path.lexists(manifest.target) and not replaces:
        os.stat(store)  # it may have done so since
        raise FileExistsError(f"{manifest.target}: appeared meanwhile; the result is {store}")
    if _stores.is_zarr(store):
        for name in os.listdir(store):
            if name.endswith(".partial"):  # left by a process that was killed while it wrote a chunk
                os.remove(os.path.join(store, name))
    elif not manifest.target.lower().endswith(".npy"):
        return _stores.convert(store, manifest.target, _find_header(manifest), replaces)
    if replaces and os.path.isdir(manifest.target):
        try:
            # One name: a second process can't put the result of the first one there.
            os.rename(manifest.target, os.path.join(manifest.folder, "replaced"))
        except OSError as error:
            if error.errno not in (errno.ENOENT, errno.ENOTEMPTY, errno.EEXIST):
                raise
    os.rename(store, manifest.target)


def _find_header(manifest: Manifest) -> Optional[Any]:
    """The header that the source has for a file of its own format."""
    source = _stores.open_source(manifest.sources[0])
    if source.header is None or source.header.format != _get_format(manifest.target):
        return None
    is_difference = any(stage.job.is_difference for stage in manifest.stages)
    return source.header.of_difference() if is_difference else source.header


def _get_format(path: str) -> str:
    lower = path.lower()
    return "nifti" if lower.endswith((".nii", ".nii.gz")) else "tiff" if lower.endswith((".tif", ".tiff")) else ""
