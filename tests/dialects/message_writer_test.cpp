#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "btosif/osif_util/charset.h"
#include "dialects/forms.h"
#include "dialects/message.h"
#include "dialects/people_page.h"
#include "tests/support/environment.h"
#include "tests/support/temp_device.h"

namespace message_writer_test {
namespace {

using namespace dialects;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

ObjectText Object(std::string_view lines) {
  ObjectText object;
  object.kind = ObjectKind::kMessage;
  object.text = "BEGIN:VMSG\n" + std::string(lines) + "END:VMSG\n";
  return object;
}

std::string Written(Form form, std::string_view lines, const WriterSettings& settings = {}) {
  const auto writer = MakeMessageWriter(form, settings);
  return WithLineFeeds(writer->Begin() + writer->Write(Object(lines)).text + writer->End());
}

constexpr std::string_view kMessage =
    "X-IRMC-STATUS:READ\nX-BOX:SENT\nBEGIN:VCARD\nFN:J\xC3\xB6 \"X\"\nTEL:+49 "
    "1\nEND:VCARD\nBEGIN:VENV\nBEGIN:VBODY\n"
    "Date:24.12.2010 18:30:00 +0100\nSubject:Gr\xC3\xBC\xC3\x9F"
    "e\n\nFrom me\n>From you\n\xC3\xA4=\nEND:VBODY\nEND:VENV\n";

constexpr std::string_view kMail =
    "Date: Fri, 24 Dec 2010 18:30:00 +0100\nFrom: unknown:;\nTo: =?UTF-8?Q?J=C3=B6_X?= <+491>\n"
    "Subject: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?=\nMessage-ID: <u1@x>\nX-IRMC-STATUS: READ\nX-BT-FOLDER: "
    "SENTBOX\n"
    "MIME-Version: 1.0\nContent-Type: text/plain; charset=UTF-8\n"
    "Content-Transfer-Encoding: quoted-printable\n\n";

TEST(MessageWriter, HasNoOtherForms) {
  const WriterSettings settings;
  EXPECT_EQ(MakeMessageWriter(Form::kVNote, settings), nullptr);
  EXPECT_EQ(MakeMessageWriter(Form::kICal20, settings), nullptr);
}

TEST(MessageWriter, WritesMail) {
  WriterSettings settings;
  settings.uid = "u1@x";
  EXPECT_EQ(Written(Form::kEml, kMessage, settings),
            std::string(kMail) + "From me\n>From you\n=C3=A4=3D\n");
}

TEST(MessageWriter, EndsTheLinesOfMailWithBoth) {
  const WriterSettings settings;
  const std::string mail = MakeMessageWriter(Form::kEml, settings)->Write(Object(kMessage)).text;
  EXPECT_EQ(std::ranges::count(mail, '\n'), std::ranges::count(mail, '\r'));
}

TEST(MessageWriter, WritesMailboxesWhoseTextsHaveNoSeparators) {
  WriterSettings settings;
  settings.uid = "u1@x";
  EXPECT_EQ(Written(Form::kMbox, kMessage, settings),
            "From MAILER-DAEMON Fri Dec 24 17:30:00 2010\n" + std::string(kMail) +
                ">From me\n>>From you\n=C3=A4=3D\n\n");
}

TEST(MessageWriter, NamesTheSenderInAMailbox) {
  EXPECT_THAT(Written(Form::kMbox, "BEGIN:VBODY\nFrom:\"A B\" <a@b>\n\nx\nEND:VBODY\n"),
              ::testing::StartsWith("From a@b Thu Jan  1 00:00:00 1970\nFrom: \"A B\" <a@b>\n"));
}

TEST(MessageWriter, MakesTheSameMessageIdOfTheSameMessage) {
  const auto id = [](std::string_view text) {
    const std::string mail =
        Written(Form::kEml, "BEGIN:VBODY\nFrom:1\n\n" + std::string(text) + "\nEND:VBODY\n");
    const size_t begin = mail.find("Message-ID: ");
    return mail.substr(begin, mail.find('\n', begin) - begin);
  };
  EXPECT_EQ(id("a"), id("a"));
  EXPECT_NE(id("a"), id("b"));
  EXPECT_THAT(id("a"), ::testing::MatchesRegex("Message-ID: <[0-9a-f]{16}@osif.invalid>"));
}

TEST(MessageWriter, KeepsTheMessageIdThatAMessageHas) {
  EXPECT_THAT(Written(Form::kEml, "BEGIN:VBODY\nMessage-ID: <1@a>\n\nx\nEND:VBODY\n"),
              HasSubstr("\nMessage-ID: <1@a>\n"));
}

TEST(MessageWriter, WritesSeveralRecipients) {
  EXPECT_THAT(
      Written(Form::kEml, "BEGIN:VBODY\nTo:a@b, \"C, D\" <c@d>;+1\nBcc: e@f\n\nx\nEND:VBODY\n"),
      HasSubstr("\nTo: <a@b>,\n \"C, D\" <c@d>,\n <+1>\nBcc: <e@f>\n"));
}

TEST(MessageWriter, LetsNoValueBeginAnotherHeader) {
  const std::string mail = Written(Form::kEml,
                                   "BEGIN:VBODY\nSubject;QUOTED-PRINTABLE:a=0D=0ABcc: "
                                   "x@y\nFrom;QUOTED-PRINTABLE:a=0Ab@c\n\nx\nEND:VBODY\n");
  EXPECT_THAT(mail, HasSubstr("\nSubject: a  Bcc: x@y\n"));
  EXPECT_THAT(mail, ::testing::StartsWith("From: <ab@c>\n"));
}

TEST(MessageWriter, ReportsADateThatMailCannotHold) {
  const WriterSettings settings;
  const auto object = Object("BEGIN:VBODY\nDate:soon\n\nx\nEND:VBODY\n");
  EXPECT_THAT(MakeMessageWriter(Form::kEml, settings)->Write(object).report.dropped,
              ElementsAre(Pair("DATE", 1)));
  EXPECT_THAT(MakeMessageWriter(Form::kText, settings)->Write(object).report.dropped,
              ::testing::IsEmpty());
}

TEST(MessageWriter, WritesTextForPeople) {
  EXPECT_EQ(
      Written(Form::kText, kMessage),
      "To: \"J\xC3\xB6 X\" <+49 1>\nDate: 2010-12-24 18:30:00 +0100\nSubject: Gr\xC3\xBC\xC3\x9F"
      "e\n\n"
      "From me\n>From you\n\xC3\xA4=\n\n");
}

TEST(MessageWriter, WritesThePlainTextOfHtmlForPeople) {
  EXPECT_EQ(
      Written(Form::kText,
              "BEGIN:VBODY\nSubject:s\nContent-Type: text/html\n\n<b>a</b> &amp; b\nEND:VBODY\n"),
      "Subject: s\n\na & b\n\n");
}

TEST(MessageWriter, WritesAPageForPeople) {
  EXPECT_THAT(Written(Form::kHtml, kMessage),
              HasSubstr("<dt>Subject</dt><dd>Gr\xC3\xBC\xC3\x9F"
                        "e</dd>\n</dl>\n<p>From me<br>\n&gt;From you<br>\n"));
}

TEST(MessageWriter, ReadsTheLibrarysHeadersInTheSystemsCodePage) {
  const TempDevice device;
  const TempEnvironment western("LC_ALL", "ru_RU.KOI8-R");
  ForgetCharsetChoices();
  WriterSettings settings;
  settings.origin = Origin::kLibrary;
  EXPECT_THAT(
      Written(Form::kText, "BEGIN:VBODY\nFrom:\nTo:\nSubject:\xC1\n\nx\nEND:VBODY\n", settings),
      HasSubstr("Subject: \xD0\xB0\n"));
  ForgetCharsetChoices();
}

std::string MailBase64(std::string_view text) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string encoded;
  for (size_t i = 0; i < text.size(); i += 3) {
    uint32_t bits = 0;
    for (size_t j = 0; j < 3; ++j) {
      bits = bits << 8 | (i + j < text.size() ? static_cast<unsigned char>(text[i + j]) : 0u);
    }
    for (size_t j = 0; j < 4; ++j) {
      encoded += i + j > text.size() ? '=' : kDigits[bits >> (18 - 6 * j) & 63];
    }
  }
  return encoded;
}

// Mail that was written comes back when it stands in a message again.
RC_GTEST_PROP(MessageWriter, WritesMailThatIsReadAsTheSameMessage, ()) {
  const auto pieces = rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
      "a", " b", "\n", "=", "From ", "\xC3\xA4", "\xE2\x82\xAC", ".", ":", ";", "END:VBODY", "--"));
  const auto joined = [](const std::vector<std::string>& list) {
    std::string text;
    for (const std::string& piece : list) text += piece;
    return text;
  };
  const std::string text = joined(*pieces);
  std::string subject = "s" + joined(*pieces) + "s";
  std::ranges::replace(subject, '\n', ' ');
  Report report;
  const std::string head =
      "BEGIN:VBODY\nFrom:\"A\" <a@b>\nContent-Type: text/plain; charset=UTF-8\n"
      "Content-Transfer-Encoding: base64\nSubject:" +
      subject + "\n\n";
  const std::string body = MailBase64(text) + "\nEND:VBODY\n";
  const Message sent = ReadMessage(Object(head + body), TextSettings(), Origin::kAnyone, report);
  RC_ASSERT(sent.text == text);
  const std::string mail = Written(Form::kEml, head + body);
  const Message read = ReadMessage(Object("BEGIN:VBODY\n" + mail + "END:VBODY\n"), TextSettings(),
                                   Origin::kAnyone, report);
  RC_ASSERT(read.subject == sent.subject);
  RC_ASSERT(read.from == "\"A\" <a@b>");
  RC_ASSERT(read.text == text + (text.empty() || text.ends_with('\n') ? "" : "\n"));
}

}  // namespace
}  // namespace message_writer_test
