#!/bin/bash
# sources.sh BUILD: rules of the sources that no compiler checks.
# shellcheck source=tests/packaging/checks.sh
. "$(dirname "$0")/checks.sh"
cd "$checkout"

# The arguments of a log statement have no effects: they are evaluated only if its line is written. Texts and
# comments are blanked first; then each statement is taken up to the bracket that closes it.
effects_in() { # FILE...
    # shellcheck disable=SC2016 # perl's own variables
    perl -0777 -ne '
        s{"(?:\\.|[^"\\])*"|//[^\n]*|/\*.*?\*/}{$& =~ s/[^\n]//gr}egs;
        while (/\b(?:VESK_LOG\w*)\s*(\((?:[^()]++|(?1))*+\))/g) {
            my ($arguments, $line) = ($1, 1 + (substr($_, 0, $-[0]) =~ tr/\n//));
            print "$ARGV:$line: $&\n" if $arguments =~ /\+\+|--|(?<![=!<>])=(?!=)|(?:<<|>>)=/;
        }' "$@"
}

[ "$(effects_in tests/packaging/effects.txt | grep -oE 'txt:[0-9]+' | xargs)" = 'txt:3 txt:5 txt:6' ] ||
    wrong 'effects in the arguments of a log statement are not found'
found=$(effects_in source/*/*.* bus/*.* bus/*/*.* foundation/*.*)
[ -z "$found" ] || wrong "the arguments of a log statement have effects: $found"
