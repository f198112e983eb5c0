#!/usr/bin/env python3
"""check_headers.py INCLUDE CC CXX: every public header compiles on its own as C11 and as C++20."""

import subprocess
import sys
from pathlib import Path


def main():
    include, cc, cxx = sys.argv[1:]
    failed = 0
    headers = sorted(Path(include).glob("*/*.h"))
    for header in headers:
        for compiler, language, standard in ((cc, "c", "c11"), (cxx, "c++", "c++20")):
            result = subprocess.run(
                [compiler, "-x", language, f"-std={standard}", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
                 "-fsyntax-only", "-I", include, "-"],
                input=f"#include <{header.parent.name}/{header.name}>\nint quorvex_header_test;\n",
                capture_output=True, text=True)
            if result.returncode != 0:
                failed += 1
                print(f"{header.name} as {standard}:\n{result.stderr}")
    print(f"{len(headers)} headers")
    return 1 if failed or not headers else 0


if __name__ == "__main__":
    sys.exit(main())
