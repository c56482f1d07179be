"""A LocalCluster of two worker processes gives what one process gives."""

import pytest

from conftest import REF, corpus

dask = pytest.importorskip("dask")
distributed = pytest.importorskip("distributed")

import dask.bag as db  # noqa: E402

import extractor_kr.dask as ekd  # noqa: E402
from extractor_kr import Extractor  # noqa: E402


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


def test_a_dataframe_column(client):
    pd = pytest.importorskip("pandas")
    dd = pytest.importorskip("dask.dataframe")
    texts = [t for _, t in corpus()][:60]
    frame = dd.from_pandas(pd.DataFrame({"text": texts}), npartitions=4)
    got = ekd.extract_column(frame["text"], REF).compute().tolist()
    with Extractor() as ex:
        assert got == [ex.extract(t, REF) for t in texts]
