#include "btosif/osif_util/value_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "btosif/osif_util/property_value.h"
#include "platform/posix/fault_injection.h"
#include "tests/support/settings.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"
#include "tests/support/values.h"

namespace value_text_test {
namespace {

using support::ComponentsOf;
using support::MakeValue;
using support::ParamsOf;
using support::Parsed;
using support::SetSetting;
using support::TraceReceiver;
using testing::ElementsAre;

class GetText : public support::TextTest {};
class SetText : public support::TextTest {};

// The first component of a property line's value and parameters.
WideText Read(std::string_view value_text, std::string_view params = "") {
  return DecodedText(Parsed(value_text, params).get());
}

// ---- Reading ----

TEST_F(GetText, QuotedPrintableUtf8BytesOfAnAccentedLetterComeBackAsThatLetter) {
  EXPECT_EQ(Read("=C3=A9", "CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE"), u"\u00E9");
}

TEST_F(GetText, EightBitTextIsReadInItsCharset) {
  EXPECT_EQ(Read("\xC3\xA9", "CHARSET=UTF-8"), u"\u00E9");
  EXPECT_EQ(Read("\xCF\xF0", "ENCODING=8BIT;CHARSET=windows-1251"), u"\u041F\u0440");
}

TEST_F(GetText, ATextEndsAtItsFirstZeroCharacterAlsoInUtf7) {
  EXPECT_EQ(Read("a=00b", "ENCODING=QUOTED-PRINTABLE"), u"a");
  EXPECT_EQ(Read("a+AAAAYg-c", "CHARSET=UTF-7"), u"a");
}

TEST_F(GetText, AParameterAloneDeclaresQuotedPrintable) {
  ValueList value = MakeValue({"quoted-printable"}, {"a=3Db"}, 0);
  EXPECT_EQ(DecodedText(value.get()), u"a=b");
}

TEST_F(GetText, TheFlagAloneDeclaresQuotedPrintable) {
  ValueList value = MakeValue({}, {"a=3Db"}, OSIF_VALUE_QUOTED_PRINTABLE);
  EXPECT_EQ(DecodedText(value.get()), u"a=b");
}

TEST_F(GetText, APlainComponentHoldingEncodedLineBreaksComesBackAsTwoLines) {
  EXPECT_EQ(Read("one=0D=0Atwo"), u"one\r\ntwo");
  EXPECT_EQ(Read("one=0D=0A=0D=0Atwo=0D=0A"), u"one\r\n\r\ntwo\r\n");
}

TEST_F(GetText, NothingElseOfAPlainComponentIsDecoded) {
  EXPECT_EQ(Read("one=0Atwo=41=0d=0a=0D"), u"one=0Atwo=41=0d=0a=0D");
  EXPECT_EQ(Read("=41=0D=0A=42"), u"=41\r\n=42");
}

TEST_F(GetText, Base64IsNotDecoded) { EXPECT_EQ(Read("SGVsbG8=", "BASE64"), u"SGVsbG8="); }

TEST_F(GetText, AnEscapedSemicolonComesBackPlain) { EXPECT_EQ(Read("one\\;two"), u"one;two"); }

TEST_F(GetText, EveryBackslashIsDroppedAndTheCharacterBehindItKept) {
  EXPECT_EQ(Read("a\\\\b"), u"a\\b");
  EXPECT_EQ(Read("a\\\\\\;b"), u"a\\;b");
  EXPECT_EQ(Read("a\\nb\\,c"), u"anb,c");
}

TEST_F(GetText, ABackslashAtTheVeryEndIsDropped) {
  EXPECT_EQ(Read("a\\"), u"a");
  EXPECT_EQ(Read("\\"), u"");
}

TEST_F(GetText, EscapesInsideQuotedPrintableAreRemovedAfterDecoding) {
  EXPECT_EQ(Read("a=5C=3Bb", "QUOTED-PRINTABLE"), u"a;b");
}

TEST_F(GetText, ASecondByteThatLooksLikeABackslashIsNoEscape) {
  EXPECT_EQ(Read("=83=5C=95=5C", "QUOTED-PRINTABLE;CHARSET=SHIFT-JIS"), u"\u30BD\u8868");
}

TEST_F(GetText, ACharsetParameterNamingAnUnknownSetUsesTheInputCodePage) {
  SetSetting(u"DefaultInputCharset", u"KOI8-R");
  EXPECT_EQ(Read("\xF0\xD2", "CHARSET=KLINGON"), u"\u041F\u0440");
}

TEST_F(GetText, ACharsetParameterWithoutAValueUsesTheInputCodePage) {
  SetSetting(u"DefaultInputCharset", u"KOI8-R");
  EXPECT_EQ(Read("\xF0\xD2", "CHARSET="), u"\u041F\u0440");
  EXPECT_EQ(Read("\xF0\xD2", "CHARSET"), u"\u041F\u0440");
}

TEST_F(GetText, WithoutACharsetTheInputCodePageIsUsed) {
  EXPECT_EQ(Read("\xFC\x80"), u"\u00FC\u20AC");
  EXPECT_EQ(Read("=FC", "QUOTED-PRINTABLE"), u"\u00FC");
}

TEST_F(GetText, ACharsetParameterDoesNotCountWithoutItsFlag) {
  ValueList value = MakeValue({"CHARSET=UTF-8"}, {"\xFC"}, 0);
  EXPECT_EQ(DecodedText(value.get()), u"\u00FC");
}

TEST_F(GetText, ACharsetFlagWithoutItsParameterUsesTheInputCodePage) {
  ValueList value = MakeValue({}, {"\xFC"}, OSIF_VALUE_CHARSET);
  EXPECT_EQ(DecodedText(value.get()), u"\u00FC");
}

TEST_F(GetText, TheQuotedNameOfACharsetIsRead) {
  EXPECT_EQ(Read("\xC3\xA9", "CHARSET=\"utf-8\""), u"\u00E9");
}

TEST_F(GetText, TheCodePageIsRememberedForTheOtherComponents) {
  ValueList value = Parsed("\xC3\xA9;\xC3\xBC", "CHARSET=UTF-8", 2);
  EXPECT_EQ(DecodedText(value.get()), u"\u00E9");
  EXPECT_EQ(value->codePage, 65001u);
  value->flags = 0;
  EXPECT_EQ(DecodedText(value.get(), 1), u"\u00FC");
}

TEST_F(GetText, ARememberedCodePageGoesBeforeTheParameter) {
  ValueList value = Parsed("\xFC", "CHARSET=UTF-8");
  value->codePage = 1252;
  EXPECT_EQ(DecodedText(value.get()), u"\u00FC");
}

TEST_F(GetText, TheInputCodePageIsRememberedToo) {
  ValueList value = Parsed("x", "");
  DecodedText(value.get());
  EXPECT_EQ(value->codePage, 1252u);
}

TEST_F(GetText, Index3OfAValueWithTwoComponentsGivesTheEmptyText) {
  ValueList value = Parsed("a;b", "", 5);
  WideText text = u"before";
  EXPECT_EQ(PropertyValue_GetText(value.get(), 3, text), u"");
  EXPECT_EQ(text, u"");
}

TEST_F(GetText, NoValueGivesTheEmptyText) {
  WideText text = u"before";
  EXPECT_EQ(&PropertyValue_GetText(nullptr, 0, text), &text);
  EXPECT_EQ(text, u"");
}

TEST_F(GetText, APositionWithoutATextGivesTheEmptyText) {
  ValueList value = MakeValue({}, {});
  PropertyValue_SetComponent(value.get(), CopyText("b"), 1);
  EXPECT_EQ(DecodedText(value.get()), u"");
  EXPECT_EQ(DecodedText(value.get(), 1), u"b");
}

TEST_F(GetText, TheComponentItselfStaysRaw) {
  ValueList value = Parsed("a=5C=3Bb", "QUOTED-PRINTABLE");
  DecodedText(value.get());
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("a=5C=3Bb"));
}

TEST_F(GetText, AnEncodedByteThatIsCutOffDoesNoHarm) {
  EXPECT_EQ(Read("ab=", "QUOTED-PRINTABLE").substr(0, 2), u"ab");
  EXPECT_EQ(Read("ab=4", "QUOTED-PRINTABLE").substr(0, 2), u"ab");
  EXPECT_EQ(Read("ab=C3", "QUOTED-PRINTABLE;CHARSET=UTF-8").substr(0, 2), u"ab");
}

TEST_F(GetText, ATextOfMegabytesIsDecoded) {
  std::string raw;
  for (int i = 0; i < 1000000; ++i) raw += "=C3=A9";
  EXPECT_EQ(Read(raw, "QUOTED-PRINTABLE;CHARSET=UTF-8"), WideText(1000000, u'\u00E9'));
  EXPECT_EQ(Read(std::string(4000000, '\\')), WideText(2000000, u'\\'));
}

// ---- Writing ----

// A value whose first component was set.
ValueList Made(WideView text, uint32_t encode_flags = kEncodeQuotedPrintable) {
  ValueList value = MakeValue({}, {});
  PropertyValue_SetText(text, value.get(), encode_flags, 0);
  return value;
}

TEST_F(SetText, ASemicolonBetweenTwoLettersGetsABackslashBeforeIt) {
  EXPECT_THAT(ComponentsOf(*Made(u"a;b", 0)), ElementsAre("a\\;b"));
}

TEST_F(SetText, ABackslashGetsABackslashBeforeIt) {
  EXPECT_THAT(ComponentsOf(*Made(u"a\\b", 0)), ElementsAre("a\\\\b"));
}

TEST_F(SetText, AsciiGetsNeitherCharsetNorEncoding) {
  ValueList value = Made(u"Ann Lee, 42 (home)");
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("Ann Lee, 42 (home)"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre());
  EXPECT_EQ(value->flags, 0u);
  EXPECT_EQ(value->codePage, 0u);
}

TEST_F(SetText, AnAccentedLetterGoesOutInUtf8QuotedPrintable) {
  ValueList value = Made(u"Ren\u00E9");
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("Ren=C3=A9"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"));
  EXPECT_EQ(value->flags, 0x1u | 0x8u);
  EXPECT_EQ(value->codePage, 65001u);
}

TEST_F(SetText, WithoutTheEncodeFlagTheBytesGoOutAsTheyAre) {
  ValueList value = Made(u"Ren\u00E9", 0);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("Ren\xC3\xA9"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("CHARSET=UTF-8"));
  EXPECT_EQ(value->flags, 0x8u);
}

TEST_F(SetText, CharactersUpTo127NeedNoCharset) {
  ValueList value = Made(u"\u007F");
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("=7F"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("ENCODING=QUOTED-PRINTABLE"));
  EXPECT_EQ(value->codePage, 0u);
}

TEST_F(SetText, CharactersFrom128OnNeedACharset) {
  ValueList value = Made(u"\u0080");
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("=C2=80"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"));
}

TEST_F(SetText, AsciiThatNeedsEncodingIsEncodedWithoutACharset) {
  ValueList value = Made(u"1+1=2: so");
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("1+1=3D2=3A so"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("ENCODING=QUOTED-PRINTABLE"));
  EXPECT_EQ(value->flags, 0x1u);
}

TEST_F(SetText, EscapesAreEncodedTogetherWithWhatTheyProtect) {
  EXPECT_THAT(ComponentsOf(*Made(u"a;b\\c")), ElementsAre("a=5C=3Bb=5C=5Cc"));
}

TEST_F(SetText, ATextWithLineBreaksIsAlwaysEncoded) {
  for (uint32_t encode_flags : {0u, kEncodeQuotedPrintable}) {
    ValueList value = Made(u"one\r\ntwo\nthree", encode_flags);
    EXPECT_THAT(ComponentsOf(*value), ElementsAre("one=0D=0Atwo=0Athree"));
    EXPECT_THAT(ParamsOf(*value), ElementsAre("ENCODING=QUOTED-PRINTABLE"));
    EXPECT_EQ(value->flags, 0x1u);
  }
}

struct MisreadCase {
  const char16_t* text;
  const char* encoded;
};

class MisreadText : public support::TextTest, public testing::WithParamInterface<MisreadCase> {};

TEST_P(MisreadText, IsEncodedThoughNobodyAskedForIt) {
  ValueList value = Made(GetParam().text, 0);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre(GetParam().encoded));
  EXPECT_EQ(value->flags & OSIF_VALUE_QUOTED_PRINTABLE, 0x1u);
}

INSTANTIATE_TEST_SUITE_P(Texts, MisreadText,
                         testing::Values(MisreadCase{u"1+1=", "1+1=3D"},  // else a soft line break
                                         MisreadCase{u"a=0D=0Ab", "a=3D0D=3D0Ab"},
                                         MisreadCase{u"a\rb\n", "a=0Db=0A"}));

TEST_F(SetText, AByteThatLooksLikeAnEscapeIsEncodedThoughNobodyAskedForIt) {
  SetSetting(u"DefaultOutputCharset", u"SHIFT-JIS");
  EXPECT_THAT(ComponentsOf(*Made(u"\u8868", 0)), ElementsAre("=95=5C"));
}

TEST_F(SetText, OtherTextsStayPlainWhenNobodyAskedForEncoding) {
  ValueList value = Made(u"a=b: c; d\\", 0);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("a=b: c\\; d\\\\"));
  EXPECT_EQ(value->flags, 0u);
}

TEST_F(SetText, TheEncodingIsDeclaredOnceAndHoldsForAllComponents) {
  ValueList value = Made(u"a=41", 0);
  PropertyValue_SetText(u"b\nc", value.get(), 0, 1);
  PropertyValue_SetText(u"d=41", value.get(), 0, 2);
  PropertyValue_SetText(u"\u00E9", value.get(), 0, 3);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("a=3D41", "b=0Ac", "d=3D41", "=C3=A9"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("ENCODING=QUOTED-PRINTABLE", "CHARSET=UTF-8"));
}

TEST_F(SetText, TheCharsetIsNamedOnceForAllComponents) {
  ValueList value = Made(u"\u00E9", 0);
  PropertyValue_SetText(u"\u00FC", value.get(), 0, 1);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("\xC3\xA9", "\xC3\xBC"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("CHARSET=UTF-8"));
}

TEST_F(SetText, AnAsciiComponentDoesNotChooseForTheNextOne) {
  ValueList value = Made(u"Lee");
  PropertyValue_SetText(u"Ren\u00E9", value.get(), kEncodeQuotedPrintable, 1);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("Lee", "Ren=C3=A9"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("CHARSET=UTF-8", "ENCODING=QUOTED-PRINTABLE"));
}

struct FollowCase {
  const char16_t* charset;
  const char16_t* ascii;  // the first component
  const char* stored;     // as it is sent once the second one has chosen the character set
};

class FollowingText : public support::TextTest, public testing::WithParamInterface<FollowCase> {};

TEST_P(FollowingText, AnAsciiComponentStoredBeforeTheCharsetWasChosenFollowsIt) {
  const FollowCase& follow = GetParam();
  SetSetting(u"DefaultOutputCharset", follow.charset);
  ValueList value = Made(follow.ascii, 0);
  PropertyValue_SetText(u"\u00E4\u65E5", value.get(), 0, 1);
  EXPECT_EQ(ComponentText(value.get(), 0), follow.stored);
}

INSTANTIATE_TEST_SUITE_P(Charsets, FollowingText,
                         testing::Values(FollowCase{u"UTF-7", u"1+1", "1+-1"},
                                         FollowCase{u"UTF-7", u"Lee", "Lee"},
                                         FollowCase{u"HZ-GB-2312", u"a~{b", "a~~{b"},
                                         FollowCase{u"DIN_66003", u"a;b", "a=3Bb"},
                                         FollowCase{u"DIN_66003", u"a[b", "a?b"},
                                         FollowCase{u"NS_4551-1", u"a~b", "a?b"},
                                         FollowCase{u"SEN_850200_B", u"$5", "?5"},
                                         FollowCase{u"IRV", u"$5", "?5"},
                                         FollowCase{u"ISO-2022-KR", u"Lee", "Lee"},
                                         FollowCase{u"SHIFT-JIS", u"a;b\\c", "a\\;b\\\\c"},
                                         FollowCase{u"UTF-8", u"a;b+c~[", "a\\;b+c~["}));

TEST_F(SetText, AnEncodedComponentFollowsTheCharsetToo) {
  SetSetting(u"DefaultOutputCharset", u"UTF-7");
  ValueList value = Made(u"1+1=2");
  PropertyValue_SetText(u"\u00FC", value.get(), 0, 1);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("1+-1=3D2", "+APw-"));
  EXPECT_EQ(DecodedText(value.get()), u"1+1=2");
}

TEST_F(SetText, AChosenCodePageHoldsForAnAsciiComponent) {
  SetSetting(u"DefaultOutputCharset", u"UTF-7");
  ValueList value = Made(u"\u00FC", 0);
  PropertyValue_SetText(u"1+1", value.get(), 0, 1);
  EXPECT_EQ(value->codePage, 65000u);
  EXPECT_EQ(DecodedText(value.get(), 1), u"1+1");
}

TEST_F(SetText, AChosenCodePageGoesBeforeTheSetting) {
  ValueList value = MakeValue({}, {});
  value->codePage = 20866;
  PropertyValue_SetText(u"\u041F", value.get(), 0, 0);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("\xF0"));
}

TEST_F(SetText, ACharsetParameterThatIsThereIsNotAddedAgain) {
  ValueList value = MakeValue({"charset=utf-8"}, {});
  PropertyValue_SetText(u"\u00E9", value.get(), 0, 0);
  EXPECT_THAT(ParamsOf(*value), ElementsAre("charset=utf-8"));
}

TEST_F(SetText, AValueWithTheCharsetFlagGetsNoCharsetParameter) {
  ValueList value = MakeValue({}, {}, OSIF_VALUE_CHARSET);
  PropertyValue_SetText(u"\u00E9", value.get(), 0, 0);
  EXPECT_THAT(ParamsOf(*value), ElementsAre());
}

TEST_F(SetText, TheOutputSettingChoosesTheCharset) {
  SetSetting(u"DefaultOutputCharset", u"SHIFT-JIS");
  ValueList value = Made(u"\u30BD");
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("=83=5C"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("CHARSET=SHIFT-JIS", "ENCODING=QUOTED-PRINTABLE"));
  EXPECT_EQ(value->codePage, 932u);
}

TEST_F(SetText, AnOutputSettingOfIso88591Chooses1252AndNoCharsetIsEverWritten) {
  SetSetting(u"DefaultOutputCharset", u"ISO-8859-1");
  ValueList value = Made(u"Ren\u00E9");
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("Ren=E9"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("ENCODING=QUOTED-PRINTABLE"));
  EXPECT_EQ(value->flags, 0x1u);
  EXPECT_EQ(value->codePage, 0u);
}

TEST_F(SetText, ACodePage1252ThatWasReadIsNotNamed) {
  ValueList value = Parsed("x", "");
  DecodedText(value.get());
  PropertyValue_SetText(u"Ren\u00E9", value.get(), 0, 0);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("Ren\xE9"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre());
}

TEST_F(SetText, ALookAlikeThatTheCharsetWritesForAnEscapedCharacterIsEscapedToo) {
  SetSetting(u"DefaultOutputCharset", u"WINDOWS-1250");
  ValueList value = Made(u"\u0141\uFF3Cb\uFF1Bc", 0);  // the full-width backslash and semicolon
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("\xA3\\\\b\\;c"));
  EXPECT_EQ(DecodedText(value.get()), u"\u0141\\b;c");
}

TEST_F(SetText, AYenSignInAJapaneseCharsetStaysAYenSign) {
  for (const char16_t* name : {u"SHIFT-JIS", u"SJIS", u"EUC-JP", u"X-EUC", u"_AUTODETECT"}) {
    ForgetCharsetChoices();
    SetSetting(u"DefaultOutputCharset", name);
    ValueList value = Made(u"\u00A51,000 \u3067\u3059", 0);
    EXPECT_EQ(DecodedText(value.get()), u"\uFFE51,000 \u3067\u3059");
  }
}

TEST_F(SetText, WhereTheCharsetHasNoBackslashASemicolonIsEncodedInsteadOfEscaped) {
  SetSetting(u"DefaultOutputCharset", u"DIN_66003");
  ValueList value = Made(u"\u00D6;\u00C4", 0);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("=5C=3B["));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("CHARSET=DIN_66003", "ENCODING=QUOTED-PRINTABLE"));
  EXPECT_EQ(DecodedText(value.get()), u"\u00D6;\u00C4");
}

TEST_F(SetText, WhereTheCharsetHasNoBackslashItBecomesAQuestionMark) {
  SetSetting(u"DefaultOutputCharset", u"DIN_66003");
  EXPECT_EQ(DecodedText(Made(u"\u00E4\\b", 0).get()), u"\u00E4?b");
}

TEST_F(SetText, WhatTheCharsetCannotHoldBecomesAQuestionMark) {
  SetSetting(u"DefaultOutputCharset", u"ISO-8859-1");
  EXPECT_THAT(ComponentsOf(*Made(u"a\u65E5b")), ElementsAre("a?b"));
}

TEST_F(SetText, ATextReplacesTheOneThatWasThere) {
  ValueList value = Made(u"old");
  PropertyValue_SetText(u"new", value.get(), 0, 0);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("new"));
}

TEST_F(SetText, PositionsBeforeTheTextAreMade) {
  ValueList value = MakeValue({}, {});
  PropertyValue_SetText(u"street", value.get(), 0, 2);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("<null>", "<null>", "street"));
}

TEST_F(SetText, AnEmptyTextIsAnEmptyComponent) {
  ValueList value = Made(u"");
  EXPECT_THAT(ComponentsOf(*value), ElementsAre(""));
  EXPECT_THAT(ParamsOf(*value), ElementsAre());
}

TEST_F(SetText, NoValueTakesNoText) { PropertyValue_SetText(u"x", nullptr, 0, 0); }

TEST_F(SetText, HalfOfASurrogatePairDoesNoHarm) {
  EXPECT_EQ(ComponentsOf(*Made(WideText{u'a', 0xD83D, u'b'})).size(), 1u);
}

TEST_F(SetText, ATextOfMegabytesIsEncoded) {
  ValueList value = Made(WideText(1000000, u'\u00E9'));
  EXPECT_EQ(ComponentText(value.get(), 0).size(), 6000000u);
}

// ---- Memory shortage ----

// What a receiver reads, who has the parameters and the text of a component.
WideText Received(const PropertyValue& value, size_t index) {
  std::string params;
  for (const std::string& param : ParamsOf(value)) params += (params.empty() ? "" : ";") + param;
  return Read(ComponentText(&value, index), params);
}

void ExpectFlagsOfParams(const PropertyValue& value) {
  EXPECT_EQ((value.flags & OSIF_VALUE_QUOTED_PRINTABLE) != 0,
            PropertyValue_FindParam(value.params, "QUOTED-PRINTABLE") != nullptr);
  EXPECT_EQ((value.flags & OSIF_VALUE_CHARSET) != 0,
            PropertyValue_FindParam(value.params, "CHARSET") != nullptr);
}

// Sets the second component of values that have ever less room of their own, while each of the allocations fails that
// this makes, and calls `check` with what became of the value. Returns how many have failed.
template <typename Check>
int FailEachAllocation(WideView text, Check check) {
  int failures = 0;
  for (size_t used = 1; used < 800; used += 3) {
    for (int nth = 1;; ++nth) {
      ValueList value = MakeValue({std::string(used, 'x')}, {"a=41"});
      FailAllocation(nth);
      PropertyValue_SetText(text, value.get(), kEncodeQuotedPrintable, 1);
      const bool has_failed = !IsFailurePending();
      FailAllocation(0);
      if (!has_failed) break;
      ++failures;
      EXPECT_EQ(Received(*value, 0), u"a=41");
      ExpectFlagsOfParams(*value);
      // A property line ends at a line break: the rest of the text would be lost.
      EXPECT_EQ(ComponentText(value.get(), 1).find_first_of("\r\n"), std::string_view::npos);
      check(*value);
    }
  }
  return failures;
}

TEST_F(SetText, IsReadAsItIsMeantOrNotAtAllWhicheverAllocationFails) {
  TraceReceiver trace;
  const WideText whole = u"Ren\u00E9\r\nb;";
  const int failures = FailEachAllocation(whole, [&](const PropertyValue& value) {
    const WideText text = Received(value, 1);
    EXPECT_TRUE(text.empty() || text == whole);
  });
  EXPECT_GT(failures, 50);
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

TEST_F(SetText, StaysPlainWhereTheEncodingCannotBeDeclared) {
  std::set<std::string> texts;
  const int failures = FailEachAllocation(u"Ren\u00E9", [&](const PropertyValue& value) {
    const std::string text(ComponentText(&value, 1));
    texts.insert(text);
    EXPECT_TRUE(text.empty() || Received(value, 1) == u"Ren\u00E9") << text;
  });
  EXPECT_GT(failures, 50);
  EXPECT_THAT(texts, ElementsAre("", "Ren\xC3\xA9"));
}

}  // namespace
}  // namespace value_text_test
