#!/usr/bin/env python3
"""Writes CHANGELOG.md as a Debian changelog, compressed as Debian packages carry it.

Each "## VERSION (...)" section becomes one entry, versioned VERSION-REVISION; each bullet
of it one "*" item, with its subsection ("### Added") in front, wrapped at 78 columns.
Every entry carries the same trailer date (the release's), since CHANGELOG.md keeps none
that Debian could read. With --upstream, CHANGELOG.md itself is written compressed too,
as the upstream changelog that Debian keeps beside its own.

Usage: changelog.py CHANGELOG.md OUTPUT.gz [--upstream UPSTREAM.gz] --source NAME
                    --revision N --date RFC2822 --maintainer WHO
"""

import argparse
import gzip
import re
import sys
import textwrap


def entries(markdown):
    """Yields (version, [(subsection, bullet text)]) for every release section."""
    version, items, subsection = None, [], ""
    for line in markdown.splitlines():
        if heading := re.match(r"^## (\d+\.\d+\.\d+)\b", line):
            if version:
                yield version, items
            version, items, subsection = heading.group(1), [], ""
        elif version and (sub := re.match(r"^### (.+)", line)):
            subsection = sub.group(1).strip()
        elif version and line.startswith("- "):
            items.append((subsection, line[2:].strip()))
        elif version and items and line.startswith("  ") and line.strip():
            items[-1] = (items[-1][0], items[-1][1] + " " + line.strip())
    if version:
        yield version, items


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("changelog")
    parser.add_argument("output")
    parser.add_argument("--upstream")
    parser.add_argument("--revision", default="1")
    parser.add_argument("--source", required=True)
    parser.add_argument("--date", required=True)
    parser.add_argument("--maintainer", required=True)
    arguments = parser.parse_args()

    with open(arguments.changelog, encoding="utf-8") as source:
        markdown = source.read()
    sections = list(entries(markdown))
    if not sections:
        sys.exit(f"changelog.py: {arguments.changelog} has no '## VERSION' section")

    out = []
    for version, items in sections:
        out.append(f"{arguments.source} ({version}-{arguments.revision}) unstable; urgency=medium\n\n")
        for subsection, text in items or [("", "Release " + version + ".")]:
            text = f"{subsection}: {text}" if subsection else text
            out.append(textwrap.fill(text, width=78, initial_indent="  * ", subsequent_indent="    ",
                                     break_on_hyphens=False) + "\n")
        out.append(f"\n -- {arguments.maintainer}  {arguments.date}\n\n")
    write_compressed(arguments.output, "".join(out).rstrip("\n") + "\n")
    if arguments.upstream:
        write_compressed(arguments.upstream, markdown)


def write_compressed(path, text):
    """Writes text gzip-compressed as Debian wants it: best compression, no name or time."""
    with open(path, "wb") as output:
        output.write(gzip.compress(text.encode("utf-8"), compresslevel=9, mtime=0))


if __name__ == "__main__":
    main()
