// What the sections of the page are made of.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "dialects/calendar_time.h"
#include "dialects/people_page.h"
#include "tools/osif/report/contents.h"

namespace command {

// A section with its heading and the number of things in it; `id` is its place in the page.
std::string Section(std::string_view id, std::string_view title, size_t count,
                    const std::string& content);

// Values by their captions, as a list of pairs; those without a value are left out.
std::string Values(const std::vector<dialects::PageEntry>& entries);

// Items of a list (whole "li" elements) as several lists of bounded length, of which a browser draws those that are seen.
std::string Portions(const std::vector<std::string>& items);

// What stands where there is nothing.
std::string Nothing(std::string_view text);

// "1 contact", "20 000 contacts" with narrow spaces.
std::string Grouped(size_t number);

// "November 2026"; "22 November 2026"; "Sunday"; "09:30"; "2026-11-22".
std::string MonthText(const Month& month);
std::string DayText(const dialects::CivilTime& day);
std::string WeekdayText(const dialects::CivilTime& day);
std::string ClockText(const dialects::CivilTime& time);
std::string IsoDay(const dialects::CivilTime& day);

}  // namespace command
