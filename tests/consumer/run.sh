#!/usr/bin/env bash
# Installs a build into a folder of its own, then builds the example host against it by CMake and by
# pkg-config, and runs both on a package that the installed tool makes.
#
#     run.sh BUILD_FOLDER SOURCE_FOLDER
set -euo pipefail
build=$1
source=$2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null

cmake -S "$source/tests/consumer" -B "$work/by-cmake" -G Ninja \
    -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/by-cmake" >/dev/null

pc_folder=$(dirname "$(find "$work/prefix" -name morvantic.pc)")
export PKG_CONFIG_PATH=$pc_folder
library_folder=$(pkg-config --variable=libdir morvantic)
# shellcheck disable=SC2046
g++ -std=c++17 "$source/examples/host/minimal.cpp" -o "$work/by-pkg-config" \
    $(pkg-config --cflags --libs morvantic)

export LD_LIBRARY_PATH=$library_folder
tool=$work/prefix/bin/morvantic
"$tool" keygen "$work/private.pem" "$work/public.pem" >/dev/null
"$tool" pack "$source/examples/apps" "$work/apps.pkg" --key "$work/private.pem"

cd "$work"
scripts=$(find "$source/examples/apps" -name '*.sc' | wc -l)
for host in by-cmake/consumer ./by-pkg-config; do
    listed=$("$host" apps.pkg public.pem | grep -c '^[^ ].*\.sc$')
    [[ $listed -eq $scripts ]] || { echo "$host lists $listed of $scripts scripts" >&2; exit 1; }
    "$host" apps.pkg public.pem Default.py | cmp - "$source/examples/apps/Default.py"
done
