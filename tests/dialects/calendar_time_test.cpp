// Dates, durations and offsets as texts, in the forms in which programs write them.
#include "dialects/calendar_time.h"

#include <gtest/gtest.h>

namespace calendar_time_test {
namespace {

using dialects::DurationText;
using dialects::kSecondsPerDay;
using dialects::kSecondsPerHour;
using dialects::kSecondsPerMinute;
using dialects::ReadDuration;
using dialects::ReadOffset;

TEST(OffsetFromUtc, IsReadWithAsManyDigitsAsItsWriterHad) {
  EXPECT_EQ(ReadOffset("+1"), kSecondsPerHour);
  EXPECT_EQ(ReadOffset("+01"), kSecondsPerHour);
  EXPECT_EQ(ReadOffset("-530"), -(5 * kSecondsPerHour + 30 * kSecondsPerMinute));
  EXPECT_EQ(ReadOffset("-0530"), -(5 * kSecondsPerHour + 30 * kSecondsPerMinute));
  EXPECT_EQ(ReadOffset(" +05:30 "), 5 * kSecondsPerHour + 30 * kSecondsPerMinute);
  EXPECT_EQ(ReadOffset("+005328"), 53 * kSecondsPerMinute + 28);
}

TEST(OffsetFromUtc, IsNoneThatNoClockHas) {
  EXPECT_EQ(ReadOffset("+1559"), 15 * kSecondsPerHour + 59 * kSecondsPerMinute);
  EXPECT_EQ(ReadOffset("+1600"), std::nullopt);
  EXPECT_EQ(ReadOffset("+0160"), std::nullopt);
  EXPECT_EQ(ReadOffset("+010060"), std::nullopt);
  EXPECT_EQ(ReadOffset("+0100000"), std::nullopt);
  EXPECT_EQ(ReadOffset("+"), std::nullopt);
  EXPECT_EQ(ReadOffset("0100"), std::nullopt);
  EXPECT_EQ(ReadOffset("+1h"), std::nullopt);
}

TEST(Duration, IsTheSumOfItsUnits) {
  EXPECT_EQ(ReadDuration("PT15M"), 15 * kSecondsPerMinute);
  EXPECT_EQ(ReadDuration("P2W"), 14 * kSecondsPerDay);
  EXPECT_EQ(ReadDuration("-P1DT2H3M4S"),
            -(kSecondsPerDay + 2 * kSecondsPerHour + 3 * kSecondsPerMinute + 4));
  EXPECT_EQ(ReadDuration("+p1dt1h"), kSecondsPerDay + kSecondsPerHour);
  EXPECT_EQ(ReadDuration("PT0S"), 0);
}

// Writers that always write the letter may have nothing to follow it.
TEST(Duration, MayEndWithTheLetterOfTheTime) { EXPECT_EQ(ReadDuration("P1DT"), kSecondsPerDay); }

TEST(Duration, IsNoneWithoutANumberOrAUnit) {
  for (const char* text : {"", "P", "PT", "1D", "P1", "PD", "P1Y", "P-1D", "P1234567890S"}) {
    EXPECT_EQ(ReadDuration(text), std::nullopt) << text;
  }
}

TEST(Duration, IsWrittenInDaysWhereItHasOnlyThose) {
  EXPECT_EQ(DurationText(-2 * kSecondsPerDay), "-P2D");
  EXPECT_EQ(DurationText(90 * kSecondsPerMinute), "PT90M");
  EXPECT_EQ(DurationText(-kSecondsPerMinute - 5), "-PT1M5S");
  EXPECT_EQ(DurationText(0), "PT0M");
}

}  // namespace
}  // namespace calendar_time_test
