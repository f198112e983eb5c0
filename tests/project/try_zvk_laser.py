#!/usr/bin/env python3
"""try_zvk_laser.py ZVK LASER CARD SAMPLE: zvk laser lets the virtual laser emit, and whichever signal ends
the command, the emission is off and the shutters are closed behind it."""

import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile


def start_laser(program):
    laser = subprocess.Popen([program, "9"], stdout=subprocess.PIPE, text=True)
    offer = re.fullmatch(r"export ZVK_SERIAL_PORTS='(.*)'\n", laser.stdout.readline())
    return laser, offer[1]


def read_until(stream, pattern):
    lines = []
    for line in stream:
        lines.append(line)
        if re.search(pattern, line):
            return lines
    raise AssertionError(f"no {pattern} in {lines}")


def written_words(log):
    with open(log) as file:
        return [int(word) for word in re.findall(r"DAQmxWriteDigitalScalarU32\(t\d+, 0, 10, (\d+)", file.read())]


def main():
    zvk, laser_program, card, sample = sys.argv[1:]
    for wrong in ([], ["x"], ["1", "C"], ["1", "A", "B"]):
        assert subprocess.run([zvk, "laser", *wrong], capture_output=True).returncode == 2, wrong
    for ending in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        with tempfile.TemporaryDirectory() as folder:
            shutil.copytree(os.path.join(sample, "ZVK640"), os.path.join(folder, "ZVK640"))
            log = os.path.join(folder, "card.log")
            laser, offer = start_laser(laser_program)
            environment = dict(os.environ, ZVK_COMMON_APPDATA=folder, ZVK_DAQMX_LIBRARY=card,
                               ZVK_SERIAL_PORTS=offer, ZVK_VIRTUAL_DAQ_LOG=log, XDG_RUNTIME_DIR=folder)
            command = subprocess.Popen([zvk, "laser", "1.25", "A"], env=environment,
                                       stdout=subprocess.PIPE, text=True)
            try:
                assert command.stdout.readline() == "The laser emits at 1.25. Ctrl-C ends the emission.\n"
                told = read_until(laser.stdout, "CDO 1.*EMITS")
                assert any("APC 1.25" in line for line in told), told
                before = len(written_words(log))
                command.send_signal(ending)
                assert command.wait(20) == 0
                assert command.stdout.read() == "The emission is off, the shutters are closed.\n"
                behind = read_until(laser.stdout, "CDO 0")
                assert "EMITS" not in behind[-1], behind
                words = written_words(log)
                assert len(words) > before, "the shutters were closed behind the signal"
            finally:
                command.kill()
                laser.kill()
    print("no signal leaves the laser emitting")


if __name__ == "__main__":
    main()
