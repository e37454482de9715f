#!/usr/bin/env bash
# Prepares a bare Debian 12 for all builds: installs the packages that are missing, as root or with sudo, and the Python
# packages of the tests into build/python. If none is missing it does nothing, prints nothing and needs no network.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(
  g++ cmake ninja-build ccache pkg-config python3 git                      # the build and its checks
  libicu-dev libssl-dev zlib1g-dev libdeflate-dev libisal-dev              # the library
  nlohmann-json3-dev libcli11-dev                                          # the tool
  libgtest-dev libgmock-dev libbenchmark-dev                               # tests and benchmarks
  clang-19 libclang-rt-19-dev                                              # sanitizers, fuzzing and coverage
  clang-format clang-tidy-19                                               # scripts/format.sh, scripts/lint.sh
  python3-venv                                                             # the Python packages below
)
python_packages=(pyarrow==17.0.0 numpy==1.26.4)                            # tests/columns/arrow_test.py

is_installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

missing=()
for package in "${packages[@]}"; do
  is_installed "$package" || missing+=("$package")
done

install_missing() {
  if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
    echo "setup: these packages are missing, and to install them takes root or sudo: ${missing[*]}" >&2
    exit 1
  fi
  echo "setup: installing ${missing[*]}"
  as_root apt-get -qq update
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install --yes --no-install-recommends "${missing[@]}"
}

# The folder has the list of its packages, so that another list installs anew.
has_python_packages() { [ "$(cat build/python/packages 2>/dev/null)" = "${python_packages[*]}" ]; }

# The tests do without these packages: a registry that cannot be reached is no failure.
install_python_packages() {
  echo "setup: installing ${python_packages[*]} into build/python"
  if python3 -m venv build/python &&
    build/python/bin/pip --quiet --disable-pip-version-check install --retries 1 "${python_packages[@]}"; then
    echo "${python_packages[*]}" >build/python/packages
  else
    echo "setup: the registry of Python packages cannot be reached: tests/columns/arrow_test.py will be skipped" >&2
  fi
}

[ ${#missing[@]} -eq 0 ] || install_missing
has_python_packages || install_python_packages
