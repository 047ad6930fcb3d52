#compdef osif
# Completion of osif for zsh: subcommands, options, stores, settings and files.

_osif() {
  local -a common subcommands
  local store='1:store:(pb cal note msg-in msg-sent msg-out)'
  local raw='--raw[write the bytes as they are also to a terminal]'
  local forms='(vcard21 vcard30 vcard40 vcal10 ical20 vnote vmsg eml mbox txt html)'
  local strict='--strict[hand the bytes to the library as they are]'
  local each='--each[with --strict: read every object by itself]'
  local state line
  common=(
    '--device[the folder of the device]:folder:_files -/'
    '--json[print one JSON object a line]'
    '--trace[show the diagnostic lines of the library]'
    '--version[show the version]'
    '(-h --help)'{-h,--help}'[show the options]'
  )
  subcommands=(
    'receive:store every object of files'
    'send:write one object of a store as text'
    'export:write every object of a store to a file'
    'list:show the ids and names of the objects of a store'
    'find:look for the objects of a file, or for a text, in the stores'
    'count:show how many objects a store holds'
    'delete:delete objects of a store'
    'parse:read files without storing anything'
    'changes:show what was changed since an anchor'
    'anchor:show the anchor of a store'
    'database-id:show the database id of a store'
    'settings:show or change the settings'
    'trace:receive and print diagnostic lines'
    'convert:write the objects of files in another form'
    'notes:list or print the notes in the folder of the device'
    'show:show one object of a store, every field by its name'
    'push:send objects of a store to another device'
    'sync:make this device and another one equal'
    'mirror:keep a store and a folder of files equal'
    'sessions:show the last sessions of peers with osifd'
    'report:write a page that shows the device in a browser'
    'backup:save the whole device as one file'
    'restore:put a saved device in the place of the device'
    'check:say what is wrong with the device'
  )

  _arguments -C $common '1:subcommand:->subcommand' '*::argument:->argument'
  case $state in
    subcommand) _describe 'subcommand' subcommands ;;
    argument)
      case $words[1] in
        receive)
          _arguments $common $strict $each '--add[add every object, update none]' \
            '--review[ask before an update]' '--dry-run[say what would be stored]' '(-v --verbose)'{-v,--verbose}'[say of each object what was done]' \
            '*:file:_files' ;;
        parse) _arguments $common $strict $each '*:file:_files' ;;
        convert)
          _arguments $common '--to[the form]:form:'$forms '(-o --output)'{-o,--output}'[the file]:file:_files' \
            '(-r --recursive)'{-r,--recursive}'[take the files of folders]' \
            '(-v --verbose)'{-v,--verbose}'[say of each object what was done]' '*:file:_files' ;;
        notes) _arguments $common '*:name:' ;;
        show) _arguments $common $store '2:id:' ;;
        send)
          _arguments $common '(-o --output)'{-o,--output}'[the file]:file:_files' '--as[the form]:form:'$forms \
            $raw $store '2:id:' ;;
        export)
          _arguments $common '(--split -o --output)'{-o,--output}'[the file]:file:_files' \
            '(-o --output)--split[a folder, a file for each object]:folder:_files -/' '--as[the form]:form:'$forms \
            $raw $store ;;
        list | count | anchor | database-id) _arguments $common $store ;;
        find) _arguments $common $strict '--text[it is a text, also where a file has that name]' '1:file:_files' ;;
        backup) _arguments $common '1:file:_files' ;;
        restore) _arguments $common '--force[replace a device that holds something]' '1:file:_files' ;;
        check) _arguments $common ;;
        delete) _arguments $common $store '*:id:' ;;
        changes)
          _arguments $common $store \
            '(--since-time)--since[the change counter seen last]:counter:' \
            '(--since)--since-time[the time of the change seen last]:time:' ;;
        settings)
          _arguments $common '1:setting:(MinorClass DeviceName UsePocketPCName SecurityType
            MaxSimultConnections CountryCode DontShowAdvanced ForceDevClassMajor ForceDevClassMinor
            UnnamedDeviceName NoSleepingWhileConnected DefaultStatusDll DefaultPropertiesDll
            DefaultInputCharset DefaultOutputCharset DoNotSendMsftProperties BusinessCard LogIPAddr)' '2:value:' ;;
        push)
          _arguments $common '--to[the device]:address:' '--as[the form]:form:'$forms \
            '--password-file[a file with the password]:file:_files' $store '*:id:' ;;
        sync)
          _arguments $common '--prefer[whose change wins]:side:(here there)' '--slow[compare all objects]' \
            '--force-delete[delete also most of a store]' '--dry-run[say what would be done]' \
            '--password-file[a file with the password]:file:_files' \
            '(-v --verbose)'{-v,--verbose}'[say of each object what was done]' \
            '1:address:' '*:store:(pb cal)' ;;
        mirror)
          _arguments $common '--prefer[whose change wins]:side:(store folder)' \
            '--force-delete[delete also most of the objects]' '--dry-run[say what would be done]' \
            '--watch[go on, and run again when something changes]' \
            '(-v --verbose)'{-v,--verbose}'[say of each object what was done]' \
            '1:store:(pb cal)' '2:folder:_files -/' ;;
        sessions) _arguments $common '--count[show so many]:count:' ;;
        report)
          _arguments $common '(-o --output)'{-o,--output}'[the page]:file:_files' \
            '--month[the month that is shown first, YYYY-MM]:month:' ;;
        trace)
          _arguments $common '--port[the port to listen on]:port:' '--count[end after so many lines]:count:' ;;
      esac
      ;;
  esac
}

_osif "$@"
