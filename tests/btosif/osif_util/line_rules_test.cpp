#include "btosif/osif_util/line_rules.h"

#include <gtest/gtest.h>

namespace line_rules_test {
namespace {

using namespace std::string_view_literals;

TEST(LineRules, ALineGoesOnAfterABlankOrATab) {
  EXPECT_TRUE(IsFoldCharacter(' '));
  EXPECT_TRUE(IsFoldCharacter('\t'));
  EXPECT_FALSE(IsFoldCharacter('\r'));
  EXPECT_FALSE(IsFoldCharacter('x'));
}

TEST(LineRules, AnEqualsSignThatIsLeftOverBreaksSoftly) {
  EXPECT_TRUE(EndsInSoftBreak("NOTE:a="));
  EXPECT_TRUE(EndsInSoftBreak("="));
  EXPECT_TRUE(EndsInSoftBreak("a==="));
}

TEST(LineRules, PairsOfEqualsSignsAreText) {
  EXPECT_FALSE(EndsInSoftBreak(""));
  EXPECT_FALSE(EndsInSoftBreak("a=b"));
  EXPECT_FALSE(EndsInSoftBreak("a=="));
  EXPECT_FALSE(EndsInSoftBreak("===="));
}

TEST(LineRules, OneLineEndIsTakenOff) {
  EXPECT_EQ(WithoutLineEnd("a\r\n"), "a");
  EXPECT_EQ(WithoutLineEnd("a\n"), "a");
  EXPECT_EQ(WithoutLineEnd("a\r\r\n"), "a\r");
  EXPECT_EQ(WithoutLineEnd("a\n\n"), "a\n");
  EXPECT_EQ(WithoutLineEnd("a\r"), "a\r");
  EXPECT_EQ(WithoutLineEnd(""), "");
}

TEST(LineRules, NothingCountsAfterACarriageReturnOrAZeroByte) {
  EXPECT_EQ(CutLine("abc"), "abc");
  EXPECT_EQ(CutLine("ab\rc"), "ab");
  EXPECT_EQ(CutLine("ab\0c"sv), "ab");
  EXPECT_EQ(CutLine("a\0b\rc"sv), "a");
  EXPECT_EQ(CutLine("a\rb\0c"sv), "a");
}

}  // namespace
}  // namespace line_rules_test
