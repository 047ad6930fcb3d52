// Messages as telephones and programs really write them: what is in the record of each, and why some are
// refused. The files lie in the folder that OSIF_CORPUS names; without it these tests are skipped.
#include <gmock/gmock.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/support/corpus.h"
#include "tests/support/messages.h"
#include "tests/support/trace_receiver.h"

namespace corpus_messages_test {
namespace {

using support::ReadMessage;
using support::ReadMessageOutcome;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr OsifResult kWarning = OSIF_PARSE_WARNING;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

constexpr char kNoBegin[] = "OSIF:  Error - vMsg does not have a BEGIN tag";
constexpr char kNoCardVersion[] =
    "OSIF:  WARNING - vCard missing VERSION property.  Assuming '2.1'.";
constexpr char kNoCardName[] =
    "OSIF:  Error - vCard missing END tago or does not contain required VERSION or N properties";

std::string Unknown(const std::string& name) {
  return "OSIF:  Warning - Parser encountered unknown property: '" + name + "'";
}

class CorpusMessages : public support::MessageTest {
 protected:
  void SetUp() override {
    const std::string corpus = support::CorpusFolder();
    if (corpus.empty()) GTEST_SKIP() << support::kNoCorpus;
    folder_ = corpus + "/vmessage/";
  }

  std::string Bytes(const std::string& name) const {
    const std::string bytes = support::BytesOf(folder_ + name);
    EXPECT_FALSE(bytes.empty()) << name;
    return bytes;
  }
  ReadMessageOutcome Read(const std::string& name) const {
    return support::ReadMessages(Bytes(name));
  }

  // A file whose messages have their body outside of an envelope: another object than a card or an
  // envelope in a message refuses it, whatever the trace told of the lines before.
  void ExpectRefusedAtItsBody(const std::string& name,
                              const std::vector<std::string>& trace_lines) {
    support::TraceReceiver trace;
    const ReadMessageOutcome outcome = Read(name);
    EXPECT_EQ(outcome.result, kError) << name;
    EXPECT_THAT(outcome.messages, IsEmpty()) << name;
    EXPECT_EQ(trace.Lines(), trace_lines) << name;
  }

  std::string folder_;
};

// Every field that a message of the corpus leaves empty.
void ExpectNothingElse(const ReadMessage& message) {
  EXPECT_EQ(message.luid, "");
  EXPECT_EQ(message.folder, "");
  EXPECT_EQ(message.return_path, "");
  EXPECT_EQ(message.attachment, "");
  EXPECT_THAT(message.further_parts, IsEmpty());
}

// ---- Files that are read ----

TEST_F(CorpusMessages, ATelephonesMessageOfSeveralLinesKeepsItsDateOnly) {
  support::TraceReceiver trace;
  const ReadMessageOutcome outcome = Read("textmessageviewer__nokia-multiline.vmg");
  EXPECT_EQ(outcome.result, kWarning);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.result, kWarning);
  EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
  EXPECT_EQ(message.version, "");  // as the status, cleared by the card behind it
  EXPECT_EQ(message.status, "");
  EXPECT_EQ(message.type, "");
  EXPECT_EQ(message.date, "13/12/2003 12:12:26");
  EXPECT_EQ(message.from + message.to + message.cc + message.reply_to + message.subject, "");
  EXPECT_EQ(message.mime_version + message.content_type + message.transfer_encoding, "");
  // Its text stands among the headers, since no empty line ends them.
  EXPECT_EQ(message.body, std::nullopt);
  ExpectNothingElse(message);
  EXPECT_THAT(trace.Lines(), ElementsAre(Unknown("X-IRMC-BOX"), Unknown("Thisisthemessagetext"),
                                         Unknown("withmultiplelines")));
}

TEST_F(CorpusMessages, AConvertersSampleKeepsItsDateInMilliseconds) {
  support::TraceReceiver trace;
  const ReadMessageOutcome outcome = Read("vmg-converter__readme-sample.vmg");
  EXPECT_EQ(outcome.result, kWarning);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.result, kWarning);
  EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
  EXPECT_EQ(message.version, "");
  EXPECT_EQ(message.status, "");
  EXPECT_EQ(message.type, "");
  EXPECT_EQ(message.date, "1451393917000");
  EXPECT_EQ(message.from + message.to + message.cc + message.reply_to + message.subject, "");
  EXPECT_EQ(message.mime_version + message.content_type + message.transfer_encoding, "");
  EXPECT_EQ(message.body, std::nullopt);
  ExpectNothingElse(message);
  // The card has no N.
  EXPECT_THAT(trace.Lines(),
              ElementsAre(Unknown("X-IRMS-TYPE"), Unknown("X-MESSAGE-TYPE"), Unknown("X-MA-TYPE"),
                          kNoCardName, Unknown("HelloWorld!")));
}

// The two mails of one telephone differ in their date, subject and text.
void ExpectMail(const ReadMessageOutcome& outcome, const std::string& date,
                const std::string& subject, const std::string& body) {
  EXPECT_EQ(outcome.result, kWarning);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.result, kWarning);
  // The folder comes as X-IRMC-BOX, which is another name.
  EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
  EXPECT_EQ(message.version, "1.1");
  EXPECT_EQ(message.status, "READ");
  EXPECT_EQ(message.type, "INET");
  // Values keep the blank behind the ":".
  EXPECT_EQ(message.date, date);
  EXPECT_EQ(message.from, " guy@co.jp");
  EXPECT_EQ(message.to, " girl@co.jp");
  EXPECT_EQ(message.cc, " ");
  EXPECT_EQ(message.reply_to, " ");
  EXPECT_EQ(message.subject, subject);
  EXPECT_EQ(message.mime_version, " 1.0");
  EXPECT_EQ(message.content_type, " text/plain; charset=Shift_JIS");
  EXPECT_EQ(message.transfer_encoding, " 8bit");
  EXPECT_EQ(message.body, body);
  ExpectNothingElse(message);
}

TEST_F(CorpusMessages, AJapaneseTelephonesMailKeepsItsHeadersAndItsTextAsBytes) {
  support::TraceReceiver trace;
  ExpectMail(Read("vmg-output__E2__0000.vmg"), " Fri, 03 Jun 2011 09:09:09 +0900",
             " \x96\xBE\x93\xFA\x82\xCC\x97\\\x92\xE8",
             "\x82\xA8\x82\xCD\x82\xE6\x82\xA4\x81\x42\n"
             "\x96\xBE\x93\xFA\x82\xCD\x92\xA9\x38\x8E\x9E\x82\xC9\x89\x77\x8F\x57\x8D\x87"
             "\x82\xC5\x81\x42\n\n");
  EXPECT_THAT(trace.Lines(), ElementsAre(Unknown("X-IRMC-BOX"), Unknown("Bcc")));
}

TEST_F(CorpusMessages, AJapaneseTelephonesAnswerKeepsItsHeadersAndItsTextAsBytes) {
  support::TraceReceiver trace;
  ExpectMail(Read("vmg-output__E2__0002.vmg"), " Fri, 03 Jun 2011 09:20:20 +0900",
             " Re:Re:\x96\xBE\x93\xFA\x82\xCC\x97\\\x92\xE8",
             "\x89\x77\x82\xC5\x89\xBD\x82\xA9\x94\x83\x82\xC1\x82\xC4\x8C\xBB\x92\x6E\x82\xC5\x90"
             "\x48\x82\xD7\x82\xDC\x82\xB5\x82\xE5\x82\xA4\x81\x42\n\n");
  EXPECT_THAT(trace.Lines(), ElementsAre(Unknown("X-IRMC-BOX"), Unknown("Bcc")));
}

// ---- Files that are refused ----

TEST_F(CorpusMessages, ATestProgramsMessageWithoutAnEnvelopeIsRefused) {
  ExpectRefusedAtItsBody("auto-pts__vmsg-single.vmg", {});
}

TEST_F(CorpusMessages, OfATestProgramsTwoMessagesWithoutEnvelopesTheFirstIsRefused) {
  ExpectRefusedAtItsBody("auto-pts__vmsg-two.vmg", {});
}

TEST_F(CorpusMessages, ATelephonesMessageWithBlanksBehindEachLineIsReadUpToItsBody) {
  ExpectRefusedAtItsBody("idx__perl-lg-trailing-space.vmg", {kNoCardVersion, kNoCardName});
}

TEST_F(CorpusMessages, APhoneServicesMessageIsRefusedAtItsBodyAndItsCardBehindIsNotReached) {
  ExpectRefusedAtItsBody("idx__tizen-msg-sample.vmg",
                         {Unknown("X-MESSAGE-TYPE"), Unknown("X-IRMC-BOX"), Unknown("X-SS-DT")});
}

TEST_F(CorpusMessages, OfABackupsTwoMessagesWithoutEnvelopesTheFirstIsRefused) {
  ExpectRefusedAtItsBody("idx__zte-blade-sms.vmg", {kNoCardVersion, kNoCardName});
}

TEST_F(CorpusMessages, AMessageWithItsTextInASubjectIsRefusedAtItsBody) {
  ExpectRefusedAtItsBody(
      "vmsg2csv__comment-sample.vmg",
      {Unknown("X-IRMS-TYPE"), Unknown("X-MESSAGE-TYPE"), Unknown("X-MESSAGE-STATUS"),
       Unknown("X-MESSAGE-SLOT"), Unknown("X-MESSAGE-LOCKED"), kNoCardName});
}

TEST_F(CorpusMessages, ADesktopSuitesFileOfWideCharactersBeginsNoMessage) {
  ExpectRefusedAtItsBody("xiirus__nokia-pcsuite.vmg", {kNoBegin});
}

// ---- All of them ----

TEST_F(CorpusMessages, EveryFileIsHeldByATestAbove) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    names.insert(entry.path().filename());
  }
  EXPECT_THAT(names, ElementsAre("auto-pts__vmsg-single.vmg", "auto-pts__vmsg-two.vmg",
                                 "idx__perl-lg-trailing-space.vmg", "idx__tizen-msg-sample.vmg",
                                 "idx__zte-blade-sms.vmg", "textmessageviewer__nokia-multiline.vmg",
                                 "vmg-converter__readme-sample.vmg", "vmg-output__E2__0000.vmg",
                                 "vmg-output__E2__0002.vmg", "vmsg2csv__comment-sample.vmg",
                                 "xiirus__nokia-pcsuite.vmg"));
}

TEST_F(CorpusMessages, AFileRefusedForItsMissingEnvelopeIsReadWithOne) {
  const ReadMessageOutcome outcome =
      support::ReadMessages(support::WithEnvelopes(Bytes("idx__zte-blade-sms.vmg")));
  EXPECT_EQ(outcome.result, kWarning);
  ASSERT_THAT(outcome.messages, SizeIs(2));
  EXPECT_EQ(outcome.messages[0].date, "2018/01/29 13:14:17");
  // A value is kept undecoded, its soft break taken out.
  EXPECT_EQ(outcome.messages[0].subject, "=68=69=20=74=68=65=72=65");
  EXPECT_EQ(outcome.messages[0].body, std::nullopt);
  EXPECT_EQ(outcome.messages[1].date, "2018/01/30 09:00:00");
  EXPECT_EQ(outcome.messages[1].subject, "plain text");
  EXPECT_EQ(outcome.messages[1].store, OSIF_STORE_MSG_IN);
}

TEST_F(CorpusMessages, EveryBeginningOfEveryFileIsReadOrRefused) {
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    const std::string bytes = support::WithEnvelopes(Bytes(entry.path().filename()));
    for (size_t length = 0; length < bytes.size(); ++length) {
      const ReadMessageOutcome outcome = support::ReadMessages(bytes.substr(0, length));
      EXPECT_TRUE(outcome.result == kError || !outcome.messages.empty())
          << entry.path() << " cut at " << length;
    }
    EXPECT_EQ(TempFileCount(), 0u) << entry.path();
  }
}

}  // namespace
}  // namespace corpus_messages_test
