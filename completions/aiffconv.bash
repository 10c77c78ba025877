# SPDX-License-Identifier: MIT
# Completion for aiffconv in bash (4 or later). The program itself says what may come next.

_aiffconv()
{
    local words=() word line ending i current typed value before paths endings
    # bash takes "--type=front" for three words.
    for ((i = 1; i <= COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        if ((i > 1)) && { [[ $word == [=:]* ]] || [[ ${COMP_WORDS[i - 1]} == *[=:] ]]; }; then
            words[${#words[@]} - 1]+=$word
        else
            words+=("$word")
        fi
    done
    current=${words[${#words[@]} - 1]}
    before=${current%"${COMP_WORDS[COMP_CWORD]}"} # which bash keeps as it is
    [[ ${COMP_WORDS[COMP_CWORD]} != [=:] ]] || before=$current
    COMPREPLY=()
    {
        read -r paths endings
        while IFS=$'\t' read -r word _; do
            [[ $word == "$current"* ]] || continue
            word=${word#"$before"}
            [[ $word != *= ]] || compopt -o nospace 2>/dev/null
            [[ $word != *[^A-Za-z0-9_=./:-]* ]] || printf -v word %q "$word"
            COMPREPLY+=("$word")
        done
    } < <("${COMP_WORDS[0]/#\~\//$HOME/}" --complete "${words[@]}" 2>/dev/null)
    [[ $paths == f* ]] || return 0
    typed=$current
    [[ $current != --*=* ]] || typed=${current#*=}
    IFS= read value <<<"${typed#[\"\']}" # takes the backslashes out
    value=${value/#\~\//$HOME/}
    while IFS= read -r line; do
        if [[ ! -d $line ]]; then
            [[ $paths == files ]] || continue
            ending=.${line##*.}
            [[ -z $endings || " $endings " == *" ${ending,,} "* ]] || continue
        fi
        compopt -o filenames 2>/dev/null
        [[ $typed != \~/* ]] || line=\~/${line#"$HOME/"}
        [[ $before != "${current%"$typed"}"?* ]] || line=${line#"${before#"${current%"$typed"}"}"}
        COMPREPLY+=("$line")
    done < <(compgen -f -- "$value")
}

complete -F _aiffconv aiffconv
