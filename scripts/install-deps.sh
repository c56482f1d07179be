#!/usr/bin/env bash
# Installs the Debian packages that building and testing need and that a
# fresh machine may lack.  Does nothing when all are present.
#   install-deps.sh build   what building the library and its tools needs
#   install-deps.sh         everything the tests need as well
set -euo pipefail

packages=(cmake make g++ pkg-config openjdk-17-jdk-headless nlohmann-json3-dev python3
          libmicrohttpd-dev libhowardhinnant-date-dev libcli11-dev tzdata)
if [ "${1:-all}" != "build" ]; then
  packages+=(
    libgtest-dev googletest libbenchmark-dev pkg-config junit5
    python3-dev python3-venv python3-pip python3-setuptools python3-wheel
    pybind11-dev python3-pybind11 python3-pytest python3-hypothesis
    python3-dask python3-distributed python3-pandas
    g++-aarch64-linux-gnu qemu-user
    clang libclang-rt-14-dev valgrind hunspell-ko wrk
  )
fi
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "installing: ${missing[*]}"
sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
