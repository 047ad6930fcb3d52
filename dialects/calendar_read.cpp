// One table has a row for each property that the store has a place for; what has none is kept aside for the writers.
// Both versions share the table, as most properties are the same; a row whose value differs asks which version it is.
//
// Rules of recurrence are read last: those of vCalendar 1.0 leave out what the start says, and the start may stand
// after them.
#include "dialects/calendar_read.h"

#include <algorithm>
#include <array>

#include "btosif/osif_util/ascii.h"

namespace dialects {
namespace {

constexpr size_t kMostRules = 8;

std::string Digits(std::string_view text) {
  const size_t begin = text.find_first_of("0123456789");
  if (begin == std::string_view::npos) return {};
  const size_t end = text.find_first_not_of("0123456789", begin);
  return std::string(text.substr(begin, end == std::string_view::npos ? end : end - begin));
}

// ---- Texts and words ----------------------------------------------------------------------------------------

template <std::string CalendarItem::*kText>
void TakeText(ItemContext& context, const ContentLine& line) {
  std::string& text = context.item.*kText;
  if (text.empty()) {
    text = context.Text(line);
  } else {
    context.report.Dropped(line.name + " (second one)");
  }
}

template <std::string CalendarItem::*kText>
void TakeWord(ItemContext& context, const ContentLine& line) {
  context.item.*kText = context.Word(line);
}

void TakePriority(ItemContext& context, const ContentLine& line) {
  const std::string text = context.Text(line);
  context.item.priority = Digits(text);
  if (context.item.priority.empty() && !Trim(text).empty()) context.report.Dropped("PRIORITY");
}

void TakeProgress(ItemContext& context, const ContentLine& line) {
  if (Digits(context.Text(line)) == "100") context.item.is_complete = true;
}

// The old version has numbers: how much of the time is taken, from 0, all.
void TakeTransparency(ItemContext& context, const ContentLine& line) {
  const std::string word = context.Word(line);
  context.item.is_free =
      word == "TRANSPARENT" ||
      (!word.empty() && word.find_first_not_of("0123456789") == std::string::npos &&
       Digits(word).find_first_not_of('0') != std::string::npos);
}

void TakeCategories(ItemContext& context, const ContentLine& line) {
  context.item.has_categories = true;
  const std::string decoded = context.calendar.decoder.Decoded(line);
  for (const std::string_view list : SplitUnescaped(decoded, ';')) {
    for (const std::string_view piece : SplitUnescaped(list, ',')) {
      const std::string name(Trim(Unescaped(piece, context.calendar.decoder.escapes())));
      if (name.empty()) continue;
      std::string& names = context.item.categories;
      names += (names.empty() ? "" : ",") + name;
    }
  }
}

void TakeAllDay(ItemContext& context, const ContentLine& line) {
  const std::string word = context.Word(line);
  if (word == "TRUE" || word == "1") context.item.is_all_day = true;
}

void TakeEpocKind(ItemContext& context, const ContentLine& line) {
  const std::string word = context.Word(line);
  if (word == "EVENT" || word == "ANNIVERSARY") context.item.is_all_day = true;
}

void TakeAttachment(ItemContext& context, const ContentLine& line) {
  const bool is_text = EncodingOf(line) != Encoding::kBase64 && line.Param("VALUE").empty();
  if (is_text && context.item.attachment.empty()) context.item.attachment = context.Text(line);
}

// ---- People -------------------------------------------------------------------------------------------------

std::string WithoutScheme(std::string_view address) {
  constexpr std::string_view kScheme = "MAILTO:";
  address = Trim(address);
  if (EqualsIgnoringCase(address.substr(0, kScheme.size()), kScheme)) {
    address.remove_prefix(kScheme.size());
  }
  return std::string(Trim(address));
}

// "Ann Lee <ann@lee.example>"; a text without a bracket is an address when it has a "@", else a name.
Attendee SplitAttendee(std::string_view text) {
  const size_t open = text.rfind('<');
  if (open != std::string_view::npos) {
    const size_t close = std::min(text.find('>', open), text.size());
    return {std::string(Trim(text.substr(0, open))),
            WithoutScheme(text.substr(open + 1, close - open - 1))};
  }
  const std::string address = WithoutScheme(text);
  if (address.find('@') != std::string::npos) return {{}, address};
  return {address, {}};
}

void TakeAttendee(ItemContext& context, const ContentLine& line) {
  const std::string role = ToUpper(line.Param("CUTYPE"));
  if (role == "ROOM" || role == "RESOURCE") return context.report.Dropped("ATTENDEE (room)");
  Attendee attendee = SplitAttendee(context.Text(line));
  if (const std::string_view name = line.Param("CN"); !name.empty()) attendee.name = name;
  if (attendee.name.empty() && attendee.address.empty()) return;
  const std::array<std::string_view, 4> answers = {"PARTSTAT", "STATUS", "RSVP", "EXPECT"};
  if (std::ranges::any_of(answers, [&](auto name) { return !line.Param(name).empty(); })) {
    context.report.Dropped("ATTENDEE (answer)");
  }
  context.item.attendees.push_back(attendee);
}

// ---- Rules --------------------------------------------------------------------------------------------------

void KeepRule(ItemContext& context, const ContentLine& line) { context.rules.push_back(&line); }
void KeepExceptionRule(ItemContext& context, const ContentLine& line) {
  context.exception_rules.push_back(&line);
}

bool IsRfcRule(std::string_view text) { return ToUpper(Trim(text)).starts_with("FREQ"); }

std::vector<TimedRule> ReadRule(std::string_view text, const ItemContext& context, OldSense sense) {
  const bool is_other = text.find("RSCALE") != std::string_view::npos;
  if (context.is_modern() || is_other || IsRfcRule(text)) {
    const std::optional<RecurRule> rule = ReadRecurRule(text);
    return rule ? std::vector<TimedRule>{{*rule, {}}} : std::vector<TimedRule>();
  }
  return ReadOldRule(text, context.item.rule_start, sense);
}

void ReadRules(ItemContext& context, OldSense sense) {
  CalendarItem& item = context.item;
  for (const ContentLine* line : context.rules) {
    const std::string text(Trim(context.calendar.decoder.Decoded(*line)));
    if (text.empty()) continue;
    if (item.rules.size() + item.unknown_rules.size() >= kMostRules) {
      context.report.Dropped("RRULE");
      continue;
    }
    const std::vector<TimedRule> rules = ReadRule(text, context, sense);
    if (rules.empty()) item.unknown_rules.push_back(text);
    item.rules.insert(item.rules.end(), rules.begin(), rules.end());
  }
  for (const ContentLine* line : context.exception_rules) {
    const std::string text(Trim(context.calendar.decoder.Decoded(*line)));
    const std::vector<TimedRule> rules = ReadRule(text, context, sense);
    if (!text.empty() && (rules.empty() || item.exception_rules.size() >= kMostRules)) {
      context.report.Dropped("EXRULE");
      continue;
    }
    item.exception_rules.insert(item.exception_rules.end(), rules.begin(), rules.end());
  }
}

// Rules of vCalendar 1.0 count on the sender's clock, which is the device's where nothing else is said, even where
// the start is written in UTC.
void SetRuleClock(ItemContext& context) {
  CalendarItem& item = context.item;
  if (!item.start && item.kind == ItemKind::kTask) {
    item.rule_start = item.due ? Clock(context.zones).ToLocal(*item.due) : CivilTime();
    return;
  }
  if (!item.start) return;
  const std::optional<OldZone>& zone = context.calendar.calendar.zone;
  if (zone && item.start->kind == TimeKind::kUtc) {
    const int64_t utc = CivilSeconds(item.start->time);
    const int64_t offset = OffsetAt(*zone, CivilAt(utc + zone->offset));
    if (utc + offset != UtcToDevice(utc)) item.rule_offset = offset;
  }
  const bool counts_on_device =
      !context.is_modern() && item.start->kind == TimeKind::kUtc && !item.rule_offset;
  if (counts_on_device && !context.rules.empty()) {
    item.start = Moment{Clock(context.zones).ToLocal(*item.start), TimeKind::kLocal, {}};
  }
  item.rule_start = Clock(context.zones).ToRuleClock(item, *item.start);
}

// ---- The table ----------------------------------------------------------------------------------------------

struct PropertyRow {
  std::string_view name;
  void (*take)(ItemContext&, const ContentLine&);
};

void Ignore(ItemContext& /*context*/, const ContentLine& /*line*/) {}

constexpr PropertyRow kProperties[] = {
    {"SUMMARY", TakeText<&CalendarItem::summary>},
    {"DESCRIPTION", TakeText<&CalendarItem::description>},
    {"LOCATION", TakeText<&CalendarItem::location>},
    {"CATEGORIES", TakeCategories},
    {"CLASS", TakeWord<&CalendarItem::access>},
    {"STATUS", TakeWord<&CalendarItem::status>},
    {"TRANSP", TakeTransparency},
    {"PRIORITY", TakePriority},
    {"PERCENT-COMPLETE", TakeProgress},
    {"COMPLETED", TakeCompleted},
    {"DTSTART", TakeStart},
    {"DTEND", TakeEnd},
    {"DUE", TakeDue},
    {"DURATION", TakeDuration},
    {"RRULE", KeepRule},
    {"EXRULE", KeepExceptionRule},
    {"EXDATE", TakeExceptions},
    {"RDATE", TakeExtraDates},
    {"RECURRENCE-ID", TakeReplaced},
    {"X-RECURRENCE-ID", TakeReplaced},
    {"DALARM", TakeOldAlarm},
    {"AALARM", TakeOldAlarm},
    {"ATTENDEE", TakeAttendee},
    {"UID", TakeText<&CalendarItem::uid>},
    {"X-IRMC-LUID", TakeText<&CalendarItem::luid>},
    {"DCREATED", TakeCreated},
    {"CREATED", TakeCreated},
    {"LAST-MODIFIED", TakeModified},
    {"X-BLUETOOTH-ALLDAYEVENT", TakeAllDay},
    {"X-FUNAMBOL-ALLDAY", TakeAllDay},
    {"X-MICROSOFT-CDO-ALLDAYEVENT", TakeAllDay},
    {"X-EPOCAGENDAENTRYTYPE", TakeEpocKind},
    {"DTSTAMP", Ignore},
    {"VERSION", Ignore},
};

constexpr std::string_view kKeptToo[] = {"X-EPOCAGENDAENTRYTYPE", "PERCENT-COMPLETE"};

void KeepOther(ItemContext& context, const ContentLine& line) {
  OtherLine other = {line.name, line.params, {}, EncodingOf(line) == Encoding::kBase64};
  other.text = other.is_base64 ? line.value : context.Text(line);
  std::erase_if(other.params, [](const Parameter& param) {
    return param.name == "ENCODING" || param.name == "CHARSET";
  });
  context.item.others.push_back(other);
}

void TakeLine(ItemContext& context, const ContentLine& line) {
  const auto* row = std::ranges::find(kProperties, line.name, &PropertyRow::name);
  if (row != std::end(kProperties)) row->take(context, line);
  if (line.name == "ATTACH") TakeAttachment(context, line);
  const bool is_kept = std::ranges::find(kKeptToo, line.name) != std::end(kKeptToo);
  if (row == std::end(kProperties) || is_kept) KeepOther(context, line);
}

ItemKind KindOf(const Component& component) {
  if (component.name == "VTODO") return ItemKind::kTask;
  return component.name == "VJOURNAL" ? ItemKind::kJournal : ItemKind::kEvent;
}

}  // namespace

CalendarItem ReadItem(const Component& component, const ReadCalendar& calendar, ZoneBook& zones,
                      OldSense sense, Report& report) {
  CalendarItem item;
  item.kind = KindOf(component);
  item.is_modern = calendar.calendar.is_modern;
  item.line = component.line;
  ItemContext context = {calendar, zones, report, item};
  for (const ContentLine& line : component.lines) TakeLine(context, line);
  for (const Component& part : component.parts) {
    if (part.name == "VALARM") {
      TakeAlarmComponent(part, context);
    } else {
      report.Dropped(part.name);
    }
  }
  SetRuleClock(context);
  ReadRules(context, sense);
  return item;
}

}  // namespace dialects
