"""Reading options: the past preferred, and a window of years, checked
against Python's own calendar."""

import calendar
import datetime

import pytest
from hypothesis import given, settings, strategies as st

from conftest import REF, corpus

FRIDAY = datetime.datetime(2024, 5, 24, 10, 30)
WIDE = (1900, 2099)
WEEKDAYS = "월화수목금토일"  # Monday first, as datetime.weekday() counts


def starts(extraction):
    return [(e.start.year, e.start.month, e.start.day, e.start.hour) for e in extraction.expressions]


@pytest.mark.parametrize("text, past, future", [
    ("19일", (2024, 5, 19, None), (2024, 6, 19, None)),
    ("3월 1일", (2024, 3, 1, None), (2025, 3, 1, None)),
    ("수요일", (2024, 5, 22, None), (2024, 5, 29, None)),
    ("토요일", (2024, 5, 18, None), (2024, 5, 25, None)),
    ("금요일", (2024, 5, 24, None), (2024, 5, 31, None)),
    ("9시", (2024, 5, 24, 9), (2024, 5, 24, 21)),
    ("11시", (2024, 5, 23, 23), (2024, 5, 24, 11)),
    ("12월", (2023, 12, 1, None), (2024, 12, 1, None)),
    ("내일", (2024, 5, 25, None), (2024, 5, 25, None)),
    ("지난 금요일", (2024, 5, 17, None), (2024, 5, 17, None)),
])
def test_the_past_preferred(extractor, text, past, future):
    assert starts(extractor.extract(text, FRIDAY, prefer="past")) == [past]
    assert starts(extractor.extract(text, FRIDAY)) == [future]
    assert starts(extractor.extract(text, FRIDAY, prefer="future")) == [future]


@pytest.mark.parametrize("text, start", [
    ("1948년 8월 15일", (1948, 8, 15, None)),
    ("1997년 10월", (1997, 10, 1, None)),
    ("98년도", (1998, 1, 1, None)),
    ("2045년", (2045, 1, 1, None)),
])
def test_a_window_reads_years_the_first_rules_do_not(extractor, text, start):
    assert starts(extractor.extract(text, REF, years=WIDE)) == [start]
    assert starts(extractor.extract(text, REF)) == []
    # The first rules' own window is the same as leaving the years out.
    assert extractor.extract(text, REF, years=(2000, 2035)) == extractor.extract(text, REF)


def test_the_first_rules_are_the_default_on_the_corpus(extractor):
    for ref, text in corpus()[::7]:
        assert extractor.extract(text, ref, prefer="future", years=(2000, 2035)) == \
            extractor.extract(text, ref), text


def test_bad_options(extractor):
    with pytest.raises(ValueError, match="'future' or 'past'"):
        extractor.extract("내일", REF, prefer="backward")
    with pytest.raises(TypeError):
        extractor.extract("내일", REF, prefer=1)
    for years in [(1899, 2000), (2000, 2100), (2030, 2010)]:
        with pytest.raises(ValueError, match="1900..2099"):
            extractor.extract("내일", REF, years=years)
    for years in [(2000,), 2000, ("1900", "2099"), (1900.0, 2099), (True, 2000)]:
        with pytest.raises(TypeError):
            extractor.extract("내일", REF, years=years)
    with pytest.raises(TypeError):
        extractor.extract("내일", REF, "past")  # keywords only
    # A reference must lie in the window.
    old = datetime.datetime(1950, 6, 25, 4)
    with pytest.raises(ValueError, match="1970..2043"):
        extractor.extract("내일", old)
    with pytest.raises(ValueError, match="1990..2010"):
        extractor.extract("내일", old, years=(1990, 2010))
    assert starts(extractor.extract("내일", old, years=WIDE)) == [(1950, 6, 26, None)]


days = st.dates(datetime.date(1900, 1, 8), datetime.date(2099, 12, 24))


@settings(max_examples=300, deadline=None)
@given(day=days)
def test_written_dates_are_the_calendars(extractor, day):
    text = f"{day.year}년 {day.month}월 {day.day}일"
    ref = datetime.datetime(2024, 5, 15, 10, 30)
    assert starts(extractor.extract(text, ref, years=WIDE)) == [
        (day.year, day.month, day.day, None)]


@settings(max_examples=300, deadline=None)
@given(day=days, weekday=st.integers(0, 6), hour=st.integers(0, 23))
def test_weekdays_fall_on_the_calendars_days(extractor, day, weekday, hour):
    ref = datetime.datetime(day.year, day.month, day.day, hour, 0)
    text = WEEKDAYS[weekday] + "요일"
    (past,) = extractor.extract(text, ref, prefer="past", years=WIDE).expressions
    (future,) = extractor.extract(text, ref, years=WIDE).expressions
    # The latest such day not after the reference; the next one after it
    # (a weekday that is today means next week's).
    assert past.start.date.weekday() == weekday
    assert 0 <= (day - past.start.date).days < 7
    assert future.start.date.weekday() == weekday
    assert 0 < (future.start.date - day).days <= 7


@settings(max_examples=200, deadline=None)
@given(year=st.integers(1900, 2099), month=st.integers(1, 12))
def test_month_ends_are_the_calendars(extractor, year, month):
    ref = datetime.datetime(year, 1, 1, 9, 0)
    (e,) = extractor.extract(f"{month}월 말일", ref, years=WIDE).expressions
    assert e.start.date == datetime.date(year, month, calendar.monthrange(year, month)[1])
