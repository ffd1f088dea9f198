"""The package itself: its version, and the wheel."""

import os
import re
import subprocess
import sys
import tarfile
import tomllib
import venv
import zipfile
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]


def version() -> str:
    found = re.search(r"project\(tarnlex VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())
    assert found
    return found[1]


def test_the_version_is_that_of_the_program() -> None:
    project = tomllib.loads((ROOT / "python" / "pyproject.toml").read_text())["project"]
    assert project["version"] == version()


@pytest.fixture(scope="module")
def packed(tmp_path_factory: pytest.TempPathFactory) -> Path:
    folder = tmp_path_factory.mktemp("packed")
    subprocess.run([ROOT / "scripts" / "package.sh", "wheel", folder], check=True)
    return folder


def installed(package: Path, folder: Path) -> Path:
    """The folder of programs of an environment that has nothing but a package."""
    venv.create(folder, with_pip=True)
    subprocess.run([folder / "bin" / "pip", "install", "--quiet", "--no-index", package], check=True)
    return folder / "bin"


def run(*command: str | Path) -> str:
    """What a command says that finds no tarnlex but its own."""
    environment = {"PATH": "/usr/bin:/bin", "HOME": os.environ.get("HOME", "/")}
    return subprocess.run(command, env=environment, check=True, capture_output=True, text=True).stdout


@pytest.mark.slow
def test_the_wheel_brings_the_program(packed: Path, made: Path, tmp_path: Path) -> None:
    (wheel,) = packed.glob("*.whl")
    programs = installed(wheel, tmp_path)
    assert run(programs / "tarnlex", "-version").startswith(f"tarnlex ver: {version()}\n")
    code = "import sys, tarnlex; print(tarnlex.program.find(), sum(1 for _ in tarnlex.events(sys.argv[1])))"
    assert run(programs / "python", "-c", code, made) == f"{programs / 'tarnlex'} 127\n"


@pytest.mark.slow
def test_the_wheel_is_for_any_linux(packed: Path) -> None:
    (wheel,) = packed.glob("*.whl")
    assert "-py3-none-" in wheel.name
    assert "manylinux_2_17_x86_64" in wheel.name
    shown = subprocess.run(
        [Path(sys.executable).parent / "auditwheel", "show", wheel],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    assert "requires no external shared libraries" in shown
    names = zipfile.ZipFile(wheel).namelist()
    assert "tarnlex/py.typed" in names
    assert f"tarnlex-{version()}.dist-info/licenses/LICENSE" in names
    assert not [name for name in names if name.endswith((".evtx", ".Evt", ".pyc"))]


@pytest.mark.slow
def test_the_same_commit_gives_the_same_bytes(packed: Path, tmp_path: Path) -> None:
    subprocess.run([ROOT / "scripts" / "package.sh", "wheel", tmp_path], check=True)
    first = {path.name: path.read_bytes() for path in packed.iterdir()}
    assert len(first) == 2
    assert {path.name: path.read_bytes() for path in tmp_path.iterdir()} == first


@pytest.mark.slow
def test_the_source_distribution_is_complete(packed: Path, tmp_path: Path) -> None:
    (archive,) = packed.glob("*.tar.gz")
    with tarfile.open(archive) as tar:
        tar.extractall(tmp_path, filter="data")
    (sources,) = tmp_path.iterdir()
    tools = Path(sys.executable).parent
    build: list[str | Path] = [
        tools / "python",
        "-m",
        "build",
        "--no-isolation",
        "--wheel",
        "--outdir",
        tmp_path / "out",
        sources,
    ]
    subprocess.run(build, check=True, capture_output=True)
    (wheel,) = (tmp_path / "out").iterdir()
    programs = installed(wheel, tmp_path / "environment")
    assert run(programs / "tarnlex", "-version").startswith(f"tarnlex ver: {version()}\n")
