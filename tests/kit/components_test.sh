#!/bin/sh
# The example components, built outside the tree with what is installed, and run by the real program:
#   components_test.sh BUILD_FOLDER SOURCE_FOLDER
set -eu
build=$1 source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TAGWRIGHT_ROOT="$work/state"

cmake --install "$build" --prefix "$work/installed" --component component >/dev/null
cmake -S "$source/examples/component" -B "$work/components" -DCMAKE_PREFIX_PATH="$work/installed" >/dev/null
cmake --build "$work/components" >/dev/null

# The program beside a component. card.xml connects, writes, sets a password and locks; a job without a
# printer in front is refused.
try() {
  folder=$work/$1
  mkdir "$folder"
  cp "$build/bin/tagwright" "$build/bin/tagwrightctl" "$build/bin/libtagwright_platform.so" "$folder"
  touch "$folder/ZXPSCReader.dll" "$folder/ZBRSXBridge.dll" "$folder/Zbscfgsrv.dll" "$folder/Sxuptp.dll"
  cp "$2" "$folder/Tagwright.Managed.dll"
  "$folder/tagwrightctl" run "$source/examples/card.xml"
  if "$folder/tagwrightctl" run "$work/refused.xml"; then exit 1; fi
}
echo '<zsdk_job><write segment="1" data="1234"/></zsdk_job>' >"$work/refused.xml"
try c "$work/components/c/Tagwright.Managed.dll"
try cpp "$work/components/cpp/Tagwright.Managed.dll"

# Other build systems, strict about what the header holds.
PKG_CONFIG_PATH=$work/installed/share/pkgconfig
export PKG_CONFIG_PATH
strict="-Wall -Wextra -Wpedantic -Werror -O2 -fPIC -shared -fvisibility=hidden"
cc -std=c11 $strict $(pkg-config --cflags tagwright-component) "$source/examples/component/component.c" \
  -o "$work/strict_c.dll"
c++ -std=c++17 $strict $(pkg-config --cflags tagwright-component) \
  "$source/examples/component/component.cpp" -o "$work/strict_cpp.dll"
for file in "$work"/strict_*.dll; do
  [ "$(nm --dynamic --defined-only "$file" | grep -c ' T ')" = 1 ] || { nm -D "$file"; exit 1; }
done
