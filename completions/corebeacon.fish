# Completion of corebeacon's command line for fish. The program itself says what may follow.
function __corebeacon_complete
    set -l words (commandline -opc) (commandline -ct)
    # A statement in quotes is one word, its quote still open.
    set words[-1] (string replace -r '^[\'"]' '' -- $words[-1])
    for line in ($words[1] complete -- $words[2..-1] 2>/dev/null)
        if test "$line" = \tfile
            __fish_complete_path $words[-1]
        else
            echo $line
        end
    end
end
complete -c corebeacon -f -a '(__corebeacon_complete)'
