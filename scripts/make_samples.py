#!/usr/bin/env python3
"""Makes two files of each folder samples/*/ZVK640.

default.odf: the transform of an instrument with a little rotation, shear and cushion, as a calibration
would find it. Volts to pixels is written down; pixels to volts is fitted to it by least squares over the
calibrated field, in exact fractions, since powers of pixels up to the sixth stand side by side.

qdmr.bin: the power behind each beam power adjuster over its drive voltage, as a power meter would show
it. The light that an adjuster lets through follows the square of a sine."""

import math
from fractions import Fraction
from pathlib import Path

ORDER = 3
# Of each path: xMin, xMax, yMin, yMax in pixels.
FIELDS = [(80.0, 720.0, 60.0, 540.0), (96.0, 704.0, 72.0, 528.0)]

# Terms of volts to pixels: X = sum of c * x^i * y^j, Y = sum of c * y^i * x^j, by (i, j).
INVERSE = [
    ({(0, 0): 402.0, (1, 0): 96.0, (0, 1): 3.1, (1, 1): 0.35, (3, 0): -0.22, (1, 2): -0.18},
     {(0, 0): 297.5, (1, 0): 94.5, (0, 1): -2.7, (1, 1): -0.28, (3, 0): -0.2, (1, 2): -0.17}),
    ({(0, 0): 395.0, (1, 0): 97.2, (0, 1): -2.2, (1, 1): 0.22, (3, 0): -0.24, (1, 2): -0.16},
     {(0, 0): 303.0, (1, 0): 95.8, (0, 1): 1.9, (1, 1): 0.31, (3, 0): -0.21, (1, 2): -0.19}),
]


def terms():
    return [(i, j) for i in range(ORDER + 1) for j in range(ORDER + 1)]


def value(table, first, second):
    return sum(c * first**i * second**j for (i, j), c in table.items())


def to_pixels(path, x, y):
    to_x, to_y = INVERSE[path]
    return value(to_x, x, y), value(to_y, y, x)


def to_volts(path, px, py):
    """Newton's method from the linear part."""
    x, y = (px - 400.0) / 96.0, (py - 300.0) / 95.0
    for _ in range(30):
        h = 1e-6
        fx, fy = to_pixels(path, x, y)
        ax, ay = to_pixels(path, x + h, y)
        bx, by = to_pixels(path, x, y + h)
        a, b, c, d = (ax - fx) / h, (bx - fx) / h, (ay - fy) / h, (by - fy) / h
        det = a * d - b * c
        x -= (d * (fx - px) - b * (fy - py)) / det
        y -= (a * (fy - py) - c * (fx - px)) / det
    return x, y


def solve(matrix, right):
    n = len(right)
    rows = [matrix[i][:] + [right[i]] for i in range(n)]
    for col in range(n):
        pivot = next(r for r in range(col, n) if rows[r][col] != 0)
        rows[col], rows[pivot] = rows[pivot], rows[col]
        for r in range(n):
            if r != col and rows[r][col] != 0:
                f = rows[r][col] / rows[col][col]
                rows[r] = [p - f * q for p, q in zip(rows[r], rows[col])]
    return [rows[i][n] / rows[i][i] for i in range(n)]


def fit(points, values):
    n = (ORDER + 1) ** 2
    matrix = [[Fraction(0)] * n for _ in range(n)]
    right = [Fraction(0)] * n
    for (u, v), w in zip(points, values):
        row = [Fraction(u) ** i * Fraction(v) ** j for i, j in terms()]
        for i in range(n):
            right[i] += row[i] * Fraction(w)
            for j in range(n):
                matrix[i][j] += row[i] * row[j]
    return [float(c) for c in solve(matrix, right)]


def section(path):
    x_min, x_max, y_min, y_max = FIELDS[path]
    pixels = [(x_min + (x_max - x_min) * a / 12, y_min + (y_max - y_min) * b / 9)
              for a in range(13) for b in range(10)]
    volts = [to_volts(path, px, py) for px, py in pixels]
    # The forward tables exchange the axes: AX gives Y from (x, y), AY gives X from (y, x).
    ax = fit(pixels, [v[1] for v in volts])
    ay = fit([(py, px) for px, py in pixels], [v[0] for v in volts])
    axi, ayi = ([table.get(t, 0.0) for t in terms()] for table in INVERSE[path])
    lines = {"COEFFNUM": str((ORDER + 1) ** 2)}
    for name, table in (("AX", ax), ("AY", ay), ("AXI", axi), ("AYI", ayi)):
        for k, c in enumerate(table):
            lines[f"{name}{k}"] = "%.16g" % c
    for name, c in zip(("CALXMIN", "CALXMAX", "CALYMIN", "CALYMAX"), FIELDS[path]):
        lines[name] = "%.16g" % c
    return [f"[GALVO {path}]"] + [f"{k} = {lines[k]}" for k in sorted(lines)] + [""]


# Of each path: the drive voltage of full power, the power there, and what leaks through at 0 V, in mW.
ADJUSTERS = [("A", 5.0, 480.0, 0.6), ("B", 4.8, 455.0, 0.9)]
STEPS = 12


def power_table(name, full_volts, full_power, leak):
    lines = [f"[CALVALUE {name}]", f"NUM = {STEPS + 1}"]
    for i in range(STEPS + 1):
        power = leak + (full_power - leak) * math.sin(math.pi / 2 * i / STEPS) ** 2
        lines += [f"V{i + 1} = {full_volts * i / STEPS:.4f}", f"P{i + 1} = {power:.3f}"]
    return lines + [""]


def main():
    text = "\r\n".join(section(0) + section(1)) + "\r\n"
    powers = "\r\n".join(line for adjuster in ADJUSTERS for line in power_table(*adjuster)) + "\r\n"
    root = Path(__file__).resolve().parent.parent / "samples"
    for folder in ("simulated", "virtual"):
        target = root / folder / "ZVK640" / "default.odf"
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_bytes(text.encode("ascii"))
        target.with_name("qdmr.bin").write_bytes(powers.encode("ascii"))


if __name__ == "__main__":
    main()
