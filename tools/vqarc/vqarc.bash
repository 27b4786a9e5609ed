# Completion of vqarc for bash.

# what lies at a place: folders, and files whose names end in the pattern
_vqarc_files()
{
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -d -- "$1"; [[ -z ${2-} ]] || compgen -f -X "!${2-}" -- "$1" | while IFS= read -r name; do
        [[ -d $name ]] || printf '%s\n' "$name"
    done)
}

_vqarc()
{
    local current=${COMP_WORDS[COMP_CWORD]} command= option= word place=0 archive=
    local -a words=()
    COMPREPLY=()

    # the words before this one, without options
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word == -* ]]; then
            option=$word
        elif [[ -z $command ]]; then
            command=$word
        else
            words+=("$word")
        fi
    done
    place=${#words[@]}
    archive=${words[0]-}

    if [[ -z $command ]]; then
        [[ -n $option ]] || mapfile -t COMPREPLY < <(compgen -W 'create list extract cat verify --help --version' -- "$current")
    elif [[ $current == -* ]]; then
        [[ $command != list ]] || mapfile -t COMPREPLY < <(compgen -W '-l' -- "$current")
    else
        case $command:$place in
        create:0 | list:0 | extract:0 | cat:0 | verify:0) _vqarc_files "$current" '*.[aA][rR][cC]' ;;
        create:1 | extract:1 | verify:1) _vqarc_files "$current" ;;
        cat:1)
            # the files in the archive itself
            compopt -o filenames 2>/dev/null
            while IFS= read -r word; do
                [[ $word == */ || $word != "$current"* ]] || COMPREPLY+=("$word")
            done < <("${COMP_WORDS[0]}" list "${archive/#\~\//$HOME/}" 2>/dev/null)
            ;;
        esac
    fi
} &&
    complete -F _vqarc vqarc
