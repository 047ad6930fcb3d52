// What is told at the next open, recording the changes that the library makes, and failures of the PIM.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <set>

#include "BtOsif_pol/pol_changelog.h"
#include "btosif/osif_util/owned_text.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "platform/device/device.h"
#include "platform/posix/fault_injection.h"
#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/platform/device/other_process.h"
#include "tests/support/dates.h"
#include "tests/support/fake_pim.h"
#include "tests/support/full_disk.h"

namespace pol_changelog_record_test {
namespace {

using support::AddContact;
using support::BytesOf;
using support::DeleteContact;
using support::EntryLine;
using support::EntryLines;
using support::Field;
using support::FileExists;
using support::kMailStore;
using support::LinesOf;
using support::MakeAnchor;
using support::ModifyContact;
using support::OtherProgram;
using support::PutBytes;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordedChanges : public support::ChangeLogTest {
 protected:
  std::string Id(int32_t store_id) {
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(store_id, id), OsifResult{OSIF_OK});
    return id;
  }
  // Records that a contact was changed, which the store knows already.
  static OsifResult Record(const std::string& id, OsifAnchor& anchor) {
    const auto oid = static_cast<uint32_t>(support::OidOf(id));
    return pol_RecordChange(OSIF_STORE_PB, {kChangeModified, id.c_str(), oid, 1}, &anchor);
  }
};

constexpr OsifResult kOk = OSIF_OK;

// ---- What the snapshot tells ------------------------------------------------------------------------

TEST_F(RecordedChanges, FindsAtTheNextOpenWhatAnotherProgramDidWhileItWasOpen) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  other.Change(a, "Amy");
  other.Delete(b);
  const std::string c = other.Add("Cid");
  Close();
  Open();
  EXPECT_THAT(ContactEntries(),
              ElementsAre("M 1 " + a, "M 2 " + b, "M 3 " + a, "M 4 " + c, "H 5 " + b));
}

TEST_F(RecordedChanges, FindsAtTheNextOpenWhatTheLibraryDidWithoutAnAnchor) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  EXPECT_EQ(ModifyContact(a, "Amy", nullptr), kOk);
  EXPECT_EQ(DeleteContact(b, nullptr), kOk);
  const std::string c = AddContact("Cid", nullptr).id;
  EXPECT_EQ(ContactEntries().size(), 2u) << "nothing is recorded";
  Close();
  Open();
  EXPECT_THAT(ContactEntries(),
              ElementsAre("M 1 " + a, "M 2 " + b, "M 3 " + a, "M 4 " + c, "H 5 " + b));
}

TEST_F(RecordedChanges, TellsAnotherProgramsChangeThatTheLibrarysOwnChangeFollowed) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  Open();
  other.Change(a, "Amy");
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact(a, "Ida", &anchor), kOk);
  Close();
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + a, "M 3 " + a));
}

TEST_F(RecordedChanges, TellsTheEndOfAnItemThatTheLibraryChangedAfterAnotherProgramHadAddedIt) {
  OtherProgram other;
  Open();
  const std::string a = other.Add("Ann");
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact(a, "Amy", &anchor), kOk);
  Close();
  other.Delete(a);
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "H 2 " + a));
}

TEST_F(RecordedChanges, TellsWhatTheLibraryDidWithAnAnchorOnlyOnce) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact(a, "Amy", &anchor), kOk);
  EXPECT_EQ(anchor.cc, 3u);
  EXPECT_EQ(DeleteContact(b, &anchor), kOk);
  EXPECT_EQ(anchor.cc, 4u);
  const std::string c = AddContact("Cid", &anchor).id;
  EXPECT_EQ(anchor.cc, 5u);
  Close();
  Open();
  EXPECT_THAT(ContactEntries(),
              ElementsAre("M 1 " + a, "M 2 " + b, "M 3 " + a, "H 4 " + b, "M 5 " + c));
}

TEST_F(RecordedChanges, FindsWhatAnotherProgramMadeOfAnItemThatTheLibraryHadChanged) {
  const std::string a = OtherProgram().Add("Ann");
  Open();
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact(a, "Amy", &anchor), kOk);
  const std::string b = AddContact("Bob", &anchor).id;
  {
    OtherProgram other;
    other.Change(a, "Ada");
    other.Delete(b);
  }
  Close();
  Open();
  EXPECT_THAT(ContactEntries(),
              ElementsAre("M 1 " + a, "M 2 " + a, "M 3 " + b, "M 4 " + a, "H 5 " + b));
}

TEST_F(RecordedChanges, FindsWhatTheLibraryMadeOfAnItemWithoutAnAnchorAfterOneWithIt) {
  Open();
  OsifAnchor anchor{};
  const std::string a = AddContact("Ann", &anchor).id;
  EXPECT_EQ(ModifyContact(a, "Amy", nullptr), kOk);
  Close();
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + a));
}

TEST_F(RecordedChanges, FindsWhatChangedWhileItWasClosedAndBeforeItWasOpenedAgainWithoutAClose) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  Open();
  OsifAnchor anchor{};
  const std::string b = AddContact("Bob", &anchor).id;
  EXPECT_EQ(Open(), kOk);
  other.Change(b, "Bill");
  Close();
  Open();
  EXPECT_EQ(ContactEntries().back(), "M " + std::to_string(ContactEntries().size()) + " " + b);
}

// ---- Recording --------------------------------------------------------------------------------------

TEST_F(RecordedChanges, RecordsAnAddAndAModifyAsModifiedAndADeleteAsDeleted) {
  Open();
  OsifAnchor anchor{};
  const support::LibraryCall added = AddContact("Ann", &anchor);
  EXPECT_EQ(added.result, kOk);
  EXPECT_EQ(LinesOf(ContactLog()).back(), EntryLine('M', 1, added.id, anchor.ts));
  EXPECT_EQ(ModifyContact(added.id, "Amy", &anchor), kOk);
  EXPECT_EQ(LinesOf(ContactLog()).back(), EntryLine('M', 2, added.id, anchor.ts));
  EXPECT_EQ(DeleteContact(added.id, &anchor), kOk);
  EXPECT_EQ(LinesOf(ContactLog()).back(), EntryLine('H', 3, added.id, anchor.ts));
  EXPECT_EQ(anchor.cc, 3u);
}

TEST_F(RecordedChanges, RecordsTheIdAsTheCallerGaveIt) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string number = a.substr(a.find_first_not_of('0'));
  Open();
  OsifAnchor anchor{};
  EXPECT_EQ(ModifyContact(number, "Amy", &anchor), kOk);
  EXPECT_EQ(Field(LinesOf(ContactLog()).back(), 3), number);
  EXPECT_EQ(DeleteContact("000000" + number, &anchor), kOk);
  EXPECT_EQ(Field(LinesOf(ContactLog()).back(), 3), "000000" + number);
  Close();
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), "") << "one item whatever its id is written as";
}

TEST_F(RecordedChanges, RecordsNothingWhenTheChangeFailed) {
  Open();
  OsifAnchor anchor{};
  EXPECT_EQ(DeleteContact("0000ffff", &anchor), OsifResult{OSIF_ERR_NOT_FOUND});
  EXPECT_EQ(ModifyContact("0000ffff", "Ann", &anchor), OsifResult{OSIF_ERR_NOT_FOUND});
  EXPECT_EQ(BytesOf(ContactLog()), "");
}

TEST_F(RecordedChanges, ThatIsClosedZeroesTheAnchorOfAChangeThatWasMadeAllTheSame) {
  OtherProgram other;
  OsifAnchor anchor = MakeAnchor(77, "20050314T101500Z");
  const support::LibraryCall added = AddContact("Ann", &anchor);
  EXPECT_EQ(added.result, OsifResult{OSIF_ERR_CL_NOT_OPENED});
  const OsifAnchor zero{};
  EXPECT_EQ(std::memcmp(&anchor, &zero, sizeof anchor), 0);
  EXPECT_EQ(other.Contacts().at(added.id), "Ann");
  anchor = MakeAnchor(77, "20050314T101500Z");
  EXPECT_EQ(DeleteContact(added.id, &anchor), OsifResult{OSIF_ERR_CL_NOT_OPENED});
  EXPECT_EQ(std::memcmp(&anchor, &zero, sizeof anchor), 0);
  EXPECT_THAT(other.Contacts(), IsEmpty());
}

TEST_F(RecordedChanges, RecordsForEveryStoreWhoseLogIsOpen) {
  for (int32_t store_id : {2, 3, 4, 5}) {
    Open(store_id);
    OsifAnchor anchor{};
    EXPECT_EQ(pol_RecordChange(store_id, {kChangeModified, "an id", 0, {}}, &anchor), kOk);
    EXPECT_EQ(pol_RecordChange(store_id, {kChangeDeleted, "an id", 0, {}}, &anchor), kOk);
    EXPECT_EQ(anchor.cc, 2u);
    EXPECT_EQ(anchor.cc, Anchor(store_id).cc);
    EXPECT_STREQ(anchor.ts, Anchor(store_id).ts);
  }
  EXPECT_THAT(Entries(Path("pol_msg-out_change.log")), ElementsAre("M 1 an id", "H 2 an id"));
}

// A message for one of the folders.
class Message {
 public:
  Message(std::string_view folder, std::string_view subject) {
    OsifMessage& message = object_->message;
    folder.copy(message.xBtFolder, sizeof message.xBtFolder - 1);
    subject.copy(message.subject, sizeof message.subject - 1);
    message.part.bodyText = CopyText("Hello").release();
  }
  OsifObject* get() { return object_.get(); }

 private:
  OwnedObject object_{OSIF_STORE_MSG_IN};
};

struct MessageStore {
  int32_t store_id;
  const char* folder;
  const char* log;
};

class RecordedMessages : public support::ChangeLogTest,
                         public testing::WithParamInterface<MessageStore> {};

TEST_P(RecordedMessages, AreToldAsModifiedWithTheAnchorHandedBack) {
  const auto [store_id, folder, log] = GetParam();
  EXPECT_EQ(Open(store_id), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  char id[OSIF_ID_SIZE] = "";
  OsifAnchor added{};
  EXPECT_EQ(POL_AddObject(store_id, Message(folder, "First").get(), id, &added), kOk);
  EXPECT_EQ(added.cc, 1u);
  EXPECT_STRNE(id, "");
  EXPECT_THAT(LinesOf(Path(log)), ElementsAre(EntryLine('M', 1, id, added.ts)));
  OsifAnchor modified{};
  EXPECT_EQ(POL_ModifyObject(store_id, id, Message(folder, "Second").get(), &modified), kOk);
  EXPECT_EQ(modified.cc, 2u);
  EXPECT_THAT(ChangesSince(MakeAnchor(0), store_id),
              ElementsAre(EntryLine('M', 2, id, modified.ts), "end"));
  OsifAnchor deleted{};
  EXPECT_EQ(POL_DeleteObject(store_id, id, &deleted), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  EXPECT_EQ(LinesOf(Path(log)).size(), 2u) << "what was not done is not told";
}

TEST_P(RecordedMessages, AreToldAlsoAfterTheLogWasClosedAndOpenedAgain) {
  const auto [store_id, folder, log] = GetParam();
  Open(store_id);
  char id[OSIF_ID_SIZE] = "";
  OsifAnchor anchor{};
  EXPECT_EQ(POL_AddObject(store_id, Message(folder, "First").get(), id, &anchor), kOk);
  EXPECT_EQ(Close(store_id), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  EXPECT_EQ(Open(store_id), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  EXPECT_THAT(ChangesSince(MakeAnchor(0), store_id),
              ElementsAre(EntryLine('M', 1, id, anchor.ts), "end"));
  EXPECT_EQ(POL_AddObject(store_id, Message(folder, "Second").get(), id, &anchor), kOk);
  EXPECT_EQ(anchor.cc, 2u);
}

TEST_P(RecordedMessages, AreStoredAllTheSameWhenTheLogIsClosed) {
  const auto [store_id, folder, log] = GetParam();
  char id[OSIF_ID_SIZE] = "";
  OsifAnchor anchor = MakeAnchor(77, "20050314T101500Z");
  EXPECT_EQ(POL_AddObject(store_id, Message(folder, "First").get(), id, &anchor),
            OsifResult{OSIF_ERR_CL_NOT_OPENED});
  const OsifAnchor zero{};
  EXPECT_EQ(std::memcmp(&anchor, &zero, sizeof anchor), 0);
  EXPECT_EQ(POL_ModifyObject(store_id, id, Message(folder, "Second").get(), nullptr), kOk);
  EXPECT_FALSE(FileExists(Path(log)));
}

INSTANTIATE_TEST_SUITE_P(Stores, RecordedMessages,
                         testing::Values(MessageStore{3, "INBOX", "pol_msg-in_change.log"},
                                         MessageStore{4, "SENTBOX", "pol_msg-sent_change.log"},
                                         MessageStore{5, "OUTBOX", "pol_msg-out_change.log"}),
                         [](const auto& test) { return std::string(test.param.folder); });

TEST_F(RecordedChanges, RecordsAnAddedAndAModifiedNoteUnderItsName) {
  const auto record = [](OwnedObject& note, const char16_t* name) {
    PropertyValue_SetText(name, PropertyValue_Append(note->note.summary), 0, 0);
    PropertyValue_SetText(WideView(u"Text"), PropertyValue_Append(note->note.body), 0, 0);
    return note.get();
  };
  EXPECT_EQ(Open(OSIF_STORE_NOTE), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  char id[OSIF_ID_SIZE] = "";
  OsifAnchor anchor{};
  OwnedObject added(OSIF_STORE_NOTE);
  EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, record(added, u"Milk"), id, &anchor), kOk);
  OwnedObject modified(OSIF_STORE_NOTE);
  EXPECT_EQ(POL_ModifyObject(OSIF_STORE_NOTE, id, record(modified, u"Bread"), &anchor), kOk);
  EXPECT_EQ(anchor.cc, 2u);
  EXPECT_EQ(POL_DeleteObject(OSIF_STORE_NOTE, id, &anchor), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  EXPECT_THAT(Entries(Path("pol_note_change.log")), ElementsAre("M 1 Milk", "M 2 Milk"));
}

TEST_F(RecordedChanges, CanBeToldAlsoBehindANoteWithALongName) {
  Open(OSIF_STORE_NOTE);
  OwnedObject note(OSIF_STORE_NOTE);
  PropertyValue_SetText(std::u16string(600, u'n'), PropertyValue_Append(note->note.summary), 0, 0);
  OsifAnchor anchor{};
  EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note.get(), nullptr, &anchor), kOk);
  EXPECT_EQ(pol_RecordChange(OSIF_STORE_NOTE, {kChangeModified, "Milk", 0, {}}, &anchor), kOk);
  EXPECT_EQ(anchor.cc, 2u);
  EXPECT_THAT(ChangesSince(MakeAnchor(1), OSIF_STORE_NOTE),
              ElementsAre(EntryLine('M', 2, "Milk", anchor.ts), "end"));
}

TEST_F(RecordedChanges, RecordsNothingWithoutAnAnchor) {
  Open(kMailStore);
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "an id", 0, {}}, nullptr), kOk);
  EXPECT_EQ(BytesOf(MailLog()), "");
  Close(kMailStore);
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "an id", 0, {}}, nullptr), kOk);
}

TEST_F(RecordedChanges, CountsRecordedChangesOnFromALogOfAHundredThousandLines) {
  OpenMailLog(EntryLines(1, 100000));
  OsifAnchor anchor{};
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "an id", 0, {}}, &anchor), kOk);
  EXPECT_EQ(anchor.cc, 100001u);
}

TEST_F(RecordedChanges, CountsOnFromWhatAnotherProgramHasRecordedMeanwhile) {
  OpenMailLog("M:1:20050314T101500Z:a\n");
  support::AppendBytes(MailLog(), "M:2:20050314T101600Z:b\n");
  EXPECT_EQ(Anchor(kMailStore).cc, 2u);
  EXPECT_STREQ(Anchor(kMailStore).ts, "20050314T101600Z");
  support::AppendBytes(MailLog(), "M:3:20050314T101700Z:a\n");
  EXPECT_THAT(ChangesSince(MakeAnchor(0)),
              ElementsAre("M:2:20050314T101600Z:b", "M:3:20050314T101700Z:a", "end"));
  support::AppendBytes(MailLog(), "M:4:20050314T101800Z:c\n");
  OsifAnchor anchor{};
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "d", 0, {}}, &anchor), kOk);
  EXPECT_EQ(anchor.cc, 5u);
  EXPECT_THAT(Entries(MailLog()), ElementsAre("M 1 a", "M 2 b", "M 3 a", "M 4 c", "M 5 d"));
}

TEST_F(RecordedChanges, SupersedeAlsoInAScanThatHasBegun) {
  OpenMailLog("M:1:t:a\nM:2:t:b\nM:3:t:c\n");
  ChangeLogEntry entry{};
  const OsifAnchor none{};
  EXPECT_EQ(POL_CL_GetFirstEntry(kMailStore, &none, &entry), kOk);
  EXPECT_STREQ(entry.objectId, "a");
  OsifAnchor anchor{};
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeDeleted, "b", 0, {}}, &anchor), kOk);
  EXPECT_EQ(POL_CL_GetNextEntry(kMailStore, &entry), kOk);
  EXPECT_STREQ(entry.objectId, "c");
  EXPECT_EQ(POL_CL_GetNextEntry(kMailStore, &entry), kOk);
  EXPECT_EQ(entry.changeCounter, 4);
}

// A line is read with 511 characters, of which a counter of 10 digits, a time of 18 characters, the kind,
// three colons and the line end leave 478 for the id.
TEST_F(RecordedChanges, CutsARecordedIdThatNoLineCouldGiveBack) {
  for (size_t length : {477u, 478u, 479u, 512u, 513u, 600u}) {
    PutBytes(MailLog(), "M:2000000000:20050314T101500Z:a\n");
    Open(kMailStore);
    OsifAnchor anchor{};
    const std::string id(length, 'f');
    EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, id.c_str(), 0, {}}, &anchor), kOk);
    Open(kMailStore);
    EXPECT_THAT(ChangesSince(MakeAnchor(2000000000)),
                ElementsAre(EntryLine('M', 2000000001,
                                      std::string(std::min<size_t>(length, 478), 'f'), anchor.ts),
                            "end"))
        << length;
    EXPECT_EQ(Anchor(kMailStore).cc, 2000000001u) << length;
  }
}

TEST_F(RecordedChanges, RecordsNoLineThatAPeerHidInAnId) {
  const std::string a = OtherProgram().Add("Ann");
  Open();
  for (const char* hidden : {"\nH:2000000000:20050314T101500Z:0001a2f4", "\r\nX", "\r", "\n"}) {
    OsifAnchor anchor{};
    EXPECT_EQ(ModifyContact(a + hidden, "Amy", &anchor), kOk);
    EXPECT_EQ(LinesOf(ContactLog()).back(), EntryLine('M', anchor.cc, a, anchor.ts));
    EXPECT_EQ(ContactEntries().size(), anchor.cc);
  }
}

// ---- A disk that is full for a while ----------------------------------------------------------------

TEST_F(RecordedChanges, TellsEveryChangeThatTheDiskHadNoRoomForOnceItHas) {
  Open();
  OsifAnchor anchor{};
  const std::string a = AddContact("Ann", &anchor).id;
  const std::string b = AddContact("Bob", nullptr).id;
  const std::string c = AddContact("Cid", nullptr).id;
  {
    const support::FullDisk full(std::filesystem::file_size(ContactLog()) + 10);
    EXPECT_EQ(Record(b, anchor), OsifResult{OSIF_ERR_GENERAL});
    EXPECT_EQ(anchor.cc, 2u);
    EXPECT_EQ(Record(c, anchor), OsifResult{OSIF_ERR_GENERAL});
    EXPECT_EQ(anchor.cc, 3u);
    EXPECT_EQ(Anchor().cc, 1u) << "what is in the log";
  }
  const std::string d = AddContact("Dan", &anchor).id;
  EXPECT_EQ(anchor.cc, 4u);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 4 " + d));
  Close();
  Open();
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 4 " + d, "M 5 " + b, "M 6 " + c));
  EXPECT_EQ(ChangesSince(MakeAnchor(1), OSIF_STORE_PB).front(), "gap")
      << "counters were handed out that no entry has";
  EXPECT_NE(ChangesSince(MakeAnchor(3), OSIF_STORE_PB).front(), "gap");
}

TEST_F(RecordedChanges, BeginANewSeriesWhenOneIsMissingThatNoComparisonFinds) {
  EXPECT_EQ(Open(kMailStore), OsifResult{OSIF_ERR_NOT_IMPLEMENTED});
  OsifAnchor anchor{};
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "a", 0, {}}, &anchor), kOk);
  const std::string id = Id(kMailStore);
  {
    const support::FullDisk full(std::filesystem::file_size(MailLog()) + 10);
    EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "b", 0, {}}, &anchor),
              OsifResult{OSIF_ERR_GENERAL});
  }
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "c", 0, {}}, &anchor), kOk);
  const std::string new_id = Id(kMailStore);
  EXPECT_NE(new_id, id);
  Close(kMailStore);
  Open(kMailStore);
  EXPECT_EQ(Id(kMailStore), new_id);
  EXPECT_THAT(Entries(MailLog()), ElementsAre("M 1 a", "M 3 c"));
}

TEST_F(RecordedChanges, FindNoRoomWhileTheyAreComparedAndTellTheRestAtTheNextOpenWithoutAGap) {
  OtherProgram other;
  for (int i = 0; i < 20; ++i) other.Add("Ann" + std::to_string(i));
  Open();
  Close();
  const std::string id = (Open(), Id(OSIF_STORE_PB));
  Close();
  for (int i = 0; i < 20; ++i) other.Add("Bob" + std::to_string(i));
  {
    const support::FullDisk full(std::filesystem::file_size(ContactLog()) + 100);
    EXPECT_EQ(Open(), kOk);
  }
  EXPECT_EQ(Anchor().cc, 23u);
  Close();
  Open();
  EXPECT_EQ(Anchor().cc, 40u);
  EXPECT_EQ(Id(OSIF_STORE_PB), id);
  EXPECT_THAT(ChangesSince(MakeAnchor(20), OSIF_STORE_PB), testing::SizeIs(21));
  EXPECT_NE(ChangesSince(MakeAnchor(20), OSIF_STORE_PB).front(), "gap");
}

TEST_F(RecordedChanges, EndWithALogThatCannotBeCutBackAndBeginANewSeries) {
  Open();
  OsifAnchor anchor{};
  const std::string a = AddContact("Ann", &anchor).id;
  const std::string b = AddContact("Bob", nullptr).id;
  const std::string id = Id(OSIF_STORE_PB);
  {
    FailSettingEnds(true);
    const support::FullDisk full(std::filesystem::file_size(ContactLog()) + 10);
    EXPECT_EQ(Record(b, anchor), OsifResult{OSIF_ERR_GENERAL});
    FailSettingEnds(false);
  }
  EXPECT_EQ(Record(b, anchor), OsifResult{OSIF_ERR_GENERAL}) << "though there is room again";
  EXPECT_FALSE(FileExists(Path("pol_pb_databaseid.log")));
  EXPECT_EQ(Close(), kOk);
  Open();
  EXPECT_NE(Id(OSIF_STORE_PB), id);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 " + a, "M 2 " + b));
}

// A file system of its own that is really full.
class SmallDisk {
 public:
  // In a process of its own: the mount ends with it.
  explicit SmallDisk(const std::string& folder)
      : is_there_(unshare(CLONE_NEWNS) == 0 &&
                  mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                  mount("none", folder.c_str(), "tmpfs", 0, "size=64k") == 0),
        filler_(folder + "/filler") {}
  bool is_there() const { return is_there_; }
  void Fill() const {
    const int file = open(filler_.c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600);
    const std::string bytes(1024, 'f');
    while (write(file, bytes.data(), bytes.size()) > 0) {
    }
    EXPECT_EQ(errno, ENOSPC);
    close(file);
  }
  void Free() const { std::filesystem::remove(filler_); }

 private:
  bool is_there_;
  std::string filler_;
};

TEST_F(RecordedChanges, TellsEveryChangeAfterADiskWasFullAndFreedAgain) {
  POL_Close();
  device::CloseDatabase();
  pim_test::OtherProcess program([this](int place) {
    const SmallDisk disk(device_.Path("Sync"));
    pim_test::Tell(place, disk.is_there() ? 1 : 0);
    if (!disk.is_there()) return;
    POL_Open();
    EXPECT_EQ(Open(), kOk);
    OsifAnchor anchor{};
    EXPECT_EQ(AddContact("Ann", &anchor).result, kOk);
    const uint32_t seen = anchor.cc;
    disk.Fill();
    int refused = 0;
    for (int i = 0; i < 300; ++i) {
      const support::LibraryCall added = AddContact("Bob" + std::to_string(i), &anchor);
      refused += added.result == OSIF_OK ? 0 : 1;
    }
    EXPECT_GT(refused, 0);
    EXPECT_LT(refused, 300) << "the rest of the log's last block has room for some";
    disk.Free();
    for (int i = 0; i < 10; ++i) {
      EXPECT_EQ(AddContact("Cid" + std::to_string(i), &anchor).result, kOk);
    }
    EXPECT_EQ(Close(), kOk);
    EXPECT_EQ(Open(), kOk);
    const std::vector<std::string> changes = ChangesSince(MakeAnchor(seen), OSIF_STORE_PB);
    std::set<std::string> told;
    for (const std::string& change : changes) told.insert(change.substr(change.rfind(':') + 1));
    EXPECT_EQ(changes.size(), 311u) << "each one, and the end";
    EXPECT_EQ(told.size(), 311u);
    EXPECT_EQ(changes.back(), "end");
    pim_test::Tell(place, testing::Test::HasFailure() ? 0 : 1);
  });
  if (program.Read() == 0) GTEST_SKIP() << "no file system can be mounted here";
  EXPECT_EQ(program.Read(), 1);
}

class TimeStamp : public support::ChangeLogTest, public testing::WithParamInterface<const char*> {};

TEST_P(TimeStamp, OfAChangeIsTheTimeInUtc) {
  support::TimeZone zone(GetParam());
  Open(kMailStore);
  const time_t before = std::time(nullptr);
  OsifAnchor anchor{};
  EXPECT_EQ(pol_RecordChange(kMailStore, {kChangeModified, "a", 0, {}}, &anchor), kOk);
  OtherProgram().Add("Ann");
  Open();
  const time_t after = std::time(nullptr);
  for (const std::string& stamp : {std::string(anchor.ts), std::string(Anchor().ts)}) {
    std::tm utc{};
    ASSERT_NE(strptime(stamp.c_str(), "%Y%m%dT%H%M%SZ", &utc), nullptr) << stamp;
    EXPECT_EQ(stamp.size(), 16u);
    EXPECT_GE(timegm(&utc), before - 1) << stamp;
    EXPECT_LE(timegm(&utc), after + 1) << stamp;
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, TimeStamp, testing::ValuesIn(support::kFiveZones));

// ---- Failures of the PIM ----------------------------------------------------------------------------

struct WithFakePim {
  support::FakePim pim_;
};

// The fake outlives the logs, which are closed by the fixture.
class ChangeLogOfAFailingPim : public WithFakePim, public support::ChangeLogTest {};

TEST_F(ChangeLogOfAFailingPim, OpensWithAPimErrorWhenTheItemsCannotBeRead) {
  pim_.Keep({{"FirstName", u"Ann"}});
  pim_.faults.item = E_FAIL;
  EXPECT_EQ(Open(), OsifResult{OSIF_ERR_PIM});
  EXPECT_EQ(BytesOf(ContactLog()), "");
  pim_.faults.item = S_OK;
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 00000001"));
}

TEST_F(ChangeLogOfAFailingPim, KeepsTheSavedSnapshotWhenTheItemsCannotBeReadAtClosing) {
  pim_.Keep({{"FirstName", u"Ann"}});
  Open();
  Close();
  const std::string saved = BytesOf(Path("pol_pb_object.log"));
  pim_.Keep({{"FirstName", u"Bob"}});
  Open();
  pim_.faults.get_count = E_FAIL;
  EXPECT_EQ(Close(), OsifResult{OSIF_ERR_PIM});
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), saved);
  pim_.faults.get_count = S_OK;
}

TEST_F(ChangeLogOfAFailingPim, KnowsAlsoWhatTheCloseCutOffWhenItCouldNotSaveTheSnapshot) {
  for (int i = 0; i < 300; ++i) pim_.Keep({{"FirstName", u"Ann"}});
  Open();
  pim_.faults.get_count = E_FAIL;
  EXPECT_EQ(Close(), OsifResult{OSIF_ERR_PIM});
  pim_.faults.get_count = S_OK;
  ASSERT_EQ(ContactEntries().front(), "M 51 00000033");
  EXPECT_EQ(DeleteContact("00000007", nullptr), kOk);
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(ContactEntries().back(), "H 600 00000007");
  EXPECT_EQ(Close(), kOk);
  EXPECT_FALSE(FileExists(Path("pol_pb_cut.log")));
}

TEST_F(ChangeLogOfAFailingPim, DoesNotForgetAnItemWhenTheStoreCouldNotBeReadAtOpening) {
  pim_.Keep({{"FirstName", u"Ann"}});
  Open();
  Close();
  pim_.Keep({{"FirstName", u"Bob"}});
  pim_.faults.get_items = E_FAIL;
  EXPECT_EQ(Open(), OsifResult{OSIF_ERR_PIM});
  pim_.faults.get_items = S_OK;
  Close();
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("M 1 00000001", "M 2 00000002"));
}

TEST_F(ChangeLogOfAFailingPim, TellsTheEndOfAnItemThatWentAfterTheStoreCouldNotBeReadAtOpening) {
  pim_.Keep({{"FirstName", u"Ann"}});
  Open();
  Close();
  pim_.faults.get_items = E_FAIL;
  EXPECT_EQ(Open(), OsifResult{OSIF_ERR_PIM});
  pim_.faults.get_items = S_OK;
  Close();
  PutBytes(ContactLog(), "H:7:20050314T101500Z:000000ff\n");  // the entry of Ann has been purged
  pim_.contacts.clear();
  EXPECT_EQ(Open(), kOk);
  EXPECT_THAT(ContactEntries(), ElementsAre("H 7 000000ff", "H 8 00000001"));
}

TEST_F(ChangeLogOfAFailingPim, RecordsNothingWhenAnItemCannotBeSaved) {
  Open();
  pim_.faults.save = E_FAIL;
  OsifAnchor anchor{};
  EXPECT_EQ(AddContact("Ann", &anchor).result, OsifResult{OSIF_ERR_PIM});
  EXPECT_EQ(BytesOf(ContactLog()), "");
}

TEST_F(ChangeLogOfAFailingPim, ReadsTheCalendarsTwoFoldersIntoOneSnapshot) {
  EXPECT_EQ(Open(OSIF_STORE_CAL), kOk);
  EXPECT_EQ(Close(OSIF_STORE_CAL), kOk);
  EXPECT_THAT(pim_.folders_asked, ElementsAre(9, 13, 9, 13));
  EXPECT_TRUE(FileExists(Path("pol_cal_change.log")));
  EXPECT_TRUE(FileExists(Path("pol_cal_object.log")));
}

}  // namespace
}  // namespace pol_changelog_record_test
