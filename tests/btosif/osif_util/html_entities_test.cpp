#include "btosif/osif_util/html_entities.h"

#include <gtest/gtest.h>

#include <iterator>
#include <set>
#include <string>

#include "btosif/osif_util/html_to_text.h"
#include "tests/support/files.h"

namespace html_entities_test {
namespace {

struct Row {
  const char16_t* name;
  char16_t character;
};

// HTML 4.01, section 24, with "nbsp" as a plain blank and without cong, lowast, minus, radic, sum and uArr.
constexpr Row kRows[] = {{u"quot", 0x0022},
                         {u"amp", 0x0026},
                         {u"lt", 0x003C},
                         {u"gt", 0x003E},
                         // Latin-1
                         {u"nbsp", 0x0020},
                         {u"iexcl", 0x00A1},
                         {u"cent", 0x00A2},
                         {u"pound", 0x00A3},
                         {u"curren", 0x00A4},
                         {u"yen", 0x00A5},
                         {u"brvbar", 0x00A6},
                         {u"sect", 0x00A7},
                         {u"uml", 0x00A8},
                         {u"copy", 0x00A9},
                         {u"ordf", 0x00AA},
                         {u"laquo", 0x00AB},
                         {u"not", 0x00AC},
                         {u"shy", 0x00AD},
                         {u"reg", 0x00AE},
                         {u"macr", 0x00AF},
                         {u"deg", 0x00B0},
                         {u"plusmn", 0x00B1},
                         {u"sup2", 0x00B2},
                         {u"sup3", 0x00B3},
                         {u"acute", 0x00B4},
                         {u"micro", 0x00B5},
                         {u"para", 0x00B6},
                         {u"middot", 0x00B7},
                         {u"cedil", 0x00B8},
                         {u"sup1", 0x00B9},
                         {u"ordm", 0x00BA},
                         {u"raquo", 0x00BB},
                         {u"frac14", 0x00BC},
                         {u"frac12", 0x00BD},
                         {u"frac34", 0x00BE},
                         {u"iquest", 0x00BF},
                         {u"Agrave", 0x00C0},
                         {u"Aacute", 0x00C1},
                         {u"Acirc", 0x00C2},
                         {u"Atilde", 0x00C3},
                         {u"Auml", 0x00C4},
                         {u"Aring", 0x00C5},
                         {u"AElig", 0x00C6},
                         {u"Ccedil", 0x00C7},
                         {u"Egrave", 0x00C8},
                         {u"Eacute", 0x00C9},
                         {u"Ecirc", 0x00CA},
                         {u"Euml", 0x00CB},
                         {u"Igrave", 0x00CC},
                         {u"Iacute", 0x00CD},
                         {u"Icirc", 0x00CE},
                         {u"Iuml", 0x00CF},
                         {u"ETH", 0x00D0},
                         {u"Ntilde", 0x00D1},
                         {u"Ograve", 0x00D2},
                         {u"Oacute", 0x00D3},
                         {u"Ocirc", 0x00D4},
                         {u"Otilde", 0x00D5},
                         {u"Ouml", 0x00D6},
                         {u"times", 0x00D7},
                         {u"Oslash", 0x00D8},
                         {u"Ugrave", 0x00D9},
                         {u"Uacute", 0x00DA},
                         {u"Ucirc", 0x00DB},
                         {u"Uuml", 0x00DC},
                         {u"Yacute", 0x00DD},
                         {u"THORN", 0x00DE},
                         {u"szlig", 0x00DF},
                         {u"agrave", 0x00E0},
                         {u"aacute", 0x00E1},
                         {u"acirc", 0x00E2},
                         {u"atilde", 0x00E3},
                         {u"auml", 0x00E4},
                         {u"aring", 0x00E5},
                         {u"aelig", 0x00E6},
                         {u"ccedil", 0x00E7},
                         {u"egrave", 0x00E8},
                         {u"eacute", 0x00E9},
                         {u"ecirc", 0x00EA},
                         {u"euml", 0x00EB},
                         {u"igrave", 0x00EC},
                         {u"iacute", 0x00ED},
                         {u"icirc", 0x00EE},
                         {u"iuml", 0x00EF},
                         {u"eth", 0x00F0},
                         {u"ntilde", 0x00F1},
                         {u"ograve", 0x00F2},
                         {u"oacute", 0x00F3},
                         {u"ocirc", 0x00F4},
                         {u"otilde", 0x00F5},
                         {u"ouml", 0x00F6},
                         {u"divide", 0x00F7},
                         {u"oslash", 0x00F8},
                         {u"ugrave", 0x00F9},
                         {u"uacute", 0x00FA},
                         {u"ucirc", 0x00FB},
                         {u"uuml", 0x00FC},
                         {u"yacute", 0x00FD},
                         {u"thorn", 0x00FE},
                         {u"yuml", 0x00FF},
                         // Latin Extended
                         {u"OElig", 0x0152},
                         {u"oelig", 0x0153},
                         {u"Scaron", 0x0160},
                         {u"scaron", 0x0161},
                         {u"Yuml", 0x0178},
                         {u"fnof", 0x0192},
                         // Greek
                         {u"Alpha", 0x0391},
                         {u"Beta", 0x0392},
                         {u"Gamma", 0x0393},
                         {u"Delta", 0x0394},
                         {u"Epsilon", 0x0395},
                         {u"Zeta", 0x0396},
                         {u"Eta", 0x0397},
                         {u"Theta", 0x0398},
                         {u"Iota", 0x0399},
                         {u"Kappa", 0x039A},
                         {u"Lambda", 0x039B},
                         {u"Mu", 0x039C},
                         {u"Nu", 0x039D},
                         {u"Xi", 0x039E},
                         {u"Omicron", 0x039F},
                         {u"Pi", 0x03A0},
                         {u"Rho", 0x03A1},
                         {u"Sigma", 0x03A3},
                         {u"Tau", 0x03A4},
                         {u"Upsilon", 0x03A5},
                         {u"Phi", 0x03A6},
                         {u"Chi", 0x03A7},
                         {u"Psi", 0x03A8},
                         {u"Omega", 0x03A9},
                         {u"alpha", 0x03B1},
                         {u"beta", 0x03B2},
                         {u"gamma", 0x03B3},
                         {u"delta", 0x03B4},
                         {u"epsilon", 0x03B5},
                         {u"zeta", 0x03B6},
                         {u"eta", 0x03B7},
                         {u"theta", 0x03B8},
                         {u"iota", 0x03B9},
                         {u"kappa", 0x03BA},
                         {u"lambda", 0x03BB},
                         {u"mu", 0x03BC},
                         {u"nu", 0x03BD},
                         {u"xi", 0x03BE},
                         {u"omicron", 0x03BF},
                         {u"pi", 0x03C0},
                         {u"rho", 0x03C1},
                         {u"sigmaf", 0x03C2},
                         {u"sigma", 0x03C3},
                         {u"tau", 0x03C4},
                         {u"upsilon", 0x03C5},
                         {u"phi", 0x03C6},
                         {u"chi", 0x03C7},
                         {u"psi", 0x03C8},
                         {u"omega", 0x03C9},
                         {u"thetasym", 0x03D1},
                         {u"upsih", 0x03D2},
                         {u"piv", 0x03D6},
                         // General punctuation, letterlike symbols
                         {u"bull", 0x2022},
                         {u"hellip", 0x2026},
                         {u"prime", 0x2032},
                         {u"Prime", 0x2033},
                         {u"oline", 0x203E},
                         {u"frasl", 0x2044},
                         {u"weierp", 0x2118},
                         {u"image", 0x2111},
                         {u"real", 0x211C},
                         {u"trade", 0x2122},
                         {u"alefsym", 0x2135},
                         // Arrows
                         {u"larr", 0x2190},
                         {u"uarr", 0x2191},
                         {u"rarr", 0x2192},
                         {u"darr", 0x2193},
                         {u"harr", 0x2194},
                         {u"crarr", 0x21B5},
                         {u"lArr", 0x21D0},
                         {u"rArr", 0x21D2},
                         {u"dArr", 0x21D3},
                         {u"hArr", 0x21D4},
                         // Mathematical operators
                         {u"forall", 0x2200},
                         {u"part", 0x2202},
                         {u"exist", 0x2203},
                         {u"empty", 0x2205},
                         {u"nabla", 0x2207},
                         {u"isin", 0x2208},
                         {u"notin", 0x2209},
                         {u"ni", 0x220B},
                         {u"prod", 0x220F},
                         {u"prop", 0x221D},
                         {u"infin", 0x221E},
                         {u"ang", 0x2220},
                         {u"and", 0x2227},
                         {u"or", 0x2228},
                         {u"cap", 0x2229},
                         {u"cup", 0x222A},
                         {u"int", 0x222B},
                         {u"there4", 0x2234},
                         {u"sim", 0x223C},
                         {u"asymp", 0x2248},
                         {u"ne", 0x2260},
                         {u"equiv", 0x2261},
                         {u"le", 0x2264},
                         {u"ge", 0x2265},
                         {u"sub", 0x2282},
                         {u"sup", 0x2283},
                         {u"nsub", 0x2284},
                         {u"sube", 0x2286},
                         {u"supe", 0x2287},
                         {u"oplus", 0x2295},
                         {u"otimes", 0x2297},
                         {u"perp", 0x22A5},
                         {u"sdot", 0x22C5},
                         // Technical, shapes
                         {u"lceil", 0x2308},
                         {u"rceil", 0x2309},
                         {u"lfloor", 0x230A},
                         {u"rfloor", 0x230B},
                         {u"lang", 0x2329},
                         {u"rang", 0x232A},
                         {u"loz", 0x25CA},
                         {u"spades", 0x2660},
                         {u"clubs", 0x2663},
                         {u"hearts", 0x2665},
                         {u"diams", 0x2666},
                         // Spacing modifiers, more punctuation
                         {u"circ", 0x02C6},
                         {u"tilde", 0x02DC},
                         {u"ensp", 0x2002},
                         {u"emsp", 0x2003},
                         {u"thinsp", 0x2009},
                         {u"zwnj", 0x200C},
                         {u"zwj", 0x200D},
                         {u"lrm", 0x200E},
                         {u"rlm", 0x200F},
                         {u"ndash", 0x2013},
                         {u"mdash", 0x2014},
                         {u"lsquo", 0x2018},
                         {u"rsquo", 0x2019},
                         {u"sbquo", 0x201A},
                         {u"ldquo", 0x201C},
                         {u"rdquo", 0x201D},
                         {u"bdquo", 0x201E},
                         {u"dagger", 0x2020},
                         {u"Dagger", 0x2021},
                         {u"permil", 0x2030},
                         {u"lsaquo", 0x2039},
                         {u"rsaquo", 0x203A},
                         {u"euro", 0x20AC}};

constexpr size_t kRowCount = 246;
static_assert(std::size(kRows) == kRowCount);

std::u16string Decoded(std::u16string_view entity) {
  WCHAR units[kEntityUnits] = {};
  const size_t count = DecodeHtmlEntity(entity, units);
  EXPECT_EQ(DecodeHtmlEntity(entity, nullptr), count);
  return {units, count};
}

TEST(HtmlEntities, Are246) { EXPECT_EQ(HtmlEntities().size(), kRowCount); }

TEST(HtmlEntities, HaveTheirNamesAndCharactersInOrder) {
  ASSERT_EQ(HtmlEntities().size(), kRowCount);
  for (size_t i = 0; i < kRowCount; ++i) {
    EXPECT_EQ(HtmlEntities()[i].name, kRows[i].name) << "row " << i;
    EXPECT_EQ(HtmlEntities()[i].character, kRows[i].character) << "row " << i;
  }
}

TEST(HtmlEntities, AreFoundByTheirNames) {
  for (const Row& row : kRows) {
    const HtmlEntity* found = FindHtmlEntity(row.name);
    ASSERT_NE(found, nullptr) << support::Narrow(row.name);
    EXPECT_EQ(found->character, row.character) << support::Narrow(row.name);
  }
}

TEST(HtmlEntities, AreDecodedToTheirCharacters) {
  for (const Row& row : kRows) {
    EXPECT_EQ(Decoded(row.name), std::u16string(1, row.character)) << support::Narrow(row.name);
  }
}

TEST(HtmlEntities, AreNotFoundByTheBeginningOfANameNorByALongerOne) {
  std::set<std::u16string> names;
  for (const Row& row : kRows) names.insert(row.name);
  for (const std::u16string& name : names) {
    const std::u16string longer = name + u"x";
    const std::u16string shorter = name.substr(0, name.size() - 1);
    EXPECT_EQ(FindHtmlEntity(longer), nullptr) << support::Narrow(longer);
    if (names.count(shorter) == 0) {
      EXPECT_EQ(FindHtmlEntity(shorter), nullptr) << support::Narrow(shorter);
    }
  }
}

TEST(HtmlEntities, AreFoundInTheirOwnCaseOnly) {
  EXPECT_EQ(Decoded(u"Auml"), u"\u00C4");
  EXPECT_EQ(Decoded(u"auml"), u"\u00E4");
  EXPECT_EQ(Decoded(u"dagger"), u"\u2020");
  EXPECT_EQ(Decoded(u"Dagger"), u"\u2021");
  for (const char16_t* name : {u"AMP", u"Lt", u"AUML", u"Euro", u"NBSP", u"eTH"}) {
    EXPECT_EQ(FindHtmlEntity(name), nullptr) << support::Narrow(name);
    EXPECT_EQ(Decoded(name), u" ") << support::Narrow(name);
  }
}

TEST(HtmlEntities, TheNoBreakSpaceIsAPlainBlank) { EXPECT_EQ(Decoded(u"nbsp"), u" "); }

TEST(HtmlEntities, SixEntitiesOfTheStandardAreUnknown) {
  for (const char16_t* name : {u"cong", u"lowast", u"minus", u"radic", u"sum", u"uArr"}) {
    EXPECT_EQ(FindHtmlEntity(name), nullptr) << support::Narrow(name);
    EXPECT_EQ(Decoded(name), u" ") << support::Narrow(name);
  }
}

TEST(HtmlEntities, AnEmptyNameIsNothing) {
  EXPECT_EQ(FindHtmlEntity(u""), nullptr);
  EXPECT_EQ(Decoded(u""), u"");
}

TEST(HtmlEntities, AnUnknownNameIsABlank) {
  for (const char16_t* name : {u"foo", u" amp", u"amp ", u"&amp", u"65", u"x41", u" "}) {
    EXPECT_EQ(Decoded(name), u" ") << support::Narrow(name);
  }
}

// ---- Numbers ----

struct NumberCase {
  const char16_t* entity;
  const char16_t* text;
};

class HtmlNumber : public testing::TestWithParam<NumberCase> {};

TEST_P(HtmlNumber, BecomesItsCharacter) {
  EXPECT_EQ(Decoded(GetParam().entity), GetParam().text) << support::Narrow(GetParam().entity);
}

INSTANTIATE_TEST_SUITE_P(
    Decimal, HtmlNumber,
    testing::Values(NumberCase{u"#65", u"A"}, NumberCase{u"#0065", u"A"}, NumberCase{u"##65", u"A"},
                    NumberCase{u"#8364", u"\u20AC"}, NumberCase{u"#160", u"\u00A0"},
                    NumberCase{u"#1", u"\u0001"}, NumberCase{u"#65535", u"\uFFFF"},
                    NumberCase{u"#65536", u"\U00010000"}, NumberCase{u"#1114111", u"\U0010FFFF"}));
INSTANTIATE_TEST_SUITE_P(
    Hexadecimal, HtmlNumber,
    testing::Values(NumberCase{u"#x41", u"A"}, NumberCase{u"##xx41", u"A"},
                    NumberCase{u"###xxx0041", u"A"}, NumberCase{u"#x20ac", u"\u20AC"},
                    NumberCase{u"#x20AC", u"\u20AC"}, NumberCase{u"#xFFFF", u"\uFFFF"},
                    NumberCase{u"#x1F600", u"\U0001F600"}, NumberCase{u"#x10FFFF", u"\U0010FFFF"}));
INSTANTIATE_TEST_SUITE_P(ThatIsNone, HtmlNumber,
                         testing::Values(NumberCase{u"#", u" "}, NumberCase{u"##", u" "},
                                         NumberCase{u"#x", u" "}, NumberCase{u"##xx", u" "},
                                         NumberCase{u"#abc", u" "}, NumberCase{u"#xyz", u" "},
                                         NumberCase{u"#0", u" "}, NumberCase{u"#x0", u" "},
                                         NumberCase{u"#-65", u" "}, NumberCase{u"#X41", u" "}));
INSTANTIATE_TEST_SUITE_P(ThatIsNoCharacter, HtmlNumber,
                         testing::Values(NumberCase{u"#xD800", u" "}, NumberCase{u"#xDFFF", u" "},
                                         NumberCase{u"#55296", u" "}, NumberCase{u"#x110000", u" "},
                                         NumberCase{u"#1114112", u" "},
                                         NumberCase{u"#4294967361", u" "},
                                         NumberCase{u"#x100000041", u" "},
                                         NumberCase{u"#99999999999999999999999", u" "},
                                         NumberCase{u"#xFFFFFFFFFFFFFFFFFFFFFFF", u" "}));
INSTANTIATE_TEST_SUITE_P(WithSomethingBehindIt, HtmlNumber,
                         testing::Values(NumberCase{u"#65x", u"A"}, NumberCase{u"#65 66", u"A"},
                                         NumberCase{u"#x41g", u"A"}));

}  // namespace
}  // namespace html_entities_test
