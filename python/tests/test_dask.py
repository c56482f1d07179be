"""A LocalCluster of two worker processes gives what one process gives."""

import datetime

import pytest

from conftest import REF, corpus

dask = pytest.importorskip("dask")
distributed = pytest.importorskip("distributed")

import dask.bag as db  # noqa: E402

import extractor_kr.dask as ekd  # noqa: E402
from extractor_kr import Extractor, rules_years  # noqa: E402


@pytest.fixture(scope="module")
def client():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None) as cluster:
        with distributed.Client(cluster) as c:
            yield c


def test_a_cluster_gives_what_one_process_gives(client):
    texts = [t for _, t in corpus()] * 3
    with Extractor() as ex:
        expected = [ex.extract(t, REF) for t in texts]
    bag = db.from_sequence(texts, npartitions=8)
    got = ekd.extract(bag, REF).compute()
    assert got == expected
    # One extractor per worker process, not one per text.
    opened = client.run(lambda: len(ekd._extractors))
    assert set(opened.values()) <= {0, 1} and sum(opened.values()) >= 1


@pytest.mark.parametrize("options", [
    dict(prefer="past", years=(1900, 2099)),
    dict(rules="whole-call"),
])
def test_reading_options_reach_the_workers(client, options):
    friday = datetime.datetime(2024, 5, 24, 10, 30)
    texts = ["19일 개봉", "1997년 10월 외환위기", "금요일 발표", "날씨 맑음", "음력 8월 15일"] * 5
    with Extractor() as ex:
        expected = [ex.extract(t, friday, **options) for t in texts]
        assert expected != [ex.extract(t, friday) for t in texts]
    bag = db.from_sequence(texts, npartitions=4)
    assert ekd.extract(bag, friday, **options).compute() == expected
    pd = pytest.importorskip("pandas")
    dd = pytest.importorskip("dask.dataframe")
    frame = dd.from_pandas(pd.DataFrame({"text": texts}), npartitions=3)
    assert ekd.extract_column(frame["text"], friday, **options).compute().tolist() == expected


def test_bad_options_are_refused_where_the_graph_is_made():
    # No cluster: nothing runs in a worker for these.
    friday = datetime.datetime(2024, 5, 24, 10, 30)
    bag = db.from_sequence(["내일"], npartitions=1)
    first, last = rules_years()
    with pytest.raises(ValueError, match=f"^years 900..1900 are not a window inside {first}..{last}$"):
        ekd.extract(bag, friday, years=(900, 1900))
    with pytest.raises(ValueError, match="^the whole call's rules prefer the future only$"):
        ekd.extract(bag, friday, rules="whole-call", prefer="past")
    with pytest.raises(TypeError):
        ekd.extract(bag, "202405241030")
    pd = pytest.importorskip("pandas")
    dd = pytest.importorskip("dask.dataframe")
    frame = dd.from_pandas(pd.DataFrame({"text": ["내일"]}), npartitions=1)
    with pytest.raises(ValueError, match="'future' or 'past'"):
        ekd.extract_column(frame["text"], friday, prefer="later")
    with pytest.raises(ValueError, match="^the whole call's rules read years"):
        ekd.extract_column(frame["text"], friday, rules="whole-call", years=(1990, 2010))
