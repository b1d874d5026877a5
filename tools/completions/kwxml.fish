# Completion of kwxml and kwxml-catalogue in fish. The programs themselves say what may stand at the cursor.

function __kwxml_complete
    set -l words (commandline -opc)
    set -l program (string replace -r '^~/' "$HOME/" -- $words[1])
    set -e words[1]
    command -q $program; or return
    set -l current (commandline -ct | string replace -ra '[\'"\\\\]' '')
    # Paths stand behind the name of an option in the same word, or alone.
    set -l before (string match -r '^--[^=]*=' -- $current)
    set -l path (string replace -- "$before" '' "$current")
    for line in ($program --complete $words "$current" 2>/dev/null)
        switch $line
            case ':file'
                printf '%s\n' "$before"(__fish_complete_path $path)
            case ':folder'
                printf '%s\n' "$before"(__fish_complete_directories $path '')
            case '*'
                printf '%s\n' $line
        end
    end
end

complete -c kwxml -f -a '(__kwxml_complete)'
complete -c kwxml-catalogue -f -a '(__kwxml_complete)'
