#!/usr/bin/python3
"""Everything openpyxl sees of a workbook, as JSON, for before/after comparisons:
per sheet every cell's value, font, fill, border and number format, merged
ranges, column widths, comments; the workbook's sheet names and defined names."""
import datetime
import json
import sys

import openpyxl


def style(c):
    f = c.font
    return {"bold": bool(f.b), "italic": bool(f.i), "color": str(f.color.rgb) if f.color is not None else None,
            "size": f.sz, "fill": str(c.fill.fgColor.rgb) if c.fill and c.fill.fill_type else None,
            "border": str(c.border.left.style), "format": c.number_format}


def value(v):
    if isinstance(v, (datetime.datetime, datetime.date, datetime.time)):
        return v.isoformat()
    return v


def main(path):
    wb = openpyxl.load_workbook(path)
    out = {"sheets": [ws.title for ws in wb.worksheets],
           "names": sorted(f"{n.name}={n.attr_text}" for n in wb.defined_names.definedName)}
    for ws in wb.worksheets:
        cells = {}
        for row in ws.iter_rows():
            for c in row:
                if c.value is None and not c.has_style:
                    continue
                cells[c.coordinate] = {"value": value(c.value), **style(c),
                                       "comment": c.comment.text if c.comment else None}
        out[ws.title] = {"cells": cells, "merged": sorted(str(r) for r in ws.merged_cells.ranges),
                         "widths": {k: round(d.width, 1) for k, d in ws.column_dimensions.items() if d.customWidth}}
    print(json.dumps(out))


if __name__ == "__main__":
    main(sys.argv[1])
