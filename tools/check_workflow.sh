#!/bin/sh
# Check the hosted workflow as far as possible locally: the file's schema, and the wheels that cibuildwheel would build
# from pyproject.toml on each platform.
set -eu

cd "$(dirname "$0")/.."
tools=.build/packaging/bin

"$tools/check-jsonschema" --builtin-schema vendor.github-workflows .github/workflows/*.yml

expect_wheels() { # platform, architecture, expected wheels
    found=$(CIBW_ARCHS=$2 "$tools/cibuildwheel" --print-build-identifiers --platform "$1" . | tr '\n' ' ')
    [ "$found" = "$3 " ] && return
    echo "$1 $2: expected $3 but got $found"
    exit 1
}
expect_wheels macos arm64 "cp312-macosx_arm64"
expect_wheels linux x86_64 "cp312-manylinux_x86_64 cp312-musllinux_x86_64"
expect_wheels linux aarch64 "cp312-manylinux_aarch64 cp312-musllinux_aarch64"
echo "cibuildwheel makes the wheels that it should"
