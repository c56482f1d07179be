"""Texts per second: one process, and a Dask LocalCluster of worker processes.

    python benchmarks/throughput.py [--workers 2] [--copies 40] [--rules NAME]

The texts are the development corpus, repeated, extracted against one
reference time under the rule set named (the default's when left out).
"""

import argparse
import datetime
import time
from pathlib import Path

from extractor_kr import RULES, Extractor


def corpus(root):
    out = []
    for path in sorted((root / "corpus" / "ko").glob("*.tsv")):
        for line in path.read_text(encoding="utf-8").splitlines():
            if line and not line.startswith("#"):
                ref, text = line.split("\t")[:2]
                out.append(text)
    return out


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--workers", type=int, default=2)
    parser.add_argument("--copies", type=int, default=40)
    parser.add_argument("--rules", choices=RULES, default=None)
    args = parser.parse_args()
    options = {} if args.rules is None else {"rules": args.rules}
    texts = corpus(Path(__file__).resolve().parents[2]) * args.copies
    reference = datetime.datetime(2024, 5, 15, 10, 30)

    with Extractor() as ex:
        start = time.perf_counter()
        for t in texts:
            ex.extract(t, reference, **options)
        one = len(texts) / (time.perf_counter() - start)
    print(f"one process:  {one:10.0f} texts/s ({len(texts)} texts)")

    import dask.bag as db
    import distributed

    import extractor_kr.dask as ekd

    with distributed.LocalCluster(n_workers=args.workers, threads_per_worker=1,
                                  processes=True, dashboard_address=None) as cluster:
        with distributed.Client(cluster):
            bag = db.from_sequence(texts, npartitions=args.workers * 2)
            # Every worker opens its extractor before the clock starts.
            ekd.extract(db.from_sequence(texts[:64], npartitions=args.workers),
                        reference, **options).compute()
            start = time.perf_counter()
            results = ekd.extract(bag, reference, **options).compute()
            many = len(results) / (time.perf_counter() - start)
    print(f"dask, {args.workers} workers: {many:10.0f} texts/s ({len(results)} texts)")


if __name__ == "__main__":
    main()
