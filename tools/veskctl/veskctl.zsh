#compdef veskctl
# zsh completion for veskctl: the client itself knows what may stand next, names of the running device included.
_veskctl() {
    local -a candidates
    local files
    candidates=("${(@f)$(veskctl --complete "${(@Q)words[2,CURRENT]}" 2>/dev/null)}")
    files=$?
    candidates=("${(@)candidates:#}")
    (( ${#candidates} )) && compadd -a candidates
    [[ $files -eq 3 ]] && _files
}
_veskctl "$@"
