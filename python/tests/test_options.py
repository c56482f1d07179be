"""Reading options: the rule set, the past preferred and a window of years,
checked against Python's own calendar and the library's own words."""

import datetime
import os
import shutil
import subprocess

import pytest
from hypothesis import given, settings, strategies as st

from conftest import REF
from extractor_kr import PREFERENCES, RULES, reference_years, rules_years

FRIDAY = datetime.datetime(2024, 5, 24, 10, 30)
WIDE = (1900, 2099)
WEEKDAYS = "월화수목금토일"  # Monday first, as datetime.weekday() counts


def starts(extraction):
    return [(e.start.year, e.start.month, e.start.day, e.start.hour) for e in extraction.expressions]


# The engine's placing of dates is tested in C++; here the options reach it.
@pytest.mark.parametrize("text, past, future", [
    ("19일", (2024, 5, 19, None), (2024, 6, 19, None)),
    ("11시", (2024, 5, 23, 23), (2024, 5, 24, 11)),
    ("지난 금요일", (2024, 5, 17, None), (2024, 5, 17, None)),
])
def test_the_past_preferred(extractor, text, past, future):
    assert starts(extractor.extract(text, FRIDAY, prefer="past")) == [past]
    assert starts(extractor.extract(text, FRIDAY)) == [future]
    assert starts(extractor.extract(text, FRIDAY, prefer="future")) == [future]


def test_the_reader_reads_years_the_whole_call_does_not(extractor):
    start = [(1997, 10, 1, None)]
    assert starts(extractor.extract("1997년 10월", REF)) == start
    assert starts(extractor.extract("1997년 10월", REF, rules="reader", years=WIDE)) == start
    assert starts(extractor.extract("1997년 10월", REF, rules="whole-call")) == []
    # A window that leaves the year out drops the result.
    assert starts(extractor.extract("1997년 10월", REF, years=(2000, 2040))) == []


def _result_years(rules):
    # The whole call counts back from its references as far as the first of
    # them, below the years it reads written years in.
    return reference_years(rules)[0], rules_years(rules)[1]


@pytest.mark.parametrize("text", [
    "5103032시간 전에 끝났어", "3000개월 전", "300000주 전", "9999999분 전", "5000년 후", "3000개월 뒤",
])
@pytest.mark.parametrize("options", [
    dict(), dict(rules="whole-call"), dict(prefer="past"), dict(years=WIDE),
])
def test_counts_past_the_calendar_give_real_moments_or_nothing(extractor, text, options):
    ref = datetime.datetime(2014, 5, 15, 10, 30)
    first, last = options.get("years") or _result_years(options.get("rules", "reader"))
    for e in extractor.extract(text, ref, **options).expressions:
        for m in (e.start, e.end):
            if m.year is not None:
                assert first <= m.year <= last, e
            if None not in (m.year, m.month, m.day):
                m.date  # a date the calendar has: no ValueError
            if m.hour is not None:
                assert 0 <= m.hour <= 23 and 0 <= (m.minute or 0) <= 59 and 0 <= (m.second or 0) <= 59


@settings(max_examples=300, deadline=None)
@given(count=st.integers(1, 10**8), unit=st.sampled_from(["분", "시간", "일", "주", "개월", "달", "년"]),
       way=st.sampled_from(["전", "후", "뒤"]),
       options=st.sampled_from([dict(), dict(rules="whole-call"), dict(prefer="past")]))
def test_any_count_gives_a_real_moment_or_nothing(extractor, count, unit, way, options):
    first, last = _result_years(options.get("rules", "reader"))
    for e in extractor.extract(f"{count}{unit} {way}", REF, **options).expressions:
        for m in (e.start, e.end):
            if not m.is_open:
                assert first <= m.year <= last, e
                m.date


def test_names_and_years_are_the_librarys(extractor):
    assert "reader" in RULES and "whole-call" in RULES
    assert set(PREFERENCES) == {"future", "past"}
    for rules in RULES:
        first, last = rules_years(rules)
        ref_first, ref_last = reference_years(rules)
        assert ref_first <= first <= last <= ref_last
        # The rules' own window is the widest: a year past it is refused in
        # the library's words, which name the window.
        assert extractor.extract("내일", REF, rules=rules, years=(first, last)) == \
            extractor.extract("내일", REF, rules=rules)
        with pytest.raises(ValueError, match=f"{first}..{last}"):
            extractor.extract("내일", REF, rules=rules, years=(first - 1, last))
    assert rules_years() == rules_years("reader")
    with pytest.raises(ValueError, match="'reader' or 'whole-call'"):
        rules_years("native")


def _cli_error(args):
    cli = os.environ.get("EXTRACTOR_KR_CLI") or shutil.which("extractor-kr")
    if not cli:
        return None
    run = subprocess.run([cli, *args, "내일"], capture_output=True, text=True)
    assert run.returncode == 2
    return run.stderr.splitlines()[0].removeprefix("extractor-kr: ")


@pytest.mark.parametrize("options, cli_args", [
    (dict(rules="whole-call", prefer="past"), ["--rules", "whole-call", "--prefer", "past"]),
    (dict(rules="whole-call", years=(1990, 2010)), ["--rules", "whole-call", "--years", "1990-2010"]),
    (dict(years=(999, 2000)), ["--years", "999-2000"]),
    (dict(years=(2030, 2010)), ["--years", "2030-2010"]),
])
def test_bad_windows_and_rules_are_refused_in_the_librarys_words(extractor, options, cli_args):
    with pytest.raises(ValueError) as refused:
        extractor.extract("내일", REF, **options)
    with pytest.raises(ValueError) as too:
        extractor.extract("", REF, **options)
    assert str(too.value) == str(refused.value)
    words = _cli_error(cli_args)
    if words is not None:
        assert str(refused.value) == words


def test_bad_options(extractor):
    with pytest.raises(ValueError, match="'future' or 'past'"):
        extractor.extract("내일", REF, prefer="backward")
    with pytest.raises(ValueError, match="^rules 'native' is not 'reader' or 'whole-call'$"):
        extractor.extract("내일", REF, rules="native")
    with pytest.raises(TypeError):
        extractor.extract("내일", REF, prefer=1)
    with pytest.raises(TypeError):
        extractor.extract("내일", REF, rules=0)
    for years in [(2000,), 2000, ("1900", "2099"), (1900.0, 2099), (True, 2000)]:
        with pytest.raises(TypeError):
            extractor.extract("내일", REF, years=years)
    with pytest.raises(TypeError):
        extractor.extract("내일", REF, "past")  # keywords only
    # A reference must lie in the window.
    old = datetime.datetime(1950, 6, 25, 4)
    assert starts(extractor.extract("내일", old)) == [(1950, 6, 26, None)]
    with pytest.raises(ValueError, match="^reference 195006250400 is outside years 1990..2010"):
        extractor.extract("내일", old, years=(1990, 2010))
    first, last = reference_years("whole-call")
    with pytest.raises(ValueError, match=f"^reference 195006250400 is outside years {first}..{last}"):
        extractor.extract("내일", old, rules="whole-call")


# The reader's whole calendar, as the library states it.
FIRST, LAST = rules_years()


@settings(max_examples=300, deadline=None)
@given(day=st.dates(datetime.date(FIRST, 1, 8), datetime.date(LAST, 12, 24)),
       weekday=st.integers(0, 6), hour=st.integers(0, 23))
def test_weekdays_fall_on_the_calendars_days(extractor, day, weekday, hour):
    ref = datetime.datetime(day.year, day.month, day.day, hour, 0)
    text = WEEKDAYS[weekday] + "요일"
    (past,) = extractor.extract(text, ref, prefer="past").expressions
    (future,) = extractor.extract(text, ref).expressions
    # The latest such day not after the reference; the next one after it
    # (a weekday that is today means next week's).
    assert past.start.date.weekday() == weekday
    assert 0 <= (day - past.start.date).days < 7
    assert future.start.date.weekday() == weekday
    assert 0 < (future.start.date - day).days <= 7
