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

echo "== so does pkg-config"
pkg_config_path=$(dirname "$(find "$prefix" -name datasrc.pc)")
read -ra options < <(PKG_CONFIG_PATH=$pkg_config_path pkg-config --cflags --libs datasrc)
library=$(PKG_CONFIG_PATH=$pkg_config_path pkg-config --variable=libdir datasrc)
# shellcheck disable=SC2086
"$compiler" -std=c++20 "$here/consumer/consumer.cpp" "${options[@]}" -o "$scratch/by_pkg_config"
LD_LIBRARY_PATH=$library "$scratch/by_pkg_config" "$source/examples/penguins.quav" | diff "$scratch/expected" -
