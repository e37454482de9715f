#!/usr/bin/env bash
# Installs a build, moves it, and uses it as another project would: each header alone, a CMake project, a pkg-config
# call, the tool.
#
#   check_install.sh SOURCE_DIR BUILD_DIR COMPILER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
source=$1 build=$2 compiler=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/moved/here

fail() { echo "check_install: $*" >&2; exit 1; }

echo "== install, then move"
cmake --install "$build" --prefix "$scratch/installed" >"$scratch/install.log"
mkdir "$scratch/moved" && mv "$scratch/installed" "$prefix"

echo "== each header compiles alone"
mapfile -t headers < <(cd "$prefix/include/libdatasrc" && find . -name '*.h' -printf '%P\n' | sort)
[ ${#headers[@]} -gt 0 ] || fail "no header was installed"
for header in "${headers[@]}"; do
  echo "#include <$header>" |
    "$compiler" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I"$prefix/include/libdatasrc" -x c++ -
done
diff <(cd "$source" && find {Datasource,Columns}/include/datasrc -name "*.h" -printf "datasrc/%f\n" | sort) \
  <(printf '%s\n' "${headers[@]}" | grep ^datasrc/) || fail "the installed headers are not the public headers"

echo "== the tool runs and lists the variables"
"$prefix/bin/datasrc" info --json "$source/examples/penguins.quav" |
  python3 -c 'import json, sys; [print(variable["name"]) for variable in json.load(sys.stdin)["variables"]]' \
    >"$scratch/expected"
[ "$(wc -l <"$scratch/expected")" -eq 7 ] || fail "penguins.quav has 7 variables"

echo "== a CMake project finds the package"
cmake -G Ninja -S "$here/consumer" -B "$scratch/consumer" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" >"$scratch/consumer.log"
cmake --build "$scratch/consumer" >>"$scratch/consumer.log"
"$scratch/consumer/consumer" "$source/examples/penguins.quav" | diff "$scratch/expected" -

echo "== its version file accepts the versions that have the same SONAME"
cat >"$scratch/version.cmake" <<'END'
set(PACKAGE_FIND_VERSION ${wanted})
string(REPLACE . ";" parts ${wanted})
list(GET parts 0 PACKAGE_FIND_VERSION_MAJOR)
list(GET parts 1 PACKAGE_FIND_VERSION_MINOR)
list(GET parts 2 PACKAGE_FIND_VERSION_PATCH)
set(PACKAGE_FIND_VERSION_COUNT 3)
include(${file})
message(NOTICE "${PACKAGE_VERSION} ${PACKAGE_VERSION_COMPATIBLE}")
END
version_file=$(find "$prefix" -name datasrc-config-version.cmake)
accepts() {
  [ "$(cmake -Dwanted="$1" -Dfile="$version_file" -P "$scratch/version.cmake" 2>&1)" = "$version TRUE" ]
}
version=$(PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name datasrc.pc)") pkg-config --modversion datasrc)
soname=$(readelf -dW "$(find "$prefix" -name 'libdatasrc.so')" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
IFS=. read -r major minor _ <<<"$version"
accepts "$version" || fail "the version file refuses its own version"
for other in "$major.$((minor + 1)).0" "$((major + 1)).0.0"; do
  ! accepts "$other" || fail "the version file of $version accepts $other"
done
older=$major.$((minor > 0 ? minor - 1 : 0)).0
if [ "$older" = "$version" ] || [ "$minor" -eq 0 ]; then
  echo "no older minor version"
elif [ "$soname" = "libdatasrc.so.$major" ]; then
  accepts "$older" || fail "the version file refuses $older, which has the same SONAME"
else
  [ "$soname" = "libdatasrc.so.$major.$minor" ] || fail "the SONAME $soname has not the version $version"
  ! accepts "$older" || fail "the version file accepts $older, which has another SONAME"
fi

echo "== pkg-config finds the library"
pkg_config_path=$(dirname "$(find "$prefix" -name datasrc.pc)")
read -ra options < <(PKG_CONFIG_PATH=$pkg_config_path pkg-config --cflags --libs datasrc)
library=$(PKG_CONFIG_PATH=$pkg_config_path pkg-config --variable=libdir datasrc)
# shellcheck disable=SC2086
"$compiler" -std=c++20 "$here/consumer/consumer.cpp" "${options[@]}" -o "$scratch/by_pkg_config"
LD_LIBRARY_PATH=$library "$scratch/by_pkg_config" "$source/examples/penguins.quav" | diff "$scratch/expected" -

echo "== below C++20 the first error says what to do"
# Arguments: a standard and a source file, which must not compile.
expect_message() {
  # shellcheck disable=SC2086
  ! "$compiler" "-std=$1" -Wfatal-errors -fsyntax-only -x c++ "$2" "${options[@]}" 2>"$scratch/message" ||
    fail "$2 compiles with $1"
  grep -q 'error: .*libdatasrc needs C++20: compile with -std=c++20' "$scratch/message" ||
    fail "$2 gets no clear message with $1: $(cat "$scratch/message")"
}
for standard in c++17 c++14 c++11; do expect_message $standard "$here/consumer/consumer.cpp"; done
for header in "$(dirname "$(find "$prefix" -name datasrc.h)")"/*.h; do
  case $header in */ArrowAbi.h | */c_api.h) continue ;; esac  # of C
  expect_message c++17 "$header"
done

[ -n "$(find "$prefix" -name libdatasrc.a)" ] || exit 0

echo "== the static library works, by CMake and by pkg-config"
# The long names of variables come from an extension record, whose handler nothing refers to.
cmake -G Ninja -S "$here/consumer" -B "$scratch/static" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DLINK=static >"$scratch/static.log"
cmake --build "$scratch/static" >>"$scratch/static.log"
read -ra private < <(PKG_CONFIG_PATH=$pkg_config_path pkg-config --static --libs datasrc)
"$compiler" -std=c++20 "$here/consumer/consumer.cpp" $(PKG_CONFIG_PATH=$pkg_config_path pkg-config --cflags datasrc) \
  "${private[@]/%-ldatasrc/-l:libdatasrc.a}" -o "$scratch/static/by_pkg_config"
for program in "$scratch/static/consumer" "$scratch/static/by_pkg_config"; do
  [[ $(readelf -dW "$program") != *libdatasrc.so* ]] || fail "$program needs the shared library"
  "$program" "$source/examples/penguins.quav" | diff "$scratch/expected" -
done
