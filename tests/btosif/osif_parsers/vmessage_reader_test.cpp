// Messages, their envelopes and the headers of their bodies. What a body contains is tested on its own.
#include "btosif/osif_parsers/vmessage_reader.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "platform/posix/fault_injection.h"
#include "tests/support/messages.h"
#include "tests/support/trace_receiver.h"

namespace vmessage_reader_test {
namespace {

using support::BodyText;
using support::EnvelopeText;
using support::Lines;
using support::MessageText;
using support::MessageWith;
using support::MessageWithProperty;
using support::ReadMessage;
using support::ReadMessageOutcome;
using support::ReadMessages;
using support::Repeated;
using support::TraceReceiver;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kWarning = OSIF_PARSE_WARNING;
constexpr OsifResult kError = OSIF_PARSE_ERROR;

constexpr char kNoBegin[] = "OSIF:  Error - vMsg does not have a BEGIN tag";
constexpr char kNoBody[] = "OSIF:  Error - vMsg missing BODY section";
constexpr char kNoBodyEnd[] = "OSIF:  Error - vBody missing END tag";
constexpr char kContentEnd[] = "OSIF:  Error - reached EOF while parsing CONTENT of vMsg";
constexpr char kBlankInMessage[] = "OSIF:  Warning - Parser encounted a blank line in vMSG";
constexpr char kBlankInEnvelope[] = "OSIF:  Warning - Parser encounted a blank line in vEnv";

std::string Unknown(const std::string& name) {
  return "OSIF:  Warning - Parser encountered unknown property: '" + name + "'";
}

const std::string kCard = Lines({"BEGIN:VCARD", "VERSION:2.1", "N:Lee;Ann", "END:VCARD"});
const std::string kBody = BodyText("Subject:Hi\r\n", "text\r\n");
const std::string kEnvelope = EnvelopeText(kBody);

class VMessageReader : public support::MessageTest {};

// ---- A file ----

TEST_F(VMessageReader, DeliversAMessageWithAllItsFields) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(Lines({"BEGIN:VMSG",
                                                         "VERSION:1.1",
                                                         "X-IRMC-STATUS:UNREAD",
                                                         "X-IRMC-TYPE:INET",
                                                         "X-IRMC-LUID:00AB",
                                                         "X-BT-FOLDER:INBOX",
                                                         "BEGIN:VENV",
                                                         "BEGIN:VBODY",
                                                         "Date:Mon, 14 Mar 2005 10:15:00 UT",
                                                         "From:ann@example.org",
                                                         "To:ole@example.org",
                                                         "Cc:eva@example.org",
                                                         "Reply-To:desk@example.org",
                                                         "Subject:Hi",
                                                         "Mime-Version:1.0",
                                                         "Content-Type:text/plain",
                                                         "Content-Transfer-Encoding:8bit",
                                                         "",
                                                         "one",
                                                         "two",
                                                         "END:VBODY",
                                                         "END:VENV",
                                                         "END:VMSG"}));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_THAT(trace.Lines(), IsEmpty());
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
  EXPECT_EQ(message.result, kOk);
  EXPECT_EQ(message.version, "1.1");
  EXPECT_EQ(message.status, "UNREAD");
  EXPECT_EQ(message.type, "INET");
  EXPECT_EQ(message.luid, "00AB");
  EXPECT_EQ(message.folder, "INBOX");
  EXPECT_EQ(message.date, "Mon, 14 Mar 2005 10:15:00 UT");
  EXPECT_EQ(message.from, "ann@example.org");
  EXPECT_EQ(message.to, "ole@example.org");
  EXPECT_EQ(message.cc, "eva@example.org");
  EXPECT_EQ(message.reply_to, "desk@example.org");
  EXPECT_EQ(message.subject, "Hi");
  EXPECT_EQ(message.mime_version, "1.0");
  EXPECT_EQ(message.content_type, "text/plain");
  EXPECT_EQ(message.transfer_encoding, "8bit");
  EXPECT_EQ(message.body, "one\ntwo\n");
  EXPECT_EQ(message.attachment, "");
  EXPECT_THAT(message.further_parts, IsEmpty());
}

TEST_F(VMessageReader, TakesTheNamesAndWordsOfItsStructureInAnyCase) {
  const ReadMessageOutcome outcome =
      ReadMessages(Lines({"begin:vmsg", "begin:VCard", "n:x", "end:vcard", "Begin:vEnv",
                          "bEGIN:vbody", "end:VBODY", "END:venv", "End:vmsg"}));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_THAT(outcome.messages, SizeIs(1));
}

TEST_F(VMessageReader, TakesLineFeedsAloneAsLineEnds) {
  const ReadMessageOutcome outcome = ReadMessages(
      "BEGIN:VMSG\nVERSION:1.1\nBEGIN:VENV\nBEGIN:VBODY\nSubject:Hi\n\none\n\ntwo\nEND:VBODY\n"
      "END:VENV\nEND:VMSG\n");
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().subject, "Hi");
  EXPECT_EQ(outcome.Only().body, "one\n\ntwo\n");
}

TEST_F(VMessageReader, TakesABeginWithBlanksAroundItsWords) {
  EXPECT_THAT(ReadMessages(Lines({" BEGIN : VMSG\t", "BEGIN: VENV ", "BEGIN:VBODY ", "END:VBODY",
                                  "END:\tVENV", "END: VMSG "}))
                  .messages,
              SizeIs(1));
}

TEST_F(VMessageReader, RefusesAnEmptyFile) {
  const ReadMessageOutcome outcome = ReadMessages("");
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
}

TEST_F(VMessageReader, RefusesAFileThatBeginsWithNoMessage) {
  for (const std::string begin :
       {"BEGIN:VNOTE", "BEGIN:VMSGS", "BEGIN:VMS", "BEGIN:", "END:VMSG", "VMSG", "X:VMSG", ""}) {
    TraceReceiver trace;
    const ReadMessageOutcome outcome = ReadMessages(begin + "\r\n" + MessageText(kEnvelope));
    EXPECT_EQ(outcome.result, kError) << begin;
    EXPECT_THAT(outcome.messages, IsEmpty()) << begin;
    EXPECT_THAT(trace.Lines(), ElementsAre(kNoBegin)) << begin;
  }
}

TEST_F(VMessageReader, ReadsEveryMessageOfAFile) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageWithProperty("X-IRMC-LUID:1") + MessageWithProperty("X-IRMC-LUID:2") +
                   MessageWithProperty("X-IRMC-LUID:3"));
  EXPECT_EQ(outcome.result, kOk);
  ASSERT_THAT(outcome.messages, SizeIs(3));
  EXPECT_EQ(outcome.messages[0].luid, "1");
  EXPECT_EQ(outcome.messages[1].luid, "2");
  EXPECT_EQ(outcome.messages[2].luid, "3");
}

TEST_F(VMessageReader, ClearsTheRecordBetweenMessages) {
  const std::string full = MessageText(
      "X-IRMC-LUID:1\r\nX-IRMC-STATUS:READ\r\nX-IRMC-TYPE:SMS\r\nX-BT-FOLDER:OUTBOX\r\n" +
      EnvelopeText(BodyText("Subject:Hi\r\nFrom:a\r\nContent-Type:text/plain\r\n", "text\r\n")));
  const std::string bare =
      Lines({"BEGIN:VMSG", "BEGIN:VENV", "BEGIN:VBODY", "END:VBODY", "END:VENV", "END:VMSG"});
  const ReadMessageOutcome outcome = ReadMessages(full + bare);
  ASSERT_THAT(outcome.messages, SizeIs(2));
  const ReadMessage& second = outcome.messages[1];
  EXPECT_EQ(second.store, OSIF_STORE_MSG_IN);
  EXPECT_EQ(second.luid + second.version + second.status + second.type + second.folder, "");
  EXPECT_EQ(second.subject + second.from + second.content_type, "");
  EXPECT_EQ(second.body, std::nullopt);
}

TEST_F(VMessageReader, KeepsAWarningForTheMessagesBehind) {
  const ReadMessageOutcome outcome = ReadMessages(
      MessageText(kEnvelope) + MessageWithProperty("X-COLOUR:red") + MessageText(kEnvelope));
  EXPECT_EQ(outcome.result, kWarning);
  ASSERT_THAT(outcome.messages, SizeIs(3));
  EXPECT_EQ(outcome.messages[0].result, kOk);
  EXPECT_EQ(outcome.messages[1].result, kWarning);
  EXPECT_EQ(outcome.messages[2].result, kWarning);
}

TEST_F(VMessageReader, KeepsMessagesThatWereDeliveredBeforeOneThatIsRefused) {
  const ReadMessageOutcome outcome = ReadMessages(
      MessageText(kEnvelope) + MessageWithProperty("VERSION:9") + MessageText(kEnvelope));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, SizeIs(1));
}

TEST_F(VMessageReader, EndsSilentlyAtTheFirstLineThatBeginsNoFurtherMessage) {
  for (const std::string behind : {"", "BEGIN:VNOTE", "rubbish", "END:VMSG"}) {
    TraceReceiver trace;
    const ReadMessageOutcome outcome =
        ReadMessages(MessageText(kEnvelope) + behind + "\r\n" + MessageText(kEnvelope));
    EXPECT_EQ(outcome.result, kOk) << behind;
    EXPECT_THAT(outcome.messages, SizeIs(1)) << behind;
    EXPECT_THAT(trace.Lines(), IsEmpty()) << behind;
  }
}

TEST_F(VMessageReader, ReadsWithoutACallback) {
  OsifStream stream = support::OpenBytes(MessageText(kEnvelope));
  EXPECT_EQ(VMessage_ReadFile(stream, nullptr, nullptr), kOk);
}

// ---- The store ----

int32_t StoreOf(const std::string& folder_line) {
  const ReadMessageOutcome outcome = ReadMessages(MessageWithProperty(folder_line));
  EXPECT_EQ(outcome.result, kOk) << folder_line;
  return outcome.Only().store;
}

TEST_F(VMessageReader, AFolderSentboxInSmallLettersIsDeliveredToTheSentStore) {
  EXPECT_EQ(StoreOf("X-BT-FOLDER:sentbox"), OSIF_STORE_MSG_SENT);
  EXPECT_EQ(StoreOf("X-BT-FOLDER:SENTBOX"), OSIF_STORE_MSG_SENT);
}

TEST_F(VMessageReader, AFolderOutboxInAnyCaseIsDeliveredToTheOutStore) {
  EXPECT_EQ(StoreOf("X-BT-FOLDER:OUTBOX"), OSIF_STORE_MSG_OUT);
  EXPECT_EQ(StoreOf("X-BT-FOLDER:OutBox"), OSIF_STORE_MSG_OUT);
}

TEST_F(VMessageReader, InboxAndAMissingFolderGoToTheInboxStore) {
  EXPECT_EQ(StoreOf("X-BT-FOLDER:INBOX"), OSIF_STORE_MSG_IN);
  EXPECT_EQ(StoreOf("X-BT-FOLDER:"), OSIF_STORE_MSG_IN);
  EXPECT_EQ(ReadMessages(MessageText(kEnvelope)).Only().store, OSIF_STORE_MSG_IN);
}

TEST_F(VMessageReader, AnyOtherFolderGoesToTheInboxStore) {
  for (const char* folder : {"SENTBOX2", "SENT", "SENDBOX", "DRAFT", " OUTBOX", "OUTBOX "}) {
    EXPECT_EQ(StoreOf("X-BT-FOLDER:" + std::string(folder)), OSIF_STORE_MSG_IN) << folder;
  }
}

// ---- The message ----

TEST_F(VMessageReader, WarnsOfUnknownPropertiesOfAMessage) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MessageWithProperty("X - COLOUR;A=b:red"));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().result, kWarning);
  EXPECT_THAT(trace.Lines(), ElementsAre(Unknown("X-COLOUR")));
}

TEST_F(VMessageReader, WarnsOfABlankLineInAMessage) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MessageWithProperty(""));
  EXPECT_EQ(outcome.Only().result, kWarning);
  EXPECT_THAT(trace.Lines(), ElementsAre(kBlankInMessage));
}

TEST_F(VMessageReader, AMessageNeedsNoVersion) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages("BEGIN:VMSG\r\n" + kEnvelope + "END:VMSG\r\n");
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().version, "");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageReader, AcceptsVersionsUpTo11) {
  for (const char* version : {"1.1", "1.0", "1", "0.5", " 1.1", "1.1 ", "1.1beta"}) {
    const ReadMessageOutcome outcome =
        ReadMessages(MessageWithProperty("VERSION:" + std::string(version)));
    EXPECT_EQ(outcome.result, kOk) << version;
    EXPECT_EQ(outcome.Only().version, version);
  }
}

TEST_F(VMessageReader, RefusesVersionsAbove11AndThoseThatAreNoNumber) {
  for (const std::string version : {"1.2", "2.1", "0", "0.0", "", "new", "1.11"}) {
    TraceReceiver trace;
    const ReadMessageOutcome outcome = ReadMessages(MessageWithProperty("VERSION:" + version));
    EXPECT_EQ(outcome.result, kError) << version;
    EXPECT_THAT(outcome.messages, IsEmpty()) << version;
    EXPECT_THAT(trace.Lines(),
                ElementsAre("OSIF:  Error - vMsg version '" + version + "' is not supported"));
  }
}

TEST_F(VMessageReader, AVersionIsCutToNineCharactersWithAWarning) {
  const struct {
    const char* version;
    OsifResult result;
  } cases[] = {{"1.100000", kOk}, {"1.1000000", kOk}, {"1.10000000", kWarning}};
  for (const auto& each : cases) {
    const std::string version = each.version;
    const ReadMessageOutcome outcome = ReadMessages(MessageWithProperty("VERSION:" + version));
    EXPECT_EQ(outcome.result, each.result) << version;
    EXPECT_EQ(outcome.Only().version, version.substr(0, 9));
  }
}

TEST_F(VMessageReader, IgnoresBodyHeadersAtTheLevelOfTheMessage) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MessageText(
      Lines({"Date:x", "Subject:x", "From:x", "Mime-Version:x", "To:x", "Cc:x", "Reply-To:x",
             "Content-Type:multipart/mixed; boundary=b", "Content-Transfer-Encoding:x"}) +
      EnvelopeText(BodyText("", "text\r\n"))));
  EXPECT_EQ(outcome.result, kOk);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.date + message.subject + message.from + message.mime_version + message.to +
                message.cc + message.reply_to + message.content_type + message.transfer_encoding,
            "");
  EXPECT_EQ(message.body, "text\n");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageReader, AnyOtherObjectInAMessageEndsItWithoutAMessageInTheTrace) {
  for (const std::string word : {"VBODY", "VMSG", "VNOTE", "VCAR", ""}) {
    TraceReceiver trace;
    const ReadMessageOutcome outcome =
        ReadMessages(MessageText(kEnvelope + "BEGIN:" + word + "\r\nEND:" + word + "\r\n"));
    EXPECT_EQ(outcome.result, kError) << word;
    EXPECT_THAT(outcome.messages, IsEmpty()) << word;
    EXPECT_THAT(trace.Lines(), IsEmpty()) << word;
  }
}

TEST_F(VMessageReader, IgnoresEndLinesOfOtherObjectsInAMessage) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText("END:VCARD\r\nEND:VENV\r\nEND:\r\n" + kEnvelope + "END:VBODY\r\n"));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().subject, "Hi");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageReader, RefusesAMessageWithoutAnEnvelopeSilently) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MessageText("X-IRMC-STATUS:READ\r\n"));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageReader, RefusesAMessageWithoutItsEndSilently) {
  for (const std::string& text :
       {std::string("BEGIN:VMSG\r\n"), std::string("BEGIN:VMSG\r\nVERSION:1.1\r\n"),
        "BEGIN:VMSG\r\nVERSION:1.1\r\n" + kEnvelope}) {
    TraceReceiver trace;
    const ReadMessageOutcome outcome = ReadMessages(text);
    EXPECT_EQ(outcome.result, kError) << text;
    EXPECT_THAT(outcome.messages, IsEmpty()) << text;
    EXPECT_THAT(trace.Lines(), IsEmpty()) << text;
  }
}

TEST_F(VMessageReader, TakesPropertiesBehindTheEnvelopeToo) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText(kEnvelope + "X-IRMC-STATUS:READ\r\nX-BT-FOLDER:OUTBOX\r\n"));
  EXPECT_EQ(outcome.Only().status, "READ");
  EXPECT_EQ(outcome.Only().store, OSIF_STORE_MSG_OUT);
}

TEST_F(VMessageReader, TheBodyOfASecondEnvelopeTakesThePlaceOfTheFirst) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText(EnvelopeText(BodyText("Subject:a\r\n", "one\r\n")) +
                               EnvelopeText(BodyText("Subject:b\r\n", "two\r\n"))));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().subject, "b");
  EXPECT_EQ(outcome.Only().body, "two\n");
}

// ---- Cards ----

TEST_F(VMessageReader, AStatusBeforeTheOriginatorsCardArrivesEmpty) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText("X-IRMC-STATUS:READ\r\n" + kCard + kEnvelope));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().status, "");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageReader, ACardClearsEverythingReadBeforeItAtTheLevelOfTheMessage) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText("X-IRMC-LUID:1\r\nX-IRMC-STATUS:READ\r\nX-IRMC-TYPE:SMS\r\n"
                               "X-BT-FOLDER:OUTBOX\r\n" +
                               kCard + kEnvelope));
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.luid + message.version + message.status + message.type + message.folder, "");
  EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
}

TEST_F(VMessageReader, WhatIsReadBehindTheCardStays) {
  const ReadMessageOutcome outcome = ReadMessages(MessageText(
      kCard + "X-IRMC-LUID:1\r\nX-IRMC-STATUS:READ\r\nX-IRMC-TYPE:SMS\r\nX-BT-FOLDER:OUTBOX\r\n" +
      kEnvelope));
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.luid, "1");
  EXPECT_EQ(message.status, "READ");
  EXPECT_EQ(message.type, "SMS");
  EXPECT_EQ(message.store, OSIF_STORE_MSG_OUT);
}

TEST_F(VMessageReader, ACardBehindTheEnvelopeLeavesHeadersAndTextAlone) {
  const ReadMessageOutcome outcome = ReadMessages(
      MessageText("X-BT-FOLDER:OUTBOX\r\n" +
                  EnvelopeText(BodyText("Date:d\r\nFrom:f\r\nTo:t\r\nCc:c\r\nReply-To:r\r\n"
                                        "Subject:s\r\nMime-Version:1.0\r\n"
                                        "Content-Type:text/plain\r\n"
                                        "Content-Transfer-Encoding:8bit\r\n",
                                        "text\r\n")) +
                  kCard));
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
  EXPECT_EQ(message.date + message.from + message.to + message.cc + message.reply_to +
                message.subject + message.mime_version,
            "dftcrs1.0");
  EXPECT_EQ(message.content_type, "text/plain");
  EXPECT_EQ(message.transfer_encoding, "8bit");
  EXPECT_EQ(message.body, "text\n");
}

TEST_F(VMessageReader, ARecipientsCardInTheEnvelopeClearsTheFolderSoThatTheInboxGetsTheMessage) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText("X-IRMC-LUID:1\r\nX-IRMC-STATUS:READ\r\nX-BT-FOLDER:SENTBOX\r\n" +
                               EnvelopeText(kCard + kBody)));
  EXPECT_EQ(outcome.result, kOk);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.luid + message.version + message.status + message.folder, "");
  EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
  EXPECT_EQ(message.subject, "Hi");
}

TEST_F(VMessageReader, NothingOfACardReachesTheMessage) {
  const std::string card = Lines({"BEGIN:VCARD", "VERSION:2.1", "N:Lee;Ann", "X-IRMC-LUID:card",
                                  "NOTE:text", "ADR:1;2;3;4;5;6;7", "TEL:1", "END:VCARD"});
  const ReadMessageOutcome outcome = ReadMessages(MessageText(card + kEnvelope + card));
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.luid + message.version + message.status + message.type + message.folder, "");
  EXPECT_EQ(message.mime_version + message.return_path + message.date + message.from + message.to +
                message.cc + message.reply_to + message.content_type + message.transfer_encoding,
            "");
  EXPECT_EQ(message.subject, "Hi");
  EXPECT_EQ(message.body, "text\n");
}

TEST_F(VMessageReader, ABadCardDoesNotRefuseTheMessage) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText("BEGIN:VCARD\r\nTEL:1\r\nX-ODD:1\r\n\r\nEND:VCARD\r\n" + kEnvelope));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().subject, "Hi");
}

TEST_F(VMessageReader, TheRestOfACardOfAnUnsupportedVersionIsReadAsPropertiesOfTheMessage) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(
      MessageText("BEGIN:VCARD\r\nVERSION:3.0\r\nN:Lee;Ann\r\nEND:VCARD\r\n" + kEnvelope));
  EXPECT_EQ(outcome.Only().result, kWarning);
  EXPECT_EQ(outcome.Only().subject, "Hi");
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Error - vCard version '3.0' is not supported",
                          "OSIF:  Error - vCard missing END tago or does not contain required "
                          "VERSION or N properties",
                          Unknown("N")));
}

TEST_F(VMessageReader, ACardWithoutItsEndTakesTheEndOfTheMessageForItsOwn) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText("BEGIN:VCARD\r\nN:x\r\n" + kEnvelope) + MessageText(kEnvelope));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
}

// ---- The envelope ----

TEST_F(VMessageReader, SkipsEverythingElseOfAnEnvelopeSilently) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MessageText(EnvelopeText(
      Lines({"X-COLOUR:red", "Subject:outer", "VERSION:9.9", "X-IRMC-STATUS:READ",
             "X-BT-FOLDER:OUTBOX", "X-IRMC-LUID:1", "BEGIN:VNOTE", "END:VNOTE", "END:VMSG"}) +
      BodyText("", "text\r\n"))));
  EXPECT_EQ(outcome.result, kOk);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.version, "1.1");
  EXPECT_EQ(message.subject + message.status + message.folder + message.luid, "");
  EXPECT_EQ(message.body, "text\n");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageReader, WarnsOfABlankLineInAnEnvelope) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MessageText(EnvelopeText("\r\n" + kBody)));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().subject, "Hi");
  EXPECT_THAT(trace.Lines(), ElementsAre(kBlankInEnvelope));
}

TEST_F(VMessageReader, ReadsTheBodyOfANestedEnvelope) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MessageText(
      EnvelopeText(kCard + EnvelopeText(kCard + EnvelopeText(kBody)) + "X-IRMC-STATUS:READ\r\n")));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().subject, "Hi");
  EXPECT_EQ(outcome.Only().status, "");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageReader, ABodyMayStandBehindANestedEnvelope) {
  EXPECT_EQ(ReadMessages(MessageText(EnvelopeText(EnvelopeText("") + kBody))).Only().subject, "Hi");
}

TEST_F(VMessageReader, AnEnvelopeEndsOnlyWithTheEndOfItsOwnDepth) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText("BEGIN:VENV\r\nBEGIN:VENV\r\n" + kBody + "END:VENV\r\n"));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoBody));
}

TEST_F(VMessageReader, AHundredThousandNestedEnvelopesAreRead) {
  const size_t depth = 100'000;
  const ReadMessageOutcome outcome = ReadMessages(
      MessageText(Repeated("BEGIN:VENV\r\n", depth) + kBody + Repeated("END:VENV\r\n", depth)));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().subject, "Hi");
}

TEST_F(VMessageReader, OnlyTheFirstBodyOfAnEnvelopeIsRead) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(MessageText(
      EnvelopeText(kBody + Lines({"BEGIN:VBODY", "Subject:second", "X-ODD:1", "END:VBODY"}) +
                   EnvelopeText(Lines({"BEGIN:VBODY", "Subject:third", "END:VBODY"})))));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().subject, "Hi");
  EXPECT_EQ(outcome.Only().body, "text\n");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageReader, TheEmptyLineOfALaterBodyIsABlankLineOfTheEnvelope) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText(EnvelopeText(kBody + BodyText("Subject:second\r\n", "x\r\n"))));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().subject, "Hi");
  EXPECT_THAT(trace.Lines(), ElementsAre(kBlankInEnvelope));
}

TEST_F(VMessageReader, RefusesAnEnvelopeWithoutABody) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText(EnvelopeText(kCard)) + MessageText(kEnvelope));
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoBody));
}

TEST_F(VMessageReader, RefusesAnEnvelopeWithoutItsEnd) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages("BEGIN:VMSG\r\nBEGIN:VENV\r\n" + kBody + "END:VMSG\r\n");
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoBody));
}

// ---- The headers of the body ----

TEST_F(VMessageReader, WarnsOfEveryOtherNameAmongTheHeadersAndStoresNoneOfThem) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome = ReadMessages(
      MessageWith(Lines({"Bcc:x", "VERSION:9.9", "X-IRMC-LUID:1", "X-IRMC-STATUS:READ",
                         "X-IRMC-TYPE:SMS", "X-BT-FOLDER:OUTBOX", "BEGIN:VBODY", "no property"}),
                  "text\r\n"));
  EXPECT_EQ(outcome.result, kWarning);
  const ReadMessage& message = outcome.Only();
  EXPECT_EQ(message.store, OSIF_STORE_MSG_IN);
  EXPECT_EQ(message.version, "1.1");
  EXPECT_EQ(message.luid + message.status + message.type + message.folder, "");
  EXPECT_EQ(message.body, "text\n");
  EXPECT_THAT(trace.Lines(),
              ElementsAre(Unknown("Bcc"), Unknown("VERSION"), Unknown("X-IRMC-LUID"),
                          Unknown("X-IRMC-STATUS"), Unknown("X-IRMC-TYPE"), Unknown("X-BT-FOLDER"),
                          Unknown("BEGIN"), Unknown("noproperty")));
}

TEST_F(VMessageReader, AFoldedHeaderIsJoinedWithOneBlankAtEachJoin) {
  EXPECT_EQ(ReadMessages(MessageWith("Subject:one\r\n two\r\n\t three\r\n", "")).Only().subject,
            "one two  three");
}

TEST_F(VMessageReader, AHeaderThatEndsInAnEqualsSignIsJoinedWithTheNextLine) {
  const ReadMessage message =
      ReadMessages(MessageWith("Subject:one=\r\nFrom:two\r\nTo:x\r\n", "text\r\n")).Only();
  EXPECT_EQ(message.subject, "oneFrom:two");
  EXPECT_EQ(message.from, "");
  EXPECT_EQ(message.to, "x");
}

TEST_F(VMessageReader, AnyEndLineAmongTheHeadersEndsTheBodyWithoutContent) {
  for (const char* end : {"END:VBODY", "END:VCARD", "end:", "END:VMSG"}) {
    TraceReceiver trace;
    const ReadMessageOutcome outcome = ReadMessages(
        MessageText(EnvelopeText("BEGIN:VBODY\r\nSubject:Hi\r\n" + std::string(end) + "\r\n")));
    EXPECT_EQ(outcome.result, kOk) << end;
    EXPECT_EQ(outcome.Only().subject, "Hi") << end;
    EXPECT_EQ(outcome.Only().body, std::nullopt) << end;
    EXPECT_THAT(trace.Lines(), IsEmpty()) << end;
  }
}

TEST_F(VMessageReader, AFileThatEndsWithinTheHeadersIsToldByTheBodyAndTheEnvelope) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages("BEGIN:VMSG\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\nSubject:Hi\r\n");
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(kNoBodyEnd, kNoBody));
}

TEST_F(VMessageReader, AFileThatEndsWithinTheContentIsToldOnEachLevel) {
  TraceReceiver trace;
  const ReadMessageOutcome outcome =
      ReadMessages("BEGIN:VMSG\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\nSubject:Hi\r\n\r\ntext\r\n");
  EXPECT_EQ(outcome.result, kError);
  EXPECT_THAT(outcome.messages, IsEmpty());
  EXPECT_THAT(trace.Lines(), ElementsAre(kContentEnd, kNoBodyEnd, kNoBody));
}

TEST_F(VMessageReader, AWarningOfTheBodyIsRememberedByTheMessage) {
  EXPECT_EQ(ReadMessages(MessageText(EnvelopeText("BEGIN:VBODY\r\nBcc:x\r\nEND:VBODY\r\n")))
                .Only()
                .result,
            kWarning);
}

// ---- What no one should send ----

TEST_F(VMessageReader, HeadersOfAMegabyteAreReadAndCut) {
  const std::string megabyte(1 << 20, 'x');
  const ReadMessageOutcome outcome =
      ReadMessages(MessageWith("Subject:" + megabyte + "\r\n" + megabyte + ":x\r\nTo;" + megabyte +
                                   ":a\r\n" + "From:b" + Repeated("\r\n x", 1 << 18) + "\r\n",
                               "text\r\n"));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().subject, std::string(1023, 'x'));
  EXPECT_EQ(outcome.Only().to, "a");
  EXPECT_EQ(outcome.Only().from, "b" + Repeated(" x", 511));
  EXPECT_EQ(outcome.Only().body, "text\n");
}

TEST_F(VMessageReader, AHundredThousandHeadersAreRead) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageWith(Repeated("X:1\r\n", 100'000) + "Subject:Hi\r\n", "text\r\n"));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().subject, "Hi");
}

TEST_F(VMessageReader, EveryBeginningOfAGoodFileIsRefusedAndOnlyTheWholeIsRead) {
  const std::string text =
      MessageText("X-IRMC-STATUS:READ\r\n" + kCard +
                  EnvelopeText(kCard + EnvelopeText(BodyText("Subject:one\r\n two=\r\nthree\r\n",
                                                             "one=\r\ntwo\r\n three\r\n"))));
  for (size_t length = 0; length < text.size(); ++length) {
    const ReadMessageOutcome outcome = ReadMessages(text.substr(0, length));
    // The line end behind the last line may be missing.
    const bool is_whole = length + 2 >= text.size();
    EXPECT_EQ(outcome.result, is_whole ? kOk : kError) << length;
    EXPECT_THAT(outcome.messages, SizeIs(is_whole ? 1 : 0)) << length;
  }
}

// ---- Memory shortage ----

// The file's two buffers come first.
TEST_F(VMessageReader, NoMemoryForTheBuffersIsToldAndReturned) {
  for (const int nth : {1, 2}) {
    TraceReceiver trace;
    FailAllocation(nth);
    const ReadMessageOutcome outcome = ReadMessages(MessageText(kEnvelope));
    EXPECT_FALSE(IsFailurePending());
    FailAllocation(0);
    EXPECT_EQ(outcome.result, OsifResult{OSIF_ERR_NO_MEMORY});
    EXPECT_THAT(outcome.messages, IsEmpty());
    EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Error - Memory allocation error"));
  }
}

// Of all assertions none is about a shortage of memory for a message.
TEST_F(VMessageReader, MemoryShortageAtAnyPointIsNoAssertion) {
  const std::string text = MessageText("X-IRMC-STATUS:READ\r\n" +
                                       EnvelopeText(BodyText("Subject:a\r\n b\r\n", "c\r\n")));
  int failures = 0;
  for (int nth = 1;; ++nth) {
    TraceReceiver trace;
    FailAllocation(nth);
    const OsifResult result = ReadMessages(text).result;
    const bool has_failed = !IsFailurePending();
    FailAllocation(0);
    if (!has_failed) break;
    ++failures;
    EXPECT_NE(result, kOk) << nth;
    EXPECT_THAT(trace.Lines(), Each(StartsWith("OSIF:  "))) << nth;
  }
  EXPECT_GT(failures, 2);
}

}  // namespace
}  // namespace vmessage_reader_test
