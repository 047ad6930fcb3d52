// The properties and headers of a message: their names, their room, and what becomes of a longer value.
#include "btosif/osif_parsers/vmessage_property.h"

#include <gmock/gmock.h>

#include <cctype>
#include <string>

#include "tests/support/messages.h"
#include "tests/support/trace_receiver.h"

namespace vmessage_property_test {
namespace {

using support::EnvelopeText;
using support::MessageText;
using support::MessageWith;
using support::MessageWithProperty;
using support::ReadMessage;
using support::ReadMessageOutcome;
using support::ReadMessages;
using support::Repeated;
using support::TraceReceiver;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr OsifResult kOk = OSIF_PARSE_OK;
constexpr OsifResult kWarning = OSIF_PARSE_WARNING;

std::string Unknown(const std::string& name) {
  return "OSIF:  Warning - Parser encountered unknown property: '" + name + "'";
}

class VMessageProperty : public support::MessageTest {};

enum class Level { kOfMessage, kOfBody };

struct FieldRow {
  const char* name;
  MessageProperty property;
  int number;
  size_t capacity;
  Level level;
  std::string ReadMessage::*field;
};

const FieldRow kFields[] = {
    {"Date", MessageProperty::kDate, 1, 100, Level::kOfBody, &ReadMessage::date},
    {"Subject", MessageProperty::kSubject, 3, 1024, Level::kOfBody, &ReadMessage::subject},
    {"From", MessageProperty::kFrom, 2, 1024, Level::kOfBody, &ReadMessage::from},
    {"Mime-Version", MessageProperty::kMimeVersion, 4, 10, Level::kOfBody,
     &ReadMessage::mime_version},
    {"To", MessageProperty::kTo, 5, 1024, Level::kOfBody, &ReadMessage::to},
    {"Cc", MessageProperty::kCc, 6, 1024, Level::kOfBody, &ReadMessage::cc},
    {"Reply-To", MessageProperty::kReplyTo, 7, 100, Level::kOfBody, &ReadMessage::reply_to},
    {"Content-Type", MessageProperty::kContentType, 8, 128, Level::kOfBody,
     &ReadMessage::content_type},
    {"Content-Transfer-Encoding", MessageProperty::kContentTransferEncoding, 9, 50, Level::kOfBody,
     &ReadMessage::transfer_encoding},
    {"X-IRMC-LUID", MessageProperty::kLuid, 11, 512, Level::kOfMessage, &ReadMessage::luid},
    {"X-IRMC-STATUS", MessageProperty::kStatus, 12, 7, Level::kOfMessage, &ReadMessage::status},
    {"X-IRMC-TYPE", MessageProperty::kType, 13, 5, Level::kOfMessage, &ReadMessage::type},
    {"X-BT-FOLDER", MessageProperty::kFolder, 14, 50, Level::kOfMessage, &ReadMessage::folder},
};

std::string Changed(std::string text, int (*change)(int)) {
  for (char& letter : text) letter = static_cast<char>(change(letter));
  return text;
}

class VMessageField : public support::MessageTest, public testing::WithParamInterface<FieldRow> {
 protected:
  static const FieldRow& Row() { return GetParam(); }

  // A message with this line where the field belongs.
  static std::string With(const std::string& line) {
    return Row().level == Level::kOfMessage ? MessageWithProperty(line)
                                            : MessageWith(line + "\r\n", "text\r\n");
  }
  // A value that is as long as the field's room, short of so many characters.
  static std::string ValueShortOfRoomBy(size_t count) {
    return "b" + std::string(Row().capacity - count - 2, 'a') + "z";
  }
  static ReadMessageOutcome ReadValue(const std::string& value) {
    return ReadMessages(With(std::string(Row().name) + ":" + value));
  }
};

TEST_P(VMessageField, HasItsNumberInAnyCase) {
  EXPECT_EQ(static_cast<int>(MessagePropertyIndex(Row().name)), Row().number);
  EXPECT_EQ(MessagePropertyIndex(Changed(Row().name, std::toupper)), Row().property);
  EXPECT_EQ(MessagePropertyIndex(Changed(Row().name, std::tolower)), Row().property);
}

TEST_P(VMessageField, IsNotKnownByAnotherName) {
  EXPECT_EQ(MessagePropertyIndex(std::string(Row().name) + "X"), MessageProperty::kUnknown);
  EXPECT_EQ(MessagePropertyIndex("X" + std::string(Row().name)), MessageProperty::kUnknown);
}

TEST_P(VMessageField, KeepsAValueOneShorterThanItsRoomAllows) {
  const std::string value = ValueShortOfRoomBy(2);
  const ReadMessageOutcome outcome = ReadValue(value);
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().*Row().field, value);
}

TEST_P(VMessageField, KeepsAValueThatFillsItsRoom) {
  const std::string value = ValueShortOfRoomBy(1);
  const ReadMessageOutcome outcome = ReadValue(value);
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().*Row().field, value);
}

TEST_P(VMessageField, CutsAValueOneLongerThanItsRoomAllowsWithAWarning) {
  TraceReceiver trace;
  const std::string value = ValueShortOfRoomBy(0);
  const ReadMessageOutcome outcome = ReadValue(value);
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().result, kWarning);
  EXPECT_EQ(outcome.Only().*Row().field, value.substr(0, value.size() - 1));
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_P(VMessageField, IsTakenByANameInSmallLettersWithBlanksAndParameters) {
  const std::string name = Changed(Row().name, std::tolower);
  const ReadMessageOutcome outcome = ReadMessages(With(name + " ; CHARSET=UTF-8 :ab"));
  EXPECT_EQ(outcome.result, kOk);
  EXPECT_EQ(outcome.Only().*Row().field, "ab");
}

TEST_P(VMessageField, KeepsItsValueAsItStands) {
  EXPECT_EQ(ReadValue(" ;:\\").Only().*Row().field, " ;:\\");
}

TEST_P(VMessageField, TakesTheLastOfSeveralValuesWhole) {
  const std::string name = Row().name;
  EXPECT_EQ(ReadMessages(With(name + ":long\r\n" + name + ":b")).Only().*Row().field, "b");
}

INSTANTIATE_TEST_SUITE_P(Rows, VMessageField, testing::ValuesIn(kFields),
                         [](const testing::TestParamInfo<FieldRow>& row) {
                           std::string name = row.param.name;
                           std::erase(name, '-');
                           return name;
                         });

TEST_F(VMessageProperty, TheNamesOfTheStructureHaveTheirNumbersToo) {
  EXPECT_EQ(static_cast<int>(MessagePropertyIndex("VERSION")), 10);
  EXPECT_EQ(static_cast<int>(MessagePropertyIndex("begin")), 15);
  EXPECT_EQ(static_cast<int>(MessagePropertyIndex("End")), 16);
  EXPECT_EQ(static_cast<int>(MessagePropertyIndex("")), 0);
}

TEST_F(VMessageProperty, TheReturnPathIsNotRecognised) {
  TraceReceiver trace;
  EXPECT_EQ(MessagePropertyIndex("Return-Path"), MessageProperty::kUnknown);
  const ReadMessageOutcome outcome = ReadMessages(MessageWith("Return-Path:a@b\r\n", ""));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().return_path, "");
  EXPECT_THAT(trace.Lines(), ElementsAre(Unknown("Return-Path")));
}

TEST_F(VMessageProperty, ASubjectOf1100CharactersIsKeptAsItsFirst1023WithAWarning) {
  const std::string subject = Repeated("0123456789a", 100);
  const ReadMessageOutcome outcome = ReadMessages(MessageWith("Subject:" + subject + "\r\n", ""));
  EXPECT_EQ(outcome.Only().result, kWarning);
  EXPECT_EQ(outcome.Only().subject, subject.substr(0, 1023));
}

TEST_F(VMessageProperty, AStatusOfUnreadFitsExactly) {
  const ReadMessageOutcome outcome = ReadMessages(MessageWithProperty("X-IRMC-STATUS:UNREAD"));
  EXPECT_EQ(outcome.Only().result, kOk);
  EXPECT_EQ(outcome.Only().status, "UNREAD");
}

TEST_F(VMessageProperty, AWordOfABeginOrEndLineIsCutToFiveCharactersWithAWarning) {
  TraceReceiver trace;
  for (const char* line : {"BEGIN:VCARDS\r\nVERSION:2.1\r\nN:x\r\nEND:VCARD", "END:VENVELOPE"}) {
    EXPECT_EQ(ReadMessages(MessageWithProperty(line)).Only().result, kWarning) << line;
  }
  const std::string body = "BEGIN:VBODYGUARD\r\nSubject:Hi\r\nEND:VBODY\r\n";
  const ReadMessageOutcome outcome = ReadMessages(MessageText(EnvelopeText(body)));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().subject, "Hi");
  EXPECT_THAT(trace.Lines(), IsEmpty());
}

TEST_F(VMessageProperty, AnEndLineOfABodyThatIsTooLongEndsItWithAWarning) {
  const ReadMessageOutcome outcome =
      ReadMessages(MessageText(EnvelopeText("BEGIN:VBODY\r\nSubject:Hi\r\nEND:VBODYS\r\n")));
  EXPECT_EQ(outcome.result, kWarning);
  EXPECT_EQ(outcome.Only().subject, "Hi");
}

}  // namespace
}  // namespace vmessage_property_test
