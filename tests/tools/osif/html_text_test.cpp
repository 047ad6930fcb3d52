#include "tools/osif/report/html_text.h"

#include <gtest/gtest.h>

namespace html_text_test {
namespace {

using command::HtmlText;

TEST(HtmlText, EscapesWhatIsOfTheLanguage) {
  EXPECT_EQ(HtmlText("</script><a b=\"c\" d='e'>&amp;"),
            "&lt;/script&gt;&lt;a b=&quot;c&quot; d=&#39;e&#39;&gt;&amp;amp;");
}

TEST(HtmlText, KeepsLinesAndTabs) {
  EXPECT_EQ(HtmlText("one\r\ntwo\rthree\nfour\tfive"), "one\ntwo\nthree\nfour\tfive");
  EXPECT_EQ(HtmlText("\r"), "\n");
}

TEST(HtmlText, MakesBlanksOfControlCharacters) {
  EXPECT_EQ(HtmlText(std::string_view("a\0b\x1B"
                                      "c\x7F"
                                      "d\u0085e",
                                      10)),
            "a b c d e");
}

TEST(HtmlText, MakesBlanksOfWhatTurnsTheWritingDirection) {
  EXPECT_EQ(HtmlText("a\u202Ab\u202Ec\u2066d\u2069e\u2028f\u2029g"), "a b c d e f g");
}

TEST(HtmlText, MarksBytesOfNoCharacterAndWhatIsNone) {
  EXPECT_EQ(HtmlText("a\xFF"
                     "b"),
            "a\uFFFDb");
  EXPECT_EQ(HtmlText("a\uFFFEb\uFDD0c"), "a\uFFFDb\uFFFDc");
  // Half of a pair, as UTF-8 must not have it.
  EXPECT_EQ(HtmlText("\xED\xA0\x80").find('\xED'), std::string::npos);
}

TEST(HtmlText, KeepsAllOtherCharacters) {
  EXPECT_EQ(HtmlText("Jörg 花子 😀 שלום"), "Jörg 花子 😀 שלום");
  EXPECT_EQ(HtmlText(""), "");
}

TEST(HtmlText, KeepsALongTextToItsEnd) {
  EXPECT_EQ(HtmlText(std::string(10'000, '<')).size(), 40'000U);
}

}  // namespace
}  // namespace html_text_test
