#!/usr/bin/python3
"""Writes samples/title-blocks.dxf: three sheets with a TITLE block whose
attributes fill a title block table, a BOM block in model space, a few
texts, an external reference and an image. Run with Debian's python3 (python3-ezdxf):
    /usr/bin/python3 samples/make-title-blocks.py samples/title-blocks.dxf
"""
import sys

import ezdxf

doc = ezdxf.new("R2000")
doc.header["$INSUNITS"] = 4
doc.layers.add("TITLE", color=7)
doc.layers.add("BOM", color=3)
doc.layers.add("NOTES", color=2)

title = doc.blocks.new("TITLE")
title.add_lwpolyline([(0, 0), (180, 0), (180, 40), (0, 40)], close=True)
for i, (tag, prompt) in enumerate([("DWGNO", "Drawing number"), ("TITLE", "Title"), ("REV", "Revision"),
                                    ("DRAWN", "Drawn by"), ("DATE", "Date")]):
    title.add_attdef(tag, (5, 32 - 7 * i), dxfattribs={"prompt": prompt, "height": 3.5})

bom = doc.blocks.new("BOM")
bom.add_lwpolyline([(0, 0), (120, 0), (120, 8), (0, 8)], close=True)
for i, tag in enumerate(["ITEM", "QTY", "PART"]):
    bom.add_attdef(tag, (5 + 40 * i, 2), dxfattribs={"height": 3})

sheets = [
    ("A-101", "Ground floor plan", "C", "J. Smith", "2026-03-02"),
    ("A-102", "First floor plan", "B", "J. Smith", "2026-03-09"),
    ("A-201", "Sections A-A and B-B", "A", "K. Müller", "2026-04-14"),
]
layouts = [doc.layout("Layout1"), doc.layouts.new("Layout2"), doc.layouts.new("Layout3")]
for layout, values in zip(layouts, sheets):
    ref = layout.add_blockref("TITLE", (230, 10), dxfattribs={"layer": "TITLE"})
    ref.add_auto_attribs(dict(zip(["DWGNO", "TITLE", "REV", "DRAWN", "DATE"], values)))

msp = doc.modelspace()
for i, (item, qty, part) in enumerate([("1", "4", "Steel column HEB 200"), ("2", "12", "Anchor bolt M20"),
                                       ("3", "2", "Base plate 400x400x20")]):
    ref = msp.add_blockref("BOM", (0, -10 * i), dxfattribs={"layer": "BOM"})
    ref.add_auto_attribs({"ITEM": item, "QTY": qty, "PART": part})
msp.add_text("GENERAL NOTES", dxfattribs={"layer": "NOTES", "height": 5}).set_placement((0, 40))
msp.add_mtext("All dimensions in mm.\\PDo not scale.", dxfattribs={"layer": "NOTES", "char_height": 3.5}).set_location((0, 30))

# A site plan attached as an external reference, and a logo image.
doc.add_xref_def("..\\site\\site-plan.dwg", "SITE")
msp.add_blockref("SITE", (0, 100))
logo = doc.add_image_def(filename="..\\branding\\logo.png", size_in_pixel=(640, 360))
msp.add_image(logo, insert=(200, 100), size_in_units=(64, 36))

doc.saveas(sys.argv[1] if len(sys.argv) > 1 else "title-blocks.dxf")
