#!/usr/bin/env bash
# Installs a build and uses it from outside: run.sh SOURCE_FOLDER BUILD_FOLDER CXX
set -euo pipefail
source=$1 build=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/usr" >/dev/null
libdir=$(dirname "$(find "$work/usr" -name 'libPF.so' | head -n 1)")

echo "-- find_package(PF), shared and static"
cmake -S "$source/tests/consumer/project" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/usr" \
  -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$work/build" >/dev/null
"$work/build/consumer_shared"
"$work/build/consumer_static"

echo "-- pkg-config, shared and static"
export PKG_CONFIG_PATH="$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs PFhost)
# shellcheck disable=SC2086
"$cxx" -std=c++17 "$source/tests/consumer/project/main.cc" $flags -Wl,-rpath,"$libdir" -o "$work/by_pkg_config"
"$work/by_pkg_config"
rm "$libdir"/libPF*.so*
flags=$(pkg-config --static --cflags --libs PFhost)
# shellcheck disable=SC2086
"$cxx" -std=c++17 "$source/tests/consumer/project/main.cc" $flags -o "$work/by_pkg_config_static"
"$work/by_pkg_config_static"

if [ -x "$work/usr/bin/pf" ]; then
  echo "-- the installed tool"
  "$work/usr/bin/pf" --version
fi
