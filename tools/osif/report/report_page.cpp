#include "tools/osif/report/report_page.h"

#include <array>
#include <string_view>

#include "client/digest.h"
#include "tools/osif/report/html_text.h"
#include "tools/osif/report/page_files.h"
#include "tools/osif/report/page_parts.h"
#include "tools/osif/report/sections.h"

namespace command {
namespace {

// The sections, in the order in which people look for them.
struct SectionRow {
  const char* id;
  const char* name;
  std::string (*make)(const Contents& contents);
};

constexpr std::array<SectionRow, 7> kSections = {{
    {"contacts", "Contacts", ContactsSection},
    {"calendar", "Calendar", CalendarSection},
    {"tasks", "Tasks", TasksSection},
    {"notes", "Notes", NotesSection},
    {"messages", "Messages", MessagesSection},
    {"changes", "Changes", ChangesSection},
    {"settings", "Settings", SettingsSection},
}};

std::string Source(std::string_view text) { return "'sha256-" + client::Sha256Base64(text) + "'"; }

// Stands before all that it is to hold for.
std::string Policy() {
  return "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src " +
         Source(kPageStyle) + "; script-src " + Source(kPageScript) +
         "; base-uri 'none'; form-action 'none'\">\n";
}

std::string NameOfDevice(const Contents& contents) {
  return HtmlText(contents.name.empty() ? "Handheld" : contents.name);
}

std::string Head(const Contents& contents) {
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n" + Policy() +
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"referrer\" content=\"no-referrer\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
         NameOfDevice(contents) + ", " + DayText(contents.made) + "</title>\n<style>" +
         std::string(kPageStyle) + "</style>\n</head>\n";
}

std::string UnreadLine(size_t unread) {
  if (unread == 0) return {};
  return "<p class=\"warning\">" + Grouped(unread) + (unread == 1 ? " object" : " objects") +
         " could not be read, and " + (unread == 1 ? "is" : "are") + " not shown.</p>\n";
}

std::string Banner(const Contents& contents) {
  std::string html = "<a class=\"skip\" href=\"#content\">Skip to the content</a>\n<header>\n<h1>" +
                     NameOfDevice(contents) + "</h1>\n<p>As it was on " + DayText(contents.made) +
                     " at " + ClockText(contents.made) + "</p>\n" + UnreadLine(contents.unread) +
                     "<nav aria-label=\"Sections\">\n<ul>\n";
  for (const SectionRow& row : kSections) {
    html += std::string("<li><a href=\"#") + row.id + "\">" + row.name + "</a></li>\n";
  }
  return html + "</ul>\n</nav>\n</header>\n";
}

}  // namespace

std::string ReportPage(const Contents& contents) {
  std::string html =
      Head(contents) + "<body>\n" + Banner(contents) + "<main id=\"content\" tabindex=\"-1\">\n";
  for (const SectionRow& row : kSections) html += row.make(contents);
  return html + "</main>\n<script>" + std::string(kPageScript) + "</script>\n</body>\n</html>\n";
}

}  // namespace command
