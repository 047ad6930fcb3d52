// The store's change is planned as that of a card is (merge_plan.h). What differs: times and rules are taken as the store
// writes them, with the zone that they name; an end may be said by a duration; an alarm is a component; and a series may
// have occurrences with components of their own, which stay as they are.
#include "mirror/merge_calendar.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "dialects/forms.h"
#include "dialects/value_text.h"
#include "mirror/calendar_items.h"

namespace mirror {
namespace {

using namespace std::string_view_literals;
using dialects::ContentLine;

// Values that are texts, so that the file's own head goes on to hold.
constexpr std::array<std::string_view, 4> kTexts = {"SUMMARY", "DESCRIPTION", "LOCATION",
                                                    "COMMENT"};

struct Calendars {
  CalendarText before;
  CalendarText after;
  CalendarText base;
  CalendarText file;
};

const Item& ItemOf(const Change& change, const Calendars& calendars) {
  return change.from == kNowhere ? calendars.after.items[change.to]
                                 : calendars.before.items[change.from];
}

bool Names(const Change& change, const Calendars& calendars, std::string_view name) {
  return ItemOf(change, calendars).name == name;
}

// ---- What is meant ------------------------------------------------------------------------------------------

// A day without the occurrence for which the file has a component is none that the series has lost.
bool IsOfOverride(const Item& item, const Calendars& calendars) {
  if (item.name != "EXDATE"sv) return false;
  return calendars.base.overridden.contains(item.value) ||
         calendars.file.overridden.contains(item.value);
}

std::optional<int64_t> LengthOf(const CalendarText& calendar) {
  if (calendar.duration && !calendar.end) return calendar.duration;
  if (!calendar.start || !calendar.end) return std::nullopt;
  return *calendar.end - *calendar.start;
}

size_t FindItem(const Items& items, std::string_view name) {
  const auto found = std::ranges::find(items, name, &Item::name);
  return found == items.end() ? kNowhere : static_cast<size_t>(found - items.begin());
}

// Where the file says no end, the store has made one of the start, or of the duration: what counts then is how long the
// item lasts.
void SettleEnd(std::vector<Change>& changes, const Calendars& calendars) {
  const std::string_view name = calendars.after.IsTask() ? "DUE" : "DTEND";
  if (calendars.base.end || !calendars.base.start) return;
  std::erase_if(changes, [&](const Change& change) { return Names(change, calendars, name); });
  const std::optional<int64_t> length = LengthOf(calendars.after);
  if (!length || length == calendars.base.duration) return;
  if (length == LengthOf(calendars.before)) return;
  const Change change = {FindItem(calendars.before.items, name),
                         FindItem(calendars.after.items, name)};
  // A store writes an end; a text that has none says nothing of it.
  if (change.from != kNowhere || change.to != kNowhere) changes.push_back(change);
}

// A series counts on the clock of its zone, so one that begins with this change takes its times as the store writes
// them.
void TakeZoneOfSeries(std::vector<Change>& changes, const Calendars& calendars) {
  const bool begins = std::ranges::any_of(changes, [&](const Change& change) {
    return Names(change, calendars, "RRULE") && change.from == kNowhere;
  });
  for (const std::string_view name : {"DTSTART"sv, "DTEND"sv}) {
    const bool is_changed = std::ranges::any_of(
        changes, [&](const Change& change) { return Names(change, calendars, name); });
    const size_t from = FindItem(calendars.before.items, name);
    const size_t to = FindItem(calendars.after.items, name);
    if (begins && !is_changed && from != kNowhere && to != kNowhere &&
        FindItem(calendars.file.items, name) != kNowhere) {
      changes.push_back({from, to});
    }
  }
}

std::vector<Change> MeantChanges(const Calendars& calendars) {
  std::vector<Change> changes = ChangesBetween(calendars.before.items, calendars.after.items);
  std::erase_if(changes, [&](const Change& change) {
    return IsOfOverride(ItemOf(change, calendars), calendars);
  });
  SettleEnd(changes, calendars);
  TakeZoneOfSeries(changes, calendars);
  return changes;
}

// ---- The file -----------------------------------------------------------------------------------------------

class CalendarEditor {
 public:
  explicit CalendarEditor(const Calendars& calendars)
      : calendars_(calendars), file_(calendars.file), after_(calendars.after) {}

  void Do(const Step& step) {
    const Change& change = step.change;
    const Item* from = change.from == kNowhere ? nullptr : &calendars_.before.items[change.from];
    const Item* to = change.to == kNowhere ? nullptr : &after_.items[change.to];
    const Item* item = step.file == kNowhere ? nullptr : &file_.items[step.file];
    has_changed_ = true;
    const std::string& name = to == nullptr ? from->name : to->name;
    if (name == "DTSTART" || name == "RRULE") moves_series_ = true;
    if (name == "STATUS" && file_.IsTask()) FollowStatus(to != nullptr && to->value == "COMPLETED");
    if (name == kAlarmName) return DoAlarm(item, to);
    if (IsCalendarList(name)) return DoEntry(item, to);
    const bool has_line = item != nullptr && item->line != kNowhere;
    if (to == nullptr || to->line == kNowhere) {
      if (has_line) RemoveLine(item->line);
    } else if (!has_line) {
      AddLine(*to);
    } else {
      Rewrite(*item, *to);
    }
  }

  bool has_changed() const { return has_changed_; }
  bool moves_series() const { return moves_series_; }

  std::string Result() {
    FinishEntries();
    for (const std::string_view name : {"DTSTAMP"sv, "LAST-MODIFIED"sv}) SetStamp(name);
    edits_.Insert(PlaceOfLines(), added_lines_);
    edits_.Insert(PlaceOfParts(), added_parts_);
    AddZones();
    return edits_.Applied(file_.lines.text, file_.lines.line_end);
  }

 private:
  struct Entries {
    std::set<size_t> removed;
    std::vector<std::string> added;
  };

  size_t BeginOf(size_t line) const {
    return line < file_.lines.spans.size() ? file_.lines.spans[line].begin
                                           : file_.lines.text.size();
  }
  // Properties stand before the components of an item.
  size_t PlaceOfLines() const {
    return BeginOf(file_.item.first_inside == kNowhere ? file_.item.end : file_.item.first_inside);
  }
  size_t PlaceOfParts() const { return BeginOf(file_.item.end); }

  void RemoveLine(size_t line) {
    if (touched_.insert(line).second) edits_.Remove(file_.lines.spans[line]);
  }
  void ReplaceLine(size_t line, std::string text) {
    if (touched_.insert(line).second) edits_.Replace(file_.lines.spans[line], std::move(text));
  }

  // A line of the store's object as it stands there.
  std::string TakenLine(size_t line) {
    const std::string_view tzid = after_.lines.contents[line].Param("TZID");
    if (!tzid.empty()) used_zones_.emplace(tzid);
    return std::string(after_.lines.Raw(line));
  }
  void AddLine(const Item& to) {
    if (IsEnd(to.name)) {
      if (const size_t duration = LineOf("DURATION"); duration != kNowhere) {
        return ReplaceLine(duration, TakenLine(to.line));
      }
    }
    added_lines_ += TakenLine(to.line);
  }

  static bool IsEnd(std::string_view name) { return name == "DTEND"sv || name == "DUE"sv; }

  size_t LineOf(std::string_view name) const {
    for (const size_t line : file_.item.own) {
      if (file_.lines.contents[line].name == name) return line;
    }
    return kNowhere;
  }

  void Rewrite(const Item& item, const Item& to) {
    const std::string taken = TakenLine(to.line);
    const std::string_view raw = file_.lines.Raw(item.line);
    if (std::ranges::find(kTexts, to.name) != kTexts.end()) {
      return ReplaceLine(item.line, WithHeadOf(raw, taken, !file_.is_modern, false));
    }
    ReplaceLine(item.line, to.name == "ATTENDEE" ? WithNameOf(raw, taken) : taken);
  }

  // An attendee's line with the name that another one has.
  static std::string WithNameOf(std::string_view raw, const std::string& taken) {
    const HeadAndValue was = SplitLine(Unfolded(raw));
    const HeadAndValue is = SplitLine(Unfolded(taken));
    const auto append = [](std::string& head, std::string_view from, bool is_name) {
      const std::vector<std::string_view> pieces = PiecesOfHead(from);
      for (size_t i = 1; i < pieces.size(); ++i) {
        if ((NameOfPiece(pieces[i]) == "CN") == is_name) head.append(";").append(pieces[i]);
      }
    };
    std::string head(PiecesOfHead(was.head).front());
    append(head, was.head, false);
    append(head, is.head, true);
    return dialects::FoldedLine(head + ":" + was.value);
  }

  // ---- Lists ----

  void DoEntry(const Item* item, const Item* to) {
    if (to == nullptr) {
      if (item != nullptr) entries_[item->line].removed.insert(item->entry);
      return;
    }
    const size_t list = to->name == "CATEGORIES" ? LineOf("CATEGORIES") : kNowhere;
    if (list != kNowhere) {
      entries_[list].added.push_back(EntryOf(*to));
    } else if (to->name == "CATEGORIES") {
      new_categories_.push_back(EntryOf(*to));
    } else {
      AddDate(*to);
    }
  }

  // The store writes a line for each date in the later version, and all in one in the older.
  void AddDate(const Item& to) {
    TakenLine(to.line);
    const std::string head = SplitLine(Unfolded(after_.lines.Raw(to.line))).head;
    added_lines_ += dialects::FoldedLine(head + ":" + EntryOf(to));
  }

  // As it is written, with its escapes.
  std::string EntryOf(const Item& to) const {
    const std::string value = ValueOfLine(after_, to.line);
    return std::string(dialects::Trim(ListOf(value, after_.is_modern)[to.entry]));
  }

  std::vector<std::string> CategoriesOfStore() const {
    std::vector<std::string> entries;
    for (const Item& item : after_.items) {
      if (item.name == "CATEGORIES") entries.push_back(EntryOf(item));
    }
    return entries;
  }

  void FinishEntries() {
    for (const auto& [line, entries] : entries_) {
      const std::string value = ValueOfLine(file_, line);
      const std::vector<std::string_view> pieces = ListOf(value, file_.is_modern);
      std::vector<std::string> left;
      for (size_t i = 0; i < pieces.size(); ++i) {
        if (!entries.removed.contains(i)) left.emplace_back(pieces[i]);
      }
      left.insert(left.end(), entries.added.begin(), entries.added.end());
      if (file_.lines.contents[line].name == "CATEGORIES"sv) {
        left = InOrderOf(std::move(left), CategoriesOfStore());
      }
      if (left.empty()) {
        RemoveLine(line);
      } else {
        ReplaceLine(
            line, WithHeadOf(file_.lines.Raw(line), ListLine(line, left), !file_.is_modern, true));
      }
    }
    if (new_categories_.empty()) return;
    added_lines_ +=
        file_.is_modern
            ? dialects::FoldedLine("CATEGORIES:" + dialects::Joined(new_categories_, ","))
            : dialects::OldLine("CATEGORIES", new_categories_);
  }

  std::string ListLine(size_t line, const std::vector<std::string>& entries) const {
    const ContentLine& content = file_.lines.contents[line];
    if (file_.is_modern)
      return dialects::FoldedLine(content.name + ":" + dialects::Joined(entries, ","));
    std::vector<std::string> plain;
    for (const std::string& entry : entries) {
      plain.push_back(dialects::Unescaped(entry, dialects::Escapes::kOld));
    }
    return dialects::OldLine(content.name, plain);
  }

  // ---- Alarms ----

  void DoAlarm(const Item* item, const Item* to) {
    if (item == nullptr) {
      if (to != nullptr) added_parts_ += TextOf(after_, after_.alarms[to->property]);
      return;
    }
    const CalendarPart& alarm = file_.alarms[item->property];
    if (to == nullptr) return RemovePart(alarm);
    const size_t trigger = TriggerOf(file_, alarm);
    const size_t new_trigger = TriggerOf(after_, after_.alarms[to->property]);
    if (new_trigger == kNowhere) return;
    if (trigger != kNowhere) return ReplaceLine(trigger, TakenLine(new_trigger));
    edits_.Insert(BeginOf(alarm.end), TakenLine(new_trigger));
  }

  static size_t TriggerOf(const CalendarText& calendar, const CalendarPart& alarm) {
    for (const size_t line : alarm.own) {
      if (calendar.lines.contents[line].name == "TRIGGER"sv) return line;
    }
    return kNowhere;
  }

  static bool HasEnd(const CalendarText& calendar, const CalendarPart& part) {
    return part.end < calendar.lines.contents.size() &&
           calendar.lines.contents[part.end].name == "END"sv &&
           ToUpper(dialects::Trim(calendar.lines.contents[part.end].value)) == part.name;
  }

  static Span SpanOf(const CalendarText& calendar, const CalendarPart& part) {
    const std::vector<Span>& spans = calendar.lines.spans;
    const size_t begin = spans[part.begin].begin;
    if (HasEnd(calendar, part)) return {begin, spans[part.end].end};
    return {begin, part.end < spans.size() ? spans[part.end].begin : calendar.lines.text.size()};
  }

  static std::string TextOf(const CalendarText& calendar, const CalendarPart& part) {
    const Span span = SpanOf(calendar, part);
    return std::string(calendar.lines.text.substr(span.begin, span.end - span.begin));
  }

  void RemovePart(const CalendarPart& part) { edits_.Remove(SpanOf(file_, part)); }

  // ---- What follows ----

  // Other programs take a task for done by these, too.
  void FollowStatus(bool is_complete) {
    const size_t progress = LineOf("PERCENT-COMPLETE");
    if (progress != kNowhere) {
      if (is_complete) {
        ReplaceLine(progress, WithHeadOf(file_.lines.Raw(progress), "PERCENT-COMPLETE:100\r\n",
                                         !file_.is_modern, true));
      } else if (dialects::Trim(file_.lines.contents[progress].value) == "100"sv) {
        RemoveLine(progress);
      }
    }
    const size_t completed = LineOf("COMPLETED");
    if (completed != kNowhere && !is_complete) RemoveLine(completed);
  }

  void SetStamp(std::string_view name) {
    const size_t line = LineOf(name);
    if (line == kNowhere) return;
    for (const size_t of_store : after_.item.own) {
      if (after_.lines.contents[of_store].name == name) {
        return ReplaceLine(line, std::string(after_.lines.Raw(of_store)));
      }
    }
  }

  void AddZones() {
    if (!file_.is_whole || !file_.is_modern || file_.first_item == kNowhere) return;
    for (const std::string& tzid : used_zones_) {
      const auto zone = after_.zone_spans.find(tzid);
      if (zone == after_.zone_spans.end() || file_.zone_spans.contains(tzid)) continue;
      const Span span = zone->second;
      edits_.Insert(BeginOf(file_.first_item),
                    std::string(after_.lines.text.substr(span.begin, span.end - span.begin)));
    }
  }

  const Calendars& calendars_;
  const CalendarText& file_;
  const CalendarText& after_;
  bool has_changed_ = false;
  bool moves_series_ = false;
  std::set<size_t> touched_;
  std::map<size_t, Entries> entries_;  // by the line of the list
  std::vector<std::string> new_categories_;
  std::set<std::string> used_zones_;
  std::string added_lines_;
  std::string added_parts_;
  Edits edits_;
};

// ---- The older version --------------------------------------------------------------------------------------

// The store's object as vCalendar 1.0, whose lines a file of that version takes. Empty where it has none for it.
std::string InOldForm(std::string_view text) {
  dialects::WriterSettings settings;
  settings.origin = dialects::Origin::kLibrary;
  const auto writer = dialects::MakeCalendarWriter(dialects::Form::kVCal10, settings);
  const dialects::ObjectText object = {.kind = dialects::ObjectKind::kCalendar,
                                       .text = std::string(text)};
  const std::string begin = writer->Begin();
  const dialects::WrittenObject written = writer->Write(object);
  if (!written.refusal.empty()) return {};
  return begin + written.text + writer->End();
}

}  // namespace

Merged MergeCalendar(const MergeInput& input) {
  Merged merged;
  merged.text = input.file;
  Calendars calendars;
  if (!ReadCalendarItems(input.file, calendars.file)) {
    merged.left.emplace_back("the file has no event and no task");
    return merged;
  }
  std::string before(input.before);
  std::string after(input.after);
  if (!calendars.file.is_modern) {
    before = InOldForm(before);
    after = InOldForm(after);
  }
  if (!ReadCalendarItems(before, calendars.before) || !ReadCalendarItems(after, calendars.after)) {
    merged.left.emplace_back("the store's object is no event and no task");
    return merged;
  }
  const bool has_base = ReadCalendarItems(input.base, calendars.base);
  if (!has_base) ReadCalendarItems(input.file, calendars.base);
  for (CalendarText* calendar : {&calendars.before, &calendars.after}) {
    std::erase_if(calendar->items, [](const Item& item) { return item.value.empty(); });
  }
  const Plan plan = PlanChanges({calendars.before.items, calendars.after.items,
                                 calendars.base.items, calendars.file.items, input.prefer},
                                MeantChanges(calendars));
  merged.conflicts = plan.conflicts;
  CalendarEditor editor(calendars);
  for (const Step& step : plan.steps) editor.Do(step);
  if (!editor.has_changed()) return merged;
  if (editor.moves_series() && !calendars.file.overridden.empty()) {
    merged.left.emplace_back("a series was changed, and its single occurrences stay as they are");
  }
  merged.text = editor.Result();
  return merged;
}

}  // namespace mirror
