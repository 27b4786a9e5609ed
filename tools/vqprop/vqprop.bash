# Completion of vqprop for bash.

# the paths of the properties in a file, out of the tree that "show" writes: each level two spaces further in
_vqprop_paths()
{
    "$1" show "${2/#\~\//$HOME/}" 2>/dev/null | awk '
        NR > 1 && match($0, /^ +/) {
            level = RLENGTH / 2
            name = substr($0, RLENGTH + 1)
            if (!match(name, /^[^ :]+: /)) next
            name = substr(name, 1, RLENGTH - 2)
            path[level] = level == 1 ? name : path[level - 1] (name ~ /^\[/ ? "" : ".") name
            print path[level]
        }'
}

_vqprop()
{
    local current=${COMP_WORDS[COMP_CWORD]} command= option= word value=no choices=
    local -a words=()
    COMPREPLY=()

    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $value == yes ]]; then
            value=no
        elif [[ $word == --as ]]; then
            value=yes
        elif [[ $word == -* ]]; then
            option=$word
        elif [[ -z $command ]]; then
            command=$word
        else
            words+=("$word")
        fi
    done

    if [[ $value == yes ]]; then
        choices=$(echo {manager,struct,list,params,property}-{file,stream})
    elif [[ -z $command ]]; then
        [[ $option == --help || $option == --version ]] ||
            choices='show get set rm diff to-json from-json --as --help --version'
    elif [[ $current == -* ]]; then
        choices=--as
        [[ $command != show ]] || choices+=' --json'
    else
        case $command:${#words[@]} in
        show:0 | get:0 | set:0 | rm:0 | diff:[01] | to-json:[01] | from-json:[01])
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
        get:1 | set:1 | rm:1)
            # not as a list of words: those are expanded, and the names come from a file
            while IFS= read -r word; do
                [[ $word != "$current"* ]] || COMPREPLY+=("$word")
            done < <(_vqprop_paths "${COMP_WORDS[0]}" "${words[0]}")
            return
            ;;
        set:2) choices='bool int long ulong float string stringid undefined json' ;;
        set:3) [[ ${words[2]} != bool ]] || choices='true false' ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$current")
} &&
    complete -F _vqprop vqprop
