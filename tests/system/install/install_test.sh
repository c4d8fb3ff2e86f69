#!/usr/bin/env bash
# install_test.sh CMAKE BUILD_DIR WORK_DIR CC CXX FLAGS: installs the build into an empty prefix, moves the tree, and uses
# it as a stranger would.
set -euo pipefail
cmake=$1 build=$2 work=$3 cc=$4 cxx=$5
read -ra flags <<<"$6"
consumer=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/consumer
fail() { echo "failed: $*" >&2; exit 1; }

rm -rf "$work"
mkdir -p "$work"
"$cmake" --install "$build" --prefix "$work/first" >"$work/install.log"
mv "$work/first" "$work/moved" # nothing in the tree may know where it was put
prefix=$work/moved

library=$(find "$prefix" -name libHLX.so.1)
[ -n "$library" ] || fail "no libHLX.so.1"
libdir=$(dirname "$library")
readelf -d "$library" | grep -q 'SONAME.*\[libHLX.so.1\]' || fail "wrong SONAME"
[ "$(find "$prefix/include" -type f | sed "s|$prefix/||")" = include/HLX.h ] || fail "headers other than HLX.h"
for file in bin/hlx bin/hlx-simulator share/bash-completion/completions/hlx share/zsh/site-functions/_hlx \
            share/fish/vendor_completions.d/hlx.fish share/man/man1/hlx.1 share/man/man1/hlx-simulator.1; do
    [ -f "$prefix/$file" ] || fail "no $file"
done
find "$prefix/share/hlx/media" -name '*.h264' | grep -q . || fail "no clips"
"$prefix/bin/hlx" --version | grep -q '^libHLX 1\.2 ' || fail "the installed hlx does not run"

"$cmake" -S "$consumer" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_COMPILER="$cc" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_FLAGS="$6" -DCMAKE_CXX_FLAGS="$6" >"$work/cmake.log"
"$cmake" --build "$work/build" >>"$work/cmake.log" || { cat "$work/cmake.log"; exit 1; }
"$work/build/consumer_c" || fail "the C consumer by CMake"
"$work/build/consumer_cpp" || fail "the C++ consumer by CMake"

export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra package <<<"$(pkg-config --cflags --libs hlx)"
[ "$(pkg-config --modversion hlx)" = "$(sed -n 's/^Version: //p' "$libdir/pkgconfig/hlx.pc")" ]
"$cc" -std=c99 -Wall -Wextra -Wpedantic -Werror "${flags[@]}" "$consumer/consumer.c" "${package[@]}" -o "$work/by_pkg_config_c"
"$cxx" -std=c++11 -Wall -Wextra -Werror "${flags[@]}" "$consumer/consumer.cpp" "${package[@]}" -o "$work/by_pkg_config_cpp"
LD_LIBRARY_PATH=$libdir "$work/by_pkg_config_c" || fail "the C consumer by pkg-config"
LD_LIBRARY_PATH=$libdir "$work/by_pkg_config_cpp" || fail "the C++ consumer by pkg-config"
rm -rf "$work"
