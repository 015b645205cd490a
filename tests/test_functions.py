"""The module's functions as function objects: they behave like functions that the interpreter creates.

Replacing a function's code object with a copy makes its calls take the slow path, through the interpreter.
"""

import contextlib
import dis
import gc
import inspect
import io
import itertools
import sys
import traceback
import weakref
from collections.abc import Callable, Iterator
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from types import FrameType, FunctionType, ModuleType

import pytest

import plain_skill
from fresh_module import fresh_module
from muvad_tarnel.setup import skill

PLAIN = {n: f for n, f in inspect.getmembers(plain_skill, inspect.isfunction) if f.__module__ == plain_skill.__name__}
NATIVE: dict[str, FunctionType] = {name: getattr(skill, name) for name in PLAIN}
MODULES: list[ModuleType] = [skill, plain_skill]


def outcome(function: Callable[..., object], /, *arguments: object, **keywords: object) -> object:
    try:
        return function(*arguments, **keywords)
    except (TypeError, ValueError, LookupError, AttributeError, NameError, ArithmeticError) as error:
        return type(error), str(error), getattr(error, "name", None)


def both(name: str, /, *arguments: object, **keywords: object) -> object:
    found = outcome(NATIVE[name], *arguments, **keywords)
    assert found == outcome(PLAIN[name], *arguments, **keywords), (name, arguments, list(keywords))
    return found


@pytest.fixture(params=["fast", "slow"])
def call_path(request: pytest.FixtureRequest, monkeypatch: pytest.MonkeyPatch) -> str:
    for function in NATIVE.values() if request.param == "slow" else ():
        monkeypatch.setattr(function, "__code__", function.__code__.replace())
    return str(request.param)


@pytest.mark.parametrize("name", PLAIN)
class TestEachFunction:
    def test_has_code_that_tools_can_read(self, name: str) -> None:
        code = NATIVE[name].__code__
        instructions = [step for step in dis.get_instructions(code) if step.opname != "CACHE"]
        loads = [step.argval for step in instructions if step.opname == "LOAD_FAST"]
        assert loads == list(inspect.signature(PLAIN[name]).parameters) == list(code.co_varnames)
        depths = itertools.accumulate(dis.stack_effect(step.opcode, step.arg) for step in instructions)
        assert max(depths) <= code.co_stacksize
        assert [position[0] for position in code.co_positions()] == [1] * (len(code.co_code) // 2)
        dis.dis(code, adaptive=True, file=io.StringIO())
        with pytest.raises(OSError, match="source"):
            inspect.getsource(code)

    def test_has_a_body_among_its_constants_that_is_safe_to_call(self, name: str) -> None:
        code, fitting = NATIVE[name].__code__, len(NATIVE[name].__code__.co_varnames)
        (body,) = filter(callable, code.co_consts)
        for count in {*range(10)} - {fitting}:
            with pytest.raises(TypeError, match="body"):
                body(*range(count))
        outcome(body, *"x" * fitting)


class Trail(tuple[object, ...]):
    """A stand-in for a path: the parts that it was joined from."""

    __slots__ = ()

    def __truediv__(self, part: object) -> "Trail":
        return Trail((*self, part))


@pytest.fixture
def _echoes(monkeypatch: pytest.MonkeyPatch) -> None:
    for module in MODULES:
        monkeypatch.setattr(module, "_scope_base", lambda scope, root: Trail((scope, root)))
        monkeypatch.setattr(module, "skill_dir_plan", lambda agents, scope: {(agents, scope): "x"})
        monkeypatch.setattr(module, "install_skill", lambda *args, **keywords: (args, keywords))


Call = tuple[tuple[object, ...], dict[str, object]]
KEYWORDS: list[dict[str, object]] = [{}, {"skills_dir": "d"}, {str(b"skill_name", "ascii"): "n"}, {"unknown": 1}]
TARGET_CALLS: list[Call] = [(tuple(range(count)), keywords) for count in range(6) for keywords in KEYWORDS]
TARGET_CALLS += [((), {"skill_name": "n", "scope": "s"})]
INSTALL_CALLS: list[Call] = [((), {}), ((1, 2, 3), {}), (("s",), {"force": 1, "agents": (), "project_root": "r"})]
INSTALL_CALLS += [(("s",), {"scope": 1}), ((), {"forced": 1})]


@pytest.mark.usefixtures("_echoes")
class TestBinding:
    def test_takes_the_defaults_as_they_stand(self, monkeypatch: pytest.MonkeyPatch) -> None:
        for defaults in ((1, 2, 3), (4, 5, 6, 7), (8,), (), None, (*range(9),)):
            for module in MODULES:
                monkeypatch.setattr(module.skill_target_path, "__defaults__", defaults)
            for arguments, keywords in TARGET_CALLS:
                both("skill_target_path", *arguments, **keywords)

    def test_takes_the_keyword_defaults_as_they_stand(self, monkeypatch: pytest.MonkeyPatch) -> None:
        given: list[dict[str, object]] = [{"dry_run": 1, "force": 2, "agents": (3,)}, {"force": 4, "surplus": 5}]
        for defaults in (*given, None):
            for module in MODULES:
                monkeypatch.setattr(module.install_skills, "__kwdefaults__", defaults)
            for value in ("as given", "changed in place"):
                if defaults is not None:
                    defaults["dry_run"] = value
                for arguments, keywords in INSTALL_CALLS:
                    both("install_skills", *arguments, **keywords)

    @pytest.mark.parametrize("other", ["install_skills", "_version_tuple", "skill_capable_agents"])
    def test_uses_the_current_code_of_the_function(self, other: str, monkeypatch: pytest.MonkeyPatch) -> None:
        calls = [*TARGET_CALLS, *INSTALL_CALLS, (("1.2",), {})]
        others = NATIVE[other].__code__
        before = [both("skill_target_path", *arguments, **keywords) for arguments, keywords in calls]
        monkeypatch.setattr(plain_skill.skill_target_path, "__code__", PLAIN[other].__code__)
        for code in (others, PLAIN[other].__code__, others.replace(co_name="renamed")):
            monkeypatch.setattr(skill.skill_target_path, "__code__", code)
            assert [both("skill_target_path", *arguments, **keywords) for arguments, keywords in calls] != before

    @pytest.mark.parametrize("own_path", ["fast", "slow"])
    def test_owns_all_that_is_replaced_meanwhile(self, own_path: str) -> None:
        def replace(*_: object) -> None:
            function.__defaults__ = function.__kwdefaults__ = None
            function.__code__ = plain_skill.install_skills.__code__
            assert None not in [reference() for reference in owned]
            raise ZeroDivisionError(own_path)

        function = fresh_module(skill.__file__).install_skills
        function.__globals__["skill_dir_plan"] = replace
        function.__defaults__ = (None, {1})
        function.__kwdefaults__ = {"agents": (), "force": {2}, "dry_run": False}
        if own_path == "slow":
            function.__code__ = function.__code__.replace()
        owned = [weakref.ref(function.__defaults__[1]), weakref.ref(function.__kwdefaults__["force"])]
        owned.append(weakref.ref(function.__code__))
        with pytest.raises(ZeroDivisionError, match=own_path):
            function("s")
        assert [reference() for reference in owned] == [None] * 3


def test_code_runs_in_the_namespace_of_each_function_made_of_it() -> None:
    base = {"_scope_base": lambda *arguments: Trail(arguments)}
    for builtins in (base, {}):
        outcomes = [
            outcome(FunctionType(m.skill_target_path.__code__, {"__builtins__": builtins}), *"srnd") for m in MODULES
        ]
        assert outcomes[0] == outcomes[1]


def test_tracebacks_show_the_calls_on_the_slow_path(call_path: str) -> None:
    for _ in range(12_000):  # repeated failures must not change the path that the next call takes
        outcome(skill.skill_target_path, "nowhere")
    with pytest.raises(ValueError, match="unknown skill scope: 'nowhere'") as caught:
        NATIVE["skill_target_path"]("nowhere")
    found = [
        (frame.f_code.co_name, line, frame.f_locals)
        for frame, line in traceback.walk_tb(caught.tb)
        if frame.f_code.co_filename == skill.__file__
    ]
    given = {"scope": "nowhere", "project_root": None}
    by_default = {"skill_name": "tarnel", "skills_dir": ".claude/skills"}
    shown = [("skill_target_path", 1, given | by_default), ("_scope_base", 1, given)]
    assert found == (shown if call_path == "slow" else [])


@pytest.mark.parametrize("watch", [sys.settrace, sys.setprofile])
def test_traced_calls_behave_like_untraced_ones(watch: Callable[[object], None], call_path: str) -> None:
    def note(frame: FrameType, event: str, _: object) -> object:
        frame.f_trace_opcodes = True
        events.append(f"{event} {frame.f_code.co_name}")
        return note

    name, calls = "_version_tuple", [("1.2",), (3,), ()] * 3
    events: list[str] = []
    expected = [both(name, *arguments) for arguments in calls]
    watch(note)
    found = [outcome(NATIVE[name], *arguments) for arguments in calls]
    watch(None)
    assert found == expected == [both(name, *arguments) for arguments in calls]
    assert "call outcome" in events
    assert (f"call {name}" in events) == (call_path == "slow"), "fast calls have no frames to be seen"


@pytest.mark.usefixtures("call_path")
@pytest.mark.parametrize("limit", [1000, 10**6])
def test_endless_recursion_leaves_the_interpreter_usable(limit: int, monkeypatch: pytest.MonkeyPatch) -> None:
    def recurse(_: object) -> int:
        with pytest.raises(RecursionError, match=r"^maximum recursion depth exceeded$") as caught:
            skill.skill_target_path("user")
        return len([*traceback.walk_tb(caught.tb)])

    with monkeypatch.context() as patch, contextlib.ExitStack() as stack, ThreadPoolExecutor(1) as thread:
        patch.setattr(skill, "_scope_base", skill.skill_target_path)
        stack.callback(sys.setrecursionlimit, sys.getrecursionlimit())
        sys.setrecursionlimit(limit)
        for _ in range(5):
            frames = [recurse(None), *thread.map(recurse, [None])]
            assert min(frames) > 300, "only the first calls of a deep recursion take the fast path"
    assert str(skill.skill_target_path("project", Path("r"))) == "r/.claude/skills/tarnel/SKILL.md"


@pytest.mark.parametrize(("name", "argument"), [("_installed_version", Path()), ("install_skill", "project")])
def test_a_generator_sees_only_errors_that_it_handles(
    name: str, argument: object, call_path: str, project: Path
) -> None:
    def generator() -> Iterator[object]:
        yield NATIVE[name](argument)
        yield sys.exception()

    (project / ".claude").write_text("in the way of a directory")
    steps = generator()
    try:
        int(call_path)
    except ValueError:
        next(steps)  # the function handles an OSError during this call
    assert next(steps) is None


def test_a_function_outlives_its_module() -> None:
    module = fresh_module(skill.__file__)
    function, module_alive = module.skill_target_path, weakref.ref(module)
    code_alive = weakref.ref(function.__code__)
    del module
    gc.collect()
    assert module_alive() is None
    assert str(function("project", "r", skill_name="n")) == "r/.claude/skills/n/SKILL.md"
    del function
    gc.collect()
    assert code_alive() is None
