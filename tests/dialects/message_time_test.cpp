#include "dialects/message_time.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include "tests/support/environment.h"

namespace message_time_test {
namespace {

using dialects::ReadMessageTime;

// The date as it is read; empty for none.
std::string Read(std::string_view text) {
  const auto time = ReadMessageTime(text);
  return time ? dialects::DateForPeople(*time) : "";
}

struct DateCase {
  const char* text;
  const char* read;
};

class Dates : public ::testing::TestWithParam<DateCase> {};

TEST_P(Dates, AreRead) { EXPECT_EQ(Read(GetParam().text), GetParam().read); }

INSTANTIATE_TEST_SUITE_P(
    MessageTime, Dates,
    ::testing::Values(DateCase{"24.12.2010 18:30:05", "2010-12-24 18:30:05"},
                      DateCase{"24/12/2010 18:30", "2010-12-24 18:30:00"},
                      DateCase{"12/24/2010 18:30:00", "2010-12-24 18:30:00"},
                      DateCase{"03.04.2010 01:02:03", "2010-04-03 01:02:03"},
                      DateCase{"2010/12/24 18:30:00", "2010-12-24 18:30:00"},
                      DateCase{"2010/12/24 18:30:00 GMT", "2010-12-24 18:30:00 +0000"},
                      DateCase{"2010-12-24T18:30:00Z", "2010-12-24 18:30:00 +0000"},
                      DateCase{"2010-12-24T18:30:00.250+05:30", "2010-12-24 18:30:00 +0530"},
                      DateCase{"24-12-10 6:30 PM", "2010-12-24 18:30:00"},
                      DateCase{"24-12-10 12:05 am", "2010-12-24 00:05:00"},
                      DateCase{"20101224T183000Z", "2010-12-24 18:30:00 +0000"},
                      DateCase{"20101224T183000", "2010-12-24 18:30:00"},
                      DateCase{"20101224183005", "2010-12-24 18:30:05"},
                      DateCase{"20101224", "2010-12-24 00:00:00"},
                      DateCase{"1293215400000", "2010-12-24 18:30:00 +0000"},
                      DateCase{"1293215400", "2010-12-24 18:30:00 +0000"},
                      DateCase{"Fri, 24 Dec 2010 18:30:00 -0330", "2010-12-24 18:30:00 -0330"},
                      DateCase{"24 Dec 10 18:30 EST", "2010-12-24 18:30:00 -0500"},
                      DateCase{"Fri Dec 24 18:30:00 2010", "2010-12-24 18:30:00"},
                      DateCase{"24-Dec-2010 18:30:00", "2010-12-24 18:30:00"}));

class NoDates : public ::testing::TestWithParam<const char*> {};

TEST_P(NoDates, AreNotRead) { EXPECT_EQ(Read(GetParam()), ""); }

INSTANTIATE_TEST_SUITE_P(MessageTime, NoDates,
                         ::testing::Values("", "yesterday", "31.02.2010 10:00:00",
                                           "24.12.2010 24:00", "24.12.2010 10:60",
                                           "24.12.2010 25:00", "12", "1234567",
                                           "99999999999999999999", "Dec", "1.2", "24 Dec"));

TEST(MessageTime, IsOnADayThatItsMonthHas) {
  const auto is_read = [](int year, int month, int day) {
    return !Read(std::to_string(year) + "/" + std::to_string(month) + "/" + std::to_string(day))
                .empty();
  };
  constexpr int kLastDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (int month = 1; month <= 12; ++month) {
    const int last = kLastDays[month - 1];
    EXPECT_TRUE(is_read(2010, month, last)) << month;
    EXPECT_FALSE(is_read(2010, month, last + 1)) << month;
  }
  EXPECT_TRUE(is_read(2012, 2, 29));
  EXPECT_TRUE(is_read(2000, 2, 29));
  EXPECT_FALSE(is_read(1900, 2, 29));
  EXPECT_FALSE(is_read(2012, 2, 30));
  EXPECT_FALSE(is_read(2010, 0, 1));
  EXPECT_FALSE(is_read(2010, 13, 1));
  EXPECT_FALSE(is_read(2010, 1, 0));
}

TEST(MessageTime, IsStrictAsMailAndIsoHaveIt) {
  EXPECT_TRUE(dialects::IsStrictDate("Fri, 24 Dec 2010 18:30:00 +0100"));
  EXPECT_TRUE(dialects::IsStrictDate(" 24 Dec 2010 18:30 GMT"));
  EXPECT_TRUE(dialects::IsStrictDate("20101224T183000Z"));
  EXPECT_FALSE(dialects::IsStrictDate("20101224T1830"));
  EXPECT_FALSE(dialects::IsStrictDate("24.12.2010 18:30:00"));
  EXPECT_FALSE(dialects::IsStrictDate("2010-12-24T18:30:00Z"));
  EXPECT_FALSE(dialects::IsStrictDate("24 Dec 2010 6:30 PM"));
  EXPECT_FALSE(dialects::IsStrictDate("Fri, 34 Dec 2010 18:30:00"));
}

TEST(MessageTime, IsWrittenForMailWithTheZoneThatItHas) {
  EXPECT_EQ(dialects::MailDate(*ReadMessageTime("24.12.2010 18:30:00")),
            "Fri, 24 Dec 2010 18:30:00");
  EXPECT_EQ(dialects::MailDate(*ReadMessageTime("2000-02-29T01:02:03-01:30")),
            "Tue, 29 Feb 2000 01:02:03 -0130");
}

TEST(MessageTime, IsWrittenForAMailboxInUtc) {
  EXPECT_EQ(dialects::MailboxDate(*ReadMessageTime("Sat, 1 Jan 2011 00:30:00 +0100")),
            "Fri Dec 31 23:30:00 2010");
}

}  // namespace
}  // namespace message_time_test
