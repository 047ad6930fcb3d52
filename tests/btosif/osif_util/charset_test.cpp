#include "btosif/osif_util/charset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

#include "btosif/osif_util/value_text.h"
#include "tests/support/files.h"
#include "tests/support/settings.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"
#include "tests/support/values.h"

namespace charset_test {
namespace {

using support::SetSetting;
using support::SetSystemCodePage;
using support::TraceReceiver;
using testing::ElementsAre;

class Charset : public support::TextTest {};

// ---- The table, row by row ----

struct Row {
  const char* name;
  uint32_t code_page;
  uint32_t read_as;        // the code page that the name stands for
  const char* written_as;  // the name that the code page is sent under
  WideView text;           // a sample, and its bytes
  std::string_view bytes;
};

constexpr WideView kGerman = u"Z\u00FCrich \u20AC";
constexpr WideView kLatin = u"Z\u00FCrich";
constexpr WideView kUmlauts = u"\u00A7\u00C4\u00D6\u00DC\u00E4\u00F6\u00FC\u00DF";
constexpr WideView kDanish = u"\u00C6\u00D8\u00C5\u00E6\u00F8\u00E5";
constexpr WideView kSwedish = u"\u00C4\u00D6\u00C5\u00E4\u00F6\u00E5";
constexpr WideView kPolish = u"\u0141\u00F3d\u017A";
constexpr WideView kRussian = u"\u041F\u0440\u0438\u0432\u0435\u0442";
constexpr WideView kGreek = u"\u0391\u03B8\u03AE\u03BD\u03B1";
constexpr WideView kTurkish = u"\u011F\u0131\u015F";
constexpr WideView kHebrew = u"\u05E9\u05DC\u05D5\u05DD";
constexpr WideView kArabic = u"\u0633\u0644\u0627\u0645";
constexpr WideView kBaltic = u"\u0100\u0113";
constexpr WideView kEsperanto = u"\u0109\u011D";
constexpr WideView kVietnamese = u"\u0111\u01A1";
constexpr WideView kThai = u"\u0E44\u0E17\u0E22";
constexpr WideView kJapan = u"\u65E5\u672C";
constexpr WideView kChinese = u"\u4E2D\u6587";
constexpr WideView kHangul = u"\uD55C\uAE00";
// Long enough to be told apart from other encodings by its bytes.
constexpr WideView kJapaneseSentence =
    u"\u65E5\u672C\u8A9E\u306E\u6587\u5B57\u30B3\u30FC\u30C9\u3092\u81EA\u52D5\u7684\u306B\u5224"
    u"\u5225\u3057\u307E\u3059\u3002";
constexpr std::string_view kJapaneseInShiftJis =
    "\x93\xFA\x96\x7B\x8C\xEA\x82\xCC\x95\xB6\x8E\x9A\x83\x52\x81\x5B\x83\x68\x82\xF0\x8E\xA9\x93"
    "\xAE\x93\x49\x82\xC9\x94\xBB\x95\xCA\x82\xB5\x82\xDC\x82\xB7\x81\x42";
constexpr std::string_view kJapaneseInEuc =
    "\xC6\xFC\xCB\xDC\xB8\xEC\xA4\xCE\xCA\xB8\xBB\xFA\xA5\xB3\xA1\xBC\xA5\xC9\xA4\xF2\xBC\xAB\xC6"
    "\xB0\xC5\xAA\xA4\xCB\xC8\xBD\xCA\xCC\xA4\xB7\xA4\xDE\xA4\xB9\xA1\xA3";
constexpr std::string_view kJapaneseInIso2022 =
    "\x1B$BF|K\\8l$NJ8;z%3!<%I$r<+F0E*$KH=JL$7$^$9!#\x1B(B";
constexpr WideView kKoreanSentence =
    u"\uC548\uB155\uD558\uC138\uC694. \uC774\uAC83\uC740 \uD55C\uAD6D\uC5B4\uB85C \uC4F4 "
    u"\uAE00\uC785\uB2C8\uB2E4.";
constexpr std::string_view kKoreanInEuc =
    "\xBE\xC8\xB3\xE7\xC7\xCF\xBC\xBC\xBF\xE4. \xC0\xCC\xB0\xCD\xC0\xBA \xC7\xD1\xB1\xB9\xBE\xEE"
    "\xB7\xCE \xBE\xB4 \xB1\xDB\xC0\xD4\xB4\xCF\xB4\xD9.";
constexpr std::string_view kKoreanInIso2022 =
    "\x1B$)C\x0E>H3gGO<<?d\x0F. \x0E@L0M@:\x0F \x0EGQ19>n7N\x0F \x0E>4\x0F \x0E"
    "1[@T4O4Y\x0F.";

constexpr Row kRows[] = {
    {"UTF-8", 65001, 65001, "UTF-8", kGerman, "Z\xC3\xBCrich \xE2\x82\xAC"},
    {"US-ASCII", 1252, 1252, "US-ASCII", kGerman, "Z\xFCrich \x80"},
    {"SHIFT-JIS", 932, 932, "SHIFT-JIS", u"\u30BD\u8868", "\x83\\\x95\\"},
    {"SJIS", 932, 932, "SHIFT-JIS", kJapan, "\x93\xFA\x96\x7B"},
    {"BIG5", 950, 950, "BIG5", kChinese, "\xA4\xA4\xA4\xE5"},
    {"UTF-7", 65000, 65000, "UTF-7", kLatin, "Z+APw-rich"},
    {"DIN_66003", 20106, 20106, "DIN_66003", kUmlauts, "@[\\]{|}~"},
    {"NS_4551-1", 20108, 20108, "NS_4551-1", kDanish, "[\\]{|}"},
    {"SEN_850200_B", 20107, 20107, "SEN_850200_B", kSwedish, "[\\]{|}"},
    {"_AUTODETECT", 50932, 50932, "_AUTODETECT", kJapaneseSentence, kJapaneseInShiftJis},
    {"_AUTODETECT_KR", 50949, 50949, "_AUTODETECT_KR", kKoreanSentence, kKoreanInEuc},
    {"CSISO2022JP", 50221, 50221, "CSISO2022JP", kJapan, "\x1B$BF|K\\\x1B(B"},
    {"EUC-KR", 51949, 51949, "EUC-KR", kHangul, "\xC7\xD1\xB1\xDB"},
    {"GB2312", 936, 936, "GB2312", kChinese, "\xD6\xD0\xCE\xC4"},
    {"HZ-GB-2312", 52936, 52936, "HZ-GB-2312", kChinese, "~{VPND~}"},
    {"IBM852", 852, 852, "IBM852", kPolish,
     "\x9D\xA2"
     "d\xAB"},
    {"IBM866", 866, 866, "IBM866", kRussian, "\x8F\xE0\xA8\xA2\xA5\xE2"},
    {"IRV", 20105, 20105, "IRV", u"\u00A4[1]\u203E", "$[1]~"},
    {"ISO-2022-JP", 50220, 50220, "ISO-2022-JP", kJapan, "\x1B$BF|K\\\x1B(B"},
    {"ISO-2022-JP", 50222, 50220, "ISO-2022-JP", kJapan, "\x1B$BF|K\\\x1B(B"},
    {"ISO-2022-KR", 50225, 50225, "ISO-2022-KR", kHangul, "\x1B$)C\x0EGQ1[\x0F"},
    {"ISO-8859-1", 1252, 1252, "US-ASCII", kGerman, "Z\xFCrich \x80"},
    {"ISO-8859-1", 28591, 1252, "ISO-8859-1", kLatin, "Z\xFCrich"},
    {"ISO-8859-2", 28592, 28592, "ISO-8859-2", kPolish,
     "\xA3\xF3"
     "d\xBC"},
    {"ISO-8859-3", 28593, 28593, "ISO-8859-3", kEsperanto, "\xE6\xF8"},
    {"ISO-8859-4", 28594, 28594, "ISO-8859-4", kBaltic, "\xC0\xBA"},
    {"ISO-8859-5", 28595, 28595, "ISO-8859-5", kRussian, "\xBF\xE0\xD8\xD2\xD5\xE2"},
    {"ISO-8859-6", 28596, 28596, "ISO-8859-6", kArabic, "\xD3\xE4\xC7\xE5"},
    {"ISO-8859-7", 28597, 28597, "ISO-8859-7", kGreek, "\xC1\xE8\xDE\xED\xE1"},
    {"ISO-8859-8", 28598, 28598, "ISO-8859-8", kHebrew, "\xF9\xEC\xE5\xED"},
    {"ISO-8859-9", 28599, 28599, "ISO-8859-9", kTurkish, "\xF0\xFD\xFE"},
    {"ISO-8859-15", 28605, 28605, "ISO-8859-15", u"\u20ACuro", "\xA4uro"},
    {"KOI8-R", 20866, 20866, "KOI8-R", kRussian, "\xF0\xD2\xC9\xD7\xC5\xD4"},
    {"KS_C_5601", 949, 949, "KS_C_5601", u"\uB620\uD55C\uAE00",
     "\x8C"
     "c\xC7\xD1\xB1\xDB"},
    {"WINDOWS-1250", 1250, 1250, "WINDOWS-1250", kPolish,
     "\xA3\xF3"
     "d\x9F"},
    {"WINDOWS-1251", 1251, 1251, "WINDOWS-1251", kRussian, "\xCF\xF0\xE8\xE2\xE5\xF2"},
    {"WINDOWS-1252", 1252, 1252, "US-ASCII", kGerman, "Z\xFCrich \x80"},
    {"WINDOWS-1253", 1253, 1253, "WINDOWS-1253", kGreek, "\xC1\xE8\xDE\xED\xE1"},
    {"WINDOWS-1254", 1254, 1254, "WINDOWS-1254", kTurkish, "\xF0\xFD\xFE"},
    {"WINDOWS-1255", 1255, 1255, "WINDOWS-1255", kHebrew, "\xF9\xEC\xE5\xED"},
    {"WINDOWS-1256", 1256, 1256, "WINDOWS-1256", kArabic, "\xD3\xE1\xC7\xE3"},
    {"WINDOWS-1257", 1257, 1257, "WINDOWS-1257", kBaltic, "\xC2\xE7"},
    {"WINDOWS-1258", 1258, 1258, "WINDOWS-1258", kVietnamese, "\xF0\xF5"},
    {"WINDOWS-874", 874, 874, "WINDOWS-874", kThai, "\xE4\xB7\xC2"},
    {"X-EUC", 51932, 51932, "X-EUC", kJapan, "\xC6\xFC\xCB\xDC"},
    {"EUC-JP", 51932, 51932, "X-EUC", kJapan, "\xC6\xFC\xCB\xDC"},
};

TEST_F(Charset, TheTableHasTheseRowsInThisOrder) {
  ASSERT_EQ(CharsetTable().size(), 46u);
  ASSERT_EQ(std::size(kRows), 46u);
  for (size_t i = 0; i < 46; ++i) {
    EXPECT_STREQ(CharsetTable()[i].name, kRows[i].name) << "row " << i;
    EXPECT_EQ(CharsetTable()[i].code_page, kRows[i].code_page) << "row " << i;
  }
}

class CharsetRowTest : public support::TextTest, public testing::WithParamInterface<Row> {};

TEST_P(CharsetRowTest, TheNameStandsForItsCodePage) {
  EXPECT_EQ(CharsetToCodePage(GetParam().name), GetParam().read_as);
}

TEST_P(CharsetRowTest, TheNameIsFoundInSmallLetters) {
  std::string name = GetParam().name;
  for (char& c : name) c = static_cast<char>(std::tolower(c));
  EXPECT_EQ(CharsetToCodePage(name), GetParam().read_as);
}

TEST_P(CharsetRowTest, TheCodePageIsWrittenUnderItsName) {
  EXPECT_STREQ(CodePageToCharset(GetParam().code_page), GetParam().written_as);
}

TEST_P(CharsetRowTest, TextIsReadFromItsBytes) {
  EXPECT_EQ(MultiByteToText(GetParam().code_page, GetParam().bytes), GetParam().text);
}

TEST_P(CharsetRowTest, TextIsWrittenAsItsBytes) {
  EXPECT_EQ(TextToMultiByte(GetParam().code_page, GetParam().text), GetParam().bytes);
}

// With the name as the output setting, and by a reader that has nothing but the text and its
// parameters.
TEST_P(CharsetRowTest, TextIsSentUnderTheNameAndReadAgain) {
  const Row& row = GetParam();
  SetSetting(u"DefaultOutputCharset", support::Wide(row.name));
  ValueList sent = support::MakeValue({}, {});
  PropertyValue_SetText(row.text, sent.get(), 0, 0);
  std::vector<std::string> params = support::ParamsOf(*sent);
  if (row.read_as == 1252) {
    EXPECT_THAT(params, testing::Not(testing::Contains(testing::HasSubstr("CHARSET"))));
  } else {
    EXPECT_THAT(params, testing::Contains(std::string("CHARSET=") + row.written_as));
  }
  std::string joined;
  for (const std::string& param : params) joined += (joined.empty() ? "" : ";") + param;
  ValueList received = support::Parsed(ComponentText(sent.get(), 0), joined);
  EXPECT_EQ(DecodedText(received.get()), row.text);
}

INSTANTIATE_TEST_SUITE_P(Table, CharsetRowTest, testing::ValuesIn(kRows), [](const auto& row) {
  std::string name = std::to_string(row.index + 1) + "_" + row.param.name;
  for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  return name;
});

TEST_F(Charset, JapaneseIsRecognisedInAnyOfItsThreeEncodings) {
  EXPECT_EQ(MultiByteToText(50932, kJapaneseInShiftJis), kJapaneseSentence);
  EXPECT_EQ(MultiByteToText(50932, kJapaneseInEuc), kJapaneseSentence);
  EXPECT_EQ(MultiByteToText(50932, kJapaneseInIso2022), kJapaneseSentence);
}

TEST_F(Charset, KoreanIsRecognisedInEitherOfItsEncodings) {
  EXPECT_EQ(MultiByteToText(50949, kKoreanInEuc), kKoreanSentence);
  EXPECT_EQ(MultiByteToText(50949, kKoreanInIso2022), kKoreanSentence);
}

TEST_F(Charset, PlainAsciiIsReadAsItIsInTheDetectingCodePages) {
  EXPECT_EQ(MultiByteToText(50932, "Hello; world"), u"Hello; world");
  EXPECT_EQ(MultiByteToText(50949, "Hello; world"), u"Hello; world");
}

TEST_F(Charset, ABackslashIsABackslashInShiftJis) {
  EXPECT_EQ(MultiByteToText(932, "a\\;b~"), u"a\\;b~");
  EXPECT_EQ(TextToMultiByte(932, u"a\\;b~"), "a\\;b~");
}

// ---- Names ----

TEST_F(Charset, AnUnknownNameHasNoCodePage) {
  EXPECT_EQ(CharsetToCodePage(""), 0u);
  EXPECT_EQ(CharsetToCodePage("KLINGON"), 0u);
  EXPECT_EQ(CharsetToCodePage("UTF-"), 0u);
  EXPECT_EQ(CharsetToCodePage("UTF-88"), 0u);
  EXPECT_EQ(CharsetToCodePage("NATIVE"), 0u);
  EXPECT_EQ(CharsetToCodePage(std::string(1 << 20, 'U')), 0u);
}

TEST_F(Charset, AnUnknownCodePageHasNoName) {
  EXPECT_EQ(CodePageToCharset(0), nullptr);
  EXPECT_EQ(CodePageToCharset(437), nullptr);
}

// ---- Which code page is used ----

TEST_F(Charset, TheNativeCodePageIsTheSystems) {
  SetSystemCodePage(1251);
  EXPECT_EQ(NativeCodePage(), 1251u);
}

TEST_F(Charset, TheNativeCodePageIsReadOnceAndKept) {
  SetSystemCodePage(1251);
  NativeCodePage();
  SetSystemCodePage(1250);
  EXPECT_EQ(NativeCodePage(), 1251u);
  ForgetCharsetChoices();
  EXPECT_EQ(NativeCodePage(), 1250u);
}

TEST_F(Charset, WithoutASettingTextGoesOutInUtf8AndComesInAs1252) {
  TraceReceiver trace;
  EXPECT_EQ(OutputCodePage(), 65001u);
  EXPECT_STREQ(SentCharsetName(OutputCodePage()), "UTF-8");
  EXPECT_EQ(InputCodePage(), 1252u);
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

TEST_F(Charset, AnEmptySettingIsNoSetting) {
  SetSetting(u"DefaultOutputCharset", u"");
  SetSetting(u"DefaultInputCharset", u"");
  EXPECT_EQ(OutputCodePage(), 65001u);
  EXPECT_EQ(InputCodePage(), 1252u);
}

TEST_F(Charset, ANameOfTheTableChoosesItsCodePage) {
  SetSetting(u"DefaultOutputCharset", u"SJIS");
  SetSetting(u"DefaultInputCharset", u"koi8-r");
  EXPECT_EQ(OutputCodePage(), 932u);
  EXPECT_STREQ(SentCharsetName(OutputCodePage()), "SHIFT-JIS");
  EXPECT_EQ(InputCodePage(), 20866u);
}

TEST_F(Charset, NativeChoosesTheSystemsCodePageSilently) {
  SetSystemCodePage(1251);
  SetSetting(u"DefaultOutputCharset", u"NATIVE");
  SetSetting(u"DefaultInputCharset", u"NATIVE");
  TraceReceiver trace;
  EXPECT_EQ(OutputCodePage(), 1251u);
  EXPECT_STREQ(SentCharsetName(OutputCodePage()), "WINDOWS-1251");
  EXPECT_EQ(InputCodePage(), 1251u);
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

TEST_F(Charset, AnUnknownOutputNameIsToldAndChoosesTheSystemsCodePage) {
  SetSystemCodePage(1251);
  SetSetting(u"DefaultOutputCharset", u"KLINGON");
  TraceReceiver trace;
  EXPECT_EQ(OutputCodePage(), 1251u);
  EXPECT_STREQ(SentCharsetName(OutputCodePage()), "WINDOWS-1251");
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Registry output CHARSET 'KLINGON' not valid, "
                                         "using native codepage"));
}

TEST_F(Charset, AnUnknownInputNameIsToldAndChoosesTheSystemsCodePage) {
  SetSystemCodePage(1251);
  SetSetting(u"DefaultInputCharset", u"KLINGON");
  TraceReceiver trace;
  EXPECT_EQ(InputCodePage(), 1251u);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Registry input CHARSET 'KLINGON' not valid, "
                                         "using native codepage"));
}

TEST_F(Charset, AnUnknownNameIsToldOnlyOnce) {
  SetSetting(u"DefaultOutputCharset", u"KLINGON");
  OutputCodePage();
  TraceReceiver trace;
  OutputCodePage();
  SentCharsetName(OutputCodePage());
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

TEST_F(Charset, CodePage1252IsSentUnderNoName) {
  for (const char16_t* name : {u"ISO-8859-1", u"WINDOWS-1252", u"US-ASCII"}) {
    ForgetCharsetChoices();
    SetSetting(u"DefaultOutputCharset", name);
    EXPECT_EQ(OutputCodePage(), 1252u);
    EXPECT_EQ(SentCharsetName(OutputCodePage()), nullptr);
  }
}

TEST_F(Charset, OtherCodePagesAreSentUnderTheirNamesAndUnknownOnesUnderNone) {
  EXPECT_EQ(SentCharsetName(1252), nullptr);
  EXPECT_STREQ(SentCharsetName(28591), "ISO-8859-1");
  EXPECT_STREQ(SentCharsetName(65001), "UTF-8");
  EXPECT_EQ(SentCharsetName(437), nullptr);
}

TEST_F(Charset, TheSettingsAreReadOnceAndKept) {
  OutputCodePage();
  InputCodePage();
  SetSetting(u"DefaultOutputCharset", u"KOI8-R");
  SetSetting(u"DefaultInputCharset", u"KOI8-R");
  EXPECT_EQ(OutputCodePage(), 65001u);
  EXPECT_STREQ(SentCharsetName(OutputCodePage()), "UTF-8");
  EXPECT_EQ(InputCodePage(), 1252u);
  ForgetCharsetChoices();
  EXPECT_EQ(OutputCodePage(), 20866u);
  EXPECT_STREQ(SentCharsetName(OutputCodePage()), "KOI8-R");
  EXPECT_EQ(InputCodePage(), 20866u);
}

// ---- The value of a CHARSET parameter ----

struct ParamCase {
  const char* parameter;
  const char* value;
};

class CharsetParam : public testing::TestWithParam<ParamCase> {};

TEST_P(CharsetParam, ValueStandsBehindTheFirstEqualsSign) {
  EXPECT_EQ(CharsetParamValue(GetParam().parameter), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Values, CharsetParam,
                         testing::Values(ParamCase{"CHARSET=UTF-8", "UTF-8"},
                                         ParamCase{"CHARSET=", ""}, ParamCase{"CHARSET", ""},
                                         ParamCase{"", ""},
                                         ParamCase{"CHARSET=UTF-8 and more", "UTF-8"},
                                         ParamCase{"CHARSET=\"UTF-8\"", "UTF-8"},
                                         ParamCase{"CHARSET=\"UTF-8\"and more", "UTF-8"},
                                         ParamCase{"CHARSET=\"ISO 8859\"", "ISO 8859"},
                                         ParamCase{"CHARSET=\"\"", ""},
                                         ParamCase{"CHARSET=A=B", "A=B"}));

TEST(CharsetParamLimit, Is260Characters) {
  EXPECT_EQ(CharsetParamValue("CHARSET=" + std::string(260, 'x')).size(), 260u);
  std::string longer = "CHARSET=" + std::string(261, 'x');
  EXPECT_EQ(CharsetParamValue(longer).size(), 260u);
  std::string quoted = "CHARSET=\"" + std::string(261, 'x') + "\"";
  EXPECT_EQ(CharsetParamValue(quoted).size(), 260u);
  std::string open = "CHARSET=\"" + std::string(1 << 20, 'x');
  EXPECT_LE(CharsetParamValue(open).size(), 260u);
}

// ---- Conversions off the table ----

TEST_F(Charset, ACodePageThatTheSystemLacksIsReadAsTheSystemsDefault) {
  SetSystemCodePage(1251);
  EXPECT_EQ(MultiByteToText(12345, "\xCF\xF0\xE8\xE2\xE5\xF2"), kRussian);
}

TEST_F(Charset, ACodePageThatTheSystemLacksIsWrittenAsUtf8) {
  EXPECT_EQ(TextToMultiByte(12345, u"\u00FC"), "\xC3\xBC");
}

TEST_F(Charset, WhatACodePageCannotHoldBecomesAQuestionMark) {
  EXPECT_EQ(TextToMultiByte(1252, u"a\u65E5b"), "a?b");
}

TEST_F(Charset, TheTextReplacesWhatTheOutTextHeld) {
  WideText text = u"before";
  MultiByteToText(1252, "\xFC", text);
  EXPECT_EQ(text, u"\u00FC");
  MultiByteToText(1252, "", text);
  EXPECT_EQ(text, u"");
}

TEST_F(Charset, EmptyTextsAreEmptyBothWays) {
  for (const Row& row : kRows) {
    EXPECT_EQ(MultiByteToText(row.code_page, ""), u"") << row.name;
    EXPECT_EQ(TextToMultiByte(row.code_page, u""), "") << row.name;
  }
}

TEST_F(Charset, CharactersBeyondTheFirstPlaneGoThroughUtf8) {
  EXPECT_EQ(MultiByteToText(65001, "\xF0\x9F\x98\x80"), u"\U0001F600");
  EXPECT_EQ(TextToMultiByte(65001, u"\U0001F600"), "\xF0\x9F\x98\x80");
}

TEST_F(Charset, AnEncodedCharacterThatIsCutOffKeepsTheTextBeforeIt) {
  for (const Row& row : kRows) {
    if (row.code_page == 50932 || row.code_page == 50949) continue;
    std::string cut = std::string("a") + std::string(row.bytes.substr(0, row.bytes.size() - 1));
    EXPECT_EQ(MultiByteToText(row.code_page, cut).substr(0, 1), u"a") << row.name;
  }
}

TEST_F(Charset, AnyBytesGoThroughEveryCodePage) {
  std::string every_byte;
  for (int i = 0; i < 256; ++i) every_byte += static_cast<char>(i);
  for (const Row& row : kRows) {
    EXPECT_FALSE(MultiByteToText(row.code_page, every_byte).empty()) << row.name;
  }
}

TEST_F(Charset, HalfOfASurrogatePairDoesNoHarm) {
  const WideText halves[] = {{0xD83D}, {0xDE00}, {u'a', 0xD83D, u'b'}, {0xDE00, 0xD83D}};
  for (const Row& row : kRows) {
    for (const WideText& text : halves) {
      EXPECT_LE(TextToMultiByte(row.code_page, text).size(), 64u) << row.name;
    }
  }
}

TEST_F(Charset, MegabytesGoThrough) {
  EXPECT_EQ(MultiByteToText(65001, std::string(5000000, 'x')).size(), 5000000u);
  EXPECT_EQ(TextToMultiByte(65001, WideText(2000000, u'\u20AC')).size(), 6000000u);
}

}  // namespace
}  // namespace charset_test
