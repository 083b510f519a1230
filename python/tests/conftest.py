"""Fixtures of the Python tests.

They run against the test build of the package (build/<dir>/python-testing),
whose library resolves every file path below a private temporary root, so no
test touches the real /etc, /var/run or /usr/share. scripts/test-python.sh
sets PYTHONPATH to it.
"""

import os
from pathlib import Path

import pytest

import viewgeo

if viewgeo._testing is None:
    raise pytest.UsageError(
        "these tests need the test build of the package: PYTHONPATH=build/<dir>/python-testing"
    )

HOOKS = viewgeo._testing
REPO = Path(__file__).resolve().parents[2]


class Root:
    """A private file-system root: logical paths like /etc/viewgeo/x.conf
    lie below it."""

    def __init__(self, path: Path):
        self.path = path
        for logical in ("/etc/viewgeo", "/var/run/ptz", "/usr/share/viewgeo"):
            self.real(logical).mkdir(parents=True)

    def real(self, logical: str) -> Path:
        return self.path / logical.lstrip("/")

    def write(self, logical: str, text: str) -> None:
        self.real(logical).parent.mkdir(parents=True, exist_ok=True)
        self.real(logical).write_text(text)

    def read(self, logical: str) -> str:
        return self.real(logical).read_text()

    def exists(self, logical: str) -> bool:
        return self.real(logical).exists()


@pytest.fixture(autouse=True)
def root(tmp_path_factory):
    """Every test runs below a fresh root, with no injected failures."""
    r = Root(tmp_path_factory.mktemp("root"))
    HOOKS.set_root(str(r.path))
    HOOKS.clear_failures()
    HOOKS.clear_log()
    yield r
    HOOKS.clear_failures()
    # Keep later imports or stray calls away from the real paths.
    HOOKS.set_root(str(r.path))


@pytest.fixture
def ctx():
    """The camera of the command-line examples: 1920 x 1080, 60 degrees
    wide, pan 10, tilt -20, rectilinear."""
    return viewgeo.Context(pan=10, tilt=-20, horiz_fov=60, pic_size=(1920, 1080), projection_type=2)


@pytest.fixture
def package_dirs():
    """(test package dir, installed-layout package dir) of the build tree."""
    testing = Path(viewgeo.__file__).resolve().parents[1]
    return testing, testing.parent / "python"


def subprocess_env(root: Root, pythonpath: Path) -> dict:
    env = dict(os.environ)
    env["PYTHONPATH"] = str(pythonpath)
    env["VIEWGEO_TEST_ROOT"] = str(root.path)
    env["MPLBACKEND"] = "Agg"
    return env
