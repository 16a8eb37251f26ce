#!/usr/bin/env python3
"""Checks the format of every source file and runs clang-tidy over those of the build.

usage: lint.py --build BUILD_DIR [--jobs N] [FILE...]

BUILD_DIR holds compile_commands.json, with moc's output built. Its precompiled headers are left out,
so a source that lacks an include of its own is found here. A file that passed clang-tidy is
looked at again only when it, anything of the tree that it includes, its compile command, the
configuration, the libraries or clang-tidy itself has changed. The marks of the files that passed lie
in velmar-tidy below the user's cache folder (XDG_CACHE_HOME, by default ~/.cache), so that they
serve every clone of the tree; one that was not needed for 30 days is removed.

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
from pathlib import Path

from include_graph import Tree

FORMAT = "clang-format-14"
TIDY = "clang-tidy-14"
DATABASE = "compile_commands.json"
FOLDERS = ("src", "host", "examples", "tests", "bench", "fuzz")
# The commands are another compiler's. Qt's logging macros are used without their further arguments,
# which clang alone calls pedantic.
EXTRA = ("--extra-arg=-Wno-error", "--extra-arg=-Wno-gnu-zero-variadic-macro-arguments")
# What is read from outside the tree.
LIBRARIES = ("qtbase5-dev", "librapidcheck-dev", "libunwind-dev", "libstdc++-12-dev", "libc6-dev")
MARK_DAYS = 30

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


def marks_folder():
    cache = os.environ.get("XDG_CACHE_HOME") or os.path.join(Path.home(), ".cache")
    return os.path.join(cache, "velmar-tidy")


class Tidy:
    def __init__(self, tree, build):
        self.tree = tree
        self.commands_folder = os.path.join(build, "tidy")
        self.marks = marks_folder()
        os.makedirs(self.commands_folder, exist_ok=True)
        os.makedirs(self.marks, exist_ok=True)
        self.common = (output_of(TIDY, "--version") + " ".join(EXTRA)
                       + output_of("dpkg-query", "-W", *LIBRARIES)).encode()
        configurations = [os.path.join(tree.root, ".clang-tidy")]
        for folder in FOLDERS:
            configurations += sorted(Path(tree.root, folder).rglob(".clang-tidy"))
        for configuration in configurations:
            self.common += file_text(configuration)
        self.hashes = {}

    def hash_of(self, path):
        if path not in self.hashes:
            self.hashes[path] = hashlib.sha256(file_text(os.path.join(self.tree.root, path))).digest()
        return self.hashes[path]

    def mark_of(self, path, command):
        # Where the tree lies does not change what is found in it.
        key = hashlib.sha256(self.common + command.replace(self.tree.root, "ROOT").encode())
        for part in self.tree.closure(path):
            key.update(part.encode() + self.hash_of(part))
        return os.path.join(self.marks, key.hexdigest())

    def run(self, path):
        full = os.path.join(self.tree.root, path)
        done = subprocess.run([TIDY, "-p", self.commands_folder, "--quiet", *EXTRA, full],
                              capture_output=True, text=True, check=False)
        return done.returncode, done.stdout + ("" if done.returncode == 0 else done.stderr)


def compile_commands(tree, build, folder):
    """Source path to compile command, of the tree's own files; writes what clang-tidy reads."""
    with open(os.path.join(build, DATABASE), encoding="utf-8") as file:
        entries = json.load(file)
    for entry in entries:
        entry["command"] = PRECOMPILED.sub("", entry["command"])
    with open(os.path.join(folder, DATABASE), "w", encoding="utf-8") as file:
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
    commands = compile_commands(tree, build, tidy.commands_folder)
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
                Path(marks[path]).touch()
    keep_fresh(tidy.marks, marks.values())
    print(f"lint: clang-tidy found something in {bad} of {len(marks)} files", flush=True)
    return bad == 0


def keep_fresh(folder, used):
    """Removes the marks that no tree has used for long; the used ones count from now."""
    for mark in used:
        if os.path.exists(mark):
            os.utime(mark)
    oldest = time.time() - MARK_DAYS * 24 * 3600
    for mark in Path(folder).iterdir():
        try:
            if mark.stat().st_mtime < oldest:
                mark.unlink()
        except FileNotFoundError:
            pass  # another run was quicker


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
