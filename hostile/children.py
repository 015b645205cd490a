"""Runs experiments that may crash or hang: each point in a fork of this process."""

import io
import os
import pickle
import select
import signal
import time
from collections import deque
from collections.abc import Callable, Iterable, Iterator
from functools import partial
from typing import Any


class Ended(str):
    """How a child ended without an answer: killed by a signal, hung, or with an exception."""

    __slots__ = ()


def _start[Point](task: Callable[[Point], object], point: Point) -> tuple[int, int]:
    reading, writing = os.pipe()
    child = os.fork()
    if child:
        os.close(writing)
        return child, reading
    try:
        answer = task(point)
    except BaseException as error:  # noqa: BLE001  # the parent judges it
        answer = Ended(f"raised {error!r}")
    with os.fdopen(writing, "wb") as stream:
        pickle.dump(answer, stream)
    os._exit(0)


def _answer(child: int, reading: int, deadline: float) -> Any:
    content = io.BytesIO()
    with os.fdopen(reading, "rb", buffering=0) as stream:
        while select.select([stream], [], [], max(0.0, deadline - time.monotonic()))[0]:
            part = stream.read(65536)
            if not part:
                status = os.waitpid(child, 0)[1]
                if os.WIFSIGNALED(status):
                    return Ended(f"killed by {signal.Signals(os.WTERMSIG(status)).name}")
                return pickle.loads(content.getvalue())  # noqa: S301  # written by our own child
            content.write(part)
    os.kill(child, signal.SIGKILL)
    os.waitpid(child, 0)
    return Ended("hung")


def answers[Point, Answer](
    task: Callable[[Point], Answer], points: Iterable[Point], limit: float = 10
) -> Iterator[tuple[Point, Answer | Ended]]:
    """The task's answer at each point, in order. Several children run at a time, for at most `limit` seconds each."""
    running = deque[tuple[Point, Callable[[], Any]]]()
    try:
        for point in points:
            child, reading = _start(task, point)
            running.append((point, partial(_answer, child, reading, time.monotonic() + limit)))
            if len(running) > (os.cpu_count() or 1):
                first, answer = running.popleft()
                yield first, answer()
        while running:
            first, answer = running.popleft()
            yield first, answer()
    finally:
        for _, answer in running:
            answer()
