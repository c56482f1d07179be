"""Corpus-scale extraction on Dask.

``extract(bag, reference)`` maps a ``dask.bag.Bag`` of texts to a bag of
``Extraction`` objects in the same order; ``extract_column(series,
reference)`` does the same for a column of a Dask DataFrame. Both take the
keywords of ``Extractor.extract`` (``prefer``, ``years``). Each worker
process opens one extractor, the first time it needs one, and keeps it for
every text it is given: the same code runs on a ``LocalCluster`` or on a
cluster of many machines behind a ``dask-scheduler``.
"""

from __future__ import annotations

import datetime as _dt
import threading
from typing import Optional, Tuple

from ._extractor import Extractor, _prefer, _reference, _years

_lock = threading.Lock()
_extractors: dict = {}  # dictionaries (None for the built-in set) -> Extractor


def worker_extractor(dictionaries: Optional[str] = None) -> Extractor:
    """The extractor of this process for a set of dictionaries, opened once."""
    with _lock:
        ex = _extractors.get(dictionaries)
        if ex is None:
            ex = _extractors[dictionaries] = Extractor(dictionaries)
        return ex


def _extract_partition(texts, reference, dictionaries, prefer, years):
    ex = worker_extractor(dictionaries)
    return [ex.extract(t, reference, prefer=prefer, years=years) for t in texts]


def _check(reference, prefer, years) -> None:
    # Bad arguments are refused here, where the graph is made, rather than
    # in every worker when it runs.
    _reference(reference)
    _prefer(prefer)
    _years(years)


def extract(bag, reference: _dt.datetime, dictionaries: Optional[str] = None, *,
            prefer: str = "future", years: Optional[Tuple[int, int]] = None):
    """A bag of the Extraction of each text of ``bag``, in order."""
    _check(reference, prefer, years)
    return bag.map_partitions(_extract_partition, reference, dictionaries, prefer, years)


def _extract_series(series, reference, dictionaries, prefer, years):
    ex = worker_extractor(dictionaries)
    return series.map(lambda t: ex.extract(t, reference, prefer=prefer, years=years))


def extract_column(series, reference: _dt.datetime, dictionaries: Optional[str] = None, *,
                   prefer: str = "future", years: Optional[Tuple[int, int]] = None):
    """A Dask Series of the Extraction of each text of ``series`` (same index)."""
    _check(reference, prefer, years)
    return series.map_partitions(_extract_series, reference, dictionaries, prefer, years,
                                 meta=(series.name, "object"))
