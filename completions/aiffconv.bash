# SPDX-License-Identifier: MIT
# Completion for aiffconv in bash. Commands and options come from the program's own help,
# so they always match the installed version.

_aiffconv_section() # NAME COMMAND...: the entries of one section of its help
{
    local name=$1
    shift
    "$@" --help 2>/dev/null | sed -n "/^$name:/,/^\$/p" | grep '^  [^ ]'
}

_aiffconv()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local program=${COMP_WORDS[0]} commands command= word
    commands=$(_aiffconv_section Subcommands "$program" | awk '{print $1}')
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case " ${commands//$'\n'/ } " in
        *" $word "*) command=$word && break ;;
        esac
    done
    compopt -o default 2>/dev/null # file names when nothing else fits
    if [[ $previous == --trace ]]; then
        COMPREPLY=($(compgen -W 'error info debug' -- "$current"))
    elif [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$(_aiffconv_section Options "$program" $command |
            grep -oE '^  (-[a-z],)?--[a-z0-9-]+' | sed 's/.*--/--/')" -- "$current"))
    elif [[ -z $command ]]; then
        COMPREPLY=($(compgen -W "$commands" -- "$current"))
    else
        COMPREPLY=()
    fi
}

complete -F _aiffconv aiffconv
