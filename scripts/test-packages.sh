#!/bin/sh
# Builds the Debian packages from packaging/debian/ and checks them:
#   1. dpkg-buildpackage -us -uc -b for the build machine (libviewgeo1,
#      libviewgeo-dev, viewgeo, python3-viewgeo);
#   2. lintian on the result: no error and no warning;
#   3. the autopkgtest (debian/tests/) against the packages installed on this
#      machine by autopkgtest's null runner; they are purged afterwards;
#   4. the same source cross-built for armel (-aarmel -Pcross,nocheck).
# Everything happens in a copy of the source below build/packages/: the
# package build writes nothing into the source tree.
# Usage: scripts/test-packages.sh [--no-cross]
set -eu
cd "$(dirname "$0")/.."
SOURCE=$(pwd)
cross=yes
[ "${1:-}" = --no-cross ] && cross=no

scripts/install-deps.sh --packages
# The armel cross compiler and target libraries.
[ $cross = no ] || scripts/install-cross-deps.sh armel

version=$(sed -n '1s/^viewgeo (\([^)]*\)).*/\1/p' packaging/debian/changelog)
project=$(sed -n 's/^project(viewgeo VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
[ "${version%%-*}" = "$project" ] ||
    { echo "test-packages: debian/changelog has $version, CMakeLists.txt $project" >&2; exit 1; }

OUT=$SOURCE/build/packages
rm -rf "$OUT"
mkdir -p "$OUT"

# A copy of the source as it stands (tracked and new files, not ignored ones)
# with debian/ put in place.
stage() {
    dir=$OUT/$1/viewgeo-$version
    mkdir -p "$dir"
    if git -C "$SOURCE" rev-parse --git-dir >/dev/null 2>&1; then
        git -C "$SOURCE" ls-files -z --cached --others --exclude-standard |
            tar -C "$SOURCE" --null --no-recursion --ignore-failed-read -cf - -T - | tar -xf - -C "$dir"
    else
        tar -C "$SOURCE" --exclude=./build --exclude=./.git -cf - . | tar -xf - -C "$dir"
    fi
    cp -R "$SOURCE/packaging/debian" "$dir/debian"
    echo "$dir"
}

step() {
    name=$1
    shift
    start=$(date +%s)
    if "$@" >"$OUT/$name.log" 2>&1; then
        echo "packages: $name passed in $(( $(date +%s) - start )) s"
    else
        tail -n 60 "$OUT/$name.log" >&2
        echo "packages: $name FAILED after $(( $(date +%s) - start )) s (log: $OUT/$name.log)" >&2
        exit 1
    fi
}

# The suite itself runs in the CI build; the package build checks what it
# installs and packages (nocheck), which saves a second full test run.
native=$(stage native)
step build sh -c "cd '$native' && DEB_BUILD_OPTIONS='nocheck parallel=2' dpkg-buildpackage -us -uc -b"
changes=$(ls "$OUT"/native/viewgeo_*.changes)
step lintian lintian --fail-on error,warning "$changes"

# The null runner installs the packages on this machine; they go again at
# the end, whatever happened.
purge() {
    for p in python3-viewgeo viewgeo libviewgeo-dev libviewgeo1; do
        DEBIAN_FRONTEND=noninteractive apt-get purge -y -qq "$p" >/dev/null 2>&1 || true
    done
}
trap purge EXIT
# Judged by the tests' own results: the runner's clean-up ends with an
# apt-get update, which fails whenever a mirror is caught mid-sync.
autopkgtest_passed() {
    autopkgtest --output-dir "$OUT/autopkgtest" "$OUT"/native/*.deb "$native" -- null || true
    grep -q ' PASS' "$OUT/autopkgtest/summary" && ! grep -qv ' PASS' "$OUT/autopkgtest/summary"
}
step autopkgtest autopkgtest_passed
purge

if [ $cross = yes ]; then
    armel=$(stage armel)
    step cross-armel sh -c "cd '$armel' && DEB_BUILD_OPTIONS='nocheck parallel=2' dpkg-buildpackage -aarmel -Pcross,nocheck -us -uc -b"
    for p in libviewgeo1 libviewgeo-dev viewgeo; do
        test -e "$OUT/armel/${p}_${version}_armel.deb" || { echo "test-packages: no ${p} for armel" >&2; exit 1; }
    done
    echo "packages: armel packages built: $(cd "$OUT/armel" && ls ./*.deb | tr '\n' ' ')"
fi
