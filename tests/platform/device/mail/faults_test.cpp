// What the message store does when writing fails, programs share the device, or one is killed.
#include "tests/platform/device/mail/fixture.h"
#include "tests/platform/device/other_process.h"

namespace mail_faults_test {
namespace {

using namespace mapi_test;
using pim_test::OtherProcess;
using pim_test::Tell;
using testing::ElementsAre;

// The steps of filling a message; a program is killed after one of them.
enum Step { kCreated, kSubject, kTime, kBody, kFlags, kRecipients, kEntryId, kSaved, kReleased };

// In another process, which has no test to fail. Tells when it has come to the step, and is killed.
void FillUntil(Step last, IMAPIFolder& folder, ComPtr<IMessage> message, int place) {
  auto reached = [&](Step step) {
    if (step != last) return;
    Tell(place, step);
    kill(getpid(), SIGKILL);
  };
  if (!message) folder.CreateMessage(nullptr, 0, message.put());
  reached(kCreated);
  Set(*message, Text(PR_SUBJECT, u"new"));
  reached(kSubject);
  Set(*message, Time(PR_MESSAGE_DELIVERY_TIME, 1, 2));
  reached(kTime);
  WriteBody(*message, std::string(100000, 'n'));
  reached(kBody);
  Set(*message, Number(PR_MESSAGE_FLAGS, MSGFLAG_FROMME));
  reached(kFlags);
  AddRecipients(*message, {{MAPI_TO, u"new"}});
  reached(kRecipients);
  EntryId(*message);
  reached(kEntryId);
  if (last == kSaved) message->SaveChanges(0);
  reached(kSaved);
  message.reset();
  reached(kReleased);
}

class MapiKill : public MapiTest, public testing::WithParamInterface<Step> {
 protected:
  bool IsStored() const { return GetParam() >= kSaved; }
};

TEST_P(MapiKill, LeavesANewMessageWholeOrNotAtAll) {
  const std::string before = Store(u"old");
  program_.reset();
  {
    OtherProcess other([&](int place) {
      Program program;
      program.Open();
      FillUntil(GetParam(), *program.inbox, {}, place);
    });
    ASSERT_EQ(other.Read(), GetParam());
    ASSERT_EQ(other.Read(), -1);  // it ended
  }
  Start();
  if (IsStored()) {
    EXPECT_THAT(Subjects(inbox()), ElementsAre(u"old", u"new"));
  } else {
    EXPECT_THAT(Subjects(inbox()), ElementsAre(u"old"));
  }
  // The id that the killed program held is not given again.
  const std::string after = Store(u"later");
  EXPECT_EQ(after.back(), before.back() + 2);
}

TEST_P(MapiKill, LeavesAModifiedMessageAsItWasOrWholeInItsNewForm) {
  std::string id;
  {
    const ComPtr<IMessage> message = NewMessage(inbox());
    Set(*message, Text(PR_SUBJECT, u"old"));
    WriteBody(*message, "o");
    AddRecipients(*message, {{MAPI_TO, u"old"}});
    id = EntryId(*message);
  }
  program_.reset();
  {
    OtherProcess other([&](int place) {
      Program program;
      program.Open();
      FillUntil(GetParam(), *program.inbox, Open(*program.inbox, id), place);
    });
    ASSERT_EQ(other.Read(), GetParam());
    ASSERT_EQ(other.Read(), -1);
  }
  Start();
  const ComPtr<IMessage> message = Open(inbox(), id);
  if (IsStored()) {
    EXPECT_EQ(Subject(*message), u"new");
    EXPECT_EQ(ReadBody(*message), std::string(100000, 'n'));
    EXPECT_THAT(Addresses(*message), ElementsAre(u"old", u"new"));
  } else {
    EXPECT_EQ(Subject(*message), u"old");
    EXPECT_EQ(ReadBody(*message), "o");
    EXPECT_THAT(Addresses(*message), ElementsAre(u"old"));
  }
}

INSTANTIATE_TEST_SUITE_P(Steps, MapiKill,
                         testing::Values(kCreated, kSubject, kTime, kBody, kFlags, kRecipients,
                                         kEntryId, kSaved, kReleased));

using MapiKillWhileStoring = MapiTest;

TEST_F(MapiKillWhileStoring, LeavesNothingOfAMessageThatWasNotAnsweredFor) {
  program_.reset();
  {
    OtherProcess other([](int place) {
      Program program;
      program.Open();
      ComPtr<IMessage> message = NewMessage(*program.inbox);
      Set(*message, Text(PR_SUBJECT, u"new"));
      WriteBody(*message, std::string(100000, 'n'));
      // The body is the last to be written.
      sqlite3_update_hook(
          device::OpenDatabase()->handle(),
          [](void*, int, const char*, const char* table, sqlite3_int64) {
            if (std::string_view(table) == "mapi_bodies") kill(getpid(), SIGKILL);
          },
          nullptr);
      Tell(place, 1);
      message->SaveChanges(0);
      Tell(place, 2);
    });
    ASSERT_EQ(other.Read(), 1);
    ASSERT_EQ(other.Read(), -1);
  }
  Start();
  EXPECT_THAT(Subjects(inbox()), ElementsAre());
  Store(u"later");
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"later"));
}

class MapiFaults : public MapiTest {
 protected:
  // Creating and changing fail with one result and leave the store as it was. The new message was
  // created before the trouble began.
  void ExpectNothingCanBeWritten(ComPtr<IMessage> created, const std::string& id,
                                 HRESULT expected) {
    ComPtr<IMessage> another;
    EXPECT_EQ(inbox().CreateMessage(nullptr, 0, another.put()), expected);
    EXPECT_FALSE(another);
    EXPECT_EQ(created->SaveChanges(0), expected);
    created.reset();
    ComPtr<IMessage> changed = Open(inbox(), id);
    Set(*changed, Text(PR_SUBJECT, u"changed"));
    EXPECT_EQ(changed->SaveChanges(0), expected);
    changed.reset();
    EXPECT_THAT(Subjects(inbox()), ElementsAre(u"old"));
  }

  ComPtr<IMessage> Created() {
    ComPtr<IMessage> created = NewMessage(inbox());
    Set(*created, Text(PR_SUBJECT, u"created"));
    return created;
  }

  // Another program that keeps the database locked until it ends.
  std::unique_ptr<OtherProcess> Lock() {
    const std::string path = device_.Path("device.db");
    auto other = std::make_unique<OtherProcess>([path](int place) {
      sqlite3* database = nullptr;
      if (sqlite3_open(path.c_str(), &database) != SQLITE_OK) _exit(1);
      Tell(place, sqlite3_exec(database, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
      pause();
    });
    EXPECT_EQ(other->Read(), SQLITE_OK);
    sqlite3_busy_timeout(device::OpenDatabase()->handle(), 50);  // milliseconds
    return other;
  }
};

TEST_F(MapiFaults, ADatabaseThatAnotherProgramKeepsLockedRefusesEveryChange) {
  const std::string id = Store(u"old");
  ComPtr<IMessage> created = Created();
  {
    const std::unique_ptr<OtherProcess> lock = Lock();
    ExpectNothingCanBeWritten(std::move(created), id, MAPI_E_BUSY);
  }
  Store(u"later");
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"old", u"later"));
}

TEST_F(MapiFaults, AReadOnlyDatabaseRefusesEveryChange) {
  const std::string id = Store(u"old");
  ComPtr<IMessage> created = Created();
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA query_only=ON"), SQLITE_OK);
  ExpectNothingCanBeWritten(std::move(created), id, MAPI_E_NO_ACCESS);
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA query_only=OFF"), SQLITE_OK);
  Store(u"later");
}

TEST_F(MapiFaults, AFullDiskRefusesALargeMessageWhole) {
  const std::string id = Store(u"old");
  ComPtr<IMessage> created = Created();
  ASSERT_EQ(WriteBody(*created, std::string(1000000, 'b')), S_OK);
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA max_page_count=1"), SQLITE_OK);  // no more
  EXPECT_EQ(created->SaveChanges(0), MAPI_E_NOT_ENOUGH_DISK);
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"old"));
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA max_page_count=1000000"), SQLITE_OK);
  EXPECT_EQ(created->SaveChanges(0), S_OK);  // it still holds all
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"old", u"created"));
  EXPECT_EQ(ReadBody(*created), std::string(1000000, 'b'));
}

TEST_F(MapiFaults, AfterAFailedSaveTheReleaseStoresNothing) {
  ComPtr<IMessage> created = Created();
  {
    const std::unique_ptr<OtherProcess> lock = Lock();
    EXPECT_EQ(created->SaveChanges(0), MAPI_E_BUSY);
  }
  created.reset();
  EXPECT_THAT(Subjects(inbox()), ElementsAre());
}

TEST_F(MapiFaults, AnErrorRecordHasTheDatabasesOwnCode) {
  ComPtr<IMessage> created = Created();
  const std::unique_ptr<OtherProcess> lock = Lock();
  ASSERT_EQ(created->SaveChanges(0), MAPI_E_BUSY);
  LPMAPIERROR error = nullptr;
  ASSERT_EQ(created->GetLastError(MAPI_E_BUSY, MAPI_UNICODE, &error), S_OK);
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(std::u16string(error->lpszError), u"Another program keeps the message store locked.");
  EXPECT_EQ(error->ulLowLevelError, 5u);  // SQLITE_BUSY
  MAPIFreeBuffer(error);
}

TEST_F(MapiFaults, AMessageThatWasDeletedMeanwhileDoesNotComeBack) {
  const std::string id = Store(u"old");
  ComPtr<IMessage> message = Open(inbox(), id);
  ASSERT_EQ(device::OpenDatabase()->Execute("DELETE FROM mapi_messages"), SQLITE_OK);
  Set(*message, Text(PR_SUBJECT, u"changed"));
  EXPECT_EQ(message->SaveChanges(0), MAPI_E_OBJECT_DELETED);
  message.reset();
  EXPECT_THAT(Subjects(inbox()), ElementsAre());
}

TEST_F(MapiFaults, ADamagedStoreFailsTheCallsAndNothingElse) {
  ASSERT_EQ(device::OpenDatabase()->Execute("DROP TABLE mapi_messages"), SQLITE_OK);
  ComPtr<IMAPITable> table;
  EXPECT_EQ(inbox().GetContentsTable(0, table.put()), MAPI_E_CALL_FAILED);
  EXPECT_FALSE(table);
}

TEST_F(MapiFaults, TwoProgramsStoreMessagesAtTheSameTimeUnderIdsOfTheirOwn) {
  constexpr int kMessages = 50;
  program_.reset();
  auto store = [](int place) {
    Program program;
    program.Open();
    for (int i = 0; i < kMessages; ++i) {
      ComPtr<IMessage> message = NewMessage(*program.inbox);
      Set(*message, Text(PR_SUBJECT, u"x"));
      Tell(place, message->SaveChanges(0));
    }
  };
  {
    OtherProcess first(store);
    OtherProcess second(store);
    for (int i = 0; i < kMessages; ++i) {
      EXPECT_EQ(first.Read(), S_OK);
      EXPECT_EQ(second.Read(), S_OK);
    }
  }
  Start();
  EXPECT_EQ(Subjects(inbox()).size(), 2u * kMessages);
}

TEST_F(MapiFaults, SeesWhatAnotherProgramStoresMeanwhile) {
  program_.reset();
  OtherProcess other([](int place) {
    Program program;
    program.Open();
    ComPtr<IMessage> message = NewMessage(*program.inbox);
    Tell(place, Set(*message, Text(PR_SUBJECT, u"theirs")));
    usleep(500000);
    Tell(place, message->SaveChanges(0));
  });
  ASSERT_EQ(other.Read(), S_OK);
  Start();
  EXPECT_THAT(Subjects(inbox()), ElementsAre());
  ASSERT_EQ(other.Read(), S_OK);
  EXPECT_THAT(Subjects(inbox()), ElementsAre(u"theirs"));
}

}  // namespace
}  // namespace mail_faults_test
