#!/usr/bin/python3
"""Checks the layering of the production sources: every #include points down (a layer includes
only the layers below it, as their CMake targets link), and no header includes itself again
through others (no include cycle). Prints each breach and exits 1; silent and 0 when clean.

Usage: tools/layers.py [TOP (default: the repository)]
"""
import pathlib
import re
import sys

TOP = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else __file__).resolve()
if TOP.is_file():
    TOP = TOP.parent.parent

# Each layer's folder and the layers it may include; the module may include every layer.
LAYERS = {
    "vek": ("libs/vek", set()),
    "platform": ("libs/platform", {"vek"}),
    "comptr": ("common/COM", {"platform", "vek"}),
    "libOrra": ("libs/libOrra", {"platform", "vek"}),
    "libTarra": ("libs/libTarra", {"libOrra", "platform", "vek"}),
    "doctor": ("libs/doctor", {"libOrra", "platform", "vek"}),
    "kiva5": ("libs/kiva5", {"doctor", "libOrra", "platform", "vek"}),
    "libLumo": ("libs/libLumo", {"platform", "vek"}),
    # The module's Qt-free core, and its dialogs (the plugin), which may call the core.
    "core": ("diag/vekrsensors/core",
             {"vek", "platform", "comptr", "libOrra", "libTarra", "kiva5", "libLumo"}),
    "dialogs": ("diag/vekrsensors/dialogs",
                {"core", "vek", "platform", "comptr", "libOrra", "libTarra", "kiva5", "libLumo"}),
}
# Where includes are looked for besides the includer's folder.
INCLUDE_DIRS = [folder + "/include" for folder, _ in LAYERS.values()] + [
    "common/COM", "diag/vekrsensors/core", "diag/vekrsensors/dialogs"]
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)
LEFT_OUT = re.compile(r"(^|/)(tests?|bench|fuzz)/")


def layer_of(path):
    rel = path.relative_to(TOP).as_posix()
    for name, (folder, _) in LAYERS.items():
        if rel.startswith(folder + "/"):
            return name
    return None  # a file outside the layers (a generated header, a test's)


def resolve(path, include):
    """The file an include means: beside the includer, else under a layer's include folder."""
    candidates = [path.parent / include] + [TOP / d / include for d in INCLUDE_DIRS]
    for c in candidates:
        if c.is_file():
            return c.resolve()
    return None


def main():
    files = [p for folder, _ in LAYERS.values() for p in (TOP / folder).rglob("*")
             if p.suffix in (".h", ".cpp") and not LEFT_OUT.search(p.relative_to(TOP).as_posix())]
    breaches = []
    graph = {}
    for path in files:
        own = layer_of(path)
        edges = []
        for include in INCLUDE.findall(path.read_text(errors="replace")):
            resolved = resolve(path, include)
            if not resolved:
                continue
            target = layer_of(resolved)
            if target and target != own and target not in LAYERS[own][1]:
                breaches.append(f"{path.relative_to(TOP)}: {own} includes {include} ({target})")
            edges.append(resolved)
        graph[path.resolve()] = edges
    # Depth-first search for a header reached again from itself.
    state = {}

    def visit(node, trail):
        state[node] = "open"
        for nxt in graph.get(node, []):
            if state.get(nxt) == "open":
                cycle = trail[trail.index(nxt):] + [nxt] if nxt in trail else [node, nxt]
                breaches.append("include cycle: " +
                                " -> ".join(str(p.relative_to(TOP)) for p in cycle))
            elif nxt not in state:
                visit(nxt, trail + [nxt])
        state[node] = "done"

    for node in graph:
        if node not in state:
            visit(node, [node])
    for b in breaches:
        print(b)
    return 1 if breaches else 0


if __name__ == "__main__":
    sys.exit(main())
