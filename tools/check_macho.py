"""Check a wheel's extension for macOS: its format, its exports, and that the system or CPython has all names it needs.

Names that the linker did not find in a library are looked up in the process when the extension is loaded. Each must be
declared in CPython's headers, except the internal ones: every build of CPython 3.12 exports that interface.
"""

import re
import sys
import sysconfig
import zipfile
from pathlib import Path

import lief

EXTENSION = "muvad_tarnel/setup/skill.cpython-312-darwin.so"
SYMBOL_KIND = 0x0E  # mask for a symbol's type byte
UNDEFINED = 0x00


def public_names() -> set[str]:
    """The names that CPython's public headers declare."""
    include = Path(sysconfig.get_path("include"))
    headers = [*include.glob("*.h"), *(include / "cpython").glob("*.h")]
    text = re.sub(r"/\*.*?\*/|//[^\n]*", "", "".join(path.read_text() for path in headers), flags=re.DOTALL)
    return set(re.findall(r"\bPyAPI_(?:FUNC|DATA)\([^)]*\)\s*\**\s*(\w+)", text))


def read_extension(wheel: Path) -> lief.MachO.Binary:
    """The single architecture of the single binary in a wheel."""
    with zipfile.ZipFile(wheel) as archive:
        binaries = [name for name in archive.namelist() if name.endswith((".so", ".dylib"))]
        if binaries != [EXTENSION]:
            sys.exit(f"{wheel.name}: expected {EXTENSION} as the only binary, got {binaries}")
        fat = lief.MachO.parse(list(archive.read(EXTENSION)))
    if fat is None or fat.size != 1:
        sys.exit(f"{EXTENSION}: not a Mach-O file of one architecture")
    binary = fat.at(0)
    assert binary is not None
    return binary


def bound_names(binary: lief.MachO.Binary) -> dict[str, str | None]:
    """The extension's undefined names, each with the library that provides it; None: any."""
    names: dict[str, str | None] = {}
    for symbol in binary.symbols:
        if symbol.raw_type & SYMBOL_KIND != UNDEFINED:
            continue
        library = symbol.binding_info.library if symbol.binding_info is not None else None
        names[str(symbol.name)] = None if library is None else library.name
    return names


def main() -> int:
    """Compare a wheel's extension with the expectations; return the number of differences."""
    binary = read_extension(Path(sys.argv[1]))
    names = bound_names(binary)
    looked_up = {name for name, library in names.items() if library is None}
    public = {f"_{name}" for name in public_names()}
    version = binary.build_version
    assert version is not None
    comparisons = {
        "processor": (binary.header.cpu_type, lief.MachO.Header.CPU_TYPE.ARM64),
        "kind": (binary.header.file_type, lief.MachO.Header.FILE_TYPE.BUNDLE),
        "system": (version.platform, lief.MachO.BuildVersion.PLATFORMS.MACOS),
        "oldest version": (list(version.minos), [11, 0, 0]),
        "exports": ([symbol.name for symbol in binary.exported_symbols], ["_PyInit_skill"]),
        "libraries": (
            sorted(library.name for library in binary.libraries),
            ["/usr/lib/libSystem.B.dylib", "/usr/lib/libc++.1.dylib"],
        ),
        "signed": (binary.has_code_signature, True),
        "names that are not CPython's": (sorted(looked_up - public), []),
        # Guards the checks above: if CPython's names are missing, the extension was not parsed correctly.
        "asks CPython for objects": ("_PyObject_GetAttr" in looked_up & public, True),
    }
    differing = 0
    for subject, (actual, expected) in comparisons.items():
        differs = actual != expected
        differing += differs
        print(f"{'WRONG ' if differs else ''}{subject}: {actual}{f', expected {expected}' if differs else ''}")
    print(f"looked up in CPython: {len(looked_up & public)} names; bound to libraries: {len(names) - len(looked_up)}")
    return differing


if __name__ == "__main__":
    sys.exit(main())
