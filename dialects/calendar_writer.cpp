// A writer holds the one VCALENDAR of its file open: Begin writes its head, each object adds its components, End
// closes it. Zones stand before the first component that uses them, once each.
//
// An object that is of the version that is written is copied line by line; one of the other goes by way of the items
// that the store would hold (to vCalendar 1.0) or of the items as they were read (to iCalendar 2.0).
#include <algorithm>
#include <set>
#include <utility>

#include "dialects/calendar_copy.h"
#include "dialects/calendar_modern.h"
#include "dialects/calendar_people.h"
#include "dialects/calendar_rules.h"
#include "dialects/calendar_strict.h"
#include "dialects/forms.h"

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

class ModernCalendarWriter final : public CalendarWriter {
 public:
  using CalendarWriter::CalendarWriter;

  std::string Begin() override {
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
      if (!zones_.insert(std::string(part.Value("TZID"))).second) continue;
      written.text += CopiedModern(part, calendar.decoder, settings_);
    }
    for (const Component& part : root.parts) {
      if (part.name == "VTIMEZONE") continue;
      for (const ContentLine& line : part.lines) AddZone(std::string(line.Param("TZID")), written);
      written.text += CopiedModern(part, calendar.decoder, settings_);
    }
  }

  void AddZone(const std::string& tzid, WrittenObject& written) {
    if (tzid.empty() || !zones_.insert(tzid).second) return;
    written.text += ZoneComponent(tzid);
  }

  void Convert(const ReadCalendar& calendar, WrittenObject& written) {
    ZoneBook zones;
    const Clock clock(zones);
    const ModernZone zone = DeviceModernZone();
    ForEachItem(calendar, SenseOf(settings_), zones, written, [&](const CalendarItem& item) {
      const ModernText text = ModernComponent(item, clock, zone, settings_, written.report);
      if (text.uses_zone) AddZone(zone.name, written);
      written.text += text.text;
    });
  }

  bool has_components_ = false;
  std::set<std::string> frame_lines_;
  std::set<std::string> zones_;  // those that were written
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
    const std::vector<OtherLine> others = std::exchange(item.others, {});
    const std::string priority = item.priority;
    BringToStore(item, clock, written.report);
    if (item.kind == ItemKind::kJournal || !HasPlace(item)) {
      return written.report.Dropped(item.kind == ItemKind::kJournal ? "VJOURNAL" : "VEVENT");
    }
    if (item.uid.empty()) item.uid = settings_.uid;
    for (const StoreItem& store_item : StoreItems(item, clock, written.report)) {
      const std::string more = MoreLines(store_item.item, others);
      written.text += StrictComponent(store_item, clock, more);
    }
  }

  // What this version has a place for, and the store has not.
  static std::string MoreLines(const CalendarItem& item, const std::vector<OtherLine>& others) {
    std::string text;
    if (!item.uid.empty()) text += OldLine("UID", item.uid);
    if (item.modified) text += OldLine("LAST-MODIFIED", TextOf(*item.modified));
    if (item.created) text += OldLine("DCREATED", TextOf(*item.created));
    for (const OtherLine& other : others) {
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
