#!/usr/bin/env python3
"""check_exports.py LIBRARY LIST HEADERS: the library exports functions of the list and nothing else, and
just those that its headers declare."""

import re
import subprocess
import sys
from pathlib import Path


def main():
    library, listed, headers = sys.argv[1:]
    wanted = set(Path(listed).read_text().split())
    symbols = subprocess.run(["nm", "-D", "-g", "--defined-only", library], check=True,
                             capture_output=True, text=True).stdout
    exported, bad = set(), []
    for line in symbols.splitlines():
        kind, name = line.split()[-2:]
        name = name.split("@")[0]
        exported.add(name)
        if name not in wanted or kind not in "TW":
            bad.append(f"exported, but not a listed function: {name} ({kind})")
    declared = set()
    for header in Path(headers).glob("*.h"):
        if header.name == "messages.h":  # of the messages library
            continue
        declared |= set(re.findall(r"^ZVK_API int32_t (ZVK_\w+)\(", header.read_text(), re.M))
    bad += [f"declared, but not listed: {n}" for n in sorted(declared - wanted)]
    bad += [f"declared, but not exported: {n}" for n in sorted(declared - exported)]
    bad += [f"exported, but not declared: {n}" for n in sorted(exported - declared)]
    print("\n".join(bad) or f"{len(exported)} functions, all listed and declared")
    return 1 if bad or not exported else 0


if __name__ == "__main__":
    sys.exit(main())
