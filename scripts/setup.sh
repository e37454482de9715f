#!/usr/bin/env bash
# Prepares a bare Debian 12 for all builds: installs the packages that are missing, as root or with sudo. If none is
# missing it does nothing, prints nothing and needs no network.
set -euo pipefail

packages=(
  g++ cmake ninja-build ccache pkg-config python3 git                      # the build and its checks
  libicu-dev libssl-dev zlib1g-dev libdeflate-dev libisal-dev              # the library
  libflatbuffers-dev flatbuffers-compiler                                  # the library: Arrow files
  nlohmann-json3-dev libcli11-dev                                          # the tool
  libgtest-dev libgmock-dev libbenchmark-dev abigail-tools xz-utils        # tests and benchmarks
  clang-19 libclang-rt-19-dev                                              # sanitizers, fuzzing and coverage
  clang-format clang-tidy-19                                               # scripts/format.sh, scripts/lint.sh
  python3-venv python3-dev                                                 # scripts/setup_python.sh, the Python package
)

is_installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
  echo "setup: these packages are missing, and to install them takes root or sudo: ${missing[*]}" >&2
  exit 1
fi

echo "setup: installing ${missing[*]}"
as_root apt-get -qq update
as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install --yes --no-install-recommends "${missing[@]}"
