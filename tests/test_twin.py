"""The extension module and its plain-Python twin behave alike for the same random calls.

Set TWIN_EFFORT=50 in the environment to try 50 times as many calls, different ones each time, and to shrink failing
ones. Then also pass "-o faulthandler_timeout=0" to pytest.
"""

import builtins
import inspect
import os
import re
import shutil
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass, field, replace
from pathlib import Path, PurePath
from types import FunctionType, MappingProxyType, ModuleType, SimpleNamespace
from typing import Any

import pytest
from hypothesis import HealthCheck, Phase, given, settings
from hypothesis import strategies as st

import plain_skill
from muvad_tarnel.setup import skill
from recording import Failure, Names, OneShot, Recorder, Refused, Stop, Subclassed, Watched, account

EFFORT = int(os.environ.get("TWIN_EFFORT", "0"))
MACHINERY = {"__name__", "__package__", "__loader__", "__spec__", "__file__", "__cached__", "__builtins__"}
NAMES = [name for name in vars(plain_skill) if name not in MACHINERY]
FUNCTIONS = {n: f for n, f in vars(plain_skill).items() if getattr(f, "__globals__", None) is vars(plain_skill)}
READ = {"Path", "skill_target_path", "_score"}.union(*(function.__code__.co_names for function in FUNCTIONS.values()))
READ &= {*NAMES}
MISSING = object()
type Files = dict[str, bytes | str | None]  # None: a directory; text: a link's target


def examples(count: int) -> Callable[[Any], Any]:
    """Settings for `count` examples, which are always the same unless TWIN_EFFORT is set."""
    return settings(
        max_examples=count * (EFFORT or 1),
        derandomize=not EFFORT,
        database=None,
        deadline=None,
        phases=[Phase.generate, *[Phase.shrink] * bool(EFFORT)],
        suppress_health_check=[HealthCheck.too_slow, HealthCheck.data_too_large, HealthCheck.large_base_example],
    )


@dataclass
class Call:
    """A call, replacements for the module's global names, and files, by path from the parent of the home directory."""

    function: str
    arguments: tuple[Any, ...]
    keywords: dict[Any, Any] = field(default_factory=dict)
    names: dict[str, Any] = field(default_factory=dict)
    files: Files = field(default_factory=dict)
    watched: frozenset[str] = frozenset()
    found_in: str = "module"


@contextmanager
def functions_of(module: ModuleType, call: Call, recorder: Recorder) -> Iterator[dict[str, FunctionType]]:
    """The module's functions, set up to find global names in the module, the builtins or a special namespace."""
    saved = dict(vars(module))
    functions: dict[str, FunctionType] = {name: saved[name] for name in FUNCTIONS}
    names: dict[str, Any] = vars(module)
    if call.found_in == "special":
        names = Names({name: value for name, value in saved.items() if name in MACHINERY})
        for name, function in functions.items():
            functions[name] = FunctionType(function.__code__, names, name, function.__defaults__)
            functions[name].__kwdefaults__ = function.__kwdefaults__
    recorder.takes_witnesses = frozenset(map(id, [*functions.values(), saved["SkillResult"]]))
    given_names = {name: saved[name] for name in READ} | functions | recorder.build(call.names)
    given_names = {name: value for name, value in given_names.items() if value is not MISSING}
    for name in sorted(call.watched & given_names.keys()):
        given_names[name] = recorder.watch(name, given_names[name])
    try:
        with pytest.MonkeyPatch.context() as patched:
            if isinstance(names, Names):
                names.recorder, names.supplied = recorder, given_names
            for name in READ:
                names.pop(name, None)
            if call.found_in == "builtins":
                for name, value in given_names.items():
                    patched.setattr(builtins, name, value, raising=False)
            elif names is vars(module):
                names.update(given_names)
            yield functions
    finally:
        vars(module).clear()
        vars(module).update(saved)


def outcome_of(module: ModuleType, call: Call, answers: dict[int, Any]) -> Any:
    """Make the call on one module. Return its steps, its outcome and the files it leaves."""
    root = Path.home().parent
    for name, content in call.files.items():
        path = root / name
        (path if content is None else path.parent).mkdir(parents=True, exist_ok=True)
        if isinstance(content, str):
            path.symlink_to(content)
        elif content is not None:
            path.write_bytes(content)
    recorder = Recorder(answers)
    with functions_of(module, call, recorder) as functions:
        arguments, keywords = recorder.build(call.arguments), recorder.build(call.keywords)
        try:
            outcome: Any = functions[call.function](*arguments, **keywords)
        except (Exception, Stop) as error:  # noqa: BLE001  # any error is an outcome
            outcome = error
    files = {
        os.fsencode(path): path.readlink() if path.is_symlink() else path.read_bytes() if path.is_file() else None
        for path in root.rglob("*")
    }
    if files.keys() != {os.fsencode(Path.home()), os.fsencode(Path.cwd())}:
        shutil.rmtree(root)
        Path.home().mkdir(parents=True)
        (root / "project").mkdir()
        os.chdir(root / "project")
    return recorder.steps, recorder.account(outcome), files


def compare(call: Call, answers: dict[int, Any] | None = None) -> int:
    """Check that both modules do the same; return the number of steps."""
    actual, expected = (outcome_of(module, call, answers or {}) for module in (skill, plain_skill))
    for seen, wanted in zip(actual, expected, strict=True):
        assert seen == wanted
    return len(expected[0])


def mixed(usual: Any, odd: Any = None) -> st.SearchStrategy[Any]:
    """Usual values, many of them plain, some that report their use, and odd values if given."""
    usual = usual if isinstance(usual, st.SearchStrategy) else st.sampled_from(usual)
    reporting = usual.map(lambda value: Subclassed(value) if type(value) in {str, tuple, list, dict} else value)
    return st.one_of(usual, usual, reporting, usual.map(Watched), *([] if odd is None else [odd]))


def tuples(items: Any, least: int = 0) -> st.SearchStrategy[Any]:
    return st.lists(items, min_size=least, max_size=3).map(tuple)


DIRECTORIES = [".a/s", ".b/s", ".c/s", ".a/s/", "é", "s\udc80", "..", ""]
SKILLS = ["tarnel", "tarnel-map", "tarnel-wiki"]
VERSIONS = ["0.9.3", "0.9", "1.10.0", "0.9.3+local", "1.2.3-beta.1.5", "٣.²", "x", "", "1..2", "1" * 5000]
PLACES = [f"{root}/{name}" for root in ("project/.a/s", "project/.b/s", "home/.a/s", "home/.b/s") for name in SKILLS]
TEXTS = st.text("0123456789.-av\u0661\u00b2\n ", max_size=12)
ODD_VALUES = [None, 0, 3, "", b"1.2", (), ("a", ["b"]), {"a": 1}, "a", "n" * 300, "no\0", 2.5, Path(), Watched(0)]
ODD = st.sampled_from(ODD_VALUES)
FLAGS = mixed([False, True, "no", "", None])


def tables(roots: Any, keys: str, **odd: Any) -> st.SearchStrategy[Any]:
    records = st.builds(SimpleNamespace, skills_project_roots=roots, skills_user_roots=roots)
    return st.dictionaries(st.sampled_from(keys), st.one_of(records, records, *odd.values()), min_size=1, max_size=4)


# Valid arguments, by parameter name.
SMALL_ROOTS = mixed(tuples(st.sampled_from(DIRECTORIES[:3]), 1))
FITTING: dict[str, Any] = {
    "agent_keys": mixed(tuples(mixed("ab"), 1)),
    "agent_roots": mixed(st.dictionaries(st.sampled_from("ab"), SMALL_ROOTS, min_size=1)),
    "scope": mixed(["user", "project"]),
    "project_root": mixed([None, "", "sub", Path("sub")]),
    "skill_name": mixed(SKILLS),
    "skills_dir": mixed(DIRECTORIES[:3]),
    "version": mixed(["0.9.3", "1.2.3-beta.1"]),
    "path": mixed(st.sampled_from(PLACES).map(lambda place: Path("..", place, "SKILL.md"))),
    "force": FLAGS,
    "dry_run": FLAGS,
}
FITTING |= {"agents": FITTING["agent_keys"], "v": FITTING["version"], "selection": tuples(FITTING["skills_dir"], 1)}
# Arguments that may be invalid.
ROOTS = mixed(tuples(mixed(DIRECTORIES, ODD)), ODD)
KEYS = mixed(st.lists(mixed([*"abcd", "claude"], ODD), max_size=5), tuples(mixed("ab")).map(OneShot) | ODD)
ANY: dict[str, Any] = {name: st.one_of(values, values, ODD) for name, values in FITTING.items()}
ANY |= {"agents": KEYS, "agent_keys": KEYS, "agent_roots": mixed(st.dictionaries(st.sampled_from("abc"), ROOTS), ODD)}
ANY |= {"skills_dir": mixed(DIRECTORIES, ODD), "selection": tuples(mixed(DIRECTORIES, ODD)) | ODD}
ANY |= {"scope": mixed(["user", "project", "User", " user"], ODD), "version": mixed(VERSIONS, ODD)}
ANY |= {"skill_name": mixed([*SKILLS, "other", "s\ud800"], ODD), "v": st.one_of(mixed(VERSIONS), TEXTS, ODD)}


@st.composite
def documents(draw: st.DrawFn) -> bytes | str | None:
    """The content at a document's path: a file, a link or a directory."""
    if draw(st.integers(0, 7)) == 0:
        return draw(st.sampled_from([None, "nowhere", "../../../../other", "SKILL.md"]))
    stamp = draw(st.sampled_from(["{}", "{}", "\n{}", "\u00a0{} \t", "{} x", "{}\nversion: 7"]))
    stamp = stamp.format(draw(st.sampled_from([*VERSIONS, "9_é"])))
    stamp = draw(st.sampled_from(["version:"] * 4 + [" version:", "Version:"])) + stamp
    before = draw(st.sampled_from(["---\n", "", f"{'é' * draw(st.integers(1982, 1992))}\n"]))
    text = before + stamp + draw(st.sampled_from(["", "\n---\n"]))
    text = text.replace("\n", draw(st.sampled_from(["\n", "\r\n", "\r"])))
    mark, malformed = (draw(st.sampled_from([b""] * 5 + [odd])) for odd in (b"\xef\xbb\xbf", b"\xff"))
    return mark + text.encode() + malformed


IN_THE_WAY = st.sampled_from(["home/.a", "project/.b/s", "project/.a/s/tarnel"])
FILES: st.SearchStrategy[Files] = st.one_of(
    st.dictionaries(st.sampled_from(PLACES).map("{}/SKILL.md".format), documents(), max_size=6),
    st.dictionaries(IN_THE_WAY, st.sampled_from([b"in the way", "s"])),
)


@st.composite
def calls(draw: st.DrawFn, function: str, values: dict[str, Any], table: Any, version: Any) -> Call:
    """Calls with positional and keyword arguments. Some that have defaults are omitted."""
    call = Call(function, ())
    by_keyword = False
    for name, parameter in inspect.signature(FUNCTIONS[function]).parameters.items():
        by_keyword = by_keyword or parameter.kind is parameter.KEYWORD_ONLY or not draw(st.integers(0, 3))
        if parameter.default is not parameter.empty and not draw(st.integers(0, 3)):
            by_keyword = True
        elif by_keyword:
            call.keywords[name] = draw(values[name])
        else:
            call.arguments += (draw(values[name]),)
    call.names = {"AGENT_CONFIG": draw(table), "__version__": draw(version)}
    call.files = draw(FILES)
    return call


odd_records = st.sampled_from([None, SimpleNamespace(), SimpleNamespace(skills_user_roots=("u",))])
any_tables = tables(ROOTS, "abcd", odd=odd_records)
any_tables = mixed(any_tables, any_tables.map(MappingProxyType) | ODD)


REPLACEMENTS: dict[str, list[Any]] = {
    "SKILL_TEMPLATES": [
        {"tarnel": "{version}", "x": "{version!r:>9}{{", "bad": "{0}", "n": 3},
        Subclassed({"x": ""}),
        {},
    ],
    "_EXHAUSTIVE_SEARCH_LIMIT": [0, 1, 2, None, Watched(0)],
    "_VERSION_RE": [re.compile(pattern) for pattern in ("version", "(x)?", "version:()", "(?m)^version: (.*)$")],
    "Path": [PurePath, str, None],
    "SkillResult": [dict, SimpleNamespace, None],
}


@st.composite
def watched_calls(draw: st.DrawFn, function: str) -> Call:
    """Valid calls with global names that report their use, are replaced, are in another namespace or are missing."""
    call = draw(calls(function, FITTING, tables(SMALL_ROOTS, "ab"), mixed(VERSIONS[:4])))
    if draw(st.booleans()):  # a copy at every path, current or not
        versions = draw(st.lists(st.sampled_from(VERSIONS[:4]), min_size=len(PLACES), max_size=len(PLACES)))
        call.files = {f"{p}/SKILL.md": f"version: {v}".encode() for p, v in zip(PLACES, versions, strict=True)}
    changed = draw(st.sampled_from(["nothing", "nothing", "replaced", "missing"]))
    if changed == "replaced":
        name = draw(st.sampled_from(sorted(REPLACEMENTS)))
        call.names[name] = draw(st.sampled_from(REPLACEMENTS[name]))
    elif changed == "missing":
        call.names[draw(st.sampled_from(sorted(READ)))] = MISSING
    watched = draw(st.sampled_from([READ, READ, set()]) | st.sets(st.sampled_from(sorted(READ))))
    return replace(call, watched=frozenset(watched), found_in=draw(st.sampled_from(["module", "special", "builtins"])))


class TestSurface:
    def test_the_names_stand_in_the_same_order_with_equal_values(self) -> None:
        assert [name for name in vars(skill) if name not in MACHINERY] == NAMES
        for name in set(NAMES) - set(FUNCTIONS) - {"__doc__", "SkillResult"}:
            actual, expected = getattr(skill, name), getattr(plain_skill, name)
            assert (name, type(actual), actual) == (name, type(expected), expected)

    @pytest.mark.parametrize("name", FUNCTIONS)
    def test_functions_look_alike_from_outside(self, name: str) -> None:
        actual, expected = getattr(skill, name), FUNCTIONS[name]
        assert (actual.__module__, actual.__globals__) == (skill.__name__, vars(skill))
        assert (inspect.signature(actual), dir(actual)) == (inspect.signature(expected), dir(expected))
        told = ("name", "qualname", "doc", "defaults", "kwdefaults", "annotations", "dict", "closure", "type_params")
        for attribute in told:
            of_actual, of_expected = (getattr(function, f"__{attribute}__") for function in (actual, expected))
            assert of_actual == of_expected
            assert account(of_actual) == account(of_expected), "in the same order"

    def test_the_result_class_has_the_same_contents_in_the_same_order(self) -> None:
        actual, expected = skill.SkillResult, plain_skill.SkillResult
        contents = [[name for name in vars(of) if name != "__doc__"] for of in (actual, expected)]
        assert contents[0] == contents[1], "apart from the docstring, whose place is the compiler's affair"
        shown = ("doc", "annotations", "match_args", "hash", "dataclass_params")
        for name in ("installed", "agents", *map("__{}__".format, shown)):
            assert account(vars(actual)[name]) == account(vars(expected)[name])
        assert (actual.__module__, actual.__qualname__, actual.__bases__) == (skill.__name__, "SkillResult", (object,))
        assert inspect.signature(actual) == inspect.signature(expected)
        fields = [[*map(repr, vars(of)["__dataclass_fields__"].values())] for of in (actual, expected)]
        assert fields[0] == fields[1]


@pytest.mark.parametrize("function", FUNCTIONS)
@given(st.data())
@examples(5)
def test_results_and_files_are_alike_for_any_arguments(function: str, data: st.DataObject) -> None:
    compare(data.draw(calls(function, ANY, any_tables, mixed(["0.9.3", *VERSIONS], ODD))))


@given(st.integers(1, 16), st.sampled_from([12, 12, 9, 3, 2.5]), st.data())
@examples(15)
def test_plans_are_alike_for_many_directories(count: int, limit: float, data: st.DataObject) -> None:
    directories = [f"{number:x}" for number in range(count)]
    roots = st.lists(st.sampled_from(directories), min_size=1, max_size=9).map(tuple)
    records = data.draw(st.lists(st.builds(SimpleNamespace, skills_project_roots=roots), min_size=1, max_size=6))
    table = {f"agent {number}": record for number, record in enumerate(records)}
    names = {"AGENT_CONFIG": table, "_EXHAUSTIVE_SEARCH_LIMIT": min(limit, 10) if count > 10 else limit}
    compare(Call("skill_dir_plan", (list(table),), names=names))


KINDS = (KeyError, ValueError, TypeError, AttributeError, NameError, Refused, FileNotFoundError, UnicodeError, Stop)
ANSWERS = st.sampled_from([Failure(kind, ("odd",)) for kind in KINDS]) | ODD


@pytest.mark.parametrize("function", FUNCTIONS)
@given(st.data(), st.lists(st.tuples(st.integers(0, 10_000), ANSWERS), min_size=1, max_size=3))
@examples(9)
def test_the_same_steps_are_taken_also_when_some_fail_or_answer_oddly(
    function: str, data: st.DataObject, changes: list[tuple[int, Any]]
) -> None:
    call = data.draw(watched_calls(function))
    steps = compare(call)
    if steps:
        compare(call, {number % steps: answer for number, answer in changes})


@pytest.mark.parametrize("kind", [Refused, UnicodeError, NameError])
@pytest.mark.parametrize(("function", "arguments"), [("install_skill", ("project",)), ("skill_status", ())])
def test_a_failure_at_many_steps_has_the_same_consequences(
    function: str, arguments: tuple[str, ...], kind: type[BaseException]
) -> None:
    files: Files = {"project/.claude/skills/tarnel/SKILL.md": b"version: 0.1"}
    call = Call(function, arguments, files=files, watched=frozenset(READ), found_in="special")
    steps = compare(call)
    assert steps > 40, "all of it is watched"
    for number in range(0, steps, steps // 40):
        compare(call, {number: Failure(kind, ("odd",))})
