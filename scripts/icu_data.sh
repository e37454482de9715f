#!/usr/bin/env bash
# Makes ICU's library of data with the part of them that the library uses: the converters of all encodings, and the root
# collation. It takes the place of the system's library, which is five times as large. Argument: the folder for it.
set -euo pipefail

out=${1:?a folder}
archive=$(find /usr/lib -name libicudata.a | head -n 1)
[ -n "$archive" ] || { echo "icu_data: no libicudata.a; the package libicu-dev has it" >&2; exit 1; }
mkdir -p "$out"
out=$(cd "$out" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cd "$work"
ar x "$archive"
object=$(echo *.o)          # icudt72l_dat.o
data=${object%_dat.o}.dat   # the package of data: its name has the version, and a letter for the byte order
version=${data//[!0-9]/}
objcopy -O binary --only-section=.rodata "$object" "$data"
icupkg -l "$data" |
  grep -Ev '\.cnv$|^cnvalias\.icu$|^coll/(root\.res|ucadata\.icu)$|^(root|pool|res_index)\.res$' >removed.lst
mkdir kept
icupkg -r removed.lst "$data" "kept/$data"
genccode --quiet -a gcc -e "icudt$version" -d kept "kept/$data"
gcc -shared -nostdlib -Wl,-soname,"libicudata.so.$version" -o "$out/libicudata.so.$version" kept/*.S
