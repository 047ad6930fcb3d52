// The body of a message on its way into the messaging store and out of it.
#include "mapi/mapi_body.h"

#include "mapi/mapi_mail.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_body_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::EndsWith;

constexpr char kAdding[] = "MAPI:  MAPI_AddMail() Folder:";
const auto kGetting = testing::StartsWith("MAPI:  MAPI_GetMailById(");
constexpr char kAdded[] = "       MAPI_AddMail() returns 0";

// ---- Into the store -----------------------------------------------------------------------------

class MapiBodyIn : public OpenFakeMapiTest {
 protected:
  // What is written for a body, its terminator taken off.
  std::u16string Write(std::string_view text, std::string_view type = "",
                       std::string_view encoding = "") {
    mapi_.created.clear();
    MailRecord record;
    record.Body(text, type, encoding);
    std::u16string written = Add(record).BodyText();
    EXPECT_FALSE(written.empty());
    if (written.empty()) return u"nothing";
    EXPECT_EQ(written.back(), u'\0');
    written.pop_back();
    return written;
  }
};

TEST_F(MapiBodyIn, IsWrittenInOnePieceWithItsTerminator) {
  MailRecord record;
  record.Body("Hello");
  EXPECT_EQ(*Add(record).body, std::string("H\0e\0l\0l\0o\0\0\0", 12));
  EXPECT_EQ(mapi_.Count("stream.Write"), 1);
}

TEST_F(MapiBodyIn, TakesThePlaceOfTheOldOne) {
  FakeMail& mail = mapi_.Keep(mapi_.inbox, "\x01");
  mail.SetBody(u"a much longer old body");
  MailRecord record;
  record.Body("new");
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "01")), OSIF_OK);
  EXPECT_EQ(mail.BodyText(), std::u16string(u"new\0", 4));
}

TEST_F(MapiBodyIn, WithoutABodyNoStreamIsOpened) {
  MailRecord record;
  record.Subject("Lunch");
  Add(record);
  EXPECT_EQ(mapi_.Count("message.OpenProperty"), 0);
}

// It only switches to ASCII.
TEST_F(MapiBodyIn, ABodyThatDecodesToNothingIsTold) {
  MailRecord record;
  record.Body("\x1B(B", "text/plain; charset=ISO-2022-JP");
  EXPECT_EQ(Code(MAPI_AddMail(*record, nullptr)), OSIF_OK);
  EXPECT_THAT(Trace(), ElementsAre(kAdding, "MAPI:  BSTR of content is empty", kAdded));
}

TEST_F(MapiBodyIn, ABodyThatIsNotEmptyIsNotToldOf) {
  Write("Hello");
  EXPECT_THAT(Trace(), ElementsAre(kAdding, kAdded));
}

// ---- Transfer encodings -------------------------------------------------------------------------

struct EncodingCase {
  const char* encoding;
  const char* text;
  const char16_t* expected;
};

class MapiBodyEncoding : public MapiBodyIn, public testing::WithParamInterface<EncodingCase> {};

TEST_P(MapiBodyEncoding, IsUndone) {
  EXPECT_EQ(Write(GetParam().text, "text/plain", GetParam().encoding), GetParam().expected);
}

// Café in 1252.
INSTANTIATE_TEST_SUITE_P(
    Encodings, MapiBodyEncoding,
    testing::Values(EncodingCase{"", "Caf\xE9=41", u"Caf\u00E9=41"},
                    EncodingCase{"7bit", "Cafe=41", u"Cafe=41"},
                    EncodingCase{"8bit", "Caf\xE9=41", u"Caf\u00E9=41"},
                    EncodingCase{"binary", "Caf\xE9", u"Caf\u00E9"},
                    EncodingCase{"quoted-printable", "Caf=E9=41", u"Caf\u00E9A"},
                    EncodingCase{"QUOTED-PRINTABLE", "Caf=E9=41", u"Caf\u00E9A"},
                    EncodingCase{"Quoted-Printable", "Caf=e9", u"Caf\u00E9"},
                    EncodingCase{"base64", "Q2Fm6Q==", u"Caf\u00E9"},
                    EncodingCase{"BASE64", "Q2Fm6Q==", u"Caf\u00E9"},
                    EncodingCase{"Base64", "Q2Fm\r\n6Q==\r\n", u"Caf\u00E9"},
                    EncodingCase{"base64", "Q2Fm\n6Q==\n", u"Caf\u00E9"},
                    EncodingCase{"base64", "YWI=", u"ab"}, EncodingCase{"base64", "YWJj", u"abc"},
                    // The reader of messages has taken the "=" at the end of the line.
                    EncodingCase{"base64", "Q2Fm6Q=\n", u"Caf\u00E9"},
                    EncodingCase{"base64", "YWI", u"ab"},
                    EncodingCase{"base64", "YWJjQ2Fm6Q", u"abcCaf\u00E9"},
                    EncodingCase{"x-unknown", "Caf\xE9=41", u"Caf\u00E9=41"}));

class MapiBodyNoBase64 : public MapiBodyIn, public testing::WithParamInterface<const char*> {};

TEST_P(MapiBodyNoBase64, TheTextCountsAsItIs) {
  const std::string text = GetParam();
  EXPECT_EQ(Write(text, "text/plain", "base64"), std::u16string(text.begin(), text.end()));
}

INSTANTIATE_TEST_SUITE_P(Texts, MapiBodyNoBase64,
                         testing::Values("Hello, world!", "Q2Fm6", "see you at 12."));

TEST_F(MapiBodyIn, ABodyOfOneMegabyteIsWrittenWhole) {
  std::string text(1 << 20, 'x');
  text.back() = 'e';
  std::u16string expected(1 << 20, u'x');
  expected.back() = u'e';
  EXPECT_TRUE(Write(text) == expected);
}

TEST_F(MapiBodyIn, AMegabyteOfQuotedPrintableIsWrittenWhole) {
  std::string text;
  for (int i = 0; i < 1 << 18; ++i) text += "=41a";
  std::u16string expected;
  for (int i = 0; i < 1 << 18; ++i) expected += u"Aa";
  EXPECT_TRUE(Write(text, "text/plain", "quoted-printable") == expected);
}

TEST_F(MapiBodyIn, AMegabyteOfLineFeedsIsWrittenWhole) {
  std::u16string expected;
  for (int i = 0; i < 1 << 20; ++i) expected += u"\r\n";
  EXPECT_TRUE(Write(std::string(1 << 20, '\n')) == expected);
}

// ---- Character sets -----------------------------------------------------------------------------

struct CharsetCase {
  const char* type;
  const char* text;
  const char16_t* expected;
};

class MapiBodyCharset : public MapiBodyIn, public testing::WithParamInterface<CharsetCase> {};

TEST_P(MapiBodyCharset, IsThatOfTheContentType) {
  EXPECT_EQ(Write(GetParam().text, GetParam().type), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Types, MapiBodyCharset,
    testing::Values(
        CharsetCase{"text/plain; charset=UTF-8", "Caf\xC3\xA9", u"Caf\u00E9"},
        CharsetCase{"text/plain; charset=utf-8", "Caf\xC3\xA9", u"Caf\u00E9"},
        CharsetCase{"text/plain;charset=utf-8", "Caf\xC3\xA9", u"Caf\u00E9"},
        CharsetCase{"TEXT/PLAIN; CHARSET=UTF-8", "Caf\xC3\xA9", u"Caf\u00E9"},
        CharsetCase{"text/plain; charset=\"UTF-8\"", "Caf\xC3\xA9", u"Caf\u00E9"},
        CharsetCase{"text/plain; charset=UTF-8; format=flowed", "Caf\xC3\xA9", u"Caf\u00E9"},
        CharsetCase{"text/plain; format=flowed; charset=UTF-8", "Caf\xC3\xA9", u"Caf\u00E9"},
        CharsetCase{" text/plain; charset=UTF-8", "Caf\xC3\xA9", u"Caf\u00E9"},
        CharsetCase{"text/plain; charset=ISO-8859-5", "\xBC\xD8\xE0", u"\u041C\u0438\u0440"},
        CharsetCase{"text/plain; charset=no-such-set", "Caf\xE9", u"Caf\u00E9"},
        CharsetCase{"text/plain; charset=", "Caf\xE9", u"Caf\u00E9"},
        CharsetCase{"text/plain; charset=\"\"", "Caf\xE9", u"Caf\u00E9"},
        CharsetCase{"text/plain", "Caf\xE9", u"Caf\u00E9"},
        CharsetCase{"", "Caf\xE9", u"Caf\u00E9"}));

TEST_F(MapiBodyIn, WithoutAKnownCharsetTheConfiguredInputCharsetCounts) {
  SetSetting(u"DefaultInputCharset", u"UTF-8");
  ForgetCharsetChoices();
  EXPECT_EQ(Write("Caf\xC3\xA9"), u"Caf\u00E9");
  EXPECT_EQ(Write("Caf\xC3\xA9", "text/plain; charset=no-such-set"), u"Caf\u00E9");
  EXPECT_EQ(Write("Caf\xE9", "text/plain; charset=ISO-8859-1"), u"Caf\u00E9");
}

TEST_F(MapiBodyIn, CharsetAndTransferEncodingWorkTogether) {
  EXPECT_EQ(Write("Caf=C3=A9", "text/plain; charset=UTF-8", "quoted-printable"), u"Caf\u00E9");
  EXPECT_EQ(Write("Q2Fmw6k=", "text/plain; charset=UTF-8", "base64"), u"Caf\u00E9");
}

TEST_F(MapiBodyIn, ACharacterOutsideTheFirstPlaneIsAPair) {
  EXPECT_EQ(Write("\xF0\x9F\x98\x80", "text/plain; charset=UTF-8"), u"\xD83D\xDE00");
}

// ---- Line ends ----------------------------------------------------------------------------------

TEST_F(MapiBodyIn, LineFeedsBecomeCarriageReturnAndLineFeed) {
  EXPECT_EQ(Write("one\ntwo\n\nthree\n"), u"one\r\ntwo\r\n\r\nthree\r\n");
}

TEST_F(MapiBodyIn, ALineFeedBehindACarriageReturnIsLeftAlone) {
  EXPECT_EQ(Write("one\r\ntwo\n"), u"one\r\ntwo\r\n");
}

TEST_F(MapiBodyIn, ACarriageReturnAloneIsLeftAlone) { EXPECT_EQ(Write("one\rtwo"), u"one\rtwo"); }

TEST_F(MapiBodyIn, EncodedLineFeedsCountToo) {
  EXPECT_EQ(Write("one=0Atwo", "text/plain", "quoted-printable"), u"one\r\ntwo");
  EXPECT_EQ(Write("YQpi", "text/plain", "base64"), u"a\r\nb");
}

// ---- HTML ---------------------------------------------------------------------------------------

TEST_F(MapiBodyIn, HtmlIsWrittenAsPlainText) {
  EXPECT_EQ(Write("<html><body>a&amp;b</body></html>", "text/html"), u"a&b");
}

TEST_F(MapiBodyIn, HtmlIsKnownInAnyCaseAndWithParameters) {
  EXPECT_EQ(Write("<body>a&lt;b</body>", "TEXT/HTML; charset=UTF-8"), u"a<b");
  EXPECT_EQ(Write("<body>a&lt;b</body>", "text/Html;charset=UTF-8"), u"a<b");
}

TEST_F(MapiBodyIn, HtmlIsConvertedOnceItIsDecoded) {
  EXPECT_EQ(Write("=3Cbody=3ECaf=C3=A9 =26euro=3B</body>", "text/html; charset=UTF-8",
                  "quoted-printable"),
            u"Caf\u00E9 \u20AC");
}

TEST_F(MapiBodyIn, LineBreaksOfHtmlAreThoseOfItsTags) {
  EXPECT_EQ(Write("<body>line1</br>line2\n  line3</p></body>", "text/html"),
            u"line1\r\nline2line3\r\n");
}

TEST_F(MapiBodyIn, PlainTextIsNotTakenForHtml) {
  EXPECT_EQ(Write("<body>a&amp;b</body>", "text/plain"), u"<body>a&amp;b</body>");
  EXPECT_EQ(Write("<body>a&amp;b</body>", ""), u"<body>a&amp;b</body>");
}

TEST_F(MapiBodyIn, HtmlWithoutTextIsToldAndStoredAsTheEmptyText) {
  for (const char* html : {"<html><body><img src=\"a.gif\"></body></html>", "<body>\n</body>",
                           "<img src=\"a.gif\">", "<html><head></head></html>"}) {
    EXPECT_EQ(Write(html, "text/html"), u"") << html;
    EXPECT_THAT(Trace(),
                ElementsAre(kAdding, "MAPI:  Could not convert BODY to plain text", kAdded))
        << html;
  }
}

struct FragmentCase {
  const char* html;
  const char16_t* text;
};

class MapiFragment : public MapiBodyIn, public testing::WithParamInterface<FragmentCase> {};

TEST_P(MapiFragment, IsConvertedAsIfItStoodInABody) {
  EXPECT_EQ(Write(GetParam().html, "text/html"), GetParam().text) << GetParam().html;
  EXPECT_THAT(Trace(), ElementsAre(kAdding, kAdded));
}

INSTANTIATE_TEST_SUITE_P(Html, MapiFragment,
                         testing::Values(FragmentCase{"<p>Hello</p>", u"Hello\r\n"},
                                         FragmentCase{"<html><p>Hello</p></html>", u"Hello\r\n"},
                                         FragmentCase{"Tom &amp; Ann", u"Tom & Ann"},
                                         FragmentCase{"one</br>\n  two", u"one\r\ntwo"},
                                         FragmentCase{"<p>a</p></body></html>b", u"a\r\nb"}));

// Without markup its lines are all that it has, and an "&" is one.
TEST_F(MapiBodyIn, PlainTextThatClaimsToBeHtmlIsStoredAsItIs) {
  EXPECT_EQ(Write("no markup\nAT&T <3\n", "text/html"), u"no markup\r\nAT&T <3\r\n");
  EXPECT_THAT(Trace(), ElementsAre(kAdding, kAdded));
}

TEST_F(MapiBodyIn, HtmlThatConvertsIsNotToldOf) {
  Write("<body>x</body>", "text/html");
  EXPECT_THAT(Trace(), ElementsAre(kAdding, kAdded));
}

TEST_F(MapiBodyIn, AMegabyteOfHtmlIsConverted) {
  std::string text = "<body>";
  for (int i = 0; i < 1 << 18; ++i) text += "a<b>";
  EXPECT_TRUE(Write(text, "text/html") == std::u16string(1 << 18, u'a'));
}

// ---- Out of the store ---------------------------------------------------------------------------

class MapiBodyOut : public OpenFakeMapiTest {
 protected:
  MapiBodyOut() : mail_(mapi_.Keep(mapi_.inbox, "\x01", {FakeValue::Text(PR_SUBJECT, u"Lunch")})) {}

  // Reads the message, which succeeds; the record's first part.
  const MessagePart& Read() {
    EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "01", *record_)), OSIF_OK);
    EXPECT_STREQ(record_->message.subject, "Lunch");
    return record_->message.part;
  }
  const MessagePart& Read(std::u16string_view body) {
    mail_.SetBody(body);
    return Read();
  }

  FakeMail& mail_;
  OwnedObject record_{OSIF_STORE_MSG_IN};
};

std::string Upper(std::string text) {
  for (char& letter : text) {
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  }
  return text;
}

std::u16string Decoded(const MessagePart& part) { return mapi_DecodeBody(part); }

TEST_F(MapiBodyOut, AsciiGoesOutAsPlainText) {
  const MessagePart& part = Read(std::u16string_view(u"Hello=41\0", 9));
  EXPECT_STREQ(part.bodyText, "Hello=41");
  EXPECT_STREQ(part.contentType, "text/plain");
  EXPECT_EQ(Upper(part.contentTransferEncoding).find("QUOTED"), std::string::npos);
}

TEST_F(MapiBodyOut, LinesEndInLineFeeds) {
  EXPECT_STREQ(Read(u"one\r\ntwo\r\n").bodyText, "one\ntwo\n");
}

TEST_F(MapiBodyOut, ABodyWithoutATerminatorIsReadToItsEnd) {
  EXPECT_STREQ(Read(u"Hello").bodyText, "Hello");
}

TEST_F(MapiBodyOut, ABodyEndsAtItsTerminator) {
  EXPECT_STREQ(Read(std::u16string_view(u"Hello\0rest", 10)).bodyText, "Hello");
}

TEST_F(MapiBodyOut, OtherCharactersGoOutAsQuotedPrintableUtf8) {
  const MessagePart& part = Read(u"Caf\u00E9 \u20AC");
  EXPECT_STREQ(part.bodyText, "Caf=C3=A9 =E2=82=AC");
  EXPECT_EQ(Upper(part.contentTransferEncoding), "QUOTED-PRINTABLE");
  EXPECT_EQ(Upper(part.contentType).substr(0, 10), "TEXT/PLAIN");
  EXPECT_THAT(Upper(part.contentType), EndsWith("CHARSET=UTF-8"));
}

TEST_F(MapiBodyOut, TheOutputCharsetIsConfigured) {
  SetSetting(u"DefaultOutputCharset", u"ISO-8859-5");
  ForgetCharsetChoices();
  const MessagePart& part = Read(u"\u041C\u0438\u0440");
  EXPECT_STREQ(part.bodyText, "=BC=D8=E0");
  EXPECT_THAT(Upper(part.contentType), EndsWith("CHARSET=ISO-8859-5"));
  EXPECT_EQ(Decoded(part), u"\u041C\u0438\u0440");
}

TEST_F(MapiBodyOut, WhatTheOutputCharsetCannotHoldGoesOutAsUtf8) {
  SetSetting(u"DefaultOutputCharset", u"ISO-8859-5");
  ForgetCharsetChoices();
  const MessagePart& part = Read(u"\u041C \u00E9");
  EXPECT_STREQ(part.bodyText, "=D0=9C =C3=A9");
  EXPECT_THAT(Upper(part.contentType), EndsWith("CHARSET=UTF-8"));
}

// Its "=" would be taken for a line that goes on.
TEST_F(MapiBodyOut, ALineThatEndsInAnEqualsSignMakesItQuotedPrintable) {
  for (const char16_t* body : {u"a=", u"a=\r\nb", u"one\r\na=\r\n"}) {
    OwnedObject record(OSIF_STORE_MSG_IN);
    mail_.SetBody(body);
    EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "01", *record)), OSIF_OK);
    const MessagePart& part = record->message.part;
    EXPECT_EQ(Upper(part.contentTransferEncoding), "QUOTED-PRINTABLE");
    EXPECT_THAT(part.bodyText, testing::HasSubstr("a=3D"));
  }
}

TEST_F(MapiBodyOut, AnEqualsSignWithinALineStaysPlain) {
  EXPECT_STREQ(Read(u"a=b\r\nc").bodyText, "a=b\nc");
}

class MapiBodyRoundTrip : public MapiBodyOut,
                          public testing::WithParamInterface<const char16_t*> {};

TEST_P(MapiBodyRoundTrip, ComesBackAsItWas) {
  const std::u16string before = GetParam();
  EXPECT_EQ(Decoded(Read(before)), before);
}

INSTANTIATE_TEST_SUITE_P(Bodies, MapiBodyRoundTrip,
                         testing::Values(u"Hello", u"Caf\u00E9", u"a=", u"a=41", u"Caf\u00E9=41",
                                         u"=\u00E9=", u"\u00E9 ", u"\t\u00E9\t", u"\xD83D\xDE00",
                                         u"one\ntwo\u00E9\nthree=", u"\u3042\u3044\u3046"));

TEST_F(MapiBodyOut, AMegabyteComesBackAsItWas) {
  std::u16string body;
  for (int i = 0; i < 1 << 18; ++i) body += u"ab\u00E9\u20AC";
  EXPECT_TRUE(Decoded(Read(body)) == body);
}

TEST_F(MapiBodyOut, AnEmptyBodyIsEmpty) {
  const MessagePart& part = Read(std::u16string_view(u"\0", 1));
  EXPECT_EQ(std::string(part.bodyText ? part.bodyText : ""), "");
}

TEST_F(MapiBodyOut, AStreamWithoutBytesIsEmpty) {
  mail_.body = "";
  const MessagePart& part = Read();
  EXPECT_EQ(std::string(part.bodyText ? part.bodyText : ""), "");
}

TEST_F(MapiBodyOut, AnOddByteAtTheEndIsNoCharacter) {
  mail_.body = std::string("H\0i\0!", 5);
  EXPECT_STREQ(Read().bodyText, "Hi");
}

TEST_F(MapiBodyOut, UnpairedHalvesOfCharactersDoNotHarm) {
  const std::u16string text = Decoded(Read(u"a\xD800z"));
  EXPECT_EQ(text.front(), u'a');
  EXPECT_EQ(text.back(), u'z');
}

// ---- Failing streams ----------------------------------------------------------------------------

TEST_F(MapiBodyOut, AStreamThatCannotBeOpenedIsToldAndLeavesTheBodyEmpty) {
  mapi_.Fail("message.OpenProperty", MAPI_E_NOT_FOUND);
  EXPECT_EQ(Read(u"Hello").bodyText, nullptr);
  EXPECT_THAT(
      Trace(),
      ElementsAre(kGetting, "MAPI:  pMapiMessage->OpenProperty failed with code: 0x8004010f"));
}

TEST_F(MapiBodyOut, AStreamThatCannotBeReadIsToldAndLeavesTheBodyEmpty) {
  mapi_.Fail("stream.Read", MAPI_E_CALL_FAILED);
  EXPECT_EQ(Read(u"Hello").bodyText, nullptr);
  EXPECT_THAT(Trace(), ElementsAre(kGetting, "MAPI:  pstm->Read failed with code: 0x80004005"));
  EXPECT_EQ(mapi_.Live("stream"), 0);
}

TEST_F(MapiBodyOut, AStreamWithoutAKnownSizeFailsNothing) {
  mapi_.Fail("stream.Stat", MAPI_E_CALL_FAILED);
  const MessagePart& part = Read(u"Hello");
  EXPECT_EQ(std::string(part.bodyText ? part.bodyText : ""), "");
}

TEST_F(MapiBodyOut, AStreamThatGivesLessThanItSaysGivesWhatItGave) {
  mapi_.stated_size = 1000;
  EXPECT_STREQ(Read(u"Hello").bodyText, "Hello");
}

TEST_F(MapiBodyOut, AStreamThatHoldsMoreThanItSaysIsReadAsFarAsItSays) {
  mapi_.stated_size = 4;
  EXPECT_STREQ(Read(u"Hello").bodyText, "He");
}

TEST_F(MapiBodyOut, ASizeThatNoMemoryHoldsIsToldAndLeavesTheBodyEmpty) {
  mapi_.stated_size = uint64_t{1} << 62;
  EXPECT_EQ(Read(u"Hello").bodyText, nullptr);
  EXPECT_THAT(
      Trace(),
      ElementsAre(kGetting,
                  testing::StartsWith("MAPI:  Unable to allocate buffer for stream data (size=")));
}

}  // namespace
}  // namespace mapi_body_test
