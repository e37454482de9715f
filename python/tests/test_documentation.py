"""The examples in docstrings and in examples/."""

import doctest
import importlib
import inspect
import os
import pkgutil
import shutil
import subprocess
import sys
from pathlib import Path

import pytest
from conftest import ROOT

import datasrc

MODULES = ["datasrc"] + [f"datasrc.{found.name}" for found in pkgutil.iter_modules(datasrc.__path__)
                         if found.name != "_core"]


@pytest.mark.parametrize("name", MODULES)
def test_the_examples_of_a_module(name, penguins, tmp_path, monkeypatch):
    shutil.copy(penguins, tmp_path)
    monkeypatch.chdir(tmp_path)
    module = importlib.import_module(name)
    result = doctest.testmod(module, extraglobs={"datasrc": datasrc}, optionflags=doctest.NORMALIZE_WHITESPACE)
    assert result.failed == 0


def test_every_public_function_has_a_docstring():
    things = [getattr(datasrc, name) for name in datasrc.__all__]
    things += [member for thing in things if inspect.isclass(thing) and thing.__module__.startswith("datasrc")
               for name, member in vars(thing).items() if not name.startswith("_") and inspect.isfunction(member)]
    without = [thing for thing in things if not isinstance(thing, str) and not inspect.getdoc(thing)]
    assert not without


def test_the_example_runs(tmp_path):
    script = ROOT / "examples" / "penguins.py"
    result = subprocess.run([sys.executable, script], cwd=tmp_path, capture_output=True, text=True,
                            env={**os.environ, "MPLBACKEND": "Agg"})
    assert (result.stderr, result.returncode) == ("", 0)
    assert "4545.7" in result.stdout
    picture = (tmp_path / "penguins.png").read_bytes()
    assert picture.startswith(b"\x89PNG") and len(picture) > 5000
    again = datasrc.open(tmp_path / "heavy_penguins.quav")
    assert again.variables["kilos"].label == "Body mass (kg)" and again.variables["species"].label == "Species"


def test_the_stubs_are_there():
    package = Path(datasrc.__file__).parent
    assert (package / "py.typed").exists()
    stub = (package / "_core.pyi").read_text()
    for name in dir(datasrc._core):
        if not name.startswith("_"):
            assert f" {name}(" in stub or f" {name}:" in stub or f"\n{name}:" in stub, name
