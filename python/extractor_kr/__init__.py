"""Date and time expressions in Korean text.

>>> import datetime
>>> from extractor_kr import Extractor
>>> with Extractor() as ex:
...     e = ex.extract("내일 오후 3시에 강남역에서 만나요", datetime.datetime(2024, 5, 15, 10, 30))
>>> [(t.text, t.start.datetime) for t in e.expressions]
[('내일 오후 3시', datetime.datetime(2024, 5, 16, 15, 0))]
"""

from . import _native
from ._extractor import (PREFERENCES, RULES, DictionaryError, Extractor, reference_years,
                         rules_years)
from ._types import Extraction, PartialDateTime, TimeExpression

__version__ = _native.VERSION

__all__ = ["DictionaryError", "Extraction", "Extractor", "PREFERENCES", "PartialDateTime",
           "RULES", "TimeExpression", "reference_years", "rules_years"]
