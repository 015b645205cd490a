#!/bin/sh
# Print the path of a CPython 3.12 that can build extensions, or explain why there is none.
# Print the interpreter itself, not a version manager's shim or a virtual environment's link, which may disappear.
set -u

probe='
import os, sys, sysconfig
if sys.implementation.name != "cpython" or sys.version_info[:2] != (3, 12):
    sys.exit(1)
interpreter = os.path.join(sys.base_prefix, "bin", "python3.12")
if not os.access(interpreter, os.X_OK):
    interpreter = sys.executable
missing = []
if not os.path.exists(os.path.join(sysconfig.get_path("include"), "Python.h")):
    missing.append("its C headers (python3.12-dev on Debian and Ubuntu)")
try:
    import ensurepip, venv
except ImportError:
    missing.append("its venv module (python3.12-venv on Debian and Ubuntu)")
if missing:
    print("note: " + interpreter + " lacks " + " and ".join(missing) + ".", file=sys.stderr)
    sys.exit(1)
print(interpreter)
'

# Show only the probe's messages, not those of a missing command or a shim for another version.
is_suitable() {
    "$1" -I -c '' 2>/dev/null && "$1" -I -c "$probe"
}

if [ -n "${PYTHON:-}" ]; then
    is_suitable "$PYTHON" && exit 0
    echo "error: PYTHON=$PYTHON is not a CPython 3.12 that can build extensions." >&2
    exit 1
fi

for command in python3.12 python3 python; do
    is_suitable "$command" && exit 0
done
for interpreter in "${PYENV_ROOT:-$HOME/.pyenv}"/versions/3.12*/bin/python3.12 \
    "${XDG_DATA_HOME:-$HOME/.local/share}"/uv/python/cpython-3.12*/bin/python3.12; do
    is_suitable "$interpreter" && exit 0
done

echo "error: CPython 3.12 is needed, with its C headers and its venv module, and was not found." >&2
echo "Install it (Debian, Ubuntu: python3.12-dev and python3.12-venv; pyenv: 'pyenv install 3.12')," \
    "or say where it is: 'make PYTHON=/path/to/python3.12 ...'." >&2
exit 1
