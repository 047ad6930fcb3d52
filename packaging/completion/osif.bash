# Completion of osif for bash: subcommands, options, stores, settings and files.

# The positional arguments before the word that is completed, the subcommand first.
__osif_arguments() {
  local i
  arguments=()
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "${COMP_WORDS[i]}" in
      --device | -o | --output | --since | --since-time | --port | --count | --as | --to | --split | --prefer | --password-file | --month) ((++i)) ;;
      -*) ;;
      *) arguments+=("${COMP_WORDS[i]}") ;;
    esac
  done
}

__osif_offer_words() { mapfile -t COMPREPLY < <(compgen -W "$*" -- "$word"); }

__osif_offer_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$word")
}

__osif_offer_folders() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -d -- "$word")
}

# The options that the subcommand has beside those that all have.
__osif_options() {
  case "$1" in
    receive) echo --strict --each --add --review --dry-run -v --verbose ;;
    parse) echo --strict --each ;;
    find) echo --strict --text ;;
    restore) echo --force ;;
    send) echo -o --output --as --raw ;;
    export) echo -o --output --as --split --raw ;;
    convert) echo --to -o --output -r --recursive -v --verbose ;;
    changes) echo --since --since-time ;;
    trace) echo --port --count ;;
    push) echo --to --as --password-file ;;
    sync) echo --prefer --slow --force-delete --dry-run --password-file -v --verbose ;;
    mirror) echo --prefer --force-delete --dry-run --watch -v --verbose ;;
    sessions) echo --count ;;
    report) echo -o --output --month ;;
  esac
}

__osif_forms() { echo vcard21 vcard30 vcard40 vcal10 ical20 vnote vmsg eml mbox txt html; }

__osif_settings() {
  echo MinorClass DeviceName UsePocketPCName SecurityType MaxSimultConnections CountryCode \
    DontShowAdvanced ForceDevClassMajor ForceDevClassMinor UnnamedDeviceName NoSleepingWhileConnected \
    DefaultStatusDll DefaultPropertiesDll DefaultInputCharset DefaultOutputCharset \
    DoNotSendMsftProperties BusinessCard LogIPAddr
}

_osif() {
  local word="${COMP_WORDS[COMP_CWORD]}" before="${COMP_WORDS[COMP_CWORD - 1]}" arguments
  COMPREPLY=()
  __osif_arguments
  case "$before" in
    --device | --split) __osif_offer_folders; return ;;
    --to) [[ "${arguments[0]-}" == push ]] || __osif_offer_words "$(__osif_forms)"; return ;;
    --password-file) __osif_offer_files; return ;;
    --prefer)
      if [[ "${arguments[0]-}" == mirror ]]; then __osif_offer_words store folder; else __osif_offer_words here there; fi
      return ;;
    --as) __osif_offer_words "$(__osif_forms)"; return ;;
    -o | --output) __osif_offer_files; return ;;
    --since | --since-time | --port | --count | --month) return ;;
  esac
  if [[ "$word" == -* ]]; then
    __osif_offer_words --device --json --trace --version -h --help "$(__osif_options "${arguments[0]-}")"
    return
  fi
  case "${#arguments[@]}:${arguments[0]-}" in
    0:)
      __osif_offer_words receive send export list find count delete parse changes anchor database-id \
        settings trace convert notes show push sync mirror sessions report backup restore check
      ;;
    1:send | 1:push | 1:export | 1:show | 1:list | 1:count | 1:delete | 1:changes | 1:anchor | 1:database-id)
      __osif_offer_words pb cal note msg-in msg-sent msg-out
      ;;
    2:sync | 3:sync | 1:mirror) __osif_offer_words pb cal ;;
    2:mirror) __osif_offer_folders ;;
    1:settings) __osif_offer_words "$(__osif_settings)" ;;
    *:receive | *:parse | *:convert | 1:find | 1:backup | 1:restore) __osif_offer_files ;;
  esac
}

complete -F _osif osif
