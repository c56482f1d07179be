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

# The library's names of its rule sets and preferences; a value is its index.
RULES = _native.RULES
PREFERENCES = _native.PREFERENCES
_DEFAULT_RULES = RULES[_native.DEFAULT_RULES]
_DEFAULT_PREFER = PREFERENCES[_native.DEFAULT_PREFER]


def _reference(reference: _dt.datetime) -> str:
    if not isinstance(reference, _dt.datetime):
        raise TypeError(f"reference must be a datetime.datetime, not {type(reference).__name__}")
    if reference.tzinfo is not None and reference.utcoffset() is not None:
        reference = reference.astimezone(_KOREA)
    return (f"{reference.year:04d}{reference.month:02d}{reference.day:02d}"
            f"{reference.hour:02d}{reference.minute:02d}")


def _named(keyword: str, value: str, names: Tuple[str, ...]) -> int:
    if not isinstance(value, str):
        raise TypeError(f"{keyword} must be a str, not {type(value).__name__}")
    try:
        return names.index(value)
    except ValueError:
        raise ValueError(f"{keyword} {value!r} is not "
                         + " or ".join(repr(n) for n in names)) from None


def _rules(rules: str) -> int:
    return _named("rules", rules, RULES)


def _years(years: Optional[Tuple[int, int]]) -> Tuple[int, int]:
    if years is None:
        return 0, 0  # the rules' own
    try:
        first, last = years
    except (TypeError, ValueError):
        raise TypeError(f"years must be a pair (first, last), not {years!r}") from None
    for y in (first, last):
        if isinstance(y, bool) or not isinstance(y, int):
            raise TypeError(f"years must be two ints, not {years!r}")
    return first, last


def _check_options(rules: str, prefer: str, years: Optional[Tuple[int, int]]) -> None:
    """TypeError or ValueError for options extract would refuse, in the
    library's words when they do not go together."""
    r = _rules(rules)
    p = _named("prefer", prefer, PREFERENCES)
    first, last = _years(years)
    problem = _native.options_problem(r, p, first, last)
    if problem is not None:
        raise ValueError(problem)


def rules_years(rules: str = _DEFAULT_RULES) -> Tuple[int, int]:
    """The years a rule set reads written years in and keeps results of:
    the widest window ``years=`` may give under it."""
    return _native.RULES_YEARS[_rules(rules)]


def reference_years(rules: str = _DEFAULT_RULES) -> Tuple[int, int]:
    """The years a reference may lie in under a rule set and its own years."""
    return _native.REFERENCE_YEARS[_rules(rules)]


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

    def extract(self, text: str, reference: _dt.datetime, *, rules: str = _DEFAULT_RULES,
                prefer: str = _DEFAULT_PREFER,
                years: Optional[Tuple[int, int]] = None) -> Extraction:
        """The expressions of ``text``, resolved against ``reference``.

        ``reference`` is a datetime in Korea (an aware one is converted to
        Korean time; seconds are not read).

        ``rules`` is a name of ``extractor_kr.RULES``. The default,
        ``"reader"``, reads each expression on its own terms, as a person
        reading a notice, a mail or a news item with several dates would;
        ``"whole-call"`` gives the answers of the native method exactly, made
        for one short message about one event (the future preferred, its own
        years only).

        ``prefer`` is a name of ``extractor_kr.PREFERENCES``: ``"future"``
        places a date or time the text leaves open (the 19th, Friday, 9
        o'clock) on the nearest moment not before the reference, as a
        message about plans means; ``"past"`` on the latest moment not after
        it, as a report or an archive means. Words that say their direction
        (tomorrow, last Friday) keep it either way.

        ``years=(first, last)``, a window inside the rules' own years
        (``rules_years(rules)``), reads every written year inside it
        (two-digit years in the century nearest the reference), drops
        results outside it and accepts references inside it. Left out, the
        years are the rules' own, and references may lie in
        ``reference_years(rules)``.

        Raises TypeError for arguments of the wrong type, and ValueError for
        an unknown name, options that do not go together, a reference
        outside the years, a text holding a NUL character (in the library's
        words) or a closed extractor.
        """
        if not isinstance(text, str):
            raise TypeError(f"text must be a str, not {type(text).__name__}")
        ref = _reference(reference)
        r = _rules(rules)
        p = _named("prefer", prefer, PREFERENCES)
        first, last = _years(years)
        native = self._native
        if native is None:
            raise ValueError("extract on a closed Extractor")
        content, expressions = native.extract(_utf8(text), ref, r, p, first, last)
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
