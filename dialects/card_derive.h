// What a card says only in other words: its name where only another one is given, and the day of a date in any form.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/card.h"

namespace dialects {

// A name for a card that has none, in N's five components, and the property that it was taken from. The whole formatted
// name is the family name: splitting it at a blank would be a guess that goes on as if it were known. At a lone comma
// the writer split it. Nothing when the card has no property to take it from.
struct DerivedName {
  std::vector<std::string> components;
  std::string_view source;  // "FN"
};
std::optional<DerivedName> DeriveName(const Card& card);

// True for a name that DeriveName makes of the card's formatted name.
bool IsDerivedName(const Card& card, const CardProperty& name);

// The name to show of a card that has none: the parts of N as one says them, else organisation, address or number.
std::string DeriveFormattedName(const Card& card);

// True for a day of the calendar, in a year from 100 to 9999.
bool IsPossibleDay(int year, int month, int day);

// The day of a date in any form with a year of four digits, as YYYYMMDD. `is_guessed` when day and month may be the
// other way round. Nothing without a whole, possible date.
struct Day {
  std::string text;
  bool is_guessed = false;
};
std::optional<Day> DayOf(std::string_view text);

// The day of a birthday or an anniversary; nothing too where its year is a placeholder or it is a text by its
// parameters.
std::optional<Day> DayOf(const CardProperty& date);

}  // namespace dialects
