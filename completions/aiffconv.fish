# SPDX-License-Identifier: MIT
# Completion for aiffconv in fish. The program itself says what may come next.

function __aiffconv_candidates
    set -l words (commandline -opc)
    set -l current (commandline -ct)
    set -l lines (command $words[1] --complete $words[2..-1] "$current" 2>/dev/null)
    printf '%s\n' $lines[2..-1]
    set -l paths (string split ' ' -- $lines[1])
    test "$paths[1]" = none; and return
    set -l before (string match -r -- '^--[^=]*=' "$current")
    set -l value (string replace -r -- '^--[^=]*=' '' "$current")
    set -l endings (string join '|' '\\'$paths[2..-1]'$') # as a pattern
    # What fish itself offers for a command that it does not know.
    for path in (complete -C "__aiffconv_path $value" | string replace -r '\t.*' '')
        if string match -qr '/$' -- $path
            printf '%s\n' "$before$path"
        else if test $paths[1] = files
            if not set -q paths[2]; or string match -qir -- $endings $path
                printf '%s\n' "$before$path"
            end
        end
    end
end

complete -c aiffconv -e
complete -c aiffconv -f -a '(__aiffconv_candidates)'
