#!/usr/bin/env python3
"""check_card_exports.py LIBRARY HEADERS: the virtual card exports just the functions of its headers."""

import re
import subprocess
import sys
from pathlib import Path


def main():
    library, headers = sys.argv[1:]
    symbols = subprocess.run(["nm", "-D", "-g", "--defined-only", library], check=True,
                             capture_output=True, text=True).stdout
    exported = {line.split()[-1].split("@")[0] for line in symbols.splitlines()}
    declared = set()
    for header in Path(headers).glob("*.h"):
        declared |= set(re.findall(r"^\s*ZVC_API\s+\w+\s+((?:DAQmx|ZVC_)\w+)\(", header.read_text(), re.M))
    bad = [f"declared, but not exported: {name}" for name in sorted(declared - exported)]
    bad += [f"exported, but not declared: {name}" for name in sorted(exported - declared)]
    print("\n".join(bad) or f"{len(exported)} functions")
    return 1 if bad or not exported else 0


if __name__ == "__main__":
    sys.exit(main())
