"""Names of the module and of the standard library, replaced by harmful objects."""

import builtins
import itertools
import math
import os
import pwd
import shutil
from collections.abc import Callable, Iterator
from pathlib import Path
from types import FunctionType, ModuleType, SimpleNamespace
from typing import Any

import plain_skill
from children import answers
from conftest import Judge
from muvad_tarnel.setup import skill
from recording import account
from scenarios import OUTDATED, prepare, tree
from test_fast_paths import guarded, noting, replaced
from test_twin import FUNCTIONS, NAMES

type Point = tuple[Callable[["Harm"], None] | None, Any, str]  # the harm; the owner, None for the module; the name


def use(module: Any) -> Iterator[Any]:
    """What the module's functions return or raise."""
    for function, arguments in (
        (module.install_skills, ("project",)),
        (module.skill_status, ()),
        (module.shadowed_skills, ()),
        (module.install_skills, ()),
    ):
        try:
            yield function(*arguments)
        except Exception as error:  # noqa: BLE001  # any error is an outcome
            yield error


def fail(_: "Harm") -> None:
    raise ZeroDivisionError


def recurse(harm: "Harm") -> None:
    harm.module.install_skills()


def delete(harm: "Harm") -> None:
    delattr(harm.owner, harm.name)


def enter_again(harm: "Harm") -> None:
    for _ in use(harm.module):
        pass


def change_what_is_walked(harm: "Harm") -> None:
    for container in (harm.module.AGENT_CONFIG, harm.module.SKILL_TEMPLATES):
        container[f"added {harm.left}"] = container.pop(next(iter(container)))
    harm.module.AGENT_CONFIG.clear()


def change_functions(harm: "Harm") -> None:
    for name in FUNCTIONS:
        function = getattr(harm.module, name)
        function.__defaults__, function.__kwdefaults__ = (harm,), {"force": True}
        function.__code__ = function.__code__.replace()


KINDS = [None, fail, recurse, delete, enter_again, change_what_is_walked, change_functions]  # None: wrong type


class Harm(list[object]):
    """Replaces the list in which a replacement records its calls, and does harm on the first few calls."""

    def __init__(self, deed: Callable[["Harm"], None], module: Any, owner: Any, name: str) -> None:
        self.deed, self.module, self.owner, self.name = deed, module, owner, name
        self.left = math.inf if deed is recurse else 2

    def append(self, _: object) -> None:
        self.left -= 1
        if self.left >= 0:
            self.deed(self)


def points() -> Iterator[Point]:
    of_modules = [(None, name) for name in NAMES if not name.startswith("__")]
    of_library = [(owner, name) for owner, name, _ in guarded() if type(owner) is not FunctionType]
    return ((kind, owner, name) for kind, (owner, name) in itertools.product(KINDS, of_modules + of_library))


def told(point: Point, module: ModuleType, root: Path) -> object:
    """The outcome of using the module while the name is replaced."""
    kind, owner, name = point
    prepare(root, OUTDATED)
    vars(pwd)["getpwuid"] = lambda _: SimpleNamespace(pw_dir=str(root / "home"))  # for Path.home() without HOME
    vars(module).update(AGENT_CONFIG=dict(module.AGENT_CONFIG))
    owner = owner or module
    value = vars(owner).get(name)
    is_called = callable(value) or isinstance(value, property | classmethod)
    with replaced(owner, name, noting(value, Harm(kind, module, owner, name)) if kind and is_called else object()):
        met = list(use(module))
    # Ignore the message of a RecursionError: it depends on the depth and on other frames.
    errors = [(type(error), "" if isinstance(error, RecursionError) else str(error)) for error in met]
    return [e if isinstance(m, Exception) else account(m) for m, e in zip(met, errors, strict=True)], tree(root)


def test_row_13_harmful_replacements(root: Path, judge: Judge) -> None:
    def task(point: Point) -> object:
        own_root = root / str(os.getpid())
        found, expected = (told(point, module, own_root) for module in (skill, plain_skill))
        shutil.rmtree(own_root)
        # The module doesn't look up builtins that its own functions use.
        return found != expected and point[1:] not in ((builtins, "len"), (builtins, "OSError"))

    prepare(root, OUTDATED)
    assert len(list(use(skill))) > 1, "nothing is replaced when the module first looks"
    judge(13, "", answers(task, points()))
