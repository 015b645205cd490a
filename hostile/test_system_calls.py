"""System calls that fail, transfer less than asked, or are interrupted: as Python's own way has it."""

import errno
from collections import Counter
from collections.abc import Iterator
from pathlib import Path
from types import ModuleType
from typing import Any

import pytest

import plain_skill
from conftest import Figure
from muvad_tarnel.setup import skill
from scenarios import ON_FILES, Scenario, outcome, prepare, tree
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
RETRIED = {"open", "read", "write"}  # after EINTR


def run(scenario: Scenario, module: ModuleType, root: Path, fault: Fault) -> tuple[Any, list[tuple[str, str]]]:
    """What comes of the scenario and of the files, and the calls that were made."""
    prepare(root, scenario.files)
    call = scenario.bound(module, root)
    with armed(root, fault) as watch:
        told = outcome(call)
    assert fault.action is Action.WATCH or watch.hits > 0, fault
    return (told, tree(root)), watch.calls


def faults_of(calls: list[tuple[str, str]]) -> Iterator[Fault]:
    """Each call failing with each errno, once and from then on."""
    met = Counter[tuple[str, str]]()
    for call, path in calls:
        for code in ERRNOS[call].split():
            # Python tries some calls again for as long as they are interrupted, and calls fstat where the module doesn't.
            is_single = (code == "EINTR" and call in RETRIED) or call == "fstat"
            for count in (1,) if is_single else (1, FOR_EVER):
                yield Fault(Action.FAIL, getattr(errno, code), call, path, met[call, path], count)
        met[call, path] += 1


def compared(told: object, files: dict[str, object], fault: Fault, root: Path) -> object:
    """What is to be alike. Where a write fails once, Python's buffer writes again when the file is closed."""
    written = str(Path(fault.path).relative_to(root))
    return told, files | {written: None} if (fault.call, fault.count) == ("write", 1) else files


@pytest.mark.parametrize("name", ON_FILES)
def test_row_3_each_call_may_fail_with_each_errno(name: str, root: Path, figure: Figure) -> None:
    scenario = ON_FILES[name]
    calls = run(scenario, skill, root, Fault())[1]
    faults = list(faults_of(calls))
    different = []
    for fault in faults:
        found, expected = (run(scenario, module, root, fault)[0] for module in (skill, plain_skill))
        if compared(*found, fault, root) != compared(*expected, fault, root):
            different.append((fault, found[0], expected[0]))
    figure(3, calls=len(calls), faults=len(faults), different_outcomes=len(different))
    assert faults
    assert not different
