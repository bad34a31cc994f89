#!/usr/bin/python3
"""Independent reader for the workbook tests: prints a workbook as JSON.

{"sheets": [{"name", "cells": {"A1": [value, type, bold, number_format]},
             "widths": {"A": w}, "freeze": "A2" or null}], "active": name}
Dates come as ISO text with type "date".
"""
import datetime
import json
import sys

import openpyxl


def cell_json(c):
    v = c.value
    t = type(v).__name__
    if isinstance(v, (datetime.datetime, datetime.date)):
        v, t = v.isoformat(), "date"
    return [v, t, bool(c.font and c.font.b), c.number_format]


def main(path):
    wb = openpyxl.load_workbook(path)
    out = {"sheets": [], "active": wb.active.title}
    for ws in wb.worksheets:
        cells = {}
        for row in ws.iter_rows():
            for c in row:
                if c.value is not None or (c.font and c.font.b) or c.number_format != "General":
                    cells[c.coordinate] = cell_json(c)
        widths = {k: d.width for k, d in ws.column_dimensions.items() if d.customWidth}
        out["sheets"].append({"name": ws.title, "cells": cells, "widths": widths,
                              "freeze": ws.freeze_panes, "state": ws.sheet_state})
    print(json.dumps(out))


if __name__ == "__main__":
    main(sys.argv[1])
