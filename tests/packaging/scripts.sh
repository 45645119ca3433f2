#!/bin/bash
# scripts.sh BUILD: every script tells what it does and refuses what it doesn't know, before it does anything; what the
# texts show of the client has the shape of a run.
# shellcheck source=tests/packaging/checks.sh
. "$(dirname "$0")/checks.sh"
cd "$checkout"

shellcheck -x scripts/* .ci/run || wrong 'shellcheck'
for script in .ci/run scripts/*; do
    [ -x "$script" ] || continue
    "$script" --help >"$scratch/help" 2>&1 || wrong "$script --help ends with $?"
    grep -q '^  scripts/' "$scratch/help" || wrong "$script --help shows no usage"
    for word in --nonsense nonsense; do
        case "$script:$word" in scripts/private-root:n* | scripts/build:n*) continue ;; esac # a command, a target
        status=0
        "$script" "$word" >"$scratch/out" 2>"$scratch/err" || status=$?
        [ "$status,$(<"$scratch/out")" = 2, ] || wrong "$script $word ends with $status: $(<"$scratch/out")"
        cmp -s "$scratch/help" "$scratch/err" || wrong "$script $word doesn't show its help: $(<"$scratch/err")"
    done
done

scripts/transcript check "$build"
