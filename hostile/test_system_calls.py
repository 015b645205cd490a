"""System calls that fail, transfer too little or are interrupted: the module behaves like plain Python."""

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

# The errnos in the manual pages. Network file systems also return EIO, ENOMEM and EINTR elsewhere.
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
    """The outcome of the scenario with its files, and the calls made."""
    prepare(root, scenario.files)
    with armed(root, fault) as watch:
        told = outcome(scenario.bound(module, root))
    assert fault.action is Action.WATCH or watch.hits > 0, fault
    files: dict[str, Any] = tree(root)
    if (fault.action, fault.call, fault.count) == (Action.FAIL, "write", 1):
        del files[str(Path(fault.path).relative_to(root))]  # Python's buffer writes again when the file is closed
    return (told, files), watch.calls


def different(scenario: Scenario, root: Path, faults: Iterable[Fault]) -> Iterator[tuple[Fault, object]]:
    """Each fault with the outcomes of the module and the twin if they differ, else False."""
    for fault in faults:
        found, expected = (run(scenario, module, root, fault)[0] for module in (skill, plain_skill))
        yield fault, found != expected and (found, expected)


def addresses(calls: Calls) -> Iterator[tuple[str, str, int]]:
    """Each call by name, path, and number of earlier calls with the same name and path."""
    met = Counter[tuple[str, str]]()
    for call in calls:
        yield *call, met[call]
        met[call] += 1


def faults_of(calls: Calls) -> Iterator[Fault]:
    """Each call failing with each errno, once and permanently."""
    for call, path, first in addresses(calls):
        for code in ERRNOS[call].split():
            # Python retries interrupted calls indefinitely, and calls fstat where the module doesn't.
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
    """Raised by a signal handler."""


class Handler:
    """A signal handler that counts its calls, and raises while `raises` is set."""

    def __init__(self) -> None:
        self.met = 0
        self.raises = False

    def __call__(self, *_: object) -> None:
        self.met += 1
        if self.raises:
            raise Raised


@pytest.fixture
def handler() -> Iterator[Handler]:
    """The handler of the signals that the tests send."""
    handler = Handler()
    before = {number: signal.signal(number, handler) for number in (signal.SIGUSR1, signal.SIGALRM)}
    yield handler
    signal.setitimer(signal.ITIMER_REAL, 0)
    for number, usual in before.items():
        signal.signal(number, usual)


@pytest.mark.parametrize("ending", ["return", "raise"])
def test_row_4_any_call_may_be_interrupted(ending: str, handler: Handler, root: Path, judge: Judge) -> None:
    """If the handler raises, plain Python tears files, and the module doesn't."""
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
@pytest.mark.filterwarnings("ignore")  # ResourceWarning for files that plain Python leaves open
def test_row_4_no_timer_tears_a_file(ending: str, handler: Handler, root: Path, figure: Figure, effort: float) -> None:
    """The signal's delay sweeps the duration of an install. Files torn by plain Python show that signals hit."""
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
