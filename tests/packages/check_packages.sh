#!/usr/bin/env bash
# Makes the Debian packages of a build, unpacks them, and uses what they hold.
#
#   check_packages.sh SOURCE_DIR BUILD_DIR COMPILER
set -euo pipefail
source=$1 build=$2 compiler=$3
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
root=$scratch/root

fail() { echo "check_packages: $*" >&2; exit 1; }

if ! command -v dpkg-deb >/dev/null || ! command -v dpkg-shlibdeps >/dev/null; then
  echo "skipped: dpkg-deb and dpkg-shlibdeps are not there"
  exit 77
fi

echo "== three packages"
(cd "$scratch" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/cpack") >"$scratch/cpack.log" ||
  { cat "$scratch/cpack.log" >&2; exit 1; }
packages=("$scratch"/cpack/*.deb)
soname=$(readelf -dW "$build/lib/libdatasrc.so" | sed -n 's/.*SONAME.*\[libdatasrc\.so\.\(.*\)\]/\1/p')
library=libdatasrc$soname
names=$(for package in "${packages[@]}"; do dpkg-deb -f "$package" Package; done | sort | tr '\n' ' ')
[ "$names" = "datasrc libdatasrc-dev $library " ] || fail "the packages are $names"
version=$(dpkg-deb -f "${packages[0]}" Version)
architecture=$(dpkg --print-architecture)
field() { dpkg-deb -f "$scratch/cpack/$1_${version}_$architecture.deb" "$2"; }
for package in $names; do
  [ -n "$(field "$package" Maintainer)" ] || fail "$package has no maintainer"
  dpkg-deb -x "$scratch/cpack/${package}_${version}_$architecture.deb" "$root"
  for file in copyright changelog.gz changelog.Debian.gz; do
    [ -s "$root/usr/share/doc/$package/$file" ] || fail "$package has no $file"
  done
done
[[ $(field "$library" Depends) == *libc6* && $(field "$library" Depends) == *libicu* ]] || fail "$library needs libraries"
[[ $(field datasrc Depends) == *"$library (= $version)"* ]] || fail "the tool needs its library"
[[ $(field libdatasrc-dev Depends) == *"$library (= $version)"* ]] || fail "the files for developers need the library"

control=$(dpkg-deb -I "$scratch/cpack/${library}_${version}_$architecture.deb" triggers shlibs)
[[ $control == *"activate-noawait ldconfig"* && $control == *"libdatasrc $soname $library"* ]] ||
  fail "$library has no triggers or no shlibs"

echo "== no file is in two packages, and none names the folder of the build"
[ -z "$(for package in "${packages[@]}"; do dpkg-deb -c "$package" | awk '$1 !~ /^d/ {print $6}'; done | sort | uniq -d)" ] ||
  fail "packages share files"
! grep -rl -- "$build" "$root" || fail "these files name the folder of the build"

echo "== the manual is packed, and shells find the completions"
for page in "$build"/share/man/man1/*.1; do
  gzip -t "$root/usr/share/man/man1/$(basename "$page").gz"
done
for file in bash-completion/completions/datasrc zsh/vendor-completions/_datasrc fish/vendor_completions.d/datasrc.fish; do
  [ -s "$root/usr/share/$file" ] || fail "there is no $file"
done

echo "== the tool runs with the library of its package"
libraries=$(dirname "$(find "$root" -name "libdatasrc.so.$soname")")
export LD_LIBRARY_PATH=$libraries
[[ ! $(readelf -dW "$root/usr/bin/datasrc") =~ R(UN)?PATH ]] || fail "the tool has a search path of its own"
finds_library() { [[ $(ldd "$1") == *"libdatasrc.so.$soname => $libraries/"* ]]; }
finds_library "$root/usr/bin/datasrc" || fail "the tool does not find the library"
"$root/usr/bin/datasrc" info "$source/examples/penguins.quav" >"$scratch/info"
grep -q '^Cases  *344$' "$scratch/info" || fail "info does not show the cases"

echo "== the program of the README works with the files for developers"
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$source/README.md" >"$scratch/readme.cpp"
grep -q '#include <datasrc/datasrc.h>' "$scratch/readme.cpp" || fail "README.md has no program"
read -ra options < <(PKG_CONFIG_PATH=$libraries/pkgconfig pkg-config --cflags --libs datasrc)
"$compiler" -std=c++20 "$scratch/readme.cpp" "${options[@]}" -o "$scratch/readme"
finds_library "$scratch/readme" || fail "the program does not find the library"
(cd "$source" && "$scratch/readme") >"$scratch/masses"
# System-missing is a very small number; the others are grams.
awk '$1 > 0 {count++; sum += $1} END {exit !(count == 342 && sum == 1437000)}' "$scratch/masses" ||
  fail "the program does not print the body masses"

echo "== lintian"
if command -v lintian >/dev/null; then
  # CPack adds scripts that run ldconfig, although the trigger does it, too. In a build for another prefix than /usr, the
  # library is in usr/lib, not in the folder of the architecture.
  lintian --allow-root --fail-on error,warning --tag-display-limit 0 \
    --suppress-tags initial-upload-closes-no-bugs,maintscript-calls-ldconfig,pkg-config-unavailable-for-cross-compilation \
    "${packages[@]}"
else
  echo "lintian is not there: not checked"
fi
