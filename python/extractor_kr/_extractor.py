"""The Extractor: dictionaries opened once, extraction from any number of threads."""

from __future__ import annotations

import datetime as _dt
import os
from typing import Optional, Tuple, Union

from . import _native
from ._types import Extraction, _expression

DictionaryError = _native.DictionaryError
DictionaryError.__module__ = "extractor_kr"
DictionaryError.__doc__ = (
    "Dictionaries that cannot be used: a file that cannot be read, or a dictionary that is "
    "truncated, malformed or not the size it says. The message names which and where.")

_KOREA = _dt.timezone(_dt.timedelta(hours=9))

# The years any window lies inside.
FIRST_YEAR, LAST_YEAR = 1900, 2099

# Statuses of the native side.
_OK, _REFERENCE, _TEXT, _MEMORY = 0, 3, 4, 6


def _reference(reference: _dt.datetime) -> str:
    if not isinstance(reference, _dt.datetime):
        raise TypeError(f"reference must be a datetime.datetime, not {type(reference).__name__}")
    if reference.tzinfo is not None and reference.utcoffset() is not None:
        reference = reference.astimezone(_KOREA)
    return (f"{reference.year:04d}{reference.month:02d}{reference.day:02d}"
            f"{reference.hour:02d}{reference.minute:02d}")


def _prefer(prefer: str) -> int:
    if not isinstance(prefer, str):
        raise TypeError(f"prefer must be a str, not {type(prefer).__name__}")
    if prefer not in ("future", "past"):
        raise ValueError(f"prefer must be 'future' or 'past', not {prefer!r}")
    return 1 if prefer == "past" else 0


def _years(years: Optional[Tuple[int, int]]) -> Tuple[int, int]:
    if years is None:
        return _native.WHOLE_CALL_YEARS
    try:
        first, last = years
    except (TypeError, ValueError):
        raise TypeError(f"years must be a pair (first, last), not {years!r}") from None
    for y in (first, last):
        if isinstance(y, bool) or not isinstance(y, int):
            raise TypeError(f"years must be two ints, not {years!r}")
    if not FIRST_YEAR <= first <= last <= LAST_YEAR:
        raise ValueError(f"years {first}..{last} are not a window inside "
                         f"{FIRST_YEAR}..{LAST_YEAR}")
    return first, last


def _utf8(text: str) -> bytes:
    try:
        return text.encode("utf-8")
    except UnicodeEncodeError:
        # A lone surrogate, which UTF-8 cannot hold, becomes U+FFFD: one code
        # point still, so that every position stays where it was.
        fixed = text.encode("utf-16-le", "surrogatepass").decode("utf-16-le", "replace")
        return fixed.encode("utf-8")


class Extractor:
    """Finds date and time expressions in Korean text.

    ``Extractor()`` opens the Korean dictionaries built into the package;
    ``Extractor(dictionaries=path)`` a directory of compiled dictionaries
    (settings.txt, replace.bin, tags.bin, patterns.bin, units.bin, words.dic).
    One extractor is safe to share across threads; the interpreter lock is
    released while it works. Use it as a context manager, or call close().
    """

    def __init__(self, dictionaries: Optional[Union[str, os.PathLike]] = None):
        if dictionaries is None:
            self._native = _native.open_default()
            return
        if not isinstance(dictionaries, (str, bytes, os.PathLike)):
            raise TypeError("dictionaries must be a path")
        parts = []
        for name in _native.DICTIONARY_FILES:
            path = os.path.join(os.fsdecode(dictionaries), name)
            try:
                with open(path, "rb") as f:
                    parts.append(f.read())
            except OSError as e:
                raise DictionaryError(f"cannot read dictionary file {path}: {e.strerror}") from e
        try:
            self._native = _native.open(parts)
        except DictionaryError as e:
            raise DictionaryError(f"{os.fsdecode(dictionaries)}: {e}") from None

    def extract(self, text: str, reference: _dt.datetime, *, prefer: str = "future",
                years: Optional[Tuple[int, int]] = None) -> Extraction:
        """The expressions of ``text``, resolved against ``reference``.

        ``reference`` is a datetime in Korea (an aware one is converted to
        Korean time; seconds are not read).

        ``prefer="future"`` places a date or time the text leaves open (the
        19th, Friday, 9 o'clock) on the nearest moment not before the
        reference, as a message about plans means; ``prefer="past"`` on the
        latest moment not after it, as a report or an archive means. Words
        that say their direction (tomorrow, last Friday) keep it either way.

        ``years=(first, last)``, any window inside 1900..2099, reads every
        written year inside it (two-digit years in the century nearest the
        reference), drops results outside it and accepts references inside
        it. Left out, the years are the engine's first rules: written years
        2000..2030, results up to 2035, references in 1970..2043.

        Raises TypeError for arguments of the wrong type and ValueError for
        an unknown ``prefer``, a window outside 1900..2099 or upside down, a
        reference outside the years, a text holding a NUL character, or a
        closed extractor.
        """
        if not isinstance(text, str):
            raise TypeError(f"text must be a str, not {type(text).__name__}")
        ref = _reference(reference)
        past = _prefer(prefer)
        first, last = _years(years)
        if self._native is None:
            raise ValueError("extract on a closed Extractor")
        status, detail, content, expressions = self._native.extract(
            _utf8(text), ref, past, first, last)
        if status == _REFERENCE:
            raise ValueError(f"reference {reference} is outside the years it may lie in: {detail}")
        if status == _TEXT:
            raise ValueError(f"text cannot be read: {detail}")
        if status == _MEMORY:
            raise MemoryError(detail)
        if status != _OK:
            raise ValueError(detail)
        return Extraction([_expression(text, e) for e in expressions], content)

    def close(self) -> None:
        """Frees the dictionaries; calling it again does nothing."""
        native, self._native = self._native, None
        if native is not None:
            native.close()

    def __enter__(self) -> "Extractor":
        return self

    def __exit__(self, *exc) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<extractor_kr.Extractor{' (closed)' if self._native is None else ''}>"
