#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Draws the folders of layers.toml into docs/architecture.md, as Mermaid flowcharts.

    tools/check/draw_layers.py              writes the drawings between their markers
    tools/check/draw_layers.py --check      fails when a drawing is not current
    tools/check/draw_layers.py --self-test  small tables with known drawings

An arrow leads from a folder to a folder that it may include: solid for headers and sources, dotted for
sources only, thick for an arrow that closes a circle (`upward` in layers.toml). An arrow that follows
from the others is left out: where a uses b and b uses c, the arrow from a to c.
"""

import re
import sys
import tomllib

from tree import ROOT

PAGE = ROOT / "docs/architecture.md"
MARKED = re.compile(r"(<!-- folders of (\w+), drawn by tools/check/draw_layers.py -->\n)(.*?)"
                    r"(<!-- end of the drawing -->)", re.DOTALL)


class Drawing:
    """The folders below one folder of the tree, and the arrows between them."""

    def __init__(self, layers, root):
        self.layers = {layer["name"]: layer for layer in layers}
        self.umbrellas = {name for name, layer in self.layers.items() if is_umbrella(layer)}
        self.names = [name for name, layer in self.layers.items()
                      if layer["path"].startswith(root + "/") and name not in self.umbrellas]
        self.root = root
        self.solid = self.arrows(lambda layer: layer.get("layers", []))
        self.dotted = self.arrows(lambda layer: layer.get("sources", {}).get("layers", []))
        self.dotted -= self.solid
        self.upward = self.arrows(lambda layer: layer.get("sources", {}).get("upward", []))

    def arrows(self, targets_of):
        return {(name, target) for name in self.names
                for target in self.expanded(targets_of(self.layers[name]))
                if target in self.names and target != name}

    def expanded(self, targets):
        """The targets, with the layers of an umbrella header in its place."""
        found = set()
        for name in targets:
            if name in self.umbrellas:
                found |= self.expanded(self.layers[name].get("layers", []))
            else:
                found.add(name)
        return found

    def reachable(self, start, skipped=None):
        """The folders that arrows lead to from @p start, without the arrow @p skipped."""
        found, waiting = set(), [start]
        while waiting:
            name = waiting.pop()
            for arrow in self.solid | self.dotted:
                if arrow[0] == name and arrow != skipped and arrow[1] not in found:
                    found.add(arrow[1])
                    waiting.append(arrow[1])
        return found

    def circles(self):
        """The folders that use themselves through others, upward arrows left out."""
        return [name for name in self.names if name in self.reachable(name)]

    def needless(self):
        """The upward arrows that close no circle."""
        return sorted((a, b) for a, b in self.upward if a not in self.reachable(b))

    def label(self, name):
        return self.layers[name]["path"].removeprefix(self.root + "/")

    def node(self, name):
        return re.sub(r"\W", "_", self.label(name))

    def kept(self, arrows):
        return sorted((a, b) for a, b in arrows if b not in self.reachable(a, (a, b)))

    def boxes(self):
        libraries = {}
        for name in self.names:
            libraries.setdefault(self.layers[name].get("library"), []).append(name)
        for library, names in libraries.items():
            lines = [f'    {self.node(name)}["{self.label(name)}"]' for name in names]
            if library is None:
                yield from lines
            else:
                yield f'    subgraph {re.sub(r"[^a-z]", "_", library)}["{library}"]'
                yield from ("    " + line for line in lines)
                yield "    end"

    def text(self):
        lines = ["```mermaid", "flowchart TD", *self.boxes()]
        for arrows, sign in ((self.kept(self.solid), "-->"), (self.kept(self.dotted), "-.->"),
                             (sorted(self.upward), "==>")):
            lines += [f"    {self.node(a)} {sign} {self.node(b)}" for a, b in arrows]
        return "\n".join([*lines, "```", ""])


def is_umbrella(layer):
    """Whether the layer is a header that only includes others, and is drawn as these."""
    return layer.get("umbrella", False)


def drawn(page, layers):
    return MARKED.sub(lambda found: found[1] + Drawing(layers, found[2]).text() + found[4], page)


def faults_of(layers):
    faults = []
    for root in ("sonrel", "host"):
        drawing = Drawing(layers, root)
        faults += [f"layers.toml: {name} uses itself through other layers"
                   for name in drawing.circles()]
        faults += [f"layers.toml: {a} lists {b} as upward, which closes no circle"
                   for a, b in drawing.needless()]
    return faults


def check(page, layers):
    faults = faults_of(layers)
    if not MARKED.search(page):
        faults.append(f"{PAGE.name} has no place for a drawing")
    if drawn(page, layers) != page:
        faults.append(f"{PAGE.name}: a drawing is not current; run tools/check/draw_layers.py")
    return faults


def layer(name, layers=(), sources=(), upward=(), **keys):
    return {"name": name, "path": f"sonrel/{name}", "layers": list(layers),
            "sources": {"layers": list(sources), "upward": list(upward)}, **keys}


BASE = layer("base")
MIXER = layer("mixer", ["base"])
# (layers, arrows of the drawing, number of faults)
KNOWN = [
    ([BASE, MIXER], ["mixer --> base"], 0),
    ([BASE, layer("mixer", [], ["base"])], ["mixer -.-> base"], 0),
    ([BASE, MIXER, layer("engine", ["base", "mixer"])], ["engine --> mixer", "mixer --> base"], 0),
    ([BASE, layer("all", ["base"], umbrella=True), layer("mixer", ["all"])], ["mixer --> base"], 0),
    ([layer("base", ["mixer"]), MIXER], [], 2),
    ([layer("base", upward=["mixer"]), MIXER], ["mixer --> base", "base ==> mixer"], 0),
    ([layer("base", upward=["mixer"]), layer("mixer")], ["base ==> mixer"], 1),
]


def self_test():
    faults = []
    for number, (layers, arrows, count) in enumerate(KNOWN, 1):
        found = re.findall(r"\w+ \S*[=-]> \w+", Drawing(layers, "sonrel").text())
        if count != 2 and found != arrows:
            faults.append(f"table {number}: arrows {found} instead of {arrows}")
        if len(faults_of(layers)) != count:
            faults.append(f"table {number}: {faults_of(layers)} instead of {count} faults")
    return faults


def main():
    layers = tomllib.loads((ROOT / "tools/check/layers.toml").read_text())["layer"]
    page = PAGE.read_text()
    if sys.argv[1:] == ["--self-test"]:
        faults = self_test()
    elif sys.argv[1:] == ["--check"]:
        faults = check(page, layers)
    else:
        faults = faults_of(layers)
        PAGE.write_text(drawn(page, layers))
    print("\n".join(faults), end="\n" if faults else "")
    print(f"drawings: {len(MARKED.findall(page))} in {PAGE.name}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
