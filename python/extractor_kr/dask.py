"""Corpus-scale extraction on Dask.

``extract(bag, reference)`` maps a ``dask.bag.Bag`` of texts to a bag of
``Extraction`` objects in the same order; ``extract_column(series,
reference)`` does the same for a column of a Dask DataFrame. Both take the
keywords of ``Extractor.extract`` (``rules``, ``prefer``, ``years``). Each
worker process opens one extractor, the first time it needs one, and keeps
it for every text it is given: the same code runs on a ``LocalCluster`` or
on a cluster of many machines behind a ``dask-scheduler``.
"""

from __future__ import annotations

import datetime as _dt
import threading
from typing import Optional, Tuple

from ._extractor import (_DEFAULT_PREFER, _DEFAULT_RULES, Extractor, _check_options,
                         _reference)

_lock = threading.Lock()
_extractors: dict = {}  # dictionaries (None for the built-in set) -> Extractor


def worker_extractor(dictionaries: Optional[str] = None) -> Extractor:
    """The extractor of this process for a set of dictionaries, opened once."""
    with _lock:
        ex = _extractors.get(dictionaries)
        if ex is None:
            ex = _extractors[dictionaries] = Extractor(dictionaries)
        return ex


def _extract_partition(texts, reference, dictionaries, options):
    ex = worker_extractor(dictionaries)
    return [ex.extract(t, reference, **options) for t in texts]


def _options(reference, rules, prefer, years) -> dict:
    # Bad arguments are refused here, where the graph is made, rather than
    # in every worker when it runs.
    _reference(reference)
    _check_options(rules, prefer, years)
    return dict(rules=rules, prefer=prefer, years=years)


def extract(bag, reference: _dt.datetime, dictionaries: Optional[str] = None, *,
            rules: str = _DEFAULT_RULES, prefer: str = _DEFAULT_PREFER,
            years: Optional[Tuple[int, int]] = None):
    """A bag of the Extraction of each text of ``bag``, in order."""
    options = _options(reference, rules, prefer, years)
    return bag.map_partitions(_extract_partition, reference, dictionaries, options)


def _extract_series(series, reference, dictionaries, options):
    ex = worker_extractor(dictionaries)
    return series.map(lambda t: ex.extract(t, reference, **options))


def extract_column(series, reference: _dt.datetime, dictionaries: Optional[str] = None, *,
                   rules: str = _DEFAULT_RULES, prefer: str = _DEFAULT_PREFER,
                   years: Optional[Tuple[int, int]] = None):
    """A Dask Series of the Extraction of each text of ``series`` (same index)."""
    options = _options(reference, rules, prefer, years)
    return series.map_partitions(_extract_series, reference, dictionaries, options,
                                 meta=(series.name, "object"))
