#!/usr/bin/env bash
# Looks at what "cmake --install" puts on a system, as one who works there: programs are built against it, its
# command is run, its pages are read, its completion is asked.
#
#   installed_test.sh CHECK        with these in the environment:
#
#   PREFIX LIBDIR   where to install to; the folder of libraries in it
#   SOURCE BUILD    the project's folder and its build folder
#   VERSION         of the project
#   INTERFACE       version of the library's file
#   CC CXX CMAKE GENERATOR
set -euo pipefail

fail() { printf 'installed_test: %s\n' "$*" >&2; exit 1; }

# Tells what was expected and what there is, where they differ.
expect_same() {
  [[ "$2" == "$3" ]] || fail "$1"$'\n'"$(diff -u --label expected --label found <(printf '%s\n' "$2") <(printf '%s\n' "$3"))"
}

lines() { printf '%s\n' "$@"; }

scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT
export OSIF_DEVICE="$scratch/device" LC_ALL=C.UTF-8
unset LD_LIBRARY_PATH PKG_CONFIG_PATH
libraries="$PREFIX/$LIBDIR"
osif="$PREFIX/bin/osif"
plain_names=$'Jörg Müßig\nAurélie Fenêtre\nOK'

# ---- What is where -----------------------------------------------------------------------------------

check_files() {
  rm -rf "$PREFIX"
  "$CMAKE" --install "$BUILD" --prefix "$PREFIX" >"$scratch/log" || fail "$(cat "$scratch/log")"
  local found
  found="$(cd "$PREFIX" && find . ! -type d -printf '%P\n' | grep -v 'osif-targets-' | sort)"
  expect_same "installed files" "$(lines bin/osif bin/osifd include/osif.h \
    "$LIBDIR"/cmake/osif/{osif-config,osif-config-version,osif-targets}.cmake \
    "$LIBDIR"/{libosif.so,libosif.so.0,"libosif.so.$INTERFACE",pkgconfig/osif.pc} \
    lib/systemd/{system,user}/osifd.service lib/systemd/user/osif-mirror@.service share/bash-completion/completions/osif \
    share/man/man1/{osif,osifd}.1 share/man/man3/libosif.3 share/zsh/site-functions/_osif \
    share/fish/vendor_completions.d/osif.fish | sort)" "$found"
  local unit
  for unit in "$PREFIX"/lib/systemd/*/osifd.service; do
    grep -q "^ExecStart=$PREFIX/bin/osifd " "$unit" || fail "$unit starts something else"
  done
  unit="$PREFIX/lib/systemd/user/osif-mirror@.service"
  grep -q "^ExecStart=$PREFIX/bin/osif mirror --watch " "$unit" || fail "$unit starts something else"
}

# ---- Programs built against it -----------------------------------------------------------------------

# The program that libosif(3) shows.
page_example() {
  sed '1,/^\.Sh EXAMPLES/d' "$PREFIX/share/man/man3/libosif.3" |
    sed -n '/^\.Bd -literal/,/^\.Ed/p' | sed '1d; $d; s/\\e/\\/g'
}

run_example() {
  cp "$SOURCE/samples/plain.vcf" "$scratch/card.vcf"
  expect_same "the example of the man page" $'store 0: 00000001\n1 added' "$(cd "$scratch" && "$1")"
}

run_names() {
  expect_same "the C++ program" "$plain_names" "$("$1" "$SOURCE/samples/quoted-printable.vcf")"
}

check_pkg_config() {
  local flags
  export PKG_CONFIG_PATH="$libraries/pkgconfig"
  expect_same "version in osif.pc" "$VERSION" "$(pkg-config --modversion osif)"
  read -ra flags < <(pkg-config --cflags --libs osif)
  page_example >"$scratch/example.c"
  "$CC" -std=c11 -Wall -Wextra -Wpedantic -Werror "$scratch/example.c" "${flags[@]}" -o "$scratch/example"
  "$CXX" -std=c++11 -Wall -Wextra -Wpedantic -Werror "$SOURCE/tests/install/user/names.cpp" "${flags[@]}" \
    -o "$scratch/names"
  export LD_LIBRARY_PATH="$libraries"
  run_example "$scratch/example"
  run_names "$scratch/names"
}

configure_user() {
  "$CMAKE" -S "$1" -B "$2" -G "$GENERATOR" -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
    -DCMAKE_PREFIX_PATH="$PREFIX" -DEXAMPLE="$scratch/example.c"
}

check_cmake() {
  page_example >"$scratch/example.c"
  configure_user "$SOURCE/tests/install/user" "$scratch/user" >"$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
  "$CMAKE" --build "$scratch/user" >"$scratch/log" 2>&1 || fail "$(cat "$scratch/log")"
  run_example "$scratch/user/example"
  run_names "$scratch/user/names"
  # What was asked of version 1 is there; what is not written yet is not.
  mkdir "$scratch/other"
  lines 'cmake_minimum_required(VERSION 3.25)' 'project(other C)' 'find_package(osif 3.0 REQUIRED)' \
    >"$scratch/other/CMakeLists.txt"
  if configure_user "$scratch/other" "$scratch/other/build" >"$scratch/log" 2>&1; then
    fail "find_package takes this version for 3.0"
  fi
  grep -q 'considered but not accepted' "$scratch/log" || fail "$(cat "$scratch/log")"
}

# ---- The library and the command ---------------------------------------------------------------------

check_library() {
  local library="$libraries/libosif.so.$INTERFACE" exported
  expect_same "soname" libosif.so.0 "$(objdump -p "$library" | awk '$1 == "SONAME" { print $2 }')"
  expect_same "libosif.so.0" "libosif.so.$INTERFACE" "$(readlink "$libraries/libosif.so.0")"
  expect_same "libosif.so" libosif.so.0 "$(readlink "$libraries/libosif.so")"
  exported="$(nm -D --defined-only "$library" | awk '{ print $NF }' | sort)"
  expect_same "number of exported names" 21 "$(wc -l <<<"$exported")"
  expect_same "exported names against the header" \
    "$(prototypes | sed 's/(.*//' | sort)" "$exported"
  expect_same "exported names against the package's symbols" \
    "$(sed -n 's/^ \([A-Za-z_]*\)@Base .*/\1/p' "$SOURCE/debian/libosif0.symbols" | sort)" "$exported"
}

check_command() {
  expect_same "the library that the command finds" "$(readlink -f "$libraries/libosif.so.0")" \
    "$(readlink -f "$(ldd "$osif" | awk '$1 == "libosif.so.0" { print $3 }')")"
  "$osif" receive "$SOURCE/samples/plain.vcf" >/dev/null
  expect_same "osif list" "00000001  Mara Lindqvist" "$("$osif" list pb)"
}

# ---- Pages -------------------------------------------------------------------------------------------

subcommands() { "$osif" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z-]*\) .*/\1/p'; }

# The options of the command itself, or of a subcommand.
options() { "$osif" "$@" --help | sed -n '/^Options:/,/^$/s/^  \(-[^ ]*\).*/\1/p' | tr , '\n'; }

settings() { "$osif" settings | sed 's/ = .*//'; }

# The functions as the header declares them, a line each: "OSIF_CL_Close(int32_t store_id);".
prototypes() {
  sed '/^#/d' "$PREFIX/include/osif.h" | tr '\n' ' ' | grep -o 'OSIF_API [^;]*;' | tr -s ' ' |
    sed 's/.* \(OSIF_[A-Za-z_]*(\)/\1/'
}

# The text of a page, without the breaks of its lines and without bold type.
text_of() { mandoc -Tutf8 -O width=1000 "$PREFIX/share/man/$1" | sed 's/.\x08//g'; }

# Whether a text has a word, hyphens being parts of words.
has_word() { grep -qE -- "(^|[^-[:alnum:]])$2([^-[:alnum:]]|$)" <<<"$1"; }

check_lint() {
  mandoc -Tlint -W warning "$PREFIX/share/man/$1" || fail "$1"
}

check_pages() {
  local page text name code number prototype
  for page in man1/osif.1 man3/libosif.3; do check_lint "$page"; done

  text="$(text_of man1/osif.1)"
  for name in $(subcommands); do
    grep -q "^     $name\( \|$\)" <<<"$text" || fail "osif(1) does not explain $name"
    for code in $(options "$name"); do
      has_word "$text" "$code" || fail "osif(1) lacks $code of $name"
    done
  done
  for name in $(options) $(settings); do
    has_word "$text" "$name" || fail "osif(1) lacks $name"
  done

  text="$(text_of man3/libosif.3)"
  while read -r prototype; do
    grep -qxF "     $prototype" <<<"$text" || fail "libosif(3) does not declare $prototype"
    name="${prototype%%(*}"
    grep -qF "$name()" <<<"$text" || fail "libosif(3) does not explain $name"
  done < <(prototypes)
  while read -r name number; do
    grep -q "\(^     \|, \)$number $name\>" <<<"$text" || fail "libosif(3) lacks result $number, $name"
  done < <(sed -n 's/^  \(OSIF_\(OK\|ERR_[A-Z_]*\|PARSE_[A-Z]*\)\) = \([0-9]*\).*/\1 \3/p' "$PREFIX/include/osif.h")
}

# ---- Completion --------------------------------------------------------------------------------------

# What bash offers for the last of the words.
offered() {
  bash --norc --noprofile -c '
    source "$1"
    shift
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    function_name="$(complete -p osif | sed "s/.*-F \([^ ]*\) .*/\1/")"
    "$function_name"
    printf "%s\n" "${COMPREPLY[@]}"' \
    bash "$PREFIX/share/bash-completion/completions/osif" osif "$@" | sort
}

check_completion() {
  local name stores=$'cal\nmsg-in\nmsg-out\nmsg-sent\nnote\npb'
  expect_same "subcommands" "$(subcommands | sort)" "$(offered '')"
  expect_same "subcommands behind an option" "$(subcommands | sort)" "$(offered --device somewhere '')"
  expect_same "options" "$(options | sort)" "$(offered -)"
  for name in $(subcommands); do
    expect_same "options of $name" "$({ options; options "$name"; } | sort -u)" "$(offered "$name" -)"
    # After an address the store is another word, and not every store can be mirrored.
    [[ "$name" != mirror ]] || continue
    if "$osif" "$name" --help | grep -A1 '^Positionals:' | grep -q '^  STORE '; then
      expect_same "stores of $name" "$stores" "$(offered "$name" '')"
    fi
  done
  expect_same "stores of sync" $'cal\npb' "$(offered sync 127.0.0.1:6500 '')"
  expect_same "stores of mirror" $'cal\npb' "$(offered mirror '')"
  expect_same "stores with a beginning" $'msg-in\nmsg-out\nmsg-sent' "$(offered list m)"
  expect_same "no second store" "" "$(offered list pb '')"
  expect_same "settings" "$(settings | sort)" "$(offered settings '')"
  cd "$SOURCE/samples"
  expect_same "files of receive" $'calendar.vcs' "$(offered receive plain.vcf cal)"
  expect_same "files of send -o" $'calendar.vcs' "$(offered send pb 1 -o cal)"
  cd "$SOURCE"
  expect_same "folders of --device" samples "$(offered --device samp)"
  check_zsh
}

# Its words alone, which have to be those of the command.
check_zsh() {
  local file="$PREFIX/share/zsh/site-functions/_osif" name text
  if command -v zsh >/dev/null; then zsh -n "$file"; fi
  text="$(tr -cs 'A-Za-z-' '\n' <"$file" | sort -u)"
  for name in $(subcommands; settings); do
    grep -qxe "$name" <<<"$text" || fail "the completion for zsh lacks $name"
  done
  # Where an option is described, not where it is said to exclude another.
  for name in $(options; for one in $(subcommands); do options "$one"; done); do
    grep -qEe "[,'){]${name}[[,}]" "$file" || fail "the completion for zsh lacks $name"
  done
}

# What fish offers where it is installed; else whether all is there.
offered_by_fish() {
  fish --no-config -c 'set PATH (path dirname $argv[1]) $PATH; source $argv[2]; complete -C $argv[3]' \
    "$osif" "$PREFIX/share/fish/vendor_completions.d/osif.fish" "$1" | sort
}

check_fish() {
  local file="$PREFIX/share/fish/vendor_completions.d/osif.fish" name option
  for name in $(subcommands); do
    grep -qE "[ ']$name[ ']" "$file" || fail "the completion for fish lacks $name"
    for option in $(options "$name" | sed -n 's/^--//p'); do
      grep -qE -- "-l $option( |$)" "$file" || fail "the completion for fish lacks --$option of $name"
    done
  done
  command -v fish >/dev/null || return 0
  "$osif" receive "$SOURCE/samples/plain.vcf" >/dev/null
  expect_same "subcommands in fish" "$(subcommands | sort)" "$(offered_by_fish 'osif ')"
  expect_same "stores in fish" $'cal\nmsg-in\nmsg-out\nmsg-sent\nnote\npb' "$(offered_by_fish 'osif list ')"
  expect_same "ids in fish" $'00000001\tMara Lindqvist' "$(offered_by_fish 'osif show pb ')"
}

check_uninstall() {
  "$CMAKE" --build "$BUILD" --target uninstall >"$scratch/log" || fail "$(cat "$scratch/log")"
  [[ ! -e "$PREFIX" ]] || fail "$(find "$PREFIX") is left"
}

"check_$1"
