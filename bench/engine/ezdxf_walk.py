"""Peer measurement: load a DXF with ezdxf and walk the same content the
engine's description covers (references with attributes, TEXT, MTEXT with
plain text, layers, layouts). Prints seconds and peak RSS as JSON."""
import json
import resource
import sys
import time

import ezdxf

start = time.perf_counter()
doc = ezdxf.readfile(sys.argv[1])
loaded = time.perf_counter()
count = 0
for layer in doc.layers:
    count += len(layer.dxf.name) + (1 if layer.is_on() else 0)
for layout in doc.layouts:
    for entity in layout:
        kind = entity.dxftype()
        if kind == "INSERT":
            for attrib in entity.attribs:
                count += len(attrib.dxf.tag) + len(attrib.dxf.text)
        elif kind == "TEXT":
            count += len(entity.dxf.text)
        elif kind == "MTEXT":
            count += len(entity.text) + len(entity.plain_text())
walked = time.perf_counter()
usage = resource.getrusage(resource.RUSAGE_SELF)
print(json.dumps({"load": loaded - start, "walk": walked - loaded, "total": walked - start,
                  "cpu": usage.ru_utime + usage.ru_stime,
                  "peak_rss_kb": usage.ru_maxrss, "count": count}))
