#include "btosif/osif_generators/vmessage_writer.h"

#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <algorithm>
#include <string>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/owned_text.h"
#include "tests/support/messages.h"
#include "tests/support/trace_receiver.h"

namespace vmessage_writer_test {
namespace {

using support::Lines;
using support::ReadMessage;
using support::ReadMessageOutcome;
using support::ReadMessages;
using support::Repeated;
using support::TraceReceiver;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kWarning = OSIF_PARSE_WARNING;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

class VMessageWriter : public support::MessageTest {
 protected:
  VMessageWriter() { CopyBounded(record_->version, "1.1"); }

  OsifMessage& message() { return record_->message; }
  MessagePart& part() { return record_->message.part; }

  void SetBody(std::string_view text) {
    OsifFree(part().bodyText);
    part().bodyText = CopyText(text).release();
  }

  std::string Written(uint8_t write_luid = 0, LineEnd line_end = LineEnd::kCrLf) {
    return support::BytesWritten(
        [&](OsifStream& stream) {
          EXPECT_EQ(VMessage_Write(stream, *record_, write_luid), OsifResult{OSIF_OK});
        },
        line_end);
  }

  // What a file has between the empty line and the end of the body.
  std::string WrittenBody(std::string_view text) {
    SetBody(text);
    const std::string bytes = Written();
    const size_t begin = bytes.find("\r\n\r\n");
    const size_t end = bytes.rfind("END:VBODY\r\n");
    EXPECT_TRUE(begin < end && end < bytes.size()) << bytes;
    return bytes.substr(begin + 4, end - begin - 4);
  }

  // The message that is read from what was written.
  ReadMessage ReadBack(OsifResult result = kOk) {
    const ReadMessageOutcome outcome = ReadMessages(Written(1));
    EXPECT_EQ(outcome.result, result);
    return outcome.Only();
  }

  OwnedObject record_{OSIF_STORE_MSG_OUT};
};

// ---- The lines ----

TEST_F(VMessageWriter, WritesAnEmptyRecordWithTheLinesThatAreAlwaysThere) {
  EXPECT_EQ(Written(),
            Lines({"BEGIN:VMSG", "VERSION:1.1",
                   "X-IRMC-STATUS:", "X-IRMC-TYPE:", "X-BT-FOLDER:", "BEGIN:VENV", "BEGIN:VBODY",
                   "From:", "To:", "Subject:", "", "END:VBODY", "END:VENV", "END:VMSG"}));
}

TEST_F(VMessageWriter, WritesEveryFieldInItsOrder) {
  CopyBounded(record_->xIrmcLuid, "00AB");
  CopyBounded(message().xIrmcStatus, "READ");
  CopyBounded(message().xIrmcType, "INET");
  CopyBounded(message().xBtFolder, "SENTBOX");
  CopyBounded(message().mimeVersion, "1.0");
  CopyBounded(message().returnPath, "desk@example.org");
  CopyBounded(message().date, "Mon, 14 Mar 2005 10:15:00 UT");
  CopyBounded(message().from, "ann@example.org");
  CopyBounded(message().to, "ole@example.org");
  CopyBounded(message().ccAddresses, "eva@example.org");
  CopyBounded(message().replyTo, "reply@example.org");
  CopyBounded(message().subject, "Hi");
  CopyBounded(part().contentType, "text/plain");
  CopyBounded(part().contentTransferEncoding, "8bit");
  SetBody("one\ntwo\n");
  EXPECT_EQ(Written(1), Lines({"BEGIN:VMSG",
                               "VERSION:1.1",
                               "X-IRMC-STATUS:READ",
                               "X-IRMC-TYPE:INET",
                               "X-IRMC-LUID:00AB",
                               "X-BT-FOLDER:SENTBOX",
                               "BEGIN:VENV",
                               "BEGIN:VBODY",
                               "Return-Path:desk@example.org",
                               "Date:Mon, 14 Mar 2005 10:15:00 UT",
                               "From:ann@example.org",
                               "To:ole@example.org",
                               "Cc:eva@example.org",
                               "Reply-To:reply@example.org",
                               "Subject:Hi",
                               "Content-Type:text/plain",
                               "Content-Transfer-Encoding:8bit",
                               "",
                               "one",
                               "two",
                               "END:VBODY",
                               "END:VENV",
                               "END:VMSG"}));
}

struct OptionalHeader {
  const char* line;
  void (*fill)(OsifMessage&);
};

class OptionalHeaderOf : public VMessageWriter,
                         public testing::WithParamInterface<OptionalHeader> {};

TEST_P(OptionalHeaderOf, AMessageIsWrittenWhenItIsNotEmpty) {
  EXPECT_THAT(Written(), Not(HasSubstr(GetParam().line)));
  GetParam().fill(message());
  EXPECT_THAT(Written(), HasSubstr("\r\n" + std::string(GetParam().line) + "x\r\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Headers, OptionalHeaderOf,
    testing::Values(
        OptionalHeader{"Return-Path:", [](OsifMessage& m) { CopyBounded(m.returnPath, "x"); }},
        OptionalHeader{"Date:", [](OsifMessage& m) { CopyBounded(m.date, "x"); }},
        OptionalHeader{"Cc:", [](OsifMessage& m) { CopyBounded(m.ccAddresses, "x"); }},
        OptionalHeader{"Reply-To:", [](OsifMessage& m) { CopyBounded(m.replyTo, "x"); }},
        OptionalHeader{"Content-Type:",
                       [](OsifMessage& m) { CopyBounded(m.part.contentType, "x"); }},
        OptionalHeader{"Content-Transfer-Encoding:",
                       [](OsifMessage& m) { CopyBounded(m.part.contentTransferEncoding, "x"); }}));

TEST_F(VMessageWriter, WritesTheIdOnlyWhenItIsAskedForAndThere) {
  EXPECT_THAT(Written(1), Not(HasSubstr("X-IRMC-LUID")));
  CopyBounded(record_->xIrmcLuid, "00AB");
  EXPECT_THAT(Written(0), Not(HasSubstr("X-IRMC-LUID")));
  EXPECT_THAT(Written(1), HasSubstr("X-IRMC-TYPE:\r\nX-IRMC-LUID:00AB\r\nX-BT-FOLDER:"));
}

TEST_F(VMessageWriter, WritesAnEmptyVersionToo) {
  CopyBounded(record_->version, "");
  EXPECT_THAT(Written(), testing::StartsWith("BEGIN:VMSG\r\nVERSION:\r\nX-IRMC-STATUS:"));
}

TEST_F(VMessageWriter, WritesFieldsThatAreFull) {
  std::fill_n(message().subject, sizeof message().subject - 1, 's');
  std::fill_n(record_->xIrmcLuid, sizeof record_->xIrmcLuid - 1, 'i');
  const std::string bytes = Written(1);
  EXPECT_THAT(bytes, HasSubstr("\r\nSubject:" + std::string(1023, 's') + "\r\n"));
  EXPECT_THAT(bytes, HasSubstr("\r\nX-IRMC-LUID:" + std::string(511, 'i') + "\r\n"));
}

TEST_F(VMessageWriter, UsesTheLineEndsOfTheStream) {
  SetBody("one\ntwo\n");
  const std::string bytes = Written(0, LineEnd::kLf);
  EXPECT_THAT(bytes, Not(HasSubstr("\r")));
  EXPECT_THAT(bytes, HasSubstr("Subject:\n\none\ntwo\nEND:VBODY\nEND:VENV\nEND:VMSG\n"));
}

TEST_F(VMessageWriter, WritesNoFurtherPart) {
  part().nextPart = static_cast<MessagePart*>(OsifAlloc(sizeof(MessagePart)));
  CopyBounded(part().nextPart->contentType, "image/gif");
  part().nextPart->bodyText = CopyText("second").release();
  const std::string bytes = Written();
  EXPECT_THAT(bytes, Not(HasSubstr("image/gif")));
  EXPECT_THAT(bytes, Not(HasSubstr("second")));
}

// ---- The body ----

TEST_F(VMessageWriter, WritesTheTextAsItStands) {
  EXPECT_EQ(WrittenBody("one\n\n two=\n\tt\xE4h:;\\\n"), "one\r\n\r\n two=\r\n\tt\xE4h:;\\\r\n");
  EXPECT_EQ(WrittenBody("one\r\ntwo\r\n"), "one\r\ntwo\r\n");
}

TEST_F(VMessageWriter, ATextWithoutALineEndAtItsEndGetsOne) {
  EXPECT_EQ(WrittenBody("one\ntwo"), "one\r\ntwo\r\n");
  EXPECT_EQ(WrittenBody("x"), "x\r\n");
}

TEST_F(VMessageWriter, AnEmptyTextHasNoLine) { EXPECT_EQ(WrittenBody(""), ""); }

TEST_F(VMessageWriter, ALineThatWouldEndTheBodyGetsABlankBeforeIt) {
  EXPECT_EQ(WrittenBody("END:VBODY\nx\nEND:VBODYGUARD\n"),
            " END:VBODY\r\nx\r\n END:VBODYGUARD\r\n");
}

TEST_F(VMessageWriter, ALineThatWouldEndAQuotedPrintableBodyGetsItsFirstLetterEncoded) {
  for (const char* encoding : {"quoted-printable", "Quoted-Printable", " QUOTED-PRINTABLE"}) {
    CopyBounded(part().contentTransferEncoding, encoding);
    EXPECT_EQ(WrittenBody("x=\nEND:VBODY\n"), "x=\r\n=45ND:VBODY\r\n") << encoding;
  }
}

TEST_F(VMessageWriter, LinesThatWouldNotEndTheBodyStay) {
  EXPECT_EQ(WrittenBody("END:VENV\nxEND:VBODY\nEND:VMSG\n END:VBODY\nEND:VBOD\n"),
            "END:VENV\r\nxEND:VBODY\r\nEND:VMSG\r\n END:VBODY\r\nEND:VBOD\r\n");
}

TEST_F(VMessageWriter, TheEndOfABodyInSmallLettersEndsNoneAndStays) {
  EXPECT_EQ(WrittenBody("end:vbody\nx\n"), "end:vbody\r\nx\r\n");
}

TEST_F(VMessageWriter, ATextOfAMegabyteIsWrittenWhole) {
  const std::string text = Repeated("0123456789\n", 100'000);
  SetBody(text);
  EXPECT_EQ(ReadBack().body, text);
}

// ---- Failures ----

TEST_F(VMessageWriter, TellsEachLineThatCannotBeWrittenAndGoesOn) {
  support::TempFile file;
  OsifStream read_only = support::Open(file.path(), u"rb");
  TraceReceiver trace;
  EXPECT_EQ(VMessage_Write(read_only, *record_, 1), OsifResult{OSIF_OK});
  const std::vector<std::string> lines = trace.Lines();
  EXPECT_THAT(lines, SizeIs(14));
  EXPECT_THAT(lines, Each("OSIF:  Unable to put vMessage string to file"));
}

TEST_F(VMessageWriter, TellsABodyThatDoesNotFitOnTheDisk) {
  SetBody(Repeated("0123456789\n", 100'000));
  OsifStream full_disk = support::Open("/dev/full", u"w", LineEnd::kCrLf);
  TraceReceiver trace;
  EXPECT_EQ(VMessage_Write(full_disk, *record_, 0), OsifResult{OSIF_OK});
  const std::vector<std::string> lines = trace.Lines();
  EXPECT_THAT(lines, Not(IsEmpty()));
  EXPECT_THAT(lines, Each("OSIF:  Unable to put vMessage string to file"));
}

// ---- What comes back, and what does not ----

class VMessageRoundTrip : public VMessageWriter {};

TEST_F(VMessageRoundTrip, TheReturnPathIsLostWithAWarning) {
  CopyBounded(message().returnPath, "desk@example.org");
  EXPECT_EQ(ReadBack(kWarning).return_path, "");
}

TEST_F(VMessageRoundTrip, TheMimeVersionIsLost) {
  CopyBounded(message().mimeVersion, "1.0");
  EXPECT_EQ(ReadBack().mime_version, "");
}

TEST_F(VMessageRoundTrip, TheIdIsLostUnlessItIsAskedFor) {
  CopyBounded(record_->xIrmcLuid, "00AB");
  EXPECT_EQ(ReadBack().luid, "00AB");
  EXPECT_EQ(ReadMessages(Written(0)).Only().luid, "");
}

TEST_F(VMessageRoundTrip, ALineBreakInAHeaderBecomesABlank) {
  CopyBounded(message().subject, "one\ntwo");
  EXPECT_EQ(ReadBack().subject, "one two");
}

TEST_F(VMessageRoundTrip, NoHeaderBecomesTwoLines) {
  for (const char* text :
       {"a\r\nTo:mallory", "a\nEND:VBODY", "a\r\rb", "a\n", "\n\na", "a\r\n b"}) {
    CopyBounded(message().subject, text);
    CopyBounded(message().from, text);
    CopyBounded(message().xBtFolder, text);
    const std::string bytes = Written();
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\n'), 14) << text;
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), '\r'), 14) << text;
    EXPECT_EQ(ReadBack().to, "") << text;
  }
}

TEST_F(VMessageRoundTrip, AHeaderThatEndsInAnEqualsSignGetsABlankBehindIt) {
  CopyBounded(message().from, "a=");
  CopyBounded(message().subject, "==");
  const ReadMessage message = ReadBack();
  EXPECT_EQ(message.from, "a= ");
  EXPECT_EQ(message.to, "");
  EXPECT_EQ(message.subject, "== ");
}

TEST_F(VMessageRoundTrip, ATextWithoutALineFeedAtItsEndComesBackWithOne) {
  SetBody("one\ntwo");
  EXPECT_EQ(ReadBack().body, "one\ntwo\n");
}

TEST_F(VMessageRoundTrip, ACarriageReturnBeforeALineFeedIsLost) {
  SetBody("one\r\ntwo\r\n");
  EXPECT_EQ(ReadBack().body, "one\ntwo\n");
}

TEST_F(VMessageRoundTrip, ALineOfTheTextThatEndsInAnEqualsSignIsJoinedWithTheNext) {
  SetBody("one=\ntwo\n");
  EXPECT_EQ(ReadBack().body, "onetwo\n");
}

TEST_F(VMessageRoundTrip, ALineOfTheTextThatWouldEndTheBodyComesBackBehindABlank) {
  SetBody("one\nEND:VBODY\ntwo\n");
  EXPECT_EQ(ReadBack().body, "one\n END:VBODY\ntwo\n");
}

TEST_F(VMessageRoundTrip, AMissingTextComesBackEmpty) { EXPECT_EQ(ReadBack().body, ""); }

TEST_F(VMessageRoundTrip, TheAttachmentIsLost) {
  const ReadMessageOutcome received =
      ReadMessages(support::MessageWith("Content-Type:image/gif; name=a.gif\r\n", "data\r\n"));
  EXPECT_EQ(received.Only().attachment_bytes, "data\r\n");
  CopyBounded(part().contentType, received.Only().content_type);
  const ReadMessage message = ReadBack();
  EXPECT_EQ(message.attachment_bytes, "");
}

TEST_F(VMessageRoundTrip, FurtherPartsAreLost) {
  part().nextPart = static_cast<MessagePart*>(OsifAlloc(sizeof(MessagePart)));
  CopyBounded(part().nextPart->contentType, "image/gif");
  SetBody("first\n");
  const ReadMessage message = ReadBack();
  EXPECT_EQ(message.body, "first\n");
  EXPECT_THAT(message.further_parts, IsEmpty());
}

TEST_F(VMessageRoundTrip, AMultipartTypeWithoutItsPartsIsRefused) {
  CopyBounded(part().contentType, "multipart/mixed; boundary=b");
  SetBody("text\n");
  EXPECT_EQ(ReadMessages(Written()).result, kError);
}

TEST_F(VMessageRoundTrip, AVersionThatTheReaderDoesNotKnowIsRefused) {
  CopyBounded(record_->version, "2.1");
  EXPECT_EQ(ReadMessages(Written()).result, kError);
}

TEST_F(VMessageRoundTrip, AVersionOfMoreThanNineCharactersIsCutWithAWarning) {
  CopyBounded(record_->version, "1.10000000");
  EXPECT_EQ(ReadBack(kWarning).version, "1.1000000");
}

// A text that fits in a field and is not touched on its way: one line, no "=" at its end.
rc::Gen<std::string> HeaderText(size_t room) {
  return rc::gen::map(
      rc::gen::container<std::string>(
          rc::gen::map(rc::gen::inRange(1, 256), [](int code) { return static_cast<char>(code); })),
      [room](std::string text) {
        std::erase_if(text, [](char c) { return c == '\r' || c == '\n'; });
        if (text.size() >= room) text.resize(room - 1);
        while (!text.empty() && text.back() == '=') text.pop_back();
        return text;
      });
}

// A text of whole lines of which none ends in "=" or ends the body.
rc::Gen<std::string> PlainBody() {
  const auto line = rc::gen::oneOf(
      HeaderText(200), rc::gen::element<std::string>("", " x", "--b", "END:VENV", "a=b", "\t"));
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(line),
                      [](const std::vector<std::string>& lines) {
                        std::string text;
                        for (const std::string& each : lines) {
                          if (!each.starts_with("END:VBODY")) text += each + "\n";
                        }
                        return text;
                      });
}

TEST_F(VMessageRoundTrip, EverythingElseComesBackWhateverItIs) {
  EXPECT_TRUE(rc::check([] {
    OwnedObject record(OSIF_STORE_MSG_OUT);
    OsifMessage& m = record->message;
    const auto fill = [](auto& field) {
      const std::string text = *HeaderText(sizeof field);
      CopyBounded(field, text);
      return text;
    };
    CopyBounded(record->version, "1.1");
    const std::string luid = fill(record->xIrmcLuid);
    const std::string status = fill(m.xIrmcStatus);
    const std::string type = fill(m.xIrmcType);
    const std::string folder = fill(m.xBtFolder);
    const std::string date = fill(m.date);
    const std::string from = fill(m.from);
    const std::string to = fill(m.to);
    const std::string cc = fill(m.ccAddresses);
    const std::string reply_to = fill(m.replyTo);
    const std::string subject = fill(m.subject);
    const std::string encoding = fill(m.part.contentTransferEncoding);
    const std::string content_type =
        *rc::gen::element<std::string>("", "text/plain", "text/html; charset=UTF-8");
    CopyBounded(m.part.contentType, content_type);
    const std::string body = *PlainBody();
    m.part.bodyText = CopyText(body).release();

    const std::string bytes =
        support::BytesWritten([&](OsifStream& stream) { VMessage_Write(stream, *record, 1); });
    const ReadMessageOutcome outcome = ReadMessages(bytes);
    RC_ASSERT(outcome.result == kOk);
    RC_ASSERT(outcome.messages.size() == 1u);
    const ReadMessage& read = outcome.messages[0];
    RC_ASSERT(read.luid == luid);
    RC_ASSERT(read.status == status);
    RC_ASSERT(read.type == type);
    RC_ASSERT(read.folder == folder);
    RC_ASSERT(read.date == date);
    RC_ASSERT(read.from == from);
    RC_ASSERT(read.to == to);
    RC_ASSERT(read.cc == cc);
    RC_ASSERT(read.reply_to == reply_to);
    RC_ASSERT(read.subject == subject);
    RC_ASSERT(read.transfer_encoding == encoding);
    RC_ASSERT(read.content_type == content_type);
    RC_ASSERT(read.body == body);
  }));
}

TEST_F(VMessageRoundTrip, AnyTextLeavesTheMessageReadable) {
  const auto any_text = rc::gen::container<std::string>(rc::gen::oneOf(
      rc::gen::element('\r', '\n', '=', ' ', ':', ';', '\\', '-'),
      rc::gen::map(rc::gen::inRange(1, 256), [](int code) { return static_cast<char>(code); })));
  const auto any_body =
      rc::gen::map(rc::gen::container<std::vector<std::string>>(rc::gen::oneOf(
                       any_text, rc::gen::element<std::string>("END:VBODY", "\nEND:VBODY", "=\n"))),
                   [](const std::vector<std::string>& pieces) {
                     std::string text;
                     for (const std::string& piece : pieces) text += piece;
                     return text;
                   });
  EXPECT_TRUE(rc::check([&] {
    OwnedObject record(OSIF_STORE_MSG_OUT);
    OsifMessage& m = record->message;
    CopyBounded(record->version, "1.1");
    CopyBounded(m.from, *any_text);
    CopyBounded(m.subject, *any_text);
    CopyBounded(m.part.contentTransferEncoding,
                *rc::gen::element<std::string>("", "quoted-printable"));
    m.part.bodyText = CopyText(*any_body).release();
    const std::string bytes =
        support::BytesWritten([&](OsifStream& stream) { VMessage_Write(stream, *record, 0); });
    const ReadMessageOutcome outcome = ReadMessages(bytes + support::MessageWith("", ""));
    RC_ASSERT(outcome.result == kOk);
    RC_ASSERT(outcome.messages.size() == 2u);
    RC_ASSERT(outcome.messages[0].to == "");
  }));
}

}  // namespace
}  // namespace vmessage_writer_test
