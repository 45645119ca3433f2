# fish completion for veskctl: the client itself knows what may stand next, names of the running device included.
function __veskctl_candidates
    set -l words (commandline -opc) (commandline -ct)
    veskctl --complete $words[2..-1] 2>/dev/null
    test $status -eq 3; and __fish_complete_path (commandline -ct)
end
complete -c veskctl -f -a '(__veskctl_candidates)'
