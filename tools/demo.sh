#!/bin/sh
# Install the skills for four agents into an empty repository, twice, and show the files written.
set -eu

tarnel=$(cd "$(dirname "$0")/.." && pwd)/.venv/bin/muvad-tarnel
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/home" "$scratch/repository/.git"
export HOME="$scratch/home"
cd "$scratch/repository"

install_skills() {
    echo "\$ muvad-tarnel $*"
    "$tarnel" "$@"
    echo
}

set -- skill install --scope project --agent claude --agent cursor --agent copilot --agent windsurf
install_skills "$@"
install_skills "$@"

echo "Files in the repository and the home directory:"
cd "$scratch"
find repository home -type f | sort
