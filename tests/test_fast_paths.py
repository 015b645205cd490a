"""The fast paths: taken unless a name that they bypass is replaced, with the same results as the slow path."""

import builtins
import codecs
import inspect
import io
import itertools
import os
import pathlib
import posixpath
import re
import shutil
import subprocess
import sys
from collections.abc import Callable, Iterator, MutableMapping
from contextlib import contextmanager, suppress
from encodings import utf_8
from pathlib import Path, PosixPath
from types import CodeType, FunctionType, SimpleNamespace
from typing import Any

import pytest

import plain_skill
from fresh_module import fresh_module
from muvad_tarnel.setup import skill
from recording import account
from test_twin import MISSING

NAMES = Path(__file__).parents[1] / "native" / "python" / "standard_library_names.hpp"
AGENTS = {
    "a": SimpleNamespace(skills_user_roots=(".a/s",), skills_project_roots=(".a/s",)),
    "b": SimpleNamespace(skills_user_roots=(".b/s", ".a/s"), skills_project_roots=(".b/s",)),
    "too long": SimpleNamespace(skills_user_roots=(), skills_project_roots=("n" * 300,)),
}


@pytest.fixture(autouse=True)
def agents(monkeypatch: pytest.MonkeyPatch) -> None:
    for module in (skill, plain_skill):
        monkeypatch.setattr(module, "AGENT_CONFIG", AGENTS)


@contextmanager
def replaced(owner: Any, name: str, value: object) -> Iterator[None]:
    """Replace an attribute of a module, class, instance or function. Uses no builtin that may itself be replaced."""
    usual = getattr(owner, name) if owner.__class__ is FunctionType else vars(owner).get(name, MISSING)
    setattr(owner, name, value)
    try:
        yield
    finally:
        delattr(owner, name) if usual is MISSING else setattr(owner, name, usual)


@contextmanager
def slow_path() -> Iterator[None]:
    with replaced(Path, "exists", noting(Path.exists, [])), replaced(skill, "re", SimpleNamespace(match=re.match)):
        yield


def outcome(function: Callable[..., Any], *arguments: Any, **keywords: Any) -> Any:
    try:
        return function(*arguments, **keywords)
    except Exception as error:  # noqa: BLE001  # any error is an outcome
        return error


def use(module: Any, root: Any = None) -> None:
    module.install_skills(agents="ab")
    for options in ({"dry_run": True}, {}, {}, {"force": True}):
        module.install_skills("project", root, agents="ab", **options)
    module.skill_status(root, agents="ab")
    module.shadowed_skills(root, agents="ab")


def entered(module: Any, root: Any = None) -> dict[CodeType, str]:
    """Use the module until an error. Return the Python functions entered, except its own, with their modules."""
    functions = {}

    def note(frame: Any, event: str, _: object) -> None:
        if event == "call":
            functions[frame.f_code] = frame.f_globals["__name__"]

    sys.setprofile(note)
    with suppress(Exception):  # replaced functions may fail
        use(module, root)
    sys.setprofile(None)
    return {code: name for code, name in functions.items() if name not in {skill.__name__, __name__, "contextlib"}}


@pytest.mark.parametrize("root", [None, "sub", Path("sub"), Path("..", "project") / "sub"], ids=repr)
def test_no_function_of_the_standard_library_is_entered(root: Any) -> None:
    assert entered(skill, root) == {}
    with slow_path():
        assert {"pathlib", "re"} < {*entered(skill, root).values()}


def test_a_plan_of_thirty_directories_scores_nothing(monkeypatch: pytest.MonkeyPatch) -> None:
    directories = [f"{number:02}" for number in range(30)]
    pairs = itertools.pairwise([*directories, "00"])
    table = {pair[0]: SimpleNamespace(skills_project_roots=pair) for pair in pairs}
    monkeypatch.setattr(skill, "AGENT_CONFIG", table)
    monkeypatch.setattr(skill, "_EXHAUSTIVE_SEARCH_LIMIT", 30)
    assert skill.resolve_skill_dirs(table) == directories[::2]


PLACES = [".a", ".a/s", ".b/s/tarnel", ".a/s/tarnel/SKILL.md", ".b/s/tarnel/SKILL.md", ".b/s/tarnel-map/SKILL.md"]
PLACES = [f"{root}/{place}" for root in ("home", "project") for place in PLACES]


def clear(root: Path) -> None:
    shutil.rmtree(root)
    Path.home().mkdir(parents=True)
    (root / "project").mkdir()
    os.chdir(root / "project")


def plant(path: Path, content: bytes | str | None) -> None:
    """Create a file, a link or a directory at the path, or raise an error."""
    (path if content is None else path.parent).mkdir(parents=True, exist_ok=True)
    if isinstance(content, str):
        path.symlink_to(content)
    elif content is not None:
        path.write_bytes(content)


def walk(steps: list[tuple[str, Any]]) -> list[Any]:
    """The outcome of each step, and the resulting files."""
    root = Path.cwd().parent
    met: list[Any] = []
    for name, what in steps:
        met.append(outcome(plant, root / name, what) if name in PLACES else outcome(getattr(skill, name), **what))
    for path in sorted(root.rglob("*")):
        content = path.readlink() if path.is_symlink() else path.read_bytes() if path.is_file() else None
        met.append((path, content))
    clear(root)
    return met


def noting(value: Any, calls: list[object]) -> Any:
    """A function that behaves the same and records its calls."""
    if isinstance(value, property):
        return property(noting(value.fget, calls))
    if isinstance(value, classmethod | staticmethod):
        return type(value)(noting(value.__func__, calls))

    def note(*arguments: Any, **keywords: Any) -> Any:
        calls.append(value)
        return value(*arguments, **keywords)

    return note


def stand_in(value: Any) -> Any:
    if isinstance(value, type):
        return int if value in {bool, re.RegexFlag} else type(value.__name__, (value,), {})
    if isinstance(value, MutableMapping):
        return dict(value)
    return noting(value, []) if callable(value) or isinstance(value, property | classmethod) else object()


def guarded() -> Iterator[tuple[Any, str, Any]]:
    """The owner of each guarded name, the name, and a replacement for its value."""
    lists = dict(re.findall(r"(\w+)\[\] = \{(.*?)\};", NAMES.read_text(encoding="utf-8"), re.DOTALL))
    for module, name in re.findall(r'\{"([\w.]+)", "(\w+)"', lists["of_matching"] + lists["of_files"]):
        yield sys.modules[module], name, stand_in(vars(sys.modules[module])[name])
    for name in re.findall(r'"builtins", "(\w+)"', lists["builtins"]):
        value = vars(builtins)[name]
        yield from ((builtins, name, stand_in(value)), (pathlib, name, value), (re, name, value))
    for module, class_name, attributes in re.findall(r'\{"([\w.]+)", "(\w+)", (of_\w+)\}', lists["classes"]):
        owner = vars(sys.modules[module])[class_name]
        for name in re.findall(r'\{"(\w+)"', lists[attributes]):
            yield owner, name, stand_in(inspect.getattr_static(owner, name, None))
    yield Path.exists, "__code__", Path.is_dir.__code__
    yield Path.exists, "__kwdefaults__", {"follow_symlinks": False}
    yield Path.mkdir, "__defaults__", (0o700, False, False)


def test_each_guarded_name_is_seen_when_it_is_replaced() -> None:
    """Both after the first call and before the import, even if the interpreter has no free dict watcher."""
    modules: list[Any] = []
    missed: list[tuple[Any, ...]] = []
    for owner, name, value in guarded():
        # The import itself needs some of the builtins, and accepts any dict as the cache of `re`.
        can_be_first = owner is not builtins and not name.startswith("_cache")
        with replaced(owner, name, value):
            modules.append(fresh_module(skill.__file__) if can_be_first else skill)
            modules[-1].AGENT_CONFIG = AGENTS
            seen = [entered(module) for module in (skill, modules[-1])]
        modules[-1].Path = Path
        expected = "re" if owner is re else "pathlib"
        missed += [(owner, name) for met in seen if expected not in met.values()]
        missed += [(owner, name, "restored") for module in (skill, modules[-1]) if entered(module)]
    assert not missed, "\n".join(map(str, missed))
    assert len(modules) > 100


OWNERS: list[Any] = [pathlib, os, posixpath, io, codecs, re, itertools, sys, os.environ, codecs.lookup("utf-8")]
for guarded_class in (PosixPath, type(os.environ), utf_8.IncrementalDecoder, utf_8.IncrementalEncoder):
    OWNERS += guarded_class.__mro__[:-1]


def test_whatever_plain_python_calls_is_called() -> None:
    names = {name for code in entered(plain_skill) for name in (code.co_name, *code.co_names)}
    missed: list[tuple[Any, ...]] = []
    for owner, name in itertools.product(OWNERS, sorted(names)):
        value = vars(owner).get(name)
        if not callable(value) and not isinstance(value, property | classmethod):
            continue
        met = []
        for module in (skill, plain_skill):
            calls: list[object] = []
            clear(Path.cwd().parent)
            with replaced(owner, name, noting(value, calls)):
                ended = outcome(use, module)
            met.append((account(ended), len(calls)))
        missed += [(owner, name)] * (met[0] != met[1])
    assert not missed, "\n".join(map(str, missed))


def compare_audit_events() -> None:
    """Runs in a separate process, because audit hooks can't be removed."""
    seen: list[Any] = []
    sys.addaudithook(lambda *event: seen.append(event) if event[0] in {"open", "os.mkdir"} else None)
    vars(skill).update(AGENT_CONFIG=AGENTS)
    steps: list[Any] = [("project/.a", "nowhere"), ("project/.b/s/tarnel-map/SKILL.md", None), ("home/.a/s", b"a file")]
    for force in (False, True):
        steps += [("install_skills", {"scope": scope, "agents": "ab", "force": force}) for scope in ("user", "project")]
    steps.append(("skill_status", {"agents": "ab"}))
    walk(steps)
    with slow_path():
        walk(steps)
    half = len(seen) // 2
    assert half > 40
    assert seen[:half] == seen[half:]


def test_audit_events_are_the_same() -> None:
    environment = os.environ | {"PYTHONPATH": os.pathsep.join(sys.path)}
    program = f"import {__name__}; {__name__}.compare_audit_events()"
    subprocess.run([sys.executable, "-c", program], env=environment, check=True)
