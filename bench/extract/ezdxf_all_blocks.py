"""Peer measurement for `vantrove extract DRAWING -o OUT.csv`: every block's
attribute table in one CSV, made with ezdxf from the same file. Columns:
Block, then each tag the first time a block's first reference names it;
one row per reference, blocks in the order their first reference appears
(layouts first, then block definitions), and last the Layout each
reference is on (empty inside block definitions). Writes the CSV to OUT and prints
seconds and peak RSS as JSON."""
import csv
import json
import resource
import sys
import time

import ezdxf

path, out = sys.argv[1], sys.argv[2]
start = time.perf_counter()
doc = ezdxf.readfile(path)
spaces = [(layout, layout.name) for layout in doc.layouts]
spaces += [(b, "") for b in doc.blocks if not b.block_record.is_any_layout]
order, rows_by_block, tags_by_block = [], {}, {}
for space, layout_name in spaces:
    for entity in space:
        if entity.dxftype() != "INSERT":
            continue
        attribs = list(entity.attribs)
        if not attribs:
            continue
        name = entity.dxf.name
        if name not in rows_by_block:
            order.append(name)
            rows_by_block[name] = []
            tags_by_block[name] = [a.dxf.tag for a in attribs]
        rows_by_block[name].append(([a.dxf.text for a in attribs], layout_name))
header = ["Block"]
for name in order:
    for tag in tags_by_block[name]:
        if tag not in header:
            header.append(tag)
header.append("Layout")
with open(out, "w", newline="", encoding="utf-8") as f:
    writer = csv.writer(f, lineterminator="\r\n")
    writer.writerow(header)
    for name in order:
        where = [header.index(t) for t in tags_by_block[name]]
        for values, layout_name in rows_by_block[name]:
            row = [""] * len(header)
            row[0] = name
            for i, v in zip(where, values):
                row[i] = v
            row[-1] = layout_name
            writer.writerow(row)
done = time.perf_counter()
usage = resource.getrusage(resource.RUSAGE_SELF)
print(json.dumps({"total": done - start, "cpu": usage.ru_utime + usage.ru_stime, "peak_rss_kb": usage.ru_maxrss}))
