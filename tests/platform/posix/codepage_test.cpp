#include "platform/api/codepage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>

#include "tests/support/settings.h"
#include "tests/support/temp_device.h"

namespace codepage_test {
namespace {

std::u16string Decode(UINT code_page, const std::string& bytes, DWORD flags = 0) {
  const int length = static_cast<int>(bytes.size());
  const int needed = MultiByteToWideChar(code_page, flags, bytes.data(), length, nullptr, 0);
  std::u16string text(static_cast<size_t>(needed), u'\0');
  if (needed > 0) {
    EXPECT_EQ(MultiByteToWideChar(code_page, flags, bytes.data(), length, text.data(), needed),
              needed);
  }
  return text;
}

std::string Encode(UINT code_page, const std::u16string& text, BOOL* used_default = nullptr) {
  const int length = static_cast<int>(text.size());
  const int needed =
      WideCharToMultiByte(code_page, 0, text.data(), length, nullptr, 0, nullptr, used_default);
  std::string bytes(static_cast<size_t>(needed), '\0');
  if (needed > 0) {
    EXPECT_EQ(WideCharToMultiByte(code_page, 0, text.data(), length, bytes.data(), needed, nullptr,
                                  nullptr),
              needed);
  }
  return bytes;
}

// ---- Known characters of every code page -------------------------------------------------------

struct Pair {
  UINT code_page;
  std::string bytes;
  std::u16string text;
};

void PrintTo(const Pair& pair, std::ostream* stream) { *stream << pair.code_page; }

class CodePagePair : public testing::TestWithParam<Pair> {};

TEST_P(CodePagePair, IsValid) { EXPECT_TRUE(IsValidCodePage(GetParam().code_page)); }

TEST_P(CodePagePair, ReadsItsBytes) {
  EXPECT_EQ(Decode(GetParam().code_page, GetParam().bytes), GetParam().text);
}

TEST_P(CodePagePair, WritesItsCharacters) {
  EXPECT_EQ(Encode(GetParam().code_page, GetParam().text), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    PublishedTables, CodePagePair,
    testing::Values(
        Pair{852, "\xA5\x88\xE7", u"\u0105\u0142\u0161"},
        Pair{852, "\x88\x1A\x1C\x7F", u"\u0142\u001A\u001C\u007F"},
        Pair{866, "\x80\xEF\xF0", u"\u0410\u044F\u0401"},
        Pair{866, "\x81\x1A\x1C\x7F", u"\u0411\u001A\u001C\u007F"},
        Pair{874, "\xA1\x80\xFB", u"\u0E01\u20AC\u0E5B"},
        Pair{932, "\x93\xFA\x96\x7B\x8C\xEA", u"\u65E5\u672C\u8A9E"},
        Pair{932, "\x81\x60\x87\x40\xB1\\~", u"\uFF5E\u2460\uFF71\\~"},
        Pair{932, "\x83\x5C\x1A\x1C\x7F", u"\u30BD\u001A\u001C\u007F"},
        Pair{936, "\xD6\xD0\xB9\xFA\x80", u"\u4E2D\u56FD\u20AC"}, Pair{936, "\x81\x40", u"\u4E02"},
        Pair{949, "\xB0\xA1\x81\x41\\", u"\uAC00\uAC02\\"},
        Pair{950, "\xA4\xA4\xA4\xE5", u"\u4E2D\u6587"},
        Pair{1250, "\x80\x8A\xB3", u"\u20AC\u0160\u0142"},
        Pair{1251, "\xC0\xFF\xA8", u"\u0410\u044F\u0401"},
        Pair{1252, "\x80\xE4\x93\x9F", u"\u20AC\u00E4\u201C\u0178"},
        Pair{1253, "\xC1\xFE", u"\u0391\u03CE"}, Pair{1254, "\xD0\xFD\xDE", u"\u011E\u0131\u015E"},
        Pair{1255, "\xE0\xFA", u"\u05D0\u05EA"}, Pair{1256, "\xC7\xED", u"\u0627\u064A"},
        Pair{1257, "\xD0\xF0", u"\u0160\u0161"}, Pair{1258, "\xD0\xF0\xFE", u"\u0110\u0111\u20AB"},
        Pair{20105, "a$~#[", u"a\u00A4\u203E#["},
        Pair{20106, "@[\\]{|}~$#", u"\u00A7\u00C4\u00D6\u00DC\u00E4\u00F6\u00FC\u00DF$#"},
        Pair{20107, "$[\\]{|}~@", u"\u00A4\u00C4\u00D6\u00C5\u00E4\u00F6\u00E5\u203E@"},
        Pair{20108, "[\\]{|}~@$", u"\u00C6\u00D8\u00C5\u00E6\u00F8\u00E5\u203E@$"},
        Pair{20127, "Az09", u"Az09"}, Pair{20866, "\xE1\xD1\xB3", u"\u0410\u044F\u0401"},
        Pair{28591, "\xE4\xFF\xA4", u"\u00E4\u00FF\u00A4"},
        Pair{28592, "\xB1\xF3\xA9", u"\u0105\u00F3\u0160"},
        Pair{28593, "\xA1\xE6\xB1", u"\u0126\u0109\u0127"},
        Pair{28594, "\xA2\xBF\xE0", u"\u0138\u014B\u0101"},
        Pair{28595, "\xB0\xEF\xF0", u"\u0410\u044F\u2116"},
        Pair{28596, "\xC7\xEA\xBF", u"\u0627\u064A\u061F"},
        Pair{28597, "\xC1\xFE\xB6", u"\u0391\u03CE\u0386"},
        Pair{28598, "\xE0\xFA", u"\u05D0\u05EA"},
        Pair{28599, "\xD0\xDD\xFE", u"\u011E\u0130\u015F"},
        Pair{28605, "\xA4\xA6\xBD", u"\u20AC\u0160\u0153"},
        Pair{50220, "a\x1B$BF|K\\\x1B(Bb", u"a\u65E5\u672Cb"},
        Pair{50221, "\x1B$B!A\x1B(B", u"\uFF5E"}, Pair{50222, "\x1B$B8l\x1B(B\\", u"\u8A9E\\"},
        Pair{50225, "\x1B$)Ca\x0E\x30\x21\x0F\\", u"a\uAC00\\"},
        Pair{50932, "\x93\xFA\x96\x7B\x8C\xEA", u"\u65E5\u672C\u8A9E"},
        Pair{50949, "\xC7\xD1\xB1\xB9\xBE\xEE", u"\uD55C\uAD6D\uC5B4"},
        Pair{51932, "\xC6\xFC\xCB\xDC\x8E\xB1\\", u"\u65E5\u672C\uFF71\\"},
        Pair{51949, "\xB0\xA1\xB3\xAA\\", u"\uAC00\uB098\\"},
        Pair{52936, "a~{VP~}b",
             u"a\u4E2D"
             u"b"},
        Pair{65000, "Hi Mom -+Jjo--!", u"Hi Mom -\u263A-!"},
        Pair{65001, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E4\u20AC\U0001F600"}));

// What is read in more forms than it is written in.
class CodePageReading : public testing::TestWithParam<Pair> {};

TEST_P(CodePageReading, ReadsItsBytes) {
  EXPECT_EQ(Decode(GetParam().code_page, GetParam().bytes), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    MoreForms, CodePageReading,
    testing::Values(Pair{50221, "\x1B(I1\x1B(B", u"\uFF71"},  // half-width katakana by escape
                    Pair{50222,
                         "a\x0E\x31\x0F"
                         "b",
                         u"a\uFF71"
                         u"b"},                                  // and by shifting
                    Pair{50225, "\x0E\x30\x21\x0F", u"\uAC00"},  // without the announcement
                    Pair{51949, "\x81\x41", u"\uAC02"},          // a syllable of Windows' page
                    Pair{52936, "~~a~~~{VP~}~~", u"~a~\u4E2D~"},
                    Pair{65000, "a\\b~", u"a\\b~"},  // ought to be encoded
                    Pair{65000, "+AGE", u"a"},       // shift without its end
                    Pair{50932, "\xC6\xFC\xCB\xDC\xB8\xEC", u"\u65E5\u672C\u8A9E"},
                    Pair{50932, "\x1B$BF|K\\8l\x1B(B", u"\u65E5\u672C\u8A9E"},
                    Pair{50932, "plain", u"plain"},
                    Pair{50949, "\x1B$)C\x0E\x30\x21\x0F", u"\uAC00"}));

// ---- What does not fit -------------------------------------------------------------------------

TEST(CodePages, CharactersWithoutAPlaceBecomeAQuestionMarkEach) {
  BOOL used = FALSE;
  EXPECT_EQ(Encode(1252, u"a\u65E5\U0001F600z", &used), "a??z");
  EXPECT_TRUE(used);
  EXPECT_EQ(Encode(20106, u"a[\U0001F600b", &used), "a??b");
  EXPECT_TRUE(used);
  EXPECT_EQ(Encode(51932, u"\uAC00", &used), "?");
  EXPECT_TRUE(used);
}

TEST(CodePages, TextThatFitsUsesNoDefaultCharacter) {
  BOOL used = TRUE;
  Encode(1252, u"\u00E4", &used);
  EXPECT_FALSE(used);
}

TEST(CodePages, AQuestionMarkInAShiftedTextReturnsToAscii) {
  EXPECT_EQ(Encode(50220, u"\u65E5\uAC00"), "\x1B$BF|\x1B(B?");
}

TEST(CodePages, HalfWidthKatakanaAreWrittenInFullWidthWhereThereAreNone) {
  BOOL used = TRUE;
  EXPECT_EQ(Encode(50220, u"\uFF71", &used), "\x1B$B%\"\x1B(B");
  EXPECT_FALSE(used);
}

TEST(CodePages, ACurrencySignWhosePlaceTheBackslashTakesIsWrittenInFullWidth) {
  for (const UINT japanese : {932u, 50932u}) {
    EXPECT_EQ(Encode(japanese, u"\u00A5100"),
              "\x81\x8F"
              "100")
        << japanese;
  }
  EXPECT_EQ(Encode(51932, u"\u00A5100"),
            "\xA1\xEF"
            "100");
  for (const UINT korean : {949u, 50949u, 51949u}) {
    EXPECT_EQ(Encode(korean, u"\u20A9100"),
              "\xA3\xDC"
              "100")
        << korean;
  }
}

TEST(CodePages, TheYenSignOfTheEscapedJapaneseSetsIsWrittenAsItIs) {
  for (const UINT page : {50220u, 50221u, 50222u}) {
    EXPECT_EQ(Encode(page, u"\u00A5"), "\x1B(J\\\x1B(B") << page;
    EXPECT_EQ(Decode(page, "\x1B(J\\\x1B(B"), u"\u00A5") << page;
  }
}

// Note, bullet, inverse circle and arrow are shown by old displays in place of control codes.
TEST(CodePages, NoSymbolIsWrittenAsAControlCode) {
  for (const UINT page : {852u, 866u, 874u, 1250u, 20866u, 28591u, 28592u, 28595u, 28605u}) {
    for (const char16_t symbol : {u'\u266A', u'\u2022', u'\u25D9', u'\u2190', u'\u25BA'}) {
      const std::string bytes = Encode(page, std::u16string(1, symbol));
      ASSERT_EQ(bytes.size(), 1u) << page;
      EXPECT_GE(static_cast<unsigned char>(bytes[0]), 0x20) << page << " " << int{symbol};
    }
  }
  EXPECT_EQ(Encode(28592, u"\u266A\u2022\u00A9"), "???");
}

TEST(CodePages, AShiftedSetReturnsToAsciiForItsEscape) {
  EXPECT_EQ(Encode(52936, u"\u4E2D~\u6587a"), "~{VP~}~~~{ND~}a");
  EXPECT_EQ(Encode(52936, u"\uAC00\u4E2D"), "?~{VP~}");
}

TEST(CodePages, AsciiIsNotAnnouncedInAShiftedSet) {
  EXPECT_EQ(Encode(52936, u"a~{b"), "a~~{b");
  EXPECT_EQ(Encode(52936, u"~"), "~~");
  EXPECT_EQ(Encode(52936, u"\uAC00"), "?");
  EXPECT_EQ(Encode(52936, u"~\u4E2D~"), "~~~{VP~}~~");
}

TEST(CodePages, AShiftedTextEndsInAscii) {
  EXPECT_EQ(Encode(52936, u"\u4E2D"), "~{VP~}");
  EXPECT_EQ(Encode(52936, u"\u4E2D\uAC00"), "~{VP~}?");
  EXPECT_EQ(Encode(52936, u"\u4E2Da"), "~{VP~}a");
  EXPECT_EQ(Encode(50220, u"\u65E5"), "\x1B$BF|\x1B(B");
  EXPECT_EQ(Encode(50225, u"\uAC00"), "\x1B$)C\x0E\x30\x21\x0F");
}

TEST(CodePages, UnpairedSurrogatesBecomeReplacementCharactersInUtf8) {
  EXPECT_EQ(Encode(65001, u"a\xD800z"), "a\xEF\xBF\xBDz");
  EXPECT_EQ(Encode(65001, u"\xDC00"), "\xEF\xBF\xBD");
}

TEST(CodePages, MalformedBytesGiveReplacementCharactersAndTheTextGoesOn) {
  EXPECT_EQ(Decode(65001,
                   "a\xFF"
                   "b"),
            u"a\uFFFD"
            u"b");
  EXPECT_EQ(Decode(65001, "a\xC3"), u"a\uFFFD");
  EXPECT_EQ(Decode(65001, "\xC0\x80z"), u"\uFFFD\uFFFDz");
  EXPECT_EQ(Decode(932, "a\x93"), u"a\uFFFD");
  EXPECT_EQ(Decode(936, "\x81\x20z").back(), u'z');
  EXPECT_EQ(Decode(20106, "a\xE4z"), u"a\uFFFDz");
  EXPECT_EQ(Decode(28593, "\xA5z"), u"\uFFFDz");
}

TEST(CodePages, ALeadByteDoesNotSwallowTheTerminator) {
  char16_t text[4] = {9, 9, 9, 9};
  EXPECT_EQ(MultiByteToWideChar(932, 0, "a\x93", -1, text, 4), 3);
  EXPECT_EQ(std::u16string(text, 3), std::u16string(u"a\uFFFD\0", 3));
}

// Every code page meets every pair of bytes; nothing may be lost after them.
TEST(CodePages, NoTwoBytesLoseTheTailOfAnAsciiCompatiblePage) {
  for (const UINT page : {852u, 866u, 874u, 932u, 936u, 949u, 950u, 1250u, 1252u, 1255u, 1258u,
                          20866u, 28591u, 28596u, 28605u, 51932u, 51949u, 65001u}) {
    for (int first = 0; first < 256; ++first) {
      for (int second = 0; second < 256; second += 3) {
        const std::string bytes = {static_cast<char>(first), static_cast<char>(second), '\r', '\n',
                                   'z'};
        const std::u16string text = Decode(page, bytes);
        ASSERT_TRUE(text.ends_with(u"\nz")) << page << " " << first << " " << second;
      }
    }
  }
}

TEST(CodePages, AsciiStandsForItselfInEveryCompatiblePage) {
  std::string bytes;
  std::u16string text;
  for (char c = 0; c != 0x7F; ++c) {
    bytes += c;
    text += static_cast<char16_t>(c);
  }
  for (const UINT page :
       {852u,   866u,   874u,   932u,   936u,   949u,   950u,   1250u,  1251u,  1252u,  1253u,
        1254u,  1255u,  1256u,  1257u,  1258u,  20127u, 20866u, 28591u, 28592u, 28593u, 28594u,
        28595u, 28596u, 28597u, 28598u, 28599u, 28605u, 51932u, 51949u, 65001u}) {
    EXPECT_EQ(Decode(page, bytes), text) << page;
    EXPECT_EQ(Encode(page, text), bytes) << page;
  }
}

TEST(CodePages, TextsLongerThanAnyBufferAreConvertedWhole) {
  std::string bytes;
  std::u16string text;
  for (int i = 0; i < 5000; ++i) {
    bytes +=
        "\x93\xFA"
        "a";
    text += u"\u65E5a";
  }
  EXPECT_EQ(Decode(932, bytes), text);
  EXPECT_EQ(Encode(932, text), bytes);
}

TEST(CodePages, ASurrogatePairAcrossTwoPiecesOfALongTextStaysWhole) {
  for (size_t before = 250; before < 260; ++before) {
    const std::u16string text = u"\u00E4" + std::u16string(before, u'a') + u"\U0001F600";
    EXPECT_EQ(Encode(932, text), "?" + std::string(before, 'a') + "?");
    EXPECT_EQ(Encode(65001, text), "\xC3\xA4" + std::string(before, 'a') + "\xF0\x9F\x98\x80");
  }
}

// ---- The rules of the two functions ------------------------------------------------------------

TEST(CodePages, LengthMinusOneConvertsTheTerminatorToo) {
  char16_t text[4] = {9, 9, 9, 9};
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "ab", -1, text, 4), 3);
  EXPECT_EQ(text[2], 0);
  EXPECT_EQ(text[3], 9);
  char bytes[4] = {9, 9, 9, 9};
  EXPECT_EQ(WideCharToMultiByte(1252, 0, u"ab", -1, bytes, 4, nullptr, nullptr), 3);
  EXPECT_EQ(bytes[2], 0);
  EXPECT_EQ(bytes[3], 9);
}

TEST(CodePages, AnEmptyTerminatedTextIsItsTerminator) {
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "", -1, nullptr, 0), 1);
  EXPECT_EQ(WideCharToMultiByte(65000, 0, u"", -1, nullptr, 0, nullptr, nullptr), 1);
}

TEST(CodePages, AGivenLengthConvertsZerosWithin) {
  EXPECT_EQ(Decode(1252, std::string("a\0b", 3)), std::u16string(u"a\0b", 3));
  EXPECT_EQ(Decode(932, std::string("\x93\xFA\0b", 4)), std::u16string(u"\u65E5\0b", 3));
}

TEST(CodePages, RoomZeroMeasures) {
  EXPECT_EQ(MultiByteToWideChar(65001, 0, "\xC3\xA4x", 3, nullptr, 0), 2);
  EXPECT_EQ(WideCharToMultiByte(65001, 0, u"\u20ACx", 2, nullptr, 0, nullptr, nullptr), 4);
}

TEST(CodePages, ATooSmallBufferIsFilledAndRefused) {
  char16_t text[3] = {9, 9, 9};
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 3, text, 2), 0);
  EXPECT_EQ(GetLastError(), 122u);
  EXPECT_EQ(text[1], u'b');
  EXPECT_EQ(text[2], 9);
  char bytes[3] = {9, 9, 9};
  EXPECT_EQ(WideCharToMultiByte(1252, 0, u"ab\u00E4", 3, bytes, 2, nullptr, nullptr), 0);
  EXPECT_EQ(GetLastError(), 122u);
  EXPECT_EQ(bytes[2], 9);
}

TEST(CodePages, ABufferOfTheExactSizeIsEnough) {
  char16_t text[3] = {};
  EXPECT_EQ(MultiByteToWideChar(1252, 0, "abc", 3, text, 3), 3);
}

TEST(CodePages, InvalidArgumentsAreRefused) {
  char16_t text[4];
  char bytes[4];
  const auto refused = [](int result) { return result == 0 && GetLastError() == 87; };
  EXPECT_TRUE(refused(MultiByteToWideChar(12345, 0, "a", 1, text, 4)));
  EXPECT_TRUE(refused(MultiByteToWideChar(1252, 0, nullptr, 1, text, 4)));
  EXPECT_TRUE(refused(MultiByteToWideChar(1252, 0, "a", 0, text, 4)));
  EXPECT_TRUE(refused(MultiByteToWideChar(1252, 0, "a", 1, nullptr, 4)));
  EXPECT_TRUE(refused(MultiByteToWideChar(1252, 0, "a", 1, text, -1)));
  EXPECT_TRUE(refused(WideCharToMultiByte(12345, 0, u"a", 1, bytes, 4, nullptr, nullptr)));
  EXPECT_TRUE(refused(WideCharToMultiByte(1252, 0, nullptr, 1, bytes, 4, nullptr, nullptr)));
  EXPECT_TRUE(refused(WideCharToMultiByte(1252, 0, u"a", 0, bytes, 4, nullptr, nullptr)));
  EXPECT_TRUE(refused(WideCharToMultiByte(1252, 0, u"a", 1, nullptr, 4, nullptr, nullptr)));
  EXPECT_TRUE(refused(WideCharToMultiByte(1252, 0, u"a", 1, bytes, 4, "#", nullptr)));
}

TEST(CodePages, UnknownFlagsAreRefused) {
  char16_t text[4];
  EXPECT_EQ(MultiByteToWideChar(1252, 0x10, "a", 1, text, 4), 0);
  EXPECT_EQ(GetLastError(), 1004u);
}

TEST(CodePages, MalformedBytesFailWhenAskedTo) {
  char16_t text[4];
  EXPECT_EQ(MultiByteToWideChar(65001, MB_ERR_INVALID_CHARS, "a\xFF", 2, text, 4), 0);
  EXPECT_EQ(GetLastError(), 1113u);
  EXPECT_EQ(MultiByteToWideChar(65001, MB_ERR_INVALID_CHARS, "a\xC3\xA4", 3, text, 4), 2);
}

TEST(CodePages, UnknownNumbersAreNotValid) {
  for (const UINT page : {0u, 1u, 1200u, 1259u, 20104u, 20109u, 28600u, 65002u, 4294967295u}) {
    EXPECT_FALSE(IsValidCodePage(page)) << page;
  }
}

// ---- The system's default ----------------------------------------------------------------------

class DefaultCodePage : public TempDeviceTest {
 protected:
  TempEnvironment all_{"LC_ALL", nullptr};
  TempEnvironment type_{"LC_CTYPE", nullptr};
  TempEnvironment lang_{"LANG", nullptr};
};

struct Locale {
  const char* name;
  UINT code_page;
};

TEST_F(DefaultCodePage, FollowsTheLocale) {
  for (const Locale& locale :
       {Locale{"C", 1252}, Locale{"POSIX", 1252}, Locale{"C.UTF-8", 65001},
        Locale{"de_DE.UTF-8", 65001}, Locale{"de_DE.utf8@euro", 65001},
        Locale{"de_DE.ISO-8859-15@euro", 28605}, Locale{"ru_RU.KOI8-R", 20866},
        Locale{"ja_JP.eucJP", 51932}, Locale{"zh_TW.Big5", 950}, Locale{"xx_XX.nothing", 1252},
        Locale{"xx_XX", 1252}}) {
    const TempEnvironment lang("LANG", locale.name);
    EXPECT_EQ(GetACP(), locale.code_page) << locale.name;
  }
}

// The system's library keeps what it has read of LOCPATH for good, and the leak checker would lay that on us. Null in
// programs without it.
extern "C" void __lsan_disable() __attribute__((weak));
extern "C" void __lsan_enable() __attribute__((weak));

class LeaksOfOthers {
 public:
  LeaksOfOthers() {
    if (__lsan_disable != nullptr) __lsan_disable();
  }
  ~LeaksOfOthers() {
    if (__lsan_enable != nullptr) __lsan_enable();
  }
  LeaksOfOthers(const LeaksOfOthers&) = delete;
  LeaksOfOthers& operator=(const LeaksOfOthers&) = delete;
};

// A locale of the system under a name without a codeset.
TEST_F(DefaultCodePage, IsThatOfTheInstalledLocaleWhereItsNameTellsNone) {
  const std::string installed = "/usr/lib/locale/C.utf8";
  if (!std::filesystem::exists(installed)) GTEST_SKIP() << "no " << installed;
  std::filesystem::create_directory_symlink(installed, device_.Path("xx_XX"));
  const LeaksOfOthers leaks;
  const TempEnvironment path("LOCPATH", device_.folder().c_str());
  const TempEnvironment lang("LANG", "xx_XX");
  EXPECT_EQ(GetACP(), 65001u);
}

TEST_F(DefaultCodePage, IsThatOfTheCodesetWhateverItsSpelling) {
  // The pages of ISO 8859 are numbered from 28590 on.
  for (const UINT part : {1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 15u}) {
    const TempEnvironment lang("LANG", ("xx_XX.ISO-8859-" + std::to_string(part)).c_str());
    EXPECT_EQ(GetACP(), 28590 + part);
  }
  for (const UINT page :
       {852u, 866u, 949u, 1250u, 1251u, 1252u, 1253u, 1254u, 1255u, 1256u, 1257u, 1258u}) {
    const TempEnvironment lang("LANG", ("xx_XX.CP" + std::to_string(page)).c_str());
    EXPECT_EQ(GetACP(), page);
  }
  for (const Locale& locale :
       {Locale{"ko_KR.euckr", 51949}, Locale{"ja_JP.SJIS", 932}, Locale{"ja_JP.Shift_JIS", 932},
        Locale{"ja_JP.Windows-31J", 932}, Locale{"zh_CN.GB2312", 936}, Locale{"zh_CN.eucCN", 936},
        Locale{"zh_CN.GBK", 936}, Locale{"th_TH.TIS-620", 874}, Locale{"pl_PL.IBM852", 852},
        Locale{"ru_RU.IBM866", 866}, Locale{"xx_XX.ANSI_X3.4-1968", 1252}}) {
    const TempEnvironment lang("LANG", locale.name);
    EXPECT_EQ(GetACP(), locale.code_page) << locale.name;
  }
}

TEST_F(DefaultCodePage, WithoutALocaleIsTheWesternOne) { EXPECT_EQ(GetACP(), 1252u); }

TEST_F(DefaultCodePage, TheVariablesCountInPosixOrder) {
  const TempEnvironment lang("LANG", "ru_RU.KOI8-R");
  EXPECT_EQ(GetACP(), 20866u);
  const TempEnvironment type("LC_CTYPE", "zh_TW.Big5");
  EXPECT_EQ(GetACP(), 950u);
  const TempEnvironment all("LC_ALL", "C.UTF-8");
  EXPECT_EQ(GetACP(), 65001u);
}

TEST_F(DefaultCodePage, TheRegistryOverridesTheLocale) {
  const TempEnvironment lang("LANG", "C.UTF-8");
  support::SetSystemCodePage(1251);
  EXPECT_EQ(GetACP(), 1251u);
  EXPECT_EQ(Encode(CP_ACP, u"\u0410"), "\xC0");
  EXPECT_EQ(Decode(CP_ACP, "\xC0"), u"\u0410");
}

TEST_F(DefaultCodePage, AnInvalidNumberInTheRegistryDoesNotCount) {
  support::SetSystemCodePage(4711);
  EXPECT_EQ(GetACP(), 1252u);
}

TEST_F(DefaultCodePage, IsToldAsADecimalText) {
  support::SetSystemCodePage(65001);
  char16_t text[8] = {};
  EXPECT_EQ(GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE, nullptr, 0), 6);
  EXPECT_EQ(GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE, text, 6), 6);
  EXPECT_EQ(std::u16string(text), u"65001");
  EXPECT_EQ(GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE, text, 5), 0);
  EXPECT_EQ(GetLastError(), 122u);
}

TEST_F(DefaultCodePage, OtherQuestionsAboutTheLocaleAreRefused) {
  char16_t text[8] = {};
  EXPECT_EQ(GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, 1, text, 8), 0);
  EXPECT_EQ(GetLastError(), 1004u);
  SetLastError(0);
  EXPECT_EQ(GetLocaleInfoW(0x0407, LOCALE_IDEFAULTANSICODEPAGE, text, 8), 0);
  EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
}  // namespace codepage_test
