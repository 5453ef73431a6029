#!/usr/bin/env bash
# Installs the build into a scratch prefix, then builds the consumer against
# it twice, through pkg-config and through find_package, and runs both.
# Usage: run.sh BUILD_DIR CONSUMER_DIR CXX TOOLCHAIN_FILE|- [EMULATOR...]
set -euo pipefail
build=$1
consumer=$2
cxx=$3
toolchain=$4
shift 4
emulator=("$@")
work=$build/consumer-test
rm -rf "$work"
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null

# As the README tells a user: the run path is the library directory the .pc names.
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(find "$prefix" -name pkgconfig -type d | head -n 1)
flags=$(pkg-config --cflags --libs vorn-sim)
rpath=$(pkg-config --variable=libdir vornlcapi)
# shellcheck disable=SC2086
"$cxx" -std=c++11 "$consumer/main.cc" -o "$work/consumer-pkg-config" $flags -Wl,-rpath,"$rpath"
"${emulator[@]}" "$work/consumer-pkg-config"

toolchain_arg=()
[[ $toolchain != - ]] && toolchain_arg=(-DCMAKE_TOOLCHAIN_FILE="$toolchain")
package=$(dirname "$(find "$prefix" -name VornLcApiConfig.cmake | head -n 1)")
cmake -S "$consumer" -B "$work/cmake" -DVornLcApi_DIR="$package" -DCMAKE_CXX_COMPILER="$cxx" \
  "${toolchain_arg[@]}" >/dev/null
cmake --build "$work/cmake" >/dev/null
"${emulator[@]}" "$work/cmake/consumer"
