#!/usr/bin/env python3
"""Formats the JSON data tables of the tests so that they read and diff like code.

Each row of a table (an object in a list of objects) starts on a line of its own; its keys are
packed onto lines of at most 100 columns, and a value too long for one line is broken inside,
its items packed the same way. Only a single string longer than a line can make a line longer.

    scripts/format_tables.py [FILE...]           rewrite the files in place
    scripts/format_tables.py --check [FILE...]   exit 1 naming each file that is not formatted

Without files: every JSON file in a tests folder of the source tree.
"""
import json
import pathlib
import sys

WIDTH = 100
LIMIT = 120  # what --check lets a line reach: a long string may pass WIDTH, never this


def compact(value):
    return json.dumps(value, ensure_ascii=False)


def render(value, col, reserve=0, depth=0):
    """Lines for `value` starting at column `col`; later lines carry their own indentation.
    `reserve` columns are kept free on the last line for what the caller appends. The document
    and its tables (depth 0 and 1) put each item on a line of its own."""
    text = compact(value)
    own_lines = depth < 2 and isinstance(value, (dict, list)) and len(value) > 1 and (
        depth == 0 or isinstance(value, list))
    if not own_lines and col + len(text) + reserve <= WIDTH:
        return [text]
    if not isinstance(value, (dict, list)) or not value:
        return [text]
    is_dict = isinstance(value, dict)
    opener, closer = ("{", "}") if is_dict else ("[", "]")
    items = list(value.items()) if is_dict else [(None, v) for v in value]
    indent = " " * (col + 1)
    lines = [opener]
    fresh = True  # the current line holds nothing but its opener or indentation
    for i, (key, item) in enumerate(items):
        last = i == len(items) - 1
        prefix = "" if key is None else compact(key) + ": "
        suffix = closer if last else ","
        extra = reserve if last else 0
        piece = prefix + compact(item) + suffix
        if not fresh and (own_lines or
                          (col if len(lines) == 1 else 0) + len(lines[-1]) + 1 + len(piece)
                          + extra > WIDTH):
            lines.append(indent)
            fresh = True
        head = lines[-1] + ("" if fresh else " ") + prefix
        at = (col if len(lines) == 1 else 0) + len(head)
        if (prefix and isinstance(item, (dict, list)) and at > col + 16 and
                at + len(compact(item)) + len(suffix) + extra > WIDTH):
            # A long key: its value starts on the next line, a little in.
            lines[-1] = head.rstrip()
            lines.append(indent + "  ")
            head, at = lines[-1], col + 3
        inner = render(item, at, len(suffix) + extra, depth + 1)
        lines[-1] = head + inner[0]
        lines.extend(inner[1:])
        lines[-1] += suffix
        fresh = False
    return lines


def formatted(text):
    value = json.loads(text)
    return "\n".join(render(value, 0)) + "\n"


def main(argv):
    check = argv[:1] == ["--check"]
    files = argv[1:] if check else argv
    if not files:
        top = pathlib.Path(__file__).resolve().parent.parent
        files = sorted(str(p) for p in top.glob("**/tests/**/*.json")
                       if not p.relative_to(top).parts[0].startswith(("build", ".")))
    stale = []
    for name in files:
        with open(name, encoding="utf-8") as f:
            text = f.read()
        new = formatted(text)
        if check:
            long = [i + 1 for i, line in enumerate(text.splitlines()) if len(line) > LIMIT]
            if long:
                print(f"{name}: lines {long} pass {LIMIT} columns: split the text", file=sys.stderr)
                stale.append(name)
            elif new != text:
                print(f"{name}: not formatted (run scripts/format_tables.py {name})",
                      file=sys.stderr)
                stale.append(name)
            continue
        if new != text:
            with open(name, "w", encoding="utf-8") as f:
                f.write(new)
    return 1 if stale else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
