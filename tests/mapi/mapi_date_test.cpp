// The forms of a message's date, and the delivery time that they become.
#include "mapi/mapi_date.h"

#include "mapi/mapi_mail.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_date_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int64_t kMorning = 1009966272;  // 2 January 2002, 10:11:12 UTC
constexpr int64_t kHour = 3600;
constexpr int64_t kMinute = 60;

class MapiDate : public OpenFakeMapiTest {
 protected:
  // The delivery time of a message with this date, in seconds since 1970.
  int64_t Delivered(std::string_view date) {
    mapi_.created.clear();
    MailRecord record;
    record.Date(date);
    const FakeMail& mail = Add(record);
    EXPECT_TRUE(mail.Has(PR_MESSAGE_DELIVERY_TIME)) << date;
    const FILETIME time = mail.Get(PR_MESSAGE_DELIVERY_TIME).time;
    EXPECT_EQ(Ticks(time) % 10000000, 0u) << "a whole second";
    return Unix(time);
  }
};

struct DateCase {
  const char* text;
  int64_t time;
};

class MapiDateForm : public MapiDate, public testing::WithParamInterface<DateCase> {};

TEST_P(MapiDateForm, IsReadTheSameInEveryTimeZone) {
  for (const char* name : kFiveZones) {
    TimeZone zone(name);
    EXPECT_EQ(Delivered(GetParam().text), GetParam().time) << GetParam().text << " in " << name;
  }
}

// Every one says which zone it is in.
INSTANTIATE_TEST_SUITE_P(
    Forms, MapiDateForm,
    testing::Values(DateCase{"Wed, 02 Jan 2002 10:11:12 +0000", kMorning},
                    DateCase{"02 Jan 2002 10:11:12 +0000", kMorning},  // without the day's name
                    DateCase{"2 Jan 2002 10:11:12 +0000", kMorning},
                    DateCase{"Wed, 2 Jan 2002 10:11 +0000", kMorning - 12},  // without seconds
                    DateCase{"2 Jan 2002 10:11 UT", kMorning - 12},
                    DateCase{"Wed, 02 Jan 2002 11:11:12 +0100", kMorning},
                    DateCase{"Wed, 02 Jan 2002 05:11:12 -0500", kMorning},
                    DateCase{"Wed, 02 Jan 2002 15:41:12 +0530", kMorning},
                    DateCase{"Wed, 02 Jan 2002 06:41:12 -0330", kMorning},
                    DateCase{"Thu, 03 Jan 2002 00:11:12 +1400", kMorning},  // another day there
                    DateCase{"Tue, 01 Jan 2002 22:11:12 -1200", kMorning},
                    DateCase{"Wed, 02 Jan 2002 10:11:12 GMT", kMorning},
                    DateCase{"Wed, 02 Jan 2002 10:11:12 UT", kMorning},
                    DateCase{"Wed, 02 Jan 2002 10:11:12 UTC", kMorning},
                    DateCase{"Wed, 02 Jan 2002 10:11:12 Z", kMorning},
                    DateCase{"Wed, 02 Jan 2002 10:11:12 -0000", kMorning},
                    DateCase{"Wed, 02 Jan 2002 05:11:12 EST", kMorning},
                    DateCase{"Wed, 02 Jan 2002 06:11:12 EDT", kMorning},
                    DateCase{"Wed, 02 Jan 2002 04:11:12 CST", kMorning},
                    DateCase{"Wed, 02 Jan 2002 05:11:12 CDT", kMorning},
                    DateCase{"Wed, 02 Jan 2002 03:11:12 MST", kMorning},
                    DateCase{"Wed, 02 Jan 2002 04:11:12 MDT", kMorning},
                    DateCase{"Wed, 02 Jan 2002 02:11:12 PST", kMorning},
                    DateCase{"Wed, 02 Jan 2002 03:11:12 PDT", kMorning},
                    DateCase{"Wed, 02 Jan 2002 10:11:12 XYZ", kMorning},  // an unknown zone
                    DateCase{"Wed, 02 Jan 2002 11:11:12 +0100 (MET)", kMorning},
                    DateCase{"Wed, 02 Jan 02 10:11:12 GMT", kMorning},
                    DateCase{"Wed, 02 Jan 2002 10:11:12 A", kMorning},
                    DateCase{"Fri, 31 Dec 1999 23:59:59 GMT", 946684799},
                    DateCase{"Tue, 29 Feb 2000 00:00:00 GMT", 951782400},
                    DateCase{"20020102T101112Z", kMorning}));

// As a value stands after the ":".
INSTANTIATE_TEST_SUITE_P(WithBlanksAround, MapiDateForm,
                         testing::Values(DateCase{" Wed, 02 Jan 2002 10:11:12 GMT", kMorning},
                                         DateCase{" 20020102T101112Z", kMorning},
                                         DateCase{"\t 20020102T101112Z", kMorning},
                                         DateCase{"20020102T101112Z ", kMorning},
                                         DateCase{"  Wed, 02 Jan 2002 10:11:12 GMT\t", kMorning}));

// Noon of the 15th, 2005.
INSTANTIATE_TEST_SUITE_P(Months, MapiDateForm,
                         testing::Values(DateCase{"15 Jan 2005 12:00:00 GMT", 1105790400},
                                         DateCase{"15 Feb 2005 12:00:00 GMT", 1108468800},
                                         DateCase{"15 Mar 2005 12:00:00 GMT", 1110888000},
                                         DateCase{"15 Apr 2005 12:00:00 GMT", 1113566400},
                                         DateCase{"15 May 2005 12:00:00 GMT", 1116158400},
                                         DateCase{"15 Jun 2005 12:00:00 GMT", 1118836800},
                                         DateCase{"15 Jul 2005 12:00:00 GMT", 1121428800},
                                         DateCase{"15 Aug 2005 12:00:00 GMT", 1124107200},
                                         DateCase{"15 Sep 2005 12:00:00 GMT", 1126785600},
                                         DateCase{"15 Oct 2005 12:00:00 GMT", 1129377600},
                                         DateCase{"15 Nov 2005 12:00:00 GMT", 1132056000},
                                         DateCase{"15 Dec 2005 12:00:00 GMT", 1134648000}));

// RFC 2822, section 4.3: two digits up to 49 are of this century, three count from 1900.
INSTANTIATE_TEST_SUITE_P(ShortYears, MapiDateForm,
                         testing::Values(DateCase{"1 Jan 00 00:00:00 GMT", 946684800},
                                         DateCase{"1 Jan 49 00:00:00 GMT", 2493072000},
                                         DateCase{"1 Jan 50 00:00:00 GMT", -631152000},
                                         DateCase{"1 Jan 99 00:00:00 GMT", 915148800},
                                         DateCase{"1 Jan 102 00:00:00 GMT", 1009843200}));

class MapiDateLocal : public MapiDate, public testing::WithParamInterface<DateCase> {};

TEST_P(MapiDateLocal, IsLocalWithoutAZone) {
  {
    TimeZone zone("UTC");
    EXPECT_EQ(Delivered(GetParam().text), GetParam().time);
  }
  {
    TimeZone zone("Europe/Berlin");  // in winter an hour before UTC
    EXPECT_EQ(Delivered(GetParam().text), GetParam().time - kHour);
  }
  {
    TimeZone zone("America/New_York");  // in winter five hours behind
    EXPECT_EQ(Delivered(GetParam().text), GetParam().time + 5 * kHour);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Forms, MapiDateLocal,
    testing::Values(DateCase{"Wed, 02 Jan 2002 10:11:12", kMorning},
                    DateCase{"2 Jan 2002 10:11", kMorning - 12},
                    DateCase{"20020102T101112", kMorning},
                    DateCase{"20020102", kMorning - 10 * kHour - 11 * kMinute - 12},
                    // The extended form is read up to its hour.
                    DateCase{"2002-01-02T10:11:12", kMorning - 11 * kMinute - 12},
                    DateCase{"2002-01-02T10:11:12Z", kMorning - 11 * kMinute - 12},
                    DateCase{"2002-01-02", kMorning - 10 * kHour - 11 * kMinute - 12},
                    // The legacy form.
                    DateCase{"Jan 2 10:11:12 2002", kMorning},
                    DateCase{" Jan 2 10:11:12 2002 ", kMorning},
                    DateCase{" 20020102T101112", kMorning}, DateCase{"20020102T101112 ", kMorning},
                    DateCase{"2 Jan 2002 10:11 ", kMorning - 12},
                    DateCase{"Wed, Jan 2 10:11:12 2002", kMorning}));

TEST_F(MapiDate, FollowsTheZonesRulesForTheDateInQuestion) {
  // In summer two hours before UTC; 1 July 2002, 12:00:00 UTC is 1025524800.
  TimeZone zone("Europe/Berlin");
  EXPECT_EQ(Delivered("Mon, 01 Jul 2002 14:00:00"), 1025524800);
  EXPECT_EQ(Delivered("Jul 1 14:00:00 2002"), 1025524800);
  EXPECT_EQ(Delivered("Mon, 01 Jul 2002 14:00:00 +0200"), 1025524800);
}

// ---- What is no date ----------------------------------------------------------------------------

class MapiNoDate : public MapiDate, public testing::WithParamInterface<const char*> {};

TEST_P(MapiNoDate, IsToldByTheReaderOfTheLegacyForm) {
  FILETIME time = {1, 2};
  EXPECT_FALSE(mapi_DateToFileTime(GetParam(), &time));
  EXPECT_EQ(Ticks(time), 0u);
  EXPECT_THAT(Trace(), ElementsAre("OSIF:  Error in date '" + std::string(GetParam()) +
                                   "' - cannot convert legacy Date"));
}

INSTANTIATE_TEST_SUITE_P(Texts, MapiNoDate,
                         testing::Values("tomorrow", "Wed,", "Wed, 02", "Wed, 02 Jan",
                                         "Wed, 02 Jan 2002 now", "Jan 2 10:11:12"));

TEST_F(MapiDate, AnUnknownMonthOfTheLegacyFormIsTold) {
  FILETIME time = {1, 2};
  EXPECT_FALSE(mapi_DateToFileTime("Wed, JAN 2 10:11:12 2002", &time));
  EXPECT_EQ(Ticks(time), 0u);
  EXPECT_THAT(Trace(),
              ElementsAre("OSIF:  Error in date 'Wed, JAN 2 10:11:12 2002' - Invalid Month part "
                          "'JAN' in legacy Date"));
}

TEST_F(MapiDate, ADateThatIsReadIsNotToldOf) {
  FILETIME time = {};
  EXPECT_TRUE(mapi_DateToFileTime("Wed, 02 Jan 2002 10:11:12 +0100", &time));
  EXPECT_TRUE(mapi_DateToFileTime("Wed, Jan 2 10:11:12 2002", &time));
  EXPECT_THAT(Trace(), IsEmpty());
}

class MapiImpossibleDate : public MapiDate, public testing::WithParamInterface<const char*> {};

TEST_P(MapiImpossibleDate, IsNone) {
  FILETIME time = {1, 2};
  EXPECT_FALSE(mapi_DateToFileTime(GetParam(), &time)) << Unix(time);
  EXPECT_EQ(Ticks(time), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, MapiImpossibleDate,
    testing::Values("Fri, 30 Feb 2001 10:11:12 GMT", "32 Jan 2002 10:11:12 GMT",
                    "0 Jan 2002 10:11:12 GMT", "2 Jan 2002 25:00:00 GMT", "2 Jan 2002 10:60:00 GMT",
                    "99999999999 Jan 2002 10:11:12 GMT", "2 Jan 99999999999 10:11:12 GMT",
                    "2 Jan -2002 10:11:12 GMT", "2 Foo 2002 10:11:12 GMT", "Jan 2002 10:11:12 GMT",
                    "2 Jan 10:11:12 GMT", "2 Jan 2002 GMT", "2 Jan 2002 10 GMT",
                    "2 Jan 2002 :11:12 GMT", "2 Jan 2002 10:11:60x GMT", "2 2002 10:11:12 GMT",
                    "20021302", "20020230T101112Z", "2002-13-02"));

TEST_F(MapiDate, AMessageWithoutAReadableDateIsStoredAllTheSame) {
  MailRecord record;
  record.Subject("Lunch").Date("tomorrow");
  EXPECT_EQ(Add(record).Text(PR_SUBJECT), u"Lunch");
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_AddMail() Folder:",
                                   "OSIF:  Error in date 'tomorrow' - cannot convert legacy Date",
                                   "       MAPI_AddMail() returns 0"));
}

TEST_F(MapiDate, ADateReadBackIsTheSameMoment) {
  TimeZone zone("Asia/Kolkata");
  FakeMail& mail = mapi_.Keep(mapi_.inbox, "\x01");
  mail.Put(FakeValue::Time(PR_MESSAGE_DELIVERY_TIME, FileTime(kMorning)));
  OwnedObject record(OSIF_STORE_MSG_IN);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "01", *record)), OSIF_OK);
  EXPECT_EQ(Delivered(record->message.date), kMorning);
}

}  // namespace
}  // namespace mapi_date_test
