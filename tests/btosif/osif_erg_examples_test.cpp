// Recurrence rules as devices write them, from the text to the record and back.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "btosif/osif_erg.h"

namespace osif_erg_examples_test {
namespace {

class ErgExample : public testing::Test {
 protected:
  void Read(const char* text) { ASSERT_EQ(ERG_Parse(text, rule_), OsifResult{OSIF_OK}) << text; }

  std::string Written() {
    char text[200] = "before";
    EXPECT_EQ(ERG_Generate(rule_, text, sizeof text), OsifResult{OSIF_OK});
    return text;
  }

  // The rule, which is of this type.
  template <typename Rule>
  const Rule& As() {
    const Rule* rule = rule_.part.As<Rule>();
    if (rule == nullptr) throw std::runtime_error("a rule of another type");
    return *rule;
  }

  RecurrenceRule rule_;
};

template <typename Entry>
std::vector<Entry> EntriesOf(const RuleList<Entry>& list) {
  std::vector<Entry> entries;
  for (const Entry& entry : list) entries.push_back(entry);
  return entries;
}

// The only weekday of a group.
int WeekdayOf(const WeekdayGroup& group) {
  const auto weekdays = EntriesOf(group.weekdays);
  EXPECT_EQ(weekdays.size(), 1u);
  return weekdays.empty() ? 0 : weekdays[0].weekday;
}

std::vector<int> CountsOf(const PositionGroup& group) {
  std::vector<int> counts;
  for (const PositionEntry& entry : group.positions) counts.push_back(entry.count);
  return counts;
}
std::vector<int> WeekdaysOf(const PositionGroup& group) {
  std::vector<int> weekdays;
  for (const WeekdayEntry& entry : group.weekdays) weekdays.push_back(entry.weekday);
  return weekdays;
}

TEST_F(ErgExample, D1IsDailyWithADurationOfTwoWhichIsNotWritten) {
  Read("D1");
  EXPECT_EQ(rule_.frequency(), Frequency::kDaily);
  EXPECT_EQ(As<DailyRule>().interval, 1);
  EXPECT_EQ(As<DailyRule>().duration, 2);
  EXPECT_EQ(Written(), "D1");
}

TEST_F(ErgExample, W2TuThForEverHasTwoWeekdayGroupsAndIsWrittenBack) {
  Read("W2 TU TH #0");
  const auto& rule = As<WeeklyRule>();
  EXPECT_EQ(rule.interval, 2);
  EXPECT_EQ(rule.duration, 0);
  std::vector<int> weekdays;
  for (const WeekdayGroup& group : rule.groups) weekdays.push_back(WeekdayOf(group));
  EXPECT_EQ(weekdays, (std::vector<int>{3, 5}));
  EXPECT_EQ(Written(), "W2 TU TH #0");
}

TEST_F(ErgExample, TheLastDayOfAMonthIsMinusOneAndIsWrittenAsOneFromTheEnd) {
  Read("MD1 LD");
  const auto days = EntriesOf(As<MonthlyByDayRule>().days);
  ASSERT_EQ(days.size(), 1u);
  EXPECT_EQ(days[0].day, -1);
  EXPECT_EQ(Written(), "MD1 1-");
}

TEST_F(ErgExample, PositionsBeforeAWeekdayAreOneGroupAndAPositionBehindItBeginsTheNext) {
  Read("MP1 1+ 2+ MO 1- FR");
  std::vector<const PositionGroup*> groups;
  for (const PositionGroup& group : As<MonthlyByPositionRule>().groups) groups.push_back(&group);
  ASSERT_EQ(groups.size(), 2u);
  EXPECT_EQ(CountsOf(*groups[0]), (std::vector<int>{1, 2}));
  EXPECT_EQ(WeekdaysOf(*groups[0]), std::vector<int>{2});
  EXPECT_EQ(CountsOf(*groups[1]), std::vector<int>{-1});
  EXPECT_EQ(WeekdaysOf(*groups[1]), std::vector<int>{6});
  EXPECT_EQ(Written(), "MP1 1+ 2+ MO 1- FR");
}

TEST_F(ErgExample, AMonthlyRuleNestsInAYearlyOneButNotAYearlyOneInAMonthlyOne) {
  Read("YM1 6 7 MD1 15");
  const auto& rule = As<YearlyByMonthRule>();
  std::vector<int> months;
  for (const MonthEntry& entry : rule.months) months.push_back(entry.month);
  EXPECT_EQ(months, (std::vector<int>{6, 7}));
  const auto* nested = rule.nested.As<MonthlyByDayRule>();
  ASSERT_NE(nested, nullptr);
  EXPECT_EQ(nested->days.first()->day, 15);
  EXPECT_EQ(ERG_Parse("MD1 1 YM1 6", rule_), OsifResult{OSIF_PARSE_ERROR});
}

TEST_F(ErgExample, AnUnknownTokenEndsTheRuleAndTheTimeBehindItIsLost) {
  Read("D1 hello 0900");
  EXPECT_TRUE(As<DailyRule>().times.empty());
  EXPECT_EQ(Written(), "D1");
}

TEST_F(ErgExample, ASecondDurationOfAMinutelyRuleIsAParseErrorOneIsNot) {
  EXPECT_EQ(ERG_Parse("M5 #3 #4", rule_), OsifResult{OSIF_PARSE_ERROR});
  Read("M5 #3");
  EXPECT_EQ(As<MinutelyRule>().duration, 3);
}

TEST_F(ErgExample, APlusBehindADayIsNotKept) {
  Read("MD1 15+");
  EXPECT_EQ(Written(), "MD1 15");
}

TEST_F(ErgExample, APositionOfTwoDigitsIsRefusedAndEndsTheRule) {
  Read("MP1 10+ MO");
  EXPECT_TRUE(As<MonthlyByPositionRule>().groups.empty());
  EXPECT_EQ(Written(), "MP1");
}

TEST_F(ErgExample, ADollarIsKeptBehindEveryKindOfEntry) {
  for (const char* text : {"D1 0900$ 1000", "W1 MO$ 0900$ TU", "MP1 1+$ 2-$ MO$ 0900$",
                           "MD1 1-$ 15$", "YM1 6$ 7", "YD1 60$ 61"}) {
    Read(text);
    EXPECT_EQ(Written(), text);
  }
}

// An end date of 19 characters is kept whole, one more is cut.
TEST_F(ErgExample, AnEndDateHas19CharactersAtMost) {
  const std::string date = "20061231T000000Zabc";
  ASSERT_EQ(date.size(), 19u);
  const std::pair<std::string, std::string> dates[] = {{date.substr(0, 14), ""},
                                                       {date.substr(0, 15), date.substr(0, 15)},
                                                       {date.substr(0, 18), date.substr(0, 18)},
                                                       {date, date},
                                                       {date + "d", date},
                                                       {date + std::string(1000, 'd'), date}};
  for (const auto& [received, kept] : dates) {
    Read(("D1 " + received).c_str());
    EXPECT_EQ(rule_.end_date, kept);
  }
}

TEST_F(ErgExample, NumbersBeyond32BitsAreHeldAtTheLimit) {
  const std::pair<const char*, int32_t> numbers[] = {{"2147483646", 2147483646},
                                                     {"2147483647", 2147483647},
                                                     {"2147483648", 2147483647},
                                                     {"99999999999999999999", 2147483647}};
  for (const auto& [text, number] : numbers) {
    Read(("D" + std::string(text) + " #" + text).c_str());
    EXPECT_EQ(As<DailyRule>().interval, number);
    EXPECT_EQ(As<DailyRule>().duration, number);
  }
}

}  // namespace
}  // namespace osif_erg_examples_test
