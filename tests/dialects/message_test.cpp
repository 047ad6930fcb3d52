#include "dialects/message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "btosif/osif_util/base64.h"
#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/quoted_printable.h"
#include "dialects/people_page.h"
#include "dialects/strict_object.h"
#include "platform/utf8.h"
#include "tests/dialects/strict_reading.h"
#include "tests/support/environment.h"
#include "tests/support/temp_device.h"

namespace message_test {
namespace {

using namespace dialects;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

// A system whose code page is UTF-8, and a device without settings.
class StrictMessage : public ::testing::Test {
 protected:
  StrictMessage() { ForgetCharsetChoices(); }
  ~StrictMessage() override { ForgetCharsetChoices(); }

  static ObjectText Object(std::string_view lines, std::string_view frame = "VMSG") {
    ObjectText object;
    object.kind = ObjectKind::kMessage;
    object.text = "BEGIN:" + std::string(frame) + "\n" + std::string(lines) +
                  "END:" + std::string(frame) + "\n";
    return object;
  }

  static StrictObject Strict(std::string_view lines) {
    return StrictMessages(Object(lines), TextSettings()).front();
  }

  // The strict message, with LF: the properties before its envelope, an empty line, and its body.
  static std::string Shown(std::string_view lines) {
    const std::string text = WithLineFeeds(Strict(lines).text);
    constexpr std::string_view kBegin = "BEGIN:VMSG\nVERSION:1.1\n";
    constexpr std::string_view kMiddle = "BEGIN:VENV\nBEGIN:VBODY\n";
    constexpr std::string_view kEnd = "END:VBODY\nEND:VENV\nEND:VMSG\n";
    const size_t middle = text.find(kMiddle);
    if (!text.starts_with(kBegin) || !text.ends_with(kEnd) || middle == std::string::npos) {
      return text;
    }
    const size_t body = middle + kMiddle.size();
    return text.substr(kBegin.size(), middle - kBegin.size()) + "|" +
           text.substr(body, text.size() - kEnd.size() - body);
  }

  // The same of a body alone.
  static std::string Body(std::string_view lines) {
    const std::string shown = Shown("VERSION:1.1\nBEGIN:VENV\nBEGIN:VBODY\n" + std::string(lines) +
                                    "END:VBODY\nEND:VENV\n");
    constexpr std::string_view kFolder = "X-BT-FOLDER:INBOX\n|";
    EXPECT_TRUE(shown.starts_with(kFolder)) << shown;
    return shown.substr(std::min(kFolder.size(), shown.size()));
  }

  static Happenings Dropped(std::string_view lines) { return Strict(lines).report.dropped; }

  TempDevice device_;
  TempEnvironment locale_{"LC_ALL", "C.UTF-8"};
};

constexpr std::string_view kStrict =
    "VERSION:1.1\nX-IRMC-STATUS:READ\nX-IRMC-TYPE:INET\nX-IRMC-LUID:7\nX-BT-FOLDER:SENTBOX\nBEGIN:"
    "VENV\n"
    "BEGIN:VBODY\nDate:Fri, 24 Dec 2010 18:30:00 +0100\nFrom:a@b\nTo:c@d; "
    "e@f\nCc:g@h\nReply-To:i@j\nSubject:s\n"
    "Content-Type:text/plain; charset=UTF-8\nContent-Transfer-Encoding:quoted-printable\n\n=C3=A4 "
    "a=\nb\n \n"
    "END:VBODY\nEND:VENV\n";

TEST_F(StrictMessage, IsAsItCameWhenItIsStrict) {
  const StrictObject strict = Strict(kStrict);
  EXPECT_EQ(WithLineFeeds(strict.text), Object(kStrict).text);
  EXPECT_TRUE(strict.report.IsEmpty());
  EXPECT_TRUE(IsPlainMessage(Object(kStrict).text));
}

TEST_F(StrictMessage, IsNotPlainWhenItWouldBeChanged) {
  std::string text = Object(kStrict).text;
  text.erase(text.find("Subject:s\n"), 10);
  EXPECT_FALSE(IsPlainMessage(text));
}

TEST_F(StrictMessage, HasABodyInAnEnvelope) {
  EXPECT_EQ(Shown("VERSION:1.1\nBEGIN:VBODY\nSubject:s\n\nhi\nEND:VBODY\n"),
            "X-BT-FOLDER:INBOX\n|Subject:s\n\nhi\n");
}

TEST_F(StrictMessage, HasItsBodyOutOfNestedEnvelopes) {
  EXPECT_EQ(Shown("VERSION:1.1\nBEGIN:VENV\nBEGIN:VENV\nBEGIN:VBODY\nSubject:s\n\nhi\nEND:VBODY\n"
                  "END:VENV\nEND:VENV\n"),
            "X-BT-FOLDER:INBOX\n|Subject:s\n\nhi\n");
}

TEST_F(StrictMessage, HasTextThatFollowsTheHeadersWithoutAnEmptyLine) {
  EXPECT_EQ(Body("Subject:s\nfirst\nsecond: line\n\nlast\n"),
            "Subject:s\n\nfirst\nsecond: line\n\nlast\n");
}

TEST_F(StrictMessage, HasTextThatBeginsLikeAProperty) {
  EXPECT_EQ(Body("Subject:s\nTel: 0123\n"), "Subject:s\n\nTel: 0123\n");
  EXPECT_EQ(Body("Subject:s\nnote: x\n\ny\n"), "Subject:s\n\nnote: x\n\ny\n");
}

TEST_F(StrictMessage, OfMailHasHeadersOfAnyName) {
  const std::string_view body =
      "Subject: s\nList-Post: x\nMime-Version: 1.0\nFrom: a@b\nMessage-ID: <1@c>\n\nList-Post: y\n";
  EXPECT_EQ(Body(body), "From:a@b\nSubject:s\n\nList-Post: y\n");
  const StrictObject strict =
      Strict("VERSION:1.1\nBEGIN:VBODY\n" + std::string(body) + "END:VBODY\n");
  EXPECT_THAT(strict.report.dropped, ElementsAre(Pair("LIST-POST", 1)));
  EXPECT_EQ(strict.uid, "<1@c>");
}

TEST_F(StrictMessage, GetsItsSubjectFromTheTextWhenItHasNone) {
  EXPECT_EQ(Body("From:+1\n\n\none two three four five six seven eight nine\nten\n"),
            "From:+1\nSubject:one two three four five six seven eight\n\n\n"
            "one two three four five six seven eight nine\nten\n");
}

TEST_F(StrictMessage, HasTheTextOfALoneSubject) {
  EXPECT_EQ(
      Body(
          "Date:20101224T183000\nSubject;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:=C3=A4= \nb=3B\n"),
      "Date:20101224T183000\nSubject:\xC3\xA4"
      "b;\nContent-Type:text/plain; charset=UTF-8\n"
      "Content-Transfer-Encoding:quoted-printable\n\n=C3=A4"
      "b=3B\n");
}

TEST_F(StrictMessage, OfMailKeepsASubjectWithoutText) {
  EXPECT_EQ(Body("From:a@b\nSubject:s\n"), "From:a@b\nSubject:s\n\n");
  EXPECT_EQ(Body("To:a@b\nSubject:s\n"), "To:a@b\nSubject:s\n\n");
  EXPECT_EQ(Body("Subject:s\n\n"), "Subject:s\n\n");
}

TEST_F(StrictMessage, HasTheTextOfAProperty) {
  EXPECT_EQ(Body("X-BODY-SUBJECT:s\nX-BODY-CONTENTS;ENCODING=BASE64:aGVsbG8gd29y\nbGQ=\n"),
            "Subject:s\n\nhello world\n");
  EXPECT_EQ(Body("BODY:a\\;b\n"), "Subject:a;b\n\na;b\n");
  EXPECT_EQ(Body("Subject:s\nTEXT:a\nb\n"), "Subject:s\n\na\nb\n");
}

TEST_F(StrictMessage, HasTheTextOfAPropertyBeforeThatOfItsBody) {
  EXPECT_EQ(Shown("TEXT:a\nBEGIN:VENV\nBEGIN:VBODY\nSubject:s\nContent-Transfer-Encoding:base64\n\n"
                  "Yg==\nEND:VBODY\nEND:VENV\n"),
            "X-BT-FOLDER:INBOX\n|Subject:s\n\na\nb\n");
}

TEST_F(StrictMessage, HasTheOneLinePropertiesOfAnotherFrame) {
  const StrictObject strict =
      StrictMessages(
          Object("NUMBER:+49 1\nBOX:DRAFT\nDATE:24.12.2010 18:30:00\nTEXT:hi\n", "VMESSAGE"),
          TextSettings())
          .front();
  EXPECT_EQ(WithLineFeeds(strict.text),
            "BEGIN:VMSG\nVERSION:1.1\nX-BT-FOLDER:OUTBOX\nBEGIN:VENV\nBEGIN:VBODY\n"
            "Date:Fri, 24 Dec 2010 18:30:00\nTo:+49 "
            "1\nSubject:hi\n\nhi\nEND:VBODY\nEND:VENV\nEND:VMSG\n");
}

TEST_F(StrictMessage, HasItsPropertiesAfterWhatWereCards) {
  EXPECT_EQ(
      Shown(
          "X-IRMC-STATUS:READ\nX-IRMC-TYPE:SMS\nX-BT-FOLDER:INBOX\nBEGIN:VCARD\nN:Doe;Jo\nTEL:+1\n"
          "END:VCARD\nBEGIN:VENV\nBEGIN:VCARD\nN:\nTEL:2\nEND:VCARD\nBEGIN:VCARD\nFN:\"X\"\n"
          "EMAIL:x@y\nEND:VCARD\nBEGIN:VBODY\nSubject:s\n\nhi\nEND:VBODY\nEND:VENV\n"),
      "X-IRMC-STATUS:READ\nX-IRMC-TYPE:SMS\nX-BT-FOLDER:INBOX\n|"
      "From:\"Jo Doe\" <+1>\nTo:2; \"X\" <x@y>\nSubject:s\n\nhi\n");
}

TEST_F(StrictMessage, HasRecipientsOfTheCardsAfterTheFirst) {
  EXPECT_EQ(Shown("BEGIN:VCARD\nTEL:1\nEND:VCARD\nBEGIN:VCARD\nTEL:2\nEND:VCARD\n"
                  "BEGIN:VCARD\nTEL:3\nEND:VCARD\nBEGIN:VENV\nBEGIN:VBODY\nSubject:s\n\nhi\n"
                  "END:VBODY\nEND:VENV\n"),
            "X-BT-FOLDER:INBOX\n|From:1\nTo:2; 3\nSubject:s\n\nhi\n");
}

TEST_F(StrictMessage, HasTheSenderOfALoneCardWhenItCameIn) {
  constexpr std::string_view kCard = "BEGIN:VCARD\nTEL:1\nEND:VCARD\n";
  constexpr std::string_view kBody = "BEGIN:VBODY\nSubject:s\n\nhi\nEND:VBODY\n";
  const std::string before = std::string(kCard) + std::string(kBody);
  const std::string after = std::string(kBody) + std::string(kCard);
  for (const std::string& message : {before, after}) {
    EXPECT_EQ(Shown("X-BOX:INBOX\n" + message), "X-BT-FOLDER:INBOX\n|From:1\nSubject:s\n\nhi\n");
    EXPECT_EQ(Shown("X-BOX:SENT\n" + message), "X-BT-FOLDER:SENTBOX\n|To:1\nSubject:s\n\nhi\n");
  }
}

TEST_F(StrictMessage, HasTheAddressesOfItsHeadersRatherThanThoseOfCards) {
  EXPECT_THAT(Dropped("BEGIN:VCARD\nTEL:1\nEND:VCARD\nBEGIN:VBODY\nFrom:2\n\nhi\nEND:VBODY\n"),
              ElementsAre(Pair("VCARD", 1)));
  EXPECT_EQ(Shown("BEGIN:VCARD\nTEL:1\nBEGIN:VBODY\nFrom:2\nSubject:s\n\nhi\nEND:VBODY\n"),
            "X-BT-FOLDER:INBOX\n|From:2\nSubject:s\n\nhi\n");
}

TEST_F(StrictMessage, ReportsTheCardsThatItsHeadersContradict) {
  constexpr std::string_view kCards =
      "BEGIN:VCARD\nTEL:1\nEND:VCARD\nBEGIN:VCARD\nTEL:2\nEND:VCARD\n";
  const auto dropped = [&](std::string_view headers) {
    return Dropped("VERSION:1.1\nX-BT-FOLDER:SENTBOX\nBEGIN:VENV\n" + std::string(kCards) +
                   "BEGIN:VBODY\n" + std::string(headers) +
                   "Subject:s\n\nhi\nEND:VBODY\nEND:VENV\n");
  };
  EXPECT_THAT(dropped("To:3\n"), ElementsAre(Pair("VCARD", 2)));
  EXPECT_THAT(dropped("To:1, 2\n"), IsEmpty());
}

struct BoxCase {
  const char* line;
  const char* folder;
};

class Boxes : public StrictMessage, public ::testing::WithParamInterface<BoxCase> {};

TEST_P(Boxes, AreFolders) {
  const auto [line, folder] = GetParam();
  EXPECT_EQ(Shown(std::string(line) + "\nBEGIN:VBODY\nSubject:s\n\nhi\nEND:VBODY\n"),
            "X-BT-FOLDER:" + std::string(folder) + "\n|Subject:s\n\nhi\n");
}

INSTANTIATE_TEST_SUITE_P(StrictMessage, Boxes,
                         ::testing::Values(BoxCase{"X-IRMC-BOX:SENT", "SENTBOX"},
                                           BoxCase{"X-MESSAGE-BOX:sentbox", "SENTBOX"},
                                           BoxCase{"X-BOX:SENDBOX", "SENTBOX"},
                                           BoxCase{"X-BOX:OUTBOX", "OUTBOX"},
                                           BoxCase{"X-IRMC-BOX:DRAFT", "OUTBOX"},
                                           BoxCase{"X-MESSAGE-TYPE:DELIVER", "INBOX"},
                                           BoxCase{"X-MESSAGE-TYPE:SUBMIT", "SENTBOX"},
                                           BoxCase{"X-BT-FOLDER:Outbox", "OUTBOX"},
                                           BoxCase{"X-BOX:ARCHIVE", "INBOX"}));

TEST_F(StrictMessage, HasADateThatIsUnderstood) {
  EXPECT_EQ(Body("Date:2010/12/24 18:30:00 GMT\nSubject:s\n\nx\n"),
            "Date:Fri, 24 Dec 2010 18:30:00 +0000\nSubject:s\n\nx\n");
  EXPECT_EQ(Body("Date:1293215400000\nSubject:s\n\nx\n"),
            "Date:Fri, 24 Dec 2010 18:30:00 +0000\nSubject:s\n\nx\n");
  EXPECT_EQ(Shown("X-NOK-DT:20101224T183000Z\nBEGIN:VBODY\nDate:\nSubject:s\n\nx\nEND:VBODY\n"),
            "X-BT-FOLDER:INBOX\n|Date:20101224T183000Z\nSubject:s\n\nx\n");
  EXPECT_THAT(Dropped("BEGIN:VBODY\nDate:soon\n\nx\nEND:VBODY\n"), ElementsAre(Pair("DATE", 1)));
}

TEST_F(StrictMessage, KeepsEncodedContentByteForByte) {
  EXPECT_EQ(Body("Subject:s\nContent-Type: text/plain; charset=windows-1251\n\n\xCF\xD0 \x80\n"),
            "Subject:s\nContent-Type:text/plain; charset=windows-1251\n\n\xCF\xD0 \x80\n");
  EXPECT_EQ(Body("Subject:s\nContent-Transfer-Encoding: base64\n\naGVs\nbG8=\n"),
            "Subject:s\nContent-Transfer-Encoding:base64\n\naGVs\nbG8=\n");
}

TEST_F(StrictMessage, DeclaresTheUtf8OfItsContent) {
  EXPECT_EQ(Body("Subject:s\n\n\xC3\xA4\n"),
            "Subject:s\nContent-Type:text/plain; charset=UTF-8\n\n\xC3\xA4\n");
  EXPECT_EQ(Body("Subject:s\nContent-Type: text/html\n\n\xC3\xA4\n"),
            "Subject:s\nContent-Type:text/html; charset=UTF-8\n\n\xC3\xA4\n");
}

TEST_F(StrictMessage, LeavesContentOfAnUnknownSetToTheSetting) {
  EXPECT_EQ(Body("Subject:s\n\n\xE4\n"), "Subject:s\n\n\xE4\n");
  EXPECT_THAT(Strict("BEGIN:VBODY\nSubject:s\n\n\xE4\nEND:VBODY\n").report.guessed,
              Contains(Pair("character set", 1)));
}

TEST_F(StrictMessage, WritesContentAnewInACharacterSetThatTheLibraryLacks) {
  EXPECT_EQ(Body("Subject:\x93\xFA\nContent-Type: text/plain; charset=Shift_JIS\n\n\x96{\n"),
            "Subject:\xE6\x97\xA5\nContent-Type:text/plain; charset=UTF-8\n"
            "Content-Transfer-Encoding:quoted-printable\n\n=E6=9C=AC\n");
}

TEST_F(StrictMessage, WritesLinesAnewThatEndInAnEqualsSign) {
  EXPECT_EQ(Body("Subject:s\n\n1+1=\n2\n"),
            "Subject:s\nContent-Type:text/plain; "
            "charset=UTF-8\nContent-Transfer-Encoding:quoted-printable\n\n"
            "1+1=3D\n2\n");
}

TEST_F(StrictMessage, WritesALineAnewThatWouldEndItsBody) {
  EXPECT_EQ(Body("Subject:s\n\nEND:VBODY;x\n"),
            "Subject:s\nContent-Type:text/plain; "
            "charset=UTF-8\nContent-Transfer-Encoding:quoted-printable\n\n"
            "END=3AVBODY=3Bx\n");
}

TEST_F(StrictMessage, WritesContentAnewWhoseHeadersTheReaderWouldMistake) {
  EXPECT_EQ(Body("Subject:s\nContent-Type: text/plain; x=\n\nhi\n"), "Subject:s\n\nhi\n");
  EXPECT_EQ(Body("Subject:s\nContent-Type: text/html; x=" + std::string(120, 'y') + "\n\nhi\n"),
            "Subject:s\nContent-Type:text/html\n\nhi\n");
}

TEST_F(StrictMessage, HasTheTextOfItsParts) {
  const std::string lines =
      "BEGIN:VBODY\nSubject:s\nContent-Type: multipart/mixed; boundary=b\n\n--b\nContent-Type: "
      "image/png; "
      "name=a.png\n\nxx\n--b\nContent-Type: text/html\n\n<b>\n--b\nContent-Type: "
      "text/plain\n\nhi\n--b--\n"
      "END:VBODY\n";
  EXPECT_EQ(Shown(lines), "X-BT-FOLDER:INBOX\n|Subject:s\nContent-Type:text/plain\n\nhi\n");
  EXPECT_THAT(Dropped(lines), ElementsAre(Pair("attachment a.png", 1), Pair("part TEXT/HTML", 1)));
}

TEST_F(StrictMessage, LosesTheNameOfATextOnly) {
  const StrictObject strict = Strict(
      "BEGIN:VBODY\nSubject:s\nContent-Type: text/plain; name=\"a.txt\"; "
      "charset=UTF-8\n\nhi\nEND:VBODY\n");
  EXPECT_THAT(strict.text,
              ::testing::HasSubstr("Content-Type:text/plain; charset=UTF-8\r\n\r\nhi\r\n"));
  EXPECT_THAT(strict.report.changed, Contains(Pair("name of the text: a.txt", 1)));
}

TEST_F(StrictMessage, DecodesTheWordsOfHeaders) {
  EXPECT_EQ(Body("From: =?UTF-8?Q?=C3=A4?= <a@b>\nSubject: =?iso-8859-1?Q?=E4?=\n b\n\nx\n"),
            "From:\xC3\xA4 <a@b>\nSubject:\xC3\xA4 b\n\nx\n");
}

TEST_F(StrictMessage, HasHeadersInTheSystemsCodePage) {
  const TempEnvironment western("LC_ALL", "de_DE.ISO-8859-1");
  ForgetCharsetChoices();
  const StrictObject strict = Strict("BEGIN:VBODY\nSubject:\xC3\xA4\xD0\x96\n\nx\nEND:VBODY\n");
  EXPECT_THAT(strict.text, ::testing::HasSubstr("Subject:\xE4?\r\n"));
  EXPECT_THAT(strict.report.dropped,
              ElementsAre(Pair("Subject (characters that the system's code page lacks)", 1)));
}

TEST_F(StrictMessage, HasNoMoreThanItsRecordHolds) {
  std::string subject;
  for (int i = 0; i < 1000; ++i) subject += "\xC3\xA4";
  const std::string lines =
      "X-IRMC-STATUS:DELIVERED\nX-IRMC-TYPE:EMAIL\nBEGIN:VBODY\nTo:" + std::string(1020, 'a') +
      ",bbb\nBcc:c@d\nSubject:" + subject + "\n\nx\nEND:VBODY\n";
  EXPECT_EQ(Shown(lines), "X-BT-FOLDER:INBOX\n|To:" + std::string(1020, 'a') +
                              "\nSubject:" + subject.substr(0, 1022) + "\n\nx\n");
  EXPECT_THAT(Dropped(lines), ElementsAre(Pair("BCC", 1), Pair("Subject (its end: no room)", 1),
                                          Pair("To (no room)", 1), Pair("X-IRMC-STATUS", 1),
                                          Pair("X-IRMC-TYPE", 1)));
}

TEST_F(StrictMessage, ReportsWhatItHasNoPlaceFor) {
  EXPECT_THAT(
      Dropped("X-SIMID:1\nX-BOX:SENT\nX-IRMC-BOX:INBOX\nBEGIN:VBODY\nX-A:1\n\nx\nEND:VBODY\n"
              "BEGIN:VBODY\ny\nEND:VBODY\n"),
      ElementsAre(Pair("VBODY", 1), Pair("X-A", 1), Pair("X-IRMC-BOX", 1), Pair("X-SIMID", 1)));
}

TEST_F(StrictMessage, OfATooLargeObjectIsRefused) {
  ObjectText object;
  object.refusal = "it is too large";
  EXPECT_EQ(StrictMessages(object, TextSettings()).front().refusal, "it is too large");
}

// Texts that make a reader which looks at bytes again slow: each takes minutes then.
TEST_F(StrictMessage, HasALinearCost) {
  const auto repeated = [](std::string_view text) {
    std::string all;
    while (all.size() < 200'000) all += text;
    return all;
  };
  for (const char* piece :
       {"=?a?Q?", "<", "\"", ",", "=?UTF-8?Q?a?= ", ";x=", "\n ", "\n--b", "=\n", "\r"}) {
    EXPECT_NE(Strict("BEGIN:VBODY\nSubject:" + repeated(piece) + "\nEND:VBODY\n").text, "");
    EXPECT_NE(Strict("BEGIN:VBODY\nTo:" + repeated(piece) + "\nEND:VBODY\n").text, "");
    EXPECT_NE(Strict("BEGIN:VBODY\nContent-Type: multipart/mixed; boundary=b\n" + repeated(piece) +
                     "\nEND:VBODY\n")
                  .text,
              "");
  }
  EXPECT_NE(Strict(repeated("BEGIN:VCARD\nTEL:1\n")).text, "");
  EXPECT_NE(Strict(repeated("BEGIN:VBODY\nx\nEND:VBODY\n")).text, "");
  EXPECT_NE(Strict(repeated("X-A;ENCODING=BASE64:aa\nx\n")).text, "");
}

// ---- What the library reads ---------------------------------------------------------------------------------

// A record's text, decoded as its headers say.
std::string RecordText(const MessagePart& part) {
  const std::string text = part.bodyText == nullptr ? "" : part.bodyText;
  const std::string encoding = part.contentTransferEncoding;
  if (encoding == "quoted-printable") return QuotedPrintableDecode(text);
  if (encoding == "base64") return Base64Decode(text).value_or("?");
  return text;
}

TEST_F(StrictMessage, IsReadByTheLibraryWithAllOfIt) {
  const StrictObject strict = Strict(
      "BEGIN:VCARD\nTEL:1\nEND:VCARD\nBEGIN:VBODY\nX-READ:UNREAD\nDate:24.12.2010 "
      "18:30:00\nhi=\nyou\nEND:VBODY\n");
  strict_reading::ReadOne(strict.text, [](OsifObject& object) {
    const OsifMessage& message = object.message;
    EXPECT_STREQ(message.xIrmcStatus, "UNREAD");
    EXPECT_STREQ(message.xBtFolder, "INBOX");
    EXPECT_STREQ(message.date, "Fri, 24 Dec 2010 18:30:00");
    EXPECT_STREQ(message.from, "1");
    EXPECT_STREQ(message.subject, "hi= ");
    EXPECT_EQ(RecordText(message.part), "hi=\nyou\n");
  });
}

TEST_F(StrictMessage, OfARealFileIsReadWhole) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  size_t count = 0;
  for (const auto& path : strict_reading::CorpusFiles("vmessage")) {
    SCOPED_TRACE(path.string());
    for (const ObjectText& object : strict_reading::ObjectsOf(path)) {
      ++count;
      Report report;
      const Message message = ReadMessage(object, TextSettings(), Origin::kAnyone, report);
      EXPECT_NE(message.text, "");
      const StrictObject strict = StrictMessages(object, TextSettings()).front();
      strict_reading::ReadOne(strict.text, [&](OsifObject& record) {
        EXPECT_STRNE(record.message.subject, "");
        const std::string end = message.text.ends_with('\n') ? "" : "\n";
        EXPECT_EQ(RecordText(record.message.part), message.text + end);
      });
    }
  }
  EXPECT_EQ(count, 13u);
}

}  // namespace
}  // namespace message_test
