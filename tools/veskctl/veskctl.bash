# bash completion for veskctl. The client itself knows what may stand next, names of the running device included.
# A name may hold anything: it is quoted, and nothing of it is expanded.
_veskctl() {
    local candidates name files=0
    candidates=$(veskctl --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null) || files=$?
    COMPREPLY=()
    [[ -z $candidates ]] || while read -r name; do
        printf -v name %q "$name"
        COMPREPLY+=("$name")
    done <<<"$candidates"
    if [[ $files -eq 3 && ${#COMPREPLY[@]} -eq 0 ]]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "${COMP_WORDS[COMP_CWORD]}")
    fi
}

complete -F _veskctl veskctl
