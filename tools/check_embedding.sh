#!/bin/sh
# Check the extension for hosts that vendor the module. It is built with CMake alone, at the oldest version that
# CMakeLists.txt accepts. It must export only its initialisation function, and work with another version and table.
# Needs the development environment (make test) for its pip.
set -eu

cd "$(dirname "$0")/.."
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

expect_lines() { # what, expected, actual
    [ "$2" = "$3" ] && return
    printf '%s: expected\n%s\nbut got\n%s\n' "$1" "$2" "$3"
    exit 1
}

version=$(sed -n 's/^cmake_minimum_required(VERSION \([0-9]*\.[0-9]*\).*/\1/p' CMakeLists.txt)
.venv/bin/python -m pip --disable-pip-version-check install -qq --no-deps --target "$scratch/cmake" "cmake==$version.*"
cmake=$scratch/cmake/cmake/data/bin/cmake
"$cmake" --version | head -n 1

python=$(tools/find_python.sh)
extension=muvad_tarnel/setup/skill$("$python" -c 'import sysconfig; print(sysconfig.get_config_var("EXT_SUFFIX"))')

"$cmake" -S . -B "$scratch/build" "-DPython_EXECUTABLE=$python" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
"$cmake" --build "$scratch/build" --parallel 2 >"$scratch/log" || { cat "$scratch/log"; exit 1; }
"$cmake" --install "$scratch/build" --component extension --prefix "$scratch/installed" >"$scratch/log"
expect_lines "component extension" "$extension" "$(cd "$scratch/installed" && find . ! -type d | sed 's|^\./||')"
cmp "$scratch/build/${extension##*/}" "$scratch/installed/$extension"
if [ "$(uname)" = Linux ]; then
    expect_lines "exported names" "PyInit_skill" "$(nm -D --defined-only "$scratch/installed/$extension" | awk '{ print $NF }')"
fi

# The example host, assembled as described in docs/embedding.md, and run by a Python without other packages.
cp -R examples/embedding "$scratch/host"
"$cmake" --install "$scratch/build" --component extension --prefix "$scratch/host" >"$scratch/log"
cd "$scratch/host"
PYTHONDONTWRITEBYTECODE=1 "$python" -X dev -W error -m unittest
echo "component, exported names and the host of the example are as they should be"
