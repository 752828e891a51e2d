"""Files look the same to the package, to the program and to numpy."""

from __future__ import annotations

import json
import os
import pathlib
import subprocess
from typing import Any

import numpy as np
import pytest
import support

import qorn

PROGRAM = os.environ["QORN_PROGRAM"]
SPACING = {"columns": 1.5, "rows": 2.0, "plans": 2.5}
SUFFIXES = [".npy", ".tif", ".nii", ".nii.gz"]


def program(*arguments: object) -> str:
    return subprocess.run([PROGRAM, *map(str, arguments)], check=True, capture_output=True, text=True).stdout


@pytest.mark.parametrize("dtype", support.DTYPES, ids=str)
@pytest.mark.parametrize("suffix", SUFFIXES)
def test_both_ways(tmp_path: pathlib.Path, suffix: str, dtype: Any) -> None:
    image = support.random_image(np.random.default_rng(1), (3, 5, 7), dtype)
    path = tmp_path / f"image{suffix}"
    qorn.write(path, image[:, ::-1])
    read, header = qorn.read(str(path))
    assert (read == image[:, ::-1]).all() and read.flags.writeable
    assert header.shape == read.shape == image.shape
    assert header.dtype == read.dtype.name == ("uint8" if dtype == bool else dtype.name)
    assert qorn.read_header(path).shape == image.shape
    converted = tmp_path / "converted.npy"
    program("open", path, converted, "--element", "disk(0)", "--quiet")
    assert (np.load(converted) == read).all()
    if suffix == ".npy":
        assert (np.load(path) == read).all()


def test_results_are_those_of_the_program(tmp_path: pathlib.Path) -> None:
    image = support.random_image(np.random.default_rng(2), (9, 20, 30), np.int16)
    qorn.write(tmp_path / "in.nii", image)
    program("white-tophat", tmp_path / "in.nii", tmp_path / "out.nii", "--element", "ball(2)", "--quiet")
    assert (qorn.read(tmp_path / "out.nii").image == qorn.white_tophat(image, qorn.ball(2))).all()


def test_header_goes_along(tmp_path: pathlib.Path) -> None:
    nibabel = pytest.importorskip("nibabel")
    affine = np.diag([1.5, 2.0, 2.5, 1]) + np.eye(4, k=3) * 7
    image = support.random_image(np.random.default_rng(3), (4, 5, 6), np.int16)
    nibabel.save(nibabel.Nifti1Image(image.T, affine), tmp_path / "in.nii.gz")
    read, header = qorn.read(tmp_path / "in.nii.gz")
    assert (read == image).all() and header.spacing == (2.5, 2.0, 1.5) and header.format == "nifti"
    qorn.write(tmp_path / "out.nii.gz", qorn.dilation(read, qorn.ellipsoid(3, header.spacing)), header)
    written = nibabel.load(tmp_path / "out.nii.gz")
    assert (written.affine == affine).all()
    with pytest.raises(ValueError):
        qorn.write(tmp_path / "part.nii", read[1:], header)


def test_spacing_without_another_library(tmp_path: pathlib.Path) -> None:
    qorn.write(tmp_path / "in.nii", np.zeros((4, 5, 6), np.uint8))
    raw = bytearray((tmp_path / "in.nii").read_bytes())
    raw[80:92] = np.array([1.5, 2, 2.5], "<f4").tobytes()  # pixdim of the first three dimensions
    (tmp_path / "in.nii").write_bytes(raw)
    read, header = qorn.read(tmp_path / "in.nii")
    assert header.spacing == (2.5, 2.0, 1.5)
    qorn.write(tmp_path / "out.nii", read, header)
    assert json.loads(program("info", "--json", tmp_path / "out.nii"))[0]["spacing"] == SPACING


def test_scale(tmp_path: pathlib.Path) -> None:
    qorn.write(tmp_path / "in.nii", np.zeros((4, 5), np.uint8))
    raw = bytearray((tmp_path / "in.nii").read_bytes())
    raw[112:120] = np.array([2, 5], "<f4").tobytes()  # slope, intercept
    (tmp_path / "in.nii").write_bytes(raw)
    header = qorn.read_header(tmp_path / "in.nii")
    assert header.scale == (2, 5) and header.of_difference().scale == (2, 0)


def test_colours(tmp_path: pathlib.Path) -> None:
    source = pathlib.Path(__file__).parents[2] / "docs/gallery/elevation.png"
    read, header = qorn.read(source)
    qorn.write(tmp_path / "out.png", read, header)
    assert (qorn.read(tmp_path / "out.png").image == read).all()
    assert qorn.read_header(tmp_path / "out.png").shape == header.shape


def test_axes(tmp_path: pathlib.Path) -> None:
    image = support.random_image(np.random.default_rng(4), (5, 6, 3), np.uint8)
    qorn.write(tmp_path / "out.npy", image, axes="YXC")
    read = qorn.read(tmp_path / "out.npy").image
    assert read.shape == (3, 1, 1, 5, 6) and (read[:, 0, 0] == np.moveaxis(image, 2, 0)).all()


def test_refusals(tmp_path: pathlib.Path) -> None:
    image = np.zeros((3, 4), np.uint8)
    with pytest.raises(FileNotFoundError):
        qorn.read(tmp_path / "nowhere.npy")
    (tmp_path / "cut.npy").write_bytes(b"\x93NUMPY")
    (tmp_path / "text.txt").write_text("text")
    for path in ("cut.npy", "text.txt"):
        with pytest.raises(OSError):
            qorn.read(tmp_path / path)
    with pytest.raises(OSError):
        qorn.write(tmp_path / "image.jpg", image)
    with pytest.raises(OSError):
        qorn.write(tmp_path / "nowhere" / "image.npy", image)
    with pytest.raises(OSError):
        qorn.write(tmp_path / "image.png", image.astype(np.float32))
    qorn.write(tmp_path / "image.npy", image)
    with pytest.raises(OSError):
        qorn.write(tmp_path / "image.npy", image + 1, replace=False)
    assert (qorn.read(tmp_path / "image.npy").image == 0).all()
    with pytest.raises(OSError):
        qorn.read(make_gzip(tmp_path), max_voxels=3)


def make_gzip(folder: pathlib.Path) -> pathlib.Path:
    qorn.write(folder / "image.nii.gz", np.zeros((3, 4), np.uint8))
    return folder / "image.nii.gz"
