"""Peer measurement: the block attribute table that CreateBlockAttributeArray
builds (one row per reference of one block, the drawing's file name first,
then the attribute values in the tags' order), made with ezdxf from the same
file. Prints seconds, peak RSS and the table's shape as JSON."""
import json
import os
import resource
import sys
import time

import ezdxf

path, block = sys.argv[1], sys.argv[2]
start = time.perf_counter()
doc = ezdxf.readfile(path)
loaded = time.perf_counter()
name = os.path.basename(path)
tags = None
rows = []
spaces = list(doc.layouts)
spaces += [b for b in doc.blocks if not b.block_record.is_any_layout]
for space in spaces:
    for entity in space:
        if entity.dxftype() != "INSERT" or entity.dxf.name.upper() != block.upper():
            continue
        attribs = list(entity.attribs)
        if tags is None:
            tags = [a.dxf.tag for a in attribs]
        rows.append([name] + [a.dxf.text for a in attribs])
table = [["Drawing"] + (tags or [])] + rows
built = time.perf_counter()
usage = resource.getrusage(resource.RUSAGE_SELF)
print(json.dumps({"load": loaded - start, "build": built - loaded, "total": built - start,
                  "cpu": usage.ru_utime + usage.ru_stime, "peak_rss_kb": usage.ru_maxrss,
                  "rows": len(table), "columns": len(table[0]), "last": table[-1][-1] if rows else ""}))
