"""Shared fixtures: a fresh Vantrove object, the tool, the sample and the corpus."""

import os
import pathlib
import subprocess

import pytest

import vantrove

SOURCE_DIR = pathlib.Path(os.environ.get("VANTROVE_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
SHARED_DIR = pathlib.Path(os.environ.get("VANTROVE_SHARED_DIR", SOURCE_DIR.parent / "shared"))
CORPUS = SHARED_DIR / "corpus"
SAMPLE = SOURCE_DIR / "samples" / "title-blocks.dxf"


@pytest.fixture
def v():
    return vantrove.Vantrove()


@pytest.fixture
def cli():
    tool = os.environ.get("VANTROVE_CLI")
    if not tool or not os.access(tool, os.X_OK):
        pytest.skip("the vantrove tool is not built (VANTROVE_CLI)")

    def run(*args, check=True):
        return subprocess.run([tool, *map(str, args)], capture_output=True, text=True, check=check)

    return run


@pytest.fixture
def corpus():
    if not (CORPUS / "dxf").is_dir():
        pytest.skip(f"corpus not found at {CORPUS}")
    return CORPUS


def implemented(name):
    return next(m for m in vantrove.interface() if m["name"] == name)["implemented"]


def needs(name):
    return pytest.mark.skipif(not implemented(name), reason=f"{name} is not available in this build")
