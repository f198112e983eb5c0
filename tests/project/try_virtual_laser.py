#!/usr/bin/env python3
"""try_virtual_laser.py PROGRAM: serves a port that it names first, answers on it, tells what it was sent
and ends when told."""

import os
import re
import select
import signal
import subprocess
import sys


def ask(port, command):
    os.write(port, command)
    reply = b""
    while not reply.endswith(b"\n"):
        if not select.select([port], [], [], 10)[0]:
            raise TimeoutError(f"{command} got {reply}")
        reply += os.read(port, 64)
    return reply


def main():
    program = sys.argv[1]
    for wrong in (["0"], ["256"], ["x"], ["7", "8"]):
        assert subprocess.run([program, *wrong], capture_output=True).returncode == 2, wrong
    laser = subprocess.Popen([program, "9"], stdout=subprocess.PIPE, text=True)
    try:
        line = laser.stdout.readline()
        offer = re.fullmatch(r"export ZVK_SERIAL_PORTS='.*USB Serial Port \(COM9\)=(/dev/\S+)'\n", line)
        assert offer, line
        port = os.open(offer[1], os.O_RDWR | os.O_NOCTTY)
        os.write(port, b"CLT 0\r\n")
        assert ask(port, b"?\r\n") == b"?\r\n"
        assert ask(port, b"CDO 1\r\n") == b"OK\r\n"
        told = [laser.stdout.readline() for _ in range(3)]
        assert told[2].endswith("CDO 1          interlock closed, EMITS\n"), told
        os.close(port)
        laser.send_signal(signal.SIGTERM)
        assert laser.wait(10) == 0
    finally:
        laser.kill()
    print("the virtual laser's program serves")


if __name__ == "__main__":
    main()
