#!/usr/bin/env bash
# Package test: install a built IOD tree into a temporary prefix and use it
# from outside, as a user project would:
#   1. cmake --install <build> --prefix <work>/prefix
#   2. the installed iodtool runs (install RPATH)
#   3. tests/package configured with find_package(IOD), built and run
#   4. tests/package/main.cpp compiled with pkg-config --cflags --libs iod, run
# Usage: run_package_test.sh <build-dir> <consumer-src> <work-dir> <cmake> <c++> <build-type>
# Environment (set by ctest): IOD_PKG_CXX_FLAGS, IOD_PKG_LINKER_FLAGS,
# IOD_PKG_SHARED, IOD_PKG_GENERATOR, IOD_PKG_MAKE_PROGRAM.
set -euo pipefail

build_dir=$1
src_dir=$2
work=$3
cmake=$4
cxx=$5
build_type=${6:-}

cxx_flags=${IOD_PKG_CXX_FLAGS:-}
linker_flags=${IOD_PKG_LINKER_FLAGS:-}
generator=${IOD_PKG_GENERATOR:-Ninja}
make_program=${IOD_PKG_MAKE_PROGRAM:-}
shared=${IOD_PKG_SHARED:-ON}

# Nothing may be found through the environment instead of the run paths.
unset LD_LIBRARY_PATH CMAKE_PREFIX_PATH PKG_CONFIG_PATH

fail() {
    echo "package test: FAILED: $*" >&2
    exit 1
}

run_logged() { # run_logged <log> <command...>: quiet unless it fails
    local log=$1
    shift
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        fail "$* (log: $log)"
    fi
}

rm -rf "$work"
mkdir -p "$work"
prefix="$work/prefix"

echo "== install $build_dir into $prefix"
run_logged "$work/install.log" "$cmake" --install "$build_dir" --prefix "$prefix"
[[ -f "$prefix/include/IOD/IOD_Error.h" ]] || fail "include/IOD/IOD_Error.h not installed"
config=$(find "$prefix" -name IODConfig.cmake -print -quit)
[[ -n "$config" ]] || fail "IODConfig.cmake not installed"
pc=$(find "$prefix" -name iod.pc -print -quit)
[[ -n "$pc" ]] || fail "iod.pc not installed"

echo "== installed iodtool"
[[ -x "$prefix/bin/iodtool" ]] || fail "bin/iodtool not installed"
version_line=$("$prefix/bin/iodtool" --version) || fail "installed iodtool does not run"
echo "$version_line"

echo "== find_package(IOD) consumer"
generator_args=(-G "$generator")
[[ -n "$make_program" ]] && generator_args+=("-DCMAKE_MAKE_PROGRAM=$make_program")
run_logged "$work/configure.log" "$cmake" -S "$src_dir" -B "$work/build" "${generator_args[@]}" \
    -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_BUILD_TYPE="$build_type" \
    -DCMAKE_CXX_FLAGS="$cxx_flags" \
    -DCMAKE_EXE_LINKER_FLAGS="$linker_flags" \
    -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF \
    -DIOD_EXPECTED_PREFIX="$prefix"
run_logged "$work/build.log" "$cmake" --build "$work/build"
out=$("$work/build/iod_consumer") || fail "iod_consumer exited non-zero: $out"
echo "$out"
[[ "$out" == "consumer OK"* ]] || fail "iod_consumer did not report OK"

echo "== pkg-config consumer"
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$pc")
pkg_args=(--cflags --libs)
[[ "$shared" =~ ^(ON|on|1|TRUE|true|YES|yes)$ ]] || pkg_args+=(--static)
pc_flags=$(pkg-config "${pkg_args[@]}" iod) || fail "pkg-config iod failed"
libdir=$(pkg-config --variable=libdir iod)
echo "pkg-config: $pc_flags"
# shellcheck disable=SC2086 # word splitting of the flag lists is intended
run_logged "$work/pkgconfig-build.log" "$cxx" -std=c++20 $cxx_flags "$src_dir/main.cpp" \
    -o "$work/iod_consumer_pc" $pc_flags $linker_flags "-Wl,-rpath,$libdir"
out=$("$work/iod_consumer_pc") || fail "pkg-config consumer exited non-zero: $out"
echo "$out"
[[ "$out" == "consumer OK"* ]] || fail "pkg-config consumer did not report OK"

echo "package test: OK (find_package and pkg-config consumers)"
