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


class Setup:
    """A folder with the sample, a virtual laser, and zvk laser with its words in a pipe, or in one
    that nobody reads."""

    def __init__(self, zvk, laser_program, card, sample, folder, mode="CP", heard=True):
        shutil.copytree(os.path.join(sample, "ZVK640"), os.path.join(folder, "ZVK640"))
        config = os.path.join(folder, "ZVK640", "config.ini")
        with open(config, newline="") as file:
            text = file.read()
        changed = re.sub(r'(?m)^(LASERMODE *= *)"?\w+"?', rf'\1"{mode}"', text)
        assert mode == "CP" or changed != text
        with open(config, "w", newline="") as file:
            file.write(changed)
        self.log = os.path.join(folder, "card.log")
        self.laser, offer = start_laser(laser_program)
        environment = dict(os.environ, ZVK_COMMON_APPDATA=folder, ZVK_DAQMX_LIBRARY=card,
                           ZVK_SERIAL_PORTS=offer, ZVK_VIRTUAL_DAQ_LOG=self.log, XDG_RUNTIME_DIR=folder)
        command = [zvk, "laser", "1.25", "A"]
        if heard:
            self.zvk = subprocess.Popen(command, env=environment, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)
            return
        reader, writer = os.pipe()
        os.close(reader)
        self.zvk = subprocess.Popen(command, env=environment, stdout=writer)
        os.close(writer)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.zvk.kill()
        self.zvk.wait()
        self.laser.kill()
        self.laser.wait()

    def expect_dark(self, before):
        behind = read_until(self.laser.stdout, "CDO 0")
        assert "EMITS" not in behind[-1], behind
        assert len(written_words(self.log)) > before, "the shutters were closed behind the signal"


def try_signal(things, ending):
    with tempfile.TemporaryDirectory() as folder, Setup(*things, folder) as setup:
        assert setup.zvk.stdout.readline() == "The laser emits at 1.25. Ctrl-C ends the emission.\n"
        told = read_until(setup.laser.stdout, "CDO 1.*EMITS")
        assert any("APC 1.25" in line for line in told), told
        before = len(written_words(setup.log))
        setup.zvk.send_signal(ending)
        assert setup.zvk.wait(20) == 0
        assert setup.zvk.stdout.read() == "The emission is off, the shutters are closed.\n"
        setup.expect_dark(before)


def try_unheard(things):
    with tempfile.TemporaryDirectory() as folder, Setup(*things, folder, heard=False) as setup:
        read_until(setup.laser.stdout, "CDO 1.*EMITS")
        before = len(written_words(setup.log))
        setup.zvk.send_signal(signal.SIGTERM)
        assert setup.zvk.wait(20) == 0
        setup.expect_dark(before)


def try_refused_power(things):
    with tempfile.TemporaryDirectory() as folder, Setup(*things, folder, mode="CC") as setup:
        out, err = setup.zvk.communicate(timeout=20)
        assert setup.zvk.returncode == 1, out
        assert out == "" and err.startswith("The power is not set: "), (out, err)
        setup.laser.terminate()
        told = setup.laser.stdout.read()
        assert "CDO 0" in told and "CDO 1" not in told, "a drive at its maximum must not shine"


def main():
    things = sys.argv[1:]
    for wrong in ([], ["x"], ["1", "C"], ["1", "A", "B"]):
        assert subprocess.run([things[0], "laser", *wrong], capture_output=True).returncode == 2, wrong
    for ending in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGQUIT):
        try_signal(things, ending)
    try_unheard(things)
    try_refused_power(things)
    print("no signal leaves the laser emitting")


if __name__ == "__main__":
    main()
