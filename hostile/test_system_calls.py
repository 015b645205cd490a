"""System calls that fail, transfer less than asked, or are interrupted: as Python's own way has it."""

import errno
import itertools
import signal
from collections import Counter
from collections.abc import Iterable, Iterator
from pathlib import Path
from types import ModuleType
from typing import Any

import pytest

import plain_skill
from conftest import Figure, Judge
from muvad_tarnel.setup import skill
from scenarios import CURRENT, ON_FILES, OUTDATED, PLACES, ROOT, Scenario, outcome, prepare, torn, tree
from shim import FOR_EVER, Action, Fault, armed

# What the manual pages name; EIO, ENOMEM and EINTR besides, which network file systems give where the pages don't.
OF_PATHS = "EACCES EFAULT EINTR EINVAL EIO ELOOP ENAMETOOLONG ENOENT ENOMEM ENOTDIR"
OF_WRITING = "EDQUOT ENOSPC EPERM EROFS"
ERRNOS = {
    "open": f"{OF_PATHS} {OF_WRITING} EAGAIN EBUSY EEXIST EFBIG EISDIR EMFILE ENFILE ENODEV ENXIO EOPNOTSUPP EOVERFLOW"
    " ESTALE ETXTBSY",
    "stat": f"{OF_PATHS} EBADF EOVERFLOW ESTALE",
    "fstat": "EBADF EFAULT EIO ENOMEM EOVERFLOW ESTALE",
    "mkdir": f"{OF_PATHS} {OF_WRITING} EBADF EEXIST EMLINK",
    "read": "EAGAIN EBADF EFAULT EINTR EINVAL EIO EISDIR",
    "write": "EAGAIN EBADF EDESTADDRREQ EDQUOT EFAULT EFBIG EINTR EINVAL EIO ENOSPC EPERM EPIPE",
    "close": "EBADF EDQUOT EINTR EIO ENOSPC",
}
type Calls = list[tuple[str, str]]  # names and paths
RETRIED = {"open", "read", "write"}  # after EINTR


def run(scenario: Scenario, module: ModuleType, root: Path, fault: Fault) -> tuple[Any, Calls]:
    """What comes of the scenario and of the files, and the calls that were made."""
    prepare(root, scenario.files)
    with armed(root, fault) as watch:
        told = outcome(scenario.bound(module, root))
    assert fault.action is Action.WATCH or watch.hits > 0, fault
    files: dict[str, Any] = tree(root)
    if (fault.action, fault.call, fault.count) == (Action.FAIL, "write", 1):
        del files[str(Path(fault.path).relative_to(root))]  # Python's buffer writes again when the file is closed
    return (told, files), watch.calls


def different(scenario: Scenario, root: Path, faults: Iterable[Fault]) -> Iterator[tuple[Fault, object]]:
    """The faults, and what comes of them in the module and in the twin if that isn't the same."""
    for fault in faults:
        found, expected = (run(scenario, module, root, fault)[0] for module in (skill, plain_skill))
        yield fault, found != expected and (found, expected)


def addresses(calls: Calls) -> Iterator[tuple[str, str, int]]:
    """Each call by its name, its path, and how many like it came before."""
    met = Counter[tuple[str, str]]()
    for call in calls:
        yield *call, met[call]
        met[call] += 1


def faults_of(calls: Calls) -> Iterator[Fault]:
    """Each call failing with each errno, once and from then on."""
    for call, path, first in addresses(calls):
        for code in ERRNOS[call].split():
            # Python repeats interrupted calls for ever, and calls fstat where the module doesn't.
            is_single = (code == "EINTR" and call in RETRIED) or call == "fstat"
            for count in (1,) if is_single else (1, FOR_EVER):
                yield Fault(Action.FAIL, getattr(errno, code), call, path, first, count)


@pytest.mark.parametrize("name", ON_FILES)
def test_row_3_each_call_may_fail_with_each_errno(name: str, root: Path, judge: Judge) -> None:
    calls = run(ON_FILES[name], skill, root, Fault())[1]
    judge(3, "", different(ON_FILES[name], root, faults_of(calls)), calls=len(calls))


def test_row_4_any_transfer_may_be_short(root: Path, judge: Judge) -> None:
    files = dict.fromkeys(PLACES, b"version: 0.0.1\n".ljust(64, b"."))
    lengths = itertools.product(("read", "write"), range(1, 65), (1, FOR_EVER))
    faults = (Fault(Action.SHORTEN, length, call, count=count) for call, length, count in lengths)
    judge(4, "short transfers", different(Scenario(files, "install_skills", ("project", ROOT)), root, faults))


class Raised(Exception):  # noqa: N818  # no error
    """What a signal handler raises."""


class Handler:
    """Counts the signals that it is called for; raises while it is told to."""

    def __init__(self) -> None:
        self.met = 0
        self.raises = False

    def __call__(self, *_: object) -> None:
        self.met += 1
        if self.raises:
            raise Raised


@pytest.fixture
def handler() -> Iterator[Handler]:
    """A handler of the signals of this file's tests."""
    handler = Handler()
    before = {number: signal.signal(number, handler) for number in (signal.SIGUSR1, signal.SIGALRM)}
    yield handler
    signal.setitimer(signal.ITIMER_REAL, 0)
    for number, usual in before.items():
        signal.signal(number, usual)


@pytest.mark.parametrize("ending", ["return", "raise"])
def test_row_4_any_call_may_be_interrupted(ending: str, handler: Handler, root: Path, judge: Judge) -> None:
    """Where the handler raises, Python's own way tears files, and the module doesn't."""
    handler.raises = ending == "raise"
    tried = []
    for scenario in ON_FILES.values():
        for address in addresses(run(scenario, skill, root, Fault())[1]):
            fault = Fault(Action.INTERRUPT, signal.SIGUSR1, *address)
            found, expected = (run(scenario, module, root, fault)[0] for module in (skill, plain_skill))
            tried.append((fault, found[0] != expected[0] or torn(found[1], scenario.files)))
    judge(4, f"interrupted calls, handlers {ending}", tried, signals=handler.met)
    assert handler.met


@pytest.mark.parametrize("ending", ["return", "raise"])
@pytest.mark.filterwarnings("ignore")  # what becomes of the files that Python leaves open
def test_row_4_no_timer_tears_a_file(ending: str, handler: Handler, root: Path, figure: Figure, effort: float) -> None:
    """The delay of the signal goes through the time that an install takes; Python's own way shows that it does."""
    prepare(root, OUTDATED)
    place = PLACES[-1]
    tears = {}
    for module, signals in ((plain_skill, 300), (skill, 10_000 * effort)):
        handler.met = tears[module] = 0
        for step in itertools.cycle(range(100)):
            (root / place).write_bytes(OUTDATED[place])
            signal.setitimer(signal.ITIMER_REAL, 1e-6 + step * 4e-6, 2e-5 if ending == "return" else 0)
            try:
                handler.raises = ending == "raise"
                module.install_skill("project", root / "project", skill_name="tarnel-wiki")
                handler.raises = False
            except Raised:
                handler.raises = False
            signal.setitimer(signal.ITIMER_REAL, 0)
            tears[module] += (root / place).read_bytes() not in (OUTDATED[place], CURRENT[place])
            if handler.met >= signals:
                break
    figure(
        4, f"timers, handlers {ending}", signals=handler.met, torn=tears[skill], torn_in_300_by_twin=tears[plain_skill]
    )
    assert not tears[skill]
    assert tears[plain_skill] or ending == "return"
