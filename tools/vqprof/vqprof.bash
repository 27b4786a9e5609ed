# Completion of vqprof for bash.

# what lies at a place: folders, and files whose names end in the pattern
_vqprof_files()
{
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -d -- "$1"; compgen -f -X "!$2" -- "$1" | while IFS= read -r name; do
        [[ -d $name ]] || printf '%s\n' "$name"
    done)
}

_vqprof()
{
    local current=${COMP_WORDS[COMP_CWORD]} command= option= word place=0 value=no choices=
    COMPREPLY=()

    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $value == yes ]]; then
            value=no
        elif [[ $word == --longest || $word == --frames ]]; then
            value=yes
        elif [[ $word == -* ]]; then
            option=$word
        elif [[ -z $command ]]; then
            command=$word
        else
            place=$((place + 1))
        fi
    done

    if [[ $value == yes ]]; then
        return # a number
    elif [[ -z $command ]]; then
        [[ -n $option ]] || choices='graph demo trace --help --version'
    elif [[ $current == -* || $command == demo ]]; then
        case $command in
        graph) choices='--longest' ;;
        demo) choices='--frames --no-open' ;;
        trace) choices='--frames' ;;
        esac
    else
        case $command:$place in
        graph:0) _vqprof_files "$current" '*.raw' ;;
        graph:1) _vqprof_files "$current" '*.png' ;;
        trace:0) _vqprof_files "$current" '*.json' ;;
        esac
        return
    fi
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
} &&
    complete -F _vqprof vqprof
