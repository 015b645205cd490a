#!/bin/sh
# Compile and link a small C++20 program, to report a missing or old compiler clearly instead of failing the build.
set -u

compiler=${CXX:-c++}
scratch=$(mktemp -d) || exit 1
trap 'rm -rf "$scratch"' EXIT

cat >"$scratch/program.cpp" <<'PROGRAM'
#include <concepts>
#include <span>
#include <string>
template <std::integral T> T first(std::span<T const> values) { return values.front(); }
int main() { int const values[] = {0}; return std::string().starts_with("a") + first<int>(values); }
PROGRAM

# Not quoted: CXX may contain arguments ("ccache g++").
# shellcheck disable=SC2086
$compiler -std=c++20 "$scratch/program.cpp" -o "$scratch/program" >"$scratch/messages" 2>&1 && exit 0

cat "$scratch/messages" >&2
echo "error: a C++20 compiler is needed, and '$compiler' did not compile a small C++20 program." >&2
echo "Install GCC 12 or Clang 16 or newer (Debian, Ubuntu: the package g++; macOS: 'xcode-select --install')," \
    "or name one: 'make CXX=/path/to/compiler ...'." >&2
exit 1
