#include "btosif/osif_util/ascii.h"

#include <gtest/gtest.h>

namespace ascii_test {
namespace {

TEST(Ascii, LettersAloneHaveAnUpperCase) {
  EXPECT_EQ(ToUpper("Text/Plain; name=\xE4z{`@[09"), "TEXT/PLAIN; NAME=\xE4Z{`@[09");
  EXPECT_EQ(ToUpper(""), "");
}

TEST(Ascii, WordsAreEqualInAnyCaseAndOfTheSameLengthOnly) {
  EXPECT_TRUE(EqualsIgnoringCase("vCard", "VCARD"));
  EXPECT_TRUE(EqualsIgnoringCase("", ""));
  EXPECT_FALSE(EqualsIgnoringCase("VCARD", "VCARDS"));
  EXPECT_FALSE(EqualsIgnoringCase("VCARD", "VCAR"));
  EXPECT_FALSE(EqualsIgnoringCase("a{", "A["));
}

TEST(Ascii, AWordIsFoundAtTheStartOrAnywhere) {
  EXPECT_TRUE(StartsIgnoringCase("begin:vcard", "BEGIN"));
  EXPECT_FALSE(StartsIgnoringCase("begi", "BEGIN"));
  EXPECT_TRUE(ContainsIgnoringCase("x;charset=utf-8", "CHARSET"));
  EXPECT_TRUE(ContainsIgnoringCase("charset", "CHARSET"));
  EXPECT_FALSE(ContainsIgnoringCase("charse", "CHARSET"));
}

TEST(Ascii, ATextIsCutToTheRoomOfItsField) {
  char field[4] = "xxx";
  EXPECT_TRUE(CopyBounded(field, "abc"));
  EXPECT_STREQ(field, "abc");
  EXPECT_FALSE(CopyBounded(field, "abcd"));
  EXPECT_STREQ(field, "abc");
  EXPECT_TRUE(CopyBounded(field, ""));
  EXPECT_STREQ(field, "");
}

}  // namespace
}  // namespace ascii_test
