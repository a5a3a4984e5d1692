#!/usr/bin/python3
"""Prints the tests as shares of the product's C++, in three parts, as the house counts them:

- harness: files under a tests/support/ folder (the fake sysfs, the module-process runner, the
  test displays, the worker harness, the table loader, the test helpers);
- fixtures: files under a tests/fixtures/ folder and umockdev recordings (real drivers'
  layouts, shared scenarios, expected outputs);
- tests proper: everything else under tests/ and fuzz/ (unit tests, case tables, the case
  interpreter, scripts, fuzz targets), fuzz corpora and CMakeLists.txt aside.

Only files git tracks count, by their endings (.cpp .h .hpp .cc .py .sh .json .txt .umockdev
.yml); a line counts as its length in 100-column lines. The product is every tracked C++ file
outside tests/, fuzz/ and bench/ folders. Usage: tools/test_share.py (from anywhere in the tree)
"""
import os
import re
import subprocess
import sys

ENDINGS = re.compile(r"\.(cpp|h|hpp|cc|py|sh|json|txt|umockdev|yml)$")


def lines(paths):
    n = 0
    for p in paths:
        with open(p, encoding="utf-8", errors="replace") as f:
            for line in f.read().splitlines():
                n += -(-len(line) // 100) if len(line) > 100 else 1
    return n


def main():
    top = subprocess.run(["git", "rev-parse", "--show-toplevel"], capture_output=True,
                         text=True, check=True).stdout.strip()
    files = subprocess.run(["git", "ls-files"], cwd=top, capture_output=True, text=True,
                           check=True).stdout.split("\n")
    files = [f for f in files if f]
    tests = [f for f in files if re.search(r"(^|/)(tests?|fuzz)/", f) and "/corpus/" not in f
             and ENDINGS.search(f) and not f.endswith("CMakeLists.txt")]
    harness = [f for f in tests if re.search(r"(^|/)tests?/support/", f)]
    fixtures = [f for f in tests if f not in harness and
                (re.search(r"(^|/)tests?/fixtures/", f) or f.endswith(".umockdev"))]
    proper = [f for f in tests if f not in harness and f not in fixtures]
    code = [f for f in files if re.search(r"\.(cpp|h|hpp|cc)$", f) and
            not re.search(r"(^|/)(tests?|fuzz|bench)/", f)]
    os.chdir(top)
    c = lines(code)
    for name, part, aim in (("tests proper", proper, "25-33 %"), ("harness", harness, "<= 6 %"),
                            ("fixtures", fixtures, "<= 4 %")):
        n = lines(part)
        print(f"{name:13} {n:6} lines  {100 * n / c:5.1f} % of {c} lines of code  (aim {aim})")
    everything = lines(proper) + lines(harness) + lines(fixtures)
    print(f"{'all three':13} {everything:6} lines  {100 * everything / c:5.1f} %  (aim < 40 %)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
