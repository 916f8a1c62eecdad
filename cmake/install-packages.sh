#!/bin/bash
# Installs what a task of ./dev needs and the machine lacks (Debian packages).
#   install-packages.sh SET...     run, windows, test, bench, docs
# Asks dpkg first: a machine that has everything is left alone and needs no rights.
set -euo pipefail

declare -A sets=(
    [run]="g++ cmake ninja-build pkg-config libsqlite3-dev zlib1g-dev libmspack-dev libssl-dev nlohmann-json3-dev
        libcli11-dev"
    [windows]="g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64 cmake ninja-build nlohmann-json3-dev
        libcli11-dev util-linux"
    [test]="python3 ccache googletest clang-14 clang-tidy-14 clang-format-14 libclang-rt-14-dev llvm-14 openssl cabextract
        gcab gdb git"
    [bench]="libbenchmark-dev libdeflate-dev libisal-dev qtbase5-dev libicu-dev libfmt-dev libabsl-dev libprotobuf-dev
        protobuf-compiler libboost-dev libmsgpack-cxx-dev libspdlog-dev libinih-dev"
    [docs]="doxygen help2man"
    [coverage]="gcovr"
    [abi]="abigail-tools"
)

missing=()
for set in "$@"; do
    if [ -z "${sets[$set]:-}" ]; then
        echo "install-packages.sh: no package set '$set' (there are: ${!sets[*]})" >&2
        exit 2
    fi
    for package in ${sets[$set]}; do
        status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
        [ "$status" = installed ] || missing+=("$package")
    done
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" != 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "install-packages.sh: these packages are missing, and there is no sudo to install them: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "installing: ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update -q &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"; } \
    </dev/null >"$log" 2>&1; then
    tail -n 30 "$log" >&2
    echo "install-packages.sh: the packages above could not be installed" >&2
    exit 1
fi
