"""Corpus-scale extraction on Dask.

``extract(bag, reference)`` maps a ``dask.bag.Bag`` of texts to a bag of
``Extraction`` objects in the same order; ``extract_column(series,
reference)`` does the same for a column of a Dask DataFrame. Each worker
process opens one extractor, the first time it needs one, and keeps it for
every text it is given: the same code runs on a ``LocalCluster`` or on a
cluster of many machines behind a ``dask-scheduler``.
"""

from __future__ import annotations

import datetime as _dt
import threading
from typing import Optional

from ._extractor import Extractor

_lock = threading.Lock()
_extractors: dict = {}  # dictionaries (None for the built-in set) -> Extractor


def worker_extractor(dictionaries: Optional[str] = None) -> Extractor:
    """The extractor of this process for a set of dictionaries, opened once."""
    with _lock:
        ex = _extractors.get(dictionaries)
        if ex is None:
            ex = _extractors[dictionaries] = Extractor(dictionaries)
        return ex


def _extract_partition(texts, reference, dictionaries):
    ex = worker_extractor(dictionaries)
    return [ex.extract(t, reference) for t in texts]


def extract(bag, reference: _dt.datetime, dictionaries: Optional[str] = None):
    """A bag of the Extraction of each text of ``bag``, in order."""
    return bag.map_partitions(_extract_partition, reference, dictionaries)


def _extract_series(series, reference, dictionaries):
    ex = worker_extractor(dictionaries)
    return series.map(lambda t: ex.extract(t, reference))


def extract_column(series, reference: _dt.datetime, dictionaries: Optional[str] = None):
    """A Dask Series of the Extraction of each text of ``series`` (same index)."""
    return series.map_partitions(_extract_series, reference, dictionaries,
                                 meta=(series.name, "object"))
