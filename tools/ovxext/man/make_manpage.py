#!/usr/bin/env python3
"""Writes the manual page ovxext(1) from the tool's own help texts.

The page is made at build time by running the freshly built ovxext ("ovxext --help" and
"ovxext COMMAND --help" for each command it lists), so the manual says exactly what the
help says: every command, its usage, description, options and exit codes, the general
exit codes and the environment variables.

Usage: make_manpage.py OVXEXT OUTPUT [--date YYYY-MM-DD]
An OUTPUT ending in .gz is compressed as Debian wants manual pages (gzip -9n).
"""

import argparse
import datetime
import gzip
import re
import subprocess
import sys

# "  TERM  description": the term may hold single blanks; two or more end it.
LIST_LINE = re.compile(r"^ {2}(\S(?:.*?\S)?)(?: {2,}(\S.*))?$")
OPTION_LINE = re.compile(r"^ {2}(-(?:.*?\S)?)(?: {2,}(\S.*))?$")


def help_text(ovxext, *args):
    result = subprocess.run([ovxext, *args], capture_output=True, text=True, check=False)
    if result.returncode != 0 or not result.stdout:
        sys.exit(f"make_manpage: '{' '.join([ovxext, *args])}' failed: {result.stderr.strip()}")
    return result.stdout


def blocks(text):
    """Splits a help text into its blocks, those separated by blank lines."""
    return [block.split("\n") for block in re.split(r"\n\s*\n", text.strip("\n")) if block.strip()]


def escape(text):
    """Roff-escapes running text: backslashes, and dashes that start an option or stand alone."""
    text = text.replace("\\", "\\e")
    return re.sub(r"(?<![\w.])-", r"\\-", text)


def paragraph(lines):
    text = escape(" ".join(line.strip() for line in lines))
    return "\\&" + text if text[:1] in (".", "'") else text


def term_list(lines, pattern):
    """Two-column help lists ("  TERM   description", continued below) as (term, text) pairs."""
    items = []
    for line in lines:
        match = pattern.match(line)
        if match and not line.startswith("   "):
            items.append([match.group(1).strip(), [match.group(2) or ""]])
        elif items:
            items[-1][1].append(line)
    return [(term, " ".join(part.strip() for part in text if part.strip())) for term, text in items]


def tagged(term, text):
    return f".TP\n.B {escape(term)}\n{paragraph([text])}\n"


def command_section(name, text):
    out = [f".SS {name}\n"]
    for block in blocks(text):
        head = block[0]
        if head.startswith("usage: "):
            usage = " ".join(line.strip() for line in [head[len("usage: "):], *block[1:]])
            out.append(f".PP\n.B {escape(usage)}\n")
        elif head == "options:":
            out.extend(tagged(term, text) for term, text in term_list(block[1:], OPTION_LINE))
        elif OPTION_LINE.match(head):
            out.extend(tagged(term, text) for term, text in term_list(block, OPTION_LINE))
        elif head.startswith("exit codes:"):
            out.append(f".PP\nExit status: {paragraph([head[len('exit codes:'):], *block[1:]])}\n")
        else:
            out.append(f".PP\n{paragraph(block)}\n")
    return "".join(out)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("ovxext")
    parser.add_argument("output")
    parser.add_argument("--date", default=datetime.date.today().isoformat())
    arguments = parser.parse_args()

    general = help_text(arguments.ovxext, "--help")
    version = help_text(arguments.ovxext, "--version").split()[1]
    sections = {}
    description = []
    for block in blocks(general):
        head = block[0]
        if head.endswith(":") and not head.startswith(" "):
            sections[head[:-1]] = block[1:]
        elif not head.startswith("usage:"):
            description.append(block)
    for required in ("commands", "exit codes", "environment"):
        if required not in sections:
            sys.exit(f"make_manpage: 'ovxext --help' has no '{required}:' section")

    commands = [(term.split()[0], text) for term, text in term_list(sections["commands"], LIST_LINE)]
    commands = [(name, text) for name, text in commands if name not in ("help", "version")]

    page = [
        f'.TH OVXEXT 1 "{arguments.date}" "ovxext {version}" "User Commands"\n',
        ".SH NAME\n",
        "ovxext \\- make, sign, check and host OvxComponent extension packages\n",
        ".SH SYNOPSIS\n",
        ".B ovxext\n.I command\n.RI [ arguments ]\n",
        ".br\n.B ovxext\n.I command\n.B \\-\\-help\n",
        ".br\n.B ovxext \\-\\-version\n",
        ".SH DESCRIPTION\n",
        "".join(f".PP\n{paragraph(block)}\n" for block in reversed(description)),
        "".join(f".TP\n.B {name}\n{paragraph([text])}\n" for name, text in commands),
        ".SH COMMANDS\n",
        "".join(command_section(name, help_text(arguments.ovxext, name, "--help")) for name, _ in commands),
        ".SH EXIT STATUS\n",
        "".join(tagged(code, text) for code, text in term_list(sections["exit codes"], LIST_LINE)),
        ".SH ENVIRONMENT\n",
        "".join(tagged(name, text) for name, text in term_list(sections["environment"], LIST_LINE)),
        ".SH SEE ALSO\n",
        ".BR minisign (1),\n.BR sha256sum (1),\n.BR unzip (1)\n",
    ]
    data = "".join(page).encode("utf-8")
    if arguments.output.endswith(".gz"):
        data = gzip.compress(data, compresslevel=9, mtime=0)
    with open(arguments.output, "wb") as output:
        output.write(data)


if __name__ == "__main__":
    main()
