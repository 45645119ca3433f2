# shellcheck shell=bash
# Sourced by the scripts of this folder: their help, and long work that shows that it lives.

# The comment at the top of a script is its help.
help() { sed -n '2,/^[^#]/{s/^# \{0,1\}//p}' "$0"; }
usage() { help >&2; exit 2; }
case "${1:-}" in --help) help; exit 0 ;; esac

# How far something has got, on stderr: on a terminal in one line that moves, elsewhere once in ten seconds.
told=$SECONDS
tell() { # TEXT
    if [ -t 2 ]; then
        printf '\r\e[K%.*s' "$((${COLUMNS:-80} - 1))" "$1" >&2
    elif [ "$((SECONDS - told))" -ge 10 ]; then
        printf '%s\n' "$1" >&2
        told=$SECONDS
    fi
}
told_all() { [ ! -t 2 ] || printf '\r\e[K' >&2; }

# Reads lines and tells how far they have got. READER gets each line; it sets `state` and succeeds if the line tells of progress, else the line is printed.
watch_progress() { # WHAT READER
    local line='' part status=0 state='' begun=$SECONDS
    told=$SECONDS
    while [ "$status" = 0 ] || [ "$status" -gt 128 ]; do # above 128: nothing within a second
        status=0
        IFS= read -r -t 1 part || status=$?
        line+=$part
        if [ "$status" -le 128 ] && [ "$line" ]; then
            "$2" "$line" || { told_all; printf '%s\n' "$line"; }
            line=''
        fi
        tell "$1: ${state:-begun}, $((SECONDS - begun)) s"
    done
    told_all
}

read_ninja() {
    case "$1" in 'ninja: Entering'* | 'ninja: no work'*) return ;; esac
    [[ $1 =~ ^\[([0-9]+)/([0-9]+)\] ]] && state="${BASH_REMATCH[1]} of ${BASH_REMATCH[2]} steps"
}

build_in() { # BUILD TARGET...: what the compiler says is printed, and how far it has got
    ninja -C "$1" "${@:2}" | watch_progress "build ($1)" read_ninja
}
