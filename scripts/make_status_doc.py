#!/usr/bin/env python3
"""make_status_doc.py [FILE]: makes docs/status-codes.md from include/quorvex/status_table.h."""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# Per block of numbers: heading, who gives them.
BLOCKS = {
    0: ("General", "Any call. 0 is success; -101 is also the answer of `ZVK_error_message` to the numbers that "
        "are marked with †."),
    200: ("Beam expander", "`ZVK_BeamExpander_...`; beam power gives 200 and 205 too."),
    300: ("Configuration files", "`ZVK_ConFile_...`, and each module's start, which reads its keys from "
          "config.ini."),
    400: ("Laser", "`ZVK_Laser_...`."),
    500: ("Beam power", "`ZVK_BeamPower_...`."),
    600: ("Galvo", "`ZVK_Galvo_...`, and the trap calls that steer the mirrors."),
    700: ("Stage", "`ZVK_Stage_...`."),
    800: ("Traps", "`ZVK_Trap_...`."),
    900: ("Coordinate systems", "`ZVK_CoordinateSystems_...`, and the trap calls that take or give positions."),
    1000: ("Camera", "`ZVK_Camera_...`."),
    1100: ("Force acquisition", "`ZVK_Force_...`, and the calibration calls that acquire."),
    1300: ("Image processing", "`ZVK_ImageProc_...`."),
    1400: ("Force calibration", "`ZVK_ForceCal_...`."),
    1500: ("Joystick", "Nobody: this instrument has no joystick. The texts are kept."),
    1600: ("Detector", "`ZVK_Detector_...`."),
}

# What the numbers without a text mean.
MEANINGS = {
    "ZVK_CONFILE_BAD_PATH": "the calibration file has the paths 0 and 1 only",
    "ZVK_BEAMPOWER_BAD_PATH": "no such beam path",
    "ZVK_CAMERA_BAD_PATH": "no such beam path",
    "ZVK_FORCE_ALREADY_INITIALIZED": "the module is up already; nothing was done",
    "ZVK_FORCE_BAD_TRIGGER_TYPE": "no such trigger type",
    "ZVK_FORCE_BAD_TRIGGER_EDGE": "no such trigger edge",
    "ZVK_FORCE_BAD_CHANNELS": "the channels aren't a sum of 1, 2 and 4; or no such beam path in the calibration",
    "ZVK_FORCE_BAD_BUFFER": "no buffer of that number",
    "ZVK_FORCECAL_ALREADY_INITIALIZED": "the module is up already",
    "ZVK_FORCECAL_NOT_INITIALIZED": "the module is not up",
    "ZVK_FORCECAL_NOT_INSTALLED": "config.ini says that the instrument has no force calibration",
    "ZVK_FORCECAL_BAD_MEDIUM": "no such medium",
    "ZVK_FORCECAL_BAD_PATH": "no such beam path",
    "ZVK_FORCECAL_BAD_TYPE_COUNT": "fewer than one calibration of a kind",
    "ZVK_FORCECAL_TOO_FEW_PULSES": "fewer than three pulses of the oscillating stage; the settings stand in",
    "ZVK_FORCECAL_BAD_AXIS": "no such axis",
    "ZVK_FORCECAL_NO_TIME_DATA": "the run has no data over time",
    "ZVK_FORCECAL_NO_SPECTRUM": "the run has no spectrum",
    "ZVK_FORCECAL_NO_FIT": "the run's spectrum has not been fitted",
    "ZVK_FORCECAL_BAD_DATA_TYPE": "no such type of data",
    "ZVK_FORCECAL_NO_POTENTIAL": "the run has no potential",
    "ZVK_FORCECAL_FILE_FAILED": "a file of a saved run can't be opened",
    "ZVK_FORCECAL_NO_LINE_SCAN": "the axis has no line scan",
}

HEAD = """# Status codes

<!-- Made by scripts/make_status_doc.py from include/quorvex/status_table.h. -->

Every call answers with a status: 0 for success, a negative number for an error, a positive one for a warning,
which means that the work was done or that the call was refused without harm. `quorvex/errors.h` has the names,
`ZVK_error_message` gives the texts; `\\n` is a line's end in them. The texts stand as clients have always seen
them, spelling included, and so do the numbers of devices that this instrument doesn't have. A library without a
module never gives the numbers of its block.

A number in *italics* has no text of its own: `ZVK_error_message` writes "An unknown error occurred. Error code
N.\\n" for it, as for any number that isn't listed here, and the table tells what it means instead. With a number
that bears a † it writes the text and answers -101; with all others it answers 0.

"""


def statuses():
    """Rows of the table: kind, name, number, text as C writes it (adjacent pieces joined)."""
    source = (ROOT / "include/quorvex/status_table.h").read_text()
    address = re.search(r'#define ZVK_SUPPORT_ADDRESS "(.*)"', source)[1]
    table = source[source.index("#define ZVK_STATUS_TABLE("):].split("\n", 1)[1]
    table = table.replace("ZVK_SUPPORT_ADDRESS", f'"{address}"').replace("\\\n", "\n")
    piece = r'"(?:[^"\\]|\\.)*"'
    row = re.compile(rf"(TEXT_101|TEXT|BARE)\((\w+), (-?\d+)(?:,((?:\s*{piece})+)\s*)?\)")
    for kind, name, number, text in row.findall(table):
        pieces = re.findall(piece, text)
        yield kind, name, int(number), "".join(part[1:-1] for part in pieces)


def block_of(number):
    hundreds = abs(number) // 100 * 100
    if hundreds == 1200:
        return 1100
    return hundreds if hundreds in BLOCKS else 0


def shown(text):
    """C text in a Markdown table: line ends as they are written, backslashes single."""
    return text.replace("\\\\", "\\").replace('\\"', '"').replace("|", "\\|")


def line(kind, name, number, text):
    if kind == "BARE":
        return f"| *{number}* | `{name}` | {MEANINGS[name]} |\n"
    mark = " †" if kind == "TEXT_101" else ""
    return f"| {number}{mark} | `{name}` | `{shown(text)}` |\n"


def page():
    rows = list(statuses())
    text = HEAD
    for block, (heading, giver) in BLOCKS.items():
        text += f"## {heading}\n\nGiven by: {giver}\n\n| number | name | text |\n|---|---|---|\n"
        text += "".join(line(*row) for row in rows if block_of(row[2]) == block)
        text += "\n"
    return text.rstrip("\n") + "\n"


if __name__ == "__main__":
    target = Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT / "docs/status-codes.md"
    target.write_text(page())
