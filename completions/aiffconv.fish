# SPDX-License-Identifier: MIT
# Completion for aiffconv in fish. Commands and options come from the program's own help,
# so they always match the installed version.

function __aiffconv_section # NAME COMMAND...: the entries of one section of its help
    $argv[2..-1] --help 2>/dev/null | sed -n "/^$argv[1]:/,/^\$/p" | grep '^  [^ ]'
end

function __aiffconv_commands
    __aiffconv_section Subcommands aiffconv | sed -E 's/^ +([^ ]+) +(.*)/\1\t\2/'
end

function __aiffconv_options
    set -l command (commandline -opc)[2..-1]
    set -l known (__aiffconv_commands | cut -f 1)
    set -l chosen
    for word in $command
        if contains -- $word $known
            set chosen $word
            break
        end
    end
    __aiffconv_section Options aiffconv $chosen |
        grep -oE '^  (-[a-z],)?--[a-z0-9-]+' | sed 's/.*--/--/'
end

complete -c aiffconv -n __fish_use_subcommand -f -a '(__aiffconv_commands)'
complete -c aiffconv -n 'string match -q -- "-*" (commandline -ct)' -a '(__aiffconv_options)'
complete -c aiffconv -l trace -x -a 'error info debug'
