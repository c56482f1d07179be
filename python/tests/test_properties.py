"""Any str, never a crash, and positions that slice inside it."""

import datetime

from hypothesis import given, settings
from hypothesis import strategies as st

from conftest import REF
from extractor_kr import Extractor

_EXTRACTOR = Extractor()

# Korean words and numbers mixed with characters of every kind, surrogates
# included.
_WORDS = st.sampled_from(["내일", "오후", "3시", "다음 주", "화요일", "7월", "13일", "부터",
                          "까지", "매주", "음력", " ", ", ", "-", "~", ":", "."])
_ANY = st.text(alphabet=st.characters(blacklist_categories=()), max_size=40)
_TEXTS = st.lists(st.one_of(_WORDS, _ANY), max_size=12).map("".join)


@settings(max_examples=400, deadline=None)
@given(text=_TEXTS, minutes=st.integers(0, 60 * 24 * 365 * 60))
def test_any_text_reads_and_positions_slice_inside_it(text, minutes):
    reference = datetime.datetime(1975, 1, 1) + datetime.timedelta(minutes=minutes)
    try:
        e = _EXTRACTOR.extract(text, reference)
    except ValueError as err:
        assert "\x00" in text, err  # a NUL is the one character refused
        return
    for t in e.expressions:
        assert 0 <= t.begin_index <= t.end_index <= len(text)
        assert text[t.begin_index:t.end_index] == t.text
    assert len(e.content) <= len(text)
    assert _EXTRACTOR.extract(text, reference) == e  # the same text gives the same answer
