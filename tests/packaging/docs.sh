#!/bin/bash
# docs.sh BUILD: the written reference against the programs.
# shellcheck source=tests/packaging/checks.sh
. "$(dirname "$0")/checks.sh"
cd "$checkout"

vesk-apidoc --markdown >"$scratch/bus-api.md"
same 'docs/bus-api.md is old: ninja bus-api writes it again' docs/bus-api.md "$scratch/bus-api.md"

# The description for programs, against bytes put together by hand.
vesk-apidoc --json >"$scratch/api.json"
count=$(sed -n 's/^inline constexpr int VESK_METHODS = \([0-9]*\);$/\1/p' include/vesk_methods.h)
jq -e "(.methods | length) == $count and (.signals | length) == 15 and (.switches | length) == 9" "$scratch/api.json" \
    >/dev/null || wrong 'methods, signals or switches are missing in the description'
for text in README.md docs/vesk.8 docs/robustness.md; do
    while read -r said; do
        [ "$said" = "$count" ] || wrong "$text says $said methods; include/vesk_methods.h has $count"
    done < <(tr -s '\n ' ' ' <"$text" | grep -oE '[0-9]+ (bus )?methods' | grep -oE '^[0-9]+')
done
grep -aoE 'tamlo\.pelk\.vesk\.[A-Za-z0-9]+' "$build/vesk" | sort -u >"$scratch/spoken"
jq -r '(.signals + .switches)[].name' "$scratch/api.json" | sort >"$scratch/described"
same 'the daemon knows other signals than the description' "$scratch/spoken" "$scratch/described"
said() { jq -r "$1" "$scratch/api.json"; }
while read -r question answer; do
    [ "$(said "$question")" = "$answer" ] || wrong "$question: $(said "$question") instead of $answer"
done < <(rows api.rows)

for page in docs/*.[18]; do
    mandoc -T lint -W warning "$page" || wrong "$page"
done

veskctl --complete '' >"$scratch/commands"
[ "$(wc -l <"$scratch/commands")" -ge 31 ] || wrong 'veskctl has few commands'
while read -r name; do
    grep -qE "^\.It .*Ic $name( |$)" docs/veskctl.1 || wrong "docs/veskctl.1 doesn't tell of $name"
    veskctl --help | grep -qE "^  $name[ ,]" || wrong "veskctl --help doesn't list $name"
done <"$scratch/commands"

# What the completion offers behind some beginnings.
# shellcheck source=tools/veskctl/veskctl.bash
. "$checkout/tools/veskctl/veskctl.bash"
complete_words() {
    COMP_WORDS=(veskctl "$@") COMP_CWORD=$# COMPREPLY=()
    _veskctl
    printf '%s\n' "${COMPREPLY[@]}"
}
complete_words '' >"$scratch/completed"
same 'the completion offers other commands' "$scratch/commands" "$scratch/completed"
while IFS='|' read -r words expected; do
    read -ra line <<<"$words"
    [ "$(complete_words "${line[@]/#_/}" | xargs)" = "$expected" ] || wrong "completion of: $words"
done < <(rows completion.rows)
