#!/usr/bin/python3
"""Prints, as JSON, what an independent reader (ezdxf) sees in DXF files:
texts, mtexts, block references with their attributes, images, xrefs and
layers, each keyed by handle (xrefs and layers by name).
Usage: ezdxf_summary.py FILE [FILE ...]  ->  one JSON object per line."""
import json
import sys

import ezdxf
from ezdxf import recover


def load(path):
    try:
        return ezdxf.readfile(path)
    except ezdxf.DXFStructureError:
        doc, _ = recover.readfile(path)
        return doc


def summary(path):
    doc = load(path)
    out = {"texts": {}, "mtexts": {}, "inserts": {}, "images": {}, "xrefs": {}, "layers": {}}
    for e in doc.entitydb.values():
        if not e.is_alive:
            continue
        t = e.dxftype()
        h = e.dxf.handle
        if t == "TEXT":
            out["texts"][h] = {"text": e.dxf.text, "layer": e.dxf.layer}
        elif t == "MTEXT":
            out["mtexts"][h] = {"text": e.text, "layer": e.dxf.layer}
        elif t == "INSERT":
            out["inserts"][h] = {"name": e.dxf.name, "layer": e.dxf.layer,
                                 "attribs": {a.dxf.handle: [a.dxf.tag, a.dxf.text] for a in e.attribs}}
        elif t == "IMAGE":
            idef = doc.entitydb.get(e.dxf.image_def_handle)
            out["images"][h] = idef.dxf.filename if idef is not None else None
    for block in doc.blocks:
        if block.block_record.is_xref:
            out["xrefs"][block.name] = block.block.dxf.xref_path
    for layer in doc.layers:
        out["layers"][layer.dxf.name] = {"on": layer.is_on(), "frozen": layer.is_frozen()}
    auditor = doc.audit()
    out["audit_errors"] = len(auditor.errors)
    return out


for path in sys.argv[1:]:
    print(json.dumps(summary(path), ensure_ascii=False))
