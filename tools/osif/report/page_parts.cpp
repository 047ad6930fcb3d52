#include "tools/osif/report/page_parts.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "tools/osif/report/html_text.h"

namespace command {
namespace {

constexpr size_t kPortion = 100;

constexpr std::array<const char*, 12> kMonths = {"January",   "February", "March",    "April",
                                                 "May",       "June",     "July",     "August",
                                                 "September", "October",  "November", "December"};
constexpr std::array<const char*, 7> kDays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                              "Thursday", "Friday", "Saturday"};

}  // namespace

std::string Section(std::string_view id, std::string_view title, size_t count,
                    const std::string& content) {
  const std::string name(id);
  return "<section id=\"" + name + "\" aria-labelledby=\"" + name + "-heading\">\n<h2 id=\"" +
         name + "-heading\">" + HtmlText(title) + " <span class=\"count\">" + Grouped(count) +
         "</span></h2>\n" + content + "</section>\n";
}

std::string Values(const std::vector<dialects::PageEntry>& entries) {
  std::string html;
  for (const auto& [caption, value] : entries) {
    if (value.empty()) continue;
    html += "<dt>" + HtmlText(caption) + "</dt><dd>" + HtmlText(value) + "</dd>";
  }
  return html.empty() ? html : "<dl>" + html + "</dl>";
}

std::string Portions(const std::vector<std::string>& items) {
  std::string html;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i % kPortion == 0) html += "<ul class=\"portion\">\n";
    html += items[i];
    if (i % kPortion == kPortion - 1 || i + 1 == items.size()) html += "</ul>\n";
  }
  return html;
}

std::string Nothing(std::string_view text) {
  return "<p class=\"none\">" + HtmlText(text) + "</p>\n";
}

std::string Grouped(size_t number) {
  const std::string digits = std::to_string(number);
  std::string text;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) text += "\u202F";
    text += digits[i];
  }
  return text;
}

std::string MonthText(const Month& month) {
  return std::string(kMonths.at(static_cast<size_t>(month.month) - 1)) + " " +
         std::to_string(month.year);
}

std::string DayText(const dialects::CivilTime& day) {
  return std::to_string(day.day) + " " + MonthText({day.year, day.month});
}

std::string WeekdayText(const dialects::CivilTime& day) {
  return kDays.at(static_cast<size_t>(dialects::WeekdayOf(day)) - 1);
}

std::string ClockText(const dialects::CivilTime& time) {
  const std::string digits = dialects::DateTimeText(time).substr(9);
  return digits.substr(0, 2) + ":" + digits.substr(2, 2);
}

std::string IsoDay(const dialects::CivilTime& day) {
  const std::string digits = dialects::DateText(day);
  return digits.substr(0, 4) + "-" + digits.substr(4, 2) + "-" + digits.substr(6, 2);
}

}  // namespace command
