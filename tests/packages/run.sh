#!/usr/bin/env bash
# Packs a build, unpacks the packages into one folder and uses them from there: builds the example
# hosts by CMake and by pkg-config, and runs them on a package that the unpacked tool makes.
#
#     run.sh BUILD_FOLDER SOURCE_FOLDER
set -euo pipefail
build=$1
source=$2
fail() { echo "$*" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/cpack.log" 2>&1 ||
    fail "$(<"$work/cpack.log")"

root=$work/root
for name in libmorvantic1 libmorvantic-dev morvantic; do
    package=$(find "$work/packages" -maxdepth 1 -name "${name}_*.deb")
    dpkg-deb -x "$package" "$root"
    dpkg-deb --fsys-tarfile "$package" | tar t | grep -v '/$' >>"$work/packed"
done

# Each file is in one package alone, and all that is installed is in one.
twice=$(sort "$work/packed" | uniq -d)
[[ -z $twice ]] || fail "In two packages: $twice"
cmake --install "$build" --prefix "$work/installed/usr" >/dev/null
missing=$(cd "$work/installed" && find . ! -type d | sort |
    comm -23 - <(sed 's/\.gz$//' "$work/packed" | sort))
[[ -z $missing ]] || fail "In no package: $missing"

# The engine and the tool are of one build, whatever else is installed.
for name in libmorvantic-dev morvantic; do
    package=$(find "$work/packages" -maxdepth 1 -name "${name}_*.deb")
    version=$(dpkg-deb -f "$package" Version)
    [[ $(dpkg-deb -f "$package" Depends) == "libmorvantic1 (= $version)"* ]] ||
        fail "$name does not depend on its library"
done

hosts=$root/usr/share/doc/morvantic/examples/host
warnings="-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror"
cmake -S "$hosts" -B "$work/by-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" \
    -DCMAKE_CXX_STANDARD=17 -DCMAKE_CXX_EXTENSIONS=OFF -DCMAKE_CXX_FLAGS="$warnings" >/dev/null
cmake --build "$work/by-cmake" -- --quiet

pkg_config() {
    PKG_CONFIG_SYSROOT_DIR=$root pkg-config "$@"
}
PKG_CONFIG_PATH=$(dirname "$(find "$root" -name morvantic.pc)")
export PKG_CONFIG_PATH
mkdir "$work/by-pkg-config"
# shellcheck disable=SC2046,SC2086
g++ -std=c++17 $warnings "$hosts/minimal.cpp" -o "$work/by-pkg-config/minimal_host" \
    $(pkg_config --cflags --libs morvantic)

LD_LIBRARY_PATH=$(dirname "$(find "$root" -name libmorvantic.so.1)")
export LD_LIBRARY_PATH
tool=$root/usr/bin/morvantic
apps=$root/usr/share/doc/morvantic/examples/apps
"$tool" keygen "$work/private.pem" "$work/public.pem" >/dev/null
"$tool" pack "$apps" "$work/apps.pkg" --key "$work/private.pem" >/dev/null

python3 "$hosts/make_stores.py" "$work/stores"

cd "$work"
scripts=$(find "$source/examples/apps" -name '*.sc' | wc -l)
for host in by-cmake/minimal_host by-pkg-config/minimal_host; do
    listed=$("$host" apps.pkg public.pem | grep -c '^[^ ].*\.sc$')
    [[ $listed -eq $scripts ]] || fail "$host lists $listed of $scripts scripts"
    "$host" apps.pkg public.pem Default.py | cmp - "$source/examples/apps/Default.py"
done
app=ch.tagebuechli.diary
by-cmake/inspector apps.pkg public.pem $app iOS stores/$app |
    cmp - "$source/tests/inspector/expected/$app.xml"
