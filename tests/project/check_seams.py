#!/usr/bin/env python3
"""check_seams.py TREE: only src/platform and the messages library include headers of the operating
system, of a driver or of a window system, and nobody formats numbers by the caller's locale."""

import re
import sys
from pathlib import Path

OUTSIDE = re.compile(r'#include\s*[<"](unistd|fcntl|dlfcn|pthread|termios|poll|signal|spawn|dirent|time\.h|'
                     r'sys/|X11/|NIDAQ|libserialport|netinet|arpa|pwd|windows)')
CLOCKS = re.compile(r"\b(sleep_for|sleep_until|usleep|nanosleep|system_clock|localtime|fopen|ifstream|ofstream)\b")
LOCALE = re.compile(r"\b(strtod|atof|sscanf|stod|setlocale)\s*\(")


def main():
    root = Path(sys.argv[1], "src")
    bad, count = [], 0
    for source in sorted(list(root.rglob("*.cpp")) + list(root.rglob("*.h"))):
        part = source.relative_to(root).parts[0]
        if part in ("platform", "messages"):
            continue
        count += 1
        for number, line in enumerate(source.read_text().splitlines(), 1):
            for rule in (OUTSIDE, CLOCKS, LOCALE):
                if rule.search(line):
                    bad.append(f"{source.relative_to(root)}:{number}: {line.strip()}")
    print("\n".join(bad) or f"{count} files keep to their side of the seams")
    return 1 if bad or not count else 0


if __name__ == "__main__":
    sys.exit(main())
