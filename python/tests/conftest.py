import datetime
import os
from pathlib import Path

import pytest

from extractor_kr import Extractor

ROOT = Path(__file__).resolve().parents[2]
REF = datetime.datetime(2024, 5, 15, 10, 30)


def corpus():
    """(reference, text) of every sentence of the development corpus."""
    out = []
    for path in sorted((ROOT / "corpus" / "ko").glob("*.tsv")):
        for line in path.read_text(encoding="utf-8").splitlines():
            if line and not line.startswith("#"):
                ref, text = line.split("\t")[:2]
                out.append((datetime.datetime.strptime(ref, "%Y%m%d%H%M"), text))
    return out


@pytest.fixture(scope="session")
def extractor():
    with Extractor() as ex:
        yield ex


@pytest.fixture(scope="session")
def built_dictionaries():
    path = os.environ.get("EXTRACTOR_KR_DICTS")
    if not path:
        pytest.skip("EXTRACTOR_KR_DICTS names no compiled dictionaries")
    return Path(path)
