// The change logs of all stores as one time line, the newest day first.
#include <array>
#include <string>

#include "tools/osif/report/html_text.h"
#include "tools/osif/report/page_parts.h"
#include "tools/osif/report/sections.h"

namespace command {
namespace {

// What an object of a store is called, in the order of the stores' numbers.
constexpr std::array<const char*, 6> kKinds = {
    "contact", "calendar item", "note", "message, inbox", "message, sent", "message, outbox"};

std::string DayOf(const ReportedChange& change) {
  if (!change.time) return "Without a time";
  return WeekdayText(*change.time) + ", " + DayText(*change.time);
}

std::string TimeOf(const ReportedChange& change) {
  if (!change.time) return "<span class=\"time\"></span>";
  const std::string clock = ClockText(*change.time);
  return "<time class=\"time\" datetime=\"" + IsoDay(*change.time) + "T" + clock + "\">" + clock +
         "</time>";
}

std::string ChangeItem(const ReportedChange& change) {
  const char* what = change.is_deleted ? "deleted" : "saved";
  // The id of a note is its name.
  const std::string& name = change.name.empty() ? change.id : change.name;
  return std::string("<li class=\"") + what + "\">" + TimeOf(change) + " <span class=\"mark\">" +
         what + "</span> <span class=\"kind\">" + kKinds.at(static_cast<size_t>(change.store_id)) +
         "</span> <span class=\"name\">" + HtmlText(name) + "</span></li>\n";
}

}  // namespace

std::string ChangesSection(const Contents& contents) {
  std::string html =
      "<p>What was saved (added or changed) and deleted, as the change logs have it. They keep the "
      "newest 250 entries of each store, and take note of what other programs did when a log is "
      "next opened.</p>\n";
  std::string day;
  for (const ReportedChange& change : contents.changes) {
    const std::string next = DayOf(change);
    if (next != day) {
      html += std::string(day.empty() ? "" : "</ol>\n") + "<h3>" + next +
              "</h3>\n<ol class=\"line\">\n";
      day = next;
    }
    html += ChangeItem(change);
  }
  html += day.empty() ? Nothing("No changes.") : "</ol>\n";
  return Section("changes", "Changes", contents.changes.size(), html);
}

}  // namespace command
