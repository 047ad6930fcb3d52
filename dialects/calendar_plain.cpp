// One pass over the lines, and each has to pass the check of its row. Whatever would need to be compared with something
// else than its own line (zones, rules, exceptions, people) is not plain; alarms are, as they are compared with the
// start at the end.
#include "dialects/calendar_plain.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "btosif/osif_util/quoted_printable.h"
#include "dialects/calendar_time.h"
#include "dialects/charsets.h"

namespace dialects {
namespace {

constexpr int64_t kLongestAlarm = 45 * kSecondsPerDay;

// The next line; nothing where it does not end with CR LF, or could be part of another.
std::optional<std::string_view> TakeLine(std::string_view& text) {
  const size_t end = text.find('\n');
  if (end == std::string_view::npos || end == 0 || text[end - 1] != '\r') return std::nullopt;
  const std::string_view line = text.substr(0, end - 1);
  text.remove_prefix(end + 1);
  const bool is_printable = std::ranges::all_of(line, [](char c) { return c >= ' ' && c <= '~'; });
  if (line.empty() || !is_printable || line.front() == ' ' || line.back() == '=') {
    return std::nullopt;
  }
  return line;
}

// ---- Checks of values. `params` are those after the name. ------------------------------------------------

bool IsText(std::string_view params, std::string_view value) {
  constexpr std::string_view kEncoded = ";ENCODING=QUOTED-PRINTABLE";
  constexpr std::string_view kUtf8 = ";CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE";
  if (value.find_first_of("\\;") != std::string_view::npos) return false;
  if (value.starts_with(' ') || value.ends_with(' ')) return false;
  if (params.empty()) return true;
  if (params != kEncoded && params != kUtf8) return false;
  const std::string decoded = QuotedPrintableDecode(value);
  if (decoded.find('\\') != std::string::npos) return false;
  return params == kUtf8 ? IsUtf8(decoded) : IsAsciiText(decoded);
}

bool IsPresentText(std::string_view params, std::string_view value) {
  return !value.empty() && IsText(params, value);
}

bool HasDigits(std::string_view text, size_t begin, size_t count) {
  return std::ranges::all_of(text.substr(begin, count),
                             [](char c) { return c >= '0' && c <= '9'; });
}

bool IsUtcTime(std::string_view params, std::string_view value) {
  return params.empty() && value.size() == 16 && value[8] == 'T' && value[15] == 'Z' &&
         HasDigits(value, 0, 8) && HasDigits(value, 9, 6) && value.substr(9, 2) != "24" &&
         value.substr(13, 2) < "60" && ReadMoment(value);
}

bool IsDayOrNone(std::string_view params, std::string_view value) {
  if (!params.empty()) return false;
  return value.empty() || (value.size() == 8 && HasDigits(value, 0, 8) && ReadMoment(value));
}

bool IsEmpty(std::string_view params, std::string_view value) {
  return params.empty() && value.empty();
}

template <const auto& kWords>
bool IsWord(std::string_view params, std::string_view value) {
  return params.empty() && std::ranges::find(kWords, value) != std::end(kWords);
}

constexpr std::array<std::string_view, 3> kClasses = {"", "PUBLIC", "PRIVATE"};
constexpr std::array<std::string_view, 4> kEventStates = {"NEEDS ACTION", "TENTATIVE", "DECLINED",
                                                          "CONFIRMED"};
constexpr std::array<std::string_view, 2> kTaskStates = {"NEEDS ACTION", "COMPLETED"};
constexpr std::array<std::string_view, 2> kNoPriorities = {"", "0"};
constexpr std::array<std::string_view, 4> kPriorities = {"", "1", "2", "3"};
constexpr std::array<std::string_view, 1> kFalse = {"FALSE"};

struct PlainRow {
  std::string_view name;
  bool (*is_plain)(std::string_view params, std::string_view value);
  bool is_required;
};

constexpr PlainRow kEventRows[] = {
    {"SUMMARY", IsText, false},
    {"DESCRIPTION", IsText, true},
    {"DTSTART", IsUtcTime, true},
    {"DTEND", IsUtcTime, true},
    {"CLASS", IsWord<kClasses>, false},
    {"PRIORITY", IsWord<kNoPriorities>, false},
    {"STATUS", IsWord<kEventStates>, false},
    {"LOCATION", IsText, false},
    {"CATEGORIES", IsText, false},
    {"DALARM", IsUtcTime, false},
    {"AALARM", IsUtcTime, false},
    {"X-IRMC-LUID", IsText, false},
    {"X-BLUETOOTH-ALLDAYEVENT", IsWord<kFalse>, false},
};

constexpr PlainRow kTaskRows[] = {
    {"CATEGORIES", IsText, true},
    {"CLASS", IsWord<kClasses>, false},
    {"COMPLETED", IsEmpty, true},
    {"DESCRIPTION", IsText, true},
    {"DTSTART", IsDayOrNone, false},
    {"DUE", IsDayOrNone, true},
    {"PRIORITY", IsWord<kPriorities>, true},
    {"STATUS", IsWord<kTaskStates>, true},
    {"SUMMARY", IsPresentText, true},
    {"X-IRMC-LUID", IsText, false},
};

// The values of a component's rows by their numbers; nothing where a row was not met.
template <size_t kCount>
using RowValues = std::array<std::optional<std::string_view>, kCount>;

// Takes the lines of a component up to its end. False for one that is not plain.
template <size_t kCount>
bool TakeRows(std::string_view& text, const PlainRow (&rows)[kCount], std::string_view end,
              RowValues<kCount>& values) {
  while (const std::optional<std::string_view> line = TakeLine(text)) {
    if (*line == end) {
      for (size_t i = 0; i < kCount; ++i) {
        if (rows[i].is_required && !values[i]) return false;
      }
      return true;
    }
    const size_t colon = line->find(':');
    if (colon == std::string_view::npos) return false;
    const size_t name_end = std::min(line->find(';'), colon);
    const auto* row = std::ranges::find(rows, line->substr(0, name_end), &PlainRow::name);
    if (row == std::end(rows) || values[static_cast<size_t>(row - rows)]) return false;
    const std::string_view value = line->substr(colon + 1);
    if (!row->is_plain(line->substr(name_end, colon - name_end), value)) return false;
    values[static_cast<size_t>(row - rows)] = value;
  }
  return false;
}

template <size_t kCount>
std::optional<std::string_view> ValueOf(std::string_view name, const PlainRow (&rows)[kCount],
                                        const RowValues<kCount>& values) {
  const auto* row = std::ranges::find(rows, name, &PlainRow::name);
  return values[static_cast<size_t>(row - rows)];
}

int64_t SecondsOf(std::string_view time) { return CivilSeconds(ReadMoment(time)->time); }

// The end is not before the start, and an alarm is one that the store takes.
bool AreTimesPlain(const RowValues<std::size(kEventRows)>& values) {
  const int64_t start = SecondsOf(*ValueOf("DTSTART", kEventRows, values));
  if (SecondsOf(*ValueOf("DTEND", kEventRows, values)) < start) return false;
  const auto shown = ValueOf("DALARM", kEventRows, values);
  const auto heard = ValueOf("AALARM", kEventRows, values);
  if (!shown && !heard) return true;
  if (shown && heard && *shown != *heard) return false;
  const int64_t before = start - SecondsOf(shown ? *shown : *heard);
  return before >= 0 && before <= kLongestAlarm;
}

}  // namespace

bool IsPlainCalendar(std::string_view text) {
  if (TakeLine(text) != "BEGIN:VCALENDAR" || TakeLine(text) != "VERSION:1.0") return false;
  const std::optional<std::string_view> begin = TakeLine(text);
  if (begin == "BEGIN:VEVENT") {
    RowValues<std::size(kEventRows)> values;
    if (!TakeRows(text, kEventRows, "END:VEVENT", values) || !AreTimesPlain(values)) return false;
  } else if (begin == "BEGIN:VTODO") {
    RowValues<std::size(kTaskRows)> values;
    if (!TakeRows(text, kTaskRows, "END:VTODO", values)) return false;
  } else {
    return false;
  }
  return text == "END:VCALENDAR\r\n" || text == "END:VCALENDAR";
}

}  // namespace dialects
