"""Check that source distributions and wheels contain the expected files and nothing else.

The expected files are those tracked by git, so stray files of a working copy are found as well as missing ones.
"""

import re
import subprocess
import sys
import tarfile
import zipfile
from collections.abc import Iterable
from pathlib import Path

SOURCES = [
    "CHANGELOG.md",
    "CMakeLists.txt",
    "LICENSE",
    "README.md",
    "cmake/EmbedDocuments.cmake",
    "native",
    "pyproject.toml",
    "skills",
    "src",
]
METADATA = ["METADATA", "RECORD", "WHEEL", "entry_points.txt", "licenses/LICENSE"]


def tracked(paths: Iterable[str]) -> set[str]:
    """The files under some paths that git tracks."""
    command = ["git", "ls-files", "-z", "--", *paths]
    listing = subprocess.run(command, check=True, capture_output=True, text=True).stdout
    return set(filter(None, listing.split("\0")))


def contents_of_sdist(path: Path) -> tuple[set[str], set[str]]:
    """The files of a source distribution, and the expected ones."""
    root = path.name.removesuffix(".tar.gz")
    with tarfile.open(path) as archive:
        files = {member.name.removeprefix(f"{root}/") for member in archive if not member.isdir()}
    return files, tracked(SOURCES) | {"PKG-INFO"}


def contents_of_wheel(path: Path) -> tuple[set[str], set[str]]:
    """The files of a wheel, and the expected ones: the package, one extension and the metadata."""
    project, version, _ = path.name.split("-", 2)
    machine = re.search(r"(?:x86_64|aarch64)$", path.stem)
    system = f"{machine.group()}-linux-gnu" if machine else "darwin"
    package = {name.removeprefix("src/") for name in tracked(["src"])}
    extension = {f"muvad_tarnel/setup/skill.cpython-312-{system}.so"}
    metadata = {f"{project}-{version}.dist-info/{name}" for name in METADATA}
    with zipfile.ZipFile(path) as archive:
        files = {name for name in archive.namelist() if not name.endswith("/")}  # some writers list folders
    return files, package | extension | metadata


def main() -> int:
    """Check each file named on the command line; return how many are wrong."""
    wrong = 0
    for path in map(Path, sys.argv[1:]):
        read = contents_of_wheel if path.suffix == ".whl" else contents_of_sdist
        files, expected = read(path)
        for name in sorted(files ^ expected):
            print(f"{path.name}: {'missing' if name in expected else 'not expected'}: {name}")
        wrong += files != expected
        print(f"{path.name}: {len(files)} files")
    return wrong


if __name__ == "__main__":
    sys.exit(main())
