#!/usr/bin/env python3
"""Kills a client that writes business messages, and checks what its table contains afterwards.

usage: kill_message_writer.py [--loops N] [--seed N] PROGRAM

PROGRAM is build/*/bin/message_writer_child. Each loop starts it, kills it with SIGKILL at a random
moment and checks that

- PRAGMA integrity_check of a copy of the file says ok,
- the next start opens the file and finds every message and every read state that the program had
  reported as committed, in full and without a gap.

Five loops in a row use the same file, so that a start also meets what earlier ones left. Exit codes:
0 all loops passed, 1 a check failed, 2 wrong usage.
"""

import argparse
import os
import random
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time

LOOPS_PER_FILE = 5
LONGEST_LIFE = 0.6  # seconds after the load
LONGEST_START = 0.15  # seconds after the start, for loops that are killed during the start
LIMIT = 60  # seconds for one start

ENVIRONMENT = dict(os.environ, QT_LOGGING_RULES="*.debug=false", QT_QPA_PLATFORM="offscreen")


def reported(lines):
    """The last number of each kind of report. A line that the kill cut off does not count."""
    numbers = {}
    for line in lines:
        words = line.split()
        if line.endswith("\n") and len(words) == 2 and words[1].isdigit():
            numbers[words[0]] = int(words[1])
    return numbers


def run_and_kill(program, home, chance):
    """Returns the reports of a run that was killed, and whether it had finished its load."""
    process = subprocess.Popen([program, "write", home], stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, env=ENVIRONMENT, text=True)
    lines = []
    loaded = threading.Event()

    def read():
        for line in process.stdout:
            lines.append(line)
            if line.startswith("loaded"):
                loaded.set()

    reader = threading.Thread(target=read)
    reader.start()
    if chance.random() < 0.2:
        time.sleep(chance.uniform(0, LONGEST_START))
    else:
        loaded.wait(LIMIT)
        time.sleep(chance.uniform(0, LONGEST_LIFE))
    ended = process.poll()
    process.kill()
    process.wait()
    reader.join()
    process.stdout.close()
    if ended is not None:
        raise AssertionError("the program ended by itself with %s: %s" % (ended, lines[-3:]))
    return reported(lines)


def database_files(home):
    found = []
    for folder, _, names in os.walk(home):
        for name in names:
            path = os.path.join(folder, name)
            with open(path, "rb") as file:
                if file.read(15) == b"SQLite format 3":
                    found.append(path)
    return found


def has_table(connection):
    return connection.execute(
        "SELECT count(*) FROM sqlite_master WHERE name = 'BUSI_MSG_CENTER'").fetchone()[0] == 1


def check_copy(home, committed):
    """Checks a copy, so that the program itself recovers the original. Returns its rows."""
    rows = 0
    for path in database_files(home):
        with tempfile.TemporaryDirectory() as folder:
            copy = os.path.join(folder, "copy")
            for suffix in ("", "-wal"):
                if os.path.exists(path + suffix):
                    shutil.copy(path + suffix, copy + suffix)
            connection = sqlite3.connect(copy)
            answer = connection.execute("PRAGMA integrity_check").fetchall()
            if answer != [("ok",)]:
                raise AssertionError("%s: %s" % (os.path.basename(path), answer))
            if has_table(connection):
                rows += connection.execute("SELECT count(*) FROM BUSI_MSG_CENTER").fetchone()[0]
            connection.close()
    if rows < committed:
        raise AssertionError("%d rows, but %d were committed" % (rows, committed))
    return rows


def check_next_start(program, home, rows, committed):
    done = subprocess.run([program, "check", home], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          env=ENVIRONMENT, text=True, timeout=LIMIT)
    found = reported(done.stdout.splitlines(keepends=True))
    if done.returncode != 0 or found.get("loaded") != rows:
        raise AssertionError("the next start found %s instead of %d rows: %s%s" % (
            found, rows, done.stdout, done.stderr))
    if found["read"] < committed.get("read", 0):
        raise AssertionError("read up to %d, but %d was committed" % (
            found["read"], committed["read"]))
    for folder, _, names in os.walk(home):
        if any("damaged" in name for name in names):
            raise AssertionError("a file was moved aside in " + os.path.basename(folder))
    return found


def main():
    parser = argparse.ArgumentParser(usage="kill_message_writer.py [--loops N] [--seed N] PROGRAM")
    parser.add_argument("program")
    parser.add_argument("--loops", type=int, default=200)
    parser.add_argument("--seed", type=int, default=int(time.time()))
    options = parser.parse_args()
    chance = random.Random(options.seed)
    home = None
    before = {"loaded": 0, "read": 0}
    kills_while_writing = 0
    unreported = 0
    try:
        for loop in range(options.loops):
            if loop % LOOPS_PER_FILE == 0:
                if home:
                    home.cleanup()
                home = tempfile.TemporaryDirectory()
                before = {"loaded": 0, "read": 0}
            numbers = run_and_kill(options.program, home.name, chance)
            committed = {"inserted": max(before["loaded"], numbers.get("inserted", 0)),
                         "read": max(before["read"], numbers.get("read", 0))}
            rows = check_copy(home.name, committed["inserted"])
            kills_while_writing += "inserted" in numbers
            unreported += rows > committed["inserted"]
            before = check_next_start(options.program, home.name, rows, committed)
    except (AssertionError, OSError, sqlite3.Error, subprocess.TimeoutExpired) as failure:
        print("loop %d of seed %d: %s" % (loop + 1, options.seed, failure), file=sys.stderr)
        return 1
    finally:
        if home:
            home.cleanup()
    print("%d kills, %d of them after the first commit, %d between a commit and its report: every "
          "committed message and read state is there, every file is sound (seed %d)" % (
              options.loops, kills_while_writing, unreported, options.seed))
    return 0


if __name__ == "__main__":
    sys.exit(main())
