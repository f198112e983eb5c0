#!/usr/bin/env python3
"""try_zvk_calibrate.py ZVK STAGE CARD SAMPLE: zvk calibrate and zvk analyse as a user calls them, and
their report in a browser: laid out, readable, printed, with nothing fetched."""

import glob
import os
import pty
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

from browser import Browser, read_png

QUICK = ["--averages", "6", "--segment", "0.5"]


def run(zvk, *arguments, code=0, environment=None, stdin=None):
    result = subprocess.run([zvk, *arguments], env=environment or dict(os.environ), input=stdin,
                            stdin=subprocess.DEVNULL if stdin is None else None,
                            capture_output=True, text=True, timeout=200)
    assert result.returncode == code, (arguments, result.returncode, result.stdout, result.stderr)
    return result


def body_of(text):
    """The results alone: from the first table to the report's name."""
    return text[text.index("Path A x  "):text.index("The report is in")]


# -- the commands --


def try_calibration_and_analysis(zvk, folder):
    report = os.path.join(folder, "calibration.html")
    name = os.path.join(folder, "run1")
    out = run(zvk, "calibrate", *QUICK, "--save", name, "--report", report).stdout
    assert "\r" not in out and "\033" not in out, "bars are for terminals"
    assert out.count("stage oscillates along") == 6 and out.count("line scan\n") == 6, out
    assert "twice the true value" in out and "table tells" in out and "truth" in out
    within = re.search(r"(\d+)\s+of\s+(\d+)\s+results\s+lie\s+within", out)
    assert within and int(within[2]) == 42 and int(within[1]) >= 40, out
    assert len(glob.glob(name + "*dat")) == 16 and os.path.exists(name + ".cal")
    assert not glob.glob(os.path.join(folder, "*.part"))

    again = os.path.join(folder, "analysis.html")
    analysed = run(zvk, "analyse", *glob.glob(name + "*"), "--report", again).stdout
    assert body_of(analysed) == body_of(out), "the files give what the runs gave"

    # Another diameter changes the power spectrum's stiffness and not the active one's.
    other = run(zvk, "analyse", name, "--diameter", "2").stdout
    def told(text, method):
        return float(re.search(method + r"\s+([0-9.]+)", text)[1])
    assert abs(told(other, "power spectrum") / told(out, "power spectrum") - 2.0) < 0.01
    assert told(other, "active") == told(out, "active")
    return report, again


def try_seeds(zvk):
    first = run(zvk, "calibrate", *QUICK, "--paths", "A", "--no-scan", "--seed", "5").stdout
    assert first == run(zvk, "calibrate", *QUICK, "--paths", "A", "--no-scan", "--seed", "5").stdout
    assert first != run(zvk, "calibrate", *QUICK, "--paths", "A", "--no-scan", "--seed", "6").stdout
    assert "line scan" not in first.split("Power spectrum and")[0] and "Path B" not in first


def try_wrong_words(zvk, folder):
    for wrong in (["calibrate", "x"], ["calibrate", "--segment", "-1"], ["calibrate", "--report"],
                  ["analyse"], ["analyse", "a", "b"], ["analyse", "a", "--seed", "3"]):
        err = run(zvk, *wrong, code=2).stderr
        assert err.count("\n") == 1 and err.endswith(".\n"), (wrong, err)
    for failing in (["analyse", os.path.join(folder, "nothing")],
                    ["calibrate", "--instrument", folder],
                    ["calibrate", "--report", os.path.join(folder, "nowhere", "r.html")],
                    ["calibrate", "--segment", "50", "--averages", "2"]):
        result = run(zvk, *failing, code=1)
        assert result.stderr.count("\n") == 1 and len(result.stderr) > 20, (failing, result.stderr)
    for command in ("calibrate", "analyse"):
        assert "--report FILE" in run(zvk, command, "--help").stdout


def try_odd_settings(zvk):
    brief = ["--paths", "A", "--no-scan", "--averages", "2", "--segment"]
    assert "there are no samples" in run(zvk, "calibrate", *brief, "0.001", code=1).stderr
    out = run(zvk, "calibrate", *brief, "0.1", "--amplitude", "1000").stdout
    assert "along x, warning 7" in out, "the stage can't oscillate so far"
    for odd in (["--fit", "1e6:2e6"], ["--bins", "5"], ["--viscosity", "1e300"], ["--oscillation", "1000"]):
        run(zvk, "calibrate", *brief, "0.1", *odd)


def try_broken_files(zvk, folder):
    name = os.path.join(folder, "run1")
    broken = os.path.join(folder, "broken")
    for path in glob.glob(name + "*dat"):
        shutil.copy(path, path.replace("run1", "broken"))
    os.remove(broken + "FDBzdat")
    assert "belong together" in run(zvk, "analyse", broken, code=1).stderr
    shutil.copy(name + "FDBzdat", broken + "FDBzdat")
    with open(broken + "TDAydat", "r+") as file:
        file.truncate(100000)  # in the middle of a row
    run(zvk, "analyse", broken)
    with open(broken + "TDAydat", "w") as file:
        file.write("nothing of the kind\n")
    run(zvk, "analyse", broken)


def try_terminal(zvk):
    leader, follower = pty.openpty()
    process = subprocess.Popen([zvk, "calibrate", *QUICK, "--paths", "B", "--no-scan"], stdin=follower,
                               stdout=follower, stderr=follower)
    os.close(follower)
    seen = b""
    while True:
        try:
            part = os.read(leader, 65536)
        except OSError:
            break  # the program has ended
        if not part:
            break
        seen += part
    os.close(leader)
    assert process.wait(60) == 0, seen
    assert re.search(rb"\r\033\[K\[#+-+\] \d of 5  Path B, stage", seen), seen[:3000]


# -- a real instrument, as far as one of software can be --


class Instrument:
    """An instrument folder whose stage is a program of its own, and whose card has no beads."""

    def __init__(self, stage_program, card, sample, folder):
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        self.stage = subprocess.Popen([stage_program, str(port)], stdout=subprocess.PIPE, text=True)
        self.stage.stdout.readline()
        self.folder = os.path.join(folder, "lab")
        shutil.copytree(sample, self.folder)
        config = os.path.join(self.folder, "ZVK640", "config.ini")
        with open(config, newline="") as file:
            text = file.read()
        with open(config, "w", newline="") as file:
            file.write(text.replace("PORTNUM = 50000", f"PORTNUM = {port}"))
        self.environment = dict(os.environ, ZVK_DAQMX_LIBRARY=card)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stage.kill()
        self.stage.wait()
        shutil.rmtree(self.folder)

    def commands(self):
        time.sleep(0.5)  # it prints ten times a second
        self.stage.terminate()
        return self.stage.stdout.read()


def oscillates_behind(log):
    """The axes whose generator was started and not stopped."""
    running = set()
    for axis, mode in re.findall(r"WGO (\d) (\d+)", log):
        (running.discard if mode == "0" else running.add)(axis)
    return running


def try_no_signal(zvk, things, folder):
    with Instrument(*things, folder) as instrument:
        environment = dict(instrument.environment, ZVK_VIRTUAL_DAQ_PACE="fast")
        result = run(zvk, "calibrate", "--instrument", instrument.folder, *QUICK, code=1,
                     environment=environment, stdin="\n\n")
        assert "Path A: hold one bead" in result.stdout and "Enter goes on" in result.stdout
        assert "the detector gives no signal" in result.stderr, result.stderr
        log = instrument.commands()
        assert re.search(r"WGO 1 [1-9]", log), log
        assert not oscillates_behind(log), log


def try_refused_question(zvk, things, folder):
    with Instrument(*things, folder) as instrument:
        environment = dict(instrument.environment, ZVK_VIRTUAL_DAQ_PACE="fast")
        out = run(zvk, "calibrate", "--instrument", instrument.folder, code=1, environment=environment,
                  stdin="").stdout
        assert "nothing was written" in out
        log = instrument.commands()
        assert not re.search(r"WGO 1 [1-9]", log), "before the user has agreed the stage is at rest"


def try_ending(zvk, things, folder, ending):
    """In real time, in the midst of a run."""
    with Instrument(*things, folder) as instrument:
        environment = dict(instrument.environment, ZVK_VIRTUAL_DAQ_PACE="real")
        kept = os.path.join(folder, "kept")
        os.mkdir(kept)
        process = subprocess.Popen([zvk, "calibrate", "--instrument", instrument.folder, "--yes", "--averages",
                                    "3", "--segment", "1", "--save", os.path.join(kept, "run"), "--report",
                                    os.path.join(kept, "r.html")], env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        for line in process.stdout:
            if "oscillates along x" in line:
                break
        time.sleep(0.7)
        process.send_signal(ending)
        out, err = process.communicate(timeout=60)
        assert process.returncode == 1, (out, err)
        assert "the stage is at rest" in out and "nothing was written" in out, (out, err)
        assert os.listdir(kept) == []
        log = instrument.commands()
        assert re.search(r"WGO 1 [1-9]", log) and not oscillates_behind(log), log
        shutil.rmtree(kept)


# -- the report --


def inside(inner, outer, room):
    return (inner["left"] >= outer["left"] - room and inner["right"] <= outer["right"] + room and
            inner["top"] >= outer["top"] - room and inner["bottom"] <= outer["bottom"] + room)


def overlap(a, b):
    return (min(a["right"], b["right"]) - max(a["left"], b["left"]) > 1.0 and
            min(a["bottom"], b["bottom"]) - max(a["top"], b["top"]) > 3.0)


def check_layout(layout, width):
    assert layout["width"] == width and layout["wide"] <= width, (layout["width"], layout["wide"])
    assert layout["fetched"] == []
    assert len(layout["figures"]) == 12, [figure["caption"] for figure in layout["figures"]]
    bottom = 0.0
    for figure in layout["figures"]:
        box, svg, caption = figure["box"], figure["svg"], figure["caption"]
        assert svg["right"] - svg["left"] > 300 and svg["bottom"] - svg["top"] > 60, caption
        assert box["left"] >= 0 and box["right"] <= width, caption
        assert box["top"] >= bottom, f"{caption} lies on the one before"
        bottom = box["bottom"]
        if width >= 700:
            assert inside(svg, box, 0.5), caption
        assert len(figure["texts"]) > 8, caption
        for i, text in enumerate(figure["texts"]):
            assert inside(text, svg, 1.0), (caption, text, svg)
            for other in figure["texts"][:i]:
                assert not overlap(text, other), (caption, text["text"], other["text"])
    assert len(layout["tables"]) == 4
    for table in layout["tables"]:
        assert table["rows"] > 5 and table["holder"]["right"] <= width
        if width >= 900:
            assert inside(table["box"], table["holder"], 0.5), table


def check_text(report):
    with open(report, encoding="utf-8") as file:
        html = file.read()
    addresses = set(re.findall(r"[a-z]+://[^\"' >)]*", html))
    assert addresses == {"http://www.w3.org/2000/svg"}, addresses
    for forbidden in ("<script", "<img", "<iframe", "@import", "url("):
        assert forbidden not in html, forbidden
    for word in ("Verdict", "twice the true value", "Temperature", "Viscosity", "Bead radius",
                 "Range of the spectrum fit", "Histogram bins", "segments of", "told", "true"):
        assert word in html, word


def try_report(report, folder, pictures):
    check_text(report)
    browser = Browser(folder)
    for width in (700, 900, 1400):
        check_layout(browser.measure(report, width), width)
    picture = os.path.join(pictures, "calibration-report.png")
    browser.screenshot(report, 900, 2400, picture)
    width, height, values = read_png(picture)
    assert (width, height) == (900, 2400) and len(values) > 100, "a blank picture"
    paper = os.path.join(pictures, "calibration-report.pdf")
    browser.print_to(report, paper)
    with open(paper, "rb") as file:
        printed = file.read()
    pages = len(re.findall(rb"/Type\s*/Page\b", printed))
    assert printed[:5] == b"%PDF-" and 4 <= pages <= 10, pages


def main():
    zvk, *things, pictures = sys.argv[1:]
    os.makedirs(pictures, exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        report, again = try_calibration_and_analysis(zvk, folder)
        try_seeds(zvk)
        try_wrong_words(zvk, folder)
        try_odd_settings(zvk)
        try_broken_files(zvk, folder)
        try_terminal(zvk)
        try_no_signal(zvk, things, folder)
        try_refused_question(zvk, things, folder)
        for ending in (signal.SIGINT, signal.SIGTERM):
            try_ending(zvk, things, folder, ending)
        try_report(report, folder, pictures)
        check_text(again)
    print(f"calibrated, analysed and shown; the report's pictures are in {pictures}")


if __name__ == "__main__":
    main()
