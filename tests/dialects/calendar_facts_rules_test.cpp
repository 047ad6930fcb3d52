// Rules of recurrence of vCalendar 1.0 and RFC 5545, row by row: what the store gets of each. All begin on the 12th of
// June 2026, the second Friday of its month, at nine, where a row says nothing else.
#include <gmock/gmock.h>

#include "btosif/osif_util/value_text.h"
#include "platform/utf8.h"
#include "tests/dialects/calendar_support.h"
#include "tests/dialects/strict_reading.h"

namespace calendar_facts_rules_test {
namespace {

using calendar_support::CalendarObject;
using calendar_support::LinesOf;
using dialects::StrictObject;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

using Lines = std::vector<std::string>;

constexpr const char* kStart = "20260612T090000";

// A rule as it comes, and of each item of the store the start and the rule.
struct RuleRow {
  std::string rule;
  std::string start = kStart;
  Lines strict = {};  // "20260612T090000 W1 FR #0"
};

void PrintTo(const RuleRow& row, std::ostream* out) { *out << row.start << " " << row.rule; }

dialects::ObjectText Series(const std::string& version, const Lines& rules,
                            const std::string& start, const std::string& frame = "") {
  std::string text = "BEGIN:VCALENDAR\r\nVERSION:" + version + "\r\n" + frame +
                     "BEGIN:VEVENT\r\nUID:u\r\nSUMMARY:x\r\nDESCRIPTION:text\r\nDTSTART:" + start +
                     "\r\n";
  for (const std::string& rule : rules) text += "RRULE:" + rule + "\r\n";
  return CalendarObject(text + "END:VEVENT\r\nEND:VCALENDAR\r\n");
}

class RuleFacts : public calendar_support::StrictCalendar,
                  public testing::WithParamInterface<RuleRow> {
 protected:
  // The number that is meant where there is none, and an end date's time, which says nothing, are left out.
  static Lines StartsAndRules(const std::vector<StrictObject>& items) {
    Lines found;
    for (const StrictObject& item : items) {
      const Lines lines = LinesOf(item.text, {"DTSTART", "RRULE"});
      std::string one = lines.empty() ? "none" : lines[0].substr(8);
      if (lines.size() > 1) one += " " + lines[1].substr(6);
      found.push_back(one);
    }
    return found;
  }

  static void ExpectSeries(const dialects::ObjectText& object, const Lines& strict) {
    const auto items = Strict(object);
    EXPECT_EQ(StartsAndRules(items), strict);
    std::set<std::string> uids;
    for (const StrictObject& item : items) {
      uids.insert(item.uid);
      EXPECT_THAT(item.report.dropped, IsEmpty());
      EXPECT_THAT(LinesOf(item.text, {"DESCRIPTION"}), ElementsAre("DESCRIPTION:text"));
    }
    EXPECT_EQ(uids.size(), items.size());
  }

  // The item once, and its rule as the last line of its description.
  static void ExpectOnce(const dialects::ObjectText& object, const std::string& rule) {
    const StrictObject item = Only(object);
    EXPECT_THAT(LinesOf(item.text, {"RRULE"}), IsEmpty());
    EXPECT_THAT(item.report.dropped, Contains(Key(StartsWith("RRULE"))));
    std::string description;
    strict_reading::ReadOne(item.text, [&](OsifObject& read) {
      description = ToUtf8(DecodedText(read.calendar.description, 0));
    });
    EXPECT_THAT(description, StartsWith("text\r\nRepeats: "));
    EXPECT_THAT(description, testing::EndsWith(rule));
  }
};

// ---- The old grammar ----

class OldRules : public RuleFacts {};

TEST_P(OldRules, BecomeTheStores) {
  ExpectSeries(Series("1.0", {GetParam().rule}, GetParam().start), GetParam().strict);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, OldRules,
    testing::Values(
        RuleRow{"YM1 6 #0", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"YM1 #0", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"YM1 6 MD1 12 #0", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"YM1 6 MP1 2+ FR #0", kStart, {"20260612T090000 YM1 6 #0 MP1 2+ FR"}},
        RuleRow{"YM2 6 #0", kStart, {"20260612T090000 MD24 12 #0"}},
        RuleRow{"YM2 6 #3", kStart, {"20260612T090000 MD24 12 #3"}},
        RuleRow{"YM83 6 #0", kStart, {"20260612T090000 MD996 12 #0"}},
        RuleRow{"YD2 163 #0", kStart, {"20260612T090000 MD24 12 #0"}},
        RuleRow{"YM2 6 MP1 2+ FR #0", kStart, {"20260612T090000 MP24 2+ FR #0"}},
        RuleRow{"YM1 6 12 #0", kStart, {"20260612T090000 MD6 12 #0"}},
        RuleRow{"YD1 #0", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"YD1 163 #0", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"YD1 61 #0", "20260302T090000", {"20260302T090000 YM1 3 #0 MD1 2"}},
        RuleRow{"YD1 61 #0", "20280301T090000", {"20280301T090000 YM1 3 #0 MD1 1"}},
        RuleRow{"MD1 #0", kStart, {"20260612T090000 MD1 12 #0"}},
        RuleRow{"MD1 1 15 #0",
                "20260601T090000",
                {"20260601T090000 MD1 1 #0", "20260615T090000 MD1 15 #0"}},
        RuleRow{"MD1 13+ #0", "20260613T090000", {"20260613T090000 MD1 13 #0"}},
        RuleRow{"MD1 1- #0", "20260630T090000", {"20260630T090000 MD1 1- #0"}},
        RuleRow{"MD1 LD #0", "20260630T090000", {"20260630T090000 MD1 1- #0"}},
        RuleRow{"MP1 #0", kStart, {"20260612T090000 MP1 2+ FR #0"}},
        RuleRow{"MP1 #0", "20260529T090000", {"20260529T090000 MP1 1- FR #0"}},
        RuleRow{"MP1 1+ MO 2+ TU #0",
                "20260601T090000",
                {"20260601T090000 MP1 1+ MO #0", "20260609T090000 MP1 2+ TU #0"}},
        RuleRow{"MP1 1+ 3+ FR #0",
                "20260605T090000",
                {"20260605T090000 MP1 1+ FR #0", "20260619T090000 MP1 3+ FR #0"}},
        RuleRow{"MP1 1+ MO TU #0",
                "20260601T090000",
                {"20260601T090000 MP1 1+ MO #0", "20260602T090000 MP1 1+ TU #0"}},
        RuleRow{"W1 #0", kStart, {"20260612T090000 W1 FR #0"}},
        RuleRow{"W2 #0", kStart, {"20260612T090000 W2 FR #0"}},
        RuleRow{"W1 fr #0", kStart, {"20260612T090000 W1 FR #0"}},
        RuleRow{"w1 FR #0", kStart, {"20260612T090000 W1 FR #0"}},
        RuleRow{"W2 MO FR #8", kStart, {"20260612T090000 W2 MO FR #8"}},
        RuleRow{"D1 0900 1200 #0", kStart, {"20260612T090000 D1 #0", "20260612T120000 D1 #0"}},
        RuleRow{"W1 FR 0900 #0", kStart, {"20260612T090000 W1 FR #0"}},
        RuleRow{"MP1 2+ FR 0900 #0", kStart, {"20260612T090000 MP1 2+ FR #0"}},
        RuleRow{"M60 #3", kStart, {"20260612T090000", "20260612T100000", "20260612T110000"}},
        RuleRow{"D1", kStart, {"20260612T090000 D1 #2"}},
        RuleRow{"D1 20260630", kStart, {"20260612T090000 D1 20260630T000000"}},
        RuleRow{"D1 #0 20260630T090000", kStart, {"20260612T090000 D1 20260630T000000"}},
        RuleRow{"D1 #3 20260731T090000", kStart, {"20260612T090000 D1 20260731T000000"}},
        RuleRow{"FREQ=WEEKLY;BYDAY=FR", kStart, {"20260612T090000 W1 FR #0"}},
        RuleRow{"FREQ-YEARLY;BYMONTH-6", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"MP1 2- FR #3",
                "20260619T090000",
                {"20260619T090000", "20260724T090000", "20260821T090000"}},
        RuleRow{"MP1 5+ FR #2", "20260529T090000", {"20260529T090000", "20260731T090000"}}));

TEST_F(RuleFacts, MonthlyRuleOfEveryTwelfthMonthIsYearly) {
  const auto items = Strict(Series("1.0", {"MD12 #0"}, kStart));
  EXPECT_THAT(StartsAndRules(items),
              testing::AnyOf(ElementsAre("20260612T090000 MD12 12 #0"),
                             ElementsAre("20260612T090000 YM1 6 #0 MD1 12")));
}

TEST_F(RuleFacts, MonthsThatDoNotLieEvenlyAreSeveralSeries) {
  EXPECT_THAT(StartsAndRules(Strict(Series("1.0", {"YM1 3 6 #0"}, kStart))),
              testing::UnorderedElementsAre("20260612T090000 YM1 6 #0 MD1 12",
                                            "20270312T090000 YM1 3 #0 MD1 12"));
}

TEST_F(RuleFacts, TwoRulesAreTwoSeries) {
  ExpectSeries(Series("1.0", {"W1 FR #0", "MD1 1 #0"}, kStart),
               {"20260612T090000 W1 FR #0", "20260701T090000 MD1 1 #0"});
}

TEST_F(RuleFacts, WeekdayThatIsNotSaidIsThatOfTheSendersClock) {
  // Friday evening in New York, and Saturday here.
  const StrictObject item =
      Only(Series("1.0", {"W2 #0"}, "20260612T200000", "TZ:-05\r\nDAYLIGHT:FALSE\r\n"));
  EXPECT_THAT(LinesOf(item.text, {"DTSTART", "RRULE"}),
              ElementsAre("DTSTART:20260613T030000", "RRULE:W2 SA #0"));
}

TEST_F(RuleFacts, OldRuleThatTheStoreCannotSayIsKeptInWords) {
  ExpectOnce(Series("1.0", {"MP1 2- FR #0"}, "20260619T090000"), "");
  ExpectOnce(Series("1.0", {"MP1 5+ FR #0"}, "20260529T090000"), "");
  ExpectOnce(Series("1.0", {"M60 #0"}, kStart), "");
  ExpectOnce(Series("1.0", {"M60 #60"}, kStart), "");
  ExpectOnce(Series("1.0", {"YM84 6 #0"}, kStart), "");
  ExpectOnce(Series("1.0", {"Q1 whatever #0"}, kStart), "");
}

// ---- RFC 5545 ----

class ModernRules : public RuleFacts {};

TEST_P(ModernRules, BecomeTheStores) {
  ExpectSeries(Series("2.0", {GetParam().rule}, GetParam().start), GetParam().strict);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ModernRules,
    testing::Values(
        RuleRow{"FREQ=DAILY;INTERVAL=3;COUNT=4", kStart, {"20260612T090000 D3 #4"}},
        RuleRow{"FREQ=DAILY", kStart, {"20260612T090000 D1 #0"}},
        RuleRow{"FREQ=DAILY;BYDAY=MO,FR", kStart, {"20260612T090000 W1 MO FR #0"}},
        RuleRow{"FREQ=WEEKLY", kStart, {"20260612T090000 W1 FR #0"}},
        RuleRow{"FREQ=WEEKLY;INTERVAL=2;BYDAY=TU,FR", kStart, {"20260612T090000 W2 TU FR #0"}},
        RuleRow{
            "FREQ=WEEKLY;INTERVAL=2;BYDAY=FR,SU;WKST=SU", kStart, {"20260612T090000 W2 SU FR #0"}},
        RuleRow{"FREQ=WEEKLY;INTERVAL=2;BYDAY=FR;WKST=MO", kStart, {"20260612T090000 W2 FR #0"}},
        RuleRow{"FREQ=WEEKLY;BYDAY=FR,SU;WKST=MO", kStart, {"20260612T090000 W1 SU FR #0"}},
        RuleRow{"FREQ=MONTHLY", kStart, {"20260612T090000 MD1 12 #0"}},
        RuleRow{
            "FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=12;COUNT=5", kStart, {"20260612T090000 MD2 12 #5"}},
        RuleRow{"FREQ=MONTHLY;BYMONTHDAY=28", "20260628T090000", {"20260628T090000 MD1 28 #0"}},
        RuleRow{"FREQ=MONTHLY;BYMONTHDAY=-1", "20260630T090000", {"20260630T090000 MD1 1- #0"}},
        RuleRow{"FREQ=MONTHLY;BYMONTHDAY=-5", "20260626T090000", {"20260626T090000 MD1 5- #0"}},
        RuleRow{"FREQ=MONTHLY;BYDAY=2FR", kStart, {"20260612T090000 MP1 2+ FR #0"}},
        RuleRow{"FREQ=MONTHLY;BYDAY=FR;BYSETPOS=2", kStart, {"20260612T090000 MP1 2+ FR #0"}},
        RuleRow{"FREQ=MONTHLY;BYDAY=-1FR", "20260626T090000", {"20260626T090000 MP1 1- FR #0"}},
        RuleRow{"FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=1",
                "20260601T090000",
                {"20260601T090000 MP1 1+ MO TU WE TH FR #0"}},
        RuleRow{"FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1",
                "20260630T090000",
                {"20260630T090000 MP1 1- MO TU WE TH FR #0"}},
        RuleRow{"FREQ=MONTHLY;BYDAY=SA,SU;BYSETPOS=4",
                "20260614T090000",
                {"20260614T090000 MP1 4+ SU SA #0"}},
        RuleRow{"FREQ=MONTHLY;BYDAY=1MO,3MO",
                "20260601T090000",
                {"20260601T090000 MP1 1+ MO #0", "20260615T090000 MP1 3+ MO #0"}},
        RuleRow{"FREQ=MONTHLY;BYMONTHDAY=1,15",
                "20260601T090000",
                {"20260601T090000 MD1 1 #0", "20260615T090000 MD1 15 #0"}},
        RuleRow{"FREQ=YEARLY", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"FREQ=YEARLY;BYMONTH=6", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"FREQ=YEARLY;BYMONTH=6;BYMONTHDAY=12", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"FREQ=YEARLY;BYMONTHDAY=12;BYMONTH=6;COUNT=3",
                kStart,
                {"20260612T090000 YM1 6 #3 MD1 12"}},
        RuleRow{"FREQ=YEARLY;BYMONTH=6;BYDAY=2FR", kStart, {"20260612T090000 YM1 6 #0 MP1 2+ FR"}},
        RuleRow{"FREQ=YEARLY;BYMONTH=6;BYDAY=-1FR",
                "20260626T090000",
                {"20260626T090000 YM1 6 #0 MP1 1- FR"}},
        RuleRow{"FREQ=YEARLY;INTERVAL=2", kStart, {"20260612T090000 MD24 12 #0"}},
        RuleRow{"FREQ=YEARLY;INTERVAL=2;BYMONTH=6;BYDAY=2FR",
                kStart,
                {"20260612T090000 MP24 2+ FR #0"}},
        RuleRow{
            "FREQ=MONTHLY;BYMONTH=6;BYMONTHDAY=12", kStart, {"20260612T090000 YM1 6 #0 MD1 12"}},
        RuleRow{"FREQ=MONTHLY;BYMONTH=6;BYDAY=2FR", kStart, {"20260612T090000 YM1 6 #0 MP1 2+ FR"}},
        RuleRow{"FREQ=YEARLY;BYMONTH=6,12;BYMONTHDAY=12", kStart, {"20260612T090000 MD6 12 #0"}},
        RuleRow{
            "FREQ=MONTHLY;BYMONTH=3,6,9,12;BYDAY=2FR", kStart, {"20260612T090000 MP3 2+ FR #0"}},
        RuleRow{"freq=weekly;byday=fr;count=2", kStart, {"20260612T090000 W1 FR #2"}},
        RuleRow{"FREQ=WEEKLY;UNTIL=20260703T070000Z",
                kStart,
                {"20260612T090000 W1 FR 20260703T000000"}},
        RuleRow{"FREQ=WEEKLY;UNTIL=20260703", kStart, {"20260612T090000 W1 FR 20260703T000000"}}));

TEST_F(RuleFacts, LastDaysOfMonthsAreKeptAndReported) {
  for (const auto& [day, start] : std::vector<std::pair<std::string, std::string>>{
           {"29", "20260629T090000"}, {"30", "20260630T090000"}, {"31", "20260731T090000"}}) {
    SCOPED_TRACE(day);
    const StrictObject item = Only(Series("2.0", {"FREQ=MONTHLY;BYMONTHDAY=" + day}, start));
    EXPECT_THAT(LinesOf(item.text, {"DTSTART", "RRULE"}),
                ElementsAre("DTSTART:" + start, "RRULE:MD1 " + day + " #0"));
    EXPECT_THAT(item.report.changed, Not(IsEmpty()));
  }
}

TEST_F(RuleFacts, ModernRuleThatTheStoreCannotSayIsKeptInWords) {
  for (const std::string rule :
       {"FREQ=WEEKLY;INTERVAL=2;BYDAY=FR,SU", "FREQ=WEEKLY;INTERVAL=2;BYDAY=SU,TH,FR;WKST=FR",
        "FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,FR;WKST=WE", "FREQ=MONTHLY;BYDAY=-2FR",
        "FREQ=YEARLY;BYYEARDAY=163,200,300,310,320", "FREQ=YEARLY;BYWEEKNO=24",
        "FREQ=YEARLY;BYDAY=20MO", "FREQ=HOURLY;INTERVAL=5", "FREQ=MINUTELY;INTERVAL=90",
        "FREQ=SECONDLY;INTERVAL=40000", "FREQ=DAILY;BYHOUR=9,12,15,18,21",
        "FREQ=MONTHLY;BYMONTHDAY=2,4,6,8,12", "FREQ=MONTHLY;BYDAY=MO,FR;BYSETPOS=5",
        "FREQ=DAILY;INTERVAL=40000", "FREQ=WEEKLY;BYDAY=FR,XX", "FREQ=MONTHLY;BYMONTHDAY=12,32",
        "FREQ=YEARLY;BYEASTER=0"}) {
    SCOPED_TRACE(rule);
    ExpectOnce(Series("2.0", {rule}, kStart), rule);
  }
}

TEST_F(RuleFacts, WhatTheStoreCannotSayAndEndsIsWrittenOut) {
  ExpectSeries(Series("2.0", {"FREQ=MONTHLY;BYDAY=-2FR;COUNT=3"}, "20260619T090000"),
               {"20260619T090000", "20260724T090000", "20260821T090000"});
  ExpectSeries(Series("2.0", {"FREQ=HOURLY;INTERVAL=5;COUNT=3"}, kStart),
               {"20260612T090000", "20260612T140000", "20260612T190000"});
  ExpectSeries(Series("2.0", {"FREQ=WEEKLY;INTERVAL=2;BYDAY=FR,SU;UNTIL=20260628"}, kStart),
               {"20260612T090000", "20260614T090000", "20260626T090000", "20260628T090000"});
}

TEST_F(RuleFacts, OfRulesThatAreWrittenOutFiftyIsTheMost) {
  EXPECT_THAT(Strict(Series("2.0", {"FREQ=HOURLY;COUNT=50"}, kStart)), SizeIs(50));
  ExpectOnce(Series("2.0", {"FREQ=HOURLY;COUNT=51"}, kStart), "FREQ=HOURLY;COUNT=51");
}

TEST_F(RuleFacts, ThatAreSeveralSeriesAreFourAtMost) {
  EXPECT_THAT(Strict(Series("2.0", {"FREQ=MONTHLY;BYMONTHDAY=3,7,12,20"}, kStart)), SizeIs(4));
}

TEST_F(RuleFacts, StartThatTheRuleDoesNotHitCountsAndTakesPlace) {
  // The 11th is a Thursday.
  const auto items = Strict(Series("2.0", {"FREQ=WEEKLY;BYDAY=FR;COUNT=3"}, "20260611T090000"));
  const Lines found = StartsAndRules(items);
  EXPECT_THAT(found, testing::UnorderedElementsAre("20260611T090000", "20260612T090000 W1 FR #2"));
}

TEST_F(RuleFacts, StartThatTheRuleDoesNotHitIsNoPartOfItsStep) {
  // Every sixth month is March and September, not May and November.
  const auto items =
      Strict(Series("2.0", {"FREQ=YEARLY;BYMONTH=3,9;BYMONTHDAY=12"}, "20260512T090000"));
  EXPECT_THAT(StartsAndRules(items),
              testing::UnorderedElementsAre("20260512T090000", "20260912T090000 MD6 12 #0"));
  EXPECT_THAT(StartsAndRules(Strict(Series("1.0", {"YM1 3 9 #0"}, "20260512T090000"))),
              ElementsAre("20260912T090000 MD6 12 #0"));
}

TEST_F(RuleFacts, SeriesThatBeginTogetherDoNotBeginOnOneDay) {
  // The store takes a second item of the same start and summary for the first one.
  const auto items = Strict(Series(
      "2.0", {"FREQ=WEEKLY;BYDAY=FR;COUNT=4", "FREQ=MONTHLY;BYMONTHDAY=12;COUNT=3"}, kStart));
  EXPECT_THAT(StartsAndRules(items),
              ElementsAre("20260612T090000 W1 FR #4", "20260712T090000 MD1 12 #2"));
  // Of two occurrences one is left.
  EXPECT_THAT(
      StartsAndRules(Strict(Series(
          "2.0", {"FREQ=WEEKLY;BYDAY=FR;COUNT=4", "FREQ=MONTHLY;BYMONTHDAY=12;COUNT=2"}, kStart))),
      ElementsAre("20260612T090000 W1 FR #4", "20260712T090000 MD1 12 #1"));
}

TEST_F(RuleFacts, TimeOfDayBeforeTheStartIsOneOfTheNextDay) {
  EXPECT_THAT(StartsAndRules(Strict(Series("1.0", {"D1 0800 1200 #1"}, kStart))),
              testing::UnorderedElementsAre("20260613T080000 D1 #1", "20260612T120000 D1 #1"));
}

TEST_F(RuleFacts, RuleThatTheStoreCannotSayDoesNotTakeTheSeriesAway) {
  for (const Lines& rules : std::vector<Lines>{{"FREQ=WEEKLY", "FREQ=YEARLY;BYWEEKNO=24"},
                                               {"FREQ=YEARLY;BYWEEKNO=24", "FREQ=WEEKLY"}}) {
    const auto items = Strict(Series("2.0", rules, kStart));
    EXPECT_THAT(StartsAndRules(items), ElementsAre("20260612T090000 W1 FR #0"));
    ASSERT_THAT(items, SizeIs(1));
    EXPECT_THAT(items[0].report.dropped, Contains(Key("RRULE")));
    EXPECT_THAT(items[0].text, testing::HasSubstr("Repeats=3A"));
  }
}

TEST_F(RuleFacts, SeveralSeriesOfOneRuleEndWithIt) {
  // The 1st, the 15th, the 1st.
  const auto items =
      Strict(Series("2.0", {"FREQ=MONTHLY;BYMONTHDAY=1,15;COUNT=3"}, "20260601T090000"));
  ASSERT_THAT(items, SizeIs(2));
  const Lines found = StartsAndRules(items);
  EXPECT_THAT(found[0],
              testing::AnyOf("20260601T090000 MD1 1 20260701T000000", "20260601T090000 MD1 1 #2"));
  EXPECT_THAT(found[1], testing::AnyOf("20260615T090000", "20260615T090000 MD1 15 #1",
                                       "20260615T090000 MD1 15 20260615T000000",
                                       "20260615T090000 MD1 15 20260701T000000"));
}

}  // namespace
}  // namespace calendar_facts_rules_test
