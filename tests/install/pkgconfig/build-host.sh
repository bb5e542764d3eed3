#!/bin/sh
# Builds a host the way a build without CMake does: one compiler command line, with everything
# about the kit (include folder, libraries, what they link, link flags) from pkg-config.
#   build-host.sh <package> <source> <output> [compiler flags...]
# CXX names the compiler (c++ when unset), PKG_CONFIG the pkg-config program, and
# PKG_CONFIG_PATH the folder of the installed kit's .pc files.
set -eu
package=$1
source=$2
output=$3
shift 3
# Apart from the command line, so that a package pkg-config cannot resolve stops the build here.
kit_flags=$(${PKG_CONFIG:-pkg-config} --cflags --libs "$package")
set -x
# shellcheck disable=SC2086 # the flags are words, as in a Makefile
${CXX:-c++} -std=c++20 "$@" "$source" -o "$output" $kit_flags
