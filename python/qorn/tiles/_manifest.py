"""The folder beside a target that tells what is to be done and what has been done."""

from __future__ import annotations

import json
import os
import shutil
import uuid
from dataclasses import dataclass
from functools import lru_cache
from typing import Any, Optional

import numpy as np

from .. import Error
from ..footprints import Pairs
from . import _stores
from ._jobs import Job, decode, encode
from ._plan import Shape

# Raised when what is kept in the folder changes.
VERSION = 1


@dataclass(frozen=True)
class Stage:
    """A job on all tiles, from the sources or the stage before to a store in the folder."""

    job: Job
    margins: Pairs
    tile: Shape
    count: int
    dtype: str
    store: str
    working_set: int
    overhead: float


class Manifest:
    """What plan.json says, and the marks of finished tiles. Marks are made by renaming: they are there or not."""

    def __init__(self, folder: str) -> None:
        self.folder = folder
        try:
            with open(os.path.join(folder, "plan.json"), encoding="utf-8") as file:
                self.plan: dict[str, Any] = json.load(file)
        except FileNotFoundError as error:
            raise FileNotFoundError(
                f"{folder}: no plan.json there; do all workers see the folder, or has another start removed it?"
            ) from error
        self.target: str = self.plan["target"]
        self.shape: Shape = tuple(self.plan["identity"]["shape"])
        self.chunks: Shape = tuple(self.plan["chunks"])
        self.sources: list[str] = self.plan["identity"]["sources"]
        self.stages = [_decode_stage(one) for one in self.plan["stages"]]

    @property
    def id(self) -> str:
        return str(self.plan["id"])

    @property
    def _work(self) -> str:
        """Stores and marks. Another run has another folder, which late tiles of this one don't reach."""
        return os.path.join(self.folder, self.id)

    def get_store(self, stage: int) -> str:
        return os.path.join(self._work, self.stages[stage].store)

    def get_marks(self, stage: int) -> str:
        """The folder of marks, each called by the number of its tile."""
        return os.path.join(self._work, f"done-{stage}")

    def get_marked(self, stage: int) -> set[int]:
        """The finished tiles of a stage."""
        return {int(name) for name in os.listdir(self.get_marks(stage)) if name.isdecimal()}

    def is_marked(self, stage: int, tile: int) -> bool:
        return os.path.exists(os.path.join(self.get_marks(stage), str(tile)))

    def mark(self, stage: int, tile: int, content: str = "") -> None:
        marks = self.get_marks(stage)
        new = os.path.join(marks, f"{tile}.{uuid.uuid4().hex}")
        with open(new, "w", encoding="utf-8") as file:
            file.write(content)
        os.replace(new, os.path.join(marks, str(tile)))

    def read_mark(self, stage: int, tile: int) -> str:
        with open(os.path.join(self.get_marks(stage), str(tile)), encoding="utf-8") as file:
            return file.read()

    def _get_cancel(self, attempt: str) -> str:
        return os.path.join(self._work, f"cancel-{attempt}") if attempt else os.path.join(self.folder, "cancel")

    def cancel(self, attempt: str) -> None:
        """Ends all tiles of a start of the client. Those without one are ended by a file "cancel"."""
        try:
            with open(self._get_cancel(attempt), "w", encoding="utf-8"):
                pass
        except FileNotFoundError:  # all is over
            pass

    def is_cancelled(self, attempt: str) -> bool:
        return os.path.exists(self._get_cancel(attempt)) or not os.path.exists(self._work)

    @property
    def is_complete(self) -> bool:
        return os.path.exists(os.path.join(self.folder, "complete"))

    def is_finished(self) -> bool:
        """Whether no tile is left."""
        return all(len(self.get_marked(index)) == stage.count for index, stage in enumerate(self.stages))

    def forget(self, stage: int) -> None:
        """Removes the store of a stage that the next one has read."""
        _remove(self.get_store(stage))

    def note_complete(self) -> None:
        with open(os.path.join(self.folder, "complete"), "w", encoding="utf-8"):
            pass

    def remove(self) -> None:
        _remove(self.folder)


def _remove(path: str) -> None:
    """Removes a file or folder; it has another name first, so that half of it is never taken for the whole."""
    aside = f"{path}.{uuid.uuid4().hex}.removed"
    try:
        os.rename(path, aside)
    except FileNotFoundError:
        return
    if os.path.isdir(aside):
        shutil.rmtree(aside, ignore_errors=True)
    else:
        os.remove(aside)


def _encode_stage(stage: Stage) -> dict[str, Any]:
    return {**vars(stage), "job": {"function": stage.job.function, "arguments": encode(stage.job.arguments)}}


def _decode_stage(stage: dict[str, Any]) -> Stage:
    job = Job(stage["job"]["function"], decode(stage["job"]["arguments"]))
    margins = tuple((before, after) for before, after in stage["margins"])
    decoded: dict[str, Any] = {**stage, "job": job, "margins": margins, "tile": tuple(stage["tile"])}
    return Stage(**decoded)


def get_folder(target: str) -> str:
    return f"{target}.tiles"


def find(target: str) -> Optional[Manifest]:
    """The manifest of a target, if there is one."""
    try:
        return Manifest(get_folder(target))
    except FileNotFoundError:
        return None


def create(
    target: str, identity: dict[str, Any], stages: list[Stage], chunks: Shape, source: _stores.Source, replaces: bool
) -> Manifest:
    """Makes the folder with its stores, all at once. If another process was faster, it is that one's."""
    folder = get_folder(target)
    new = f"{folder}.{uuid.uuid4().hex}"
    plan = {
        "version": VERSION, "id": uuid.uuid4().hex, "target": target, "replaces": replaces, "chunks": list(chunks),
        "identity": identity, "stages": [_encode_stage(one) for one in stages],
    }  # fmt: skip
    work = os.path.join(new, str(plan["id"]))
    try:
        os.makedirs(work)
        shape: Shape = tuple(identity["shape"])
        for index, stage in enumerate(stages):
            os.mkdir(os.path.join(work, f"done-{index}"))
            if stage.store:
                _stores.create(os.path.join(work, stage.store), shape, chunks, np.dtype(stage.dtype), source)
        with open(os.path.join(new, "plan.json"), "w", encoding="utf-8") as file:
            json.dump(plan, file, indent=1)
        if os.path.isdir(folder) and not os.path.exists(os.path.join(folder, "plan.json")):
            _remove(folder)  # what was left of one that was being removed
        os.rename(new, folder)
    except OSError:
        shutil.rmtree(new, ignore_errors=True)
        if not os.path.exists(os.path.join(folder, "plan.json")):
            raise
    return Manifest(folder)


def check_identity(manifest: Manifest, identity: dict[str, Any]) -> None:
    """Raises ValueError if the manifest is one of something else."""
    if manifest.plan.get("version") != VERSION:
        raise ValueError(f"{manifest.folder}: was made by another version; resume=False begins anew")
    kept, asked = manifest.plan["identity"], json.loads(json.dumps(identity))
    other = [key for key in asked if kept.get(key) != asked[key]]
    if other:
        raise ValueError(
            f"{manifest.target}: a run with other parameters is under way, of {', '.join(other)} "
            f"({_shorten(kept.get(other[0]))}, now {_shorten(asked[other[0]])}); resume=False begins anew"
        )


def _shorten(value: Any) -> str:
    text = json.dumps(value)
    return text if len(text) < 80 else text[:77] + "..."


@lru_cache(maxsize=8)
def _load(folder: str, id: str) -> Manifest:
    return Manifest(folder)


def load(folder: str, id: str) -> Manifest:
    """The manifest for a tile of a run, kept from tile to tile."""
    manifest = _load(folder, id)
    if manifest.id != id:
        _load.cache_clear()
        raise Error(f"{folder}: belongs to another run")
    return manifest
