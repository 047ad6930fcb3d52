// What goes out comes back: properties that hold for any text, tried on random ones.
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cctype>
#include <string>
#include <vector>

#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/quoted_printable.h"
#include "btosif/osif_util/value_text.h"
#include "tests/support/files.h"
#include "tests/support/random_text.h"
#include "tests/support/settings.h"
#include "tests/support/text_test.h"
#include "tests/support/values.h"

namespace round_trip_test {
namespace {

using support::MakeValue;

TEST(QuotedPrintableRoundTrip, DecodingGivesBackWhatWasEncoded) {
  EXPECT_TRUE(rc::check([](const std::string& bytes) {
    std::string encoded = QuotedPrintableEncode(bytes);
    RC_ASSERT(encoded.size() == QuotedPrintableEncode(bytes, nullptr, 0));
    RC_ASSERT(QuotedPrintableDecode(encoded) == bytes);
  }));
}

TEST(QuotedPrintableRoundTrip, EncodedTextHoldsNothingThatNeedsEncodingAgainButItsEqualsSigns) {
  EXPECT_TRUE(rc::check([](const std::string& bytes) {
    for (char c : QuotedPrintableEncode(bytes)) {
      RC_ASSERT(c == '\t' || (c >= 32 && c <= 126 && c != ':' && c != ';' && c != '\\'));
    }
  }));
}

// The characters that a code page can hold, so that texts can be made of them.
struct Repertoire {
  const char* charset;
  WideView letters;
  WideView ascii = u"aZ09 =:,\r\n\t\\;";
};

// Without the places of ASCII that national sets fill with letters of their own.
constexpr WideView kNationalAscii = u"aZ09 =:,\r\n\t;";

constexpr Repertoire kRepertoires[] = {
    {"US-ASCII", u"\u00FC\u00E9\u20AC\u0160"},  // which is 1252
    {"UTF-7", u"\u00FC+\u20AC~-"},
    {"SJIS", u"\u65E5\u672C\u30BD\u8868\u3042\uFF71\uFFE5"},
    {"EUC-JP", u"\u65E5\u672C\u3042\u30A2\uFFE5"},
    {"IRV", u"\u00A4\u203E[]", kNationalAscii},
    {"WINDOWS-1252", u"\u00FC\u00E9\u20AC\u0160"},
    {"SHIFT-JIS", u"\u65E5\u672C\u30BD\u8868\u3042\uFF71"},
    {"BIG5", u"\u4E2D\u6587\u529F\u8A31"},
    {"DIN_66003", u"\u00A7\u00C4\u00D6\u00DC\u00E4\u00F6\u00FC\u00DF", kNationalAscii},
    {"NS_4551-1", u"\u00C6\u00D8\u00C5\u00E6\u00F8\u00E5", kNationalAscii},
    {"SEN_850200_B", u"\u00C4\u00D6\u00C5\u00E4\u00F6\u00E5", kNationalAscii},
    {"CSISO2022JP", u"\u65E5\u672C\u3042\u30A2\u00A5"},
    {"ISO-2022-JP", u"\u65E5\u672C\u3042\u30A2\u00A5"},
    {"EUC-KR", u"\uD55C\uAE00\uAC00"},
    {"GB2312", u"\u4E2D\u6587\u554A"},
    {"HZ-GB-2312", u"\u4E2D\u6587\u554A~{}"},
    {"IBM852", u"\u0141\u00F3\u017A\u0159"},
    {"IBM866", u"\u041F\u0440\u0438\u0416"},
    {"ISO-2022-KR", u"\uD55C\uAE00\uAC00"},
    {"ISO-8859-1", u"\u00FC\u00E9\u20AC\u0160"},  // which is read and written as 1252
    {"ISO-8859-2", u"\u0141\u00F3\u017A\u0159"},
    {"ISO-8859-3", u"\u0109\u011D\u0127"},
    {"ISO-8859-4", u"\u0100\u0113\u0137"},
    {"ISO-8859-5", u"\u041F\u0440\u0438\u0416"},
    {"ISO-8859-6", u"\u0633\u0644\u0627\u0645"},
    {"ISO-8859-7", u"\u0391\u03B8\u03AE\u03BD"},
    {"ISO-8859-8", u"\u05E9\u05DC\u05D5\u05DD"},
    {"ISO-8859-9", u"\u011F\u0131\u015F"},
    {"ISO-8859-15", u"\u20AC\u0160\u0153"},
    {"KOI8-R", u"\u041F\u0440\u0438\u0416"},
    {"KS_C_5601", u"\uB620\uD55C\uAE00"},
    {"WINDOWS-1250", u"\u0141\u00F3\u017A\u0159"},
    {"WINDOWS-1251", u"\u041F\u0440\u0438\u0416"},
    {"WINDOWS-1253", u"\u0391\u03B8\u03AE\u03BD"},
    {"WINDOWS-1254", u"\u011F\u0131\u015F"},
    {"WINDOWS-1255", u"\u05E9\u05DC\u05D5\u05DD"},
    {"WINDOWS-1256", u"\u0633\u0644\u0627\u0645"},
    {"WINDOWS-1257", u"\u0100\u0113\u0137"},
    {"WINDOWS-1258", u"\u0111\u01A1\u01B0"},
    {"WINDOWS-874", u"\u0E44\u0E17\u0E22"},
    {"X-EUC", u"\u65E5\u672C\u3042\u30A2"},
};

class TextRoundTrip : public support::TextTest {};

// Sets every text as a component of one value, and expects to read it again, by this program and by a
// receiver that has nothing but the value's parameters.
void ExpectTextsBack(const std::vector<WideText>& texts) {
  const uint32_t encode_flags = *rc::gen::element(0u, kEncodeQuotedPrintable);
  ValueList value = MakeValue({}, {});
  for (size_t i = 0; i < texts.size(); ++i) {
    PropertyValue_SetText(texts[i], value.get(), encode_flags, i);
  }
  for (size_t i = 0; i < texts.size(); ++i) {
    RC_ASSERT(DecodedText(value.get(), i) == texts[i]);
  }
  value->codePage = 0;
  for (size_t i = 0; i < texts.size(); ++i) {
    RC_ASSERT(DecodedText(value.get(), i) == texts[i]);
  }
}

TEST_F(TextRoundTrip, AnyTextGoesThroughUtf8) {
  EXPECT_TRUE(rc::check([] {
    ExpectTextsBack(*rc::gen::container<std::vector<WideText>>(3, support::AnyWideText()));
  }));
}

TEST_F(TextRoundTrip, AnyTextGoesThroughUtf7) {
  support::SetSetting(u"DefaultOutputCharset", u"UTF-7");
  EXPECT_TRUE(rc::check([] { ExpectTextsBack({*support::AnyWideText()}); }));
}

class CharsetRoundTrip : public TextRoundTrip, public testing::WithParamInterface<Repertoire> {};

TEST_P(CharsetRoundTrip, GivesBackTextOfItsOwnLettersAndAscii) {
  const Repertoire& charset = GetParam();
  support::SetSetting(u"DefaultOutputCharset", support::Wide(charset.charset));
  WideText alphabet(charset.letters);
  alphabet += charset.ascii;
  EXPECT_TRUE(rc::check([&] {
    ExpectTextsBack(*rc::gen::container<std::vector<WideText>>(3, support::WideTextOver(alphabet)));
  }));
}

INSTANTIATE_TEST_SUITE_P(Charsets, CharsetRoundTrip, testing::ValuesIn(kRepertoires),
                         [](const auto& row) {
                           std::string name = row.param.charset;
                           for (char& c : name) {
                             c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                           }
                           return name;
                         });

}  // namespace
}  // namespace round_trip_test
