"""Objects that report their use. Two implementations behave alike if their steps and outcomes are equal."""

import operator
import os
import re
import sys
from collections.abc import Callable
from dataclasses import dataclass, field
from types import FunctionType, SimpleNamespace
from typing import Any


class Stop(BaseException):
    """An error that isn't an Exception. Also ends a run with too many steps."""


class Refused(OSError):  # noqa: N818  # named like its siblings
    """An OSError that records a step when it is converted to text."""

    recorder: "Recorder"

    def __str__(self) -> str:
        return str(self.recorder.step("text of the error", (), {}, lambda: "refused"))


# Descriptions, from which each run builds its own objects.


@dataclass(frozen=True)
class Failure:
    """An error to raise."""

    kind: type[BaseException]
    arguments: tuple[Any, ...] = ()


@dataclass(frozen=True)
class Description:
    value: Any


class Watched(Description):
    """A value wrapped in a `Witness`."""


class Subclassed(Description):
    """A str, tuple, list or dict, as an instance of a subclass that reports method calls."""


class OneShot(Description):
    """An iterator over the values."""


@dataclass
class Recorder:
    """The steps of one run. `answers` replaces the results of steps, by step number."""

    answers: dict[int, Any] = field(default_factory=dict)
    takes_witnesses: frozenset[int] = frozenset()  # ids of callees; others get the witnesses' targets
    steps: list[Any] = field(default_factory=list)
    witnesses: int = 0
    muted: bool = False

    def step(self, event: str, arguments: Any, keywords: Any, act: Callable[[], Any], *, wrap: bool = False) -> Any:
        if self.muted:
            return act()
        number = len(self.steps)
        if number >= 20_000:
            raise Stop
        handled = sys.exception()
        self.steps.append((event, self.account((arguments, keywords, type(handled), handled and handled.args))))
        result = self.build(self.answers[number]) if number in self.answers else act()
        return self.watch(event, result) if wrap else result

    def account(self, value: Any) -> Any:
        """A comparable description of a value. Making it records no steps."""
        self.muted = True
        try:
            return account(value)
        finally:
            self.muted = False

    def watch(self, label: str, value: Any) -> Any:
        if value is None or type(value) is Witness:
            return value
        self.witnesses += 1
        return Witness(self, f"<{self.witnesses}: {label}>", value)

    def build(self, value: Any) -> Any:
        """The object for a description. Containers are rebuilt with the objects for their contents."""
        match value:
            case Failure():
                error = value.kind(*value.arguments)
                vars(error)["recorder"] = self
                raise error
            case Watched():
                value = self.watch("given", self.build(value.value))
            case Subclassed():
                value = REPORTING[type(value.value)](self.build(value.value))
                value.recorder = self
            case OneShot():
                value = iter([self.build(item) for item in value.value])
            case SimpleNamespace():
                value = SimpleNamespace(**self.build(vars(value)))
            case tuple() | list():
                value = type(value)(self.build(item) for item in value)
            case dict():
                value = {self.build(key): self.build(item) for key, item in value.items()}
        return value


def _target(value: Any) -> Any:
    return value._target if type(value) is Witness else value


class Witness:
    """Reports each use of its target and forwards it. Most results are wrapped in a witness too."""

    __slots__ = ("_label", "_recorder", "_target")

    def __init__(self, recorder: Recorder, label: str, target: Any) -> None:
        self._recorder, self._label, self._target = recorder, label, target

    def __getattr__(self, name: str) -> Any:
        return self._recorder.step(f"{self._label}.{name}", (), {}, lambda: getattr(self._target, name), wrap=True)

    def __call__(self, *arguments: Any, **keywords: Any) -> Any:
        def act() -> Any:
            if id(self._target) in self._recorder.takes_witnesses:
                return self._target(*arguments, **keywords)
            return self._target(*map(_target, arguments), **{name: _target(value) for name, value in keywords.items()})

        return self._recorder.step(f"{self._label}()", arguments, keywords, act, wrap=True)


def _add_operators() -> None:
    # The interpreter requires the real types as results of the `plain` functions, so these are not wrapped.
    plain: dict[str, Any] = {function.__name__: function for function in (bool, format, hash, int, len, repr, str)}
    plain |= {"contains": operator.contains, "fspath": os.fspath}
    wrapped: dict[str, Any] = {"iter": iter, "next": next, "rtruediv": lambda target, other: other / target}
    wrapped |= {name: getattr(operator, name) for name in ("eq", "ge", "getitem", "gt", "le", "lt", "ne", "truediv")}
    for name, function in (plain | wrapped).items():

        def method(self: Any, *others: Any, name: str = name, function: Any = function) -> Any:
            def act() -> Any:
                return function(self._target, *map(_target, others))

            return self._recorder.step(f"{self._label}.{name}", others, {}, act, wrap=name in wrapped)

        setattr(Witness, f"__{name}__", method)


_add_operators()


def _reporting(base: type) -> Any:
    methods: dict[str, Any] = {}
    silent = {"__new__", "__init__", "__getattribute__", "fromkeys", "maketrans", "__class_getitem__"}
    for name, original in vars(base).items():
        if not callable(original) or name in silent:
            continue

        def method(self: Any, *others: Any, name: str = name, original: Any = original, **keywords: Any) -> Any:
            return self.recorder.step(
                f"{base}.{name}", (self, *others), keywords, lambda: original(self, *others, **keywords)
            )

        methods[name] = method
    return type(f"Reporting{base.__name__}", (base,), methods)


REPORTING = {base: _reporting(base) for base in (str, tuple, list, dict)}


class Names(dict[str, Any]):
    """A namespace that doesn't contain the module's names, but reports and answers lookups of them."""

    recorder: Recorder
    supplied: dict[str, Any]

    def __getitem__(self, name: str) -> Any:
        if name in self.supplied:
            return self.recorder.step(f"lookup {name}", (), {}, lambda: self.supplied[name])
        return super().__getitem__(name)


def account(value: Any) -> Any:
    """A description of a value, the same for equal values of two implementations."""
    kind = type(value)
    told: Any
    if kind is Witness:
        told = value._label
    elif isinstance(value, BaseException):
        named = [getattr(value, name, None) for name in ("name", "obj", "__notes__", "__suppress_context__")]
        told = [str(value), *map(account, [value.args, named, value.__cause__, value.__context__])]
    elif isinstance(value, str):
        told = str.__str__(value)
    elif isinstance(value, tuple):
        told = [account(item) for item in tuple.__iter__(value)]
    elif isinstance(value, list):
        told = [account(item) for item in list.__iter__(value)]
    elif isinstance(value, dict):
        told = [(account(key), account(item)) for key, item in dict.items(value)]
    elif kind.__name__ == "SkillResult":
        told = account(vars(value))
    elif isinstance(value, FunctionType | type):
        told = value.__qualname__
    else:
        told = re.sub(r" at 0x\w+", "", repr(value))
    return kind.__name__, told
