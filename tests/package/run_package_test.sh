#!/usr/bin/env bash
# Package test: installs a built IOD tree into a temporary prefix, runs the installed iodtool and
# builds and runs tests/package/main.cpp against it through find_package(IOD) and pkg-config.
# Usage: run_package_test.sh <build-dir> <consumer-src> <work-dir> <cmake> <c++> <build-type>
# Environment (set by ctest): IOD_PKG_CXX_FLAGS, IOD_PKG_LINKER_FLAGS, IOD_PKG_SHARED,
# IOD_PKG_GENERATOR, IOD_PKG_MAKE_PROGRAM.
set -euo pipefail
build_dir=$1 src_dir=$2 work=$3 cmake=$4 cxx=$5 build_type=${6:-}
cxx_flags=${IOD_PKG_CXX_FLAGS:-} linker_flags=${IOD_PKG_LINKER_FLAGS:-}
# Nothing may be found through the environment instead of the run paths.
unset LD_LIBRARY_PATH CMAKE_PREFIX_PATH PKG_CONFIG_PATH

fail() {
    echo "package test: FAILED: $*" >&2
    exit 1
}
run_logged() { # run_logged <log> <command...>: quiet unless it fails
    local log=$1
    shift
    "$@" >"$log" 2>&1 || { cat "$log" >&2; fail "$* (log: $log)"; }
}
run_consumer() { # run_consumer <executable>
    local out
    out=$("$1") || fail "$1 exited non-zero: $out"
    echo "$out"
    [[ "$out" == "consumer OK"* ]] || fail "$1 did not report OK"
}

rm -rf "$work"
mkdir -p "$work"
prefix="$work/prefix"
run_logged "$work/install.log" "$cmake" --install "$build_dir" --prefix "$prefix"
pc=$(find "$prefix" -name iod.pc -print -quit)
[[ -n "$pc" && -f "$prefix/include/IOD/IOD_Error.h" ]] || fail "iod.pc or the headers not installed"
"$prefix/bin/iodtool" --version || fail "installed iodtool does not run"

generator_args=(-G "${IOD_PKG_GENERATOR:-Ninja}")
[[ -n "${IOD_PKG_MAKE_PROGRAM:-}" ]] && generator_args+=("-DCMAKE_MAKE_PROGRAM=$IOD_PKG_MAKE_PROGRAM")
run_logged "$work/configure.log" "$cmake" -S "$src_dir" -B "$work/build" "${generator_args[@]}" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE="$build_type" -DCMAKE_CXX_FLAGS="$cxx_flags" \
    -DCMAKE_EXE_LINKER_FLAGS="$linker_flags" -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DIOD_EXPECTED_PREFIX="$prefix"
run_logged "$work/build.log" "$cmake" --build "$work/build"
run_consumer "$work/build/iod_consumer"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$pc")
pkg_args=(--cflags --libs)
[[ "${IOD_PKG_SHARED:-ON}" =~ ^(ON|on|1|TRUE|true|YES|yes)$ ]] || pkg_args+=(--static)
pc_flags=$(pkg-config "${pkg_args[@]}" iod) || fail "pkg-config iod failed"
# shellcheck disable=SC2086 # word splitting of the flag lists is intended
run_logged "$work/pkgconfig-build.log" "$cxx" -std=c++20 $cxx_flags "$src_dir/main.cpp" \
    -o "$work/iod_consumer_pc" $pc_flags $linker_flags "-Wl,-rpath,$(pkg-config --variable=libdir iod)"
run_consumer "$work/iod_consumer_pc"
echo "package test: OK (find_package and pkg-config consumers)"
