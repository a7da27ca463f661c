"""Shared fixtures of the quarnnc tests: where the sources, the tool and the example generator are.

The paths come from the environment that CTest sets (QUARN_SOURCE_DIR, QUARNNC_PATH,
QUARN_GENERATOR_PATH); a test that needs one that is not set is skipped.
"""
import os
import pathlib

import pytest


def _path_from_environment(name):
    value = os.environ.get(name)
    if not value:
        pytest.skip(f"{name} is not set")
    path = pathlib.Path(value)
    if not path.exists():
        pytest.skip(f"{name}={value} does not exist")
    return path


@pytest.fixture(scope="session")
def source_dir():
    """The root of the repository (QUARN_SOURCE_DIR)."""
    return _path_from_environment("QUARN_SOURCE_DIR")


@pytest.fixture(scope="session")
def examples_dir(source_dir):
    """The bundled example programs."""
    return source_dir / "examples"


@pytest.fixture(scope="session")
def quarnnc_tool():
    """The command-line tool quarnnc (QUARNNC_PATH), an independent path to what the readers send."""
    return _path_from_environment("QUARNNC_PATH")


@pytest.fixture(scope="session")
def generator():
    """quarn-generate-examples (QUARN_GENERATOR_PATH): `--moves N FILE` writes a compact NCI program."""
    return _path_from_environment("QUARN_GENERATOR_PATH")


@pytest.fixture(scope="session")
def generate(generator, tmp_path_factory):
    """generate(moves) -> path of a compact NCI program of that many moves (made once per size)."""
    import subprocess

    made = {}

    def make(moves):
        if moves not in made:
            path = tmp_path_factory.mktemp("generated") / f"program-{moves}.nci"
            subprocess.run([str(generator), "--moves", str(moves), str(path)], check=True, capture_output=True)
            made[moves] = path
        return made[moves]

    return make
