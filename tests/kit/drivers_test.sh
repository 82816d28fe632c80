#!/bin/sh
# The example drivers, built outside the tree with what is installed, and run against the real program:
#   drivers_test.sh BUILD_FOLDER SOURCE_FOLDER
set -eu
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# A root whose socket paths are longer than a socket's address.
TAGWRIGHT_ROOT=$work/$(printf 'long%.0s' $(seq 30))
TAGWRIGHT_PROGRAM=$build/bin/tagwright
export TAGWRIGHT_ROOT TAGWRIGHT_PROGRAM

cmake --install "$build" --prefix "$work/installed" --component client >/dev/null
cmake -S "$source/examples/driver" -B "$work/drivers" -DCMAKE_PREFIX_PATH="$work/installed" >/dev/null
cmake --build "$work/drivers" >/dev/null
"$work/drivers/driver_c"
"$work/drivers/driver_cpp"
python3 "$source/examples/driver/driver.py" "$TAGWRIGHT_PROGRAM"

# Another build system, strict about what the headers hold.
PKG_CONFIG_PATH=$(dirname "$(find "$work/installed" -name tagwright-client.pc)")
export PKG_CONFIG_PATH
cc -std=c11 -Wall -Wextra -Wpedantic -Werror $(pkg-config --cflags tagwright-client) \
  "$source/examples/driver/driver.c" $(pkg-config --libs tagwright-client) -o "$work/driver"
"$work/driver"

# What stands in the way is named.
if TAGWRIGHT_PROGRAM=$work/nothing "$work/driver" 2>"$work/error"; then exit 1; fi
grep -q 'starting tagwright: the program tagwright is not found' "$work/error"
