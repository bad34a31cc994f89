"""examples/dask_extract.py on a local cluster of two workers gives the table of `vantrove extract`."""

import csv
import os
import subprocess
import sys

import pytest

from conftest import SAMPLE, SOURCE_DIR

pytest.importorskip("distributed")


def read_csv(path):
    with open(path, newline="", encoding="utf-8") as f:
        return list(csv.reader(f))


def test_same_table_as_the_extract_job_with_damaged_drawings(cli, corpus, tmp_path):
    drawings = [corpus / "dxf" / "ldwg_example_2000.dxf", corpus / "dxf" / "fuzz_crash-4c2aac.dxf",
                corpus / "dxf" / "ezdxf_multi_insert_with_attribs.dxf", corpus / "dwg" / "ldwg_example_2004.dwg",
                corpus / "dwg" / "fuzz_crash-615c3c_tiny.dwg", corpus / "dxf" / "ldwg_example_r12.dxf", SAMPLE]
    expected = tmp_path / "extract.csv"
    job = cli("extract", *drawings, "-o", expected, check=False)
    assert job.returncode == 1, job.stderr

    out = tmp_path / "dask.csv"
    env = dict(os.environ)
    env["PYTHONPATH"] = os.pathsep.join(os.path.abspath(p) for p in env.get("PYTHONPATH", "").split(os.pathsep) if p)
    run = subprocess.run([sys.executable, str(SOURCE_DIR / "examples" / "dask_extract.py"), "--workers", "2",
                          "--batch-size", "2", "-o", str(out), *map(str, drawings)],
                         capture_output=True, text=True, env=env, timeout=300, cwd=tmp_path)
    assert run.returncode == 1, run.stderr
    # The tool adds each reference's layout as the last column; the example does not.
    tool = read_csv(expected)
    assert tool[0][-1] == "Layout"
    assert read_csv(out) == [r[:-1] for r in tool], run.stderr
    assert len(read_csv(out)) > 10

    errors = read_csv(tmp_path / "dask-errors.csv")
    assert errors[0] == ["Drawing", "Error"]
    failed = {row[0]: row[1] for row in errors[1:]}
    assert set(failed) == {str(drawings[1]), str(drawings[4])}
    assert all(text[:4].isdigit() and text[4] == ":" for text in failed.values())
    assert "7 drawings, 5 done, 2 failed" in run.stderr


def test_usage_without_drawings():
    run = subprocess.run([sys.executable, str(SOURCE_DIR / "examples" / "dask_extract.py")], capture_output=True,
                         text=True, timeout=60)
    assert run.returncode == 2 and "no drawings given" in run.stderr
