#!/usr/bin/env python3
"""Finishes the Debian packages that CPack made, as Debian's own tools would have made them.

For each .deb: sets the Multi-Arch field; gives each -dbgsym package the fields that
Debian's debug packages carry (Auto-Built-Package, Build-Ids); takes the ldconfig calls
out of the library's maintainer scripts (its package activates dpkg's ldconfig trigger
instead); writes the library's symbols file with dpkg-gensymbols from the template in
packaging/debian, which fails the build when a symbol the template lists is gone; and
builds the package again with every file time at SOURCE_DATE_EPOCH, so that two builds
of one commit give the same bytes.

Usage: finish_packages.py --epoch SECONDS [--multi-arch PACKAGE=VALUE]...
                          [--symbols PACKAGE=TEMPLATE]... DEB...
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path


def read_control(path):
    """The fields of a binary package's control file, in order (continuation lines kept)."""
    fields = []
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.startswith((" ", "\t")) and fields:
            fields[-1][1] += "\n" + line
        elif line:
            name, _, value = line.partition(":")
            fields.append([name, value.strip()])
    return fields


def set_field(fields, name, value, after):
    """Sets a field, placed after the field named `after` when it is new."""
    for field in fields:
        if field[0] == name:
            field[1] = value
            return
    position = next((i + 1 for i, field in enumerate(fields) if field[0] == after), len(fields))
    fields.insert(position, [name, value])


def write_control(path, fields):
    path.write_text("".join(f"{name}: {value}\n" for name, value in fields), encoding="utf-8")


def only_calls_ldconfig(script):
    lines = [line.strip() for line in script.read_text(encoding="utf-8").splitlines()]
    commands = [line for line in lines if line and not line.startswith("#") and line not in ("fi", "then")]
    return all(re.search(r"\bldconfig\b|^set -e$|^if \[", command) for command in commands)


def finish(deb, arguments, work):
    tree = work / "tree"
    shutil.rmtree(tree, ignore_errors=True)
    subprocess.run(["dpkg-deb", "--raw-extract", deb, tree], check=True)
    control_path = tree / "DEBIAN" / "control"
    fields = read_control(control_path)
    package = dict(fields)["Package"]
    owner = package.removesuffix("-dbgsym")

    multi_arch = arguments.multi_arch.get(package) or (
        "same" if package != owner and arguments.multi_arch.get(owner) == "same" else None)
    if multi_arch:
        set_field(fields, "Multi-Arch", multi_arch, after="Architecture")
    if package != owner:
        build_ids = sorted(folder.name + debug.stem
                           for folder in (tree / "usr/lib/debug/.build-id").iterdir()
                           for debug in folder.glob("*.debug"))
        if not build_ids:
            sys.exit(f"finish_packages.py: {package} holds no debug file below /usr/lib/debug/.build-id")
        set_field(fields, "Auto-Built-Package", "debug-symbols", after="Version")
        set_field(fields, "Build-Ids", " ".join(build_ids), after="Description")
    write_control(control_path, fields)

    for name in ("postinst", "postrm"):
        script = tree / "DEBIAN" / name
        if script.exists() and only_calls_ldconfig(script):
            script.unlink()

    if package in arguments.symbols:
        libraries = [str(path) for path in tree.glob("usr/lib/*/lib*.so.*") if not path.is_symlink()]
        subprocess.run(["dpkg-gensymbols", f"-p{package}", f"-v{dict(fields)['Version']}", f"-P{tree}",
                        *(f"-e{library}" for library in libraries), f"-I{arguments.symbols[package]}",
                        f"-O{tree / 'DEBIAN' / 'symbols'}", "-c1", "-q"], check=True, cwd=work)
        os.chmod(tree / "DEBIAN" / "symbols", 0o644)

    for folder, folders, files in os.walk(tree):
        for name in folders + files:
            os.utime(os.path.join(folder, name), (arguments.epoch, arguments.epoch), follow_symlinks=False)
    environment = dict(os.environ, SOURCE_DATE_EPOCH=str(arguments.epoch))
    subprocess.run(["dpkg-deb", "--root-owner-group", "-Zxz", "--build", tree, deb],
                   check=True, env=environment, stdout=subprocess.DEVNULL)
    print(f"-- {Path(deb).name}: finished" + (f" (Multi-Arch: {multi_arch})" if multi_arch else ""))


def pairs(values):
    return dict(value.split("=", 1) for value in values or [])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--epoch", type=int, required=True)
    parser.add_argument("--multi-arch", action="append")
    parser.add_argument("--symbols", action="append")
    parser.add_argument("debs", nargs="+")
    arguments = parser.parse_args()
    arguments.multi_arch = pairs(arguments.multi_arch)
    arguments.symbols = pairs(arguments.symbols)
    with tempfile.TemporaryDirectory(prefix="ovx-finish-") as work:
        for deb in arguments.debs:
            finish(os.path.abspath(deb), arguments, Path(work))


if __name__ == "__main__":
    main()
