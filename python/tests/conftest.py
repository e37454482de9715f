"""What the tests share. They test the package that is installed, not the folder beside them."""

import os
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
SAMPLES = Path(os.environ.get("DATASRC_SAMPLES", ROOT / "tests" / "samples"))


@pytest.fixture
def penguins():
    return ROOT / "examples" / "penguins.quav"


@pytest.fixture
def made(tmp_path):
    """The path of a file that is made by a test."""
    return tmp_path / "made.quav"
