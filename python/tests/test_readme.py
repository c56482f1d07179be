"""The README's Dask example, saved as a script and run as a user would."""

import os
import re
import subprocess
import sys

import pytest

from conftest import ROOT

pytest.importorskip("distributed")


def readme_block(after: str) -> str:
    """The first Python block of the README after the line that starts so."""
    text = (ROOT / "README.md").read_text(encoding="utf-8")
    start = text.index(after)
    return re.search(r"```python\n(.*?)```", text[start:], re.S).group(1)


def test_the_dask_example_runs_as_a_script(tmp_path):
    script = readme_block("**Corpus-scale runs on Dask.**")
    assert 'if __name__ == "__main__":' in script
    (tmp_path / "example.py").write_text(script, encoding="utf-8")
    messages = tmp_path / "messages"
    messages.mkdir()
    (messages / "a.txt").write_text("내일 오후 3시에 봐\n점심 뭐 먹지\n", encoding="utf-8")
    (messages / "b.txt").write_text("다음 주 화요일 회의\n좋은 아침\n매주 월요일 10시\n",
                                    encoding="utf-8")
    # The dashboard's port may be taken on a shared machine; Dask then
    # picks another and says so on standard error.
    run = subprocess.run([sys.executable, "example.py"], cwd=tmp_path, capture_output=True,
                         text=True, timeout=300, env=dict(os.environ, PYTHONWARNINGS="ignore"))
    assert run.returncode == 0, run.stderr[-3000:]
    assert run.stdout.split() == ["3"]
