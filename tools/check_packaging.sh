#!/bin/sh
# Check what users of the sources get: by CMake alone, at the oldest version that CMakeLists.txt admits, a module that
# exports its initialisation function only and can be installed by itself; by pip, a wheel of the package and the module.
# Needs the development environment (make test) for its pip.
set -eu

cd "$(dirname "$0")/.."
source_dir=$PWD
python=$source_dir/.venv/bin/python
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

expect_lines() { # what, expected, actual
    [ "$2" = "$3" ] && return
    printf '%s: expected\n%s\nbut got\n%s\n' "$1" "$2" "$3"
    exit 1
}

extension=muvad_tarnel/setup/skill$("$python" -c 'import sysconfig; print(sysconfig.get_config_var("EXT_SUFFIX"))')

version=$(sed -n 's/^cmake_minimum_required(VERSION \([0-9]*\.[0-9]*\).*/\1/p' CMakeLists.txt)
"$python" -m pip --disable-pip-version-check install -qq --no-deps --target "$scratch/cmake" "cmake==$version.*"
cmake=$scratch/cmake/cmake/data/bin/cmake
"$cmake" --version | head -n 1

# CMake takes the first Python 3.12 of PATH.
PATH=$(dirname "$(tools/find_python.sh)"):$PATH
export PATH
"$cmake" -S . -B "$scratch/build" >"$scratch/log" || { cat "$scratch/log"; exit 1; }
"$cmake" --build "$scratch/build" --parallel 2 >"$scratch/log" || { cat "$scratch/log"; exit 1; }
"$cmake" --install "$scratch/build" --component extension --prefix "$scratch/installed" >"$scratch/log"
expect_lines "component extension" "$extension" "$(cd "$scratch/installed" && find . ! -type d | sed 's|^\./||')"
cmp "$scratch/build/${extension##*/}" "$scratch/installed/$extension"
if [ "$(uname)" = Linux ]; then
    expect_lines "exported names" "PyInit_skill" "$(nm -D --defined-only "$scratch/installed/$extension" | awk '{ print $NF }')"
fi

"$python" -m pip --disable-pip-version-check wheel -qq --no-deps --wheel-dir "$scratch" "$source_dir"
expected=$({ cd src && find muvad_tarnel -type f ! -path '*/__pycache__/*'; echo "$extension"; } | sort)
expect_lines "files of the wheel" "$expected" \
    "$("$python" -m zipfile -l "$scratch"/muvad_tarnel-*.whl | awk '$1 ~ /^muvad_tarnel\// { print $1 }' | sort)"
echo "standalone build, exported names and wheel are as they should be"
