#!/usr/bin/env python3
"""check_docstrings.py HEADERS: each exported prototype has a docstring that tells its result."""

import re
import sys
from pathlib import Path


def main():
    bad, count = [], 0
    for header in sorted(Path(sys.argv[1]).glob("*.h")):
        text = header.read_text()
        for match in re.finditer(r"^ZVK_API [^;]*?(ZVK_\w+)\(", text, re.M):
            count += 1
            before = text[:match.start()].rstrip()
            block = before[before.rfind("/**"):] if before.endswith("*/") else ""
            if "@return" not in block or "*/" in block[:-2]:
                bad.append(f"{header.name}: {match[1]} has no docstring with its result")
    print("\n".join(bad) or f"{count} docstrings")
    return 1 if bad or not count else 0


if __name__ == "__main__":
    sys.exit(main())
