#!/usr/bin/env bash
# Installs what IOD needs on Debian 12, through apt-get, and only what is
# missing (apt-get update runs once, and only when something is missing).
#   bash scripts/install-deps.sh          build dependencies
#   bash scripts/install-deps.sh --test   build + test/benchmark dependencies
set -euo pipefail

build_packages=(cmake ninja-build g++ lld pkg-config zlib1g-dev libssl-dev nlohmann-json3-dev libgtest-dev libbenchmark-dev clang-format)
test_packages=(dcmtk libdcmtk-dev libgdcm-dev python3-pydicom dicom3tools hyperfine clang libclang-rt-14-dev valgrind)

packages=("${build_packages[@]}")
case "${1:-}" in
    "") ;;
    --test) packages+=("${test_packages[@]}") ;;
    *)
        echo "usage: $0 [--test]" >&2
        exit 2
        ;;
esac

installed() {
    dpkg -s "$1" 2>/dev/null | grep -q '^Status: install ok installed'
}

missing=()
for package in "${packages[@]}"; do
    installed "$package" || missing+=("$package")
done
if [[ ${#missing[@]} -eq 0 ]]; then
    echo "install-deps: all ${#packages[@]} packages present"
    exit 0
fi

if ! command -v apt-get >/dev/null 2>&1; then
    echo "install-deps: missing packages (${missing[*]}) and no apt-get: install them by hand" >&2
    exit 1
fi
sudo=()
if [[ $(id -u) -ne 0 ]]; then
    if command -v sudo >/dev/null 2>&1; then
        sudo=(sudo)
    else
        echo "install-deps: missing packages (${missing[*]}): run as root" >&2
        exit 1
    fi
fi

export DEBIAN_FRONTEND=noninteractive
log=$(mktemp /tmp/install-deps.XXXXXX.log)
echo "install-deps: installing ${missing[*]}"
if ! "${sudo[@]}" apt-get update -q >"$log" 2>&1; then
    cat "$log" >&2
    echo "install-deps: apt-get update failed (log: $log)" >&2
    exit 1
fi
if ! "${sudo[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}" >>"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "install-deps: apt-get install failed for: ${missing[*]} (log: $log)" >&2
    exit 1
fi
rm -f "$log"
echo "install-deps: done"
