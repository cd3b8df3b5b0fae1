#!/usr/bin/python3
"""Makes the .ico and .png resources from the drawings in src/.

Needed only after a drawing was changed: the results are kept beside this script, so that building the program takes
no renderer. Uses Qt's own SVG renderer, the one that also draws the .svg icons in the program.

    apt-get install python3-pyqt5 python3-pyqt5.qtsvg
    Resources/icons/make-icons.py
"""

import os
import pathlib
import struct

os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")

from PyQt5.QtCore import QBuffer, QByteArray, QIODevice, QRectF
from PyQt5.QtGui import QGuiApplication, QImage, QPainter
from PyQt5.QtSvg import QSvgRenderer

HERE = pathlib.Path(__file__).resolve().parent

ICONS = {
    "Txt(1).ico": "Txt(1).svg",
    "DVD R.ico": "DVD R.svg",
    "Help copy.ico": "Help copy.svg",
    "Help-copy.ico": "Help-copy.svg",
    "setting.ico": "setting.svg",
    "setting2.ico": "setting2.svg",
    "resources/4.ico": "resources-4.svg",
    "resources/setting.ico": "resources-setting.svg",
}
SIZES = (16, 24, 32, 48, 64, 256)
# Bitmaps up to 48 px, which the oldest readers of .ico understand; above that PNG, which keeps the files small.
LARGEST_BITMAP = 48

# The About page stretches the emblem over a label of 200 x 150, so it has that shape, at twice the size.
EMBLEM = ("Corvenne.png", "Corvenne.svg", 400, 300)


def render(name, width, height):
    renderer = QSvgRenderer(str(HERE / "src" / name))
    if not renderer.isValid():
        raise SystemExit(f"{name} is not a drawing that Qt can read")
    image = QImage(width, height, QImage.Format_ARGB32)
    image.fill(0)
    painter = QPainter(image)
    painter.setRenderHint(QPainter.Antialiasing)
    renderer.render(painter, QRectF(0, 0, width, height))
    painter.end()
    return image


def png(image):
    data = QByteArray()
    buffer = QBuffer(data)
    buffer.open(QIODevice.WriteOnly)
    image.save(buffer, "PNG", 0)  # 0: smallest file
    return bytes(data)


def bitmap(image):
    """One 32-bit bitmap of an .ico: header, rows from the bottom up, one-bit mask of what is wholly transparent."""
    size = image.width()
    header = struct.pack("<IiiHHIIiiII", 40, size, 2 * size, 1, 32, 0, 0, 0, 0, 0, 0)
    stride = (size + 31) // 32 * 4
    colours, mask = bytearray(), bytearray()
    for y in reversed(range(size)):
        row = bytearray(stride)
        for x in range(size):
            argb = image.pixel(x, y)
            colours += struct.pack("<I", argb)
            if argb >> 24 == 0:
                row[x // 8] |= 0x80 >> x % 8
        mask += row
    return header + bytes(colours) + bytes(mask)


def ico(drawing):
    parts = []
    for size in SIZES:
        image = render(drawing, size, size)
        parts.append(bitmap(image) if size <= LARGEST_BITMAP else png(image))
    offset = 6 + 16 * len(parts)
    directory = struct.pack("<HHH", 0, 1, len(parts))
    for size, part in zip(SIZES, parts):
        # A width of 256 is written as 0: the field is one byte.
        directory += struct.pack("<BBBBHHII", size % 256, size % 256, 0, 0, 1, 32, len(part), offset)
        offset += len(part)
    return directory + b"".join(parts)


def main():
    app = QGuiApplication([])  # images can be painted only while it lives
    for name, drawing in ICONS.items():
        target = HERE / name
        target.parent.mkdir(exist_ok=True)
        target.write_bytes(ico(drawing))
    name, drawing, width, height = EMBLEM
    (HERE / name).write_bytes(png(render(drawing, width, height)))
    del app


if __name__ == "__main__":
    main()
