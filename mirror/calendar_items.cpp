// Components are told apart by a walk over all lines. Only the lines of the one that the store shows become items; of the
// others it is kept which days they stand for, and which zones there are. A time is compared as the instant that it is, or
// as a day; a rule without what it says anyway.
#include "mirror/calendar_items.h"

#include <algorithm>
#include <array>

#include "btosif/osif_util/ascii.h"
#include "dialects/calendar_frame.h"
#include "dialects/recurrence.h"

namespace mirror {
namespace {

using namespace std::string_view_literals;
using dialects::ContentLine;
using dialects::Moment;
using dialects::TimeKind;

constexpr std::array<std::string_view, 3> kItems = {"VEVENT", "VTODO", "VJOURNAL"};
constexpr std::array<std::string_view, 5> kInCalendar = {"VEVENT", "VTODO", "VJOURNAL", "VTIMEZONE",
                                                         "VFREEBUSY"};

// What is no content of an item, or no store shows.
constexpr std::array<std::string_view, 11> kNoContent = {
    "UID",         "DTSTAMP",       "CREATED", "DCREATED",         "LAST-MODIFIED", "SEQUENCE",
    "X-IRMC-LUID", "RECURRENCE-ID", "PRODID",  "PERCENT-COMPLETE", "DURATION"};

constexpr std::array<std::string_view, 6> kTimes = {"DTSTART",   "DTEND",  "DUE",
                                                    "COMPLETED", "EXDATE", "RDATE"};
constexpr std::array<std::string_view, 4> kWords = {"CLASS", "STATUS", "TRANSP", "PRIORITY"};
// Of which there may be several; all other names are single.
constexpr std::array<std::string_view, 11> kSeveral = {
    "ATTENDEE", "EXDATE", "RDATE",     "CATEGORIES", "COMMENT",       "ATTACH",
    "CONTACT",  "EXRULE", "RESOURCES", "RELATED-TO", "REQUEST-STATUS"};

struct DefaultRow {
  std::string_view name;
  std::string_view value;
  bool is_of_tasks;  // alone
};
// What is said where nothing is written.
constexpr std::array<DefaultRow, 4> kDefaults = {{{"CLASS", "PUBLIC", false},
                                                  {"TRANSP", "OPAQUE", false},
                                                  {"PRIORITY", "0", false},
                                                  {"STATUS", "NEEDS-ACTION", true}}};

bool IsOneOf(std::string_view name, auto const& names) {
  return std::ranges::find(names, name) != std::end(names);
}

std::string Trimmed(std::string_view text) {
  std::string trimmed;
  for (const char c : text) {
    if (c != '\r') trimmed += c;
  }
  const size_t begin = trimmed.find_first_not_of(" \t\n");
  if (begin == std::string::npos) return {};
  return trimmed.substr(begin, trimmed.find_last_not_of(" \t\n") - begin + 1);
}

// ---- Components ---------------------------------------------------------------------------------------------

// Takes the lines apart into the components of a calendar. Those inside of a component are known by where they begin,
// alarms by their lines.
class PartReader {
 public:
  explicit PartReader(const TextLines& lines) : lines_(lines) {}

  bool Read() {
    const std::vector<ContentLine>& contents = lines_.contents;
    size_t i = 0;
    for (; i < contents.size() && !is_done_; ++i) {
      const bool is_begin = contents[i].name == "BEGIN";
      const bool is_end = contents[i].name == "END";
      const std::string what = is_begin || is_end ? NameIn(contents[i].value) : "";
      if (is_begin) {
        Open(what, i);
      } else if (is_end) {
        Close(what, i);
      } else if (!open_.empty() && too_deep_ == 0) {
        open_.back().own.push_back(i);
      }
    }
    while (!open_.empty()) CloseLast(i);
    return true;
  }

  std::vector<CalendarPart> parts;   // of the calendar
  std::vector<CalendarPart> alarms;  // of all of them, in their order
  bool is_whole = false;

 private:
  static constexpr size_t kDeepest = 6;

  static std::string NameIn(std::string_view value) {
    std::string name = ToUpper(dialects::Trim(value));
    while (name.ends_with(':') || name.ends_with(';')) name.pop_back();
    return name;
  }

  void Open(const std::string& name, size_t line) {
    if (name == "VCALENDAR"sv) {
      if (!open_.empty()) return;
      is_whole = true;
    } else if (IsOneOf(name, kInCalendar)) {
      too_deep_ = 0;
      while (!open_.empty() && open_.back().name != "VCALENDAR"sv) CloseLast(line);
    } else if (open_.empty()) {
      return;
    }
    if (open_.size() > kDeepest || too_deep_ > 0) {
      ++too_deep_;
      return;
    }
    if (!open_.empty() && open_.back().first_inside == kNowhere) open_.back().first_inside = line;
    open_.push_back({name, line, line, {}, kNowhere});
  }

  void Close(const std::string& name, size_t line) {
    if (too_deep_ > 0) {
      --too_deep_;
      return;
    }
    const bool is_open = std::ranges::find(open_, name, &CalendarPart::name) != open_.end();
    if (!is_open) return;
    while (open_.back().name != name) CloseLast(line);
    CloseLast(line);
  }

  // A text of one component without a calendar ends with it.
  void CloseLast(size_t line) {
    CalendarPart part = std::move(open_.back());
    open_.pop_back();
    part.end = line;
    if (part.name == kAlarmName) alarms.push_back(part);
    const bool is_top = open_.empty() || (open_.size() == 1 && is_whole);
    if (is_top && part.name != "VCALENDAR"sv) parts.push_back(std::move(part));
    if (open_.empty() && is_whole) is_done_ = true;
  }

  const TextLines& lines_;
  std::vector<CalendarPart> open_;
  size_t too_deep_ = 0;
  bool is_done_ = false;
};

bool HasLine(const CalendarPart& part, const TextLines& lines, std::string_view name) {
  return std::ranges::any_of(part.own,
                             [&](size_t line) { return lines.contents[line].name == name; });
}

std::string FirstValue(const CalendarPart& part, const TextLines& lines, std::string_view name) {
  for (const size_t line : part.own) {
    if (lines.contents[line].name == name) {
      return std::string(dialects::Trim(lines.contents[line].value));
    }
  }
  return {};
}

// ---- Times --------------------------------------------------------------------------------------------------

std::optional<Moment> MomentOf(const CalendarText& calendar, const ContentLine& line,
                               std::string_view text) {
  std::optional<Moment> moment = dialects::ReadMoment(dialects::Trim(text));
  const std::string tzid(line.Param("TZID"));
  if (moment && moment->kind == TimeKind::kLocal && !tzid.empty() && calendar.zones->Knows(tzid)) {
    moment->kind = TimeKind::kZoned;
    moment->zone = tzid;
  }
  return moment;
}

int64_t InstantOf(const CalendarText& calendar, const Moment& moment) {
  const int64_t seconds = dialects::CivilSeconds(moment.time);
  if (moment.kind == TimeKind::kUtc) return seconds;
  if (moment.kind == TimeKind::kZoned) return calendar.zones->ToUtc(moment.zone, seconds);
  return dialects::DeviceToUtc(seconds);
}

std::string TimeKey(const CalendarText& calendar, const ContentLine& line, std::string_view text) {
  const std::optional<Moment> moment = MomentOf(calendar, line, text);
  if (!moment) return ToUpper(dialects::Trim(text));
  if (moment->kind == TimeKind::kDate) return "day " + dialects::DateText(moment->time);
  return "time " + std::to_string(InstantOf(calendar, *moment));
}

// A rule without what does not matter, its end as a day of the device.
std::string RuleKey(const CalendarText& calendar, std::string_view text) {
  std::optional<dialects::RecurRule> rule;
  if (calendar.is_modern) rule = dialects::ReadRecurRule(text);
  if (!rule) return ToUpper(dialects::Trim(text));
  const bool is_weekly = rule->unit == dialects::RuleUnit::kWeekly;
  if (!is_weekly || rule->interval == 1) rule->week_start = 2;
  if (is_weekly && rule->days.empty() && calendar.start) {
    const auto local = dialects::CivilAt(dialects::UtcToDevice(*calendar.start));
    rule->days.push_back({dialects::WeekdayOf(local), 0});
  }
  if (rule->until) {
    dialects::CivilTime last = rule->until->time;
    if (rule->until->kind == TimeKind::kUtc) {
      last = dialects::CivilAt(dialects::UtcToDevice(dialects::CivilSeconds(last)));
    }
    rule->until = Moment{dialects::AtMidnight(last), TimeKind::kDate, {}};
  }
  return dialects::RecurRuleText(*rule);
}

// ---- Items --------------------------------------------------------------------------------------------------

std::string AddressOf(std::string_view value) {
  constexpr std::string_view kScheme = "MAILTO:";
  value = dialects::Trim(value);
  if (EqualsIgnoringCase(value.substr(0, kScheme.size()), kScheme))
    value.remove_prefix(kScheme.size());
  return ToUpper(dialects::Trim(value));
}

// Of what is not written: the place of a value without a line.
void AddDefaults(CalendarText& calendar) {
  for (const DefaultRow& row : kDefaults) {
    const bool is_there =
        std::ranges::find(calendar.items, row.name, &Item::name) != calendar.items.end();
    if (is_there || (row.is_of_tasks && !calendar.IsTask())) continue;
    Item item;
    item.name = row.name;
    item.value = row.value;
    item.is_single = true;
    calendar.items.push_back(std::move(item));
  }
}

void AddEntries(CalendarText& calendar, Item item) {
  const ContentLine& line = calendar.lines.contents[item.line];
  const std::string value = ValueOfLine(calendar, item.line);
  const bool is_time = IsOneOf(item.name, kTimes);
  item.is_entry = true;
  size_t entry = 0;
  for (const std::string_view piece : ListOf(value, calendar.is_modern)) {
    item.entry = entry++;
    item.value = is_time ? TimeKey(calendar, line, piece)
                         : Trimmed(dialects::Unescaped(piece, calendar.decoder->escapes()));
    if (!item.value.empty()) calendar.items.push_back(item);
  }
}

void AddItem(CalendarText& calendar, size_t index) {
  const ContentLine& line = calendar.lines.contents[index];
  Item item;
  item.name = line.name;
  item.line = index;
  if (IsOneOf(item.name, kNoContent)) return;
  if (IsCalendarList(item.name)) return AddEntries(calendar, std::move(item));
  item.is_single = !IsOneOf(item.name, kSeveral);
  if (item.name == "ATTENDEE"sv) {
    item.is_entry = true;
    item.value = AddressOf(calendar.decoder->Text(line));
    item.kinds = item.shown = line.Param("CN");
  } else if (IsOneOf(item.name, kTimes)) {
    item.value = TimeKey(calendar, line, ValueOfLine(calendar, index));
  } else if (item.name == "RRULE"sv) {
    item.value = RuleKey(calendar, ValueOfLine(calendar, index));
  } else {
    item.value = Trimmed(calendar.decoder->Text(line));
    if (IsOneOf(item.name, kWords)) item.value = ToUpper(item.value);
    // The older version has no hyphen in it.
    if (item.value == "NEEDS ACTION"sv) item.value = "NEEDS-ACTION";
  }
  calendar.items.push_back(std::move(item));
}

// Seconds after the start, where there is one, whatever the alarm is relative to.
std::string AlarmKey(const CalendarText& calendar, const CalendarPart& alarm) {
  for (const size_t index : alarm.own) {
    const ContentLine& line = calendar.lines.contents[index];
    if (line.name != "TRIGGER"sv) continue;
    const std::optional<int64_t> offset = dialects::ReadDuration(dialects::Trim(line.value));
    if (offset) {
      const bool is_from_end = EqualsIgnoringCase(line.Param("RELATED"), "END");
      if (!is_from_end && calendar.start) return "after " + std::to_string(*offset);
      std::optional<int64_t> from = calendar.end;
      if (!from && calendar.start) from = *calendar.start + calendar.duration.value_or(0);
      if (!from) return "from the end " + std::to_string(*offset);
      if (!calendar.start) return "at " + std::to_string(*from + *offset);
      return "after " + std::to_string(*from + *offset - *calendar.start);
    }
    if (const auto moment = MomentOf(calendar, line, line.value)) {
      const int64_t time = InstantOf(calendar, *moment);
      return calendar.start ? "after " + std::to_string(time - *calendar.start)
                            : "at " + std::to_string(time);
    }
  }
  return {};
}

void AddAlarms(CalendarText& calendar) {
  for (size_t i = 0; i < calendar.alarms.size(); ++i) {
    Item item;
    item.name = kAlarmName;
    item.line = calendar.alarms[i].begin;
    item.property = i;
    item.is_single = true;
    item.value = AlarmKey(calendar, calendar.alarms[i]);
    calendar.items.push_back(std::move(item));
  }
}

// ---- The calendar -------------------------------------------------------------------------------------------

bool IsModernText(std::string_view text) {
  const std::string version = dialects::VersionOf(text);
  if (version.starts_with('2') || version.starts_with('1')) return version.starts_with('2');
  dialects::Report ignored;
  const dialects::ObjectText object = {.kind = dialects::ObjectKind::kCalendar,
                                       .text = std::string(text)};
  return dialects::ReadCalendarText(object, {}, ignored).calendar.is_modern;
}

void TakeTimes(CalendarText& calendar) {
  for (const size_t index : calendar.item.own) {
    const ContentLine& line = calendar.lines.contents[index];
    const bool is_end = line.name == "DTEND"sv || line.name == "DUE"sv;
    if (line.name == "DURATION"sv) {
      calendar.duration = dialects::ReadDuration(ToUpper(dialects::Trim(line.value)));
    }
    if (!is_end && line.name != "DTSTART"sv) continue;
    const auto moment = MomentOf(calendar, line, ValueOfLine(calendar, index));
    if (moment) (is_end ? calendar.end : calendar.start) = InstantOf(calendar, *moment);
  }
}

// The occurrences that other components stand for, as instants and as days.
void TakeOverrides(CalendarText& calendar, const std::vector<CalendarPart>& parts) {
  for (const CalendarPart& part : parts) {
    if (!IsOneOf(part.name, kItems) || part.begin == calendar.item.begin) continue;
    for (const size_t index : part.own) {
      const ContentLine& line = calendar.lines.contents[index];
      if (line.name != "RECURRENCE-ID"sv) continue;
      calendar.overridden.insert(TimeKey(calendar, line, line.value));
      const auto moment = MomentOf(calendar, line, line.value);
      if (moment) calendar.overridden.insert("day " + dialects::DateText(moment->time));
    }
  }
}

}  // namespace

bool IsCalendarList(std::string_view name) {
  return name == "EXDATE"sv || name == "RDATE"sv || name == "CATEGORIES"sv;
}

std::vector<std::string_view> ListOf(std::string_view value, bool is_modern) {
  if (is_modern) return dialects::SplitUnescaped(value, ',');
  std::vector<std::string_view> pieces;
  for (const std::string_view list : dialects::SplitUnescaped(value, ';')) {
    for (const std::string_view piece : dialects::SplitUnescaped(list, ','))
      pieces.push_back(piece);
  }
  return pieces;
}

std::string ValueOfLine(const CalendarText& calendar, size_t line) {
  return calendar.decoder->Decoded(calendar.lines.contents[line]);
}

bool ReadCalendarItems(std::string_view text, CalendarText& calendar) {
  if (text.find('\0') != std::string_view::npos) return false;
  calendar.is_modern = IsModernText(text);
  calendar.lines =
      ReadTextLines(text, calendar.is_modern ? dialects::kModernLines : dialects::kOldLines);
  PartReader reader(calendar.lines);
  reader.Read();
  calendar.is_whole = reader.is_whole;
  const auto is_item = [](const CalendarPart& part) { return IsOneOf(part.name, kItems); };
  const auto is_shown = [&](const CalendarPart& part) {
    return is_item(part) && !HasLine(part, calendar.lines, "RECURRENCE-ID");
  };
  auto shown = std::ranges::find_if(reader.parts, is_shown);
  if (shown == reader.parts.end()) shown = std::ranges::find_if(reader.parts, is_item);
  if (shown == reader.parts.end()) return false;
  calendar.item = *shown;
  for (const CalendarPart& alarm : reader.alarms) {
    if (alarm.begin > shown->begin && alarm.begin < shown->end) calendar.alarms.push_back(alarm);
  }
  calendar.zones = std::make_unique<dialects::ZoneBook>();
  for (const CalendarPart& part : reader.parts) {
    if (calendar.first_item == kNowhere && part.name != "VTIMEZONE"sv)
      calendar.first_item = part.begin;
    if (part.name != "VTIMEZONE"sv || part.end >= calendar.lines.contents.size()) continue;
    const Span span = {calendar.lines.spans[part.begin].begin, calendar.lines.spans[part.end].end};
    const std::string tzid = FirstValue(part, calendar.lines, "TZID");
    if (!calendar.zone_spans.emplace(tzid, span).second) continue;
    calendar.zones->Add(tzid, text.substr(span.begin, span.end - span.begin));
  }
  const dialects::Escapes escapes =
      calendar.is_modern ? dialects::Escapes::kModern : dialects::Escapes::kOld;
  calendar.decoder = std::make_unique<dialects::ValueDecoder>(
      calendar.lines.contents, escapes, dialects::TextSettings{}, true, calendar.report);
  TakeTimes(calendar);
  for (const size_t line : calendar.item.own) AddItem(calendar, line);
  AddDefaults(calendar);
  AddAlarms(calendar);
  TakeOverrides(calendar, reader.parts);
  return true;
}

}  // namespace mirror
