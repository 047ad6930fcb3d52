// What makes a line of vObject text: where a physical line ends, and when the next one goes on with it
// (vCard 2.1, section 2.1.3; RFC 2045, section 6.7). Whoever takes a file apart asks here, so that all find
// the same lines in it.
#pragma once

#include <cstddef>
#include <string_view>

#include "btosif/osif_util/ascii.h"

// True for the character at whose presence at its start a line goes on with the one before it.
constexpr bool IsFoldCharacter(char c) { return IsBlankOrTab(c); }

// True for a line, without its line end, whose last "=" is a soft break: it and the line end do not count.
// In a run of "=" at the end two of them are a pair, which is text; only the one that is left over breaks.
constexpr bool EndsInSoftBreak(std::string_view line) {
  if (!line.ends_with('=')) return false;
  if (line.size() == 1 || line[line.size() - 2] != '=') return true;
  const size_t other = line.find_last_not_of('=');
  const size_t run = other == std::string_view::npos ? line.size() : line.size() - other - 1;
  return run % 2 == 1;
}

// A physical line without its LF or CR LF.
constexpr std::string_view WithoutLineEnd(std::string_view line) {
  if (!line.ends_with('\n')) return line;
  line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

// What counts of a line: nothing from its first carriage return or zero byte on.
constexpr std::string_view CutLine(std::string_view line) {
  line = line.substr(0, line.find('\r'));
  return line.substr(0, line.find('\0'));
}
