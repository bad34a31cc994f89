#!/usr/bin/python3
"""Writes a workbook with several sheets and formatting (fonts, fills,
borders, number formats, merged cells, a comment, a defined name, column
widths) for the editing tests; LibreOffice then re-saves it as its own."""
import sys

import openpyxl
from openpyxl.comments import Comment
from openpyxl.styles import Border, Font, PatternFill, Side
from openpyxl.workbook.defined_name import DefinedName

wb = openpyxl.Workbook()
ws = wb.active
ws.title = "Summary"
ws["A1"] = "Project"
ws["A1"].font = Font(bold=True, italic=True, color="FF0000FF", size=14)
ws["B1"] = 1234.5
ws["B1"].number_format = "#,##0.00"
ws["B1"].fill = PatternFill("solid", fgColor="FFFFFF00")
ws["A2"] = "=B1*2"
ws.merge_cells("C1:D2")
ws["C1"] = "merged"
ws["A3"].border = Border(left=Side(style="thin"))
ws["A3"] = "boxed"
ws["A3"].comment = Comment("a note", "tester")
ws.column_dimensions["A"].width = 30
data = wb.create_sheet("Data")
for r in range(1, 21):
    for c in range(1, 6):
        data.cell(r, c, r * 10 + c)
data["F1"] = "keep me"
data["F1"].font = Font(bold=True, color="FFFF0000")
data["G3"] = "beside"
wb.create_sheet("Notes")["A1"] = "third sheet"
wb.defined_names.append(DefinedName("Total", attr_text="Summary!$B$1")) if hasattr(wb.defined_names, "append") \
    else wb.defined_names.add(DefinedName("Total", attr_text="Summary!$B$1"))
wb.save(sys.argv[1])
