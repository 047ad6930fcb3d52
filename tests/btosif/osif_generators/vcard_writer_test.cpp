#include "btosif/osif_generators/vcard_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "btosif/osif_util/object_record.h"
#include "platform/posix/fault_injection.h"
#include "tests/support/contacts.h"
#include "tests/support/settings.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace vcard_writer_test {
namespace {

using support::BytesWritten;
using support::Lines;
using support::MakeValue;
using support::TraceReceiver;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class VCardWriter : public support::TextTest {
 protected:
  VCardWriter() : object_(OSIF_STORE_PB) { std::strcpy(object_->version, "2.1"); }

  OsifContact& contact() { return object_->contact; }
  OsifObject& object() { return *object_; }

  // Fills every list with one value that is its own name.
  void FillEveryField() {
    for (const auto& field : support::kContactFields) {
      contact().*field.list = MakeValue({}, {field.name}).release();
    }
  }

  std::string Written(uint8_t write_luid = 1) {
    return BytesWritten(
        [&](OsifStream& stream) { EXPECT_EQ(VCard_Write(stream, *object_, write_luid), 0u); });
  }

 private:
  OwnedObject object_;
};

TEST_F(VCardWriter, ARecordWithoutAnyNameWritesTheBareNameBehindVersion) {
  EXPECT_EQ(Written(), Lines({"BEGIN:VCARD", "VERSION:2.1", "N:", "END:VCARD"}));
}

TEST_F(VCardWriter, AnEmptyVersionIsWrittenEmpty) {
  object().version[0] = 0;
  EXPECT_EQ(Written(), Lines({"BEGIN:VCARD", "VERSION:", "N:", "END:VCARD"}));
}

TEST_F(VCardWriter, TheRecordsOwnVersionIsWritten) {
  std::strcpy(object().version, "1.0");
  EXPECT_THAT(Written(), HasSubstr("\r\nVERSION:1.0\r\n"));
}

TEST_F(VCardWriter, EveryFieldIsWrittenInItsOrderAndTheVendorsOnesTwice) {
  FillEveryField();
  std::strcpy(object().xIrmcLuid, "0000002a");
  EXPECT_EQ(Written(), Lines({"BEGIN:VCARD",
                              "VERSION:2.1",
                              "N:n",
                              "FN:fn",
                              "NICKNAME:nickname",
                              "BDAY:bday",
                              "ADR:adr",
                              "ORG:org",
                              "TITLE:title",
                              "ROLE:role",
                              "TEL:tel",
                              "URL:url",
                              "EMAIL:email",
                              "NOTE:note",
                              "X-SPOUSE:xSpouse",
                              "X-ANNIVERSARY:xAnniversary",
                              "X-CHILDREN:xChildren",
                              "X-ASSISTANT:xAssistant",
                              "X-CAT:xCat",
                              "DEPT:dept",
                              "X-MICROSOFT-OFFICELOC:xMicrosoftOfficeloc",
                              "X-MICROSOFT-ASSISTANT:xAssistant",
                              "X-MICROSOFT-ASST_TEL:xMicrosoftAsstTel",
                              "SPOUSE:xSpouse",
                              "CHILDREN:xChildren",
                              "CATEGORIES:xCat",
                              "ANNIVERSARY:xAnniversary",
                              "X-IRMC-LUID:0000002a",
                              "END:VCARD"}));
}

TEST_F(VCardWriter, WithTheSettingTheVendorsPropertiesAreLeftOut) {
  support::SetSetting(u"DoNotSendMsftProperties", 1);
  FillEveryField();
  EXPECT_EQ(Written(), Lines({"BEGIN:VCARD",
                              "VERSION:2.1",
                              "N:n",
                              "FN:fn",
                              "NICKNAME:nickname",
                              "BDAY:bday",
                              "ADR:adr",
                              "ORG:org",
                              "TITLE:title",
                              "ROLE:role",
                              "TEL:tel",
                              "URL:url",
                              "EMAIL:email",
                              "NOTE:note",
                              "X-SPOUSE:xSpouse",
                              "X-ANNIVERSARY:xAnniversary",
                              "X-CHILDREN:xChildren",
                              "X-ASSISTANT:xAssistant",
                              "X-CAT:xCat",
                              "END:VCARD"}));
}

TEST_F(VCardWriter, AnyNumberButZeroIsTheSetting) {
  FillEveryField();
  support::SetSetting(u"DoNotSendMsftProperties", 2);
  EXPECT_THAT(Written(), Not(HasSubstr("MICROSOFT")));
  support::SetSetting(u"DoNotSendMsftProperties", 0xFFFFFFFFu);
  EXPECT_THAT(Written(), Not(HasSubstr("MICROSOFT")));
}

TEST_F(VCardWriter, TheSettingIsReadAtEachCall) {
  FillEveryField();
  EXPECT_THAT(Written(), HasSubstr("\r\nDEPT:dept\r\n"));
  support::SetSetting(u"DoNotSendMsftProperties", 1);
  EXPECT_THAT(Written(), Not(HasSubstr("DEPT")));
  support::SetSetting(u"DoNotSendMsftProperties", 0);
  EXPECT_THAT(Written(), HasSubstr("\r\nDEPT:dept\r\n"));
}

TEST_F(VCardWriter, TheIdIsWrittenOnlyWhenAsked) {
  std::strcpy(object().xIrmcLuid, "0000002a");
  EXPECT_EQ(Written(0), Lines({"BEGIN:VCARD", "VERSION:2.1", "N:", "END:VCARD"}));
  EXPECT_EQ(Written(1),
            Lines({"BEGIN:VCARD", "VERSION:2.1", "N:", "X-IRMC-LUID:0000002a", "END:VCARD"}));
}

TEST_F(VCardWriter, EveryValueOfAFieldIsALineWithItsParameters) {
  contact().tel = MakeValue({"HOME", "VOICE"}, {"1"}).release();
  contact().tel->next = MakeValue({"CELL"}, {"2"}).release();
  contact().n = MakeValue({"CHARSET=UTF-8"}, {"Lee", "", "", "", ""}).release();
  EXPECT_EQ(Written(), Lines({"BEGIN:VCARD", "VERSION:2.1", "N;CHARSET=UTF-8:Lee",
                              "TEL;HOME;VOICE:1", "TEL;CELL:2", "END:VCARD"}));
}

TEST_F(VCardWriter, TheRecordKeepsItsValues) {
  FillEveryField();
  EXPECT_EQ(Written(), Written());
}

TEST_F(VCardWriter, AnIdOfTheWholeFieldIsWritten) {
  std::memset(object().xIrmcLuid, '7', sizeof object().xIrmcLuid - 1);
  EXPECT_THAT(Written(), HasSubstr("\r\nX-IRMC-LUID:" + std::string(511, '7') + "\r\n"));
}

TEST_F(VCardWriter, ACardBehindAnotherOneIsAppended) {
  support::TempFile file(Lines({"BEGIN:VCARD", "VERSION:2.1", "N:first", "END:VCARD"}));
  {
    OsifStream stream = support::Open(file.path(), u"a+", LineEnd::kCrLf);
    EXPECT_EQ(VCard_Write(stream, object(), 1), 0u);
  }
  EXPECT_EQ(file.Bytes(), Lines({"BEGIN:VCARD", "VERSION:2.1", "N:first", "END:VCARD",
                                 "BEGIN:VCARD", "VERSION:2.1", "N:", "END:VCARD"}));
}

TEST_F(VCardWriter, WriteFailuresAreToldInTheTraceOnly) {
  contact().n = MakeValue({}, {"x"}).release();
  OsifStream read_only = support::OpenBytes("x");
  TraceReceiver trace;
  EXPECT_EQ(VCard_Write(read_only, object(), 1), 0u);
  constexpr char kLine[] = "OSIF:  Unable to put vCard string to file";
  EXPECT_THAT(trace.Lines(),
              testing::ElementsAre(kLine, kLine, "OSIF:  Unable to put string to file", kLine))
      << "BEGIN, VERSION, N and END";
}

TEST_F(VCardWriter, MemoryShortageIsToldInTheTraceOnlyAndTheOtherLinesAreWritten) {
  contact().n = MakeValue({}, {"x"}).release();
  support::TempFile file;
  TraceReceiver trace;
  {
    OsifStream stream = support::Open(file.path(), u"w", LineEnd::kCrLf);
    FailAllocation(1);
    EXPECT_EQ(VCard_Write(stream, object(), 1), 0u);
    FailAllocation(0);
  }
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Insufficient memory to generate vCard string"));
  std::string written = file.Bytes();
  EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), 3);
  EXPECT_THAT(written, HasSubstr("END:VCARD\r\n"));
}

}  // namespace
}  // namespace vcard_writer_test
