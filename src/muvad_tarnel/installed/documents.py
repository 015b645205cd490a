"""The documents of this package, and how the text of a copy compares with them."""

from enum import Enum

from muvad_tarnel import __version__
from muvad_tarnel.setup import skill

# The SHA-256 digests of every template ever released. A template that changes gets a new digest here and keeps the old
# one, so that copies which an earlier release wrote are not taken for modified ones.
RELEASED = {
    "tarnel": frozenset({"bef2522d3677b204b64107eb8f11578357806c23542c454484ecfa92ac5a5f02"}),
    "tarnel-map": frozenset({"79ca54e5f36144a6738a1445f974f83244143c5aee02c5455d262add5d9474ed"}),
    "tarnel-wiki": frozenset({"d96191336437e3021b867994a69db41de6573d507b8eaae8d6c1f2c0c0965a7d"}),
}

# The module looks for the stamp among this many characters.
_STAMP_WITHIN = 2000


class State(Enum):
    """A copy compared with this package."""

    CURRENT = "current"
    OUTDATED = "outdated"
    NEWER = "newer"
    MODIFIED = "modified"
    INCOMPLETE = "incomplete"
    FOREIGN = "foreign"
    UNREADABLE = "unreadable"
    MISSING = "missing"


def document(name: str, version: str = __version__) -> str:
    """This package's document of a skill, stamped with `version`."""
    return skill.render_skill_md(version, name)


def plain(content: bytes) -> bytes:
    """The content without a byte order mark and with LF line ends."""
    return content.removeprefix(b"\xef\xbb\xbf").replace(b"\r\n", b"\n").replace(b"\r", b"\n")


def judge(name: str, content: bytes) -> tuple[State, str | None, bool]:
    """The state of a copy with this content, its stamp, and whether this package wrote it, in any release.

    Raises `UnicodeDecodeError`, unless that is due to a cut.
    """
    text = plain(content).decode(errors="replace")  # a cut may be inside a character
    if text == document(name):  # even if the stamp is one that cannot be read back, as of a local version
        return State.CURRENT, __version__, True
    stamp = skill._VERSION_RE.search(text[:_STAMP_WITHIN])
    version = stamp.group(1) if stamp else None
    is_ours = stamp is not None and is_released(name, text[: stamp.start(1)] + "{version}" + text[stamp.end(1) :])
    whole = document(name, version or __version__).encode()
    if not is_ours and len(content) < len(whole) and whole.startswith(content):
        return State.INCOMPLETE, version, True
    content.decode()
    if version is None:
        return State.FOREIGN, None, False
    key, own_key = skill._version_tuple(version), skill._version_tuple(__version__)
    same = State.CURRENT if is_ours else State.MODIFIED
    return State.OUTDATED if key < own_key else State.NEWER if key > own_key else same, version, is_ours


def is_released(name: str, template: str) -> bool:
    """Whether the text is a released template of the skill."""
    if template == skill.SKILL_TEMPLATES[name]:
        return True
    from hashlib import sha256  # noqa: PLC0415 (slow to import, and seldom needed)

    return sha256(template.encode()).hexdigest() in RELEASED[name]
