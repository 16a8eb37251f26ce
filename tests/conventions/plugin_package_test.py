"""The plug-in of docs/plugin-author.md, built outside the tree and run in the client.

usage: plugin_package_test.py SOURCE_DIR BUILD_DIR CMAKE CXX CXX_FLAGS
"""

import os
import queue
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from doc_listings import listings

SOURCE_DIR, BUILD_DIR, CMAKE, CXX, CXX_FLAGS = sys.argv[1:6]
CLIENT = os.path.join(BUILD_DIR, "bin/velmar-client")
LIMIT_S = 100


def run(*command):
    done = subprocess.run(command, capture_output=True, text=True, check=False, timeout=LIMIT_S)
    if done.returncode != 0:
        raise AssertionError(f"{command}: exit {done.returncode}\n{done.stdout}{done.stderr}")


def build(folder):
    # The flags of the tree, so that a sanitizer sees this library like the others.
    run(CMAKE, "-S", folder, "-B", folder + "/build", "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={BUILD_DIR}",
        f"-DCMAKE_CXX_COMPILER={CXX}", f"-DCMAKE_CXX_FLAGS={CXX_FLAGS}")
    run(CMAKE, "--build", folder + "/build")


class RunningClient:
    """The client with its lines as they come."""

    def __init__(self, *arguments):
        self.process = subprocess.Popen([CLIENT, *arguments], stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True)
        self.lines = []
        self._arrived = queue.Queue()
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    def _read(self):
        for line in self.process.stdout:
            self._arrived.put(line)
        self._arrived.put(None)

    def wait_for(self, text):
        """Takes lines up to one that contains the text; false when the client ends before."""
        end = time.monotonic() + LIMIT_S
        while time.monotonic() < end:
            line = self._arrived.get(timeout=LIMIT_S)
            if line is None:
                return False
            self.lines.append(line)
            if text in line:
                return True
        return False

    def interrupt(self):
        self.process.send_signal(signal.SIGINT)
        code = self.process.wait(timeout=LIMIT_S)
        self._reader.join()
        self.process.stdout.close()
        return code


class PluginPackage(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="velmar-plugin-")
        self.addCleanup(shutil.rmtree, self.folder)

    def test_plugin_of_the_page_builds_outside_the_tree_and_runs(self):
        with open(os.path.join(SOURCE_DIR, "docs/plugin-author.md"), encoding="utf-8") as page:
            files = listings(page.read())
        self.assertEqual(sorted(files), ["hello/CMakeLists.txt", "hello/hello.cpp", "hello/hello.json"])
        for path, text in files.items():
            full = os.path.join(self.folder, path)
            os.makedirs(os.path.dirname(full), exist_ok=True)
            with open(full, "w", encoding="utf-8") as file:
                file.write(text)
        build(os.path.join(self.folder, "hello"))

        client = RunningClient("--home", os.path.join(self.folder, "home"), "--stay", "--tick-rate", "20",
                               "--plugin", os.path.join(self.folder, "hello/build/libHello.so"))
        ticked = client.wait_for("600000.SH ")
        code = client.interrupt()
        lines = "".join(client.lines)
        self.assertTrue(ticked, lines)
        self.assertEqual(code, 0, lines)
        self.assertRegex(lines, r"hello, [1-9]\d* accounts may trade")
        self.assertIn("plug-in object initialised (Hello)", lines)

    def test_private_headers_of_the_host_are_out_of_reach(self):
        folder = os.path.join(self.folder, "nosy")
        os.makedirs(folder)
        with open(folder + "/CMakeLists.txt", "w", encoding="utf-8") as file:
            file.write("cmake_minimum_required(VERSION 3.25)\nproject(Nosy LANGUAGES CXX)\n"
                       "find_package(Velmar 2.0 REQUIRED)\nvelmar_add_plugin(Nosy nosy.cpp)\n")
        with open(folder + "/nosy.cpp", "w", encoding="utf-8") as file:
            file.write("#if __has_include(\"local_platform.h\") || __has_include(\"guarded.h\")\n"
                       "#error a private header\n#endif\n#include \"vocabulary/tick_fields.h\"\n")
        build(folder)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
