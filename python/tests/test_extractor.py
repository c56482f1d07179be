"""The Python package: positions, values, errors, threads, and the same
answers as the command-line tool."""

import datetime
import json
import os
import pickle
import shutil
import subprocess
import threading

import pytest

from conftest import REF, corpus
from extractor_kr import (DictionaryError, Extractor, PartialDateTime, TimeExpression,
                          reference_years)


@pytest.mark.parametrize("text, expression", [
    ("🎉 내일 오후 3시에 봐", "내일 오후 3시"),
    ("내일 오후 3시에 봐 🎉", "내일 오후 3시"),
    ("𠀀𠀀 5월 20일에 회의", "5월 20일"),
    ("내일😀3시에 봐요", "내일😀3시"),  # read as if the emoji were a blank
    ("\ud800 내일 오후 3시", "내일 오후 3시"),  # a lone surrogate is a character too
    ("👍🏽🇰🇷 다음 주 화요일 10시 회의", "다음 주 화요일 10시"),
])
def test_positions_are_code_points_of_the_str_given(extractor, text, expression):
    (t,) = extractor.extract(text, REF).expressions
    assert text[t.begin_index:t.end_index] == expression == t.text


def test_spans_open_ends_cycles_and_partial_dates(extractor):
    (span,) = extractor.extract("7월 13일부터 15일까지 휴가", REF).expressions
    assert span.is_span and span.has_date and not span.has_time
    assert span.start.date == datetime.date(2024, 7, 13)
    assert span.end.date == datetime.date(2024, 7, 15)
    assert span.start.hour is None and span.start.datetime is None

    (until,) = extractor.extract("금요일까지 보내주세요", REF).expressions
    assert until.start.is_open and str(until.start) == "(open)"
    assert until.end.date == datetime.date(2024, 5, 17)

    (weekly,) = extractor.extract("매주 월요일 10시 회의", REF).expressions
    assert weekly.cycle == "P7D" and weekly.cycle_interval == 1
    assert not weekly.is_span and weekly.end == weekly.start
    assert weekly.start.datetime == datetime.datetime(2024, 5, 20, 10, 0)
    assert str(weekly) == "매주 월요일 10시 [0,10) 2024-05-20T10:00 every P7D"
    (monthly,) = extractor.extract("매달 1일", REF).expressions
    assert (monthly.cycle, monthly.cycle_interval) == ("P1M", 1)

    (meeting,) = extractor.extract("내일 오후 3시에 만나요", REF).expressions
    assert meeting.has_ampm and meeting.cycle is None and meeting.cycle_interval == 0
    assert not meeting.lunar
    assert str(meeting) == "내일 오후 3시 [0,8) 2024-05-16T15:00"

    nothing = extractor.extract("아무 일 없음, 그냥", REF)
    assert nothing.expressions == [] and nothing.content == "아무 일 없음, 그냥"


@pytest.mark.parametrize("rules", ["reader", "whole-call"])
@pytest.mark.parametrize("text, solar", [
    ("음력 8월 15일", datetime.date(2024, 9, 17)),
    ("추석", datetime.date(2024, 9, 17)),
    ("음력 1월 1일에 세배", datetime.date(2025, 1, 29)),
])
def test_lunar_dates_are_flagged_and_given_as_solar_dates(extractor, rules, text, solar):
    (t,) = extractor.extract(text, REF, rules=rules).expressions
    assert t.lunar and t.start.date == solar
    assert str(t).endswith(" (lunar)")
    (same_day,) = extractor.extract(f"{solar.month}월 {solar.day}일", REF, rules=rules).expressions
    assert not same_day.lunar and same_day.start == t.start


def test_results_are_plain_picklable_values(extractor):
    e = extractor.extract("7월 13일부터 15일까지, 매주 월요일 10시, 음력 8월 15일", REF)
    assert pickle.loads(pickle.dumps(e)) == e
    assert "TimeExpression(" in repr(e.expressions[0]) and "lunar=" in repr(e.expressions[0])
    # Every field of the result takes part in equality, hashing and pickling.
    base = dict(is_span=False, start=PartialDateTime(2024, 5, 21), end=PartialDateTime(2024, 5, 21),
                cycle="P7D", begin_index=0, end_index=6, text="격주 화요일", has_date=True,
                has_time=False, has_ampm=False, lunar=False, cycle_interval=2)
    every_other = TimeExpression(**base)
    assert str(every_other) == "격주 화요일 [0,6) 2024-05-21 every 2 x P7D"
    for change in [dict(cycle_interval=1), dict(lunar=True)]:
        other = TimeExpression(**{**base, **change})
        assert other != every_other and pickle.loads(pickle.dumps(other)) == other
    assert len({every_other, TimeExpression(**base), TimeExpression(**{**base, "lunar": True})}) == 2


def test_aware_references_are_read_in_korea(extractor):
    utc = datetime.datetime(2024, 5, 15, 1, 30, tzinfo=datetime.timezone.utc)  # 10:30 in Korea
    assert extractor.extract("3시", utc) == extractor.extract("3시", REF)


@pytest.fixture(scope="module")
def cli():
    path = os.environ.get("EXTRACTOR_KR_CLI") or shutil.which("extractor-kr")
    if not path:
        pytest.skip("EXTRACTOR_KR_CLI names no command-line tool")
    return path


def _time(p):
    fields = (p.year, p.month, p.day, p.hour, p.minute, p.second)
    return "".join(("FFFF" if k == 0 else "FF") if v is None else f"{v:0{4 if k == 0 else 2}d}"
                   for k, v in enumerate(fields))


_CYCLE = {None: "00000000000000", "P1D": "00000001000000", "P7D": "00000007000000",
          "P1M": "00000100000000", "P1Y": "00010000000000"}


@pytest.mark.parametrize("rules", ["reader", "whole-call"])
def test_same_answers_as_the_command_line_tool_on_the_corpus(extractor, cli, rules):
    sentences = corpus()
    lines = "".join(json.dumps({"text": t, "ref": r.strftime("%Y%m%d%H%M"), "rules": rules})
                    + "\n" for r, t in sentences)
    out = subprocess.run([cli, "--jsonl"], input=lines, capture_output=True, text=True,
                         check=True).stdout.splitlines()
    assert len(out) == len(sentences) >= 300
    for (ref, text), line in zip(sentences, out):
        e, answer = extractor.extract(text, ref, rules=rules), json.loads(line)
        assert [(t.is_span, _time(t.start), _time(t.end), t.begin_index, t.end_index,
                 _CYCLE[t.cycle], e.content) for t in e.expressions] == \
            [(r["resultType"] == "2", r["startTime"], r["endTime"], int(r["beginIndex"]),
              int(r["endIndex"]), r["cycle"], answer["content"]) for r in answer["results"]], text


def test_threads_share_one_extractor(extractor):
    texts = [t for _, t in corpus()]
    expected = [extractor.extract(t, REF) for t in texts]
    wrong = []

    def work(offset):
        for k in range(len(texts)):
            i = (k + offset * 37) % len(texts)
            if extractor.extract(texts[i], REF) != expected[i]:
                wrong.append(texts[i])

    threads = [threading.Thread(target=work, args=(n,)) for n in range(8)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert wrong == []


def test_every_error(extractor, built_dictionaries, tmp_path):
    for args in [(b"bytes", REF), ("내일", "202405151030"), ("내일", datetime.date(2024, 5, 15))]:
        with pytest.raises(TypeError):
            extractor.extract(*args)
    for rules in ("reader", "whole-call"):
        first, last = reference_years(rules)
        window = f"years {first}..{last}"
        with pytest.raises(ValueError, match=f"^reference {first - 1:04d}12312359 is outside {window}"):
            extractor.extract("내일", datetime.datetime(first - 1, 12, 31, 23, 59), rules=rules)
        with pytest.raises(ValueError, match=f"^reference {last + 1:04d}01010000 is outside {window}"):
            extractor.extract("내일", datetime.datetime(last + 1, 1, 1), rules=rules)
        for year in (first, last):
            extractor.extract("내일", datetime.datetime(year, 6, 1), rules=rules)
    with pytest.raises(ValueError, match="^NUL character at byte 6$"):
        extractor.extract("내일\x00 3시", REF)
    with pytest.raises(TypeError):
        Extractor(dictionaries=42)

    with pytest.raises(DictionaryError, match="settings.txt"):
        Extractor(dictionaries=tmp_path)
    for name in ("settings.txt", "replace.bin", "tags.bin", "patterns.bin", "units.bin",
                 "words.dic"):
        shutil.copy(built_dictionaries / name, tmp_path / name)
    with Extractor(dictionaries=tmp_path) as from_dir:
        assert from_dir.extract("매주 월요일 10시", REF) == extractor.extract("매주 월요일 10시", REF)
    (tmp_path / "tags.bin").write_bytes((tmp_path / "tags.bin").read_bytes()[:-3])
    with pytest.raises(DictionaryError, match="tags.bin"):
        Extractor(dictionaries=tmp_path)

    closed = Extractor()
    closed.close()
    closed.close()  # harmless
    with pytest.raises(ValueError, match="closed"):
        closed.extract("내일", REF)
