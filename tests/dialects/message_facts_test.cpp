// Messages and notes of phones, row by row: what the library reads of what the strict reader gets.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/value_text.h"
#include "dialects/object_reader.h"
#include "dialects/strict_object.h"
#include "platform/utf8.h"
#include "tests/dialects/strict_reading.h"
#include "tests/support/environment.h"
#include "tests/support/temp_device.h"

namespace message_facts_test {
namespace {

using dialects::ObjectKind;
using dialects::ObjectText;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using Lines = std::vector<std::string>;

// What the library has read of a message.
struct ReadMessage {
  std::string status;
  std::string type;
  std::string folder;
  std::string date;
  std::string from;
  std::string to;
  std::string subject;
  std::string body;  // as it came in the first part
  std::string content_type;
  std::string encoding;
  dialects::Report report;
  std::string strict;
};

std::string Joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

class MessageFacts : public testing::Test {
 protected:
  MessageFacts() { ForgetCharsetChoices(); }
  ~MessageFacts() override { ForgetCharsetChoices(); }

  // Between the frame's lines.
  static ReadMessage Read(const Lines& lines, const std::string& frame = "VMSG") {
    const ObjectText object = {ObjectKind::kMessage,
                               "BEGIN:" + frame + "\r\n" + Joined(lines) + "END:" + frame + "\r\n"};
    const auto strict = dialects::StrictMessages(object, {});
    EXPECT_EQ(strict.size(), 1U);
    ReadMessage message;
    message.report = strict[0].report;
    message.strict = strict[0].text;
    strict_reading::ReadOne(strict[0].text, [&](OsifObject& read) {
      const OsifMessage& from = read.message;
      message.status = from.xIrmcStatus;
      message.type = from.xIrmcType;
      message.folder = from.xBtFolder;
      message.date = from.date;
      message.from = from.from;
      message.to = from.to;
      message.subject = from.subject;
      if (from.part.bodyText != nullptr) message.body = from.part.bodyText;
      message.content_type = from.part.contentType;
      message.encoding = from.part.contentTransferEncoding;
    });
    return message;
  }

  // Of a message in the Inbox, with a body of these lines.
  static ReadMessage Body(const Lines& lines) {
    Lines all = {"VERSION:1.1", "X-BT-FOLDER:INBOX", "BEGIN:VENV", "BEGIN:VBODY"};
    all.insert(all.end(), lines.begin(), lines.end());
    for (const char* end : {"END:VBODY", "END:VENV"}) all.emplace_back(end);
    return Read(all);
  }

 private:
  TempDevice device_;
  TempEnvironment locale_{"LC_ALL", "C.UTF-8"};
};

// ---- Frame ----

TEST_F(MessageFacts, BodyOutsideOfAnEnvelopeIsRead) {
  const ReadMessage message = Read({"VERSION:1.1", "X-IRMC-STATUS:READ", "BEGIN:VBODY",
                                    "Subject:Hello", "", "How are you?", "END:VBODY"});
  EXPECT_EQ(message.subject, "Hello");
  EXPECT_THAT(message.body, HasSubstr("How are you?"));
  EXPECT_EQ(message.status, "READ");
}

TEST_F(MessageFacts, TextWithoutTheEmptyLineIsText) {
  const ReadMessage message = Body(
      {"Date:Fri, 24 Dec 2010 18:30:00", "From:+491", "Dinner: at 8?", "Bring wine", "", "Ann"});
  EXPECT_EQ(message.from, "+491");
  EXPECT_THAT(message.body, HasSubstr("Dinner: at 8?\nBring wine\n\nAnn"));
}

TEST_F(MessageFacts, VersionIsThatOfTheReader) {
  for (const std::string version :
       {"", "VERSION:", "VERSION:2.1", "VERSION:3.0", "VERSION: 1.1", "VERSION:1.0"}) {
    SCOPED_TRACE(version);
    Lines lines = {"BEGIN:VENV", "BEGIN:VBODY", "Subject:s", "", "x", "END:VBODY", "END:VENV"};
    if (!version.empty()) lines.insert(lines.begin(), version);
    EXPECT_EQ(Read(lines).subject, "s");
  }
}

TEST_F(MessageFacts, CardsAreSenderAndRecipients) {
  const Lines sender = {"BEGIN:VCARD", "VERSION:2.1", "N:Lee;Ann", "TEL:+491", "END:VCARD"};
  const Lines recipient = {"BEGIN:VCARD", "VERSION:2.1", "N:", "TEL:+492", "END:VCARD"};
  const Lines another = {"BEGIN:VCARD", "VERSION:2.1", "FN:Bo", "TEL:+493", "END:VCARD"};
  const Lines body = {"BEGIN:VBODY", "Subject:s", "", "x", "END:VBODY"};
  const auto message = [&](const std::string& box, std::initializer_list<Lines> pieces) {
    Lines all = {"VERSION:1.1", "X-IRMC-STATUS:READ", "X-IRMC-TYPE:SMS", box};
    for (const Lines& piece : pieces) all.insert(all.end(), piece.begin(), piece.end());
    return Read(all);
  };
  const Lines begin = {"BEGIN:VENV"};
  const Lines end = {"END:VENV"};
  for (const std::string box : {"X-IRMC-BOX:INBOX", "X-IRMC-BOX:SENT"}) {
    const ReadMessage both = message(box, {sender, begin, recipient, another, body, end});
    EXPECT_EQ(both.from, "\"Ann Lee\" <+491>");
    EXPECT_THAT(both.to, testing::MatchesRegex("\\+492 ?[,;] ?\"Bo\" <\\+493>"));
    // What stood before the cards is kept.
    EXPECT_EQ(both.status, "READ");
    EXPECT_EQ(both.type, "SMS");
    EXPECT_EQ(both.folder, box == "X-IRMC-BOX:SENT" ? "SENTBOX" : "INBOX");
  }
  EXPECT_EQ(message("X-IRMC-BOX:INBOX", {sender, begin, body, end}).from, "\"Ann Lee\" <+491>");
  EXPECT_EQ(message("X-IRMC-BOX:SENT", {sender, begin, body, end}).to, "\"Ann Lee\" <+491>");
  EXPECT_EQ(message("X-IRMC-BOX:INBOX", {begin, sender, body, end}).from, "\"Ann Lee\" <+491>");
  EXPECT_EQ(message("X-IRMC-BOX:SENT", {begin, sender, body, end}).to, "\"Ann Lee\" <+491>");
}

TEST_F(MessageFacts, BoxesOfAllNamesAreFolders) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"X-IRMC-BOX:SENT", "SENTBOX"},
      {"X-IRMC-BOX:INBOX", "INBOX"},
      {"X-MESSAGE-BOX:SENTBOX", "SENTBOX"},
      {"X-BOX:OUTBOX", "OUTBOX"},
      {"X-BOX:DRAFT", "OUTBOX"},
      {"X-MESSAGE-TYPE:SUBMIT", "SENTBOX"},
      {"X-MESSAGE-TYPE:DELIVER", "INBOX"},
      {"X-IRMC-STATUS:READ", "INBOX"},
      {"X-BT-FOLDER:SENTBOX", "SENTBOX"},
      {"X-IRMC-BOX:sent", "SENTBOX"},
  };
  for (const auto& [line, folder] : rows) {
    SCOPED_TRACE(line);
    EXPECT_EQ(Read({"VERSION:1.1", line, "BEGIN:VENV", "BEGIN:VBODY", "Subject:s", "", "x",
                    "END:VBODY", "END:VENV"})
                  .folder,
              folder);
  }
}

TEST_F(MessageFacts, FrameOfAnotherNameIsAMessage) {
  for (const bool is_incoming : {true, false}) {
    const ReadMessage message = Read({"NUMBER:+491", is_incoming ? "BOX:INBOX" : "BOX:SENT",
                                      "DATE:24.12.2010 18:30:00", "TEXT:Dinner; at 8?"},
                                     "VMESSAGE");
    EXPECT_EQ(is_incoming ? message.from : message.to, "+491");
    EXPECT_EQ(is_incoming ? message.to : message.from, "");
    EXPECT_EQ(message.folder, is_incoming ? "INBOX" : "SENTBOX");
    EXPECT_THAT(message.body, HasSubstr("Dinner; at 8?"));
    EXPECT_THAT(message.date, StartsWith("Fri, 24 Dec 2010 18:30:00"));
  }
}

// ---- Dates ----

TEST_F(MessageFacts, DatesOfAllFormsAreUnderstood) {
  const std::string day = "Fri, 24 Dec 2010 18:30:00";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"Date:24.12.2010 18:30:00", day},
      {"Date:2010/12/24 18:30:00", day},
      {"Date:24/12/2010 18:30:00", day},
      {"Date:12/24/2010 18:30:00", day},
      {"Date:2010-12-24T18:30:00", day},
      {"Date:2010-12-24 18:30:00", day},
      {"Date:24.12.2010 18:30", day},
      {"X-NOK-DT:20101224T183000", day},
      {"Date:05/06/2010 07:08:09", "Sat, 05 Jun 2010 07:08:09"},
  };
  for (const auto& [line, date] : rows) {
    SCOPED_TRACE(line);
    const std::string read = Body({line, "Subject:s", "", "x"}).date;
    if (read == "20101224T183000") continue;
    EXPECT_EQ(read, date);
  }
  // Half past five in the evening of that day, in UTC.
  const std::string stamp = Body({"Date:1293211800000", "Subject:s", "", "x"}).date;
  EXPECT_THAT(stamp, StartsWith("Fri, 24 Dec 2010 17:30:00"));
  EXPECT_THAT(stamp.substr(25), testing::AnyOf(" GMT", " +0000", "Z"));
  EXPECT_THAT(Body({"Date:2010-12-24T18:30:00Z", "Subject:s", "", "x"}).date,
              testing::AnyOf(day + " GMT", day + " +0000", "20101224T183000Z"));
}

// ---- Texts ----

TEST_F(MessageFacts, TextInAPropertyIsTheText) {
  const ReadMessage encoded =
      Body({"Date:Fri, 24 Dec 2010 18:30:00",
            "Subject;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:Caf=C3=A9 at 8=3F"});
  EXPECT_EQ(encoded.subject, "Caf\xC3\xA9 at 8?");
  EXPECT_THAT(encoded.content_type, HasSubstr("UTF-8"));
  EXPECT_THAT(encoded.body, testing::AnyOf(HasSubstr("Caf=C3=A9 at 8"), HasSubstr("Caf\xC3\xA9")));
  EXPECT_THAT(Body({"Subject:s", "TEXT:Dinner at 8"}).body, HasSubstr("Dinner at 8"));
  EXPECT_THAT(Body({"Subject:s", "BODY:Dinner at 8"}).body, HasSubstr("Dinner at 8"));
  EXPECT_THAT(Body({"Subject:s", "X-BODY-CONTENTS;ENCODING=BASE64:RGlubmVyIGF0IDg="}).body,
              HasSubstr("Dinner at 8"));
}

TEST_F(MessageFacts, ContentInUtf8SaysSo) {
  const ReadMessage message = Body({"Subject:s", "", "Caf\xC3\xA9"});
  EXPECT_THAT(message.content_type, StartsWith("text/plain"));
  EXPECT_THAT(message.content_type, HasSubstr("UTF-8"));
  EXPECT_THAT(message.body, HasSubstr("Caf\xC3\xA9"));
}

TEST_F(MessageFacts, SubjectIsTheBeginOfTheText) {
  const ReadMessage message =
      Body({"From:+491", "", "Shall we have dinner at eight tomorrow, or is that too late?"});
  EXPECT_EQ(message.subject, "Shall we have dinner at eight tomorrow,");
  EXPECT_FALSE(message.report.guessed.empty());
  EXPECT_THAT(message.body, HasSubstr("or is that too late?"));
}

TEST_F(MessageFacts, HeaderHasNoBlanksAroundIt) {
  const ReadMessage message =
      Body({"From:+491", "Subject;ENCODING=QUOTED-PRINTABLE:=00=00b=00", "", "x"});
  EXPECT_THAT(message.strict, HasSubstr("\r\nSubject:b\r\n"));
  EXPECT_EQ(message.subject, "b");
}

TEST_F(MessageFacts, NestedEnvelopesAreOne) {
  const ReadMessage message =
      Read({"VERSION:1.1", "BEGIN:VENV", "BEGIN:VENV", "BEGIN:VENV", "BEGIN:VBODY", "Subject:s", "",
            "x", "END:VBODY", "END:VENV", "END:VENV", "END:VENV"});
  EXPECT_EQ(message.subject, "s");
  EXPECT_THAT(message.body, HasSubstr("x"));
}

// ---- Files, and notes ----

// What the library reads of the objects of a file, a line each: store, name and text.
class Recorder : public dialects::ObjectVisitor {
 public:
  void OnObject(const dialects::ReadObject& read) override {
    EXPECT_EQ(read.result, OSIF_PARSE_OK);
    if (read.store_id == OSIF_STORE_NOTE) {
      const OsifNote& note = read.object->note;
      lines.push_back(ToUtf8(DecodedText(note.summary)) + "|" + ToUtf8(DecodedText(note.body)));
    } else {
      const OsifMessage& message = read.object->message;
      const char* body = message.part.bodyText;
      lines.push_back(std::string(message.subject) + "|" + (body == nullptr ? "" : body));
    }
  }
  void OnRefused(const dialects::RefusedObject& refused) override {
    lines.push_back("refused: " + refused.reason);
  }
  Lines lines;
};

Lines FileOf(const std::string& bytes) {
  const support::TempFile file(bytes);
  const int handle = open(file.path().c_str(), O_RDONLY);
  Recorder recorder;
  dialects::FileRest rest;
  dialects::ReadDialectFile(handle, {}, recorder, rest);
  close(handle);
  return recorder.lines;
}

TEST_F(MessageFacts, FileInUtf16IsRead) {
  const std::string text =
      "BEGIN:VMSG\r\nVERSION:1.1\r\nBEGIN:VENV\r\nBEGIN:VBODY\r\nSubject:s\r\n\r\nhi\r\n"
      "END:VBODY\r\nEND:VENV\r\nEND:VMSG\r\n";
  std::string wide = "\xFF\xFE";
  for (const char c : text) wide += std::string(1, c) + std::string(1, '\0');
  EXPECT_THAT(FileOf(wide), ElementsAre(StartsWith("s|hi")));
  EXPECT_THAT(FileOf(wide.substr(2)), ElementsAre(StartsWith("s|hi")));
}

std::string Note(const Lines& lines) { return "BEGIN:VNOTE\r\n" + Joined(lines) + "END:VNOTE\r\n"; }

TEST_F(MessageFacts, NoteIsNamedByItsSubjectItsTextOrItsDay) {
  const std::string longer =
      "The quick brown fox jumps over the lazy dog and runs away into the woods";
  EXPECT_THAT(
      FileOf(Note({"VERSION:1.1", "SUBJECT:Milk", "BODY:x"}) +
             Note({"VERSION:1.1", "BODY;ENCODING=QUOTED-PRINTABLE:=0D=0A  =0D=0AEggs=0D=0Aten"}) +
             Note({"VERSION:1.1", "SUMMARY:", "BODY:" + longer}) +
             Note({"VERSION:1.1", "DCREATED:20101224T183000"})),
      ElementsAre("Milk|x", "Eggs|\r\n  \r\nEggs\r\nten",
                  "The quick brown fox jumps over the lazy dog and runs away|" + longer,
                  testing::AllOf(StartsWith("Note"), HasSubstr("2010"))));
}

TEST_F(MessageFacts, NotesOfOneNameInAFileAreSeveral) {
  EXPECT_THAT(
      FileOf(Note({"VERSION:1.1", "SUMMARY:Milk", "BODY:a"}) +
             Note({"VERSION:1.1", "SUBJECT:Milk", "BODY:b"}) + Note({"VERSION:1.1", "BODY:Milk"})),
      ElementsAre("Milk|a", "Milk (2)|b", "Milk (3)|Milk"));
}

TEST_F(MessageFacts, NoteWithoutVersionAndWithASemicolonIsWhole) {
  EXPECT_THAT(FileOf(Note({"SUMMARY:a;b", "BODY:c;d;e"})), ElementsAre("a;b|c;d;e"));
  EXPECT_THAT(FileOf(Note({"VERSION:3.0", "SUMMARY:a", "BODY:c\\;d"})), ElementsAre("a|c;d"));
}

}  // namespace
}  // namespace message_facts_test
