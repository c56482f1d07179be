"""The values an extraction gives: plain, immutable and picklable."""

from __future__ import annotations

import datetime as _dt
from dataclasses import dataclass, field
from typing import List, Optional

_CYCLES = {0: None, 1: "P1D", 2: "P7D", 3: "P1M", 4: "P1Y"}


@dataclass(frozen=True)
class PartialDateTime:
    """A moment as the text gave it, completed against the reference time.

    Each field is an int, or None where the text left it open; an open start
    or end (as in "금요일까지", until Friday) has every field None.
    """

    year: Optional[int] = None
    month: Optional[int] = None
    day: Optional[int] = None
    hour: Optional[int] = None
    minute: Optional[int] = None
    second: Optional[int] = None

    @property
    def is_open(self) -> bool:
        """Whether every field is open: the open start or end of a span."""
        return all(getattr(self, f) is None for f in _FIELDS)

    @property
    def date(self) -> Optional[_dt.date]:
        """The date, when year, month and day are known."""
        if None in (self.year, self.month, self.day):
            return None
        return _dt.date(self.year, self.month, self.day)

    @property
    def datetime(self) -> Optional[_dt.datetime]:
        """The date and time, when year to minute are known (an open second counts as 0)."""
        if None in (self.year, self.month, self.day, self.hour, self.minute):
            return None
        return _dt.datetime(self.year, self.month, self.day, self.hour, self.minute,
                            self.second or 0)

    def __reduce__(self):
        # Pickled as its fields: smaller and quicker to load than a dict.
        return (PartialDateTime, (self.year, self.month, self.day, self.hour, self.minute,
                                  self.second))

    def __str__(self) -> str:
        if self.is_open:
            return "(open)"
        def two(v):
            return "??" if v is None else f"{v:02d}"
        s = ("????" if self.year is None else f"{self.year:04d}") + f"-{two(self.month)}-{two(self.day)}"
        if self.hour is not None or self.minute is not None:
            s += f"T{two(self.hour)}:{two(self.minute)}"
            if self.second:
                s += f":{two(self.second)}"
        return s


_FIELDS = ("year", "month", "day", "hour", "minute", "second")


@dataclass(frozen=True)
class TimeExpression:
    """One date or time expression: a moment, or a span from a start to an end.

    ``begin_index`` and ``end_index`` are code point indexes into the str
    given, so ``text[begin_index:end_index]`` is the expression (``text``).
    ``cycle`` is "P1D", "P7D", "P1M", "P1Y" or None, and ``cycle_interval``
    every how many cycles it comes back: 1, or 2 for every other week (격주);
    0 when it does not repeat. ``has_date``, ``has_time`` and ``has_ampm``
    tell whether the text gave a date, a time of day and a morning or
    afternoon for the start or the end; ``lunar`` whether it gave the date
    on the lunar calendar ("음력 8월 15일", "추석"). The moments are solar
    dates either way.
    """

    is_span: bool
    start: PartialDateTime
    end: PartialDateTime
    cycle: Optional[str]
    begin_index: int
    end_index: int
    text: str
    has_date: bool
    has_time: bool
    has_ampm: bool
    lunar: bool = False
    cycle_interval: int = 0

    def __reduce__(self):
        return (TimeExpression, (self.is_span, self.start, self.end, self.cycle,
                                 self.begin_index, self.end_index, self.text, self.has_date,
                                 self.has_time, self.has_ampm, self.lunar, self.cycle_interval))

    def __str__(self) -> str:
        s = f"{self.text} [{self.begin_index},{self.end_index}) {self.start}"
        if self.is_span:
            s += f" ~ {self.end}"
        if self.cycle:
            s += f" every {self.cycle}" if self.cycle_interval == 1 else \
                f" every {self.cycle_interval} x {self.cycle}"
        if self.lunar:
            s += " (lunar)"
        return s


@dataclass
class Extraction:
    """What one text holds: its expressions in text order, and its content.

    The content is the text without its expressions, without a word tied to
    one (a particle such as 에 or 까지 right after it) and, once anything was
    found, without its commas.
    """

    expressions: List[TimeExpression] = field(default_factory=list)
    content: str = ""

    def __reduce__(self):
        return (Extraction, (self.expressions, self.content))


def _moment(m) -> PartialDateTime:
    return PartialDateTime(*(None if v == -1 else v for v in m[:6]))


def _expression(text: str, e) -> TimeExpression:
    is_span, lunar, cycle, interval, start, end, begin, stop = e
    s = _moment(start)
    return TimeExpression(
        is_span=is_span,
        start=s,
        end=_moment(end) if is_span else s,
        cycle=_CYCLES.get(cycle),
        begin_index=begin,
        end_index=stop,
        text=text[begin:stop] if begin >= 0 else "",
        has_date=start[6] or end[6],
        has_time=start[7] or end[7],
        has_ampm=start[8] or end[8],
        lunar=lunar,
        cycle_interval=interval,
    )
