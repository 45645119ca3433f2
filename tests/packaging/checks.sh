# shellcheck shell=bash
# shellcheck disable=SC2034 # used by those who source it
# Sourced by the tests of this folder: fails at the first thing that is wrong and says what.
set -euo pipefail
build=$(cd "$1" && pwd)
checkout=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
PATH=$build:$PATH

rows() { grep -vE '^(#|$)' "$checkout/tests/packaging/$1"; } # the rows of a table
wrong() { echo "$*" >&2; exit 1; }

same() { # WHAT FILE FILE
    diff -u "$2" "$3" >&2 || wrong "$1"
}
