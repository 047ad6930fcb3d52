#include "btosif/osif_util/property_split.h"

#include <gtest/gtest.h>

#include <string>

namespace property_split_test {
namespace {

struct Split {
  std::string name;
  std::string params;
  std::string value;
};

Split SplitLine(const std::string& line) {
  char name[kNameRoom] = "before";
  char params[kParamRoom] = "before";
  const char* value = SplitProperty(name, params, line.c_str());
  EXPECT_GE(value, line.c_str());
  EXPECT_LE(value, line.c_str() + line.size());
  return {name, params, value};
}

struct SplitCase {
  const char* line;
  const char* name;
  const char* params;
  const char* value;
};

class SplitPropertyTest : public testing::TestWithParam<SplitCase> {};

TEST_P(SplitPropertyTest, GivesNameParametersAndValue) {
  Split split = SplitLine(GetParam().line);
  EXPECT_EQ(split.name, GetParam().name);
  EXPECT_EQ(split.params, GetParam().params);
  EXPECT_EQ(split.value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SplitPropertyTest,
    testing::Values(
        SplitCase{"N:Lee;Ann", "N", "", "Lee;Ann"}, SplitCase{"TEL;HOME:1", "TEL", "HOME", "1"},
        SplitCase{"TEL;HOME;VOICE:1", "TEL", "HOME;VOICE", "1"}, SplitCase{"N:", "N", "", ""},
        SplitCase{"TEL;HOME:", "TEL", "HOME", ""}, SplitCase{"TEL;:1", "TEL", "", "1"},
        SplitCase{":1", "", "", "1"}, SplitCase{";HOME:1", "", "HOME", "1"},
        SplitCase{"URL:http://x:80/;a", "URL", "", "http://x:80/;a"},
        SplitCase{"N: Lee ", "N", "", " Lee "},  // blanks of a value stay
        SplitCase{" N ; CHARSET = UTF-8 :x", " N ", " CHARSET = UTF-8 ", "x"},
        SplitCase{"N\\;X:y", "N\\;X", "", "y"},     // both characters are kept
        SplitCase{"N\\\\;X:y", "N\\\\", "X", "y"},  // the backslash is protected
        SplitCase{"N\\:y", "N\\", "", "y"},         // ":" cannot be protected
        SplitCase{"N\\x:y", "N\\x", "", "y"}, SplitCase{"A;B\\;C\\\\:y", "A", "B\\;C\\\\", "y"},
        SplitCase{"A;B\\:y", "A", "B\\", "y"},
        SplitCase{"A;B=\"c:d\":y", "A", "B=\"c", "d\":y"},  // quotes protect nothing
        SplitCase{"N", "N", "", ""},                        // no delimiter: no value
        SplitCase{"TEL;HOME", "TEL", "HOME", ""}, SplitCase{"", "", "", ""},
        SplitCase{"N\\", "N\\", "", ""}));

TEST(SplitProperty, ABackslashBeforeASemicolonInANameKeepsBothAndSplitsNothing) {
  Split split = SplitLine("A\\;B;HOME:x");
  EXPECT_EQ(split.name, "A\\;B");
  EXPECT_EQ(split.params, "HOME");
  EXPECT_EQ(split.value, "x");
}

TEST(SplitProperty, ALineWithoutAColonOrASemicolonHasAnEmptyValue) {
  Split split = SplitLine("just text");
  EXPECT_EQ(split.name, "just text");
  EXPECT_EQ(split.params, "");
  EXPECT_EQ(split.value, "");
}

TEST(SplitPropertyRoom, ANameOf60CharactersIsCutToItsFirst51) {
  EXPECT_EQ(SplitLine(std::string(60, 'N') + ";HOME:x").name, std::string(51, 'N'));
  EXPECT_EQ(SplitLine(std::string(60, 'N') + ";HOME:x").params, "HOME");
  EXPECT_EQ(SplitLine(std::string(60, 'N') + ":x").value, "x");
}

TEST(SplitPropertyRoom, HoldsANameOf51Characters) {
  for (size_t length : {50u, 51u}) {
    EXPECT_EQ(SplitLine(std::string(length, 'N') + ":x").name, std::string(length, 'N'));
  }
  EXPECT_EQ(SplitLine(std::string(52, 'N') + ":x").name, std::string(51, 'N'));
}

TEST(SplitPropertyRoom, HoldsAParameterTextOf127Characters) {
  for (size_t length : {126u, 127u}) {
    EXPECT_EQ(SplitLine("N;" + std::string(length, 'P') + ":x").params, std::string(length, 'P'));
  }
  Split split = SplitLine("N;" + std::string(128, 'P') + ":x");
  EXPECT_EQ(split.params, std::string(127, 'P'));
  EXPECT_EQ(split.value, "x");
}

TEST(SplitPropertyRoom, AnEscapeIsCopiedOnlyWhenBothItsCharactersFit) {
  EXPECT_EQ(SplitLine(std::string(49, 'N') + "\\;:x").name, std::string(49, 'N') + "\\;");
  Split split = SplitLine(std::string(50, 'N') + "\\;:x");
  EXPECT_EQ(split.name, std::string(50, 'N'));
  EXPECT_EQ(split.value, "x");
}

TEST(SplitPropertyRoom, AnEscapeBeyondTheRoomStillProtects) {
  Split split = SplitLine(std::string(60, 'N') + "\\;NN:x");
  EXPECT_EQ(split.name, std::string(51, 'N'));
  EXPECT_EQ(split.params, "");
  EXPECT_EQ(split.value, "x");
}

TEST(SplitPropertyRoom, AParameterTextOfAMegabyteIsCut) {
  Split split = SplitLine("N;" + std::string(1 << 20, 'P') + ":value");
  EXPECT_EQ(split.params, std::string(127, 'P'));
  EXPECT_EQ(split.value, "value");
}

std::string Stripped(std::string text) {
  char* same = StripBlanks(text.data());
  EXPECT_EQ(same, text.data());
  return same;
}

TEST(StripBlanks, RemovesEveryBlankAndTabAnywhere) {
  EXPECT_EQ(Stripped(" \tA B\t\tC \t"), "ABC");
  EXPECT_EQ(Stripped("ABC"), "ABC");
  EXPECT_EQ(Stripped(" \t "), "");
  EXPECT_EQ(Stripped(""), "");
}

TEST(StripBlanks, KeepsOtherWhiteSpace) {
  EXPECT_EQ(Stripped("a\r\v\xA0"
                     "b"),
            "a\r\v\xA0"
            "b");
}

}  // namespace
}  // namespace property_split_test
