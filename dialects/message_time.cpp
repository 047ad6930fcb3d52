// A date is taken apart into numbers, words and the characters between them; its form shows in their number
// and in which words there are.
#include "dialects/message_time.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "dialects/content_line.h"

namespace dialects {
namespace {

constexpr std::array<std::string_view, 12> kMonths = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                                      "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
constexpr std::array<const char*, 12> kMonthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<const char*, 7> kDayNames = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr size_t kMostTokens = 20;

struct ZoneRow {
  std::string_view name;
  int minutes;
};

constexpr std::array<ZoneRow, 12> kZones = {{{"Z", 0},
                                             {"GMT", 0},
                                             {"UT", 0},
                                             {"UTC", 0},
                                             {"EST", -300},
                                             {"EDT", -240},
                                             {"CST", -360},
                                             {"CDT", -300},
                                             {"MST", -420},
                                             {"MDT", -360},
                                             {"PST", -480},
                                             {"PDT", -420}}};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return AsciiUpper(c) >= 'A' && AsciiUpper(c) <= 'Z'; }

struct Token {
  enum class Kind { kNumber, kWord, kSign };
  Kind kind = Kind::kSign;
  std::string text;  // upper case
};

std::vector<Token> TokensOf(std::string_view text) {
  std::vector<Token> tokens;
  for (size_t i = 0; i < text.size() && tokens.size() < kMostTokens;) {
    size_t end = i + 1;
    Token token;
    if (IsDigit(text[i])) {
      token.kind = Token::Kind::kNumber;
      while (end < text.size() && IsDigit(text[end])) ++end;
    } else if (IsLetter(text[i])) {
      token.kind = Token::Kind::kWord;
      while (end < text.size() && IsLetter(text[end])) ++end;
    }
    token.text = ToUpper(text.substr(i, end - i));
    const bool counts =
        token.kind != Token::Kind::kSign || !(IsBlankOrTab(text[i]) || text[i] == ',');
    if (counts) tokens.push_back(token);
    i = end;
  }
  return tokens;
}

int NumberOf(std::string_view digits) {
  int number = 0;
  for (const char c : digits.substr(0, 9)) number = number * 10 + (c - '0');
  return number;
}

// 1 to 12; 0 for another word.
int MonthOf(std::string_view word) {
  if (word.size() < 3) return 0;
  const auto* found = std::ranges::find(kMonths, word.substr(0, 3));
  return found == kMonths.end() ? 0 : static_cast<int>(found - kMonths.begin()) + 1;
}

// RFC 5322, section 4.3.
int FullYear(int year, size_t digits) {
  if (digits == 0) return 0;
  if (digits > 2) return digits == 3 ? 1900 + year : year;
  return year < 50 ? 2000 + year : 1900 + year;
}

// Reads tokens one after the other.
class TokenReader {
 public:
  explicit TokenReader(std::vector<Token> tokens) : tokens_(std::move(tokens)) {}

  const Token* Peek() const { return place_ < tokens_.size() ? &tokens_[place_] : nullptr; }
  void Skip() { ++place_; }
  bool IsAtEnd() const { return place_ >= tokens_.size(); }

  bool TakeSign(std::string_view signs) {
    const Token* token = Peek();
    if (token == nullptr || token->kind != Token::Kind::kSign) return false;
    if (signs.find(token->text) == std::string_view::npos) return false;
    ++place_;
    return true;
  }
  std::optional<std::string> Take(Token::Kind kind) {
    const Token* token = Peek();
    if (token == nullptr || token->kind != kind) return std::nullopt;
    ++place_;
    return token->text;
  }
  std::optional<std::string> TakeNumber() { return Take(Token::Kind::kNumber); }

 private:
  std::vector<Token> tokens_;
  size_t place_ = 0;
};

void ReadZone(TokenReader& reader, MessageTime& time) {
  const Token* token = reader.Peek();
  if (token == nullptr) return;
  if (token->kind == Token::Kind::kWord) {
    const auto* row = std::ranges::find(kZones, token->text, &ZoneRow::name);
    if (row != kZones.end()) time.offset = row->minutes;
    return;
  }
  const bool is_negative = token->text == "-";
  if (!reader.TakeSign("+-")) return;
  const std::string digits = reader.TakeNumber().value_or("");
  int minutes = 0;
  if (digits.size() == 4) minutes = NumberOf(digits.substr(0, 2)) * 60 + NumberOf(digits.substr(2));
  if (digits.size() <= 2) {
    minutes = NumberOf(digits) * 60;
    if (reader.TakeSign(":")) minutes += NumberOf(reader.TakeNumber().value_or("0"));
  }
  time.offset = is_negative ? -minutes : minutes;
}

// "18:30[:00[.000]] [PM] [zone]", or "183000[zone]"; midnight when nothing is there.
void ReadTimeOfDay(TokenReader& reader, MessageTime& time) {
  const Token* word = reader.Peek();
  if (word != nullptr && word->text == "T") reader.Skip();
  const std::optional<std::string> first = reader.TakeNumber();
  if (!first) return;
  if (first->size() == 6 || first->size() == 4) {
    time.hour = NumberOf(first->substr(0, 2));
    time.minute = NumberOf(first->substr(2, 2));
    if (first->size() == 6) time.second = NumberOf(first->substr(4));
    return ReadZone(reader, time);
  }
  time.hour = NumberOf(*first);
  if (reader.TakeSign(":.")) time.minute = NumberOf(reader.TakeNumber().value_or("0"));
  if (reader.TakeSign(":.")) time.second = NumberOf(reader.TakeNumber().value_or("0"));
  if (reader.TakeSign(".")) reader.TakeNumber();
  const Token* half = reader.Peek();
  if (half != nullptr && (half->text == "AM" || half->text == "PM")) {
    time.hour = time.hour % 12 + (half->text == "PM" ? 12 : 0);
    reader.Skip();
  }
  ReadZone(reader, time);
}

bool IsPossible(const MessageTime& time) {
  if (time.month < 1 || time.month > 12 || time.year < 1900 || time.year > 9999) return false;
  constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool is_leap = time.year % 4 == 0 && (time.year % 100 != 0 || time.year % 400 == 0);
  const int days =
      kDays[static_cast<size_t>(time.month - 1)] + (time.month == 2 && is_leap ? 1 : 0);
  return time.day >= 1 && time.day <= days && time.hour < 24 && time.minute < 60 &&
         time.second <= 60 && std::abs(time.offset.value_or(0)) < 24 * 60;
}

std::optional<MessageTime> IfPossible(const MessageTime& time) {
  return IsPossible(time) ? std::optional(time) : std::nullopt;
}

// ---- Days and seconds ---------------------------------------------------------------------------------------

MessageTime TimeOf(const std::tm& fields) {
  MessageTime time;
  time.year = fields.tm_year + 1900;
  time.month = fields.tm_mon + 1;
  time.day = fields.tm_mday;
  time.hour = fields.tm_hour;
  time.minute = fields.tm_min;
  time.second = fields.tm_sec;
  time.offset = 0;
  return time;
}

std::optional<MessageTime> FromSeconds(int64_t seconds) {
  const std::time_t moment = seconds;
  std::tm fields = {};
  if (gmtime_r(&moment, &fields) == nullptr) return std::nullopt;
  return IfPossible(TimeOf(fields));
}

const char* DayName(const MessageTime& time) {
  std::tm fields = ClockFields(time);
  timegm(&fields);
  return kDayNames[static_cast<size_t>(fields.tm_wday)];
}

MessageTime WithZone(MessageTime time) {
  if (time.offset) return time;
  std::tm fields = ClockFields(time);
  std::mktime(&fields);
  time.offset = static_cast<int>(fields.tm_gmtoff / 60);
  return time;
}

std::string Zone(int offset) {
  std::array<char, 16> text = {};
  const int minutes = std::abs(offset);
  std::snprintf(text.data(), text.size(), "%c%02d%02d", offset < 0 ? '-' : '+', minutes / 60 % 100,
                minutes % 60);
  return text.data();
}

// ---- Forms --------------------------------------------------------------------------------------------------

// Seconds or milliseconds since 1970, or a date and a time without anything between.
std::optional<MessageTime> FromDigits(const std::string& digits) {
  if (digits.size() == 13) return FromSeconds(std::atoll(digits.c_str()) / 1000);
  if (digits.size() == 9 || digits.size() == 10) return FromSeconds(std::atoll(digits.c_str()));
  if (digits.size() != 14 && digits.size() != 8) return std::nullopt;
  MessageTime time;
  time.year = NumberOf(digits.substr(0, 4));
  time.month = NumberOf(digits.substr(4, 2));
  time.day = NumberOf(digits.substr(6, 2));
  if (digits.size() == 14) {
    time.hour = NumberOf(digits.substr(8, 2));
    time.minute = NumberOf(digits.substr(10, 2));
    time.second = NumberOf(digits.substr(12));
  }
  return IfPossible(time);
}

// "20101224T183000Z"
std::optional<MessageTime> FromBasic(const std::string& date, TokenReader& reader) {
  std::optional<MessageTime> time = FromDigits(date);
  if (!time) return std::nullopt;
  ReadTimeOfDay(reader, *time);
  return IfPossible(*time);
}

// "24 Dec 2010 18:30:00 +0100" or "Dec 24 18:30:00 2010", a day's name and signs anywhere.
std::optional<MessageTime> FromNamedMonth(TokenReader& reader) {
  MessageTime time;
  while (const Token* token = reader.Peek()) {
    if (token->kind == Token::Kind::kNumber) time.day = NumberOf(token->text);
    time.month = token->kind == Token::Kind::kWord ? MonthOf(token->text) : 0;
    reader.Skip();
    if (time.month != 0) break;
  }
  reader.TakeSign("-./");
  const std::string next = reader.TakeNumber().value_or("");
  if (time.day == 0) {
    time.day = NumberOf(next);
    ReadTimeOfDay(reader, time);
    const std::string year = reader.TakeNumber().value_or("");
    time.year = FullYear(NumberOf(year), year.size());
    ReadZone(reader, time);
  } else {
    time.year = FullYear(NumberOf(next), next.size());
    ReadTimeOfDay(reader, time);
  }
  return IfPossible(time);
}

// "24.12.2010 18:30:00"
std::optional<MessageTime> FromNumbers(const std::string& first, TokenReader& reader) {
  if (!reader.TakeSign(".-/")) return std::nullopt;
  const std::string second = reader.TakeNumber().value_or("");
  if (!reader.TakeSign(".-/")) return std::nullopt;
  const std::string third = reader.TakeNumber().value_or("");
  MessageTime time;
  if (first.size() > 2 || NumberOf(first) > 31) {
    time.year = FullYear(NumberOf(first), first.size());
    time.month = NumberOf(second);
    time.day = NumberOf(third);
  } else {
    const bool month_first = NumberOf(second) > 12;
    time.day = NumberOf(month_first ? second : first);
    time.month = NumberOf(month_first ? first : second);
    time.year = FullYear(NumberOf(third), third.size());
  }
  ReadTimeOfDay(reader, time);
  return IfPossible(time);
}

bool HasMonth(const std::vector<Token>& tokens) {
  return std::ranges::any_of(tokens, [](const Token& token) {
    return token.kind == Token::Kind::kWord && MonthOf(token.text) != 0;
  });
}

// "[Fri,] 24 Dec 2010 18:30[:00] [zone]", nothing else.
bool IsMailDate(std::string_view text) {
  TokenReader reader(TokensOf(text));
  const Token* token = reader.Peek();
  if (token != nullptr && token->kind == Token::Kind::kWord) reader.Skip();
  const std::optional<std::string> day = reader.TakeNumber();
  const std::optional<std::string> month = reader.Take(Token::Kind::kWord);
  const std::optional<std::string> year = reader.TakeNumber();
  if (!day || !month || month->size() != 3 || MonthOf(*month) == 0 || !year) return false;
  const std::optional<std::string> hour = reader.TakeNumber();
  if (!hour || hour->size() > 2 || !reader.TakeSign(":") || !reader.TakeNumber()) return false;
  if (reader.TakeSign(":") && !reader.TakeNumber()) return false;
  if (reader.IsAtEnd()) return true;
  if (reader.TakeSign("+-")) return reader.TakeNumber().value_or("").size() == 4;
  const std::optional<std::string> zone = reader.Take(Token::Kind::kWord);
  return zone && std::ranges::find(kZones, *zone, &ZoneRow::name) != kZones.end() &&
         reader.IsAtEnd();
}

// "20101224T183000[Z]"
bool IsBasicDate(std::string_view text) {
  if (text.ends_with('Z')) text.remove_suffix(1);
  if (text.size() != 15 || text[8] != 'T') return false;
  return std::ranges::all_of(text.substr(0, 8), IsDigit) &&
         std::ranges::all_of(text.substr(9), IsDigit);
}

}  // namespace

std::optional<MessageTime> ReadMessageTime(std::string_view text) {
  const std::vector<Token> tokens = TokensOf(Trim(text));
  TokenReader reader(tokens);
  if (HasMonth(tokens)) return FromNamedMonth(reader);
  const std::optional<std::string> first = reader.TakeNumber();
  if (!first) return std::nullopt;
  if (reader.IsAtEnd()) return FromDigits(*first);
  if (first->size() == 8) return FromBasic(*first, reader);
  return FromNumbers(*first, reader);
}

bool IsStrictDate(std::string_view text) {
  text = Trim(text);
  return (IsMailDate(text) || IsBasicDate(text)) && ReadMessageTime(text).has_value();
}

std::string MailDate(const MessageTime& time) {
  std::array<char, 64> text = {};
  std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d", DayName(time),
                time.day, kMonthNames[static_cast<size_t>(time.month - 1)], time.year, time.hour,
                time.minute, time.second);
  return text.data() + (time.offset ? " " + Zone(*time.offset) : "");
}

std::string MailDateWithZone(const MessageTime& time) { return MailDate(WithZone(time)); }

std::string MailboxDate(const MessageTime& time) {
  const MessageTime zoned = WithZone(time);
  std::tm fields = ClockFields(zoned);
  const MessageTime utc =
      FromSeconds(timegm(&fields) - int64_t{60} * *zoned.offset).value_or(zoned);
  std::array<char, 64> text = {};
  std::snprintf(text.data(), text.size(), "%s %s %2d %02d:%02d:%02d %04d", DayName(utc),
                kMonthNames[static_cast<size_t>(utc.month - 1)], utc.day, utc.hour, utc.minute,
                utc.second, utc.year);
  return text.data();
}

std::string DateForPeople(const MessageTime& time) {
  std::array<char, 64> text = {};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", time.year, time.month,
                time.day, time.hour, time.minute, time.second);
  return text.data() + (time.offset ? " " + Zone(*time.offset) : "");
}

}  // namespace dialects
