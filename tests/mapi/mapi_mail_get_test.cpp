// Reading a message by its id. Bodies have a file of their own.
#include "mapi/mapi_entry_id.h"
#include "mapi/mapi_mail.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_mail_get_test {
namespace {

using namespace support;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr HRESULT kFailed = MAPI_E_CALL_FAILED;
constexpr FILETIME kTime = {0xCE056000, 0x01C19375};  // 2 January 2002, 10:11:12 UTC

class MapiGet : public OpenFakeMapiTest {
 protected:
  MapiGet() : mail_(mapi_.Keep(mapi_.inbox, "\x0A\xBC")) {
    mail_.Put(FakeValue::Text(PR_SUBJECT, u"Lunch"));
    mail_.Put(FakeValue::Time(PR_MESSAGE_DELIVERY_TIME, kTime));
    mail_.Put(FakeValue::Number(PR_MESSAGE_FLAGS, 0x21));
    mail_.Put(FakeValue::Text(PR_SENDER_EMAIL_ADDRESS, u"ann@example.org"));
    mail_.SetBody(std::u16string_view(u"Hello\0", 6));
    mail_.recipients = {{1, u"bob@example.org"}, {2, u"cat@example.org"}};
  }

  // Reads it, which succeeds; the messages fields of the record.
  OsifMessage& Get() {
    EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "0ABC", *record_)), OSIF_OK);
    return record_->message;
  }
  OsifResult GetId(const char* id, int32_t store = OSIF_STORE_MSG_IN) {
    return MAPI_GetMailById(store, id, *record_);
  }

  FakeMail& mail_;
  OwnedObject record_{OSIF_STORE_MSG_IN};
};

// ---- Steps --------------------------------------------------------------------------------------

TEST_F(MapiGet, AsksStepByStep) {
  Get();
  EXPECT_THAT(mapi_.Calls(),
              ElementsAre("folder.OpenEntry(0ABC,10)",
                          "message.GetProps(37001F,E060040,E070003,C1F001F,80000000)",
                          "message.OpenProperty(1000001F,0)", "stream.Stat()", "stream.Read(C)",
                          "~stream", "message.GetRecipientTable()", "recipients.QueryRows(10)",
                          "~recipients", "~message"));
}

TEST_F(MapiGet, FillsTheRecord) {
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.subject, "Lunch");
  EXPECT_STREQ(message.date, "Wed, 02 Jan 2002 10:11:12 UT");
  EXPECT_STREQ(message.part.bodyText, "Hello");
  EXPECT_STREQ(message.part.contentType, "text/plain");
  EXPECT_STREQ(message.xIrmcStatus, "READ");
  EXPECT_STREQ(message.from, "ann@example.org");
  EXPECT_STREQ(message.to, "bob@example.org");
  EXPECT_STREQ(message.ccAddresses, "cat@example.org");
}

TEST_F(MapiGet, FillsTheEnvelope) {
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.xBtFolder, "INBOX");
  EXPECT_STREQ(message.xIrmcType, "MSG");
  EXPECT_STREQ(record_->xIrmcLuid, "0ABC");
  EXPECT_STREQ(record_->version, "1.1");
}

TEST_F(MapiGet, LeavesTheOtherFieldsAlone) {
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.mimeVersion, "");
  EXPECT_STREQ(message.returnPath, "");
  EXPECT_STREQ(message.replyTo, "");
  EXPECT_EQ(message.part.attachmentFile[0], u'\0');
  EXPECT_EQ(message.part.nextPart, nullptr);
}

struct StoreCase {
  int32_t store;
  FakeFolderData FakeMapi::*data;
  const char* name;
};

class MapiGetFrom : public OpenFakeMapiTest, public testing::WithParamInterface<StoreCase> {};

TEST_P(MapiGetFrom, TheStoresFolderAndNamesIt) {
  mapi_.Keep(mapi_.*GetParam().data, "\x77", {FakeValue::Text(PR_SUBJECT, u"Lunch")});
  OwnedObject record(GetParam().store);
  EXPECT_EQ(Code(MAPI_GetMailById(GetParam().store, "77", *record)), OSIF_OK);
  EXPECT_STREQ(record->message.xBtFolder, GetParam().name);
  EXPECT_STREQ(record->message.subject, "Lunch");
}

INSTANTIATE_TEST_SUITE_P(Stores, MapiGetFrom,
                         testing::Values(StoreCase{OSIF_STORE_MSG_IN, &FakeMapi::inbox, "INBOX"},
                                         StoreCase{OSIF_STORE_MSG_SENT, &FakeMapi::sent, "SENTBOX"},
                                         StoreCase{OSIF_STORE_MSG_OUT, &FakeMapi::outbox,
                                                   "OUTBOX"}));

TEST_F(MapiGet, TellsItsCall) {
  Get();
  EXPECT_THAT(Trace(),
              ElementsAre(MatchesRegex(
                  "MAPI:  MAPI_GetMailById\\(pMessage=[0-9a-fA-Fx]+, id='0ABC'\\) called")));
}

// ---- What cannot be opened ----------------------------------------------------------------------

TEST_F(FakeMapiTest, GetMailByIdTellsThatTheSessionCannotBeStarted) {
  mapi_.Fail("MAPILogonEx", kFailed);
  OwnedObject record(OSIF_STORE_MSG_IN);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "0A", *record)), OSIF_ERR_PIM);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_THAT(lines[0], StartsWith("MAPI:  MAPI_GetMailById("));
  EXPECT_EQ(lines[2], "MAPI:  MAPI_GetMailById error - mapi_Initialize() failed, error = 14");
}

TEST_F(FakeMapiTest, GetMailByIdWithoutItsFolderIsAnErrorOfTheStore) {
  OpenWithoutFolders();
  OwnedObject record(OSIF_STORE_MSG_IN);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "0A", *record)), OSIF_ERR_PIM);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], "MAPI:  MAPI_ModifyMail error - lpFolder is NULL");
  EXPECT_THAT(lines[2],
              MatchesRegex("MAPI:  mapi_GetById\\(id='0A', lpFolder=.*\\) failed, err=14"));
}

TEST_F(MapiGet, AnotherStoreHasNoFolder) {
  EXPECT_EQ(Code(GetId("0ABC", OSIF_STORE_NOTE)), OSIF_ERR_PIM);
  EXPECT_EQ(Code(GetId("0ABC", 6)), OSIF_ERR_PIM);
  const auto called = StartsWith("MAPI:  MAPI_GetMailById(");
  const auto failed =
      MatchesRegex("MAPI:  mapi_GetById\\(id='0ABC', lpFolder=.*\\) failed, err=14");
  constexpr char kNoFolder[] = "MAPI:  MAPI_ModifyMail error - lpFolder is NULL";
  EXPECT_THAT(Trace(), ElementsAre(called, kNoFolder, failed, called, kNoFolder, failed));
}

TEST_F(MapiGet, AMessageThatCannotBeOpenedIsAnErrorOfTheStore) {
  EXPECT_EQ(Code(GetId("0ABD")), OSIF_ERR_PIM);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], "MAPI:  lpFolder->OpenEntry for Mailbox failed with code: 0x8004010f");
  EXPECT_THAT(
      lines[2],
      MatchesRegex("MAPI:  mapi_GetById\\(id='0ABD', lpFolder=[0-9a-fA-Fx]+\\) failed, err=14"));
  EXPECT_STREQ(record_->message.xBtFolder, "");
  EXPECT_STREQ(record_->xIrmcLuid, "");
}

TEST_F(MapiGet, AnObjectThatIsNoMessageIsAnErrorOfTheStore) {
  mail_.type = MAPI_FOLDER;
  EXPECT_EQ(Code(GetId("0ABC")), OSIF_ERR_PIM);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], "MAPI:  ulObjType of OpenEntry on Mailbox != MAPI_MESSAGE");
  EXPECT_EQ(mapi_.Live("message"), 0);
}

// ---- Ids ----------------------------------------------------------------------------------------

class MapiBadId : public OpenFakeMapiTest, public testing::WithParamInterface<const char*> {};

TEST_P(MapiBadId, AnIdOfOddLengthOrWithANonHexadecimalCharacterIsInvalid) {
  mapi_.Keep(mapi_.inbox, "\x0A\xBC");
  mapi_.Keep(mapi_.inbox, "\x0A");
  const std::string id = GetParam();
  OwnedObject record(OSIF_STORE_MSG_IN);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, id.c_str(), *record)), OSIF_ERR_INVALID_ID);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], "MAPI:  FBinFromHex could not convert ID '" + id + "'");
  EXPECT_THAT(lines[2], StartsWith("MAPI:  mapi_GetById(id='" + id + "', lpFolder="));
  EXPECT_THAT(lines[2], testing::EndsWith(") failed, err=9"));
  EXPECT_THAT(mapi_.Calls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Ids, MapiBadId,
                         testing::Values("0", "0AB", "0ABCD", "0ABG", "G0", "0A:B", "0A ", " 0AB",
                                         "0A-B", "0x0ABC", "0A\xC3\xA4", "%s"));

TEST_F(MapiGet, AnIdIsReadInEitherCase) {
  EXPECT_EQ(Code(GetId("0abC")), OSIF_OK);
  EXPECT_STREQ(record_->xIrmcLuid, "0abC");
}

TEST_F(MapiGet, AnEmptyIdIsNoMessage) {
  EXPECT_THAT(Code(GetId("")), AnyOf(OSIF_ERR_INVALID_ID, OSIF_ERR_PIM));
}

TEST_F(MapiGet, AnIdOfTwoMegabytesNamesNoMessage) {
  EXPECT_EQ(Code(GetId(std::string(2 << 20, 'A').c_str())), OSIF_ERR_PIM);
  EXPECT_THAT(mapi_.Calls(), ElementsAre("folder.OpenEntry(long,10)"));
}

TEST_F(MapiGet, AnIdOfTwoMegabytesAndABadDigitIsInvalid) {
  EXPECT_EQ(Code(GetId((std::string(2 << 20, 'A') + "0G").c_str())), OSIF_ERR_INVALID_ID);
  EXPECT_EQ(Code(GetId((std::string(2 << 20, 'A') + "0").c_str())), OSIF_ERR_INVALID_ID);
}

TEST_F(MapiGet, AnIdThatIsLongerThanItsFieldIsCutThere) {
  mapi_.Keep(mapi_.inbox, std::string(256, '\xAB'), {FakeValue::Text(PR_SUBJECT, u"Lunch")});
  std::string id;
  for (int i = 0; i < 256; ++i) id += "AB";
  EXPECT_EQ(Code(GetId(id.c_str())), OSIF_OK);
  EXPECT_EQ(std::string(record_->xIrmcLuid), id.substr(0, 511));
}

TEST(MapiEntryId, WritesTwoUpperCaseDigitsAByte) {
  BYTE bytes[] = {0x00, 0x09, 0xA0, 0xFF};
  MailId id;
  EXPECT_TRUE(mapi_WriteId({4, bytes}, id.text));
  EXPECT_STREQ(id.text, "0009A0FF");
}

TEST(MapiEntryId, WritesNothingThatDoesNotFitItsRoom) {
  BYTE bytes[257] = {};
  MailId id;
  EXPECT_TRUE(mapi_WriteId({256, bytes}, id.text));
  EXPECT_EQ(id.text, std::string(512, '0'));
  EXPECT_FALSE(mapi_WriteId({257, bytes}, id.text));
  EXPECT_STREQ(id.text, "");
  EXPECT_STREQ(id.behind, "untouched");
}

TEST(MapiEntryId, ReadsWhatItWrites) {
  const auto bytes = mapi_ReadId("0009A0fF");
  ASSERT_TRUE(bytes);
  EXPECT_THAT(*bytes, ElementsAre(0x00, 0x09, 0xA0, 0xFF));
}

// ---- Properties ---------------------------------------------------------------------------------

TEST_F(MapiGet, PropertiesThatCannotBeHadAreAnErrorOfTheStore) {
  mapi_.Fail("message.GetProps", kFailed);
  EXPECT_EQ(Code(GetId("0ABC")), OSIF_ERR_PIM);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], "MAPI:  lpMessage->GetProps() failed with code: 0x80004005");
  EXPECT_THAT(lines[2], MatchesRegex("MAPI:  mapi_GetMail\\(lpMapiMessage=[0-9a-fA-Fx]+, "
                                     "pMessage=[0-9a-fA-Fx]+\\) failed, err=14"));
  EXPECT_STREQ(record_->version, "");
  EXPECT_STREQ(record_->xIrmcLuid, "");
}

TEST_F(MapiGet, NoPropertiesAtAllAreAnErrorOfTheStore) {
  mapi_.gives_no_values = true;
  EXPECT_EQ(Code(GetId("0ABC")), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(),
              ElementsAre(StartsWith("MAPI:  MAPI_GetMailById("),
                          MatchesRegex("MAPI:  lpMessage->GetProps\\(\\) did not return any data, "
                                       "cValues=0, lpPropArray=.+"),
                          StartsWith("MAPI:  mapi_GetMail(")));
}

TEST_F(MapiGet, NoPropertiesInAnArrayAreAnErrorOfTheStore) {
  mapi_.gives_empty_values = true;
  EXPECT_EQ(Code(GetId("0ABC")), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(),
              ElementsAre(StartsWith("MAPI:  MAPI_GetMailById("),
                          MatchesRegex("MAPI:  lpMessage->GetProps\\(\\) did not return any data, "
                                       "cValues=0, lpPropArray=[0-9a-fA-Fx]+"),
                          StartsWith("MAPI:  mapi_GetMail(")));
}

TEST_F(MapiGet, MissingPropertiesAreEmptyFields) {
  mail_.values.clear();
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.subject, "");
  EXPECT_STREQ(message.date, "");
  EXPECT_STREQ(message.xIrmcStatus, "");
  EXPECT_STREQ(message.from, "");
  EXPECT_THAT(Trace(), ElementsAre(StartsWith("MAPI:  MAPI_GetMailById(")));
}

class MapiGetForeign : public MapiGet, public testing::WithParamInterface<ULONG> {};

TEST_P(MapiGetForeign, AValueThatIsNoUtf16TextIsToldAndCountsAsEmpty) {
  const ULONG tag = CHANGE_PROP_TYPE(GetParam(), PT_LONG);
  mail_.Put(FakeValue::Number(tag, 7));
  const OsifMessage& message = Get();
  EXPECT_STREQ(GetParam() == PR_SUBJECT ? message.subject : message.from, "");
  EXPECT_THAT(Trace(),
              ElementsAre(StartsWith("MAPI:  MAPI_GetMailById("),
                          AnyOf("WAB:  'mapi_GetString' used when not a unicode string (3)",
                                "WAB:  'mapi_GetString' used when not a unicode string (" +
                                    std::to_string(tag) + ")")));
}

INSTANTIATE_TEST_SUITE_P(Tags, MapiGetForeign,
                         testing::Values(PR_SUBJECT, PR_SENDER_EMAIL_ADDRESS));

TEST_F(MapiGet, SubjectSenderAndRecipientsAreConvertedToTheSystemsCodePage) {
  mail_.Put(FakeValue::Text(PR_SUBJECT, u"Caf\u00E9 \u20AC"));
  mail_.Put(FakeValue::Text(PR_SENDER_EMAIL_ADDRESS, u"J\u00FCrgen"));
  mail_.recipients = {{1, u"Zo\u00EB"}, {2, u"Ren\u00E9"}};
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.subject, "Caf\xE9 \x80");
  EXPECT_STREQ(message.from, "J\xFCrgen");
  EXPECT_STREQ(message.to, "Zo\xEB");
  EXPECT_STREQ(message.ccAddresses, "Ren\xE9");
}

TEST_F(MapiGet, TheSystemsCodePageMayBeUtf8) {
  UseSystemCodePage(65001);
  mail_.Put(FakeValue::Text(PR_SUBJECT, u"Caf\u00E9 \u20AC"));
  EXPECT_STREQ(Get().subject, "Caf\xC3\xA9 \xE2\x82\xAC");
}

// Each of the four texts in turn, of a given length; the field that it is read into.
class MapiGetLong : public MapiGet, public testing::WithParamInterface<size_t> {
 protected:
  static std::u16string Long() { return std::u16string(GetParam() - 1, u'x') + u"e"; }
  static std::string Expected() { return (std::string(GetParam() - 1, 'x') + "e").substr(0, 1023); }
};

TEST_P(MapiGetLong, ATextFillsItsFieldOf1024BytesWithItsTerminatorAtMost) {
  mail_.Put(FakeValue::Text(PR_SUBJECT, Long()));
  mail_.Put(FakeValue::Text(PR_SENDER_EMAIL_ADDRESS, Long()));
  mail_.recipients = {{1, Long()}, {2, Long()}};
  const OsifMessage& message = Get();
  EXPECT_EQ(message.subject, Expected());
  EXPECT_EQ(message.from, Expected());
  EXPECT_EQ(message.to, Expected());
  EXPECT_EQ(message.ccAddresses, Expected());
}

INSTANTIATE_TEST_SUITE_P(Lengths, MapiGetLong, testing::Values(1, 1022, 1023, 1024, 1025, 100000));

TEST_F(MapiGet, ATextOfManyBytesACharacterIsCutAtItsFieldToo) {
  UseSystemCodePage(65001);
  mail_.Put(FakeValue::Text(PR_SUBJECT, std::u16string(1000, u'\u20AC')));
  std::string whole;
  for (int i = 0; i < 1000; ++i) whole += "\xE2\x82\xAC";
  const std::string subject = Get().subject;
  EXPECT_GE(subject.size(), 1020u);
  EXPECT_EQ(subject, whole.substr(0, subject.size()));
}

TEST_F(MapiGet, TheDateIsInUtcWhateverTheZone) {
  for (const char* name : kFiveZones) {
    TimeZone zone(name);
    OwnedObject record(OSIF_STORE_MSG_IN);
    EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "0ABC", *record)), OSIF_OK);
    EXPECT_STREQ(record->message.date, "Wed, 02 Jan 2002 10:11:12 UT") << name;
  }
}

TEST_F(MapiGet, ADateOfZeroIsNone) {
  mail_.Put(FakeValue::Time(PR_MESSAGE_DELIVERY_TIME, {0, 0}));
  EXPECT_STREQ(Get().date, "");
}

TEST_F(MapiGet, ADateIsZeroOnlyInBothHalves) {
  mail_.Put(FakeValue::Time(PR_MESSAGE_DELIVERY_TIME, {0, 0x01C19375}));
  // The low half of kTime is 345.6 seconds.
  EXPECT_STREQ(Get().date, "Wed, 02 Jan 2002 10:05:26 UT");
}

TEST_F(MapiGet, ADateThatIsNoTimeIsNone) {
  mail_.Put(FakeValue::Number(CHANGE_PROP_TYPE(PR_MESSAGE_DELIVERY_TIME, PT_LONG), 7));
  EXPECT_STREQ(Get().date, "");
}

TEST_F(MapiGet, ADateThatCannotBeConvertedFailsNothing) {
  mail_.Put(FakeValue::Time(PR_MESSAGE_DELIVERY_TIME, {0xFFFFFFFF, 0xFFFFFFFF}));
  EXPECT_STREQ(Get().subject, "Lunch");
}

class MapiGetStatus : public MapiGet, public testing::WithParamInterface<LONG> {};

TEST_P(MapiGetStatus, AMessageReadBackAlwaysHasStatusRead) {
  mail_.Put(FakeValue::Number(PR_MESSAGE_FLAGS, GetParam()));
  EXPECT_STREQ(Get().xIrmcStatus, "READ");
}

INSTANTIATE_TEST_SUITE_P(Flags, MapiGetStatus, testing::Values(0, 1, 0x20, 0x21, -1));

// ---- Recipients ---------------------------------------------------------------------------------

TEST_F(MapiGet, RecipientsThatCannotBeHadAreToldUnderAnotherNameAndFailNothing) {
  mapi_.Fail("message.GetRecipientTable", MAPI_E_NO_RECIPIENTS);  // 0x80040607
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.to, "");
  EXPECT_STREQ(message.subject, "Lunch");
  EXPECT_THAT(Trace(),
              ElementsAre(StartsWith("MAPI:  MAPI_GetMailById("),
                          "MAPI:  lpMapiMessage->GetMsgStoresTable failed with code: -2147219961"));
}

TEST_F(MapiGet, RowsOfRecipientsThatCannotBeHadFailNothing) {
  mapi_.Fail("recipients.QueryRows", kFailed);
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.to, "");
  EXPECT_STREQ(message.ccAddresses, "");
  EXPECT_EQ(mapi_.Live("recipients"), 0);
}

TEST_F(MapiGet, AMissingRowSetIsNoRecipient) {
  mapi_.gives_no_rows = true;
  EXPECT_STREQ(Get().to, "");
}

TEST_F(MapiGet, AMessageWithThreeToRecipientsReadsBackWithOnlyTheLastInTheToList) {
  mail_.recipients = {{1, u"one"}, {1, u"two"}, {1, u"three"}};
  EXPECT_STREQ(Get().to, "three");
}

TEST_F(MapiGet, EachListHoldsItsLastRecipient) {
  mail_.recipients = {{1, u"a"}, {2, u"b"}, {1, u"c"}, {2, u"d"}, {3, u"e"}};
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.to, "c");
  EXPECT_STREQ(message.ccAddresses, "d");
}

TEST_F(MapiGet, AShorterRecipientReplacesALongerOneWhole) {
  mail_.recipients = {{1, u"somebody@example.org"}, {1, u"me"}};
  EXPECT_STREQ(Get().to, "me");
}

TEST_F(MapiGet, RecipientsOfOtherKindsAndWithoutAnAddressAreNobody) {
  mail_.recipients = {{1, u"a"}, {1, u""}, {3, u"b"}, {0, u"c"}, {-1, u"d"}, {0x10000001, u"e"}};
  const OsifMessage& message = Get();
  EXPECT_STREQ(message.to, "a");
  EXPECT_STREQ(message.ccAddresses, "");
}

TEST_F(MapiGet, ARecipientOfAnyKindOfAddressCounts) {
  mail_.recipients = {{1, u"+441234", u"SMS"}};
  EXPECT_STREQ(Get().to, "+441234");
}

TEST_F(MapiGet, ARowOfRecipientsWithoutTheColumnsIsNobody) {
  mapi_.recipient_row_form = FakeValues{FakeValue::Text(PR_DISPLAY_NAME, u"x")};
  EXPECT_STREQ(Get().to, "");
}

TEST_F(MapiGet, ARowOfRecipientsWithoutCellsIsNobody) {
  mapi_.recipient_row_form = FakeValues{};
  EXPECT_STREQ(Get().to, "");
}

TEST_F(MapiGet, ARecipientWhoseAddressIsMissingIsNobody) {
  mapi_.recipient_row_form =
      FakeValues{FakeValue::Number(PR_RECIPIENT_TYPE, 1), Missing(PR_EMAIL_ADDRESS)};
  EXPECT_STREQ(Get().to, "");
}

struct CountCase {
  int recipients;
  const char* last;
};

class MapiGetRecipients : public MapiGet, public testing::WithParamInterface<CountCase> {};

TEST_P(MapiGetRecipients, TheFirstTenAreRead) {
  mail_.recipients.clear();
  for (int i = 1; i <= GetParam().recipients; ++i) {
    const std::string number = std::to_string(i);
    mail_.recipients.push_back({1, u"r" + std::u16string(number.begin(), number.end())});
  }
  EXPECT_STREQ(Get().to, GetParam().last);
  EXPECT_EQ(mapi_.Count("recipients.QueryRows"), 1);
}

INSTANTIATE_TEST_SUITE_P(Counts, MapiGetRecipients,
                         testing::Values(CountCase{1, "r1"}, CountCase{9, "r9"},
                                         CountCase{10, "r10"}, CountCase{11, "r10"},
                                         CountCase{50, "r10"}));

}  // namespace
}  // namespace mapi_mail_get_test
