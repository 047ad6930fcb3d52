# Completion of osif for fish: subcommands, options, stores, ids with their names, settings and files.

set -g __osif_stores pb cal note msg-in msg-sent msg-out
set -g __osif_forms vcard21 vcard30 vcard40 vcal10 ical20 vnote vmsg eml mbox txt html

# The words that are no options, "osif" left out.
function __osif_arguments
    set -l words
    set -l skips 0
    for word in (commandline -opc)[2..-1]
        if test $skips -eq 1
            set skips 0
        else if contains -- $word --device -o --output --since --since-time --port --count --as --to --split --prefer --password-file --month
            set skips 1
        else if not string match -q -- '-*' $word
            set -a words $word
        end
    end
    string join \n -- $words
end

# Whether a subcommand was given, and that many arguments after it.
function __osif_is -a count
    set -l words (__osif_arguments)
    test (count $words) -eq (math $count + 1); and contains -- "$words[1]" $argv[2..-1]
end

function __osif_has_no_subcommand
    test (count (__osif_arguments)) -eq 0
end

function __osif_uses
    set -l words (__osif_arguments)
    contains -- "$words[1]" $argv
end

# Ids with their names, of the device that the line names.
function __osif_ids
    set -l words (__osif_arguments)
    set -l line (commandline -opc)
    set -l device
    if set -l place (contains -i -- --device $line)
        set device --device $line[(math $place + 1)]
    end
    osif $device list $words[2] 2>/dev/null | string replace -r '^(\S+)\s+' '$1\t'
end

complete -c osif -f
complete -c osif -n __osif_has_no_subcommand -a 'receive send export list find count delete parse changes anchor database-id settings trace convert notes show push sync mirror sessions report backup restore check'
complete -c osif -l device -r -a '(__fish_complete_directories)' -d 'The device, a folder'
complete -c osif -l json -d 'One JSON object a line'
complete -c osif -l trace -d 'Show what the library says'
complete -c osif -l version -d 'The version, and what it was built with'
complete -c osif -s h -l help -d 'Help'

complete -c osif -n '__osif_is 0 send push export show list count delete changes anchor database-id' -a "$__osif_stores"
complete -c osif -n '__osif_is 0 mirror' -a 'pb cal'
complete -c osif -n '__osif_is 1 sync; or __osif_is 2 sync' -a 'pb cal'
complete -c osif -n '__osif_is 1 send show; or __osif_uses delete push; and not __osif_is 0 delete push' -a '(__osif_ids)'
complete -c osif -n '__osif_is 1 mirror' -a '(__fish_complete_directories)'
complete -c osif -n '__osif_uses receive parse convert find backup restore' -F
complete -c osif -n '__osif_is 0 settings' -a "(osif settings 2>/dev/null | string replace -r ' = .*' '')"

complete -c osif -n '__osif_uses receive' -l strict -l each -l add -l review -l dry-run -s v -l verbose
complete -c osif -n '__osif_uses parse' -l strict -l each
complete -c osif -n '__osif_uses find' -l strict -l text
complete -c osif -n '__osif_uses send export' -l as -x -a "$__osif_forms"
complete -c osif -n '__osif_uses send export' -l raw
complete -c osif -n '__osif_uses send export convert report' -s o -l output -r -F
complete -c osif -n '__osif_uses export' -l split -x -a '(__fish_complete_directories)'
complete -c osif -n '__osif_uses convert' -l to -x -a "$__osif_forms"
complete -c osif -n '__osif_uses convert' -s r -l recursive -s v -l verbose
complete -c osif -n '__osif_uses changes' -l since -l since-time -x
complete -c osif -n '__osif_uses trace' -l port -l count -x
complete -c osif -n '__osif_uses push' -l as -x -a "$__osif_forms"
complete -c osif -n '__osif_uses push' -l to -x
complete -c osif -n '__osif_uses push sync' -l password-file -r -F
complete -c osif -n '__osif_uses sync' -l prefer -x -a 'here there'
complete -c osif -n '__osif_uses mirror' -l prefer -x -a 'store folder'
complete -c osif -n '__osif_uses sync mirror' -l force-delete -l dry-run -s v -l verbose
complete -c osif -n '__osif_uses sync' -l slow
complete -c osif -n '__osif_uses mirror' -l watch
complete -c osif -n '__osif_uses sessions' -l count -x
complete -c osif -n '__osif_uses report' -l month -x
complete -c osif -n '__osif_uses restore' -l force
