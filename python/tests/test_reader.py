"""Texts with several dates read as a reader reads them: the default rules of
Extractor.extract, against the answers a reader acts on."""

import datetime

import pytest

WEDNESDAY = datetime.datetime(2026, 11, 25, 15, 0)


def readings(extraction):
    """Each expression as (text, start, end or None, cycle)."""
    out = []
    for e in extraction.expressions:
        cycle = None
        if e.cycle:
            cycle = e.cycle if e.cycle_interval == 1 else f"{e.cycle_interval}x{e.cycle}"
        out.append((e.text, str(e.start), str(e.end) if e.is_span else None, cycle))
    return out


@pytest.mark.parametrize("text, wanted", [
    # A written year names its own expression only.
    ("2027년 봄학기 수강신청은 12월 2일부터 12월 9일까지입니다.",
     [("12월 2일부터 12월 9일까지", "2026-12-02", "2026-12-09", None)]),
    # No year is carried into the next sentence.
    ("방학은 1월 5일부터 2월 27일까지입니다. 신청서는 12월 11일까지 내 주세요.",
     [("1월 5일부터 2월 27일까지", "2027-01-05", "2027-02-27", None),
      ("12월 11일까지", "(open)", "2026-12-11", None)]),
    # The weekday the text names chooses the year.
    ("3분기 결산은 11월 30일 월요일 오후 5시까지 제출",
     [("11월 30일 월요일 오후 5시까지", "(open)", "2026-11-30T17:00", None)]),
    # A weekday after an unrelated one is this week's.
    ("세미나는 다다음 주 수요일이고 자료는 금요일까지 보내 주세요",
     [("다다음 주 수요일", "2026-12-09", None, None),
      ("금요일까지", "(open)", "2026-11-27", None)]),
    # Two sentences are two expressions, neither ending before it starts.
    ("다음 달부터 요금이 바뀝니다. 이번 달 말까지 납부하세요.",
     [("다음 달부터", "2026-12-01", "(open)", None),
      ("이번 달 말까지", "(open)", "2026-11-30", None)]),
    # A count counts from today.
    ("내일 오후 3시 미팅. 그리고 한 달 전에 보낸 견적서 확인 부탁",
     [("내일 오후 3시", "2026-11-26T15:00", None, None),
      ("한 달 전", "2026-10-25", None, None)]),
    # An hour alone is the nearest one ahead.
    ("오늘밤 12시 오픈이래. 알람은 11시 40분",
     [("오늘밤 12시", "2026-11-26T00:00", None, None),
      ("11시 40분", "2026-11-25T23:40", None, None)]),
    # Several weekdays after 매주: one weekly result each.
    ("매주 월,수,금 아침 7시 수영",
     [("매주 월,수,금 아침 7시", "2026-11-27T07:00", None, "P7D"),
      ("매주 월,수,금 아침 7시", "2026-11-30T07:00", None, "P7D"),
      ("매주 월,수,금 아침 7시", "2026-12-02T07:00", None, "P7D")]),
    ("격주 화요일 스터디 / 목요일마다 독서모임",
     [("격주 화요일", "2026-12-01", None, "2xP7D"),
      ("목요일마다", "2026-11-26", None, "P7D")]),
    # Sino-Korean counts.
    ("이십 일 후에 전역 / 삼십 분 후에 보자",
     [("이십 일 후", "2026-12-15", None, None),
      ("삼십 분 후", "2026-11-25T15:30", None, None)]),
])
def test_texts_with_several_dates(extractor, text, wanted):
    got = readings(extractor.extract(text, WEDNESDAY))
    for reading in wanted:
        assert reading in got, (text, got)
    if text.startswith("매주"):
        assert extractor.extract(text, WEDNESDAY).content == "    수영"


def test_the_whole_call_keeps_its_own_reading(extractor):
    # The same texts under the whole call's rules, as the native method reads them.
    text = "방학은 1월 5일부터 2월 27일까지입니다. 신청서는 12월 11일까지 내 주세요."
    assert readings(extractor.extract(text, WEDNESDAY, rules="whole-call"))[1] == \
        ("12월 11일까지", "(open)", "2027-12-11", None)
    assert readings(extractor.extract("오늘밤 12시 오픈이래. 알람은 11시 40분", WEDNESDAY,
                                      rules="whole-call"))[1] == \
        ("11시 40분", "2026-11-26T11:40", None, None)
