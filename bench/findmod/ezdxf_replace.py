#!/usr/bin/python3
"""The peer of replace_bench: load a DXF with ezdxf, replace Note by Memo in
every TEXT and Room by Hall in every MTEXT, save, and print the count."""
import sys
import time

import ezdxf

source, target = sys.argv[1], sys.argv[2]
start = time.perf_counter()
doc = ezdxf.readfile(source)
count = 0
for e in doc.entitydb.values():
    t = e.dxftype()
    if t == "TEXT" and "Note" in e.dxf.text:
        e.dxf.text = e.dxf.text.replace("Note", "Memo")
        count += 1
    elif t == "MTEXT" and "Room" in e.text:
        e.text = e.text.replace("Room", "Hall")
        count += 1
doc.saveas(target)
print(count, f"{time.perf_counter() - start:.2f}")
