// Opening and closing a change log.
#include "BtOsif_pol/pol_changelog.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <map>
#include <memory>
#include <set>

#include "btosif/osif_util/log_folder_use.h"
#include "platform/device/device.h"
#include "platform/posix/fault_injection.h"
#include "tests/BtOsif_pol/changelog_fixture.h"
#include "tests/platform/device/other_process.h"
#include "tests/support/trace_receiver.h"

namespace pol_changelog_test {
namespace {

using support::AddContact;
using support::BytesOf;
using support::EntryLines;
using support::FileExists;
using support::kMailStore;
using support::LinesOf;
using support::OtherProgram;
using support::PutBytes;
using support::TraceReceiver;
using support::Wide;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::StartsWith;

using ChangeLog = support::ChangeLogTest;

constexpr OsifResult kOk = OSIF_OK;
constexpr OsifResult kNotImplemented = OSIF_ERR_NOT_IMPLEMENTED;

// ---- Opening ----------------------------------------------------------------------------------------

TEST_F(ChangeLog, OfAnEmptyStoreIsMadeEmpty) {
  EXPECT_EQ(Open(), kOk);
  EXPECT_TRUE(FileExists(ContactLog()));
  EXPECT_EQ(BytesOf(ContactLog()), "");
}

TEST_F(ChangeLog, MovesToAnotherFolderWhenItIsOpenedThere) {
  const std::string a = OtherProgram().Add("Ann");
  std::filesystem::create_directory(device_.Path("Sync2"));
  EXPECT_EQ(Open(), kOk);
  EXPECT_EQ(POL_CL_Open(OSIF_STORE_PB, Wide(device_.Path("Sync2")).c_str()), kOk);
  EXPECT_EQ(Close(), kOk);
  EXPECT_THAT(Entries(device_.Path("Sync2/pol_pb_change.log")), ElementsAre("M 1 " + a));
  EXPECT_TRUE(FileExists(device_.Path("Sync2/pol_pb_object.log")));
  EXPECT_FALSE(FileExists(Path("pol_pb_object.log")));
}

TEST_F(ChangeLog, TellsTheTraceWhatIsOpenedAndCompared) {
  PutBytes(ContactLog(), "H:40:20050314T101500Z:000000ff\n");
  TraceReceiver trace;
  Open();
  EXPECT_THAT(
      trace.Lines(),
      ElementsAre(
          "OSIF:  POL_CL_Open(store_id=0, pszPath='" + device_.Path("Sync") + "')",
          "OSIF:  pol_UpdatePoomChanges(store_id=0, pszPath='" + device_.Path("Sync") + "', cc=40)",
          StartsWith("OSIF:  CPoomEntries::getFromPoom(store_id=0, pPolApp="),
          MatchesRegex("OSIF:  CPoomEntries::getEntriesFromFolder\\(pPolApp=.+, "
                       "olFolderType=10\\)"),
          "OSIF:  CPoomEntries::getFromFile(store_id=0, pszPath='" + device_.Path("Sync") + "')",
          "OSIF:  Unable to open file '" + device_.Path("Sync") +
              "\\pol_pb_object.log' in mode 'r'"));
}

TEST_F(ChangeLog, OfNotesAndMessagesIsOpenThoughItSaysNotImplemented) {
  for (int32_t store_id : {2, 3, 4, 5}) {
    EXPECT_EQ(Open(store_id), kNotImplemented) << store_id;
    EXPECT_TRUE(pol_IsLogOpen(store_id)) << store_id;
    EXPECT_EQ(Anchor(store_id).cc, 0u) << store_id;
  }
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
}

TEST_F(ChangeLog, OfNotesAndMessagesOpensWithoutASession) {
  POL_Close();
  EXPECT_EQ(Open(kMailStore), kNotImplemented);
}

TEST_F(ChangeLog, OfAPimStoreNeedsASessionToBeComparedButIsOpen) {
  POL_Close();
  EXPECT_EQ(Open(OSIF_STORE_PB), OsifResult{OSIF_ERR_PIM_NOT_OPENED});
  EXPECT_EQ(Open(OSIF_STORE_CAL), OsifResult{OSIF_ERR_PIM_NOT_OPENED});
  EXPECT_TRUE(pol_IsLogOpen(OSIF_STORE_PB));
}

TEST_F(ChangeLog, CannotBeOpenedInAFolderThatIsNotThere) {
  const WideText folder = Wide(device_.Path("no such folder"));
  for (int32_t store_id : {int32_t{OSIF_STORE_PB}, kMailStore}) {
    EXPECT_EQ(POL_CL_Open(store_id, folder.c_str()), OsifResult{OSIF_ERR_FILE_OPEN});
    EXPECT_FALSE(pol_IsLogOpen(store_id));
  }
}

// A path of this many characters to a folder that is made.
std::string FolderOfLength(const std::string& parent, size_t length) {
  std::string path = parent;
  while (path.size() < length) {
    path += "/" + std::string(std::min<size_t>(200, length - path.size() - 1), 'd');
  }
  std::filesystem::create_directories(path);
  return path;
}

TEST_F(ChangeLog, TakesAFolderOf259And260CharactersAndCutsOneOf261) {
  for (size_t length : {259u, 260u}) {
    const std::string folder = FolderOfLength(Path(""), length);
    EXPECT_EQ(POL_CL_Open(OSIF_STORE_PB, Wide(folder).c_str()), kOk);
    EXPECT_TRUE(FileExists(folder + "/pol_pb_change.log")) << length;
    EXPECT_EQ(Close(), kOk);
  }
  const std::string cut = FolderOfLength(Path(""), 260);
  std::filesystem::remove(cut + "/pol_pb_change.log");
  EXPECT_EQ(POL_CL_Open(OSIF_STORE_PB, Wide(cut + "d").c_str()), kOk);
  EXPECT_TRUE(FileExists(cut + "/pol_pb_change.log"));
}

TEST_F(ChangeLog, OfAnUnknownStoreIsRefused) {
  for (int32_t store_id : {-1, 6, 7, INT_MAX, INT_MIN}) {
    EXPECT_EQ(Open(store_id), OsifResult{OSIF_ERR_TYPE_NOT_SUPPORTED}) << store_id;
    EXPECT_FALSE(pol_IsLogOpen(store_id));
  }
  EXPECT_TRUE(std::filesystem::is_empty(device_.Path("Sync")));
}

TEST_F(ChangeLog, IsMarkedAsOpenUntilItsSnapshotIsSaved) {
  for (int32_t store_id : {int32_t{OSIF_STORE_PB}, int32_t{OSIF_STORE_CAL}}) {
    const std::string marker =
        Path(store_id == OSIF_STORE_PB ? "pol_pb_open.log" : "pol_cal_open.log");
    EXPECT_EQ(Open(store_id), kOk);
    EXPECT_TRUE(FileExists(marker));
    EXPECT_EQ(Close(store_id), kOk);
    EXPECT_FALSE(FileExists(marker));
  }
}

TEST_F(ChangeLog, OfAPimStoreCannotBeOpenedWithoutItsMarker) {
  std::filesystem::create_directory(Path("pol_pb_open.log"));
  EXPECT_EQ(Open(), OsifResult{OSIF_ERR_FILE_OPEN});
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
}

TEST_F(ChangeLog, ThatIsThereKeepsItsDatabaseId) {
  Open();
  char before[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, before), kOk);
  Close();
  Open();
  char after[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, after), kOk);
  EXPECT_STREQ(after, before);
}

TEST_F(ChangeLog, BeginsAnewWithANewDatabaseIdBeforeItsCounterRunsOver) {
  for (const char* last : {"2147483646", "2147483647", "2147483648", "9999999999"}) {
    PutBytes(ContactLog(), std::string("H:") + last + ":20050314T101500Z:000000ff\n");
    PutBytes(Path("pol_pb_databaseid.log"), "abcd1234\n");
    EXPECT_EQ(Open(), kOk);
    OsifAnchor anchor{};
    EXPECT_EQ(AddContact("Ann", &anchor).result, kOk);
    EXPECT_LT(anchor.cc, 1000u) << last;
    char id[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), kOk);
    EXPECT_STRNE(id, "abcd1234") << last;
    Close();
  }
}

TEST_F(ChangeLog, GoesOnCountingWhileItsCounterIsFarFromRunningOver) {
  PutBytes(ContactLog(), "H:1000000000:20050314T101500Z:000000ff\n");
  PutBytes(Path("pol_pb_databaseid.log"), "abcd1234\n");
  EXPECT_EQ(Open(), kOk);
  OsifAnchor anchor{};
  EXPECT_EQ(AddContact("Ann", &anchor).result, kOk);
  EXPECT_EQ(anchor.cc, 1000000001u);
  char id[OSIF_DATABASE_ID_SIZE] = "";
  EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, id), kOk);
  EXPECT_STREQ(id, "abcd1234");
}

TEST_F(ChangeLog, WithGarbageAndLongLinesIsOpenedWithoutHarm) {
  const std::string long_id(600, 'f');
  for (const std::string& bytes :
       {std::string("garbage\n"), std::string(1 << 20, 'z') + "\n", std::string(1 << 20, '\0'),
        "M:1:20050314T101500Z:" + long_id + "\n", std::string("M:99999999999999999999:t:a\n"),
        std::string("\n\n\n"), std::string("\xFF\xFE:1:t:\0\n", 9)}) {
    PutBytes(ContactLog(), bytes);
    EXPECT_EQ(Open(), kOk);
    EXPECT_EQ(Close(), kOk);
    std::filesystem::remove(Path("pol_pb_object.log"));
  }
}

TEST_F(ChangeLog, BeginsANewSeriesWhenItIsShorterThanWhatWasHandedOut) {
  const auto id = [] {
    char text[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, text), kOk);
    return std::string(text);
  };
  OtherProgram other;
  for (const char* name : {"Ann", "Bob", "Cid"}) other.Add(name);
  Open();
  std::string before = id();
  Close();
  const std::string whole = BytesOf(ContactLog());
  for (const std::string& bytes :
       {std::string(), whole.substr(0, whole.find('\n') + 1), std::string(whole.size(), '\0')}) {
    PutBytes(ContactLog(), bytes);
    Open();
    EXPECT_NE(id(), before);
    before = id();
    Close();
    Open();
    EXPECT_EQ(id(), before) << "once is enough";
    Close();
    PutBytes(ContactLog(), whole);
    Open();
    before = id();
    Close();
  }
}

TEST_F(ChangeLog, BeginsANewSeriesWhenTheSystemWasStartedAgainWhileItWasOpen) {
  OsifAnchor anchor{};
  for (const bool is_restarted : {false, true}) {
    Open();
    char before[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, before), kOk);
    AddContact("Ann", &anchor);
    if (is_restarted) PretendRestart();
    Open();
    char after[OSIF_DATABASE_ID_SIZE] = "";
    EXPECT_EQ(POL_CL_GetDatabaseId(OSIF_STORE_PB, after), kOk);
    EXPECT_EQ(std::string(before) != after, is_restarted);
    Close();
  }
  EndPretendedRestart();
}

// ---- Another program in the folder ------------------------------------------------------------------

// Another program that has opened the mail log and stays, with its number.
class UserOfTheFolder {
 public:
  explicit UserOfTheFolder(const WideText& folder)
      : process_([&folder](int place) {
          POL_CL_Open(kMailStore, folder.c_str());
          pim_test::Tell(place, static_cast<LONG>(getpid()));
          pause();
        }),
        number_(process_.Read()) {}
  LONG number() const { return number_; }

 private:
  pim_test::OtherProcess process_;
  LONG number_;
};

TEST_F(ChangeLog, IsNotOpenedWhileAnotherProgramUsesItsFolderForTenSeconds) {
  POL_Close();
  device::CloseDatabase();
  const UserOfTheFolder user(Folder());
  POL_Open();
  TraceReceiver trace;
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(Open(), OsifResult{OSIF_ERR_GENERAL});
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
  EXPECT_FALSE(FileExists(ContactLog())) << "nothing is done";
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  POL_CL_Open(store_id=0, pszPath='" + device_.Path("Sync") + "')",
                          "OSIF:  POL_CL_Open - '" + device_.Path("Sync") +
                              "' is in use by another program (process " +
                              std::to_string(user.number()) + ")"));
}

TEST_F(ChangeLog, IsOpenedOnceTheOtherProgramHasDied) {
  POL_Close();
  device::CloseDatabase();
  { const UserOfTheFolder user(Folder()); }
  POL_Open();
  EXPECT_EQ(Open(), kOk);
}

TEST_F(ChangeLog, HoldsItsFolderUntilTheLastOneInItIsClosed) {
  const auto is_free = [this] {
    pim_test::OtherProcess other([this](int place) {
      pim_test::Tell(place, static_cast<LONG>(LogFolderUse().Begin(Folder(), 0)));
    });
    return other.Read() == static_cast<LONG>(LogFolderUse::Result::kHeld);
  };
  Open();
  Open(kMailStore);
  EXPECT_FALSE(is_free());
  Open();
  Close();
  EXPECT_FALSE(is_free());
  Close(kMailStore);
  EXPECT_TRUE(is_free());
}

// What one of several programs does: opens the log, makes some changes that the log tells, and closes it.
void ChangeInTurns(const WideText& folder, int program, int place) {
  POL_Open();
  for (int session = 0; session < 25; ++session) {
    if (POL_CL_Open(OSIF_STORE_PB, folder.c_str()) != OSIF_OK) _exit(1);
    for (int i = 0; i < 20; ++i) {
      OsifAnchor anchor{};
      const std::string name = "P" + std::to_string(program) + std::to_string(session * 20 + i);
      const support::LibraryCall added = AddContact(name, &anchor);
      if (added.result != OSIF_OK) _exit(1);
      pim_test::Tell(place, static_cast<LONG>(anchor.cc));
      pim_test::Tell(place, support::OidOf(added.id));
    }
    if (POL_CL_Close(OSIF_STORE_PB) != OSIF_OK) _exit(1);
  }
  pim_test::Tell(place, 0);
}

TEST_F(ChangeLog, OfFourProgramsTellsEachOfTheirTwoThousandChangesOnce) {
  Open();
  Close();
  POL_Close();
  device::CloseDatabase();
  std::map<LONG, LONG> changes;  // what was changed, by counter
  {
    std::vector<std::unique_ptr<pim_test::OtherProcess>> programs;
    for (int program = 0; program < 4; ++program) {
      programs.push_back(std::make_unique<pim_test::OtherProcess>(
          [this, program](int place) { ChangeInTurns(Folder(), program, place); }));
    }
    for (const auto& program : programs) {
      for (int i = 0; i < 500; ++i) {
        const LONG counter = program->Read();
        ASSERT_NE(counter, -1) << "a program was refused";
        EXPECT_TRUE(changes.emplace(counter, program->Read()).second)
            << counter << " was given out twice";
      }
      EXPECT_EQ(program->Read(), 0) << "it did not come to its end";
    }
  }
  POL_Open();
  EXPECT_EQ(changes.size(), 2000u);
  EXPECT_EQ(changes.begin()->first, 1);
  EXPECT_EQ(changes.rbegin()->first, 2000) << "and nothing was told a second time";
  std::set<LONG> told;
  for (const auto& [counter, oid] : changes) told.insert(oid);
  EXPECT_EQ(told.size(), 2000u);
  Open();
  EXPECT_EQ(Anchor().cc, 2000u);
  const std::vector<std::string> entries = ContactEntries();
  ASSERT_EQ(entries.size(), 250u);
  for (int i = 0; i < 250; ++i) {
    const int counter = 1751 + i;
    EXPECT_EQ(entries[static_cast<size_t>(i)],
              "M " + std::to_string(counter) + " " + support::IdOf(changes.at(counter)));
  }
}

// ---- Closing ----------------------------------------------------------------------------------------

TEST_F(ChangeLog, SavesTheSnapshotWhenItIsClosed) {
  OtherProgram other;
  const std::string a = other.Add("Ann");
  const std::string b = other.Add("Bob");
  Open();
  EXPECT_FALSE(FileExists(Path("pol_pb_object.log"))) << "opening does not save it";
  EXPECT_EQ(Close(), kOk);
  EXPECT_THAT(LinesOf(Path("pol_pb_object.log")),
              ElementsAre(MatchesRegex(a + ":[0-9]+"), MatchesRegex(b + ":[0-9]+")));
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
}

TEST_F(ChangeLog, TellsTheTraceWhatClosingDoes) {
  Open();
  TraceReceiver trace;
  Close();
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  POL_CL_Close(store_id=0)",
                          StartsWith("OSIF:  CPoomEntries::getFromPoom(store_id=0, pPolApp="),
                          StartsWith("OSIF:  CPoomEntries::getEntriesFromFolder(pPolApp="),
                          "OSIF:  CPoomEntries::saveToFile(store_id=0, pszPath='" +
                              device_.Path("Sync") + "')"));
}

TEST_F(ChangeLog, StaysOpenWhenItIsClosedWithoutASession) {
  Open();
  Open(kMailStore);
  POL_Close();
  for (int32_t store_id : {0, 3, 1, -1, 6}) {
    EXPECT_EQ(Close(store_id), OsifResult{OSIF_ERR_PIM_NOT_OPENED}) << store_id;
  }
  EXPECT_TRUE(pol_IsLogOpen(OSIF_STORE_PB));
  EXPECT_TRUE(pol_IsLogOpen(kMailStore));
  EXPECT_FALSE(FileExists(Path("pol_pb_object.log")));
}

TEST_F(ChangeLog, ThatIsNotOpenCannotBeClosed) {
  for (int32_t store_id = 0; store_id < 6; ++store_id) {
    EXPECT_EQ(Close(store_id), OsifResult{OSIF_ERR_CL_NOT_OPENED}) << store_id;
  }
  EXPECT_TRUE(std::filesystem::is_empty(device_.Path("Sync")));
}

TEST_F(ChangeLog, ThatWasClosedAlreadyIsLeftAsItIs) {
  OtherProgram other;
  Open();
  Close();
  other.Add("Ann");
  EXPECT_EQ(Close(), OsifResult{OSIF_ERR_CL_NOT_OPENED});
  EXPECT_EQ(BytesOf(Path("pol_pb_object.log")), "");
}

TEST_F(ChangeLog, OfAnUnknownStoreCannotBeClosed) {
  for (int32_t store_id : {-1, 6, INT_MAX, INT_MIN}) {
    EXPECT_EQ(Close(store_id), OsifResult{OSIF_ERR_TYPE_NOT_SUPPORTED}) << store_id;
  }
}

TEST_F(ChangeLog, OfNotesAndMessagesIsClosedThoughItSaysNotImplemented) {
  for (int32_t store_id : {2, 3, 4, 5}) {
    Open(store_id);
    EXPECT_EQ(Close(store_id), kNotImplemented) << store_id;
    EXPECT_FALSE(pol_IsLogOpen(store_id)) << store_id;
  }
}

TEST_F(ChangeLog, IsPurgedWhenItIsClosed) {
  OpenMailLog(EntryLines(1, 251));
  EXPECT_EQ(Close(kMailStore), kNotImplemented);
  EXPECT_EQ(BytesOf(MailLog()), EntryLines(2, 251));
  OpenMailLog(EntryLines(1, 250));
  EXPECT_EQ(Close(kMailStore), kNotImplemented);
  EXPECT_EQ(BytesOf(MailLog()), EntryLines(1, 250));
}

TEST_F(ChangeLog, IsNotPurgedWhileItIsOpen) {
  OpenMailLog(EntryLines(1, 251));
  EXPECT_EQ(Open(kMailStore), kNotImplemented);
  EXPECT_EQ(BytesOf(MailLog()), EntryLines(1, 251));
}

TEST_F(ChangeLog, IsClosedWithAPimErrorWhenTheSnapshotCannotBeSaved) {
  Open();
  std::filesystem::remove_all(device_.Path("Sync"));
  EXPECT_EQ(Close(), OsifResult{OSIF_ERR_PIM});
  EXPECT_FALSE(pol_IsLogOpen(OSIF_STORE_PB));
}

}  // namespace
}  // namespace pol_changelog_test
