#include "dialects/card_derive.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "dialects/content_line.h"

namespace dialects {
namespace {

using namespace std::string_view_literals;

bool HasDigit(std::string_view text) {
  return std::ranges::any_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

bool IsOrganisation(const Card& card, std::string_view formatted) {
  return EqualsIgnoringCase(card.TextOf("KIND"), "org") || card.TextOf("ORG") == formatted;
}

std::vector<std::string> PartsOfFormatted(const Card& card, std::string_view formatted) {
  std::vector<std::string> parts(kNameParts);
  const size_t comma = formatted.find(',');
  const bool is_split = comma != std::string_view::npos && comma == formatted.rfind(',') &&
                        !HasDigit(formatted) && !IsOrganisation(card, formatted);
  parts[0] = is_split ? Trim(formatted.substr(0, comma)) : formatted;
  if (is_split) parts[1] = Trim(formatted.substr(comma + 1));
  return parts;
}

constexpr std::array<std::string_view, 5> kSources = {"FN", "ORG", "NICKNAME", "EMAIL", "TEL"};

struct DateNumber {
  int value;
  size_t digits;
};

// The runs of digits that begin a date, up to three; what separates them goes into `separator`.
std::vector<DateNumber> NumbersOf(std::string_view text, char& separator) {
  std::vector<DateNumber> numbers;
  numbers.reserve(3);
  while (numbers.size() < 3 && !text.empty()) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const auto length = static_cast<size_t>(end - text.data());
    if (error != std::errc() || text.front() == '-') break;
    numbers.push_back({value, length});
    text.remove_prefix(length);
    constexpr std::string_view kSeparators = "-/. ";
    if (text.empty() || kSeparators.find(text.front()) == std::string_view::npos) break;
    separator = text.front();
    text.remove_prefix(1);
  }
  return numbers;
}

std::string EightDigits(int number) {
  std::string text(8, '0');
  for (auto digit = text.rbegin(); digit != text.rend(); ++digit, number /= 10) {
    *digit = static_cast<char>('0' + number % 10);
  }
  return text;
}

std::optional<Day> MakeDay(int year, int month, int day, bool is_guessed) {
  if (!IsPossibleDay(year, month, day)) return std::nullopt;
  return Day{EightDigits(10000 * year + 100 * month + day), is_guessed};
}

}  // namespace

std::optional<DerivedName> DeriveName(const Card& card) {
  for (const std::string_view source : kSources) {
    const std::string_view text = Trim(card.TextOf(source));
    if (text.empty()) continue;
    if (source == "FN"sv) return DerivedName{PartsOfFormatted(card, text), source};
    DerivedName name{std::vector<std::string>(kNameParts), source};
    name.components[0] = text;
    return name;
  }
  return std::nullopt;
}

bool IsDerivedName(const Card& card, const CardProperty& name) {
  const std::string_view formatted = Trim(card.TextOf("FN"));
  if (formatted.empty() || !formatted.starts_with(name.Text())) return false;
  std::vector<std::string> parts = name.components;
  parts.resize(std::max(parts.size(), kNameParts));
  return parts == PartsOfFormatted(card, formatted);
}

std::string DeriveFormattedName(const Card& card) {
  // Prefix, given, middle and family name, suffix.
  constexpr std::array<size_t, kNameParts> kSpoken = {3, 1, 2, 0, 4};
  std::string text;
  if (const CardProperty* name = card.Find("N")) {
    for (const size_t index : kSpoken) {
      if (index >= name->components.size() || name->components[index].empty()) continue;
      if (!text.empty()) text += ' ';
      text += WithoutLists(name->components[index], " ");
    }
  }
  for (const std::string_view source : kSources) {
    if (text.empty()) text = card.TextOf(source);
  }
  return text;
}

bool IsPossibleDay(int year, int month, int day) {
  constexpr std::array<int, 12> kDays = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 100 || year > 9999 || month < 1 || month > 12 || day < 1) return false;
  const bool is_leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  if (month == 2 && !is_leap) return day <= 28;
  return day <= kDays[static_cast<size_t>(month - 1)];
}

std::optional<Day> DayOf(std::string_view text) {
  text = Trim(text);
  char separator = '\0';
  const std::vector<DateNumber> numbers = NumbersOf(text, separator);
  if (numbers.empty()) return std::nullopt;
  const DateNumber& first = numbers[0];
  if (first.digits == 8) {
    return MakeDay(first.value / 10000, first.value / 100 % 100, first.value % 100, false);
  }
  if (numbers.size() < 3) return std::nullopt;
  const auto& [second, third] = std::pair(numbers[1], numbers[2]);
  if (first.digits == 4) return MakeDay(first.value, second.value, third.value, false);
  if (third.digits != 4) return std::nullopt;
  // The day comes first, unless that cannot be; a slash may stand for either order.
  const bool is_month_first = second.value > 12;
  const bool is_open =
      separator == '/' && first.value <= 12 && second.value <= 12 && first.value != second.value;
  return is_month_first ? MakeDay(third.value, first.value, second.value, false)
                        : MakeDay(third.value, second.value, first.value, is_open);
}

std::optional<Day> DayOf(const CardProperty& date) {
  const std::string_view omitted = date.Param("X-APPLE-OMIT-YEAR");
  if (!omitted.empty() && date.Text().starts_with(omitted)) return std::nullopt;
  if (date.Param("VALUE") == "TEXT"sv) return std::nullopt;
  return DayOf(date.Text());
}

}  // namespace dialects
