// A writer holds the one VCALENDAR of its file open: Begin writes its head, each object adds its components, End
// closes it. Zones stand before the first component that uses them, once each, and tell of the times from that
// object's first date on; an object that begins earlier gets its zone under another name.
//
// An object that is of the version that is written is copied line by line; one of the other goes by way of the items
// that the store would hold (to vCalendar 1.0) or of the items as they were read (to iCalendar 2.0).
#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "dialects/calendar_copy.h"
#include "dialects/calendar_modern.h"
#include "dialects/calendar_people.h"
#include "dialects/calendar_rules.h"
#include "dialects/calendar_strict.h"
#include "dialects/forms.h"
#include "dialects/zone_history.h"

namespace dialects {
namespace {

constexpr std::string_view kProduct = "PRODID:-//OSIF//Calendar//EN\r\n";
constexpr std::string_view kOfFrame[] = {"VERSION", "PRODID", "TZ", "DAYLIGHT"};

OldSense SenseOf(const WriterSettings& settings) {
  return settings.origin == Origin::kLibrary ? OldSense::kStore : OldSense::kSender;
}

// What each writer does with an object: it is read, and written unless it has nothing in it.
class CalendarWriter : public ObjectWriter {
 public:
  explicit CalendarWriter(const WriterSettings& settings) : settings_(settings) {}

  WrittenObject Write(const ObjectText& object) override {
    WrittenObject written;
    const ReadCalendar calendar = ReadCalendarText(object, settings_.text, written.report);
    if (calendar.calendar.root.parts.empty()) {
      written.refusal = "a calendar without components";
      return written;
    }
    WriteCalendar(calendar, written);
    if (written.text.empty() && written.refusal.empty()) {
      written.refusal = "nothing that this form can hold";
    }
    return written;
  }

 protected:
  virtual void WriteCalendar(const ReadCalendar& calendar, WrittenObject& written) = 0;

  const WriterSettings& settings_;
};

// Runs `write` for each item of a calendar with its own report.
template <typename Function>
void ForEachItem(const ReadCalendar& calendar, OldSense sense, ZoneBook& zones,
                 WrittenObject& written, Function write) {
  CalendarItems read = ReadItems(calendar, sense, zones);
  written.report.Add(read.report);
  for (size_t i = 0; i < read.items.size(); ++i) {
    written.report.Add(read.reports[i]);
    write(read.items[i]);
  }
}

// Where a file has a zone for its later objects already. A name that begins with "/" is nobody else's, and
// readers know the zone by its end.
constexpr std::string_view kOlderZones = "/osif/";

// A day before all that may be in a zone, whichever that is.
void TakeEarlier(const CivilTime& time, CivilTime& first) {
  first = std::min(first, PlusDays(AtMidnight(time), -1));
}

constexpr CivilTime kEarly = {1, 1, 1, 0, 0, 0};
constexpr CivilTime kLate = {9000, 1, 1, 0, 0, 0};

CivilTime FirstTime(const std::vector<CalendarItem>& items, const Clock& clock) {
  CivilTime first = kLate;
  for (const CalendarItem& item : items) {
    for (const std::optional<Moment>* moment :
         {&item.start, &item.end, &item.due, &item.replaces}) {
      if (*moment) TakeEarlier(clock.ToLocal(**moment), first);
    }
    for (const ExtraDate& date : item.extra_dates) TakeEarlier(clock.ToLocal(date.start), first);
  }
  return first;
}

CivilTime FirstTime(const Component& calendar) {
  CivilTime first = kLate;
  for (const Component& part : calendar.parts) {
    for (const ContentLine& line : part.lines) {
      if (line.Param("TZID").empty()) continue;
      for (const std::string_view piece : SplitUnescaped(line.value, ',')) {
        const auto moment = ReadMoment(piece.substr(0, piece.find('/')));
        if (moment) TakeEarlier(moment->time, first);
      }
    }
  }
  return first;
}

class ModernCalendarWriter final : public CalendarWriter {
 public:
  using CalendarWriter::CalendarWriter;

  // Nothing is told yet in a calendar that begins, whatever was in the one before.
  std::string Begin() override {
    zones_.clear();
    frame_lines_.clear();
    has_components_ = false;
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\n" + std::string(kProduct);
  }
  std::string End() override { return "END:VCALENDAR\r\n"; }

 private:
  void WriteCalendar(const ReadCalendar& calendar, WrittenObject& written) override {
    WrittenObject components;
    if (calendar.calendar.is_modern) {
      Copy(calendar, components);
    } else {
      Convert(calendar, components);
    }
    written.report.Add(components.report);
    // A calendar without any is none.
    if (components.text.empty()) return;
    WriteFrameLines(calendar, written);
    written.text += components.text;
  }

  // Lines of the calendar itself stand before its components, so only the first object's can be kept.
  void WriteFrameLines(const ReadCalendar& calendar, WrittenObject& written) {
    for (const ContentLine& line : calendar.calendar.root.lines) {
      if (std::ranges::find(kOfFrame, line.name) != std::end(kOfFrame)) continue;
      const bool is_item = calendar.calendar.root.name != "VCALENDAR";
      if (is_item) continue;
      const std::string text = CopiedModernLine(line, calendar.decoder);
      if (!has_components_) {
        frame_lines_.insert(text);
        written.text += text;
      } else if (!frame_lines_.contains(text)) {
        written.report.Dropped(line.name);
      }
    }
    has_components_ = true;
  }

  void Copy(const ReadCalendar& calendar, WrittenObject& written) {
    const Component& root = calendar.calendar.root;
    for (const Component& part : root.parts) {
      if (part.name != "VTIMEZONE") continue;
      const std::string tzid(part.Value("TZID"));
      if (!zones_.emplace(tzid, kEarly).second) continue;
      written.text += CopiedModern(part, calendar.decoder, settings_);
    }
    const CivilTime first = FirstTime(root);
    for (const Component& part : root.parts) {
      if (part.name == "VTIMEZONE") continue;
      for (const ContentLine& line : part.lines) {
        const std::string tzid(line.Param("TZID"));
        if (!tzid.empty() && !zones_.contains(tzid)) AddZone(tzid, tzid, first, written);
      }
      written.text += CopiedModern(part, calendar.decoder, settings_);
    }
  }

  // `tzid`: its name in the file.
  void AddZone(const std::string& name, const std::string& tzid, const CivilTime& first,
               WrittenObject& written) {
    const std::string component = ZoneComponent(name);
    const ZoneHistory history =
        component.empty() ? ZoneHistory{{}, first} : ZoneSince(component, tzid, first);
    zones_.emplace(tzid, history.from);
    written.text += history.text;
  }

  // The name under which the device's zone tells of a time. It is written once for the first object that needs it; one
  // that begins before that needs another one.
  std::string NameSince(const std::string& name, const CivilTime& first) const {
    if (name.empty()) return name;
    const auto known = zones_.find(name);
    if (known == zones_.end() || known->second <= first) return name;
    const std::string end = "/" + name;
    for (const auto& [tzid, from] : zones_) {
      if (tzid.starts_with(kOlderZones) && tzid.ends_with(end) && from <= first) return tzid;
    }
    return std::string(kOlderZones) + std::to_string(first.year) + end;
  }

  void Convert(const ReadCalendar& calendar, WrittenObject& written) {
    if (!device_zone_) device_zone_ = DeviceModernZone();
    ZoneBook zones;
    const Clock clock(zones);
    const CalendarItems read = ReadItems(calendar, SenseOf(settings_), zones);
    written.report.Add(read.report);
    ModernZone zone = *device_zone_;
    const CivilTime first = FirstTime(read.items, clock);
    zone.name = NameSince(zone.name, first);
    for (size_t i = 0; i < read.items.size(); ++i) {
      written.report.Add(read.reports[i]);
      const ModernText text =
          ModernComponent(read.items[i], clock, zone, settings_, written.report);
      if (text.uses_zone && !zones_.contains(zone.name)) {
        AddZone(device_zone_->name, zone.name, first, written);
      }
      written.text += text.text;
    }
  }

  bool has_components_ = false;
  std::set<std::string> frame_lines_;
  std::map<std::string, CivilTime> zones_;  // those that were written, and since when they tell
  std::optional<ModernZone> device_zone_;
};

class OldCalendarWriter final : public CalendarWriter {
 public:
  using CalendarWriter::CalendarWriter;

  std::string Begin() override {
    return "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n" + std::string(kProduct);
  }
  std::string End() override { return "END:VCALENDAR\r\n"; }

 private:
  // Times of another zone are those of that calendar alone, and the file has one.
  void WriteCalendar(const ReadCalendar& calendar, WrittenObject& written) override {
    if (calendar.calendar.is_modern || calendar.calendar.zone) {
      return Convert(calendar, written);
    }
    for (const Component& part : calendar.calendar.root.parts) {
      if (part.name == "VEVENT" || part.name == "VTODO") {
        written.text += CopiedOld(part, calendar.decoder, settings_);
      } else {
        written.report.Dropped(part.name);
      }
    }
  }

  void Convert(const ReadCalendar& calendar, WrittenObject& written) {
    ZoneBook zones;
    const Clock clock(zones);
    CalendarItems read = ReadItems(calendar, SenseOf(settings_), zones);
    written.report.Add(read.report);
    TakeApartOverrides(read.items, read.reports, clock);
    for (size_t i = 0; i < read.items.size(); ++i) {
      written.report.Add(read.reports[i]);
      ConvertItem(std::move(read.items[i]), clock, written);
    }
  }

  void ConvertItem(CalendarItem item, const Clock& clock, WrittenObject& written) {
    const std::string more = TakeMoreLines(item);
    BringToStore(item, clock, written.report);
    if (item.kind == ItemKind::kJournal || !HasPlace(item)) {
      return written.report.Dropped(item.kind == ItemKind::kJournal ? "VJOURNAL" : "VEVENT");
    }
    if (item.uid.empty()) item.uid = settings_.uid;
    for (const StoreItem& store_item : StoreItems(item, clock, written.report)) {
      const std::string& uid = store_item.item.uid;
      const std::string uid_line = uid.empty() ? "" : OldLine("UID", uid);
      written.text += StrictComponent(store_item, clock, uid_line + more);
    }
  }

  // What this version has a place for, and the store has not, is taken out of the item.
  static std::string TakeMoreLines(CalendarItem& item) {
    std::string text;
    if (item.modified) text += OldLine("LAST-MODIFIED", TextOf(*item.modified));
    if (item.created) text += OldLine("DCREATED", TextOf(*item.created));
    item.modified.reset();
    item.created.reset();
    if (item.kind == ItemKind::kEvent && !item.priority.empty()) {
      text += OldLine("PRIORITY", std::exchange(item.priority, {}));
    }
    for (const OtherLine& other : std::exchange(item.others, {})) {
      if (!IsPropertyName(other.name)) continue;
      text += other.is_base64 ? other.name + ";ENCODING=BASE64:" + other.text + "\r\n\r\n"
                              : OldLine(other.name, other.text);
    }
    return text;
  }

  static std::string TextOf(const Moment& moment) {
    return DateTimeText(moment.time) + (moment.kind == TimeKind::kUtc ? "Z" : "");
  }
};

class PeopleCalendarWriter final : public CalendarWriter {
 public:
  PeopleCalendarWriter(const WriterSettings& settings, bool is_html)
      : CalendarWriter(settings), is_html_(is_html) {}

  std::string Begin() override { return is_html_ ? HtmlBegin() : ""; }
  std::string End() override { return is_html_ ? HtmlEnd() : ""; }

 private:
  void WriteCalendar(const ReadCalendar& calendar, WrittenObject& written) override {
    ZoneBook zones;
    const Clock clock(zones);
    ForEachItem(calendar, SenseOf(settings_), zones, written, [&](CalendarItem item) {
      SettleDates(item, clock, written.report);
      const NamedValues values = ItemForPeople(item, clock);
      written.text += is_html_ ? HtmlOf(values) : TextOf(values);
    });
  }

  bool is_html_;
};

}  // namespace

std::unique_ptr<ObjectWriter> MakeCalendarWriter(Form form, const WriterSettings& settings) {
  switch (form) {
    case Form::kVCal10:
      return std::make_unique<OldCalendarWriter>(settings);
    case Form::kICal20:
      return std::make_unique<ModernCalendarWriter>(settings);
    case Form::kText:
      return std::make_unique<PeopleCalendarWriter>(settings, false);
    case Form::kHtml:
      return std::make_unique<PeopleCalendarWriter>(settings, true);
    default:
      return nullptr;
  }
}

}  // namespace dialects
