#!/bin/sh
# Installs what building and testing the library needs, from Debian's packages.
# Does nothing when everything is already there.
set -eu
packages="cmake g++ make pkg-config libinih-dev libgtest-dev libgmock-dev libbenchmark-dev binutils libcli11-dev libfixmath-dev clang libclang-rt-14-dev valgrind qemu-user"
missing=""
for p in $packages; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
if [ -n "$missing" ]; then
    echo "installing:$missing"
    apt-get update -qq
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $missing >/dev/null
fi
