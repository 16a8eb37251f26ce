"""Tests of the include check: small trees, each with one line that must pass or must not."""

import os
import subprocess
import sys
import tempfile
import unittest

TOOL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../tools/check_includes.py")

# A tree in which every kind of folder has a header to include.
HEADERS = [
    "src/platform/znwidget/door.h",
    "src/base/guarded.h",
    "src/requests/server_request.h",
    "src/interface/records/record.h",
    "src/interface/exported.h",
    "src/accounts/account_state.h",
    "src/accounts/account_reader.h",
    "src/orders/order_table.h",
    "src/core/core.h",
    "src/presenter/presenter.h",
    "src/plugin/plugin_object.h",
    "host/platform/bodies/body.h",
    "host/platform/stores/store.h",
    "host/platform/messaging/broker.h",
    "host/platform/libraries/znwidget/library.h",
    "host/platform/lifecycle/local.h",
    "host/gateway/handlers/handler.h",
    "host/faults/plan.h",
    "host/market/rules/ladder.h",
    "host/ticks/feed.h",
    "host/neighbourdata/deals.h",
    "host/scenario/player.h",
    "host/shell/shell.h",
    "examples/neighbour/table.h",
]


def run_on(files):
    """Runs the tool over a tree of HEADERS and `files` (path to text)."""
    with tempfile.TemporaryDirectory() as root:
        for path in HEADERS:
            write(root, path, "#pragma once\n")
        for path, text in files.items():
            write(root, path, text)
        return subprocess.run([sys.executable, TOOL, root], capture_output=True, text=True,
                              check=False)


def write(root, path, text):
    full = os.path.join(root, path)
    os.makedirs(os.path.dirname(full), exist_ok=True)
    with open(full, "w", encoding="utf-8") as file:
        file.write(text)


class CheckIncludes(unittest.TestCase):
    def assert_allowed(self, path, *lines):
        done = run_on({path: "".join(f"#include {line}\n" for line in lines)})
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def assert_forbidden(self, path, line):
        done = run_on({path: "#pragma once\n\n#include " + line + "\n"})
        self.assertEqual(done.returncode, 1, f"{path} with {line}: {done.stdout}{done.stderr}")
        self.assertIn(f"{path}:3: ", done.stdout)

    def test_tree_without_includes_passes(self):
        self.assertEqual(run_on({}).returncode, 0)

    def test_missing_tree_has_an_exit_code_of_its_own(self):
        with tempfile.TemporaryDirectory() as root:
            done = subprocess.run([sys.executable, TOOL, root], capture_output=True, text=True,
                                  check=False)
        self.assertEqual(done.returncode, 2)

    def test_qt_and_standard_headers_pass_everywhere(self):
        for folder in ("platform", "base", "accounts", "core", "presenter", "plugin", "interface"):
            self.assert_allowed(f"src/{folder}/x.cpp", "<QString>", "<QtGlobal>", "<vector>",
                                "<QtSql/QSqlQuery>")

    def test_other_libraries_pass_only_outside_src(self):
        self.assert_forbidden("src/base/x.h", "<sqlite3.h>")
        self.assert_forbidden("src/presenter/x.cpp", "<sys/socket.h>")
        self.assert_allowed("host/shell/x.cpp", "<sys/ioctl.h>")

    def test_platform_and_base_include_nothing_else(self):
        self.assert_forbidden("src/platform/zncore/x.h", '"guarded.h"')
        self.assert_forbidden("src/base/x.h", '"znwidget/door.h"')
        self.assert_forbidden("src/base/x.h", '"account_state.h"')
        self.assert_allowed("src/platform/zncore/x.h", '"znwidget/door.h"')

    def test_requests_stand_above_platform_and_base_alone(self):
        self.assert_allowed("src/requests/x.cpp", '"guarded.h"', '"znwidget/door.h"')
        self.assert_forbidden("src/requests/x.cpp", '"record.h"')
        self.assert_forbidden("src/requests/x.cpp", '"account_state.h"')
        self.assert_forbidden("src/requests/x.cpp", '"account_reader.h"')
        for folder in ("accounts", "core", "presenter", "plugin", "interface"):
            self.assert_allowed(f"src/{folder}/x.cpp", '"server_request.h"')
        for folder in ("platform/znwidget", "base", "interface/records"):
            self.assert_forbidden(f"src/{folder}/x.h", '"server_request.h"')
        self.assert_forbidden("src/interface/x.h", '"server_request.h"')
        self.assert_forbidden("host/shell/x.cpp", '"server_request.h"')

    def test_records_include_platform_only(self):
        self.assert_allowed("src/interface/records/x.h", '"znwidget/door.h"')
        self.assert_forbidden("src/interface/records/x.h", '"guarded.h"')
        self.assert_forbidden("src/interface/records/x.h", '"exported.h"')

    def test_companion_reaches_another_only_by_its_reader(self):
        self.assert_allowed("src/orders/x.cpp", '"order_table.h"', '"account_reader.h"',
                            '"guarded.h"', '"record.h"', '"znwidget/door.h"')
        self.assert_forbidden("src/orders/x.cpp", '"account_state.h"')
        self.assert_forbidden("src/accounts/x.cpp", '"core.h"')
        self.assert_forbidden("src/accounts/x.cpp", '"exported.h"')

    def test_core_presenter_and_plugin_reach_downwards_only(self):
        self.assert_allowed("src/core/x.cpp", '"account_state.h"', '"order_table.h"')
        self.assert_forbidden("src/core/x.cpp", '"presenter.h"')
        self.assert_allowed("src/presenter/x.cpp", '"core.h"', '"account_state.h"')
        self.assert_forbidden("src/presenter/x.cpp", '"plugin_object.h"')
        self.assert_allowed("src/plugin/x.cpp", '"core.h"', '"presenter.h"')
        self.assert_forbidden("src/plugin/x.cpp", '"exported.h"')

    def test_exported_header_sees_less_than_its_source(self):
        self.assert_allowed("src/interface/x.cpp", '"exported.h"', '"plugin_object.h"', '"core.h"')
        self.assert_allowed("src/interface/x.h", '"record.h"', '"znwidget/door.h"')
        self.assert_forbidden("src/interface/x.h", '"core.h"')
        self.assert_forbidden("src/interface/x.h", '"guarded.h"')

    def test_host_sees_platform_and_public_headers_only(self):
        self.assert_allowed("host/shell/x.cpp", '"local.h"', '"znwidget/door.h"', '"exported.h"',
                            '"record.h"', '"table.h"')
        for header in ("guarded.h", "account_state.h", "core.h", "presenter.h", "plugin_object.h"):
            self.assert_forbidden("host/shell/x.cpp", f'"{header}"')

    def test_layer_of_the_host_sees_those_before_it_only(self):
        layers = [path for path in HEADERS if path.startswith("host/")]
        for at, path in enumerate(layers):
            source = os.path.dirname(path) + "/x.cpp"
            self.assert_allowed(source, *(f'"{os.path.basename(one)}"' for one in layers[:at]))
            later = [os.path.basename(one) for one in layers[at + 1:]]
            done = run_on({source: "".join(f'#include "{one}"\n' for one in later)})
            for line in range(1, len(later) + 1):
                self.assertIn(f"{source}:{line}: ", done.stdout)

    def test_file_of_the_host_outside_its_layers_reaches_no_layer(self):
        self.assert_forbidden("host/elsewhere/x.cpp", '"body.h"')
        self.assert_forbidden("host/platform/x.cpp", '"body.h"')

    def test_shell_alone_shares_the_table_of_an_example(self):
        self.assert_allowed("host/shell/commands/x.cpp", '"table.h"')
        self.assert_forbidden("host/scenario/x.cpp", '"table.h"')

    def test_example_sees_no_host(self):
        self.assert_allowed("examples/neighbour/x.cpp", '"table.h"', '"exported.h"',
                            '"znwidget/door.h"')
        self.assert_forbidden("examples/neighbour/x.cpp", '"local.h"')
        self.assert_forbidden("examples/neighbour/x.cpp", '"core.h"')

    def test_src_never_sees_host(self):
        self.assert_forbidden("src/presenter/x.cpp", '"local.h"')
        self.assert_forbidden("src/plugin/x.cpp", '"shell.h"')

    def test_path_tricks_do_not_help(self):
        self.assert_forbidden("src/base/x.h", '"../core/core.h"')
        self.assert_forbidden("host/shell/x.cpp", '"../../src/core/core.h"')
        self.assert_forbidden("host/shell/x.cpp", "<core.h>")
        self.assert_forbidden("host/shell/x.cpp", '  "core.h"  // why not')

    def test_commented_lines_do_not_count(self):
        done = run_on({"src/base/x.h": '/*\n#include "core.h"\n*/\n// #include "core.h"\n'})
        self.assertEqual(done.returncode, 0, done.stdout)

    def test_unknown_file_is_reported(self):
        self.assert_forbidden("src/core/x.cpp", '"nowhere.h"')

    def test_generated_files_pass(self):
        self.assert_allowed("src/core/x.cpp", '"x.moc"', '"moc_x.cpp"')


if __name__ == "__main__":
    unittest.main()
