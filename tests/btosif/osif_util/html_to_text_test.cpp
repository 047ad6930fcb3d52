#include "btosif/osif_util/html_to_text.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/random_text.h"

namespace html_to_text_test {
namespace {

constexpr WCHAR kUntouched = 0xEEEE;

// The text of an input, in two passes as callers do it: the first counts, the second fills.
WideText TextOf(const WideText& html) {
  const size_t length = HtmlToText(html.c_str(), nullptr, 0);
  WideText output(length + 2, kUntouched);
  EXPECT_EQ(HtmlToText(html.c_str(), output.data(), length + 1), length);
  EXPECT_EQ(output[length], 0);
  EXPECT_EQ(output[length + 1], kUntouched);
  output.resize(length);
  return output;
}

// The text of what stands in a body.
WideText BodyOf(const WideText& html) { return TextOf(u"<body>" + html + u"</body>"); }

WideText Repeated(const WideText& text, size_t count) {
  WideText result;
  result.reserve(text.size() * count);
  for (size_t i = 0; i < count; ++i) result += text;
  return result;
}

// ---- Text ----

TEST(HtmlToText, ABodyWithAnAmpersandEntityGivesItsText) {
  EXPECT_EQ(TextOf(u"<html><body>a&amp;b</body></html>"), u"a&b");
}

TEST(HtmlToText, TextBeforeTheBodyIsDropped) { EXPECT_EQ(TextOf(u"head<body>text"), u"text"); }

TEST(HtmlToText, TextBehindTheBodyIsDropped) {
  EXPECT_EQ(TextOf(u"<body>text</body>tail"), u"text");
}

TEST(HtmlToText, AParagraphWithoutABodyGivesOnlyALineBreak) {
  EXPECT_EQ(TextOf(u"<p>x</p>"), u"\r\n");
}

TEST(HtmlToText, AnEmptyInputGivesAnEmptyText) { EXPECT_EQ(TextOf(u""), u""); }

TEST(HtmlToText, NoInputGivesAnEmptyText) {
  EXPECT_EQ(HtmlToText(nullptr, nullptr, 0), 0u);
  WCHAR output[2] = {kUntouched, kUntouched};
  EXPECT_EQ(HtmlToText(nullptr, output, 2), 0u);
  EXPECT_EQ(output[0], 0);
  EXPECT_EQ(output[1], kUntouched);
}

TEST(HtmlToText, EveryOtherCharacterIsKeptAsItIs) {
  EXPECT_EQ(BodyOf(u"a>b \"c\" ;#\t\u00A0\u20AC\U0001F600 d"),
            u"a>b \"c\" ;#\t\u00A0\u20AC\U0001F600 d");
}

TEST(HtmlToText, CarriageReturnsAreDropped) { EXPECT_EQ(BodyOf(u"a\rb\r\rc"), u"abc"); }

TEST(HtmlToText, LineFeedsAreDropped) { EXPECT_EQ(BodyOf(u"a\nb\r\nc\n\nd"), u"abcd"); }

// ---- The start of a line ----

TEST(HtmlToText, BlanksAndTabsAtTheStartOfALineAreSkipped) {
  EXPECT_EQ(BodyOf(u"a\n \t  b c\n\t\td"), u"ab cd");
}

TEST(HtmlToText, BlanksAtTheEndOfALineStay) { EXPECT_EQ(BodyOf(u"a \n b"), u"a b"); }

TEST(HtmlToText, BlanksAtTheStartOfTheInputAreNoStartOfALine) { EXPECT_EQ(BodyOf(u"  a"), u"  a"); }

TEST(HtmlToText, OtherBlanksAtTheStartOfALineStay) {
  EXPECT_EQ(BodyOf(u"a\n\u00A0b\n\vc"), u"a\u00A0b\vc");
}

TEST(HtmlToText, TheFirstOtherCharacterOfALineIsHandledAsText) {
  EXPECT_EQ(BodyOf(u"a\n  &amp;b\n  </p>c\n \n  d"), u"a&b\r\ncd");
}

TEST(HtmlToText, ACarriageReturnAtTheStartOfALineIsSuchACharacter) {
  EXPECT_EQ(BodyOf(u"a\n\r  b"), u"a  b");
}

// ---- Tags ----

TEST(HtmlToText, AnOpeningLineBreakTagGivesNone) {
  EXPECT_EQ(BodyOf(u"line1<br>line2"), u"line1line2");
}

TEST(HtmlToText, AClosingLineBreakTagGivesTwoLines) {
  EXPECT_EQ(BodyOf(u"line1</br>line2"), u"line1\r\nline2");
}

TEST(HtmlToText, TheClosingTagsOfBlocksAndCellsGiveLineBreaks) {
  for (const WideText tag : {u"/DIV", u"/P", u"/TD", u"/LI", u"/BR", u"/div", u"/p", u"/Td"}) {
    EXPECT_EQ(BodyOf(u"a<" + tag + u">b"), u"a\r\nb") << support::Narrow(tag);
    EXPECT_EQ(TextOf(u"a<" + tag + u">b"), u"\r\n") << "outside the body " << support::Narrow(tag);
  }
}

TEST(HtmlToText, OtherTagsGiveNothing) {
  for (const WideText tag : {u"br",     u"BR/",       u"p",    u"P class=\"/p\"",
                             u"div",    u"td",        u"li",   u"/tr",
                             u"/table", u"/ul",       u"/h1",  u"/a",
                             u"/span",  u"/d",        u"/",    u"",
                             u" ",      u"!-- /p --", u"/bod", u"bod",
                             u"/ p",    u"/DI",       u"//p"}) {
    EXPECT_EQ(BodyOf(u"a<" + tag + u">b"), u"ab") << support::Narrow(tag);
  }
}

TEST(HtmlToText, TagsAreKnownByTheirBeginning) {
  for (const WideText tag : {u"/PRE", u"/pre", u"/param", u"/listing", u"/tdx", u"/division",
                             u"/br clear=all", u"/p ", u"/p\nx"}) {
    EXPECT_EQ(BodyOf(u"a<" + tag + u">b"), u"a\r\nb") << support::Narrow(tag);
  }
  EXPECT_EQ(TextOf(u"<BODYX>a</bodyguard>b"), u"a");
}

TEST(HtmlToText, WhiteSpaceBeforeATagsNameIsSkipped) {
  EXPECT_EQ(TextOf(u"< \t\r\n body>a<  /p>b<\n/BODY>c"), u"a\r\nb");
}

TEST(HtmlToText, TheBodyMayHaveAttributesAndIsTakenInAnyCase) {
  EXPECT_EQ(TextOf(u"<BoDy bgcolor=\"#fff\">a</bOdY>b"), u"a");
}

TEST(HtmlToText, ATagGoesOnToItsEndWhateverItHolds) {
  EXPECT_EQ(BodyOf(u"a<x < y & z;\n /p >b"), u"ab");
  EXPECT_EQ(BodyOf(u"a<x<body>b</body>c"), u"ab");
}

TEST(HtmlToText, ATagThatIsNotClosedGivesNothing) {
  EXPECT_EQ(TextOf(u"<body>a</p"), u"a");
  EXPECT_EQ(TextOf(u"<body>a<"), u"a");
  EXPECT_EQ(TextOf(u"<body>a<b c d e"), u"a");
}

TEST(HtmlToText, ATagDoesNotBeginWithWhatTheOneBeforeHeld) {
  EXPECT_EQ(BodyOf(u"a</><p>b"), u"ab");
}

// ---- What it is that claims to be HTML ----

TEST(HtmlExtentOf, IsTextWhereThereIsNoTagAndNoEntity) {
  for (const char16_t* text : {u"", u"a", u"a < b", u"AT&T", u"a > b; c"}) {
    EXPECT_EQ(HtmlExtentOf(text), HtmlExtent::kText);
  }
}

TEST(HtmlExtentOf, IsAFragmentWhereNoBodyIsOpened) {
  for (const char16_t* text :
       {u"<p>", u"a&amp;b", u"<html><head></head></html>", u"</body>", u"a</BODY>", u"&<body>;"}) {
    EXPECT_EQ(HtmlExtentOf(text), HtmlExtent::kFragment);
  }
}

TEST(HtmlExtentOf, IsADocumentWhereABodyIsOpened) {
  for (const char16_t* text : {u"<body>", u"a< Body class=x>b", u"<p></p><BODY></BODY>"}) {
    EXPECT_EQ(HtmlExtentOf(text), HtmlExtent::kDocument);
  }
  EXPECT_EQ(HtmlExtentOf(u"<p>a<body"), HtmlExtent::kFragment) << "the tag has no end";
}

// ---- The depth of bodies ----

TEST(HtmlToText, ABodyInABodyEndsWithTheOuterOne) {
  EXPECT_EQ(TextOf(u"<body>a<body>b</body>c</body>d"), u"abc");
}

TEST(HtmlToText, AClosingBodyWithoutAnOpeningOneKeepsTheTextBehindIt) {
  EXPECT_EQ(TextOf(u"a</body>b"), u"b");
  EXPECT_EQ(TextOf(u"<body>a</body></body>b"), u"ab");
}

TEST(HtmlToText, AnOpeningBodyBehindSuchAClosingOneDropsTheTextAgain) {
  EXPECT_EQ(TextOf(u"</body>a<body>b"), u"a");
  EXPECT_EQ(TextOf(u"</body></body>a<body>b<body>c<body>d"), u"abd");
}

TEST(HtmlToText, AThousandNestedBodiesAreCounted) {
  EXPECT_EQ(TextOf(Repeated(u"<body>", 1000) + u"a" + Repeated(u"</body>", 999) + u"b</body>c"),
            u"ab");
}

// ---- Entities ----

TEST(HtmlToText, NumbersOfLettersInEveryFormGiveTheLetter) {
  EXPECT_EQ(BodyOf(u"&#65;"), u"A");
  EXPECT_EQ(BodyOf(u"&#x41;"), u"A");
  EXPECT_EQ(BodyOf(u"&##xx41;"), u"A");
}

TEST(HtmlToText, AnUnknownEntityGivesABlank) { EXPECT_EQ(BodyOf(u"a&foo;b"), u"a b"); }

TEST(HtmlToText, ANoBreakSpaceGivesAPlainBlank) { EXPECT_EQ(BodyOf(u"a&nbsp;b"), u"a b"); }

TEST(HtmlToText, AnEmptyEntityGivesNothing) { EXPECT_EQ(BodyOf(u"a&;b"), u"ab"); }

TEST(HtmlToText, EntitiesCountOutsideTheBodyToo) {
  EXPECT_EQ(TextOf(u"a&lt;b<body>c</body>&euro;d"), u"<c\u20AC");
}

TEST(HtmlToText, AnEntityGoesOnToItsSemicolonWhateverItHolds) {
  EXPECT_EQ(BodyOf(u"a & b</p>\n&amp;c"), u"a  c");
  EXPECT_EQ(BodyOf(u"a&&amp;b"), u"a b");
}

TEST(HtmlToText, AnEntityThatIsNotClosedGivesNothing) {
  EXPECT_EQ(TextOf(u"<body>a&amp"), u"a");
  EXPECT_EQ(TextOf(u"<body>a&"), u"a");
}

TEST(HtmlToText, EntitiesOfMarkupAreText) { EXPECT_EQ(BodyOf(u"&lt;/p&gt;&amp;lt;"), u"</p>&lt;"); }

TEST(HtmlToText, ANumberBeyondTheFirstPlaneGivesTwoUnits) {
  EXPECT_EQ(BodyOf(u"a&#x1F600;b"), u"a\U0001F600b");
  EXPECT_EQ(HtmlToText(u"&#128512;", nullptr, 0), 2u);
}

TEST(HtmlToText, ANumberThatIsNoCharacterGivesABlank) {
  EXPECT_EQ(BodyOf(u"a&#x110000;b&#0;c&#xD800;d"), u"a b c d");
}

// ---- The capacity ----

TEST(HtmlToText, WithACapacityOfOneMoreThanTheCountedLengthTheTextIsWholeAndTerminated) {
  const WCHAR* html = u"<body>a&amp;b</p>c</body>";
  ASSERT_EQ(HtmlToText(html, nullptr, 0), 6u);
  WCHAR output[8];
  std::fill(std::begin(output), std::end(output), kUntouched);
  EXPECT_EQ(HtmlToText(html, output, 7), 6u);
  EXPECT_EQ(WideText(output), u"a&b\r\nc");
  EXPECT_EQ(output[7], kUntouched);
}

// What an output of a capacity holds; the text's whole length is told whatever the capacity.
WideText Cut(const WCHAR* html, size_t capacity) {
  const size_t length = HtmlToText(html, nullptr, 0);
  WideText output(capacity + 4, kUntouched);
  EXPECT_EQ(HtmlToText(html, output.data(), capacity), length) << capacity;
  EXPECT_EQ(output.substr(capacity), WideText(4, kUntouched)) << capacity;
  const size_t end = output.find(u'\0');
  EXPECT_LT(end, capacity);
  return output.substr(0, end);
}

TEST(HtmlToText, OnlyWhatFitsBeforeTheTerminatorIsStored) {
  const WCHAR* html = u"<body>abc</body>";
  EXPECT_EQ(Cut(html, 1), u"");
  EXPECT_EQ(Cut(html, 2), u"a");
  EXPECT_EQ(Cut(html, 3), u"ab");
  EXPECT_EQ(Cut(html, 4), u"abc");
  EXPECT_EQ(Cut(html, 5), u"abc");
}

TEST(HtmlToText, ALineBreakIsStoredWholeOrNotAtAll) {
  const WCHAR* html = u"<body>a</p>b</body>";
  EXPECT_EQ(Cut(html, 2), u"a");
  EXPECT_EQ(Cut(html, 3), u"a");
  EXPECT_EQ(Cut(html, 4), u"a\r\n");
  EXPECT_EQ(Cut(html, 5), u"a\r\nb");
}

TEST(HtmlToText, APairOfUnitsIsStoredWholeOrNotAtAll) {
  const WCHAR* html = u"<body>a&#x1F600;b</body>";
  EXPECT_EQ(Cut(html, 2), u"a");
  EXPECT_EQ(Cut(html, 3), u"a");
  EXPECT_EQ(Cut(html, 4), u"a\U0001F600");
  EXPECT_EQ(Cut(html, 5), u"a\U0001F600b");
}

TEST(HtmlToText, AnEntityIsStoredOnlyWhenItFits) {
  EXPECT_EQ(Cut(u"&lt;&gt;", 2), u"<");
  EXPECT_EQ(Cut(u"&lt;&gt;", 3), u"<>");
}

TEST(HtmlToText, NothingIsStoredForNoCapacity) {
  WCHAR output[1] = {kUntouched};
  EXPECT_EQ(HtmlToText(u"<body>abc", output, 0), 3u);
  EXPECT_EQ(output[0], kUntouched);
}

// ---- Any input ----

// Inputs of every state: pieces of markup, and any characters.
rc::Gen<WideText> AnyHtml() {
  const std::vector<WideText> pieces = {
      u"<body>", u"</body>", u"<",    u">",     u"&",     u";",         u"</p>",
      u"</DIV>", u"<br>",    u"</br", u"&amp;", u"&#65;", u"&#x1F600;", u"&#x110000;",
      u"&;",     u"&foo;",   u"\n",   u"\r",    u" ",     u"\t",        u"text"};
  const auto piece = rc::gen::weightedOneOf<WideText>(
      {{4, rc::gen::elementOf(pieces)}, {1, support::AnyWideText()}});
  return rc::gen::map(rc::gen::container<std::vector<WideText>>(piece),
                      [](const std::vector<WideText>& chosen) {
                        WideText html;
                        for (const WideText& each : chosen) html += each;
                        return html;
                      });
}

TEST(HtmlToText, TwoPassesAgreeForEveryInput) {
  EXPECT_TRUE(rc::check([] {
    const WideText html = *AnyHtml();
    const size_t count = HtmlToText(html.c_str(), nullptr, 0);
    WideText output(count + 2, kUntouched);
    RC_ASSERT(HtmlToText(html.c_str(), output.data(), count + 1) == count);
    RC_ASSERT(output.find(u'\0') == count);
    RC_ASSERT(output[count + 1] == kUntouched);
  }));
}

TEST(HtmlToText, ASmallerOutputHoldsTheBeginningOfTheText) {
  EXPECT_TRUE(rc::check([] {
    const WideText html = *AnyHtml();
    const WideText whole = TextOf(html);
    const size_t capacity = *rc::gen::inRange<size_t>(1, whole.size() + 3);
    WideText output(capacity + 1, kUntouched);
    RC_ASSERT(HtmlToText(html.c_str(), output.data(), capacity) == whole.size());
    RC_ASSERT(output[capacity] == kUntouched);
    const size_t end = output.find(u'\0');
    RC_ASSERT(end < capacity);
    RC_ASSERT(whole.compare(0, end, output, 0, end) == 0);
    // At most one unit of a pair that did not fit is missing.
    RC_ASSERT(end + 2 >= std::min(whole.size() + 1, capacity));
  }));
}

TEST(HtmlToText, AnEscapedTextComesBack) {
  EXPECT_TRUE(rc::check([] {
    const WideText text = *support::AnyWideText();
    WideText html;
    for (const WCHAR unit : text) {
      const bool is_markup = unit == u'<' || unit == u'&' || unit == u'\r' || unit == u'\n';
      const std::string number = "&#" + std::to_string(static_cast<unsigned>(unit)) + ";";
      html += is_markup ? WideText(number.begin(), number.end()) : WideText(1, unit);
    }
    RC_ASSERT(TextOf(u"<body>" + html) == text);
  }));
}

// ---- Large inputs: each is quick only when the time is linear ----

constexpr size_t kMillion = 1'000'000;

TEST(HtmlToText, AnEntityOfAMillionCharactersIsABlank) {
  EXPECT_EQ(TextOf(u"<body>a&" + WideText(kMillion, u'x') + u";b"), u"a b");
  EXPECT_EQ(TextOf(u"<body>a&#" + WideText(kMillion, u'9') + u";b"), u"a b");
  EXPECT_EQ(TextOf(u"<body>a&#x" + WideText(kMillion, u'0') + u"41;b"), u"aAb");
  EXPECT_EQ(TextOf(u"<body>a&" + WideText(kMillion, u'#') + u";b"), u"a b");
}

TEST(HtmlToText, AMillionCharactersWithoutAnEndGiveNothing) {
  for (const WCHAR character : {u'&', u'<', u' ', u'x'}) {
    EXPECT_EQ(TextOf(u"<body>a&" + WideText(kMillion, character)), u"a");
    EXPECT_EQ(TextOf(u"<body>a<" + WideText(kMillion, character)), u"a");
  }
}

TEST(HtmlToText, AMillionLineStartsAreSkipped) {
  EXPECT_EQ(BodyOf(Repeated(u"\n ", kMillion) + u"a"), u"a");
}

TEST(HtmlToText, AMillionUnknownEntitiesAreBlanks) {
  EXPECT_EQ(BodyOf(Repeated(u"&rsaquox;", kMillion)), WideText(kMillion, u' '));
}

TEST(HtmlToText, AMillionTagsAreRead) {
  EXPECT_EQ(BodyOf(Repeated(u"</p>", kMillion)), Repeated(u"\r\n", kMillion));
}

}  // namespace
}  // namespace html_to_text_test
