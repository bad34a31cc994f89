#!/usr/bin/python3
"""Checks DXF files the engine wrote from DWG drawings with an independent
reader (ezdxf).

Usage: check_dwg_written.py CASES.json RESULTS.json

Each case: {"id": ..., "output": "out.dxf", "r12": bool, "expected": {
  "layers": {name: [on, frozen]},
  "inserts": {handle: [block name, [[tag, value], ...], other_paper]},
  "texts": {handle: [value, other_paper]},
  "mtexts": {handle: [value, plain lines, other_paper]},
  "proxies": count of ACAD_PROXY_ENTITY and ACAD_PROXY_OBJECT records}}
The facts come from the engine's own reading of the DWG file. The output
must open, its audit must report no error, and it must hold every listed
layer, block reference with its attribute values, text and multi-line text
(R12: the active layouts only, a multi-line text as one TEXT per line).
"""

import json
import os
import sys
from multiprocessing import Pool

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import ezdxf  # noqa: E402
from check_written import audit_codes, facts, norm, symbol  # noqa: E402


def mtext_norm(text):
    """An MTEXT value as compared: line breaks (\\P or the character) as blanks."""
    return norm((text or "").replace("\\P", " ").replace("^J", " ").replace("\n", " "))


def check(case):
    problems = []
    r12 = case.get("r12", False)
    exp = case["expected"]
    try:
        doc = ezdxf.readfile(case["output"])
    except Exception as exc:
        return {"id": case["id"], "ok": False, "problems": [f"ezdxf cannot open the output: {exc}"[:300]]}
    # Counted before the audit, which deletes what hangs on records a
    # damaged drawing lacks.
    proxies = sum(1 for e in doc.entitydb.values() if e.dxftype() in ("ACAD_PROXY_ENTITY", "ACAD_PROXY_OBJECT"))
    codes, listing = audit_codes(doc)
    if codes:
        problems.append(f"audit errors: {listing[:5]}")
    got = facts(doc, r12)
    if not r12 and "proxies" in exp:
        if proxies != exp["proxies"]:
            problems.append(f"{proxies} proxy records, expected {exp['proxies']}")
    for name, state in exp["layers"].items():
        have = got["layers"].get(symbol(name, r12))
        if have is None:
            problems.append(f"layer {name} is missing")
        elif have != state:
            problems.append(f"layer {name}: on/frozen {have}, expected {state}")
    for handle, (name, attribs, other_paper) in exp["inserts"].items():
        if r12 and other_paper:
            continue
        have = got["inserts"].get(handle)
        want = [symbol(name, r12), [[tag, norm(value)] for tag, value in attribs]]
        if have != want:
            problems.append(f"block reference {handle}: {have}, expected {want}")
    for handle, (value, other_paper) in exp["texts"].items():
        if r12 and other_paper:
            continue
        if got["texts"].get(handle) != norm(value):
            problems.append(f"text {handle}: {got['texts'].get(handle)!r}, expected {norm(value)!r}")
    for handle, (value, lines, other_paper) in exp["mtexts"].items():
        if r12:
            wanted = [norm(x) for x in lines if norm(x)]
            if other_paper or not wanted:
                continue
            if got["texts"].get(handle) not in wanted:
                problems.append(f"MTEXT {handle} as TEXT: {got['texts'].get(handle)!r}, expected one of {wanted[:3]}")
        elif mtext_norm(got["mtexts"].get(handle)) != mtext_norm(value):
            problems.append(f"MTEXT {handle}: {got['mtexts'].get(handle)!r}, expected {value!r}")
    return {"id": case["id"], "ok": not problems, "problems": problems[:20]}


def main():
    with open(sys.argv[1], encoding="utf-8") as f:
        cases = json.load(f)
    with Pool(2) as pool:
        results = pool.map(check, cases, chunksize=1)
    with open(sys.argv[2], "w", encoding="utf-8") as f:
        json.dump(results, f, indent=1)


if __name__ == "__main__":
    main()
