# bash completion for veskctl. Commands and options come from the client's own help, so they are always those of
# the client at hand; the values behind them are listed here or asked of the running daemon.

# Names under a heading ("Subcommands", "Options") of the help of a command line.
_veskctl_names() { # HEADING COMMAND...
    local heading=$1
    shift
    "$@" --help 2>/dev/null | awk -v heading="$heading:" '
        /^[^ ]/ { inside = $0 == heading }
        inside && /^  [^ ]/ { gsub(",", " ", $1); print $1 }'
}

# The positionals of a command line, in order ("BAND", "STATE").
_veskctl_positionals() {
    "$@" --help 2>/dev/null | awk '
        /^[^ ]/ { inside = $0 == "Positionals:" }
        inside && /^  [^ ]/ { print $1 }'
}

_veskctl_interfaces() {
    timeout 2 veskctl --json vaps 2>/dev/null | sed -n 's/.*"vapName":[[:space:]]*"\([^"]*\)".*/\1/p'
}

_veskctl_values() { # POSITIONAL
    case $1 in
    BAND) echo 2.4 5 ;;
    STATE) echo on off ;;
    BANDWIDTH) echo 20 40 80 160 80+80 keep ;;
    LEVEL) echo 0 1 2 3 4 5 6 7 9 10 11 12 13 14 15 16 99 ;;
    DESTINATION) echo stderr ;;
    METHOD) veskctl call --list 2>/dev/null | awk 'NR > 1 { print $1 }' ;;
    VAP | NAME | INTERFACE) _veskctl_interfaces ;;
    esac
}

_veskctl() {
    local current=${COMP_WORDS[COMP_CWORD]} line=("${COMP_WORDS[0]}") taken=0 word i names positionals
    # Walk along the words: a subcommand goes deeper, a word that is none takes the place of a positional.
    names=" $(_veskctl_names Subcommands "${line[@]}" | tr '\n' ' ')"
    for ((i = 1; i < COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        [[ $word == -* ]] && continue
        line+=("$word")
        if [[ $names == *" $word "* ]]; then
            taken=0
            names=" $(_veskctl_names Subcommands "${line[@]}" | tr '\n' ' ')"
        else
            taken=$((taken + 1))
        fi
    done
    if [[ $current == -* ]]; then
        names=$(_veskctl_names Options "${line[@]}")
    else
        mapfile -t positionals < <(_veskctl_positionals "${line[@]}")
        ((taken <= ${#positionals[@]})) || names='' # behind a word that is none
        names="$names $(_veskctl_values "${positionals[taken]:-}")"
    fi
    mapfile -t COMPREPLY < <(compgen -W "$names" -- "$current")
    if [[ ${#COMPREPLY[@]} -eq 0 && ${positionals[taken]:-} == DESTINATION ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}

complete -F _veskctl veskctl
