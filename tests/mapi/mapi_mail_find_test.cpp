// Finding a message by its date and its subject.
#include "mapi/mapi_mail.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_mail_find_test {
namespace {

using namespace support;
using testing::Contains;
using testing::ElementsAre;

constexpr HRESULT kFailed = MAPI_E_CALL_FAILED;

// 2 January 2002, 10:11:12 UTC: 1,009,966,272 s after 1970, 126544398720000000 times 100 ns after
// 1601, in halves 0x01C19375 (29463413) and 0xCE056000 (-838508544).
constexpr char kDate[] = "Wed, 02 Jan 2002 10:11:12 +0000";
constexpr FILETIME kTime = {0xCE056000, 0x01C19375};
constexpr char kHalves[] = "29463413.-838508544";

// The line that begins each search in the Inbox; a row that is looked at.
std::string Asked(const std::string& subject) {
  return "MAPI:  MAPI_FindMail() Folder: Date:" + std::string(kHalves) + " Subj:'" + subject + "'";
}
std::string Row(int number, const std::string& subject) {
  return "MAPI:  Row:" + std::to_string(number) + " Date:" + kHalves + " Subject:'" + subject + "'";
}

FILETIME Later(uint64_t ticks) {
  const uint64_t time = Ticks(kTime) + ticks;
  return {static_cast<DWORD>(time & 0xFFFFFFFFu), static_cast<DWORD>(time >> 32)};
}

FakeValues Mail(const char16_t* subject, FILETIME time = kTime) {
  return {FakeValue::Text(PR_SUBJECT, subject), FakeValue::Time(PR_MESSAGE_DELIVERY_TIME, time)};
}

class MapiFind : public OpenFakeMapiTest {
 protected:
  // The id of what is found for this date and subject; "-" for nothing.
  std::string Find(std::string_view subject, std::string_view date = kDate,
                   std::string_view folder = "") {
    MailRecord record;
    record.Subject(subject).Date(date).Folder(folder);
    MailId id;
    const bool found = MAPI_FindMail(*record, id.text);
    EXPECT_STREQ(id.behind, "untouched");
    if (found) return id.text;
    EXPECT_STREQ(id.text, "before");
    return "-";
  }
};

TEST_F(MapiFind, TheHalvesOfTheDateAreAsTheTestsWriteThem) {
  EXPECT_EQ(Unix(kTime), 1009966272);
  EXPECT_EQ(static_cast<int32_t>(kTime.dwLowDateTime), -838508544);
  EXPECT_EQ(kTime.dwHighDateTime, 29463413u);
}

// ---- Steps --------------------------------------------------------------------------------------

TEST_F(MapiFind, AsksStepByStep) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch"), "01");
  EXPECT_THAT(
      mapi_.Calls(),
      ElementsAre("folder.GetContentsTable(F1)", "contents.SetColumns(37001F,E060040,FFF0102)",
                  "contents.SeekRow(0,0)", "contents.QueryRows(50)", "~contents"));
}

// A trace shows every row; without one the store may look for the message itself.
TEST_F(MapiFind, AsksTheStoreToLookForAMessageWithADateWhereNothingIsTraced) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Dinner"));
  mapi_.Keep(mapi_.inbox, "\x02", Mail(u"Lunch"));
  trace_.reset();
  EXPECT_EQ(Find("Lunch"), "02");
  EXPECT_THAT(mapi_.Calls(),
              ElementsAre("folder.GetContentsTable(F1)",
                          "contents.SetColumns(37001F,E060040,FFF0102)", "contents.SeekRow(0,0)",
                          "contents.Restrict(E060040=29463413.3456458752,37001F=Lunch)",
                          "contents.QueryRows(50)", "~contents"));
  EXPECT_EQ(Find(""), "-");
  EXPECT_THAT(mapi_.Calls(), Contains("contents.Restrict(E060040=29463413.3456458752)"));
  EXPECT_EQ(Find("Lunch", ""), "-");
  EXPECT_EQ(mapi_.Count("contents.Restrict"), 0);
}

TEST_F(MapiFind, TellsWhatItLooksForAndEveryRow) {
  mapi_.Keep(mapi_.outbox, "\x01", Mail(u"Dinner", {0xFFFFFFFF, 2}));
  mapi_.Keep(mapi_.outbox, "\x02", Mail(u"Lunch"));
  mapi_.Keep(mapi_.outbox, "\x03", Mail(u"Supper"));
  EXPECT_EQ(Find("Lunch", kDate, "OUTBOX"), "02");
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  MAPI_FindMail() Folder:OUTBOX Date:" + std::string(kHalves) +
                              " Subj:'Lunch'",
                          "MAPI:  Row:1 Date:2.-1 Subject:'Dinner'",
                          "MAPI:  Row:2 Date:" + std::string(kHalves) + " Subject:'Lunch'"));
}

TEST_F(MapiFind, TellsThatNoRowIsLeft) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Dinner"));
  mapi_.Keep(mapi_.inbox, "\x02", Mail(u"Supper"));
  EXPECT_EQ(Find("Lunch"), "-");
  EXPECT_THAT(Trace(), ElementsAre(Asked("Lunch"), Row(1, "Dinner"), Row(2, "Supper"),
                                   "MAPI:  MAPI_FindMail - No more rows found (total=2)"));
}

TEST_F(MapiFind, FindsNothingInAnEmptyFolder) {
  EXPECT_EQ(Find("Lunch"), "-");
  EXPECT_THAT(Trace(),
              ElementsAre(Asked("Lunch"), "MAPI:  MAPI_FindMail - No more rows found (total=0)"));
  EXPECT_EQ(mapi_.Live("contents"), 0);
}

TEST_F(FakeMapiTest, FindMailStartsTheSession) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  MailRecord record;
  record.Subject("Lunch").Date(kDate);
  EXPECT_TRUE(MAPI_FindMail(*record, nullptr));
  EXPECT_EQ(mapi_.Count("MAPILogonEx"), 1);
}

TEST_F(FakeMapiTest, FindMailTellsThatTheSessionCannotBeStarted) {
  mapi_.Fail("MAPIInitialize", kFailed);
  MailRecord record;
  MailId id;
  EXPECT_FALSE(MAPI_FindMail(*record, id.text));
  EXPECT_STREQ(id.text, "before");
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPIInitialize failed with code: -2147467259",
                                   "MAPI:  MAPI_FindMail error - mapi_Initialize() failed"));
}

TEST_F(FakeMapiTest, FindMailTellsThatThereIsNoFolder) {
  OpenWithoutFolders();
  MailRecord record;
  record.Subject("Lunch").Date(kDate).Folder("SENTBOX");
  EXPECT_FALSE(MAPI_FindMail(*record, nullptr));
  EXPECT_THAT(Trace(), ElementsAre("MAPI:  MAPI_FindMail() Folder:SENTBOX Date:" +
                                       std::string(kHalves) + " Subj:'Lunch'",
                                   "MAPI:  MAPI_FindMail error - lpFolder is NULL"));
}

// ---- Failing calls ------------------------------------------------------------------------------

TEST_F(MapiFind, TellsWhyThereIsNoContentsTable) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  mapi_.Fail("folder.GetContentsTable", kFailed);
  EXPECT_EQ(Find("Lunch"), "-");
  EXPECT_THAT(Trace(),
              ElementsAre(Asked("Lunch"),
                          "MAPI:  lpFolder->GetContentsTable failed with code: 0x80004005"));
}

TEST_F(MapiFind, GoesOnWithoutTheColumns) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  mapi_.Fail("contents.SetColumns", kFailed);
  EXPECT_EQ(Find("Lunch"), "01");
  EXPECT_THAT(Trace(), ElementsAre(Asked("Lunch"),
                                   "MAPI:  lpMessageTable->SetColumns failed with code: 0x80004005",
                                   Row(1, "Lunch")));
}

TEST_F(MapiFind, EndsWhenTheBeginningCannotBeFound) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  mapi_.Fail("contents.SeekRow", kFailed);
  EXPECT_EQ(Find("Lunch"), "-");
  EXPECT_THAT(Trace(), ElementsAre(Asked("Lunch"),
                                   "MAPI:  lpMessageTable->SeekRow failed with code: 0x80004005"));
  EXPECT_EQ(mapi_.Count("contents.QueryRows"), 0);
  EXPECT_EQ(mapi_.Live("contents"), 0);
}

TEST_F(MapiFind, EndsWhenRowsCannotBeHad) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  mapi_.Fail("contents.QueryRows", kFailed);
  EXPECT_EQ(Find("Lunch"), "-");
  EXPECT_THAT(
      Trace(),
      ElementsAre(Asked("Lunch"), "MAPI:  lpMessageTable->QueryRows failed with code: 0x80004005"));
}

TEST_F(MapiFind, EndsWhenTheNextRowsCannotBeHad) {
  for (int i = 0; i < 60; ++i) mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Dinner"));
  mapi_.Keep(mapi_.inbox, "\x02", Mail(u"Lunch"));
  mapi_.Fail("contents.QueryRows", kFailed, 2);
  EXPECT_EQ(Find("Lunch"), "-");
  TraceLines expected = {Asked("Lunch")};
  for (int i = 1; i <= 50; ++i) expected.push_back(Row(i, "Dinner"));
  expected.push_back("MAPI:  lpMessageTable->QueryRows failed with code: 0x80004005");
  EXPECT_EQ(Trace(), expected);
}

TEST_F(MapiFind, AMissingRowSetIsTheEnd) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  mapi_.gives_no_rows = true;
  EXPECT_EQ(Find("Lunch"), "-");
  EXPECT_THAT(Trace(),
              ElementsAre(Asked("Lunch"), "MAPI:  MAPI_FindMail - No more rows found (total=0)"));
}

TEST_F(MapiFind, ARowWithoutDateAndSubjectIsPassedOver) {
  FakeMail& mail = mapi_.Keep(mapi_.inbox, "\x01");
  mail.Put(FakeValue::Number(PR_MESSAGE_FLAGS, 1));
  mapi_.Keep(mapi_.inbox, "\x02", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch"), "02");
}

TEST_F(MapiFind, ARowWithoutCellsIsPassedOver) {
  mapi_.Keep(mapi_.inbox, "\x01");
  mapi_.Keep(mapi_.inbox, "\x02", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch"), "02");
}

// ---- How many rows ------------------------------------------------------------------------------

struct FolderSize {
  int mails;
  int queries;
};

class MapiFindAmong : public OpenFakeMapiTest, public testing::WithParamInterface<FolderSize> {
 protected:
  void Fill() {
    for (int i = 1; i < GetParam().mails; ++i) mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Dinner"));
  }
  // What is traced of a search up to the last message.
  TraceLines RowsOfOthers() const {
    TraceLines lines = {Asked("Lunch")};
    for (int i = 1; i < GetParam().mails; ++i) lines.push_back(Row(i, "Dinner"));
    return lines;
  }
  bool Find(char (&id)[OSIF_ID_SIZE]) {
    MailRecord record;
    record.Subject("Lunch").Date(kDate);
    return MAPI_FindMail(*record, id);
  }
};

TEST_P(MapiFindAmong, FindsTheLastOne) {
  Fill();
  mapi_.Keep(mapi_.inbox, "\x7F", Mail(u"Lunch"));
  MailId id;
  EXPECT_TRUE(Find(id.text));
  EXPECT_STREQ(id.text, "7F");
  EXPECT_EQ(mapi_.Count("contents.QueryRows"), GetParam().queries - 1);
  TraceLines expected = RowsOfOthers();
  expected.push_back(Row(GetParam().mails, "Lunch"));
  EXPECT_EQ(Trace(), expected);
}

TEST_P(MapiFindAmong, AsksFiftyRowsAtATimeUntilNoneComeBack) {
  Fill();
  mapi_.Keep(mapi_.inbox, "\x7F", Mail(u"Supper"));
  MailId id;
  EXPECT_FALSE(Find(id.text));
  EXPECT_EQ(mapi_.Count("contents.QueryRows"), GetParam().queries);
  EXPECT_THAT(mapi_.Calls(), Contains("contents.QueryRows(50)").Times(GetParam().queries));
  TraceLines expected = RowsOfOthers();
  expected.push_back(Row(GetParam().mails, "Supper"));
  expected.push_back(
      "MAPI:  MAPI_FindMail - No more rows found (total=" + std::to_string(GetParam().mails) + ")");
  EXPECT_EQ(Trace(), expected);
}

INSTANTIATE_TEST_SUITE_P(Sizes, MapiFindAmong,
                         testing::Values(FolderSize{1, 2}, FolderSize{49, 2}, FolderSize{50, 2},
                                         FolderSize{51, 3}, FolderSize{100, 3},
                                         FolderSize{101, 4}));

// ---- What matches -------------------------------------------------------------------------------

TEST_F(MapiFind, ASubjectThatDiffersInCaseDoesNotMatch) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  EXPECT_EQ(Find("lunch"), "-");
  EXPECT_EQ(Find("LUNCH"), "-");
  EXPECT_EQ(Find("Lunch"), "01");
}

TEST_F(MapiFind, ASubjectMatchesAsAWholeOnly) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch "), "-");
  EXPECT_EQ(Find("Lunc"), "-");
  EXPECT_EQ(Find("Lunch2"), "-");
  EXPECT_EQ(Find(""), "-");
}

TEST_F(MapiFind, BlanksBeforeTheSubjectDoNotCount) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  EXPECT_EQ(Find("  Lunch"), "01");
}

TEST_F(MapiFind, TheSubjectIsInTheSystemsCodePage) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Caf\u00E9 \u20AC"));
  EXPECT_EQ(Find("Caf\xE9 \x80"), "01");
  UseSystemCodePage(65001);
  EXPECT_EQ(Find("Caf\xC3\xA9 \xE2\x82\xAC"), "01");
}

TEST_F(MapiFind, TheDateMatchesToThe100Nanoseconds) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch", Later(1)));
  mapi_.Keep(mapi_.inbox, "\x02", Mail(u"Lunch", Later(static_cast<uint64_t>(-1))));
  EXPECT_EQ(Find("Lunch"), "-");
  mapi_.Keep(mapi_.inbox, "\x03", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch"), "03");
}

TEST_F(MapiFind, BothHalvesOfTheDateCount) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch", {kTime.dwLowDateTime, kTime.dwHighDateTime + 1}));
  mapi_.Keep(mapi_.inbox, "\x02", Mail(u"Lunch", {kTime.dwLowDateTime + 1, kTime.dwHighDateTime}));
  EXPECT_EQ(Find("Lunch"), "-");
}

TEST_F(MapiFind, TheFirstOfSeveralIsFound) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Dinner"));
  mapi_.Keep(mapi_.inbox, "\x02", Mail(u"Lunch"));
  mapi_.Keep(mapi_.inbox, "\x03", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch"), "02");
}

TEST_F(MapiFind, LooksInTheFolderOfTheRecordOnly) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  mapi_.Keep(mapi_.sent, "\x02", Mail(u"Lunch"));
  mapi_.Keep(mapi_.outbox, "\x03", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch", kDate, "SENTBOX"), "02");
  EXPECT_EQ(Find("Lunch", kDate, "outbox"), "03");
  EXPECT_EQ(Find("Lunch", kDate, "INBOX"), "01");
  EXPECT_EQ(Find("Lunch", kDate, "elsewhere"), "01");
}

TEST_F(MapiFind, NeedsNoPlaceForTheId) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  MailRecord record;
  record.Subject("Lunch").Date(kDate);
  EXPECT_TRUE(MAPI_FindMail(*record, nullptr));
}

TEST_F(MapiFind, ARecordWithoutADateMatchesNoMessageThatHasOne) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch", "", "INBOX"), "-");
  EXPECT_THAT(Trace(),
              ElementsAre("MAPI:  MAPI_FindMail() Folder:INBOX Date:0.0 Subj:'Lunch'",
                          Row(1, "Lunch"), "MAPI:  MAPI_FindMail - No more rows found (total=1)"));
}

TEST_F(MapiFind, ARecordWithoutADateMatchesADateOfZero) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch", {0, 0}));
  EXPECT_EQ(Find("Lunch", ""), "01");
}

// ---- Without a date -----------------------------------------------------------------------------

class MapiFindDateless : public OpenFakeMapiTest {
 protected:
  FakeMail& Keep(const char* id, const char16_t* sender, std::u16string_view body) {
    FakeMail& mail = mapi_.Keep(
        mapi_.inbox, id,
        {FakeValue::Text(PR_SUBJECT, u"Lunch"), FakeValue::Text(PR_SENDER_EMAIL_ADDRESS, sender)});
    mail.SetBody(body);
    return mail;
  }
  static std::string Find(MailRecord& record) {
    MailId id;
    return MAPI_FindMail(*record.Subject("Lunch"), id.text) ? id.text : "-";
  }
  static std::string Find(std::string_view sender, std::string_view body) {
    MailRecord record;
    return Find(record.From(sender).Body(body));
  }
};

TEST_F(MapiFindDateless, OnlyAMessageOfTheSameSenderAndBodyIsTheSame) {
  Keep("\x01", u"ann", u"At one?\r\n");
  Keep("\x02", u"ann", u"At two?\r\n");
  Keep("\x03", u"bob", u"At one?\r\n");
  EXPECT_EQ(Find("ann", "At one?\n"), "01");
  EXPECT_EQ(Find(" ann", "At two?\n"), "02");
  EXPECT_EQ(Find("bob", "At one?\n"), "03");
  EXPECT_EQ(Find("bob", "At two?\n"), "-");
  EXPECT_EQ(Find("Ann", "At one?\n"), "-");
  EXPECT_EQ(Find("ann", "At one?"), "-");
  EXPECT_EQ(Find("ann", ""), "-");
  EXPECT_EQ(Find("", "At one?\n"), "-");
}

TEST_F(MapiFindDateless, ADateThatCannotBeReadIsNone) {
  Keep("\x01", u"ann", u"At one?");
  MailRecord same, other;
  EXPECT_EQ(Find(same.Date("soon").From("ann").Body("At one?")), "01");
  EXPECT_EQ(Find(other.Date("soon").From("bob").Body("At one?")), "-");
}

TEST_F(MapiFindDateless, BodiesAreComparedAsTheyAreStored) {
  Keep("\x01", u"ann", u"Caf\u00E9\r\nat one");
  MailRecord html, encoded;
  EXPECT_EQ(Find(html.From("ann").Body("<p>Caf&eacute;</p>at one", "text/html")), "01");
  EXPECT_EQ(Find(encoded.From("ann").Body("Caf=C3=A9\nat one", "text/plain; charset=UTF-8",
                                          "quoted-printable")),
            "01");
}

TEST_F(MapiFindDateless, WhatIsMissingIsEmpty) {
  mapi_.Keep(mapi_.inbox, "\x01", {FakeValue::Text(PR_SUBJECT, u"Lunch")});
  EXPECT_EQ(Find("ann", ""), "-");
  EXPECT_EQ(Find("", "At one?"), "-");
  EXPECT_EQ(Find("", ""), "01");
  MailRecord record;
  EXPECT_EQ(Find(record), "01");
}

TEST_F(MapiFindDateless, AMessageThatCannotBeReadIsNotTakenForTheSame) {
  Keep("\x01", u"ann", u"At one?");
  Keep("\x02", u"ann", u"At one?");
  for (const char* call :
       {"folder.OpenEntry", "message.GetProps", "message.OpenProperty", "stream.Read"}) {
    mapi_.Fail(call, kFailed, 1);
    EXPECT_EQ(Find("ann", "At one?"), "02") << call;
    mapi_.Mend();
  }
  EXPECT_EQ(Find("ann", "At one?"), "01");
  EXPECT_EQ(mapi_.Live("message"), 0);
  EXPECT_EQ(mapi_.Live("stream"), 0);
}

TEST_F(MapiFindDateless, WhatIsNoMessageIsNotTakenForOne) {
  Keep("\x01", u"ann", u"At one?").type = MAPI_FOLDER;
  Keep("\x02", u"ann", u"At one?");
  EXPECT_EQ(Find("ann", "At one?"), "02");
}

TEST_F(MapiFindDateless, AMessageThatGivesNoPropertiesIsNotTakenForOneWithoutASender) {
  Keep("\x01", u"", u"At one?");
  EXPECT_EQ(Find("", "At one?"), "01");
  mapi_.gives_empty_values = true;
  EXPECT_EQ(Find("", "At one?"), "-");
}

TEST_F(MapiFindDateless, AMessageWithADateIsNotOpenedForIt) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  MailRecord record;
  EXPECT_EQ(Find(record.Date(kDate).From("bob").Body("At two?")), "01");
  EXPECT_EQ(mapi_.Count("folder.OpenEntry"), 0);
}

TEST_F(MapiFind, AnUnreadableDateIsToldByTheReaderOfTheLegacyForm) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch", "tomorrow"), "-");
  EXPECT_THAT(Trace(),
              ElementsAre("OSIF:  Error in date 'tomorrow' - cannot convert legacy Date",
                          "MAPI:  MAPI_FindMail() Folder: Date:0.0 Subj:'Lunch'", Row(1, "Lunch"),
                          "MAPI:  MAPI_FindMail - No more rows found (total=1)"));
}

TEST_F(MapiFind, ADateWithoutAZoneIsLocal) {
  TimeZone zone("Europe/Berlin");  // an hour before UTC
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch", "Wed, 02 Jan 2002 10:11:12"), "-");
  EXPECT_EQ(Find("Lunch", "Wed, 02 Jan 2002 11:11:12"), "01");
}

TEST_F(MapiFind, TheSameMomentInAnotherZoneMatches) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch", "Wed, 2 Jan 2002 05:11:12 EST"), "01");
  EXPECT_EQ(Find("Lunch", "20020102T101112Z"), "01");
}

// ---- Ids ----------------------------------------------------------------------------------------

TEST_F(MapiFind, AnIdIsTheEntryIdInUpperCaseHexadecimalDigits) {
  mapi_.Keep(mapi_.inbox, {"\x00\x0F\xAB\xcd\xFF", 5}, Mail(u"Lunch"));
  EXPECT_EQ(Find("Lunch"), "000FABCDFF");
}

TEST_F(MapiFind, AMessageWithoutAnIdIsNotFound) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"Lunch"));
  mapi_.gives_no_ids = true;
  EXPECT_EQ(Find("Lunch"), "-");
  EXPECT_THAT(Trace(), ElementsAre(Asked("Lunch"), Row(1, "Lunch")));
}

TEST_F(MapiFind, AnIdMayFillTheWholeRoom) {
  mapi_.Keep(mapi_.inbox, std::string(256, '\xAB'), Mail(u"Lunch"));
  std::string expected;
  for (int i = 0; i < 256; ++i) expected += "AB";
  EXPECT_EQ(Find("Lunch"), expected);
}

TEST_F(MapiFind, AnEntryIdThatFillsMoreThanTheRoomStaysWithinIt) {
  mapi_.Keep(mapi_.inbox, std::string(257, '\xAB'), Mail(u"Lunch"));
  MailRecord record;
  record.Subject("Lunch").Date(kDate);
  MailId id;
  MAPI_FindMail(*record, id.text);
  EXPECT_LT(strnlen(id.text, sizeof id.text), sizeof id.text);
  EXPECT_STREQ(id.behind, "untouched");
}

// ---- Long and strange subjects ------------------------------------------------------------------

TEST_F(MapiFind, ASubjectOf1023BytesIsComparedWhole) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail((std::u16string(1022, u'x') + u"y").c_str()));
  EXPECT_EQ(Find(std::string(1022, 'x') + "z"), "-");
  EXPECT_EQ(Find(std::string(1022, 'x') + "y"), "01");
}

TEST_F(MapiFind, ASubjectWithFormatCharactersIsToldAsItIs) {
  mapi_.Keep(mapi_.inbox, "\x01", Mail(u"100%s %n"));
  EXPECT_EQ(Find("100%s %n"), "01");
  EXPECT_THAT(Trace(), ElementsAre(Asked("100%s %n"), Row(1, "100%s %n")));
}

}  // namespace
}  // namespace mapi_mail_find_test
