// The lines of the whole object are read at once, since the character set of values that name none is decided over
// all of them; then they are dealt to their components with a stack. An END closes the component that it names and
// all that are open in it; one that names none that is open is nothing. How deep components may stand in each other
// is limited: nothing known has more than three levels.
#include "dialects/calendar_frame.h"

#include <algorithm>
#include <utility>

#include "btosif/osif_util/ascii.h"

namespace dialects {
namespace {

constexpr size_t kDeepest = 6;
constexpr size_t kMostDaylights = 100;
constexpr std::string_view kItems[] = {"VEVENT", "VTODO", "VJOURNAL", "VTIMEZONE", "VFREEBUSY"};

class TreeBuilder {
 public:
  explicit TreeBuilder(Report& report) : report_(report) { open_.emplace_back(); }

  void Take(ContentLine& line) {
    if (line.name == "BEGIN") {
      Open(NameIn(line.value), line.line);
    } else if (line.name == "END") {
      Close(NameIn(line.value));
    } else if (too_deep_ == 0) {
      open_.back().lines.push_back(std::move(line));
    }
  }

  Component Result() {
    while (open_.size() > 1) CloseLast();
    Component root = std::move(open_.front());
    const bool is_whole = root.parts.size() == 1 && root.parts.front().name == "VCALENDAR";
    return is_whole ? Component(std::move(root.parts.front())) : root;
  }

 private:
  // "VEVENT:" is written, too.
  static std::string NameIn(std::string_view value) {
    std::string name = ToUpper(Trim(value));
    while (name.ends_with(':') || name.ends_with(';')) name.pop_back();
    return name;
  }

  bool IsOpen(std::string_view name) const {
    return std::ranges::find(open_, name, &Component::name) != open_.end();
  }

  // A calendar that stands in a calendar adds to it. An item stands in nothing but a calendar, so whatever else is open
  // has lost its end.
  void Open(const std::string& name, uint64_t line) {
    if (name == "VCALENDAR" && IsOpen(name)) return;
    if (std::ranges::find(kItems, name) != std::end(kItems)) CloseToCalendar();
    if (open_.size() > kDeepest || too_deep_ > 0) {
      if (too_deep_++ == 0) report_.Dropped(name);
      return;
    }
    open_.emplace_back();
    open_.back().name = name;
    open_.back().line = line;
  }

  void Close(const std::string& name) {
    if (too_deep_ > 0) {
      --too_deep_;
      return;
    }
    if (name.empty() || !IsOpen(name)) return;
    while (open_.back().name != name) CloseLast();
    CloseLast();
  }

  void CloseToCalendar() {
    if (too_deep_ > 0 || (open_.size() > 1 && open_.back().name != "VCALENDAR")) {
      report_.Guessed("END of a component");
    }
    too_deep_ = 0;
    while (open_.size() > 1 && open_.back().name != "VCALENDAR") CloseLast();
  }

  void CloseLast() {
    Component closed = std::move(open_.back());
    open_.pop_back();
    open_.back().parts.push_back(std::move(closed));
  }

  Report& report_;
  std::vector<Component> open_;
  size_t too_deep_ = 0;
};

// What one version writes and the other does not, where a calendar does not say which it is.
bool LooksModern(const std::vector<ContentLine>& lines) {
  return std::ranges::any_of(lines, [](const ContentLine& line) {
    const std::string value = ToUpper(Trim(line.value));
    if (line.name == "BEGIN") return value == "VALARM" || value == "VTIMEZONE";
    return !line.Param("TZID").empty() || (line.name == "RRULE" && value.starts_with("FREQ="));
  });
}

// Programs that write both versions with one writer escape the later way in both.
bool HasModernEscapes(const std::vector<ContentLine>& lines) {
  return std::ranges::any_of(
      lines, [](const ContentLine& line) { return line.value.find("\\,") != std::string::npos; });
}

bool IsModern(const ObjectText& object) {
  const std::string version = VersionOf(object.text);
  if (version.starts_with('2')) return true;
  if (version.starts_with('1')) return false;
  Report ignored;
  return LooksModern(ReadContentLines(object.text, object.line, kModernLines, ignored));
}

OldDaylight ReadDaylight(const std::vector<std::string_view>& pieces, int64_t offset) {
  OldDaylight daylight;
  daylight.offset = offset;
  if (const auto begin = ReadMoment(pieces[2])) daylight.begin = begin->time;
  if (const auto end = ReadMoment(pieces[3])) daylight.end = end->time;
  return daylight;
}

// TZ and DAYLIGHT, unless the clock is that of the device: then the device knows better when it changes.
std::optional<OldZone> ReadOldZone(const Component& root) {
  const std::optional<int64_t> offset = ReadOffset(root.Value("TZ"));
  if (!offset) return std::nullopt;
  OldZone zone;
  zone.offset = *offset;
  for (const ContentLine& line : root.lines) {
    if (line.name != "DAYLIGHT" || zone.daylight.size() >= kMostDaylights) continue;
    const std::vector<std::string_view> pieces = SplitUnescaped(line.value, ';');
    if (EqualsIgnoringCase(Trim(pieces.front()), "FALSE")) zone.has_no_daylight = true;
    if (pieces.size() < 4) continue;
    const std::optional<int64_t> saving = ReadOffset(pieces[1]);
    const bool has_dates = ReadMoment(pieces[2]) && ReadMoment(pieces[3]);
    if (saving && has_dates) zone.daylight.push_back(ReadDaylight(pieces, *saving));
  }
  // Some devices write the offset of the day on which they send as TZ.
  const bool is_of_summer = std::ranges::any_of(
      zone.daylight, [&](const OldDaylight& daylight) { return daylight.offset == zone.offset; });
  if (is_of_summer) zone.offset -= kSecondsPerHour;
  return zone;
}

// The saving of another year is taken to be that of the first one known, moved to this year.
bool IsWithin(const OldDaylight& daylight, CivilTime time, bool is_same_year) {
  CivilTime begin = daylight.begin;
  CivilTime end = daylight.end;
  if (!is_same_year) {
    time.year = begin.year;
    if (time < begin && end.year > begin.year) time.year = end.year;
  }
  return begin < end ? time >= begin && time < end : false;
}

bool Covers(const OldDaylight& daylight, const CivilTime& time) {
  return time.year == daylight.begin.year || time.year == daylight.end.year;
}

}  // namespace

std::string_view Component::Value(std::string_view property) const {
  const auto found = std::ranges::find(lines, property, &ContentLine::name);
  return found == lines.end() ? std::string_view() : Trim(found->value);
}

ReadCalendar ReadCalendarText(const ObjectText& object, const TextSettings& settings,
                              Report& report) {
  const bool is_modern = IsModern(object);
  std::vector<ContentLine> lines =
      ReadContentLines(object.text, object.line, is_modern ? kModernLines : kOldLines, report);
  const Escapes escapes = is_modern || HasModernEscapes(lines) ? Escapes::kModern : Escapes::kOld;
  ReadCalendar result = {
      {}, ValueDecoder(lines, escapes, settings, is_modern || object.has_byte_order_mark, report)};
  TreeBuilder builder(report);
  for (ContentLine& line : lines) builder.Take(line);
  result.calendar.root = builder.Result();
  result.calendar.is_modern = is_modern;
  if (!is_modern) result.calendar.zone = ReadOldZone(result.calendar.root);
  return result;
}

int64_t OffsetAt(const OldZone& zone, const CivilTime& time) {
  for (const OldDaylight& daylight : zone.daylight) {
    if (Covers(daylight, time) && IsWithin(daylight, time, true)) return daylight.offset;
  }
  const auto covers = [&](const OldDaylight& daylight) { return Covers(daylight, time); };
  const bool is_covered = std::ranges::any_of(zone.daylight, covers);
  if (!is_covered && !zone.daylight.empty()) {
    const OldDaylight& first = zone.daylight.front();
    return IsWithin(first, time, false) ? first.offset : zone.offset;
  }
  if (is_covered || zone.has_no_daylight) return zone.offset;
  // Nothing is said: the saving of the device.
  const int64_t local = CivilSeconds(time);
  const int64_t saving = local - DeviceToUtc(local) - DeviceStandardOffset(time.year);
  return zone.offset + saving;
}

}  // namespace dialects
