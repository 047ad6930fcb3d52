#include "BtOsif_pol/pol_id.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace pol_id_test {
namespace {

struct IdCase {
  const char* text;
  std::optional<LONG> number;
};

class ReadId : public testing::TestWithParam<IdCase> {};

TEST_P(ReadId, GivesTheNumberOrNothing) {
  EXPECT_EQ(pol_ReadId(GetParam().text), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(WithTheDigitsInEitherCase, ReadId,
                         testing::Values(IdCase{"0000002a", 42}, IdCase{"0000002A", 42},
                                         IdCase{"2a", 42}, IdCase{"2A", 42}, IdCase{"0", 0},
                                         IdCase{"1a2b", 0x1a2b}, IdCase{"00001a2b", 0x1a2b},
                                         IdCase{"7fffffff", 0x7fffffff}));

INSTANTIATE_TEST_SUITE_P(WithLeadingBlanksAndZeros, ReadId,
                         testing::Values(IdCase{"  2a", 42}, IdCase{"\t2a", 42}, IdCase{"0x2a", 42},
                                         IdCase{" 0X2A", 42},
                                         IdCase{"00000000000000000000000000000000002a", 42}));

INSTANTIATE_TEST_SUITE_P(UpToTheFirstOtherCharacter, ReadId,
                         testing::Values(IdCase{"2axyz", 42}, IdCase{"2a 33", 42},
                                         IdCase{"2a;", 42}));

INSTANTIATE_TEST_SUITE_P(BeyondThePositiveNumbers, ReadId,
                         testing::Values(IdCase{"80000001", static_cast<LONG>(0x80000001u)},
                                         IdCase{"ffffffff", -1}));

INSTANTIATE_TEST_SUITE_P(WithoutANumber, ReadId,
                         testing::Values(IdCase{"", std::nullopt}, IdCase{"xyz", std::nullopt},
                                         IdCase{" ", std::nullopt}, IdCase{"-", std::nullopt},
                                         IdCase{"g2a", std::nullopt}));

INSTANTIATE_TEST_SUITE_P(
    Beyond32Bits, ReadId,
    testing::Values(IdCase{"100000000", std::nullopt}, IdCase{"10000002a", std::nullopt},
                    IdCase{"ffffffffffffffffffffffffffffffffffffffff", std::nullopt}));

std::string Written(LONG oid) {
  char id[OSIF_ID_SIZE] = "before";
  pol_WriteId(oid, id);
  return id;
}

TEST(WriteId, GivesEightLowerCaseDigits) {
  EXPECT_EQ(Written(42), "0000002a");
  EXPECT_EQ(Written(1), "00000001");
  EXPECT_EQ(Written(0x1A2B3C4D), "1a2b3c4d");
}

TEST(WriteId, GivesNegativeIdentifiersTheirBits) {
  EXPECT_EQ(Written(static_cast<LONG>(0x80000001u)), "80000001");
}

TEST(WriteId, NeverWritesAnIdentifierOfZero) { EXPECT_EQ(Written(0), "before"); }

TEST(WriteId, LeavesANullBufferAlone) { pol_WriteId(42, nullptr); }

TEST(WriteId, IsReadBackAsTheSameNumber) {
  for (LONG oid : {1, 42, 0x7fffffff, -1, static_cast<LONG>(0x80000001u)}) {
    EXPECT_EQ(pol_ReadId(Written(oid).c_str()), oid);
  }
}

}  // namespace
}  // namespace pol_id_test
