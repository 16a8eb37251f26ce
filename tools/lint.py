#!/usr/bin/env python3
"""Checks the format of every source file and runs clang-tidy over those of the build.

usage: lint.py --build BUILD_DIR [--jobs N] [FILE...]

BUILD_DIR holds compile_commands.json, with moc's output built. Its precompiled headers are left out,
so a source that lacks an include of its own is found here. A file that passed clang-tidy is
looked at again only when it, anything of the tree that it includes, its compile command, the
configuration or clang-tidy itself has changed; the marks lie in BUILD_DIR/tidy.

Exit codes: 0 clean, 1 something was found, 2 wrong usage.
"""

import argparse
import concurrent.futures
import hashlib
import json
import os
import re
import subprocess
import sys
import time

from include_graph import Tree

FORMAT = "clang-format-14"
TIDY = "clang-tidy-14"
DATABASE = "compile_commands.json"
FOLDERS = ("src", "host", "examples", "tests", "bench", "fuzz")
# The commands are another compiler's. Qt's logging macros are used without their further arguments,
# which clang alone calls pedantic.
EXTRA = ("--extra-arg=-Wno-error", "--extra-arg=-Wno-gnu-zero-variadic-macro-arguments")


# How the build brings in its precompiled headers.
PRECOMPILED = re.compile(r" -fpch-preprocess| -Winvalid-pch| -include \S*/cmake_pch\.hxx")


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=False).stdout


def check_format(tree):
    files = [os.path.join(tree.root, path) for path in tree.files]
    done = subprocess.run([FORMAT, "--dry-run", "-Werror", *files], check=False)
    print(f"lint: format of {len(files)} files {'is wrong' if done.returncode else 'holds'}",
          flush=True)
    return done.returncode == 0


def file_text(path):
    with open(path, "rb") as file:
        return file.read()


class Tidy:
    def __init__(self, tree, build):
        self.tree = tree
        self.build = build
        self.marks = os.path.join(build, "tidy")
        os.makedirs(self.marks, exist_ok=True)
        self.common = (output_of(TIDY, "--version") + " ".join(EXTRA)).encode()
        for folder in ("", "host", "tests", "bench"):
            self.common += file_text(os.path.join(tree.root, folder, ".clang-tidy"))
        self.hashes = {}

    def hash_of(self, path):
        if path not in self.hashes:
            self.hashes[path] = hashlib.sha256(file_text(os.path.join(self.tree.root, path))).digest()
        return self.hashes[path]

    def mark_of(self, path, command):
        key = hashlib.sha256(self.common + command.encode())
        for part in self.tree.closure(path):
            key.update(part.encode() + self.hash_of(part))
        return os.path.join(self.marks, key.hexdigest())

    def run(self, path):
        full = os.path.join(self.tree.root, path)
        done = subprocess.run([TIDY, "-p", self.marks, "--quiet", *EXTRA, full],
                              capture_output=True, text=True, check=False)
        return done.returncode, done.stdout + ("" if done.returncode == 0 else done.stderr)


def compile_commands(tree, build, marks):
    """Source path to compile command, of the tree's own files; writes what clang-tidy reads."""
    with open(os.path.join(build, DATABASE), encoding="utf-8") as file:
        entries = json.load(file)
    for entry in entries:
        entry["command"] = PRECOMPILED.sub("", entry["command"])
    with open(os.path.join(marks, DATABASE), "w", encoding="utf-8") as file:
        json.dump(entries, file)
    known = set(tree.files)
    commands = {}
    for entry in entries:
        path = os.path.relpath(os.path.join(entry["directory"], entry["file"]), tree.root)
        if path in known:
            commands.setdefault(path, entry["command"])
    return commands


def check_tidy(tree, build, jobs, only):
    tidy = Tidy(tree, build)
    commands = compile_commands(tree, build, tidy.marks)
    marks = {path: tidy.mark_of(path, command) for path, command in sorted(commands.items())
             if not only or path in only}
    due = [path for path, mark in marks.items() if not os.path.exists(mark)]
    print(f"lint: clang-tidy over {len(due)} of {len(marks)} files, the others have not changed",
          flush=True)
    bad = 0
    began = time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        running = {pool.submit(tidy.run, path): path for path in due}
        for count, done in enumerate(concurrent.futures.as_completed(running), start=1):
            path = running[done]
            code, text = done.result()
            print(f"lint: {count}/{len(due)} {time.monotonic() - began:.0f}s {path}"
                  f"{' FAILED' if code else ''}", flush=True)
            if code:
                bad += 1
                print(text, flush=True)
            else:
                with open(marks[path], "w", encoding="utf-8"):
                    pass
    drop_old_marks(tidy.marks, set(marks.values()) if not only else None)
    print(f"lint: clang-tidy found something in {bad} of {len(marks)} files", flush=True)
    return bad == 0


def drop_old_marks(folder, wanted):
    if wanted is None:
        return
    for name in os.listdir(folder):
        mark = os.path.join(folder, name)
        if mark not in wanted and name != DATABASE:
            os.remove(mark)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", required=True)
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 2)
    parser.add_argument("files", nargs="*", help="paths from the root; default: all")
    given = parser.parse_args()
    root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
    build = os.path.abspath(given.build)
    if not os.path.exists(os.path.join(build, DATABASE)):
        print(f"lint: no compile_commands.json in {build}", file=sys.stderr)
        return 2
    tree = Tree(root, FOLDERS)
    formatted = check_format(tree)
    tidied = check_tidy(tree, build, given.jobs, set(given.files))
    return 0 if formatted and tidied else 1


if __name__ == "__main__":
    sys.exit(main())
