# Completes the command line of sentrelctl in bash. The tool itself says what may stand there.

_sentrelctl() {
    local -a words=()
    local index word typed before=''
    for ((index = 1; index <= COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        # bash makes a word of the "=" of --OPTION=VALUE
        if [[ ${#words[@]} -gt 0 && ${words[-1]} == --* ]] &&
            [[ $word == '=' || ${COMP_WORDS[index - 1]} == '=' ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    typed=${words[-1]}
    if [[ $typed == --*=* ]]; then
        before=${typed%%=*}=
        typed=${typed#*=}
    fi
    COMPREPLY=()
    while IFS=$'\t' read -r word _; do
        case $word in
            :file)
                compopt -o filenames
                while read -r word; do COMPREPLY+=("$word"); done < <(compgen -f -- "$typed")
                ;;
            :directory)
                compopt -o filenames
                while read -r word; do COMPREPLY+=("$word"); done < <(compgen -d -- "$typed")
                ;;
            *) COMPREPLY+=("${word#"$before"}") ;;
        esac
    done < <("${COMP_WORDS[0]}" __complete "${words[@]}" 2>/dev/null)
}

complete -F _sentrelctl sentrelctl
