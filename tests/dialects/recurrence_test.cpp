// Rules of recurrence: what the store gets for each, and that it occurs on the same days for twenty years.
#include "dialects/recurrence.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <set>

#include "dialects/icalendar.h"
#include "dialects/recurrence_old.h"
#include "dialects/recurrence_store.h"

namespace recurrence_test {
namespace {

using dialects::CivilTime;
using dialects::OldRuleText;
using dialects::OldSense;
using dialects::ReadOldRule;
using dialects::ReadRecurRule;
using dialects::RecurRule;
using dialects::RecurRuleText;
using dialects::Report;
using dialects::RuleEnd;
using dialects::StorePart;
using dialects::StoreParts;
using testing::IsEmpty;

// A Friday, the second of its month.
constexpr CivilTime kStart = {2026, 6, 12, 9, 0, 0};
constexpr CivilTime kInTwentyYears = {2046, 6, 12, 9, 0, 0};

std::vector<std::string> ForStore(const std::string& rfc, const CivilTime& start = kStart) {
  const std::optional<RecurRule> rule = ReadRecurRule(rfc);
  if (!rule) return {"unreadable"};
  Report report;
  std::vector<std::string> texts;
  RuleEnd end;
  end.count = rule->count;
  for (const StorePart& part : StoreParts(*rule, start, report)) {
    texts.push_back(OldRuleText(part.store, end));
  }
  return texts;
}

std::vector<std::string> AsRfc(const std::string& old, OldSense sense,
                               const CivilTime& start = kStart) {
  std::vector<std::string> texts;
  for (const auto& timed : ReadOldRule(old, start, sense)) {
    std::string text = RecurRuleText(timed.rule);
    if (timed.time_of_day) text += " at " + std::to_string(*timed.time_of_day / 60);
    texts.push_back(text);
  }
  return texts;
}

std::set<CivilTime> Days(const RecurRule& rule, const CivilTime& start) {
  const auto times = dialects::Occurrences(rule, start, 10000, kInTwentyYears);
  return {times.begin(), times.end()};
}

// ---- RFC 5545 to the store ----

struct RuleRow {
  const char* rfc;
  std::vector<std::string> store;
};

void PrintTo(const RuleRow& row, std::ostream* out) { *out << row.rfc; }

class RulesOfTheStore : public testing::TestWithParam<RuleRow> {};

TEST_P(RulesOfTheStore, SayTheSame) { EXPECT_EQ(ForStore(GetParam().rfc), GetParam().store); }

// Back by the way in which the library's own rules are read.
TEST_P(RulesOfTheStore, OccurOnTheSameDaysForTwentyYears) {
  const std::optional<RecurRule> rule = ReadRecurRule(GetParam().rfc);
  ASSERT_TRUE(rule);
  const std::set<CivilTime> expected = Days(*rule, kStart);
  ASSERT_GT(expected.size(), 1U);
  std::set<CivilTime> days;
  for (const std::string& text : GetParam().store) {
    const auto back = ReadOldRule(text, kStart, OldSense::kStore);
    ASSERT_EQ(back.size(), 1U) << text;
    days.merge(Days(back.front().rule, kStart));
  }
  EXPECT_EQ(days, expected);
}

const RuleRow kSameRules[] = {
    {"FREQ=DAILY", {"D1 #0"}},
    {"FREQ=DAILY;INTERVAL=3;COUNT=5", {"D3 #5"}},
    {"FREQ=DAILY;BYDAY=MO,TU,WE,TH,FR", {"W1 MO TU WE TH FR #0"}},
    {"FREQ=WEEKLY", {"W1 FR #0"}},
    {"FREQ=WEEKLY;INTERVAL=2;BYDAY=TU,FR", {"W2 TU FR #0"}},
    {"FREQ=WEEKLY;INTERVAL=2;BYDAY=SU,FR;WKST=SU", {"W2 SU FR #0"}},
    {"FREQ=WEEKLY;INTERVAL=2;BYDAY=SU;WKST=MO", {"W2 SU #0"}},
    {"FREQ=MONTHLY", {"MD1 12 #0"}},
    {"FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=28", {"MD2 28 #0"}},
    {"FREQ=MONTHLY;BYMONTHDAY=-1", {"MD1 1- #0"}},
    {"FREQ=MONTHLY;BYMONTHDAY=28,29,30;BYSETPOS=-1", {"MD1 30 #0"}},
    {"FREQ=MONTHLY;BYMONTHDAY=-28,-29;BYSETPOS=1", {"MD1 29- #0"}},
    {"FREQ=MONTHLY;BYDAY=2FR", {"MP1 2+ FR #0"}},
    {"FREQ=MONTHLY;BYDAY=-1FR;COUNT=7", {"MP1 1- FR #7"}},
    {"FREQ=MONTHLY;BYDAY=FR;BYSETPOS=2", {"MP1 2+ FR #0"}},
    {"FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=1", {"MP1 1+ MO TU WE TH FR #0"}},
    {"FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1", {"MP1 1- MO TU WE TH FR #0"}},
    {"FREQ=MONTHLY;BYDAY=MO,WE", {"W1 MO WE #0"}},
    {"FREQ=MONTHLY;BYDAY=1MO,3MO", {"MP1 1+ MO #0", "MP1 3+ MO #0"}},
    {"FREQ=MONTHLY;BYMONTHDAY=1,15", {"MD1 1 #0", "MD1 15 #0"}},
    {"FREQ=YEARLY", {"YM1 6 #0 MD1 12"}},
    {"FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=31", {"YM1 12 #0 MD1 31"}},
    {"FREQ=YEARLY;BYMONTH=5;BYDAY=2SU", {"YM1 5 #0 MP1 2+ SU"}},
    {"FREQ=YEARLY;BYMONTH=5;BYDAY=-1MO;COUNT=4", {"YM1 5 #4 MP1 1- MO"}},
    {"FREQ=YEARLY;INTERVAL=2", {"MD24 12 #0"}},
    {"FREQ=MONTHLY;BYMONTH=8;BYMONTHDAY=3", {"YM1 8 #0 MD1 3"}},
    {"FREQ=YEARLY;BYMONTH=6,12;BYMONTHDAY=12", {"MD6 12 #0"}},
    {"FREQ=YEARLY;BYMONTH=3,6,9,12;BYDAY=2FR", {"MP3 2+ FR #0"}},
    {"FREQ=YEARLY;BYMONTH=1,3;BYMONTHDAY=5", {"YM1 1 #0 MD1 5", "YM1 3 #0 MD1 5"}},
    {"FREQ=YEARLY;BYYEARDAY=33", {"YM1 2 #0 MD1 2"}},
    {"FREQ=YEARLY;BYMONTHDAY=7", {"YM1 6 #0 MD1 7"}},
    {"FREQ=YEARLY;BYDAY=MO", {"W1 MO #0"}},
    {"FREQ=DAILY;BYMONTHDAY=7", {"MD1 7 #0"}},
};

INSTANTIATE_TEST_SUITE_P(Same, RulesOfTheStore, testing::ValuesIn(kSameRules));

class RulesThatTheStoreLacks : public testing::TestWithParam<const char*> {};

TEST_P(RulesThatTheStoreLacks, HaveNoRuleThere) {
  ASSERT_TRUE(ReadRecurRule(GetParam()));
  EXPECT_THAT(ForStore(GetParam()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Rules, RulesThatTheStoreLacks,
    testing::Values("FREQ=WEEKLY;INTERVAL=2;BYDAY=SU,FR;WKST=MO", "FREQ=MONTHLY;BYDAY=5FR",
                    "FREQ=MONTHLY;BYDAY=-2FR", "FREQ=YEARLY;BYWEEKNO=20;BYDAY=MO",
                    "FREQ=YEARLY;BYDAY=20MO", "FREQ=YEARLY;BYYEARDAY=200", "FREQ=HOURLY",
                    "FREQ=DAILY;BYHOUR=9,12", "FREQ=MONTHLY;BYDAY=FR;BYMONTHDAY=13",
                    "FREQ=MONTHLY;BYMONTHDAY=1,8,15,22,28", "FREQ=DAILY;INTERVAL=1000",
                    "FREQ=YEARLY;INTERVAL=84", "FREQ=DAILY;INTERVAL=2;BYDAY=MO",
                    "FREQ=MONTHLY;BYDAY=MO,TU;BYSETPOS=5"));

TEST(RulesOfShortMonths, AreReported) {
  Report report;
  const auto parts = StoreParts(*ReadRecurRule("FREQ=MONTHLY;BYMONTHDAY=30"), kStart, report);
  ASSERT_EQ(parts.size(), 1U);
  EXPECT_EQ(OldRuleText(parts[0].store, {}), "MD1 30 #0");
  EXPECT_EQ(report.changed.count("last day of the months without a 29th, 30th or 31st"), 1U);
}

TEST(RulesOfShortMonths, AreExactInAMonthThatHasTheDay) {
  Report report;
  StoreParts(*ReadRecurRule("FREQ=YEARLY;BYMONTH=5;BYMONTHDAY=31"), kStart, report);
  EXPECT_TRUE(report.IsEmpty());
  StoreParts(*ReadRecurRule("FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=29"), kStart, report);
  EXPECT_FALSE(report.IsEmpty());
}

// The 28th is a day of each month, and "the last of the 28th, 29th and 30th" is what the store does anyway.
TEST(RulesOfShortMonths, AreNotReportedWhereNoDayIsMissing) {
  for (const char* rule : {"FREQ=MONTHLY;BYMONTHDAY=28", "FREQ=MONTHLY;BYMONTHDAY=-28",
                           "FREQ=MONTHLY;BYMONTHDAY=28,29,30;BYSETPOS=-1"}) {
    Report report;
    EXPECT_EQ(StoreParts(*ReadRecurRule(rule), kStart, report).size(), 1U) << rule;
    EXPECT_TRUE(report.IsEmpty()) << rule;
  }
}

// ---- The old grammar, as senders mean it ----

struct OldRow {
  const char* old;
  std::vector<std::string> rfc;
};

void PrintTo(const OldRow& row, std::ostream* out) { *out << row.old; }

class RulesOfSenders : public testing::TestWithParam<OldRow> {};

TEST_P(RulesOfSenders, MeanTheseOfRfc5545) {
  EXPECT_EQ(AsRfc(GetParam().old, OldSense::kSender), GetParam().rfc);
}

const OldRow kSenderRules[] = {
    {"D1 #0", {"FREQ=DAILY"}},
    {"D2 #4", {"FREQ=DAILY;INTERVAL=2;COUNT=4"}},
    {"D1", {"FREQ=DAILY;COUNT=2"}},
    {"D1 20260630", {"FREQ=DAILY;UNTIL=20260630"}},
    {"D1 #0 20260630T090000", {"FREQ=DAILY;UNTIL=20260630"}},
    {"D1 #3 20260731T000000", {"FREQ=DAILY;UNTIL=20260731"}},
    {"D1 0900 1200 #4", {"FREQ=DAILY;COUNT=4 at 540", "FREQ=DAILY;COUNT=4 at 720"}},
    {"W1 #0", {"FREQ=WEEKLY;BYDAY=FR;WKST=SU"}},
    {"w1 fr$ #0", {"FREQ=WEEKLY;BYDAY=FR;WKST=SU"}},
    {"W2 MO 0800 TU 0900 #0",
     {"FREQ=WEEKLY;INTERVAL=2;BYDAY=MO;WKST=SU at 480",
      "FREQ=WEEKLY;INTERVAL=2;BYDAY=TU;WKST=SU at 540"}},
    {"MP1 #0", {"FREQ=MONTHLY;BYDAY=2FR"}},
    {"MP1 1+ MO TU #0", {"FREQ=MONTHLY;BYDAY=1MO,1TU"}},
    {"MP1 1+ MO 2+ TU #0", {"FREQ=MONTHLY;BYDAY=1MO,2TU"}},
    {"MP1 1+ 3+ FR #0", {"FREQ=MONTHLY;BYDAY=1FR,3FR"}},
    {"MP1 2- FR #0", {"FREQ=MONTHLY;BYDAY=-2FR"}},
    {"MD1 #0", {"FREQ=MONTHLY;BYMONTHDAY=12"}},
    {"MD1 1 15 #0", {"FREQ=MONTHLY;BYMONTHDAY=1,15"}},
    {"MD1 13+ 1- LD #0", {"FREQ=MONTHLY;BYMONTHDAY=13,-1,-1"}},
    {"YM1 #0", {"FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=12"}},
    {"YM1 8 #0", {"FREQ=YEARLY;BYMONTH=8;BYMONTHDAY=12"}},
    {"YM1 6 MD1 12 #0", {"FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=12"}},
    {"YM1 6 #5 MP1 2+ FR", {"FREQ=YEARLY;COUNT=5;BYDAY=2FR;BYMONTH=6"}},
    {"YM1 6 #0 MD1 32", {}},
    {"YM1 6 #0 MD1 31", {"FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=31"}},
    {"MD1 5 32- #0", {}},
    {"MP1 5- FR #0", {"FREQ=MONTHLY;BYDAY=-5FR"}},
    {"MP1 1+ MO 6- FR #0", {}},
    {"MD1 31- #0", {"FREQ=MONTHLY;BYMONTHDAY=-31"}},
    {"YM2 6 #0", {"FREQ=YEARLY;INTERVAL=2;BYMONTH=6;BYMONTHDAY=12"}},
    {"YD1 #0", {"FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=12"}},
    {"YD1 61 #0", {"FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=2"}},
    {"YD1 163 #0", {"FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=12"}},
    {"YD1 365 #0", {"FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=31"}},
    {"YD1 366 #0", {"FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=31"}},
    {"M60 #3", {"FREQ=MINUTELY;INTERVAL=60;COUNT=3"}},
    {"MAILTO:someone@example.com#17", {}},
    {"D1 #5 M60 #3", {}},
};

INSTANTIATE_TEST_SUITE_P(Old, RulesOfSenders, testing::ValuesIn(kSenderRules));

// ---- The store's rules, back ----

class RulesBack : public testing::TestWithParam<OldRow> {};

TEST_P(RulesBack, AreTheseOfRfc5545) {
  EXPECT_EQ(AsRfc(GetParam().old, OldSense::kStore), GetParam().rfc);
}

const OldRow kRulesBack[] = {
    // The date that the library writes is an hour before the last day; the number counts.
    {"D1 #19 20260629T220000Z", {"FREQ=DAILY;COUNT=19"}},
    {"D1 20260629T220000Z", {"FREQ=DAILY;COUNT=2"}},
    {"W2 TU FR #0", {"FREQ=WEEKLY;INTERVAL=2;BYDAY=TU,FR;WKST=SU"}},
    {"MD1 31 #0", {"FREQ=MONTHLY;BYMONTHDAY=-1"}},
    {"MD1 30 #0", {"FREQ=MONTHLY;BYMONTHDAY=28,29,30;BYSETPOS=-1"}},
    {"MD1 29 #0", {"FREQ=MONTHLY;BYMONTHDAY=28,29;BYSETPOS=-1"}},
    {"MD1 29- #0", {"FREQ=MONTHLY;BYMONTHDAY=-28,-29;BYSETPOS=1"}},
    {"MD1 31- #0", {"FREQ=MONTHLY;BYMONTHDAY=1"}},
    {"MP1 1+ MO TU #0", {"FREQ=MONTHLY;BYDAY=MO,TU;BYSETPOS=1"}},
    {"MP1 5+ FR #0", {"FREQ=MONTHLY;BYDAY=-1FR"}},
    {"YM1 2 #0 MD1 29", {"FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=-1"}},
    {"YM1 4 #0 MD1 31", {"FREQ=YEARLY;BYMONTH=4;BYMONTHDAY=-1"}},
    {"YM1 6 #0 MP1 2+ FR", {"FREQ=YEARLY;BYDAY=2FR;BYMONTH=6"}},
    {"MD24 12 #0", {"FREQ=MONTHLY;INTERVAL=24;BYMONTHDAY=12"}},
};

INSTANTIATE_TEST_SUITE_P(Back, RulesBack, testing::ValuesIn(kRulesBack));

// ---- Reading and iterating ----

TEST(RulesOfRfc5545, AreReadInAnyOrderAndCase) {
  const auto rule = ReadRecurRule("interval=2;byday=-1su, mo;freq=monthly;until=20260630T080000Z");
  ASSERT_TRUE(rule);
  EXPECT_EQ(RecurRuleText(*rule), "FREQ=MONTHLY;INTERVAL=2;UNTIL=20260630T080000Z;BYDAY=-1SU,MO");
}

TEST(RulesOfRfc5545, AreReadFromDevicesThatWriteAHyphen) {
  const auto rule = ReadRecurRule("FREQ-YEARLY;BYMONTH-4");
  ASSERT_TRUE(rule);
  EXPECT_EQ(RecurRuleText(*rule), "FREQ=YEARLY;BYMONTH=4");
}

TEST(RulesOfRfc5545, AreNoneInAnotherCalendarOrWithoutAUnitOrWithAnEndThatIsNone) {
  EXPECT_FALSE(ReadRecurRule("RSCALE=HEBREW;FREQ=YEARLY"));
  EXPECT_FALSE(ReadRecurRule("BYDAY=MO"));
  EXPECT_FALSE(ReadRecurRule("FREQ=YEARLY;UNTIL=123456T123456"));
}

TEST(RulesThatNeverOccur, AreNotIterated) {
  EXPECT_FALSE(dialects::CanIterate(*ReadRecurRule("FREQ=DAILY;BYMONTH=2;BYMONTHDAY=30")));
  EXPECT_FALSE(dialects::CanIterate(*ReadRecurRule("FREQ=SECONDLY;BYDAY=MO")));
  EXPECT_FALSE(dialects::CanIterate(*ReadRecurRule("FREQ=MINUTELY;BYMONTH=2")));
  EXPECT_TRUE(dialects::CanIterate(*ReadRecurRule("FREQ=SECONDLY;COUNT=3")));
}

TEST(RulesOnAnotherClock, AreMovedByADay) {
  const auto moved = [](const char* text, int days) -> std::string {
    const auto rule = dialects::ShiftedRule(*ReadRecurRule(text), kStart, days);
    return rule ? RecurRuleText(*rule) : "none";
  };
  EXPECT_EQ(moved("FREQ=WEEKLY;BYDAY=MO,SA", 1), "FREQ=WEEKLY;BYDAY=TU,SU;WKST=TU");
  EXPECT_EQ(moved("FREQ=WEEKLY;BYDAY=SU", -1), "FREQ=WEEKLY;BYDAY=SA;WKST=SU");
  EXPECT_EQ(moved("FREQ=MONTHLY;BYMONTHDAY=1", -1), "FREQ=MONTHLY;BYMONTHDAY=-1");
  EXPECT_EQ(moved("FREQ=MONTHLY;BYMONTHDAY=-1", 1), "FREQ=MONTHLY;BYMONTHDAY=1");
  EXPECT_EQ(moved("FREQ=MONTHLY;BYMONTHDAY=28", 1), "none");
  EXPECT_EQ(moved("FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=31", 1), "FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1");
  EXPECT_EQ(moved("FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=1", -1), "none");
  EXPECT_EQ(moved("FREQ=MONTHLY;BYDAY=2FR", 1), "none");
  EXPECT_EQ(moved("FREQ=DAILY;INTERVAL=3", 1), "FREQ=DAILY;INTERVAL=3");
}

// ---- There and back ----

rc::Gen<std::vector<int>> Weekdays() {
  return rc::gen::map(
      rc::gen::nonEmpty(rc::gen::container<std::set<int>>(rc::gen::inRange(1, 8))),
      [](const std::set<int>& days) { return std::vector<int>(days.begin(), days.end()); });
}

// Any rule of the store that says the same in one way only: a month's 31st is its last day.
dialects::StoreRule AnyStoreRule() {
  using Kind = dialects::StoreRule::Kind;
  dialects::StoreRule rule;
  rule.kind =
      *rc::gen::element(Kind::kDaily, Kind::kWeekly, Kind::kMonthlyByDay, Kind::kMonthlyByPosition,
                        Kind::kYearlyByDay, Kind::kYearlyByPosition);
  const bool is_yearly = rule.kind == Kind::kYearlyByDay || rule.kind == Kind::kYearlyByPosition;
  if (!is_yearly) rule.interval = *rc::gen::inRange(1, 1000);
  if (is_yearly) rule.month = *rc::gen::inRange(1, 13);
  if (rule.kind == Kind::kMonthlyByDay) {
    rule.day = *rc::gen::suchThat(rc::gen::inRange(-30, 31), [](int day) { return day != 0; });
  }
  if (rule.kind == Kind::kYearlyByDay) {
    rule.day = *rc::gen::suchThat(rc::gen::inRange(-28, 29), [](int day) { return day != 0; });
  }
  const bool is_by_position =
      rule.kind == Kind::kMonthlyByPosition || rule.kind == Kind::kYearlyByPosition;
  if (is_by_position) rule.position = *rc::gen::element(1, 2, 3, 4, -1);
  if (is_by_position || rule.kind == Kind::kWeekly) rule.weekdays = *Weekdays();
  return rule;
}

RC_GTEST_PROP(RulesOfTheStoreProperty, ComeBackFromRfc5545AsTheyWere, ()) {
  const dialects::StoreRule rule = AnyStoreRule();
  RuleEnd end;
  end.count = *rc::gen::inRange(0, 100);
  const auto back = ReadOldRule(OldRuleText(rule, end), kStart, OldSense::kStore);
  RC_ASSERT(back.size() == 1U);
  RC_ASSERT(back.front().rule.count == end.count);
  const auto again = ReadRecurRule(RecurRuleText(back.front().rule));
  RC_ASSERT(again.has_value());
  Report report;
  const auto parts = StoreParts(*again, kStart, report);
  RC_ASSERT(parts.size() == 1U);
  RC_ASSERT(OldRuleText(parts.front().store, end) == OldRuleText(rule, end));
}

}  // namespace
}  // namespace recurrence_test
