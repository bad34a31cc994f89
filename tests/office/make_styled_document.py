#!/usr/bin/python3
"""Writes a Word document with a heading, a centred bold paragraph, a header
and a table of its own, for the test that appends a table to an existing
document."""
import sys

import docx
from docx.enum.text import WD_ALIGN_PARAGRAPH

d = docx.Document()
d.add_heading("Drawing register", 1)
p = d.add_paragraph()
p.alignment = WD_ALIGN_PARAGRAPH.CENTER
p.add_run("Issued for review").bold = True
d.sections[0].header.paragraphs[0].text = "Project header"
t = d.add_table(rows=1, cols=2)
t.cell(0, 0).text = "own"
t.cell(0, 1).text = "table"
d.add_paragraph("Closing words")
d.save(sys.argv[1])
