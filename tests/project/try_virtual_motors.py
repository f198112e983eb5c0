#!/usr/bin/env python3
"""try_virtual_motors.py PROGRAM: serves two ports that it names first, answers on both, tells what it was
sent and ends when told."""

import os
import re
import select
import signal
import subprocess
import sys


def frame(*first):
    return bytes(first) + bytes([sum(first) % 256])


def ask(path, command):
    port = os.open(path, os.O_RDWR | os.O_NOCTTY)
    try:
        os.write(port, command)
        reply = b""
        while len(reply) < 9:
            if not select.select([port], [], [], 10)[0]:
                raise TimeoutError(f"{command} got {reply}")
            reply += os.read(port, 9 - len(reply))
        return reply
    finally:
        os.close(port)


def main():
    program = sys.argv[1]
    for wrong in (["0"], ["255"], ["x"], ["7", "8"]):
        assert subprocess.run([program, *wrong], capture_output=True).returncode == 2, wrong
    motors = subprocess.Popen([program, "9"], stdout=subprocess.PIPE, text=True)
    try:
        line = motors.stdout.readline()
        form = r"export ZVK_SERIAL_PORTS='TRINAMIC.* \(COM9\)=(/dev/\S+);TRINAMIC.* \(COM10\)=(/dev/\S+)'\n"
        offer = re.fullmatch(form, line)
        assert offer, line
        for owner in (1, 2):
            reply = ask(offer[owner], frame(1, 10, 0, 2, 0, 0, 0, 0))
            assert reply == frame(2, 1, 100, 10, 0, 0, 0, owner), reply
        told = sorted(motors.stdout.readline() for _ in range(2))
        assert re.fullmatch(r"A +\d+\.\d{3} s  user variable 0\? 1 +at 20000\n", told[0]), told
        assert re.fullmatch(r"B +\d+\.\d{3} s  user variable 0\? 2 +at 20000\n", told[1]), told
        motors.send_signal(signal.SIGTERM)
        assert motors.wait(10) == 0
    finally:
        motors.kill()
    print("the virtual motors' program serves")


if __name__ == "__main__":
    main()
