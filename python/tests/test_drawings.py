"""Drawings through the module: open, read block attributes, edit, save; the README's example."""

import csv
import io
import os
import re
import shutil
import subprocess
import sys

import pytest

import vantrove
from conftest import SAMPLE, SOURCE_DIR


def attribute_rows(v, drawing, block):
    assert v.OpenDrawing(str(drawing)) == "OK"
    rows = []
    assert v.CreateBlockAttributeArray(rows, strBlock=block) == 1
    assert v.CloseDrawing() == "OK"
    heading = [h for h in rows[0] if h is not vantrove.Empty]
    return [heading] + [r[:len(heading)] for r in rows[1:]]


def cli_table(cli, *args):
    return list(csv.reader(io.StringIO(cli("extract", *args, "-o", "-").stdout)))


def test_sample_title_blocks_match_the_tool(v, cli):
    rows = attribute_rows(v, SAMPLE, "TITLE")
    assert rows[0] == ["DWGNO", "TITLE", "REV", "DRAWN", "DATE"]
    table = cli_table(cli, SAMPLE, "--block", "TITLE")
    assert table[0][-1] == "Layout"  # the tool adds the layout of each reference last
    assert rows == [r[:-1] for r in table]


@pytest.mark.parametrize("name", ["dxf/ldwg_example_2000.dxf", "dwg/ldwg_example_2004.dwg",
                                  "dxf/ezdxf_multi_insert_with_attribs.dxf", "dwg/ldwg_example_r14.dwg"])
def test_corpus_drawing_attributes_match_the_tool(v, cli, corpus, name):
    drawing = corpus / name
    assert v.OpenDrawing(str(drawing)) == "OK"
    blocks = []
    path = os.path.join(os.environ.get("TMPDIR", "/tmp"), f"vantrove-pytest-{os.getpid()}.xml")
    try:
        assert v.XMLfileToArray(path, vantrove.dwgBlocksAndAttributes, blocks, True, varFields=["Name"]) == 1
    finally:
        if os.path.exists(path):
            os.remove(path)
    v.CloseDrawing()
    names = list(dict.fromkeys(r[0] for r in blocks[1:]))
    expected = cli_table(cli, drawing)
    for block in names:
        rows = attribute_rows(v, drawing, block)
        mine = [dict(zip(rows[0], r), Block=block) for r in rows[1:]]
        theirs = [{k: x for k, x in zip(expected[0], r) if k in rows[0] or k == "Block"}
                  for r in expected[1:] if r[0] == block]
        assert mine == theirs


def test_damaged_drawing_gives_a_status_not_an_exception(v, corpus):
    status = v.OpenDrawing(str(corpus / "dxf" / "fuzz_crash-4c2aac.dxf"))
    assert re.match(r"^\d{4}:", status), status
    rows = []
    assert v.CreateBlockAttributeArray(rows) == -1


def test_edit_by_handle_and_save(v, tmp_path):
    assert v.OpenDrawing(str(SAMPLE)) == "OK"
    hits = []
    count = v.FindAndReplaceBlockAttributes("A-101", "A-201", blnReplaceWholeValue=True,
                                            varAttributeHandles=hits)
    assert count == 1 and len(hits) >= 1
    target = tmp_path / "edited.dxf"
    assert v.SaveDrawing(str(target)) == "OK"
    assert v.Web_CloseDrawing() == "OK"
    assert attribute_rows(v, target, "TITLE")[1][0] == "A-201"
    assert attribute_rows(v, SAMPLE, "TITLE")[1][0] == "A-101"


def readme_example():
    text = (SOURCE_DIR / "README.md").read_text(encoding="utf-8")
    section = text.split("## Python", 1)[1]
    return re.search(r"```python\n(.*?)```", section, re.S).group(1)


def test_readme_example_writes_one_csv_of_title_blocks(tmp_path, corpus):
    drawings = tmp_path / "drawings"
    drawings.mkdir()
    os.symlink(SAMPLE, drawings / "title-blocks.dxf")
    shutil.copy(SAMPLE, drawings / "copy.dxf")
    os.symlink(corpus / "dxf" / "fuzz_crash-4c2aac.dxf", drawings / "damaged.dxf")
    env = dict(os.environ)
    env["PYTHONPATH"] = os.pathsep.join(os.path.abspath(p) for p in env.get("PYTHONPATH", "").split(os.pathsep) if p)
    result = subprocess.run([sys.executable, "-c", readme_example()], cwd=tmp_path, capture_output=True, text=True,
                            env=env, timeout=120)
    assert result.returncode == 0, result.stderr
    assert "damaged.dxf" in result.stderr
    with open(tmp_path / "title-blocks.csv", newline="", encoding="utf-8") as f:
        rows = list(csv.DictReader(f))
    assert {r["Drawing"] for r in rows} == {"title-blocks.dxf", "copy.dxf"}
    sample_rows = [r for r in rows if r["Drawing"] == "copy.dxf"]
    assert sample_rows[0]["DWGNO"] == "A-101" and sample_rows[0]["TITLE"] == "Ground floor plan"
    assert len(rows) == 2 * len(sample_rows)
