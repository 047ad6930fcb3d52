#include "btosif/osif_erg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "platform/posix/fault_injection.h"
#include "tests/support/files.h"

namespace osif_erg_test {
namespace {

using support::Repeated;

constexpr OsifResult kOk = OSIF_OK;
constexpr OsifResult kError = OSIF_PARSE_ERROR;
constexpr const char* kEnd = "20061231T000000";

// ---- A rule as a text of the test's own, entry by entry -----------------------------------------

std::string Mark(bool end_marker) { return end_marker ? "!" : ""; }

std::string Shown(const TimeEntry& time) {
  return " " + std::to_string(time.hour) + ":" + std::to_string(time.minute) +
         Mark(time.end_marker);
}
std::string Shown(const WeekdayEntry& entry) {
  return " day" + std::to_string(entry.weekday) + Mark(entry.end_marker);
}
std::string Shown(const PositionEntry& entry) {
  return " nth" + std::to_string(entry.count) + Mark(entry.end_marker);
}
std::string Shown(const DayEntry& entry) {
  return " " + std::to_string(entry.day) + Mark(entry.end_marker);
}
std::string Shown(const MonthEntry& entry) {
  return " " + std::to_string(entry.month) + Mark(entry.end_marker);
}
std::string Shown(const YearDayEntry& entry) {
  return " " + std::to_string(entry.day) + Mark(entry.end_marker);
}

std::string Shown(const WeekdayGroup& group);
std::string Shown(const PositionGroup& group);

template <typename Entry>
std::string ShownList(const RuleList<Entry>& list) {
  std::string text;
  for (const Entry& entry : list) text += Shown(entry);
  return text;
}

std::string Shown(const WeekdayGroup& group) {
  return " (" + ShownList(group.weekdays) + ShownList(group.times) + " )";
}
std::string Shown(const PositionGroup& group) {
  return " (" + ShownList(group.positions) + ShownList(group.weekdays) + ShownList(group.times) +
         " )";
}

std::string Shown(const RulePart& part);

std::string Head(const char* name, const RuleFrame& rule) {
  return std::string(name) + " every " + std::to_string(rule.interval) + " times " +
         std::to_string(rule.duration);
}
template <typename Entry>
std::string Whole(const char* name, const NestingRule& rule, const RuleList<Entry>& list) {
  std::string text = Head(name, rule);
  if (!list.empty()) text += " at" + ShownList(list);
  const std::string nested = Shown(rule.nested);
  return nested.empty() ? text : text + " [" + nested + "]";
}

std::string Shown(const RulePart& part) {
  switch (part.frequency()) {
    case Frequency::kNone:
      return "";
    case Frequency::kMinutely:
      return Head("minutely", *part.As<MinutelyRule>());
    case Frequency::kDaily: {
      const auto& rule = *part.As<DailyRule>();
      return Whole("daily", rule, rule.times);
    }
    case Frequency::kWeekly: {
      const auto& rule = *part.As<WeeklyRule>();
      return Whole("weekly", rule, rule.groups);
    }
    case Frequency::kMonthlyByPosition: {
      const auto& rule = *part.As<MonthlyByPositionRule>();
      return Whole("by position", rule, rule.groups);
    }
    case Frequency::kMonthlyByDay: {
      const auto& rule = *part.As<MonthlyByDayRule>();
      return Whole("by day", rule, rule.days);
    }
    case Frequency::kYearlyByMonth: {
      const auto& rule = *part.As<YearlyByMonthRule>();
      return Whole("by month", rule, rule.months);
    }
    case Frequency::kYearlyByDay: {
      const auto& rule = *part.As<YearlyByDayRule>();
      return Whole("by day of the year", rule, rule.days);
    }
  }
  return "?";
}

std::string Shown(const RecurrenceRule& rule) {
  std::string text = Shown(rule.part);
  if (rule.end_date[0] != 0) text += std::string(" until ") + rule.end_date;
  return text;
}

// Parses a text that ends with its memory, so that reading on is seen by the sanitizer.
OsifResult Parse(std::string_view text, RecurrenceRule& rule) {
  const std::vector<char> bytes(text.begin(), text.end());
  return ERG_Parse({bytes.data(), bytes.size()}, rule);
}

std::string Parsed(std::string_view text) {
  RecurrenceRule rule;
  const OsifResult result = Parse(text, rule);
  if (result == kOk) return Shown(rule);
  EXPECT_EQ(Shown(rule), "") << "a rule that failed is empty";
  return result == kError ? "error" : "result " + std::to_string(result);
}

std::string Generated(const RecurrenceRule& rule) {
  std::vector<char> text(1 << 20, 'x');
  EXPECT_EQ(ERG_Generate(rule, text.data(), text.size()), kOk);
  return text.data();
}

std::string Rewritten(std::string_view text) {
  RecurrenceRule rule;
  EXPECT_EQ(Parse(text, rule), kOk) << text;
  return Generated(rule);
}

// ---- Reading ------------------------------------------------------------------------------------

struct ReadCase {
  const char* text;
  const char* rule;
};
void PrintTo(const ReadCase& read, std::ostream* out) { *out << '"' << read.text << '"'; }

class ErgParse : public testing::TestWithParam<ReadCase> {};

TEST_P(ErgParse, ReadsTheRule) { EXPECT_EQ(Parsed(GetParam().text), GetParam().rule); }

INSTANTIATE_TEST_SUITE_P(
    Frequencies, ErgParse,
    testing::Values(
        ReadCase{"", ""}, ReadCase{"M5", "minutely every 5 times 2"},
        ReadCase{"D1", "daily every 1 times 2"}, ReadCase{"W2", "weekly every 2 times 2"},
        ReadCase{"MP3", "by position every 3 times 2"}, ReadCase{"MD4", "by day every 4 times 2"},
        ReadCase{"YM5", "by month every 5 times 2"},
        ReadCase{"YD6", "by day of the year every 6 times 2"},
        ReadCase{"D", "daily every 0 times 2"}, ReadCase{"MD", "by day every 0 times 2"},
        ReadCase{"D0", "daily every 0 times 2"}, ReadCase{"D007", "daily every 7 times 2"},
        ReadCase{"D2147483647", "daily every 2147483647 times 2"},
        // What is compared is as long as the letters; the first that begins so is taken.
        ReadCase{"Y5", "by month every 5 times 2"}, ReadCase{"D1x", "daily every 1 times 2"},
        ReadCase{"D1MO", "daily every 1 times 2"}, ReadCase{"d1", "error"}, ReadCase{"1D", "error"},
        ReadCase{"1", "error"}, ReadCase{"X1", "error"}, ReadCase{"DD1", "error"},
        ReadCase{"MPX1", "error"}, ReadCase{"P1", "error"}, ReadCase{"#3", "error"},
        ReadCase{"0900", "error"}, ReadCase{"MO", "error"}, ReadCase{"20061231T000000", "error"},
        ReadCase{"FREQ=DAILY", "error"}));

INSTANTIATE_TEST_SUITE_P(Blanks, ErgParse,
                         testing::Values(ReadCase{"  D1", "daily every 1 times 2"},
                                         ReadCase{"D1   #3   ", "daily every 1 times 3"},
                                         ReadCase{"D1\t0900", "daily every 1 times 2"},
                                         ReadCase{"D1 0900\t #3", "daily every 1 times 3 at 9:0"},
                                         ReadCase{"   ", "error"}, ReadCase{"\tD1", "error"}));

INSTANTIATE_TEST_SUITE_P(
    DurationsAndEnds, ErgParse,
    testing::Values(
        ReadCase{"D1 #0", "daily every 1 times 0"}, ReadCase{"D1 #2", "daily every 1 times 2"},
        ReadCase{"D1 #010", "daily every 1 times 10"},
        // A "#" without a number is no duration, and what follows it is lost.
        ReadCase{"D1 #", "daily every 1 times 2"}, ReadCase{"D1 #x", "daily every 1 times 2"},
        ReadCase{"D1 # 20061231T000000", "daily every 1 times 2"},
        ReadCase{"D1 #2147483647", "daily every 1 times 2147483647"},
        ReadCase{"D1 #3 #4", "daily every 1 times 3"},
        ReadCase{"D1 20061231T000000", "daily every 1 times 2 until 20061231T000000"},
        ReadCase{"D1 20061231T000000Z", "daily every 1 times 2 until 20061231T000000Z"},
        ReadCase{"D1 #0 20061231T000000", "daily every 1 times 0 until 20061231T000000"},
        ReadCase{"D1 abcdefghTijklmn", "daily every 1 times 2 until abcdefghTijklmn"},
        ReadCase{"D1 20061231T000000Zabc", "daily every 1 times 2 until 20061231T000000Zabc"},
        // Too short, or without its T.
        ReadCase{"D1 20061231T00000", "daily every 1 times 2"},
        ReadCase{"D1 20061231", "daily every 1 times 2"},
        ReadCase{"D1 20061231t000000", "daily every 1 times 2"},
        ReadCase{"D1 2006-12-31T00:00:00", "daily every 1 times 2"},
        // Behind the end date nothing is taken any more.
        ReadCase{"D1 20061231T000000 #5", "daily every 1 times 2 until 20061231T000000"},
        ReadCase{"D1 20061231T000000 20071231T000000",
                 "daily every 1 times 2 until 20061231T000000"},
        ReadCase{"D1 20061231T000000 M5", "daily every 1 times 2 until 20061231T000000"}));

INSTANTIATE_TEST_SUITE_P(
    Minutely, ErgParse,
    testing::Values(
        ReadCase{"M5 #3", "minutely every 5 times 3"},
        ReadCase{"M5 20061231T000000", "minutely every 5 times 2 until 20061231T000000"},
        ReadCase{"M5 #3 20061231T000000", "minutely every 5 times 3 until 20061231T000000"},
        ReadCase{"M5 20061231T000000 #3", "minutely every 5 times 3 until 20061231T000000"},
        ReadCase{"M5 #3 #4", "error"}, ReadCase{"M5 #2 #2", "error"}, ReadCase{"M5 #", "error"},
        ReadCase{"M5 20061231T000000 20061231T000000", "error"}, ReadCase{"M5 0900", "error"},
        ReadCase{"M5 MO", "error"}, ReadCase{"M5 hello", "error"}, ReadCase{"M5 M5", "error"},
        ReadCase{"M5 #3 x", "error"}, ReadCase{"M5 ", "minutely every 5 times 2"}));

INSTANTIATE_TEST_SUITE_P(
    Times, ErgParse,
    testing::Values(
        ReadCase{"D1 0900", "daily every 1 times 2 at 9:0"},
        ReadCase{"D1 0000 2359", "daily every 1 times 2 at 0:0 23:59"},
        ReadCase{"D1 0900$ 1000", "daily every 1 times 2 at 9:0! 10:0"},
        ReadCase{"D1 0900x", "daily every 1 times 2 at 9:0"},
        ReadCase{"D1 09000", "daily every 1 times 2 at 9:0"},
        ReadCase{"D1 1000 0900 1000", "daily every 1 times 2 at 10:0 9:0 10:0"},
        ReadCase{"D1 0900 #3", "daily every 1 times 3 at 9:0"},
        ReadCase{"D1 2400", "daily every 1 times 2"}, ReadCase{"D1 0960", "daily every 1 times 2"},
        ReadCase{"D1 900", "daily every 1 times 2"}, ReadCase{"D1 090000", "daily every 1 times 2"},
        ReadCase{"D1 0900 2400 1000", "daily every 1 times 2 at 9:0"},
        ReadCase{"D1 #3 0900", "daily every 1 times 3"},
        ReadCase{"D1 hello 0900", "daily every 1 times 2"},
        ReadCase{"D1 abcd 0900", "daily every 1 times 2"},
        ReadCase{"D1 15", "daily every 1 times 2"}, ReadCase{"D1 MO", "daily every 1 times 2"}));

INSTANTIATE_TEST_SUITE_P(
    Weekly, ErgParse,
    testing::Values(
        ReadCase{"W1 SU MO TU WE TH FR SA",
                 "weekly every 1 times 2 at ( day1 ) ( day2 ) ( day3 ) ( day4 ) ( day5 ) ( day6 ) "
                 "( day7 )"},
        ReadCase{"W2 TU TH #0", "weekly every 2 times 0 at ( day3 ) ( day5 )"},
        ReadCase{"W1 MO TU 0900 #10", "weekly every 1 times 10 at ( day2 ) ( day3 9:0 )"},
        ReadCase{"W1 MO 0900 1000$ TU$ 1100",
                 "weekly every 1 times 2 at ( day2 9:0 10:0! ) ( day3! 11:0 )"},
        ReadCase{"W1 FR$", "weekly every 1 times 2 at ( day6! )"},
        ReadCase{"W1 MOnday FR$x", "weekly every 1 times 2 at ( day2 ) ( day6! )"},
        ReadCase{"W1 MO MO", "weekly every 1 times 2 at ( day2 ) ( day2 )"},
        ReadCase{"W1 mo", "weekly every 1 times 2"},
        ReadCase{"W1 M", "weekly every 1 times 2 [minutely every 0 times 2]"},
        ReadCase{"W1 0900 MO", "weekly every 1 times 2"},
        ReadCase{"W1 1+ MO", "weekly every 1 times 2"},
        ReadCase{"W1 MO XX TU", "weekly every 1 times 2 at ( day2 )"},
        ReadCase{"W1 #3 MO", "weekly every 1 times 3"}));

INSTANTIATE_TEST_SUITE_P(
    MonthlyByPosition, ErgParse,
    testing::Values(
        ReadCase{"MP1 1+ 2+ MO 1- FR",
                 "by position every 1 times 2 at ( nth1 nth2 day2 ) ( nth-1 day6 )"},
        ReadCase{"MP1 1+ 2- FR$ 20061231T000000",
                 "by position every 1 times 2 at ( nth1 nth-2 day6! ) until 20061231T000000"},
        ReadCase{"MP1 1+$ 2-$ MO", "by position every 1 times 2 at ( nth1! nth-2! day2 )"},
        ReadCase{"MP1 1+ MO TU 0900 1000 2+ WE",
                 "by position every 1 times 2 at ( nth1 day2 day3 9:0 10:0 ) ( nth2 day4 )"},
        ReadCase{"MP1 1+ 0900 2+", "by position every 1 times 2 at ( nth1 9:0 ) ( nth2 )"},
        ReadCase{"MP1 1+", "by position every 1 times 2 at ( nth1 )"},
        ReadCase{"MP1 0+ 9-", "by position every 1 times 2 at ( nth0 nth-9 )"},
        ReadCase{"MP1 1+ MO 0900 TU", "by position every 1 times 2 at ( nth1 day2 9:0 )"},
        ReadCase{"MP1 10+ MO", "by position every 1 times 2"},
        ReadCase{"MP1 1+ 10+ MO", "by position every 1 times 2 at ( nth1 )"},
        ReadCase{"MP1 1 MO", "by position every 1 times 2"},
        ReadCase{"MP1 +1 MO", "by position every 1 times 2"},
        ReadCase{"MP1 1+$$ MO", "by position every 1 times 2"},
        ReadCase{"MP1 1+x 2-- MO", "by position every 1 times 2 at ( nth1 nth-2 day2 )"},
        ReadCase{"MP1 MO", "by position every 1 times 2"},
        ReadCase{"MP1 0900", "by position every 1 times 2"},
        ReadCase{"MP6 1+ MO #5", "by position every 6 times 5 at ( nth1 day2 )"}));

INSTANTIATE_TEST_SUITE_P(
    MonthlyByDay, ErgParse,
    testing::Values(ReadCase{"MD1 LD", "by day every 1 times 2 at -1"},
                    ReadCase{"MD1 1-", "by day every 1 times 2 at -1"},
                    ReadCase{"MD1 1 15+ 31-", "by day every 1 times 2 at 1 15 -31"},
                    ReadCase{"MD1 15$ 15+$ 15-$", "by day every 1 times 2 at 15! 15! -15!"},
                    ReadCase{"MD1 0 400 1234", "by day every 1 times 2 at 0 400 1234"},
                    ReadCase{"MD1 LD LD", "by day every 1 times 2 at -1 -1"},
                    ReadCase{"MD1 12345", "by day every 1 times 2"},
                    ReadCase{"MD1 1234- 1", "by day every 1 times 2"},
                    ReadCase{"MD1 LD$ 1", "by day every 1 times 2"},
                    ReadCase{"MD1 15+- 1", "by day every 1 times 2"},
                    ReadCase{"MD1 15-+ 1", "by day every 1 times 2"},
                    ReadCase{"MD1 1++ 1", "by day every 1 times 2"},
                    ReadCase{"MD1 1-- 1", "by day every 1 times 2"},
                    ReadCase{"MD1 ld", "by day every 1 times 2"},
                    ReadCase{"MD1 -1", "by day every 1 times 2"},
                    ReadCase{"MD1 2 15 x 16", "by day every 1 times 2 at 2 15"},
                    ReadCase{"MD1 15 #0 20061231T000000",
                             "by day every 1 times 0 at 15 until 20061231T000000"}));

INSTANTIATE_TEST_SUITE_P(
    Yearly, ErgParse,
    testing::Values(ReadCase{"YM1 1 12", "by month every 1 times 2 at 1 12"},
                    ReadCase{"YM1 6$ 0007", "by month every 1 times 2 at 6! 7"},
                    ReadCase{"YM1 0", "by month every 1 times 2"},
                    ReadCase{"YM1 6 13 7", "by month every 1 times 2 at 6"},
                    ReadCase{"YM1 00006", "by month every 1 times 2"},
                    ReadCase{"YD1 1 366", "by day of the year every 1 times 2 at 1 366"},
                    ReadCase{"YD1 60$ 000061", "by day of the year every 1 times 2 at 60! 61"},
                    ReadCase{"YD1 0", "by day of the year every 1 times 2"},
                    ReadCase{"YD1 1 367 2", "by day of the year every 1 times 2 at 1"},
                    ReadCase{"YD1 0000061", "by day of the year every 1 times 2"},
                    ReadCase{"YM2 6 #4 20061231T000000",
                             "by month every 2 times 4 at 6 until 20061231T000000"},
                    ReadCase{"YD2 60 #4", "by day of the year every 2 times 4 at 60"}));

INSTANTIATE_TEST_SUITE_P(
    Nesting, ErgParse,
    testing::Values(
        ReadCase{"D1 0900 #5 M15 #3 20061231T000000",
                 "daily every 1 times 5 at 9:0 [minutely every 15 times 3] until 20061231T000000"},
        ReadCase{"W1 MO M5", "weekly every 1 times 2 at ( day2 ) [minutely every 5 times 2]"},
        ReadCase{"MD1 7 D2 0600 #5", "by day every 1 times 2 at 7 [daily every 2 times 5 at 6:0]"},
        ReadCase{"YM1 6 7 MD1 15",
                 "by month every 1 times 2 at 6 7 [by day every 1 times 2 at 15]"},
        ReadCase{"YM1 6 #9 MP1 1- MO #8",
                 "by month every 1 times 9 at 6 [by position every 1 times 8 at ( nth-1 day2 )]"},
        ReadCase{
            "YD1 1 MD1 1 W1 MO M5 #3 20061231T000000",
            "by day of the year every 1 times 2 at 1 [by day every 1 times 2 at 1 [weekly every "
            "1 times 2 at ( day2 ) [minutely every 5 times 3]]] until 20061231T000000"},
        ReadCase{"D1 M5 hello", "error"}, ReadCase{"D1 M5 #3 #4", "error"},
        ReadCase{"MD1 1 YM1 6", "error"}, ReadCase{"D1 0900 D1", "error"}));

// Which rule may be nested in which, by letters; each nests with the interval 1.
TEST(ErgNesting, AllowsTheFrequenciesUpToTheLastOfEachRule) {
  const char* letters[] = {"M", "D", "W", "MP", "MD", "YM", "YD"};
  const int last_nested[] = {0, 1, 1, 3, 3, 5, 5};
  for (int outer = 0; outer < 7; ++outer) {
    for (int inner = 0; inner < 7; ++inner) {
      RecurrenceRule rule;
      const std::string text = std::string(letters[outer]) + "1 " + letters[inner] + "1";
      const OsifResult expected = inner < last_nested[outer] ? kOk : kError;
      EXPECT_EQ(Parse(text, rule), expected) << text;
    }
  }
}

TEST(ErgParseFrame, ClearsTheRuleFirst) {
  RecurrenceRule rule;
  ASSERT_EQ(Parse("W1 MO M5 20061231T000000", rule), kOk);
  ASSERT_EQ(Parse("D1", rule), kOk);
  EXPECT_EQ(Shown(rule), "daily every 1 times 2");
  ASSERT_EQ(Parse("", rule), kOk);
  EXPECT_EQ(Shown(rule), "");
  EXPECT_EQ(rule.frequency(), Frequency::kNone);
}

TEST(ErgParseFrame, AnAbsentTextIsAnEmptyRule) {
  RecurrenceRule rule;
  EXPECT_EQ(ERG_Parse({}, rule), kOk);
  EXPECT_EQ(rule.frequency(), Frequency::kNone);
}

TEST(ErgParseFrame, AFailureLeavesAnEmptyRule) {
  RecurrenceRule rule;
  ASSERT_EQ(Parse("D1 20061231T000000", rule), kOk);
  EXPECT_EQ(Parse("W1 MO 0900 20061231", rule), kOk);
  EXPECT_EQ(Parse("W1 MO 0900 D1", rule), kError);
  EXPECT_EQ(Shown(rule), "");
}

TEST(ErgParseFrame, AnEndDateThatIsTooLongIsRefusedOrCut) {
  for (size_t extra : {5u, 100u, 100000u}) {
    RecurrenceRule rule;
    const std::string token = kEnd + std::string(extra, '0');
    ASSERT_EQ(Parse("D1 " + token, rule), kOk);
    const std::string end_date = rule.end_date;
    EXPECT_TRUE(end_date.empty() || end_date == token.substr(0, 19)) << end_date;
  }
}

TEST(ErgParseFrame, NumbersBeyond32BitsNeverWrap) {
  for (const char* number : {"2147483648", "4294967297", "99999999999999999999"}) {
    RecurrenceRule rule;
    if (Parse(std::string("D") + number + " #" + number, rule) != kOk) continue;
    const auto* daily = rule.part.As<DailyRule>();
    ASSERT_NE(daily, nullptr);
    EXPECT_TRUE(daily->interval == 0 || daily->interval == INT32_MAX) << daily->interval;
    EXPECT_TRUE(daily->duration == 0 || daily->duration == kDefaultDuration ||
                daily->duration == INT32_MAX)
        << daily->duration;
  }
}

TEST(ErgParseFrame, TenThousandEntriesAreReadAndWritten) {
  const std::string text = "D1" + Repeated(" 0900", 10000);
  EXPECT_EQ(Rewritten(text), text);
  const std::string groups = "MP1" + Repeated(" 1+ MO", 10000);
  EXPECT_EQ(Rewritten(groups), groups);
}

TEST(ErgParseFrame, ANestingOfAThousandIsRefused) {
  EXPECT_EQ(Parsed("D1" + Repeated(" D1", 1000)), "error");
  EXPECT_EQ(Parsed("YM1" + Repeated(" MD1", 1000)), "error");
}

TEST(ErgParseFrame, MemoryShortageAtAnyPlaceLeavesAnEmptyRule) {
  constexpr const char* kText =
      "YM1 6 #3 MP1 1+ MO 0900 2+ TU 1000 W1 MO 1100 M5 #3 20061231T000000";
  OsifResult result = OSIF_ERR_NO_MEMORY;
  int failures = 0;
  for (int nth = 1; nth < 100 && result != kOk; ++nth) {
    RecurrenceRule rule;
    FailAllocation(nth);
    result = ERG_Parse(kText, rule);
    FailAllocation(0);
    if (result == kOk) break;
    ++failures;
    EXPECT_EQ(result, OsifResult{OSIF_ERR_NO_MEMORY});
    EXPECT_EQ(Shown(rule), "");
  }
  EXPECT_EQ(result, kOk);
  // Four rules and every entry: a month, two positions, two weekdays, a weekday, three times at least.
  EXPECT_GE(failures, 13);
}

TEST(ErgFree, ClearsARuleAndAnEmptyOne) {
  RecurrenceRule rule;
  ASSERT_EQ(Parse("YM1 6 MP1 1+ MO 0900 W1 MO 1100 M5 20061231T000000", rule), kOk);
  ERG_Free(rule);
  EXPECT_EQ(rule.frequency(), Frequency::kNone);
  EXPECT_EQ(Shown(rule), "");
  ERG_Free(rule);
  EXPECT_EQ(rule.frequency(), Frequency::kNone);
}

TEST(ErgFree, ReleasesAMinutelyRule) {
  RecurrenceRule rule;
  ASSERT_EQ(Parse("M5 #3", rule), kOk);
  ERG_Free(rule);
  EXPECT_EQ(rule.frequency(), Frequency::kNone);
}

// ---- Writing ------------------------------------------------------------------------------------

struct WriteCase {
  const char* read;
  const char* written;
};
void PrintTo(const WriteCase& write, std::ostream* out) { *out << '"' << write.read << '"'; }

class ErgGenerate : public testing::TestWithParam<WriteCase> {};

TEST_P(ErgGenerate, WritesTheRule) { EXPECT_EQ(Rewritten(GetParam().read), GetParam().written); }

INSTANTIATE_TEST_SUITE_P(
    Rules, ErgGenerate,
    testing::Values(
        WriteCase{"D1", "D1"}, WriteCase{"D", "D0"}, WriteCase{"D1 #2", "D1"},
        WriteCase{"D1 #0", "D1 #0"}, WriteCase{"M5 #3", "M5 #3"},
        WriteCase{"M5 20061231T000000 #3", "M5 #3 20061231T000000"}, WriteCase{"Y1 6", "YM1 6"},
        WriteCase{"D2 0905 2300$ #10", "D2 0905 2300$ #10"}, WriteCase{"D1 0900x", "D1 0900"},
        WriteCase{"W2 TU TH #0", "W2 TU TH #0"},
        WriteCase{"W1 MO 0900 TU$ 1000$ 1100", "W1 MO 0900 TU$ 1000$ 1100"},
        WriteCase{"W1 SU MO TU WE TH FR SA", "W1 SU MO TU WE TH FR SA"},
        WriteCase{"W1 MOnday", "W1 MO"}, WriteCase{"MP1 1+ 2+ MO 1- FR", "MP1 1+ 2+ MO 1- FR"},
        WriteCase{"MP1 1+$ 2-$ FR$ 0900$ 20061231T000000", "MP1 1+$ 2-$ FR$ 0900$ 20061231T000000"},
        WriteCase{"MP1 0- MO", "MP1 0+ MO"}, WriteCase{"MD1 LD", "MD1 1-"},
        WriteCase{"MD1 15+", "MD1 15"}, WriteCase{"MD1 1- 2-$ 3$ 4+$", "MD1 1- 2-$ 3$ 4$"},
        WriteCase{"YM1 6 7$ #4", "YM1 6 7$ #4"}, WriteCase{"YD3 60 366$", "YD3 60 366$"},
        WriteCase{"YM1 6 7 MD1 15", "YM1 6 7 MD1 15"},
        WriteCase{"D1 #5 M15 #3 20061231T000000Z", "D1 #5 M15 #3 20061231T000000Z"},
        WriteCase{"YD1 1 #9 MP2 1- MO #8 W1 TU M5 #0 20061231T000000",
                  "YD1 1 #9 MP2 1- MO #8 W1 TU M5 #0 20061231T000000"},
        WriteCase{"D1 hello 0900", "D1"}));

TEST(ErgGenerateFrame, RefusesAnEmptyRuleAndEmptiesTheBuffer) {
  RecurrenceRule rule;
  char text[20] = "before";
  EXPECT_NE(ERG_Generate(rule, text, sizeof text), kOk);
  EXPECT_STREQ(text, "");
}

TEST(ErgGenerateFrame, NeedsTheTextsLengthAndATerminator) {
  RecurrenceRule rule;
  constexpr const char* kText = "W1 MO 0900 TU$ #3 M5 #0 20061231T000000";
  const size_t length = std::string_view(kText).size();
  ASSERT_EQ(Parse(kText, rule), kOk);
  std::vector<char> exact(length + 1, 'x');
  EXPECT_EQ(ERG_Generate(rule, exact.data(), exact.size()), kOk);
  EXPECT_STREQ(exact.data(), kText);
  for (size_t room = 1; room <= length; ++room) {
    std::vector<char> text(room, 'x');
    EXPECT_EQ(ERG_Generate(rule, text.data(), room), OsifResult{OSIF_ERR_GENERAL}) << room;
    EXPECT_STREQ(text.data(), "") << room;
  }
}

TEST(ErgGenerateFrame, SkipsWeekdaysThatAreNone) {
  RecurrenceRule rule;
  auto* weekly = rule.part.Make<WeeklyRule>();
  weekly->interval = 1;
  auto* group = weekly->groups.Append();
  for (int32_t weekday : {-1, 0, 1, 7, 8, 1000}) group->weekdays.Append({weekday, false});
  EXPECT_EQ(Generated(rule), "W1 SU SA");
}

TEST(ErgGenerateFrame, WritesTheWeekdaysOfAGroupBeforeItsTimes) {
  RecurrenceRule rule;
  auto* weekly = rule.part.Make<WeeklyRule>();
  weekly->interval = 3;
  weekly->duration = 0;
  auto* group = weekly->groups.Append();
  group->times.Append({9, 5, false});
  group->times.Append({23, 0, true});
  group->weekdays.Append({2, false});
  group->weekdays.Append({3, true});
  EXPECT_EQ(Generated(rule), "W3 MO TU$ 0905 2300$ #0");
}

TEST(ErgGenerateFrame, WritesTheMagnitudesOfPositionsAndDays) {
  RecurrenceRule rule;
  auto* yearly = rule.part.Make<YearlyByMonthRule>();
  yearly->interval = 1;
  yearly->months.Append({12, false});
  auto* monthly = yearly->nested.Make<MonthlyByPositionRule>();
  monthly->interval = 1;
  auto* group = monthly->groups.Append();
  group->positions.Append({-5, false});
  group->positions.Append({3, true});
  group->weekdays.Append({6, false});
  EXPECT_EQ(Generated(rule), "YM1 12 MP1 5- 3+$ FR");

  auto* by_day = rule.part.Make<MonthlyByDayRule>();
  by_day->interval = 2;
  by_day->days.Append({-31, true});
  by_day->days.Append({31, false});
  EXPECT_EQ(Generated(rule), "MD2 31-$ 31");
}

TEST(ErgGenerateFrame, LeavesOutANestedRuleThatMayNotBeThere) {
  RecurrenceRule rule;
  auto* monthly = rule.part.Make<MonthlyByDayRule>();
  monthly->interval = 1;
  monthly->days.Append({1, false});
  monthly->nested.Make<YearlyByMonthRule>()->interval = 1;
  EXPECT_EQ(Generated(rule), "MD1 1");
  auto* yearly = rule.part.Make<YearlyByDayRule>();
  yearly->interval = 1;
  yearly->nested.Make<YearlyByDayRule>()->interval = 1;
  EXPECT_EQ(Generated(rule), "YD1");
}

// ---- Both ways ----------------------------------------------------------------------------------

bool RandomFlag() { return *rc::gen::weightedElement<bool>({{3, false}, {1, true}}); }
int32_t RandomNumber(int32_t first, int32_t last) {
  return *rc::gen::inRange<int32_t>(first, last + 1);
}

void FillFrame(RuleFrame& rule) {
  rule.interval = *rc::gen::weightedOneOf<int32_t>(
      {{4, rc::gen::inRange<int32_t>(0, 1000)}, {1, rc::gen::just<int32_t>(INT32_MAX)}});
  rule.duration = *rc::gen::weightedOneOf<int32_t>({{2, rc::gen::just<int32_t>(2)},
                                                    {4, rc::gen::inRange<int32_t>(0, 1000)},
                                                    {1, rc::gen::just<int32_t>(INT32_MAX)}});
}

void FillTimes(RuleList<TimeEntry>& times, int32_t least = 0) {
  for (int32_t n = RandomNumber(least, 3); n > 0; --n) {
    times.Append({RandomNumber(0, 23), RandomNumber(0, 59), RandomFlag()});
  }
}

// As many digits as there is room for beside the sign and the flag.
DayEntry RandomDay() {
  const bool end_marker = RandomFlag();
  const bool from_end = RandomFlag();
  const int32_t most = end_marker ? (from_end ? 99 : 999) : (from_end ? 999 : 9999);
  const int32_t day = RandomNumber(from_end ? 1 : 0, most);
  return {from_end ? -day : day, end_marker};
}

void FillGroups(RuleList<PositionGroup>& groups) {
  for (int32_t n = RandomNumber(0, 3); n > 0; --n) {
    PositionGroup& group = *groups.Append();
    for (int32_t i = RandomNumber(1, 3); i > 0; --i) {
      group.positions.Append({RandomNumber(-9, 9), RandomFlag()});
    }
    const int32_t weekdays = RandomNumber(0, 3);
    for (int32_t i = weekdays; i > 0; --i) {
      group.weekdays.Append({RandomNumber(1, 7), RandomFlag()});
    }
    // A group of positions alone could not be told from the next one.
    FillTimes(group.times, weekdays == 0 ? 1 : 0);
  }
}

void FillPart(RulePart& part, Frequency frequency);

template <typename Rule>
void FillNested(Rule& rule) {
  const int32_t nested = RandomNumber(0, static_cast<int32_t>(Rule::kLastNested));
  if (nested != 0) FillPart(rule.nested, static_cast<Frequency>(nested));
}

template <typename Rule>
Rule& MakeRule(RulePart& part) {
  Rule& rule = *part.Make<Rule>();
  FillFrame(rule);
  FillNested(rule);
  return rule;
}

void FillPart(RulePart& part, Frequency frequency) {
  switch (frequency) {
    case Frequency::kNone:
      return;
    case Frequency::kMinutely:
      FillFrame(*part.Make<MinutelyRule>());
      return;
    case Frequency::kDaily:
      FillTimes(MakeRule<DailyRule>(part).times);
      return;
    case Frequency::kWeekly: {
      auto& rule = MakeRule<WeeklyRule>(part);
      for (int32_t n = RandomNumber(0, 4); n > 0; --n) {
        WeekdayGroup& group = *rule.groups.Append();
        group.weekdays.Append({RandomNumber(1, 7), RandomFlag()});
        FillTimes(group.times);
      }
      return;
    }
    case Frequency::kMonthlyByPosition:
      FillGroups(MakeRule<MonthlyByPositionRule>(part).groups);
      return;
    case Frequency::kMonthlyByDay: {
      auto& rule = MakeRule<MonthlyByDayRule>(part);
      for (int32_t n = RandomNumber(0, 4); n > 0; --n) rule.days.Append(RandomDay());
      return;
    }
    case Frequency::kYearlyByMonth: {
      auto& rule = MakeRule<YearlyByMonthRule>(part);
      for (int32_t n = RandomNumber(0, 4); n > 0; --n) {
        rule.months.Append({RandomNumber(1, 12), RandomFlag()});
      }
      return;
    }
    case Frequency::kYearlyByDay: {
      auto& rule = MakeRule<YearlyByDayRule>(part);
      for (int32_t n = RandomNumber(0, 4); n > 0; --n) {
        rule.days.Append({RandomNumber(1, 366), RandomFlag()});
      }
      return;
    }
  }
}

TEST(ErgRoundTrip, AnyRuleThatIsWrittenReadsAsTheSameRule) {
  const bool holds = rc::check([] {
    RecurrenceRule rule;
    FillPart(rule.part, static_cast<Frequency>(RandomNumber(1, 7)));
    if (RandomFlag()) {
      const std::string end_date = *rc::gen::elementOf(
          std::vector<std::string>{kEnd, "20061231T235959Z", "99991231T000000Zxyz"});
      end_date.copy(rule.end_date, kEndDateRoom - 1);
    }
    const std::string text = Generated(rule);
    RecurrenceRule again;
    RC_ASSERT(Parse(text, again) == kOk);
    RC_ASSERT(Shown(again) == Shown(rule));
  });
  EXPECT_TRUE(holds);
}

// A text that is read keeps its meaning when it is written and read again.
void CheckText(const std::string& text) {
  RecurrenceRule rule;
  const OsifResult result = Parse(text, rule);
  RC_ASSERT(result == kOk || result == kError);
  if (result == kError) RC_ASSERT(Shown(rule).empty());
  if (rule.frequency() == Frequency::kNone) return;
  RecurrenceRule again;
  RC_ASSERT(Parse(Generated(rule), again) == kOk);
  RC_ASSERT(Shown(again) == Shown(rule));
}

TEST(ErgRoundTrip, AnyTextOfTokensEndsAndKeepsItsMeaning) {
  const std::vector<std::string> tokens = {
      "M5",  "D1",  "W2",   "MP1",   "MD1",  "YM1", "YD1",
      "Y",   "D",   "0900", "2359$", "2400", "SU",  "MO$",
      "FR",  "1+",  "2-$",  "0-",    "LD",   "15",  "31-",
      "400", "#3",  "#0",   "#",     "x",    kEnd,  "20061231T000000Z",
      "12",  "366", "6$",   "\t",    "",     "#2",  "0960",
      "1-",  "10+"};
  EXPECT_TRUE(rc::check([&tokens] {
    std::string text;
    const auto chosen = *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(tokens));
    for (const std::string& token : chosen) text += (text.empty() ? "" : " ") + token;
    CheckText(text);
  }));
}

TEST(ErgRoundTrip, AnyTextOfTheGrammarsCharactersEndsAndKeepsItsMeaning) {
  const std::string alphabet = "MDWPYSUOTEHFRAL0123456789+-$# \tTZx";
  EXPECT_TRUE(rc::check([&alphabet] {
    const std::string start =
        *rc::gen::element<std::string>("", "D1 ", "W1 ", "MP1 ", "MD1 ", "YM1 ");
    CheckText(start + *rc::gen::container<std::string>(rc::gen::elementOf(alphabet)));
  }));
}

TEST(ErgRoundTrip, AnyBytesEnd) {
  EXPECT_TRUE(rc::check([](const std::string& bytes) {
    RecurrenceRule rule;
    const OsifResult result = Parse(bytes, rule);
    RC_ASSERT(result == kOk || result == kError);
  }));
}

TEST(ErgCost, AMegabyteOfATextIsReadInASecond) {
  const auto begin = std::chrono::steady_clock::now();
  for (const std::string& text :
       {"W1" + Repeated(" MO", 300000), "D1 " + std::string(1 << 20, '0'),
        std::string(1 << 20, ' ') + "D1", "D1 " + std::string(1 << 20, ' ') + "0900",
        "D1 " + std::string(1 << 20, 'D'), std::string(1 << 20, 'M')}) {
    RecurrenceRule rule;
    Parse(text, rule);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(6));
}

}  // namespace
}  // namespace osif_erg_test
