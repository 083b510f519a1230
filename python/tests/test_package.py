"""The package as users get it: the build tree's installed layout imports,
the stubs describe what the module has, the example writes its PNG."""

import ast
import subprocess
import sys
from pathlib import Path

import pytest

import viewgeo
from conftest import REPO, subprocess_env

STUB = Path(viewgeo.__file__).with_name("__init__.pyi")


def test_build_tree_package_imports_without_the_test_hooks(root, package_dirs):
    # Only pure functions here: this is the package against the installed
    # library, whose files are the real ones.
    _, installed = package_dirs
    code = (
        "import viewgeo, pathlib, sys; "
        "assert viewgeo._testing is None; "
        "assert float(viewgeo.wrap_pan(600)) == 240.0; "
        "assert viewgeo.Context.to_ptz.__doc__ and 'Q16.16' in viewgeo.Context.to_ptz.__doc__; "
        "print(pathlib.Path(viewgeo.__file__).resolve().parent)"
    )
    out = subprocess.run([sys.executable, "-c", code], env=subprocess_env(root, installed), capture_output=True,
                         text=True, check=True)
    assert Path(out.stdout.strip()) == (installed / "viewgeo").resolve()


def stub_names():
    tree = ast.parse(STUB.read_text())
    names, members = set(), {}
    for node in tree.body:
        if isinstance(node, ast.ClassDef):
            names.add(node.name)
            members[node.name] = {
                n.name if isinstance(n, (ast.FunctionDef,)) else n.target.id
                for n in node.body
                if isinstance(n, ast.FunctionDef) or (isinstance(n, ast.AnnAssign) and isinstance(n.target, ast.Name))
            }
        elif isinstance(node, ast.FunctionDef):
            names.add(node.name)
        elif isinstance(node, ast.AnnAssign) and isinstance(node.target, ast.Name):
            names.add(node.target.id)
    return names, members


def test_stubs_name_every_public_function_class_and_member():
    names, members = stub_names()
    assert set(viewgeo.__all__) <= names
    for cls in ("Context", "OvistaContext", "Compensator"):
        public = {n for n in dir(getattr(viewgeo, cls)) if not n.startswith("_")}
        assert public == members[cls] - {"__init__", "__call__"}, cls


def test_stubs_are_valid_python():
    compile(STUB.read_text(), str(STUB), "exec")


def test_every_public_callable_has_a_docstring():
    for name in viewgeo.__all__:
        obj = getattr(viewgeo, name)
        if callable(obj):
            assert obj.__doc__ and len(obj.__doc__) > 20, name


def test_example_writes_its_png(root, tmp_path):
    out = tmp_path / "grid.png"
    testing_dir = Path(viewgeo.__file__).resolve().parents[1]
    result = subprocess.run(
        [sys.executable, str(REPO / "examples/python/grid_overlay.py"), "--out", str(out), "--tilt", "-10"],
        env=subprocess_env(root, testing_dir), capture_output=True, text=True, timeout=300)
    assert result.returncode == 0, result.stderr
    assert result.stdout.startswith(f"png {out}")
    data = out.read_bytes()
    assert data[:8] == b"\x89PNG\r\n\x1a\n" and len(data) > 10_000
    pan_lines = int(result.stdout.split()[3])
    tilt_lines = int(result.stdout.split()[5])
    assert pan_lines >= 5 and tilt_lines >= 3
