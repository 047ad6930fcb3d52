// What a message's body contains: a text, or several parts. Attachments are tested on their own.
#include "btosif/osif_parsers/vmessage_content.h"

#include <gmock/gmock.h>
#include <rapidcheck.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/support/messages.h"
#include "tests/support/trace_receiver.h"

namespace vmessage_content_test {
namespace {

using support::BodyText;
using support::EnvelopeText;
using support::Lines;
using support::MessageText;
using support::MessageWith;
using support::MultipartMessage;
using support::ReadMessage;
using support::ReadMessageOutcome;
using support::ReadMessages;
using support::Repeated;
using support::TraceReceiver;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kWarning = OSIF_PARSE_WARNING;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

constexpr char kNoBody[] = "OSIF:  Error - vMsg missing BODY section";
constexpr char kNoBodyEnd[] = "OSIF:  Error - vBody missing END tag";
constexpr char kContentEnd[] = "OSIF:  Error - reached EOF while parsing CONTENT of vMsg";

std::string Multipart(const std::string& boundary) {
  return "OSIF:  Parsing Multipart Content (boundary='" + boundary + "')";
}
std::string Unexpected(const std::string& name) {
  return "OSIF:  Warning - Parser encountered unexpected property: '" + name + "'";
}

class VMessageContent : public support::MessageTest {};

// ---- Raw lines ----

class RawLines : public support::MessageTest {
 protected:
  static std::vector<std::string> Of(std::string_view bytes) {
    OsifStream stream = support::OpenBytes(bytes);
    std::vector<std::string> lines;
    for (std::string_view line; ReadRawLine(stream, line) == RawLine::kRead;) {
      lines.emplace_back(line);
    }
    return lines;
  }
};

TEST_F(RawLines, EndAtALineFeedAndLoseTheCarriageReturnBeforeIt) {
  EXPECT_THAT(Of("one\r\ntwo\n\nfour\r\n"), ElementsAre("one", "two", "", "four"));
}

TEST_F(RawLines, AreCutAtTheirFirstCarriageReturn) {
  EXPECT_THAT(Of("one\rlost\r\n\rlost\ntwo\r\r\n"), ElementsAre("one", "", "two"));
}

TEST_F(RawLines, AreCutAtTheirFirstZeroByte) {
  EXPECT_THAT(Of(std::string_view("one\0lost\ntwo\n", 13)), ElementsAre("one", "two"));
}

TEST_F(RawLines, AreNeitherUnfoldedNorJoined) {
  EXPECT_THAT(Of("one\r\n two=\r\n\tthree\r\n"), ElementsAre("one", " two=", "\tthree"));
}

TEST_F(RawLines, NeedNoLineEndAtTheEndOfTheFile) {
  EXPECT_THAT(Of("one\ntwo"), ElementsAre("one", "two"));
}

TEST_F(RawLines, AnEmptyFileHasNone) { EXPECT_THAT(Of(""), IsEmpty()); }

TEST_F(RawLines, MayBeLong) {
  const std::string line(3 << 20, 'x');
  EXPECT_THAT(Of(line + "\r\n" + line), ElementsAre(line, line));
}

// ---- A single part ----

// The text that these content lines, each with its line end, give.
std::string TextOf(std::string_view content, std::string_view headers = "") {
  const ReadMessageOutcome outcome = ReadMessages(MessageWith(headers, content));
  EXPECT_EQ(outcome.result, kOk) << content;
  return outcome.Only().body.value_or("<none>");
}

TEST_F(VMessageContent, AQuotedPrintableBodyLineAbcEqualsFollowedByDefGivesAbcdefAndALineFeed) {
  EXPECT_EQ(TextOf("abc=\r\ndef\r\n", "Content-Transfer-Encoding:quoted-printable\r\n"),
            "abcdef\n");
}

TEST_F(VMessageContent, SoftBreaksAreTakenOffWhateverTheTransferEncoding) {
  EXPECT_EQ(TextOf("abc=\r\ndef\r\n"), "abcdef\n");
  EXPECT_EQ(TextOf("QQ==\r\nx\r\n", "Content-Transfer-Encoding:base64\r\n"), "QQ=x\n");
}

TEST_F(VMessageContent, ASoftBreakBeforeTheEndLeavesTheTextWithoutALineFeed) {
  EXPECT_EQ(TextOf("abc=\r\n"), "abc");
  EXPECT_EQ(TextOf("=\r\n"), "");
}

TEST_F(VMessageContent, SoftBreaksMayFollowOneAnother) {
  EXPECT_EQ(TextOf("a=\n=\nb\n\nc=\nd\n"), "ab\n\ncd\n");
}

TEST_F(VMessageContent, EveryLineIsEndedByALineFeed) {
  EXPECT_EQ(TextOf("one\r\n\r\n two\n\tthree\r\n"), "one\n\n two\n\tthree\n");
}

TEST_F(VMessageContent, IsKeptUndecoded) {
  EXPECT_EQ(TextOf("a=3Db =E4 \\; \xE4\xFF\r\n", "Content-Transfer-Encoding:quoted-printable\r\n"),
            "a=3Db =E4 \\; \xE4\xFF\n");
}

TEST_F(VMessageContent, KeepsItsFirstLineWhenThatBeginsWithABlank) {
  EXPECT_EQ(TextOf(" one\r\ntwo\r\n", "Subject:Hi\r\n"), " one\ntwo\n");
  EXPECT_EQ(TextOf("\tone\n"), "\tone\n");
}

// A file is read in pieces of 64 KB; the empty line between headers and content may lie where two of them meet.
TEST_F(VMessageContent, KeepsItsFirstLineWhereverAPieceOfTheFileEnds) {
  constexpr int kPiece = 64 * 1024;
  const auto message = [](size_t padding) {
    return MessageWith("X-Padding:" + std::string(padding, 'x') + "\r\n", " one\r\n");
  };
  const size_t empty_line = message(0).find("\r\n\r\n") + 2;
  for (int place = kPiece - 3; place <= kPiece + 3; ++place) {
    const ReadMessageOutcome outcome = ReadMessages(message(place - empty_line));
    EXPECT_EQ(outcome.Only().body, " one\n") << place;
  }
}

TEST_F(VMessageContent, MayBeEmpty) {
  EXPECT_EQ(TextOf(""), "");
  EXPECT_EQ(TextOf("\r\n"), "\n");
}

TEST_F(VMessageContent, AnyLineThatBeginsWithTheEndOfTheBodyEndsIt) {
  for (const std::string end : {"END:VBODY", "END:VBODYGUARD", "END:VBODY ", "END:VBODY--"}) {
    const ReadMessageOutcome outcome = ReadMessages(
        MessageText(EnvelopeText("BEGIN:VBODY\r\n\r\ntext\r\n" + end + "\r\nlost\r\n")));
    EXPECT_EQ(outcome.result, kOk) << end;
    EXPECT_EQ(outcome.Only().body, "text\n") << end;
  }
}

TEST_F(VMessageContent, OnlyTheEndOfTheBodyToTheLetterEndsIt) {
  const std::string content =
      "END:vbody\n END:VBODY\nEND :VBODY\nEND:VBOD\nxEND:VBODY\nEND:VENV\n"
      "END:VMSG\nBEGIN:VBODY\n--b\n--b--\n";
  EXPECT_EQ(TextOf(content), content);
}

TEST_F(VMessageContent, ATypeWithBoundaryThatIsNotMultipartHasOnePart) {
  TraceReceiver trace;
  EXPECT_EQ(TextOf("--b\r\n\r\nx\r\n", "Content-Type:text/plain; boundary=b\r\n"), "--b\n\nx\n");
  EXPECT_EQ(TextOf("--b\r\n", "Content-Type:multipart/mixed\r\n"), "--b\n");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageContent, ACharsetThatDoesNotExistChangesNothing) {
  EXPECT_EQ(TextOf("\xE4\r\n", "Content-Type:text/plain; charset=NO-SUCH-SET\r\n"), "\xE4\n");
}

TEST_F(VMessageContent, Base64ThatIsNoneIsKeptAsItStands) {
  EXPECT_EQ(TextOf("%%% no base64\r\n", "Content-Transfer-Encoding:base64\r\n"), "%%% no base64\n");
}

TEST_F(VMessageContent, AMillionLinesAreRead) {
  const std::string lines = Repeated("a=\n", 500'000) + Repeated("b\n", 500'000);
  EXPECT_EQ(TextOf(lines), std::string(500'000, 'a') + Repeated("b\n", 500'000));
}

// ---- Several parts ----

TEST_F(VMessageContent, AMultipartBodyWithThreePartsKeepsTheFirstTextAndTheHeadersOfAllThree) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(Lines(
      {"--b", "Content-Type:text/plain", "Content-Transfer-Encoding:8bit", "", "one", "", "two",
       "--b", "Content-Type:text/html", "Content-Transfer-Encoding:base64", "", "second", "--b",
       "Content-Type:image/gif", "Content-Transfer-Encoding:binary", "", "third", "--b--"})));
  EXPECT_EQ(outcome.result, kOk);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.body, "one\n\ntwo\n");
  EXPECT_EQ(message.content_type, "text/plain");
  EXPECT_EQ(message.transfer_encoding, "8bit");
  ASSERT_THAT(message.further_parts, SizeIs(2));
  EXPECT_EQ(message.further_parts[0].content_type, "text/html");
  EXPECT_EQ(message.further_parts[0].transfer_encoding, "base64");
  EXPECT_FALSE(message.further_parts[0].has_content);
  EXPECT_EQ(message.further_parts[1].content_type, "image/gif");
  EXPECT_EQ(message.further_parts[1].transfer_encoding, "binary");
  EXPECT_FALSE(message.further_parts[1].has_content);
  EXPECT_THAT(trace.Lines(), ElementsAre(Multipart("b")));
}

TEST_F(VMessageContent, AQuotedBoundaryMayHoldBlanksAndSemicolons) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(
      Lines({"--a b;c", "", "text", "--a b;c--"}), "multipart/mixed; boundary=\"a b;c\""));
  EXPECT_EQ(outcome.Only().body, "text\n");
  EXPECT_THAT(trace.Lines(), ElementsAre(Multipart("a b;c")));
}

TEST_F(VMessageContent, AFoldedTypeHasItsBoundaryToo) {
  const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(
      Lines({"--b", "", "text", "--b--"}), "multipart/mixed;\r\n\tboundary=\"b\""));
  EXPECT_EQ(outcome.Only().body, "text\n");
}

TEST_F(VMessageContent, AnEmptyBoundaryIsABoundary) {
  const ReadMessageOutcome outcome = ReadMessages(
      MultipartMessage(Lines({"--", "", "text", "----"}), "multipart/mixed; boundary=\"\""));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().body, "text\n");
}

TEST_F(VMessageContent, LinesBeforeTheFirstBoundaryAreSkipped) {
  const ReadMessageOutcome outcome =
      ReadMessages(MultipartMessage(Lines({"preamble", "--bX", " --b", "--b ", "--B", "--b--",
                                           "END:VBODY", "", "--b", "", "text", "--b--"})));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().body, "text\n");
  EXPECT_THAT(outcome.Only().further_parts, IsEmpty());
}

TEST_F(VMessageContent, LinesBehindTheClosingBoundaryAreSkipped) {
  const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(
      Lines({"--b", "", "text", "--b--", "epilogue", "", "--b", "", "no part", "END:VBODYS"})));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().body, "text\n");
  EXPECT_THAT(outcome.Only().further_parts, IsEmpty());
}

TEST_F(VMessageContent, BehindTheClosingBoundaryTheEndOfTheBodyIsTakenInAnyCase) {
  for (const std::string end : {"end:vbody", "END:VBODY "}) {
    const ReadMessageOutcome outcome = ReadMessages(
        MessageText(EnvelopeText("BEGIN:VBODY\r\nContent-Type:multipart/mixed; boundary=b\r\n\r\n" +
                                 Lines({"--b", "", "text", "--b--", end}))));
    EXPECT_EQ(outcome.result, kOk) << end;
    EXPECT_EQ(outcome.Only().body, "text\n") << end;
  }
}

TEST_F(VMessageContent, OnlyTwoMoreCharactersThatEndInDashesMakeABoundaryAClosingOne) {
  for (const std::string line : {"--b", "--bx", "--bxy", "--bxyz", "--b-", "--b---", "--b-- "}) {
    const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(
        Lines({"--b", "", "text", line, "Content-Type:second", "", "x", "--b--"})));
    EXPECT_EQ(outcome.result, kOk) << line;
    EXPECT_EQ(outcome.Only().body, "text\n") << line;
    EXPECT_THAT(outcome.Only().further_parts, SizeIs(1)) << line;
  }
}

TEST_F(VMessageContent, ABoundaryInOtherLettersIsContent) {
  const ReadMessageOutcome outcome = ReadMessages(
      MultipartMessage(Lines({"--Bc", "", "--BC", " --Bc", "-Bc", "END:VBODY", "--Bc--"}),
                       "multipart/mixed; boundary=Bc"));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().body, "--BC\n --Bc\n-Bc\nEND:VBODY\n");
}

TEST_F(VMessageContent, ASoftBreakDoesNotHideABoundary) {
  EXPECT_EQ(ReadMessages(MultipartMessage(Lines({"--b", "", "abc=", "--b--"}))).Only().body, "abc");
}

TEST_F(VMessageContent, AFirstPartWithoutATypeLeavesTheTypeOfTheWholeContent) {
  const ReadMessageOutcome outcome = ReadMessages(
      MultipartMessage(Lines({"--b", "Content-Transfer-Encoding:7bit", "", "text", "--b--"})));
  EXPECT_EQ(outcome.Only().content_type, "multipart/mixed; boundary=b");
  EXPECT_EQ(outcome.Only().transfer_encoding, "7bit");
}

TEST_F(VMessageContent, ALaterPartWithoutHeadersHasNone) {
  const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(
      Lines({"--b", "Content-Type:text/plain", "", "text", "--b", "", "x", "--b--"})));
  ASSERT_THAT(outcome.Only().further_parts, SizeIs(1));
  EXPECT_EQ(outcome.Only().further_parts[0].content_type, "");
  EXPECT_EQ(outcome.Only().further_parts[0].transfer_encoding, "");
}

TEST_F(VMessageContent, OtherHeadersOfAPartAreWarnedOfAndNotStored) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages(MultipartMessage(Lines({"--b", "Content-ID:1", "Subject:inner", "END:VBODY", "",
                                           "text", "--b", "From:x", "", "--b--"})));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().subject, "");
  EXPECT_EQ(outcome.Only().from, "");
  EXPECT_EQ(outcome.Only().body, "text\n");
  EXPECT_THAT(trace.Lines(),
              ElementsAre(Multipart("b"), Unexpected("Content-ID"), Unexpected("Subject"),
                          Unexpected("END"), Unexpected("From")));
}

TEST_F(VMessageContent, HeadersOfAPartAreCutAtTheirRoomWithAWarning) {
  const struct {
    const char* name;
    size_t room;
    std::string ReadMessage::*field;
    std::string ReadMessage::Part::*later_field;
  } headers[] = {
      {"Content-Type", 128, &ReadMessage::content_type, &ReadMessage::Part::content_type},
      {"content-transfer-encoding", 50, &ReadMessage::transfer_encoding,
       &ReadMessage::Part::transfer_encoding}};
  for (const auto& header : headers) {
    for (const size_t length : {header.room - 2, header.room - 1, header.room}) {
      const std::string value(length, 'a');
      const std::string line = std::string(header.name) + ":" + value;
      const ReadMessageOutcome outcome =
          ReadMessages(MultipartMessage(Lines({"--b", line, "", "--b", line, "", "--b--"})));
      const std::string kept = value.substr(0, header.room - 1);
      EXPECT_EQ(outcome.result, length < header.room ? kOk : kWarning) << line;
      EXPECT_EQ(outcome.Only().*header.field, kept);
      EXPECT_EQ(outcome.Only().further_parts.at(0).*header.later_field, kept);
    }
  }
}

TEST_F(VMessageContent, AFoldedHeaderOfAPartIsJoined) {
  const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(
      Lines({"--b", "Content-Type:text/plain;", "\tcharset=UTF-8", "", " text", "--b--"})));
  EXPECT_EQ(outcome.Only().content_type, "text/plain; charset=UTF-8");
  EXPECT_EQ(outcome.Only().body, " text\n");
}

TEST_F(VMessageContent, AMultipartInsideAPartIsText) {
  const ReadMessageOutcome outcome =
      ReadMessages(MultipartMessage(Lines({"--b", "Content-Type:multipart/alternative; boundary=c",
                                           "", "--c", "", "text", "--c--", "--b--"})));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().body, "--c\n\ntext\n--c--\n");
}

TEST_F(VMessageContent, ABoundaryThatNeverComesIsTheEndOfTheFile) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages(MultipartMessage(Repeated("no boundary\r\n", 10'000)));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(Multipart("b"), kNoBodyEnd, kNoBody));
}

TEST_F(VMessageContent, AFileThatEndsWithinTheFirstPartIsToldOnEachLevel) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(Lines({"--b", "", "text"})));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(Multipart("b"), kContentEnd, kNoBodyEnd, kNoBody));
}

TEST_F(VMessageContent, AFileThatEndsWithinALaterPartIsAnError) {
  struct {
    std::string content;
    bool ends_in_content;
  } const cases[] = {
      // The end of the file is an empty line, as it stands between headers and content.
      {Lines({"--b", "", "text", "--b"}), true},
      {Lines({"--b", "", "text", "--b", "", "x"}), true},
      {Lines({"--b", "", "text", "--b", "Content-Type:x"}), false},
      {Lines({"--b", "Content-Type:x"}), false},
      {Lines({"--b", "", "text", "--b--", "epilogue"}), false},
  };
  for (const auto& [content, ends_in_content] : cases) {
    TraceReceiver trace;
    const ReadMessageOutcome outcome = ReadMessages(
        "BEGIN:VMSG\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\nContent-Type:multipart/mixed; "
        "boundary=b\r\n\r\n" +
        content);
    EXPECT_EQ(outcome.result, kError) << content;
    EXPECT_THAT(outcome.messages, IsEmpty()) << content;
    std::vector<std::string> expected = {Multipart("b"), kNoBodyEnd, kNoBody};
    if (ends_in_content) expected.insert(expected.begin() + 1, kContentEnd);
    EXPECT_EQ(trace.Lines(), expected) << content;
  }
}

TEST_F(VMessageContent, ABoundaryOfAMegabyteIsCutWithItsTypeAndNeverComes) {
  const std::string boundary(1 << 20, 'b');
  const ReadMessageOutcome outcome =
      ReadMessages(MultipartMessage(Lines({"--" + boundary, "", "text", "--" + boundary + "--"}),
                                    "multipart/mixed; boundary=" + boundary));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
}

TEST_F(VMessageContent, ABoundaryThatFillsItsTypeIsFound) {
  const std::string boundary(127 - std::string("multipart/mixed; boundary=").size(), 'b');
  const ReadMessageOutcome outcome =
      ReadMessages(MultipartMessage(Lines({"--" + boundary, "", "text", "--" + boundary + "--"}),
                                    "multipart/mixed; boundary=" + boundary));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().body, "text\n");
}

TEST_F(VMessageContent, TenThousandPartsAreReadAndReleased) {
  const ReadMessageOutcome outcome = ReadMessages(MultipartMessage(
      "--b\r\n\r\ntext\r\n" + Repeated("--b\r\nContent-Type:x\r\n\r\ny\r\n", 9'999) + "--b--\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.Only().further_parts, SizeIs(9'999));
  EXPECT_EQ(outcome.Only().further_parts.back().content_type, "x");
}

TEST_F(VMessageContent, ManyPartsAreReleasedWithoutDeepCalls) {
  const ReadMessageOutcome outcome = ReadMessages(
      MultipartMessage("--b\r\n\r\n" + Repeated("--b\r\n\r\n", 200'000) + "--b--\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_THAT(outcome.Only().further_parts, SizeIs(200'000));
}

TEST_F(VMessageContent, ASecondEnvelopeReleasesThePartsOfTheFirst) {
  const ReadMessageOutcome outcome = ReadMessages(
      MessageText(EnvelopeText(BodyText("Content-Type:multipart/mixed; boundary=b\r\n",
                                        Lines({"--b", "", "one", "--b", "", "--b--"}))) +
                  EnvelopeText(BodyText("Content-Type:text/plain\r\n", "two\r\n"))));
  EXPECT_EQ(outcome.Only().body, "two\n");
  EXPECT_THAT(outcome.Only().further_parts, IsEmpty());
}

// ---- Anything ----

TEST_F(VMessageContent, EveryBeginningOfAGoodMultipartFileIsRefusedAndLeavesNoFile) {
  const std::string text = MultipartMessage(
      Lines({"preamble", "--b", "Content-Type:image/gif;", " name=\"a.gif\"", "", "one=", "two",
             "--b", "Content-Type:text/plain", "", "x", "--b--", "epilogue"}));
  for (size_t length = 0; length < text.size(); ++length) {
    const ReadMessageOutcome outcome = ReadMessages(text.substr(0, length));
    const bool is_whole = length + 2 >= text.size();
    EXPECT_EQ(outcome.result, is_whole ? kOk : kError) << length;
    EXPECT_THAT(outcome.messages, SizeIs(is_whole ? 1 : 0)) << length;
    EXPECT_EQ(TempFileCount(), 0u) << length;
  }
}

TEST_F(VMessageContent, AnyLinesInAnyOrderAreReadOrRefusedAndLeaveNoFile) {
  const std::vector<std::string> pieces = {"BEGIN:VMSG\r\n",
                                           "END:VMSG\r\n",
                                           "BEGIN:VENV\r\n",
                                           "END:VENV\r\n",
                                           "BEGIN:VBODY\r\n",
                                           "END:VBODY\r\n",
                                           "BEGIN:VCARD\r\n",
                                           "END:VCARD\r\n",
                                           "VERSION:1.1\r\n",
                                           "X-IRMC-LUID:",
                                           "Content-Type:multipart/mixed; boundary=b\r\n",
                                           "Content-Type:a; name=a.gif\r\n",
                                           "Content-Type:a; name=../x\r\n",
                                           "--b\r\n",
                                           "--b--\r\n",
                                           "\r\n",
                                           " folded\r\n",
                                           "text=\r\n",
                                           "N:x\r\n",
                                           "=",
                                           ":",
                                           ";",
                                           std::string(1, '\0'),
                                           "\r",
                                           "\xFF"};
  const auto file = rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(pieces));
  EXPECT_TRUE(rc::check([&] {
    std::string text = *rc::gen::element<std::string>(
        "", "BEGIN:VMSG\r\nBEGIN:VENV\r\n", "BEGIN:VMSG\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\n");
    for (const std::string& piece : *file) text += piece;
    const ReadMessageOutcome outcome = ReadMessages(text);
    const bool is_read = outcome.result == kOk || outcome.result == kWarning;
    RC_ASSERT(is_read || outcome.result == kError);
    RC_ASSERT(!is_read || !outcome.messages.empty());
    RC_ASSERT(TempFileCount() == 0u);
  }));
}

}  // namespace
}  // namespace vmessage_content_test
