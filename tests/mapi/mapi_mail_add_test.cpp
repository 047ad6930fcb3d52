// Adding and changing messages: the steps, the properties and the recipients. Bodies and dates have
// files of their own.
#include "mapi/mapi_mail.h"
#include "mapi/mapi_text.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_mail_add_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr HRESULT kFailed = MAPI_E_CALL_FAILED;
constexpr char kDate[] = "Wed, 02 Jan 2002 10:11:12 +0000";

using MapiAdd = OpenFakeMapiTest;

// The line that begins a change.
auto Called(const char* id, const char* folder) {
  return MatchesRegex("MAPI:  MAPI_ModifyMail\\(pMessage=[0-9a-fA-Fx]+, id='" + std::string(id) +
                      "'\\) called, Folder:" + folder);
}

MailRecord& FillAll(MailRecord& record) {
  return record.Subject("Lunch")
      .Date(kDate)
      .Body("Hello")
      .Status("READ")
      .From("ann@example.org")
      .To("bob@example.org")
      .Cc("cat@example.org");
}

// ---- Steps --------------------------------------------------------------------------------------

TEST_F(MapiAdd, FillsAndSavesStepByStep) {
  MailRecord record;
  MailId id;
  EXPECT_EQ(Code(MAPI_AddMail(*FillAll(record), id.text)), OSIF_OK);
  std::vector<std::string> calls = mapi_.Calls();
  // When the id is read and when the message is saved is free, once it is filled.
  ASSERT_EQ(calls.size(), 12u);
  EXPECT_THAT(std::vector<std::string>(calls.begin() + 9, calls.begin() + 12),
              testing::UnorderedElementsAre(testing::StartsWith("message.GetProps(FFF0102,"),
                                            "message.SaveChanges()", "~message"));
  calls.resize(9);
  EXPECT_THAT(calls, ElementsAre("folder.CreateMessage(F1)", "message.SetProps(37001F)",
                                 "message.SetProps(E060040)", "message.OpenProperty(1000001F,3)",
                                 "stream.Write(C)", "~stream", "message.SetProps(E070003)",
                                 "message.SetProps(C1F001F)", "message.ModifyRecipients(2)"));
}

TEST_F(MapiAdd, StoresWhatTheRecordHas) {
  MailRecord record;
  const FakeMail& mail = Add(FillAll(record));
  EXPECT_EQ(mail.Text(PR_SUBJECT), u"Lunch");
  EXPECT_EQ(Unix(mail.Get(PR_MESSAGE_DELIVERY_TIME).time), 1009966272);
  EXPECT_EQ(mail.BodyText(), std::u16string(u"Hello\0", 6));
  EXPECT_EQ(mail.Get(PR_MESSAGE_FLAGS).number, 0x21);
  EXPECT_EQ(mail.Text(PR_SENDER_EMAIL_ADDRESS), u"ann@example.org");
  EXPECT_THAT(mail.recipients, ElementsAre(FakeRecipient{1, u"bob@example.org"},
                                           FakeRecipient{2, u"cat@example.org"}));
  EXPECT_EQ(mail.values.size(), 4u);
  EXPECT_EQ(mail.saves, 1);
}

TEST_F(MapiAdd, TellsItsFolderAndItsResult) {
  MailRecord record;
  record.Folder("SENTBOX").Subject("Lunch");
  Add(record);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_AddMail() Folder:SENTBOX",
                                   "       MAPI_AddMail() returns 0"));
}

struct FolderCase {
  const char* name;
  FakeFolderData FakeMapi::*data;
};

class MapiAddInto : public OpenFakeMapiTest, public testing::WithParamInterface<FolderCase> {};

TEST_P(MapiAddInto, TheFolderOfTheRecord) {
  MailRecord record;
  record.Folder(GetParam().name).Subject("Lunch");
  Add(record);
  EXPECT_EQ((mapi_.*GetParam().data).mails.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Folders, MapiAddInto,
                         testing::Values(FolderCase{"INBOX", &FakeMapi::inbox},
                                         FolderCase{"", &FakeMapi::inbox},
                                         FolderCase{"OUTBOX", &FakeMapi::outbox},
                                         FolderCase{"Outbox", &FakeMapi::outbox},
                                         FolderCase{"SENTBOX", &FakeMapi::sent},
                                         FolderCase{"sentbox", &FakeMapi::sent}));

TEST_F(MapiAdd, WritesTheIdInUpperCaseHexadecimalDigits) {
  mapi_.next_id = {"\x00\x0F\xAB\xcd\xFF", 5};
  MailRecord record;
  record.Subject("Lunch");
  MailId id;
  EXPECT_EQ(Code(MAPI_AddMail(*record, id.text)), OSIF_OK);
  EXPECT_STREQ(id.text, "000FABCDFF");
}

TEST_F(MapiAdd, AsksForNoIdThatNobodyWants) {
  MailRecord record;
  record.Subject("Lunch");
  Add(record);
  EXPECT_EQ(mapi_.Count("message.GetProps"), 0);
}

TEST_F(MapiAdd, AnEntryIdThatFillsMoreThanTheRoomStaysWithinIt) {
  mapi_.next_id = std::string(257, '\xAB');
  MailRecord record;
  MailId id;
  MAPI_AddMail(*record, id.text);
  EXPECT_LT(strnlen(id.text, sizeof id.text), sizeof id.text);
  EXPECT_STREQ(id.behind, "untouched");
}

TEST_F(FakeMapiTest, AddMailStartsTheSession) {
  MailRecord record;
  record.Subject("Lunch");
  EXPECT_EQ(Add(record).Text(PR_SUBJECT), u"Lunch");
  EXPECT_EQ(mapi_.Count("MAPILogonEx"), 1);
}

TEST_F(FakeMapiTest, AddMailTellsThatTheSessionCannotBeStarted) {
  mapi_.Fail("MAPIInitialize", kFailed);
  MailRecord record;
  EXPECT_EQ(Code(MAPI_AddMail(*record, nullptr)), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  MAPIInitialize failed with code: -2147467259",
                          "MAPI:  MAPI_AddMail error - mapi_Initialize() failed, error = 14"));
}

TEST_F(FakeMapiTest, AddMailWithoutItsFolderIsAnErrorOfTheStore) {
  OpenWithoutFolders();
  MailRecord record;
  MailId id;
  EXPECT_EQ(Code(MAPI_AddMail(*record.Folder("OUTBOX"), id.text)), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_AddMail() Folder:OUTBOX",
                                   "       MAPI_AddMail() returns 14"));
  EXPECT_THAT(mapi_.Calls(), IsEmpty());
}

// ---- Failing calls ------------------------------------------------------------------------------

TEST_F(MapiAdd, AMessageThatCannotBeCreatedIsAnErrorOfTheStore) {
  mapi_.Fail("folder.CreateMessage", kFailed);
  MailRecord record;
  MailId id;
  EXPECT_EQ(Code(MAPI_AddMail(*record, id.text)), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_AddMail() Folder:",
                                   "MAPI:  lpFolder->CreateMessage failed with code: 0x80004005",
                                   "       MAPI_AddMail() returns 14"));
}

TEST_F(MapiAdd, AnIdThatCannotBeHadIsAnErrorOfTheStore) {
  mapi_.Fail("message.GetProps", kFailed);
  MailRecord record;
  MailId id;
  EXPECT_EQ(Code(MAPI_AddMail(*record, id.text)), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  MAPI_AddMail() Folder:",
                          "MAPI:  lpMessage->GetProps(PR_ENTRYID) failed with code: 0x80004005",
                          "       MAPI_AddMail() returns 14"));
  EXPECT_EQ(mapi_.Live("message"), 0);
}

TEST_F(MapiAdd, AMessageWithoutAnIdIsAnErrorOfTheStore) {
  mapi_.gives_no_ids = true;
  MailRecord record;
  MailId id;
  EXPECT_EQ(Code(MAPI_AddMail(*record, id.text)), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  MAPI_AddMail() Folder:",
                          "MAPI:  lpMessage->GetProps(PR_ENTRYID) failed with code: 0x00000000",
                          "       MAPI_AddMail() returns 14"));
}

TEST_F(MapiAdd, AMessageThatCannotBeSavedIsAnErrorOfTheStore) {
  mapi_.Fail("message.SaveChanges", kFailed);
  MailRecord record;
  MailId id;
  EXPECT_EQ(Code(MAPI_AddMail(*record, id.text)), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_AddMail() Folder:",
                                   "MAPI:  lpMessage->SaveChanges failed with code: 0x80004005",
                                   "       MAPI_AddMail() returns 14"));
  EXPECT_EQ(mapi_.Live("message"), 0);
}

struct FillFault {
  const char* call;
  const char* line;
};

class MapiFillFault : public OpenFakeMapiTest, public testing::WithParamInterface<FillFault> {};

// All other steps are done, and the message is saved.
TEST_P(MapiFillFault, IsToldAndFailsNothing) {
  mapi_.Fail(GetParam().call, kFailed);
  MailRecord record;
  EXPECT_EQ(Code(MAPI_AddMail(*FillAll(record.Folder("INBOX")), nullptr)), OSIF_OK);
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_AddMail() Folder:INBOX",
                                   std::string(GetParam().line) + " failed with code: 0x80004005",
                                   "       MAPI_AddMail() returns 0"));
  const FakeMail& mail = mapi_.Created();
  const size_t done = mail.values.size() + (mail.body.value_or("").empty() ? 0 : 1) +
                      (mail.recipients.empty() ? 0 : 1);
  EXPECT_EQ(done, 5u);
  EXPECT_EQ(mail.saves, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, MapiFillFault,
    testing::Values(
        FillFault{"message.SetProps(37001F)", "MAPI:  lpMessage->SetProps(PR_SUBJECT)"},
        FillFault{"message.SetProps(E060040)",
                  "MAPI:  lpMessage->SetProps(PR_MESSAGE_DELIVERY_TIME)"},
        FillFault{"message.OpenProperty", "MAPI:  pMapiMessage->OpenProperty"},
        FillFault{"stream.Write", "MAPI:  pstm->Write"},
        FillFault{"message.SetProps(E070003)", "MAPI:  lpMessage->SetProps(PR_MESSAGE_FLAG)"},
        FillFault{"message.SetProps(C1F001F)", "MAPI:  lpMessage->SetProps(PR_SENDER_*)"},
        FillFault{"message.ModifyRecipients", "MAPI:  pmsg->ModifyRecipients"}));

TEST_F(MapiAdd, TheFirstProblemOfTheSenderIsToldUnderTheNameOfAnotherProperty) {
  mapi_.problem = MAPI_E_INVALID_TYPE;
  MailRecord record;
  record.From("ann@example.org");
  EXPECT_EQ(Code(MAPI_AddMail(*record, nullptr)), OSIF_OK);
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  MAPI_AddMail() Folder:",
                          "MAPI:  lpProblems->aProblem[0].scode (PR_SENDER_NAME) : 0x80040302",
                          "       MAPI_AddMail() returns 0"));
}

// ---- Properties ---------------------------------------------------------------------------------

TEST_F(MapiAdd, ANewMessageOfAnEmptyRecordHasItsFlagsOnly) {
  MailRecord record;
  const FakeMail& mail = Add(record);
  EXPECT_EQ(mail.values.size(), 1u);
  EXPECT_EQ(mail.Get(PR_MESSAGE_FLAGS).number, 0x20);
  EXPECT_FALSE(mail.body);
  EXPECT_THAT(mail.recipients, IsEmpty());
  EXPECT_THAT(mapi_.Calls(), ElementsAre("folder.CreateMessage(F1)", "message.SetProps(E070003)",
                                         "message.SaveChanges()", "~message"));
}

struct StatusCase {
  const char* status;
  LONG flags;
};

class MapiAddStatus : public OpenFakeMapiTest, public testing::WithParamInterface<StatusCase> {};

TEST_P(MapiAddStatus, AnAddedMessageWithStatusReadGetsFlags21Otherwise20) {
  MailRecord record;
  record.Status(GetParam().status);
  const FakeMail& mail = Add(record);
  EXPECT_TRUE(mail.Has(PR_MESSAGE_FLAGS));
  EXPECT_EQ(mail.Get(PR_MESSAGE_FLAGS).number, GetParam().flags);
}

INSTANTIATE_TEST_SUITE_P(States, MapiAddStatus,
                         testing::Values(StatusCase{"READ", 0x21}, StatusCase{"UNREAD", 0x20},
                                         StatusCase{"", 0x20}, StatusCase{"READY", 0x20},
                                         StatusCase{"SENT", 0x20}));

TEST_F(MapiAdd, SubjectAndSenderAreInTheSystemsCodePage) {
  MailRecord record;
  record.Subject("Caf\xE9 \x80").From("J\xFCrgen");
  const FakeMail& mail = Add(record);
  EXPECT_EQ(mail.Text(PR_SUBJECT), u"Caf\u00E9 \u20AC");
  EXPECT_EQ(mail.Text(PR_SENDER_EMAIL_ADDRESS), u"J\u00FCrgen");
}

TEST_F(MapiAdd, SubjectSenderAndRecipientsFollowTheSystemsCodePage) {
  UseSystemCodePage(65001);
  MailRecord record;
  record.Subject("Caf\xC3\xA9").From("J\xC3\xBCrgen").To("Zo\xC3\xAB");
  const FakeMail& mail = Add(record);
  EXPECT_EQ(mail.Text(PR_SUBJECT), u"Caf\u00E9");
  EXPECT_EQ(mail.Text(PR_SENDER_EMAIL_ADDRESS), u"J\u00FCrgen");
  EXPECT_THAT(mail.recipients, ElementsAre(FakeRecipient{1, u"Zo\u00EB"}));
}

TEST_F(MapiAdd, BlanksBeforeSubjectAndSenderAreLeftOutThoseBehindAreKept) {
  MailRecord record;
  record.Subject("  Lunch at 12 ").From(" ann@example.org ");
  const FakeMail& mail = Add(record);
  EXPECT_EQ(mail.Text(PR_SUBJECT), u"Lunch at 12 ");
  EXPECT_EQ(mail.Text(PR_SENDER_EMAIL_ADDRESS), u"ann@example.org ");
}

TEST_F(MapiAdd, SubjectAndSenderOf1023BytesAreWhole) {
  MailRecord record;
  record.Subject(std::string(1022, 's') + "e").From(std::string(1022, 'f') + "e");
  const FakeMail& mail = Add(record);
  EXPECT_EQ(mail.Text(PR_SUBJECT), std::u16string(1022, u's') + u"e");
  EXPECT_EQ(mail.Text(PR_SENDER_EMAIL_ADDRESS), std::u16string(1022, u'f') + u"e");
}

TEST_F(MapiAdd, AHeaderTextHas2048CharactersAtMost) {
  for (size_t size : {2047u, 2048u, 2049u, 100000u}) {
    const std::string text(size, 'x');
    EXPECT_EQ(mapi_HeaderText(text.c_str()).size(), std::min<size_t>(size, 2048)) << size;
  }
}

// ---- Recipients ---------------------------------------------------------------------------------

struct ListCase {
  const char* list;
  std::vector<std::u16string> addresses;
};

class MapiAddList : public OpenFakeMapiTest, public testing::WithParamInterface<ListCase> {
 protected:
  static std::vector<FakeRecipient> Recipients(LONG type) {
    std::vector<FakeRecipient> recipients;
    for (const std::u16string& address : GetParam().addresses) {
      recipients.push_back({type, address});
    }
    return recipients;
  }
};

TEST_P(MapiAddList, GivesToRecipients) {
  MailRecord record;
  record.To(GetParam().list);
  EXPECT_EQ(Add(record).recipients, Recipients(1));
}

TEST_P(MapiAddList, GivesCcRecipients) {
  MailRecord record;
  record.Cc(GetParam().list);
  EXPECT_EQ(Add(record).recipients, Recipients(2));
}

INSTANTIATE_TEST_SUITE_P(
    Lists, MapiAddList,
    testing::Values(ListCase{"a@b", {u"a@b"}}, ListCase{"a;b", {u"a", u"b"}},
                    ListCase{"a; b", {u"a", u"b"}},
                    ListCase{"   a;   b", {u"a", u"b"}},  // blanks before an address
                    ListCase{"a ;b  ", {u"a ", u"b  "}},  // blanks after one belong to it
                    ListCase{"a b;c", {u"a b", u"c"}},    // and those within
                    ListCase{"a;", {u"a"}}, ListCase{"a;b;", {u"a", u"b"}},
                    ListCase{"a;;b", {u"a"}},  // an empty piece ends the list
                    ListCase{"a; ;b", {u"a"}}, ListCase{";a", {}}, ListCase{" ; a", {}},
                    ListCase{";", {}}, ListCase{"   ", {}},
                    ListCase{"Ann, Bob;c", {u"Ann, Bob", u"c"}},  // a comma is nothing special
                    ListCase{"Ann <a@b>", {u"Ann <a@b>"}}));

TEST_F(MapiAdd, AToListOfTwoAddressesWithASemicolonAndABlankYieldsTwoToRecipients) {
  MailRecord record;
  record.To("bob@example.org; eve@example.org");
  EXPECT_THAT(Add(record).recipients, ElementsAre(FakeRecipient{1, u"bob@example.org", u"SMTP"},
                                                  FakeRecipient{1, u"eve@example.org", u"SMTP"}));
}

TEST_F(MapiAdd, ToRecipientsComeBeforeCcRecipientsInOneCall) {
  MailRecord record;
  record.To("a;b").Cc("c;d");
  EXPECT_THAT(Add(record).recipients, ElementsAre(FakeRecipient{1, u"a"}, FakeRecipient{1, u"b"},
                                                  FakeRecipient{2, u"c"}, FakeRecipient{2, u"d"}));
  EXPECT_EQ(mapi_.Count("message.ModifyRecipients"), 1);
}

TEST_F(MapiAdd, AnEmptyPieceOfTheToListLeavesTheCcList) {
  MailRecord record;
  record.To("a;;b").Cc("c");
  EXPECT_THAT(Add(record).recipients, ElementsAre(FakeRecipient{1, u"a"}, FakeRecipient{2, u"c"}));
}

TEST_F(MapiAdd, TakesAsManyRecipientsAsTheListsHold) {
  std::string list = "a";
  for (int i = 1; i < 512; ++i) list += ";a";
  MailRecord record;
  record.To(list).Cc(list);
  EXPECT_EQ(Add(record).recipients.size(), 1024u);
}

TEST_F(MapiAdd, AnAddressMayFillTheWholeList) {
  MailRecord record;
  record.To(std::string(1023, 'a'));
  EXPECT_THAT(Add(record).recipients, ElementsAre(FakeRecipient{1, std::u16string(1023, u'a')}));
}

// ---- Changing -----------------------------------------------------------------------------------

class MapiModify : public OpenFakeMapiTest {
 protected:
  MapiModify() : mail_(mapi_.Keep(mapi_.inbox, "\x0A\xBC")) {
    mail_.Put(FakeValue::Text(PR_SUBJECT, u"Old"));
    mail_.Put(FakeValue::Time(PR_MESSAGE_DELIVERY_TIME, {1, 2}));
    mail_.Put(FakeValue::Number(PR_MESSAGE_FLAGS, 1));
    mail_.Put(FakeValue::Text(PR_SENDER_EMAIL_ADDRESS, u"old@example.org"));
    mail_.SetBody(u"old");
    mail_.recipients = {{1, u"first@example.org"}};
  }

  FakeMail& mail_;
};

TEST_F(MapiModify, OpensFillsAndSavesStepByStep) {
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*FillAll(record), "0ABC")), OSIF_OK);
  EXPECT_THAT(mapi_.Calls(),
              ElementsAre("folder.OpenEntry(0ABC,11)", "message.SetProps(37001F)",
                          "message.SetProps(E060040)", "message.OpenProperty(1000001F,3)",
                          "stream.Write(C)", "~stream", "message.SetProps(E070003)",
                          "message.SetProps(C1F001F)", "message.ModifyRecipients(2)",
                          "message.SaveChanges()", "~message"));
}

TEST_F(MapiModify, WritesWhatTheRecordHas) {
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*FillAll(record), "0ABC")), OSIF_OK);
  EXPECT_EQ(mail_.Text(PR_SUBJECT), u"Lunch");
  EXPECT_EQ(Unix(mail_.Get(PR_MESSAGE_DELIVERY_TIME).time), 1009966272);
  EXPECT_EQ(mail_.BodyText(), std::u16string(u"Hello\0", 6));
  EXPECT_EQ(mail_.Get(PR_MESSAGE_FLAGS).number, 0x21);
  EXPECT_EQ(mail_.Text(PR_SENDER_EMAIL_ADDRESS), u"ann@example.org");
}

TEST_F(MapiModify, LeavesWhatTheRecordDoesNotHave) {
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABC")), OSIF_OK);
  EXPECT_EQ(mail_.Text(PR_SUBJECT), u"Old");
  EXPECT_EQ(Ticks(mail_.Get(PR_MESSAGE_DELIVERY_TIME).time), 0x200000001u);
  EXPECT_EQ(mail_.BodyText(), u"old");
  EXPECT_EQ(mail_.Text(PR_SENDER_EMAIL_ADDRESS), u"old@example.org");
  EXPECT_EQ(mail_.recipients.size(), 1u);
}

TEST_F(MapiModify, LeavesTheFlagsWhenTheStatusIsEmpty) {
  MailRecord record;
  record.Subject("New");
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABC")), OSIF_OK);
  EXPECT_EQ(mail_.Get(PR_MESSAGE_FLAGS).number, 1);
}

TEST_F(MapiModify, WritesTheFlagsWhenThereIsAStatus) {
  MailRecord record;
  record.Status("UNREAD");
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABC")), OSIF_OK);
  EXPECT_EQ(mail_.Get(PR_MESSAGE_FLAGS).number, 0x20);
}

TEST_F(MapiModify, AddsItsRecipientsToThoseThatTheMessageHas) {
  MailRecord record;
  record.To("second@example.org").Cc("first@example.org");
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABC")), OSIF_OK);
  EXPECT_THAT(mail_.recipients, ElementsAre(FakeRecipient{1, u"first@example.org"},
                                            FakeRecipient{1, u"second@example.org"},
                                            FakeRecipient{2, u"first@example.org"}));
}

TEST_F(MapiModify, LooksInTheFolderOfTheRecordOnly) {
  mapi_.Keep(mapi_.outbox, "\x77", {FakeValue::Text(PR_SUBJECT, u"Old")});
  MailRecord record;
  record.Folder("OUTBOX").Subject("New");
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "77")), OSIF_OK);
  EXPECT_EQ(mapi_.outbox.mails[0]->Text(PR_SUBJECT), u"New");
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABC")), OSIF_ERR_PIM);
}

TEST_F(MapiModify, TellsItsCall) {
  MailRecord record;
  record.Folder("INBOX");
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABC")), OSIF_OK);
  EXPECT_THAT(
      Trace(),
      ElementsAre(MatchesRegex(
          "MAPI:  MAPI_ModifyMail\\(pMessage=[0-9a-fA-Fx]+, id='0ABC'\\) called, Folder:INBOX")));
}

TEST_F(FakeMapiTest, ModifyMailTellsThatTheSessionCannotBeStarted) {
  mapi_.Fail("MAPILogonEx", kFailed);
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABC")), OSIF_ERR_PIM);
  const TraceLines lines = Trace();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_THAT(lines[0], MatchesRegex("MAPI:  MAPI_ModifyMail.*"));
  EXPECT_EQ(lines[2], "MAPI:  MAPI_ModifyMail error - mapi_Initialize() failed, error = 14");
}

TEST_F(FakeMapiTest, ModifyMailWithoutItsFolderIsAnErrorOfTheStore) {
  OpenWithoutFolders();
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*record.Folder("OUTBOX"), "0ABC")), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre(Called("0ABC", "OUTBOX"),
                                   "MAPI:  MAPI_ModifyMail error - lpFolder is NULL"));
}

TEST_F(MapiModify, AnIdThatIsNoneIsToldAndInvalid) {
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABX")), OSIF_ERR_INVALID_ID);
  EXPECT_THAT(Trace(),
              ElementsAre(Called("0ABX", ""), "MAPI:  FBinFromHex could not convert ID '0ABX'"));
  EXPECT_THAT(mapi_.Calls(), IsEmpty());
}

TEST_F(MapiModify, AMessageThatCannotBeOpenedIsAnErrorOfTheStore) {
  mapi_.Fail("folder.OpenEntry", kFailed);
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*record, "0ABC")), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(),
              ElementsAre(Called("0ABC", ""),
                          "MAPI:  lpFolder->OpenEntry for Mailbox failed with code: 0x80004005"));
}

TEST_F(MapiModify, AnObjectThatIsNoMessageIsReleasedAndLeftAlone) {
  mail_.type = MAPI_FOLDER;
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*record.Subject("New"), "0ABC")), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre(Called("0ABC", ""),
                                   "MAPI:  ulObjType of OpenEntry on Mailbox != MAPI_MESSAGE"));
  EXPECT_EQ(mapi_.Live("message"), 0);
  EXPECT_EQ(mail_.Text(PR_SUBJECT), u"Old");
}

TEST_F(MapiModify, AChangeThatCannotBeSavedIsAnErrorOfTheStore) {
  mapi_.Fail("message.SaveChanges", kFailed);
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*record.Subject("New"), "0ABC")), OSIF_ERR_PIM);
  EXPECT_EQ(mapi_.Live("message"), 0);
}

TEST_F(MapiModify, APropertyThatCannotBeSetFailsNothing) {
  mapi_.Fail("message.SetProps", kFailed);
  MailRecord record;
  EXPECT_EQ(Code(MAPI_ModifyMail(*record.Subject("New"), "0ABC")), OSIF_OK);
  EXPECT_THAT(Trace(),
              ElementsAre(Called("0ABC", ""),
                          "MAPI:  lpMessage->SetProps(PR_SUBJECT) failed with code: 0x80004005"));
}

}  // namespace
}  // namespace mapi_mail_add_test
