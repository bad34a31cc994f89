#!/usr/bin/python3
"""Checks DXF files written by the engine with an independent reader (ezdxf).

Usage: check_written.py CASES.json RESULTS.json

CASES.json is a list of cases:
  {"id": "...", "source": "in.dxf", "output": "out.dxf",
   "load": "read" | "recover" | "unicode" | "none",
   "r12": false, "edits": {...}}

For each case the output must open in ezdxf (with ezdxf.recover when the
source needed it), its audit must report no error code the source's audit
did not, and its layers, block references with their attributes, texts,
multi-line texts, image paths and external reference paths must be the
source's, changed by exactly the listed edits:
  "texts": {handle: value}, "mtexts": {handle: value},
  "attribs": {handle: value}, "deleted": [handle, ...],
  "layers": {name: [on, frozen]}, "images": {image handle: path},
  "xrefs": {block name: path}
An R12 output ("r12": true) is compared on what R12 holds: model space and
the active paper space, MTEXT as TEXT lines, dimensions as block references.

"load": "none" means ezdxf cannot read the source at all; then the output
only has to open.

RESULTS.json receives [{"id": ..., "ok": bool, "problems": [...]}].
"""

import io
import json
import re
import sys
from collections import Counter, defaultdict
from multiprocessing import Pool

import ezdxf
from ezdxf import recover
from ezdxf.tools.text import plain_mtext

ESCAPE = re.compile(r"\\U\+([0-9A-Fa-f]{4})")
OTHER_PAPER = re.compile(r"^\*Paper_Space\d+$", re.IGNORECASE)


def unescape(text):
    text = ESCAPE.sub(lambda m: chr(int(m.group(1), 16)), text or "")
    # Surrogate pairs written as two escapes.
    return text.encode("utf-16", "surrogatepass").decode("utf-16", "replace")


def norm(text):
    return " ".join(unescape(text).split())


def symbol(name, r12_view):
    """A symbol name as compared: R12 cannot hold characters outside its
    code page in names, and the writer puts '_' for them."""
    name = unescape(name).lower()
    if r12_view:
        name = "".join(c if ord(c) < 0x100 else "_" for c in name)
    return name


def load(path, mode):
    if mode == "recover":
        doc, _ = recover.readfile(path)
        return doc
    if mode == "unicode":
        with open(path, "rb") as f:
            raw = f.read().decode("cp1252", "replace")
        return ezdxf.read(io.StringIO(unescape(raw)))
    return ezdxf.readfile(path)


def attrib_text(attrib):
    try:
        if attrib.has_embedded_mtext_entity and not attrib.dxf.text:
            return norm(attrib.plain_mtext().replace("\n", " "))
    except AttributeError:
        pass
    return norm(attrib.dxf.text)


def facts(doc, r12_view):
    out = {
        "layers": {},
        "inserts": {},
        "texts": {},
        "mtexts": {},
        "mtext_lines": {},
        "dimensions": set(),
        "images": {},
        "xrefs": {},
        "counts": Counter(),
    }
    for layer in doc.layers:
        out["layers"][symbol(layer.dxf.name, r12_view)] = [layer.is_on(), layer.is_frozen()]
    for block in doc.blocks:
        name = block.name
        if r12_view and OTHER_PAPER.match(name):
            continue
        if block.block.dxf.flags & 4:
            out["xrefs"][symbol(name, r12_view)] = norm(block.block.dxf.get("xref_path", ""))
        is_layout = block.is_any_layout
        for e in block:
            kind = e.dxftype()
            handle = e.dxf.handle.upper() if e.dxf.hasattr("handle") else None
            out["counts"][(symbol(name, r12_view), kind)] += 1
            if kind == "INSERT" and is_layout:
                out["inserts"][handle] = [symbol(e.dxf.name, r12_view), [[a.dxf.tag, attrib_text(a)] for a in e.attribs]]
            elif kind == "TEXT":
                out["texts"][handle] = norm(e.dxf.text)
            elif kind == "MTEXT":
                # ezdxf keeps the caret codes of ASCII files as they stand and
                # gives the line feeds of binary files as \P: the same break.
                out["mtexts"][handle] = norm(e.text.replace("^J", "\\P"))
                lines = [norm(x) for x in e.plain_text().split("\n")]
                out["mtext_lines"][handle] = [x for x in lines if x]
            elif kind == "DIMENSION":
                out["dimensions"].add(handle)
            elif kind == "IMAGE":
                image_def = e.image_def
                out["images"][handle] = norm(image_def.dxf.filename) if image_def is not None else None
    return out


def audit_codes(doc):
    try:
        auditor = doc.audit()
        # ezdxf takes the \\U+XXXX escapes of names written before 2007 as they stand.
        errors = [e for e in auditor.errors if "\\U+" not in e.message.upper()]
        return {e.code for e in errors}, [(e.code, e.message[:120]) for e in errors]
    except Exception as exc:  # an audit that breaks is an error in itself
        return {"audit-crash"}, [("audit-crash", str(exc)[:200])]


def expected(source, edits, r12_view):
    exp = json.loads(json.dumps({k: v for k, v in source.items() if k not in ("counts", "dimensions")}))
    exp["counts"] = Counter(source["counts"])
    for handle, value in edits.get("texts", {}).items():
        exp["texts"][handle] = norm(value)
    for handle, value in edits.get("mtexts", {}).items():
        exp["mtexts"][handle] = norm(value)
    for name, state in edits.get("layers", {}).items():
        exp["layers"][symbol(name, r12_view)] = state
    for handle, path in edits.get("images", {}).items():
        exp["images"][handle] = norm(path)
    for name, path in edits.get("xrefs", {}).items():
        exp["xrefs"][symbol(name, r12_view)] = norm(path)
    return exp


def attrib_handles(doc):
    """Attribute handle -> (insert handle, index) for applying value edits."""
    where = {}
    for block in doc.blocks:
        for e in block:
            if e.dxftype() == "INSERT":
                for i, a in enumerate(e.attribs):
                    where[a.dxf.handle.upper()] = (e.dxf.handle.upper(), i)
    return where


def compare(case, src_doc, src_facts, src_codes, out_doc, out_facts, out_codes, problems):
    r12 = case.get("r12", False)
    edits = case.get("edits", {})
    exp = expected(src_facts, edits, r12)
    deleted = {h.upper() for h in edits.get("deleted", [])}
    where = attrib_handles(src_doc)
    for handle, value in edits.get("attribs", {}).items():
        insert, index = where.get(handle.upper(), (None, None))
        if insert in exp["inserts"]:
            exp["inserts"][insert][1][index][1] = norm(value)
        else:
            problems.append(f"edited attribute {handle} is in no block reference of the source")

    new_codes = out_codes - src_codes
    if new_codes:
        problems.append(f"audit errors the source did not have: {sorted(map(str, new_codes))}")

    for name, state in exp["layers"].items():
        got = out_facts["layers"].get(name)
        if got is None:
            problems.append(f"layer {name} is missing")
        elif got != state:
            problems.append(f"layer {name}: on/frozen {got}, expected {state}")
    extra_layers = set(out_facts["layers"]) - set(exp["layers"]) - {"0"}
    if extra_layers:
        problems.append(f"extra layers {sorted(extra_layers)[:5]}")

    for handle, (name, attribs) in exp["inserts"].items():
        if handle in deleted:
            if handle in out_facts["inserts"]:
                problems.append(f"deleted block reference {handle} is still there")
            continue
        got = out_facts["inserts"].get(handle)
        if got is None:
            problems.append(f"block reference {handle} ({name}) is missing")
        elif got[0] != name or got[1] != attribs:
            problems.append(f"block reference {handle}: {got}, expected {[name, attribs]}")
    allowed_inserts = set(exp["inserts"]) | (src_facts["dimensions"] if r12 else set())
    extra = set(out_facts["inserts"]) - allowed_inserts
    if extra:
        problems.append(f"extra block references {sorted(extra)[:5]}")

    for handle, text in exp["texts"].items():
        if handle in deleted:
            if handle in out_facts["texts"]:
                problems.append(f"deleted text {handle} is still there")
            continue
        got = out_facts["texts"].get(handle)
        if got != text:
            problems.append(f"text {handle}: {got!r}, expected {text!r}")
    if r12:
        mtext_lines = dict(src_facts["mtext_lines"])
        for handle, value in edits.get("mtexts", {}).items():
            mtext_lines[handle] = [norm(x) for x in plain_mtext(value).split("\n") if norm(x)]
        for handle, lines in mtext_lines.items():
            if handle in deleted or not lines:
                continue
            got = out_facts["texts"].get(handle)
            if got is None or got not in lines:
                problems.append(f"MTEXT {handle} as TEXT: {got!r}, expected one of {lines[:3]!r}")
        if out_facts["mtexts"]:
            problems.append(f"R12 file holds MTEXT {sorted(out_facts['mtexts'])[:5]}")
    else:
        extra = set(out_facts["texts"]) - set(exp["texts"])
        if extra:
            problems.append(f"extra texts {sorted(extra)[:5]}")
        for handle, text in exp["mtexts"].items():
            if handle in deleted:
                if handle in out_facts["mtexts"]:
                    problems.append(f"deleted MTEXT {handle} is still there")
                continue
            got = out_facts["mtexts"].get(handle)
            if got != text:
                problems.append(f"MTEXT {handle}: {got!r}, expected {text!r}")
        extra = set(out_facts["mtexts"]) - set(exp["mtexts"])
        if extra:
            problems.append(f"extra MTEXT {sorted(extra)[:5]}")
        for handle, path in exp["images"].items():
            if handle in deleted:
                continue
            if out_facts["images"].get(handle) != path:
                problems.append(f"image {handle}: {out_facts['images'].get(handle)!r}, expected {path!r}")
        # Every entity kind keeps its count in every block, less what was deleted.
        counts = Counter(src_facts["counts"])
        for handle in deleted:
            entity = src_doc.entitydb.get(handle)
            owner = src_doc.entitydb.get(entity.dxf.owner) if entity is not None else None
            if owner is not None:
                counts[(owner.dxf.name.lower(), entity.dxftype())] -= 1
        got_counts = out_facts["counts"]
        out_blocks = {block for block, _ in got_counts}
        for key in set(counts) | set(got_counts):
            # ezdxf makes the arrow blocks an R13/R14 drawing lacks when it loads one.
            if case.get("source_version") in ("AC1012", "AC1014") and key[0].startswith("_") and key[0] not in out_blocks:
                continue
            if counts.get(key, 0) != got_counts.get(key, 0):
                problems.append(f"{key[1]} in {key[0]}: {got_counts.get(key, 0)}, expected {counts.get(key, 0)}")
    for name, path in exp["xrefs"].items():
        if out_facts["xrefs"].get(name) != path:
            problems.append(f"external reference {name}: {out_facts['xrefs'].get(name)!r}, expected {path!r}")


def run_source(cases):
    results = []
    source = cases[0]["source"]
    mode = cases[0]["load"]
    src_doc = None
    cache = {}
    if mode != "none":
        try:
            src_doc = load(source, mode)
            cache[False] = facts(src_doc, False)
            cache[True] = facts(src_doc, True)
            src_codes, _ = audit_codes(src_doc)
        except Exception as exc:
            return [{"id": c["id"], "ok": False, "problems": [f"source does not load: {exc}"]} for c in cases]
    for case in cases:
        problems = []
        try:
            out_mode = "recover" if mode in ("recover", "none") else "read"
            try:
                out_doc = load(case["output"], out_mode)
            except Exception:
                if mode != "unicode":
                    raise
                out_doc = load(case["output"], "unicode")
            if src_doc is not None:
                out_facts = facts(out_doc, case.get("r12", False))
                out_codes, listing = audit_codes(out_doc)
                compare(case, src_doc, cache[case.get("r12", False)], src_codes, out_doc, out_facts, out_codes,
                        problems)
                if out_codes - src_codes:
                    problems.append(f"audit: {listing[:5]}")
        except Exception as exc:
            problems.append(f"ezdxf cannot open the output: {type(exc).__name__}: {str(exc)[:300]}")
        results.append({"id": case["id"], "ok": not problems, "problems": problems[:20]})
    return results


def main():
    with open(sys.argv[1], encoding="utf-8") as f:
        cases = json.load(f)
    by_source = defaultdict(list)
    for case in cases:
        by_source[case["source"]].append(case)
    groups = sorted(by_source.values(), key=lambda g: -len(g))
    with Pool(2) as pool:
        results = [r for part in pool.map(run_source, groups, chunksize=1) for r in part]
    with open(sys.argv[2], "w", encoding="utf-8") as f:
        json.dump(results, f, indent=1)


if __name__ == "__main__":
    main()
