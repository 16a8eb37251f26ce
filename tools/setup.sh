#!/usr/bin/env bash
# Installs the Debian packages that are missing; quick and silent when all are there.
#
# usage: tools/setup.sh [run|test|lint|fuzz|bench]...     (default: run)
# Exit codes: 0 everything is there, 1 something could not be installed, 2 unknown argument.
set -euo pipefail

packages=()
for purpose in "${@:-run}"; do
    case "$purpose" in
        run) packages+=(g++ cmake ninja-build ccache qtbase5-dev libqt5sql5-sqlite libunwind-dev) ;;
        test) packages+=(git python3 librapidcheck-dev) ;;
        bench) packages+=(libquickfix-dev libsqlite3-dev) ;;
        fuzz) packages+=(git clang-14 libclang-rt-14-dev) ;;
        lint) packages+=(git python3 clang-format-14 clang-tidy-14) ;;
        *)
            echo "setup: unknown argument '$purpose' (run, test, lint, fuzz, bench)" >&2
            exit 2
            ;;
    esac
done

missing=()
for package in "${packages[@]}"; do
    state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ $state == installed || " ${missing[*]-} " == *" $package "* ]] || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

echo "setup: installing ${missing[*]}"
as_root=()
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "setup: not root and no sudo; install these first: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
install_missing() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}
# The package lists of a fresh machine are empty or old.
if ! install_missing; then
    echo "setup: fetching the package lists first"
    "${as_root[@]}" apt-get update
    install_missing || {
        echo "setup: could not install ${missing[*]}" >&2
        exit 1
    }
fi
