#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Prints a page of the tree as Doxygen reads it: doxygen runs page_filter.py FILE for each page.

Pages and headings get identities, after GitHub's rule for headings, and links between pages become references to
them. A link from docs/README.md makes a page of the tree of pages. Links to other files keep only their text.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEADING = re.compile(r"(#{1,6}) (.*)$")
LINK = re.compile(r"(?<!!)\[([^]]*)\]\(([^)\s]+)\)")
PARSED = ("cpp", "python")


def identity(page):
    """The identity of a page, of its path below the root."""
    name = page.removeprefix("docs/").removesuffix(".md").removesuffix("/README")
    return "page_" + re.sub(r"\W", "_", name.lower())


def slug(heading):
    words = re.sub(r"[^\w\- ]", "", heading.lower())
    return words.strip().replace(" ", "-")


def is_page(path):
    return path.endswith(".md") and (ROOT / path).is_file()


def reference(text, path, anchor, makes_tree):
    """A link to a page, a header or the examples; only the text for any other file. Doxygen reports the
    reference to a file that does not exist."""
    if not (ROOT / path).exists():
        return f"[{text}](@ref {path})"
    if is_page(path):
        if anchor:
            return f"[{text}](@ref {identity(path)}_{re.sub(r'[^a-z0-9]', '_', anchor)})"
        return f'@subpage {identity(path)} "{text}"' if makes_tree else f"[{text}](@ref {identity(path)})"
    if path.endswith(".h") and path.startswith("sonrel/"):
        return f"[{text}](@ref {path})"
    if path.startswith("examples") and (path.endswith(".cpp") or (ROOT / path).is_dir()):
        name = "_" + pathlib.Path(path).stem if path.endswith(".cpp") else ""
        return f"[{text}](@ref page_examples{name})"
    return text


def linked(line, page):
    """A line of a page with its links."""
    def replace(found):
        target, _, anchor = found[2].partition("#")
        if "://" in target:
            return found[0]
        path = page if not target else relative(page, target)
        makes_tree = page == "docs/README.md" or page == "docs/exporting/README.md"
        return reference(found[1], path, anchor, makes_tree and path.startswith("docs/"))
    return LINK.sub(replace, line)


def relative(page, target):
    folder = (ROOT / page).parent
    try:
        return (folder / target).resolve().relative_to(ROOT).as_posix()
    except ValueError:
        return target


def heading(line, page, seen):
    marks, text = HEADING.match(line).groups()
    if marks == "#" and not seen:
        seen["#"] = 1
        name = "mainpage" if page == "README.md" else identity(page)
        return f"# {text} {{#{name}}}\n" + ("" if page == "README.md" else "\n[TOC]\n")
    anchor = re.sub(r"[^a-z0-9]", "_", slug(text))
    count = seen.setdefault(anchor, 0)
    seen[anchor] += 1
    return f"{marks} {text} {{#{identity(page)}_{anchor}{f'_{count}' if count else ''}}}\n"


def filtered(page, text):
    """The lines of a page for Doxygen."""
    seen = {}
    fenced = False
    for line in text.splitlines():
        fence = re.match(r"( *)```(\w*)$", line)
        if fence:
            fenced = not fenced
            language = fence[2] if fence[2] in PARSED else ""
            yield f"{fence[1]}```{language}\n"
        elif fenced or line.startswith("    "):
            yield line + "\n"
        elif HEADING.match(line):
            yield heading(line, page, seen)
        else:
            yield linked(line, page) + "\n"


def main():
    path = pathlib.Path(sys.argv[1]).resolve()
    text = path.read_text(encoding="utf-8")
    page = path.relative_to(ROOT).as_posix()
    # The page of the examples is generated, with its identities.
    sys.stdout.write(text if page.startswith("build/") else "".join(filtered(page, text)))


if __name__ == "__main__":
    main()
