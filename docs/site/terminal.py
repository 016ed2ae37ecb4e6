"""Runs a command in a terminal of its own and prints, as SVG, what that shows: terminal.py COMMAND..."""

import fcntl
import html
import os
import pty
import re
import struct
import subprocess
import sys
import termios

COLUMNS, CELL, LINE, MARGIN = 100, 8.4, 18, 16  # the last three in pixels
NO_BREAK_SPACE = "\u00a0"  # others are drawn as one, however many there are
STYLES = {"1": 'font-weight="bold"', "2": 'fill-opacity="0.6"'}


def output_of(command):
    """Everything that it writes to its terminal, which is as wide as the picture."""
    ours, its = pty.openpty()
    fcntl.ioctl(its, termios.TIOCSWINSZ, struct.pack("HHHH", 50, COLUMNS, 0, 0))
    environment = {**os.environ, "TERM": "xterm-256color", "COLORTERM": "truecolor"}
    environment.pop("NO_COLOR", None)
    process = subprocess.Popen(command, stdin=its, stdout=its, stderr=subprocess.DEVNULL, env=environment)
    os.close(its)
    written = b""
    try:
        while part := os.read(ours, 65536):
            written += part
    except OSError:  # how a terminal ends whose other side is closed
        pass
    if process.wait() != 0:
        sys.exit(f"{command} ended with {process.returncode}")
    return written.decode("utf-8").replace("\r", "")


def runs(line):
    """The pieces of a line: column, text, background and attributes of each."""
    column, background, attributes = 0, None, ""
    for codes, text in re.findall(r"\x1b\[([\d;]*)m|([^\x1b]+)", line):
        if text:
            yield column, text, background, attributes
            column += len(text)
        elif colour := re.fullmatch(r"48;2;(\d+);(\d+);(\d+)", codes):
            background = "rgb({},{},{})".format(*colour.groups())
        elif colour := re.fullmatch(r"38;2;(\d+);(\d+);(\d+)", codes):
            attributes = 'fill="rgb({},{},{})"'.format(*colour.groups())
        elif codes in STYLES:
            attributes = STYLES[codes]
        else:
            background, attributes = None, ""


def svg(lines):
    width, height = COLUMNS * CELL + 2 * MARGIN, len(lines) * LINE + 2 * MARGIN
    yield (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
           f'viewBox="0 0 {width} {height}" font-family="DejaVu Sans Mono, Consolas, Menlo, monospace" '
           'font-size="14" fill="#e6e6e6">')
    yield '<rect width="100%" height="100%" rx="8" fill="#1e1f24"/>'
    for row, line in enumerate(lines):
        for column, text, background, attributes in runs(line):
            x, y, length = MARGIN + column * CELL, MARGIN + row * LINE, len(text) * CELL
            if background:
                yield f'<rect x="{x:.1f}" y="{y}" width="{length:.1f}" height="{LINE}" fill="{background}"/>'
            if text.strip():
                yield (f'<text x="{x:.1f}" y="{y + LINE - 4}" textLength="{length:.1f}" {attributes}>'
                       f"{html.escape(text).replace(' ', NO_BREAK_SPACE)}</text>")
    yield "</svg>"


shown = ["$ " + " ".join(os.path.basename(word) for word in sys.argv[1:]),
         *output_of(sys.argv[1:]).rstrip("\n").split("\n")]
print("\n".join(svg(shown)))
