#!/bin/sh
# Run the Python tests against an installed wheel, in a fresh environment isolated from the development build.
set -eu

wheel=$(realpath "$1")
cd "$(dirname "$0")/.."
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

python=$(tools/find_python.sh)
"$python" -m venv "$scratch/venv"
python=$scratch/venv/bin/python
"$python" -m pip --disable-pip-version-check install -qq --no-deps -r requirements-dev.txt "$wheel"

# -P: don't import from the current directory instead.
"$python" -P -c '
import pathlib, sys
from muvad_tarnel.setup import skill
sys.exit(not pathlib.Path(skill.__file__).is_relative_to(sys.prefix))
' || { echo "the module under test is not the wheel's"; exit 1; }
"$python" -P -X dev -m pytest -p xdist -n auto -q
