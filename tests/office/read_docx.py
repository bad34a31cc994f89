#!/usr/bin/python3
"""Independent reader for the Word tests: prints a document as JSON:
{"paragraphs": [text...], "tables": [{"style", "cells": [[text]], "bold": [[bool]]}],
 "landscape": bool, "header": text}"""
import json
import sys

import docx
from docx.enum.section import WD_ORIENT


def bold(cell):
    runs = [r for p in cell.paragraphs for r in p.runs]
    return bool(runs) and all(r.bold for r in runs)


def main(path):
    d = docx.Document(path)
    sec = d.sections[-1]
    out = {"paragraphs": [p.text for p in d.paragraphs],
           "tables": [{"style": t.style.name if t.style is not None else None,
                       "cells": [[c.text for c in row.cells] for row in t.rows],
                       "bold": [[bold(c) for c in row.cells] for row in t.rows]} for t in d.tables],
           "landscape": sec.orientation == WD_ORIENT.LANDSCAPE and sec.page_width > sec.page_height,
           "header": "\n".join(p.text for p in sec.header.paragraphs),
           "body_order": [el.tag.split('}')[1] for el in d.element.body]}
    print(json.dumps(out))


if __name__ == "__main__":
    main(sys.argv[1])
