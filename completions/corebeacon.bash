# Completion of corebeacon's command line for bash. The program itself says what may follow.
_corebeacon() {
    local words=() files=() line word current prefix=
    # '=' breaks words for readline, but not for the program.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        if [[ ${#words[@]} -gt 0 && ($word == = || ${words[-1]} == --*=) ]]; then
            words[-1]+=$word
        else
            words+=("$word")
        fi
    done
    current=${words[-1]}
    [[ $current == --*=* ]] && prefix=${current%%=*}=
    # A statement in quotes is one word, its quote still open.
    words[-1]=${current#[\'\"]}

    COMPREPLY=()
    compopt -o nospace 2>/dev/null
    while IFS= read -r line; do
        word=${line%%$'\t'*}
        if [[ -n $word ]]; then
            word=${word#"$prefix"}
            [[ $word == *[.=] ]] || word+=' '
            COMPREPLY+=("$word")
        else
            while IFS= read -r word; do
                files+=("$word")
            done < <(compgen -f -- "${current#"$prefix"}")
        fi
    done < <("$1" complete -- "${words[@]}" 2>/dev/null)
    if [[ ${#files[@]} -gt 0 ]]; then
        # Readline quotes the blanks in names of files, and puts one behind or a slash itself.
        compopt -o filenames +o nospace 2>/dev/null
        COMPREPLY=("${COMPREPLY[@]% }" "${files[@]}")
    fi
    # Readline would close the quote behind the only word; the statement goes on.
    if [[ $current == [\'\"]* && ${#COMPREPLY[@]} -eq 1 ]]; then
        COMPREPLY+=("${COMPREPLY[0]}...")
    fi
}
complete -F _corebeacon corebeacon
