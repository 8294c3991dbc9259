# Completion of the command activeset in bash.
_activeset() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    case $before in
        --start) mapfile -t COMPREPLY < <(compgen -W 'automatic predict cold' -- "$word") ;;
        --display) mapfile -t COMPREPLY < <(compgen -W 'off final iter testing' -- "$word") ;;
        --tolerance | --convexity-tolerance | --time-limit | --max-iter | --tol-con | --tol-fun | --tol-x) ;;
        *)
            if [ "$COMP_CWORD" = 1 ]; then
                mapfile -t COMPREPLY < <(compgen -W "$(activeset_subcommands) --help --version" -- "$word")
            elif [[ $word = -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "$(activeset_options "${COMP_WORDS[1]}")" -- "$word")
            else
                compopt -o filenames
                mapfile -t COMPREPLY < <(compgen -f -- "$word")
            fi
            ;;
    esac
}

# From the help of the tool, so that nothing is missing here.
activeset_subcommands() {
    activeset --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p'
}
activeset_options() {
    activeset "$1" --help 2>/dev/null | grep -o -E -- '--[a-z][a-z-]*' | sort -u
}

complete -F _activeset activeset
