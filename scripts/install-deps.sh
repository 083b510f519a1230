#!/bin/sh
# Installs what the project needs from Debian's packages; does nothing when
# everything is already there.
#   scripts/install-deps.sh          what building the library, tool and Python
#                                    package needs
#   scripts/install-deps.sh --test   also what the tests, benchmarks, fuzzers,
#                                    memory checks, emulated runs and the Python
#                                    tests and example need
#   scripts/install-deps.sh --packages  also what building and checking the
#                                    Debian packages and the ABI needs
set -eu
packages="cmake g++ make pkg-config binutils libinih-dev libcli11-dev help2man python3-dev pybind11-dev python3-numpy"
if [ "${1:-}" = --test ]; then
    packages="$packages libgtest-dev libgmock-dev libbenchmark-dev libfixmath-dev clang libclang-rt-14-dev valgrind qemu-user librsvg2-bin python3-pytest python3-hypothesis python3-matplotlib"
fi
if [ "${1:-}" = --packages ]; then
    packages="$packages dpkg-dev debhelper dh-python lintian autopkgtest abigail-tools"
fi
missing=""
for p in $packages; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
if [ -n "$missing" ]; then
    echo "installing:$missing"
    # A mirror caught mid-sync fails one index; the others still serve.
    apt-get update -qq || echo "apt-get update reported an error; installing from the indexes it has"
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $missing >/dev/null
fi
