// The adapter on the embedded device: messages are added, found, read and changed in its three
// folders.
#include <signal.h>

#include "mapi/mapi_mail.h"
#include "platform/device/database.h"
#include "tests/mapi/mapi_fixture.h"
#include "tests/platform/device/mail/fixture.h"
#include "tests/platform/device/other_process.h"

namespace mapi_device_test {
namespace {

using namespace support;
using pim_test::OtherProcess;
using pim_test::Tell;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kDate[] = "Wed, 02 Jan 2002 10:11:12 +0000";

struct StoreFolder {
  int32_t store;
  const char* name;
};

MailRecord& FillAll(MailRecord& record) {
  return record.Subject("Caf\xE9")
      .Date(kDate)
      .Body("Hello,\nworld")
      .From("ann@example.org")
      .To("bob@example.org")
      .Cc("cat@example.org");
}

class MapiDevice : public MapiAdapterTest {
 protected:
  std::string Add(MailRecord& record) {
    MailId id;
    EXPECT_EQ(Code(MAPI_AddMail(*record, id.text)), OSIF_OK);
    return id.text;
  }
  std::string Find(std::string_view subject, std::string_view folder,
                   std::string_view date = kDate) {
    MailRecord record;
    record.Subject(subject).Date(date).Folder(folder);
    char id[OSIF_ID_SIZE] = "";
    return MAPI_FindMail(*record, id) ? id : "-";
  }
  std::string Subject(const std::string& id, int32_t store = OSIF_STORE_MSG_IN) {
    OwnedObject record(store);
    EXPECT_EQ(Code(MAPI_GetMailById(store, id.c_str(), *record)), OSIF_OK);
    return record->message.subject;
  }
  // The subjects of the Inbox, as another program sees them.
  std::vector<std::u16string> Inbox() {
    mapi_test::Program program;
    program.Open();
    EXPECT_TRUE(program.inbox);
    return mapi_test::Subjects(*program.inbox);
  }
};

class MapiDeviceFolder : public MapiDevice, public testing::WithParamInterface<StoreFolder> {};

TEST_P(MapiDeviceFolder, AMessageIsAddedFoundReadChangedAndReadAgain) {
  const auto [store, folder] = GetParam();
  MailRecord added;
  const std::string id = Add(FillAll(added.Folder(folder)));
  EXPECT_EQ(id.size(), 32u);
  EXPECT_EQ(id.find_first_not_of("0123456789ABCDEF"), std::string::npos);
  EXPECT_EQ(Find("Caf\xE9", folder), id);

  OwnedObject read(store);
  ASSERT_EQ(Code(MAPI_GetMailById(store, id.c_str(), *read)), OSIF_OK);
  EXPECT_STREQ(read->message.subject, "Caf\xE9");
  EXPECT_STREQ(read->message.date, "Wed, 02 Jan 2002 10:11:12 UT");
  EXPECT_STREQ(read->message.part.bodyText, "Hello,\nworld");
  EXPECT_STREQ(read->message.xIrmcStatus, "READ");
  EXPECT_STREQ(read->message.from, "ann@example.org");
  EXPECT_STREQ(read->message.to, "bob@example.org");
  EXPECT_STREQ(read->message.ccAddresses, "cat@example.org");
  EXPECT_STREQ(read->message.xBtFolder, folder);
  EXPECT_EQ(read->xIrmcLuid, id);

  MailRecord changed;
  changed.Folder(folder).Subject("Dinner").Body("Bye").To("dan@example.org");
  EXPECT_EQ(Code(MAPI_ModifyMail(*changed, id.c_str())), OSIF_OK);
  EXPECT_EQ(Find("Caf\xE9", folder), "-");
  EXPECT_EQ(Find("Dinner", folder), id);

  OwnedObject again(store);
  ASSERT_EQ(Code(MAPI_GetMailById(store, id.c_str(), *again)), OSIF_OK);
  EXPECT_STREQ(again->message.subject, "Dinner");
  EXPECT_STREQ(again->message.date, "Wed, 02 Jan 2002 10:11:12 UT");
  EXPECT_STREQ(again->message.part.bodyText, "Bye");
  EXPECT_STREQ(again->message.from, "ann@example.org");
  EXPECT_STREQ(again->message.to, "dan@example.org");
  EXPECT_STREQ(again->message.ccAddresses, "cat@example.org");
}

TEST_P(MapiDeviceFolder, TheSameMessageIsFoundWithAndWithoutATrace) {
  std::vector<std::string> ids;
  for (const char* subject : {"Lunch", "lunch", "Lunch"}) {
    MailRecord record;
    ids.push_back(Add(record.Folder(GetParam().name).Subject(subject).Date(kDate)));
  }
  MailRecord without_date;
  const std::string dateless = Add(without_date.Folder(GetParam().name).Subject("Lunch"));
  constexpr char kOtherDate[] = "Wed, 02 Jan 2002 10:11:13 +0000";
  const auto find_all = [&] {
    return std::vector<std::string>{Find("Lunch", GetParam().name), Find("lunch", GetParam().name),
                                    Find("LUNCH", GetParam().name),
                                    Find("Lunch", GetParam().name, kOtherDate),
                                    Find("Lunch", GetParam().name, "")};
  };
  const auto expected = ElementsAre(ids[0], ids[1], "-", "-", dateless);
  ASSERT_TRUE(OSIF_IsTraced());
  EXPECT_THAT(find_all(), expected);
  trace_.reset();
  ASSERT_FALSE(OSIF_IsTraced());
  EXPECT_THAT(find_all(), expected);
}

// Two text messages of a telephone that writes no date.
TEST_P(MapiDeviceFolder, MessagesWithoutADateAreToldApartByTheirSenderAndBody) {
  const auto fill = [](MailRecord& record, const char* sender, const char* body) -> MailRecord& {
    return record.Folder(GetParam().name).From(sender).Body(body);
  };
  MailRecord first, second, third;
  const std::string ids[] = {Add(fill(first, "ann", "At one?\n")),
                             Add(fill(second, "bob", "At one?\n")),
                             Add(fill(third, "ann", "At two?\n"))};
  const auto find = [](MailRecord& record) {
    MailId id;
    return std::string(MAPI_FindMail(*record, id.text) ? id.text : "-");
  };
  MailRecord other;
  EXPECT_EQ(find(first), ids[0]);
  EXPECT_EQ(find(second), ids[1]);
  EXPECT_EQ(find(third), ids[2]);
  EXPECT_EQ(find(fill(other, "bob", "At two?\n")), "-");
}

TEST_P(MapiDeviceFolder, AMessageIsInItsFolderOnly) {
  MailRecord record;
  Add(record.Folder(GetParam().name).Subject("Lunch").Date(kDate));
  for (const char* folder : {"INBOX", "SENTBOX", "OUTBOX"}) {
    EXPECT_EQ(Find("Lunch", folder) != "-", std::string(folder) == GetParam().name) << folder;
  }
}

INSTANTIATE_TEST_SUITE_P(Folders, MapiDeviceFolder,
                         testing::Values(StoreFolder{OSIF_STORE_MSG_IN, "INBOX"},
                                         StoreFolder{OSIF_STORE_MSG_SENT, "SENTBOX"},
                                         StoreFolder{OSIF_STORE_MSG_OUT, "OUTBOX"}));

TEST_F(MapiDevice, StartsWithoutATraceLine) {
  EXPECT_EQ(Code(mapi_Initialize()), OSIF_OK);
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(MapiDevice, AMessageOutlivesTheSession) {
  MailRecord record;
  const std::string id = Add(FillAll(record));
  EXPECT_EQ(Code(MAPI_DeInit()), OSIF_OK);
  EXPECT_EQ(Subject(id), "Caf\xE9");
}

TEST_F(MapiDevice, TheFlagsAreStored) {
  MailRecord read, unread;
  const std::string ids[] = {Add(read.Status("READ")), Add(unread.Status("UNREAD"))};
  EXPECT_EQ(Code(MAPI_DeInit()), OSIF_OK);
  mapi_test::Program program;
  program.Open();
  LONG expected = 0x21;
  for (const std::string& id : ids) {
    std::string bytes;
    for (size_t i = 0; i < id.size(); i += 2) {
      bytes += static_cast<char>(std::stoi(id.substr(i, 2), nullptr, 16));
    }
    const auto message = mapi_test::Open(*program.inbox, bytes);
    EXPECT_EQ(mapi_test::Get(*message, {PR_MESSAGE_FLAGS})[0].Value.l, expected);
    expected = 0x20;
  }
}

TEST_F(MapiDevice, AMessageWithThreeToRecipientsReadsBackWithOnlyTheLastInTheToList) {
  MailRecord record;
  const std::string id = Add(record.To("a@example.org; b@example.org; c@example.org"));
  OwnedObject read(OSIF_STORE_MSG_IN);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, id.c_str(), *read)), OSIF_OK);
  EXPECT_STREQ(read->message.to, "c@example.org");
}

TEST_F(MapiDevice, AChangeAddsItsRecipients) {
  MailRecord record;
  const std::string id = Add(record.To("a@example.org"));
  MailRecord change;
  EXPECT_EQ(Code(MAPI_ModifyMail(*change.To("b@example.org"), id.c_str())), OSIF_OK);
  mapi_test::Program program;
  program.Open();
  std::string bytes;
  for (size_t i = 0; i < id.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(id.substr(i, 2), nullptr, 16));
  }
  EXPECT_THAT(mapi_test::Addresses(*mapi_test::Open(*program.inbox, bytes)),
              ElementsAre(u"a@example.org", u"b@example.org"));
}

TEST_F(MapiDevice, AMessageWithoutRecipientsIsReadWithALineOfTheTrace) {
  MailRecord record;
  const std::string id = Add(record.Subject("Lunch").Body("Hello"));
  Trace();
  EXPECT_EQ(Subject(id), "Lunch");
  EXPECT_THAT(Trace(),
              ElementsAre(testing::StartsWith("MAPI:  MAPI_GetMailById("),
                          "MAPI:  lpMapiMessage->GetMsgStoresTable failed with code: -2147219961"));
}

TEST_F(MapiDevice, IdsThatNameNoMessageAreErrors) {
  MailRecord record;
  std::string id = Add(record.Subject("Lunch"));
  OwnedObject read(OSIF_STORE_MSG_IN);
  id.back() = id.back() == '9' ? '8' : '9';
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, id.c_str(), *read)), OSIF_ERR_PIM);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, "00", *read)), OSIF_ERR_PIM);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, (id + "0").c_str(), *read)),
            OSIF_ERR_INVALID_ID);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, (id + "0x").c_str(), *read)),
            OSIF_ERR_INVALID_ID);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, std::string(2 << 20, '0').c_str(), *read)),
            OSIF_ERR_PIM);
}

TEST_F(MapiDevice, TheIdOfAFolderIsNoMessage) {
  mapi_test::Program program;
  program.Open();
  const std::string id = HexBytes(mapi_test::EntryId(*program.inbox));
  OwnedObject read(OSIF_STORE_MSG_IN);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, id.c_str(), *read)), OSIF_ERR_PIM);
  EXPECT_THAT(Trace(), ElementsAre(testing::StartsWith("MAPI:  MAPI_GetMailById("),
                                   "MAPI:  ulObjType of OpenEntry on Mailbox != MAPI_MESSAGE",
                                   testing::StartsWith("MAPI:  mapi_GetById(")));
}

TEST_F(MapiDevice, FindsTheLastOfAHundredAndOneMessages) {
  for (int i = 0; i < 100; ++i) {
    MailRecord record;
    Add(record.Subject("Lunch").Date("Wed, 02 Jan 2002 10:11:13 +0000"));
  }
  MailRecord record;
  const std::string id = Add(record.Subject("Lunch").Date(kDate));
  EXPECT_EQ(Find("Lunch", "INBOX"), id);
}

TEST_F(MapiDevice, AMegabyteOfBodyComesBack) {
  std::string body;
  for (int i = 0; i < 1 << 17; ++i) body += "1234567\n";
  MailRecord record;
  const std::string id = Add(record.Body(body));
  OwnedObject read(OSIF_STORE_MSG_IN);
  EXPECT_EQ(Code(MAPI_GetMailById(OSIF_STORE_MSG_IN, id.c_str(), *read)), OSIF_OK);
  ASSERT_NE(read->message.part.bodyText, nullptr);
  EXPECT_TRUE(read->message.part.bodyText == body);
}

TEST_F(MapiDevice, ADeviceThatCannotBeUsedIsAnErrorOfTheStore) {
  device::CloseDatabase();
  TempEnvironment nowhere("OSIF_DEVICE", "/dev/null/device");
  MailRecord record;
  EXPECT_EQ(Code(MAPI_AddMail(*record, nullptr)), OSIF_ERR_PIM);
  EXPECT_EQ(Code(MAPI_NotImplemented()), OSIF_ERR_PIM);
  EXPECT_FALSE(MAPI_FindMail(*record, nullptr));
}

// ---- Whole or not at all ------------------------------------------------------------------------

// In another process: tells when a message is added, or is killed when the store writes to `table`.
void AddUntilKilled(const char* table, int place) {
  static const char* killed_at;
  killed_at = table;
  mapi_Initialize();
  sqlite3_update_hook(
      device::OpenDatabase()->handle(),
      [](void*, int, const char*, const char* written, sqlite3_int64) {
        if (std::string_view(written) == killed_at) kill(getpid(), SIGKILL);
      },
      nullptr);
  Tell(place, 1);
  MailRecord record;
  FillAll(record);
  if (MAPI_AddMail(*record, nullptr) == OSIF_OK) Tell(place, 2);
  kill(getpid(), SIGKILL);
}

class MapiDeviceKill : public MapiDevice, public testing::WithParamInterface<const char*> {
 protected:
  // What the other process told last.
  int Run(const char* table) {
    device::CloseDatabase();
    OtherProcess other([&](int place) { AddUntilKilled(table, place); });
    int last = 0;
    for (int told = other.Read(); told != -1; told = other.Read()) last = told;
    return last;
  }
};

TEST_P(MapiDeviceKill, AMessageThatIsNotWholeNeverAppears) {
  EXPECT_EQ(Run(GetParam()), 1);
  EXPECT_THAT(Inbox(), IsEmpty());
  EXPECT_EQ(Find("Caf\xE9", "INBOX"), "-");
  MailRecord record;
  EXPECT_EQ(Subject(Add(record.Subject("later"))), "later");
}

INSTANTIATE_TEST_SUITE_P(Tables, MapiDeviceKill, testing::Values("mapi_messages", "mapi_bodies"));

TEST_F(MapiDeviceKill, AMessageThatWasAnsweredForIsThereAfterTheProcessDied) {
  EXPECT_EQ(Run("no table"), 2);
  EXPECT_THAT(Inbox(), ElementsAre(u"Caf\u00E9"));
}

TEST_F(MapiDevice, AMessageThatTheStoreRefusesIsAnErrorAndDoesNotAppear) {
  ASSERT_EQ(Code(mapi_Initialize()), OSIF_OK);
  ASSERT_EQ(device::OpenDatabase()->Execute("CREATE TEMP TRIGGER refuse BEFORE INSERT ON "
                                            "mapi_messages BEGIN SELECT RAISE(ABORT, 'no'); END"),
            SQLITE_OK);
  MailRecord record;
  MailId id;
  EXPECT_EQ(Code(MAPI_AddMail(*FillAll(record), id.text)), OSIF_ERR_PIM);
  EXPECT_EQ(Find("Caf\xE9", "INBOX"), "-");
  ASSERT_EQ(device::OpenDatabase()->Execute("DROP TRIGGER refuse"), SQLITE_OK);
  EXPECT_EQ(Find("Caf\xE9", "INBOX"), "-");
}

}  // namespace
}  // namespace mapi_device_test
