# Completion of vqlog for bash.

_vqlog()
{
    local current=${COMP_WORDS[COMP_CWORD]} option=${COMP_WORDS[COMP_CWORD - 1]} choices
    COMPREPLY=()

    # "--class=w" comes as three words
    if [[ $current == '=' ]]; then
        current=
    elif [[ $option == '=' ]]; then
        option=${COMP_WORDS[COMP_CWORD - 2]}
    fi

    case $option in
    --class) choices='game dump info message note warning error critical catastrophic' ;;
    --slot) choices=debug ;;
    --interface) choices=$(ls /sys/class/net 2>/dev/null) ;;
    --app | --grep | --count) return ;;
    --file)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    *)
        [[ $current == -* || -z $current ]] || return
        choices='--class --app --grep --json --count --interface --slot --file -f --follow --help --version'
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
} &&
    complete -F _vqlog vqlog
