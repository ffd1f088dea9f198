"""The logs that the tests read, made by the repository's own builder, and the program that reads them."""

import os
import shutil
import subprocess
from pathlib import Path

import pytest

BUILD = Path(__file__).resolve().parents[2] / "build" / "release"


def pytest_configure() -> None:
    """Has the tests use the program of this checkout, unless another one is named."""
    os.environ.setdefault("TARNLEX_PROGRAM", str(BUILD / "tarnlex"))


@pytest.fixture(scope="session")
def made(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A folder of made-up logs, which tests do not change."""
    folder = tmp_path_factory.mktemp("made")
    builder = os.environ.get("TARNLEX_SAMPLES", str(BUILD / "tests" / "make_sample_log"))
    subprocess.run([builder, folder], check=True)
    return folder


@pytest.fixture
def logs(made: Path, tmp_path: Path) -> Path:
    """A copy of these logs, for tests that change them."""
    return Path(shutil.copytree(made, tmp_path / "logs"))


@pytest.fixture(scope="session")
def large(made: Path, tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A log of 20 MiB and 9,280 events: the same chunks again and again."""
    content = (made / "Security.evtx").read_bytes()
    path = tmp_path_factory.mktemp("large") / "large.evtx"
    path.write_bytes(content[:4096] + content[4096:] * 160)
    return path


@pytest.fixture(scope="session")
def real() -> Path:
    """A folder of real logs, where there is one."""
    folder = os.environ.get("TARNLEX_LOGS")
    if not folder:
        pytest.skip("TARNLEX_LOGS is not set")
    return Path(folder)
