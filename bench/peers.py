"""Build the peers that the benchmark compares with the extension: folders python, cython and mypyc, and floor.so.

All three peers are built from one file: the plain-Python twin, with the documents embedded as constants like in the
extension, so that its import reads no templates. The rest of its code is unchanged.
"""

import ast
import os
import py_compile
import shutil
import subprocess
import sys
import sysconfig
from pathlib import Path
from typing import ClassVar

ROOT = Path(__file__).resolve().parents[1]
SUFFIX = sysconfig.get_config_var("EXT_SUFFIX")


class EmbedTemplates(ast.NodeTransformer):
    """Replace the calls of `_read_template` with the documents, and drop that function."""

    names: ClassVar[dict[str, str]] = {}

    def visit_FunctionDef(self, node: ast.FunctionDef) -> ast.FunctionDef | None:
        return None if node.name == "_read_template" else node

    def visit_Delete(self, node: ast.Delete) -> None:
        assert ast.unparse(node) == "del _read_template"

    def visit_Assign(self, node: ast.Assign) -> ast.Assign:
        match node:
            case ast.Assign(targets=[ast.Name(name)], value=ast.Constant(str(value))):
                self.names[name] = value
            case ast.Assign(value=ast.Call(func=ast.Name("_read_template"), args=[ast.Name(name)])):
                document = ROOT / "skills" / self.names[name] / "SKILL.md"
                node.value = ast.Constant(document.read_text(encoding="utf-8"))
        return node


def embedded_twin() -> str:
    """The source of the peers."""
    tree = ast.parse((ROOT / "bench/plain_skill.py").read_text(encoding="utf-8"))
    return ast.unparse(EmbedTemplates().visit(tree))


def run(*command: str | Path, folder: Path) -> None:
    """Run a compiler, and show its output only if it fails."""
    environment = os.environ | {"CFLAGS": "-O3 -g0", "MYPYPATH": ""}
    done = subprocess.run(command, cwd=folder, env=environment, capture_output=True, text=True, check=False)
    if done.returncode:
        sys.exit(f"{done.stdout}{done.stderr}bench: {' '.join(map(str, command))} failed")


def build(folder: Path) -> None:
    """Rebuild all peers."""
    shutil.rmtree(folder, ignore_errors=True)
    host = Path("muvad_tarnel/setup")
    for name in ("python", "cython", "mypyc"):
        (folder / name).mkdir(parents=True)
    source = folder / "python/skill.py"
    source.write_text(embedded_twin(), encoding="utf-8")
    py_compile.compile(str(source), doraise=True)

    # Both compilers take a module's full name from the packages around its file.
    for name in ("cython", "mypyc"):
        package = folder / name / "source"
        shutil.copytree(ROOT / "src/muvad_tarnel/setup", package / host, ignore=shutil.ignore_patterns("*.pyi", "_*_"))
        shutil.copy(ROOT / "src/muvad_tarnel/__init__.py", package / "muvad_tarnel")
        shutil.copy(source, package / host / "skill.py")
    file = str(host / "skill.py")
    run(Path(sys.executable).with_name("cythonize"), "-3", "-i", file, folder=folder / "cython/source")
    run(Path(sys.executable).with_name("mypyc"), file, folder=folder / "mypyc/source")
    for name in ("cython", "mypyc"):
        # mypyc builds two files, one of which imports the other.
        for built in (folder / name / "source" / host).glob(f"*{SUFFIX}"):
            shutil.move(built, folder / name)

    compiler = os.environ.get("CC", "cc")
    flags = ("-O3", "-std=gnu17", "-Wall", "-Wextra", "-fPIC", "-shared")
    run(compiler, *flags, ROOT / "bench/floor.c", "-o", folder / "floor.so", folder=folder)


if __name__ == "__main__":
    build(Path(sys.argv[1]).resolve())
