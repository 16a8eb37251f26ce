#!/usr/bin/env python3
"""Checks every #include line under src/, host/ and examples/ against the folder rules.

usage: check_includes.py [ROOT]

Exit codes: 0 all lines are allowed, 1 some are not (each is printed), 2 the tree cannot be read.
"""

import os
import re
import sys

from include_graph import GENERATED, Tree

FOLDERS = ("src", "host", "examples")
# The folders of src with include rights of their own; every other one is a companion folder.
NAMED_SRC = ("platform", "base", "requests", "interface", "core", "presenter", "plugin")
QT_HEADER = re.compile(r"^(Qt?[A-Z]\w*|qt?\w*\.h|Qt\w+/\w+(\.h)?)$")
STD_HEADER = re.compile(r"^[a-z_0-9]+$")

PLATFORM = "src/platform"
BASE = "src/base"
REQUESTS = "src/requests"
RECORDS = "src/interface/records"
SDK = "src/interface"
COMPANION = "companion"
HOST = "host"
# The layers of the host; each may include those before it.
LAYERS = (
    "host/platform/bodies",
    "host/platform/transfer",
    "host/platform/stores",
    "host/platform/messaging",
    "host/platform/machine",
    "host/platform/libraries",
    "host/platform/lifecycle",
    "host/gateway",
    "host/faults",
    "host/market",
    "host/ticks",
    "host/neighbourdata",
    "host/scenario",
    "host/shell",
    "host/workbench",
)

# What each kind of folder may include besides Qt, the standard library and itself. Rights are
# transitive, so each line names everything that can be reached.
BELOW_CORE = {PLATFORM, BASE, REQUESTS, RECORDS, COMPANION}
BELOW_PLUGIN = BELOW_CORE | {"src/core", "src/presenter"}
ALLOWED = {
    PLATFORM: set(),
    BASE: set(),
    REQUESTS: {PLATFORM, BASE},
    RECORDS: {PLATFORM},
    COMPANION: {PLATFORM, BASE, REQUESTS, RECORDS},
    "src/core": BELOW_CORE,
    "src/presenter": BELOW_CORE | {"src/core"},
    "src/plugin": BELOW_PLUGIN,
    SDK: BELOW_PLUGIN | {"src/plugin"},
    "sdk header": {PLATFORM, RECORDS, SDK},
    # A layer of the host sees those before it in LAYERS too.
    HOST: {PLATFORM, RECORDS, "sdk header"},
    "examples": {PLATFORM, RECORDS, "sdk header"},
}


def own_folder(path):
    """The folder that a file belongs to as a whole: src/accounts, host/gateway, examples/neighbour."""
    for whole in (RECORDS, *LAYERS):
        if path.startswith(whole + "/"):
            return whole
    return "/".join(path.split("/")[:2])


def kind_of(path):
    """The row of ALLOWED that a file falls under."""
    folder = own_folder(path)
    if folder == SDK:
        return "sdk header" if path.endswith(".h") else SDK
    if folder.startswith("examples/"):
        return "examples"
    if folder.startswith("host/"):
        return HOST
    if folder in ALLOWED:
        return folder
    return COMPANION


def may_include(path, target):
    if own_folder(path) == own_folder(target):
        return True
    kind, target_kind = kind_of(path), kind_of(target)
    if kind == HOST and target_kind == HOST:
        return layer_may_include(own_folder(path), own_folder(target))
    # The shell shares the table that an example prints, a header over Qt alone.
    if own_folder(path) == "host/shell" and target_kind == "examples":
        return True
    if kind == COMPANION and target_kind == COMPANION:
        return target.endswith("_reader.h")
    allowed = ALLOWED[kind]
    return target_kind in allowed or (target_kind == "sdk header" and SDK in allowed)


def layer_may_include(layer, target):
    return layer in LAYERS and target in LAYERS and LAYERS.index(target) < LAYERS.index(layer)


def system_header_allowed(path, name):
    if QT_HEADER.match(name) or STD_HEADER.match(name):
        return True
    # The host talks to the terminal, the disk and the network; a plug-in does nothing of the kind.
    return kind_of(path) in (HOST, "examples")


def check_line(tree, path, include):
    """What is wrong with a line, or None."""
    if include.quoted and GENERATED.search(include.name):
        return None
    targets = tree.resolve(path, include)
    if not targets:
        if include.quoted:
            return f'"{include.name}" is not a file of the tree'
        if not system_header_allowed(path, include.name):
            return f"<{include.name}> is neither Qt nor the standard library"
        return None
    if not include.quoted and (QT_HEADER.match(include.name) or STD_HEADER.match(include.name)):
        return None
    if not any(may_include(path, target) for target in targets):
        return f"{own_folder(path)} may not include {targets[0]}"
    return None


def check(root):
    """(number of files, number of lines, problems as texts)"""
    tree = Tree(root, FOLDERS)
    lines = 0
    problems = []
    for path in tree.files:
        for include in tree.includes(path):
            lines += 1
            problem = check_line(tree, path, include)
            if problem:
                problems.append(f"{path}:{include.line}: {problem}")
    return len(tree.files), lines, problems


def main(arguments):
    here = os.path.dirname(os.path.abspath(__file__))
    root = arguments[0] if arguments else os.path.dirname(here)
    if not os.path.isdir(os.path.join(root, "src")):
        print(f"check_includes: no folder src under {root}", file=sys.stderr)
        return 2
    files, lines, problems = check(root)
    for problem in problems:
        print(problem)
    print(f"check_includes: {files} files, {lines} includes, {len(problems)} not allowed")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
