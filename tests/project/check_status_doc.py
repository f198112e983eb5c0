#!/usr/bin/env python3
"""check_status_doc.py TREE: docs/status-codes.md is what scripts/make_status_doc.py makes, and tells each
status once."""

import re
import subprocess
import sys
import tempfile
from pathlib import Path


def main():
    tree = Path(sys.argv[1])
    committed = (tree / "docs/status-codes.md").read_text()
    with tempfile.TemporaryDirectory() as folder:
        made = Path(folder) / "status-codes.md"
        subprocess.run([sys.executable, tree / "scripts/make_status_doc.py", made], check=True)
        if made.read_text() != committed:
            print("docs/status-codes.md is not what scripts/make_status_doc.py makes: run it")
            return 1
    # Names as the compiler takes them from the table, not as the script does.
    table = (tree / "include/quorvex/status_table.h").read_text()
    names = re.findall(r"\((ZVK_\w+), -?\d+[,)]", table)
    missing = [name for name in names if committed.count(f"| `{name}` |") != 1]
    print("\n".join(missing) or f"{len(names)} statuses")
    return 1 if missing or not names else 0


if __name__ == "__main__":
    sys.exit(main())
