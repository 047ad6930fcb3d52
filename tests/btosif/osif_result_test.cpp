#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "osif.h"

namespace osif_result_test {
namespace {

struct CodeText {
  uint32_t code;
  const WCHAR* text;
};

// "Code7"; "CodeMinus1" for what a signed number shows as -1.
std::string NameOf(const testing::TestParamInfo<CodeText>& test) {
  const auto number = static_cast<int64_t>(static_cast<int32_t>(test.param.code));
  return number < 0 ? "CodeMinus" + std::to_string(-number) : "Code" + std::to_string(number);
}

class ResultText : public testing::TestWithParam<CodeText> {};

TEST_P(ResultText, IsFixed) {
  EXPECT_EQ(std::u16string(OSIF_CodeToString(GetParam().code)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    OfEachCode, ResultText,
    testing::Values(
        CodeText{0, u"OK"}, CodeText{1, u"General failure"},
        CodeText{2, u"The Interface is not opened"}, CodeText{3, u"The object store is not opened"},
        CodeText{4, u"Reached the end-of-store"}, CodeText{5, u"End of file (EOF) reached"},
        CodeText{6, u"The object was not found"}, CodeText{7, u"Could not open the file"},
        CodeText{8, u"The stream of data does not contain a valid object"},
        CodeText{9, u"The object id is invalid"},
        CodeText{10, u"The object is missing a required field"},
        CodeText{11, u"memory allocation error"}, CodeText{12, u"the change log is not opened"},
        CodeText{13, u"gap between requested anchor and first entry"},
        CodeText{14, u"General PIM Error"}, CodeText{15, u"The PIM is not opened"},
        CodeText{16, u"Not Implemented"}, CodeText{17, u"The type is not supported"},
        CodeText{18, u"Parsing successful"}, CodeText{19, u"Parsing warning"},
        CodeText{20, u"Parsing error"}),
    NameOf);

INSTANTIATE_TEST_SUITE_P(
    OfUnknownCodes, ResultText,
    testing::Values(CodeText{21, u"Unknown OSIF error, code=21"},
                    CodeText{12345, u"Unknown OSIF error, code=12345"},
                    CodeText{0x7FFFFFFF, u"Unknown OSIF error, code=2147483647"},
                    CodeText{0x80000000, u"Unknown OSIF error, code=-2147483648"},
                    CodeText{0xFFFFFFFF, u"Unknown OSIF error, code=-1"}),
    NameOf);

TEST(ResultCodes, HaveTheNumbersThatCallersCompareWith) {
  const uint32_t codes[] = {OSIF_OK,
                            OSIF_ERR_GENERAL,
                            OSIF_ERR_NOT_OPENED,
                            OSIF_ERR_STORE_NOT_OPENED,
                            OSIF_ERR_END_OF_STORE,
                            OSIF_ERR_EOF,
                            OSIF_ERR_NOT_FOUND,
                            OSIF_ERR_FILE_OPEN,
                            OSIF_ERR_INVALID_STREAM,
                            OSIF_ERR_INVALID_ID,
                            OSIF_ERR_MISSING_FIELD,
                            OSIF_ERR_NO_MEMORY,
                            OSIF_ERR_CL_NOT_OPENED,
                            OSIF_ERR_CL_GAP,
                            OSIF_ERR_PIM,
                            OSIF_ERR_PIM_NOT_OPENED,
                            OSIF_ERR_NOT_IMPLEMENTED,
                            OSIF_ERR_TYPE_NOT_SUPPORTED,
                            OSIF_PARSE_OK,
                            OSIF_PARSE_WARNING,
                            OSIF_PARSE_ERROR};
  for (uint32_t number = 0; number <= 20; ++number) EXPECT_EQ(codes[number], number);
}

TEST(ResultCodes, GoWithStoreNumbersFromContactsToTheOutbox) {
  EXPECT_EQ(OSIF_STORE_PB, 0);
  EXPECT_EQ(OSIF_STORE_CAL, 1);
  EXPECT_EQ(OSIF_STORE_NOTE, 2);
  EXPECT_EQ(OSIF_STORE_MSG_IN, 3);
  EXPECT_EQ(OSIF_STORE_MSG_SENT, 4);
  EXPECT_EQ(OSIF_STORE_MSG_OUT, 5);
}

TEST(ResultTexts, OfZeroAndTwentyAreTheFirstAndTheLastFixedOne) {
  EXPECT_EQ(std::u16string(OSIF_CodeToString(0)), u"OK");
  EXPECT_EQ(std::u16string(OSIF_CodeToString(20)), u"Parsing error");
}

TEST(ResultTexts, OfTwentyOneAndOfAllBitsSetHaveTheSignedNumber) {
  EXPECT_EQ(std::u16string(OSIF_CodeToString(21)), u"Unknown OSIF error, code=21");
  EXPECT_EQ(std::u16string(OSIF_CodeToString(0xFFFFFFFF)), u"Unknown OSIF error, code=-1");
}

TEST(ResultTexts, OfTwoUnknownCodesShareOneBufferThatHoldsTheSecond) {
  const WCHAR* first = OSIF_CodeToString(21);
  const WCHAR* second = OSIF_CodeToString(22);
  EXPECT_EQ(first, second);
  EXPECT_EQ(std::u16string(first), u"Unknown OSIF error, code=22");
}

TEST(ResultTexts, OfKnownCodesStayWhenAnUnknownOneIsAskedFor) {
  const WCHAR* known = OSIF_CodeToString(OSIF_ERR_PIM);
  OSIF_CodeToString(21);
  EXPECT_EQ(std::u16string(known), u"General PIM Error");
  EXPECT_EQ(OSIF_CodeToString(OSIF_ERR_PIM), known);
}

TEST(ResultTexts, LeaveTheBufferOfAnUnknownCodeWhenAKnownOneIsAskedFor) {
  const WCHAR* unknown = OSIF_CodeToString(99);
  OSIF_CodeToString(OSIF_OK);
  EXPECT_EQ(std::u16string(unknown), u"Unknown OSIF error, code=99");
}

}  // namespace
}  // namespace osif_result_test
