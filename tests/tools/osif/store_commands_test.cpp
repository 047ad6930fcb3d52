#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "btosif/osif_util/log_folder_use.h"
#include "tests/support/files.h"
#include "tests/tools/osif/command_fixture.h"

namespace command_test::store_commands_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

class CommandStore : public CommandTest {};

// ---- list, count, delete, find ------------------------------------------------------------------------

TEST_F(CommandStore, ListShowsIdsAndNames) {
  Store(Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n00000002  Ole Berg\n");
  EXPECT_THAT(Osif({"list", "pb", "--json"}).JsonLines(),
              ElementsAre(Json{{"store", "pb"}, {"id", "00000001"}, {"name", "Ann Lee"}},
                          Json{{"store", "pb"}, {"id", "00000002"}, {"name", "Ole Berg"}}));
}

// The output goes into a pipe that soon is full, so that the list has not come to the end when the last
// contact is deleted.
TEST_F(CommandStore, ListShowsNoIdTwiceWhenAnObjectIsDeletedMeanwhile) {
  constexpr int kContacts = 100;
  std::string cards;
  for (int i = 0; i < kContacts; ++i) {
    cards += Card({"N:" + std::string(1000, 'x') + ";Ann" + std::to_string(i)});
  }
  Store(cards);
  ASSERT_EQ(mkfifo(Path("list.out").c_str(), 0600), 0);
  // The reader comes first: without one the writer's start would wait.
  const int pipe = open(Path("list.out").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  ASSERT_GE(pipe, 0);
  const pid_t lister = Start(Launched({support::kCommand, "list", "pb"}), Path("list"));
  ASSERT_EQ(fcntl(pipe, F_SETFL, 0), 0);
  // An emulator may go on before the writer has opened the pipe: to read would show its end.
  pollfd written = {pipe, POLLIN, 0};
  ASSERT_EQ(poll(&written, 1, -1), 1);
  std::string out(1, '\0');
  ASSERT_EQ(read(pipe, out.data(), 1), 1);
  EXPECT_EQ(Osif({"delete", "pb", "00000064"}).status, 0);
  char buffer[4096];
  for (ssize_t size; (size = read(pipe, buffer, sizeof buffer)) > 0;) {
    out.append(buffer, static_cast<size_t>(size));
  }
  close(pipe);
  EXPECT_EQ(WaitFor(lister), 1);
  EXPECT_EQ(BytesOf(Path("list.err")), "osif: pb: The object was not found (code 6)\n");
  const Lines lines = Outcome::Split(out);
  ASSERT_THAT(lines, SizeIs(kContacts - 1));
  EXPECT_THAT(lines.back(), testing::StartsWith("00000063  "));
}

TEST_F(CommandStore, ListOfAnEmptyStoreIsEmpty) {
  const Outcome outcome = Osif({"list", "pb"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
}

TEST_F(CommandStore, CountCounts) {
  Store(Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  EXPECT_EQ(Osif({"count", "pb"}).out, "2\n");
  EXPECT_THAT(Osif({"count", "pb", "--json"}).JsonLines(),
              ElementsAre(Json{{"store", "pb"}, {"count", 2}}));
}

TEST_F(CommandStore, WhatAStoreDoesNotOfferIsSaidInTheLibrarysWords) {
  const Outcome outcome = Osif({"count", "note", "--json"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: note: Not Implemented (code 16)\n");
  EXPECT_THAT(outcome.JsonLines(),
              ElementsAre(Json{{"error", "note"}, {"code", 16}, {"text", "Not Implemented"}}));
}

TEST_F(CommandStore, DeleteDeletesEachIdOnceHoweverItIsWritten) {
  Store(Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}) + Card({"N:Cruz;Eva"}));
  const Outcome outcome = Osif({"delete", "pb", "00000001", "3", "01"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.OutLines(),
              ElementsAre(MatchesRegex("deleted pb 00000001, anchor pb 4 .*Z"),
                          MatchesRegex("deleted pb 00000003, anchor pb 5 .*Z")));
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000002  Ole Berg\n");
}

TEST_F(CommandStore, DeleteSaysWhichIdsAreNotThereAndDeletesNothingThen) {
  Store(Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  const Outcome outcome = Osif({"delete", "pb", "1", "ff", "FE", "ABCDEF", "2"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.ErrLines(),
              ElementsAre("osif: pb 000000ff: The object was not found (code 6)",
                          "osif: pb 000000fe: The object was not found (code 6)",
                          "osif: pb 00abcdef: The object was not found (code 6)",
                          "osif: nothing was deleted"));
  EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n00000002  Ole Berg\n");
  EXPECT_THAT(Osif({"changes", "pb"}).OutLines(), SizeIs(2));
}

// The library would read "ALL" as 0000000a and "3.vcf" as 00000003.
TEST_F(CommandStore, WhatIsNoIdDeletesNothingAndIsInNoLog) {
  std::string cards;
  for (int i = 0; i < 10; ++i) cards += Card({"N:Lee;Ann" + std::to_string(i)});
  Store(cards);
  const Outcome outcome = Osif({"delete", "pb", "1", "ALL", "5 6", "3.vcf"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(
      outcome.ErrLines(),
      ElementsAre("osif: \"ALL\" is no id of pb: it takes hexadecimal digits and nothing else",
                  "osif: \"5 6\" is no id of pb: it takes hexadecimal digits and nothing else",
                  "osif: \"3.vcf\" is no id of pb: it takes hexadecimal digits and nothing else"));
  EXPECT_EQ(Osif({"count", "pb"}).out, "10\n");
  EXPECT_THAT(Osif({"changes", "pb"}).OutLines(), SizeIs(10));
}

TEST_F(CommandStore, FindTellsTheIdOrThatThereIsNone) {
  Store(Card({"N:Lee;Ann"}));
  const std::string file = Write("find.vcf", Card({"N:Berg;Ole"}) + Card({"N:Lee;Ann"}));
  const Outcome outcome = Osif({"find", "--strict", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "1  not found  Ole Berg\n2  pb 00000001  Ann Lee\n");
  EXPECT_THAT(
      Osif({"find", "--strict", "--json", file}).JsonLines(),
      ElementsAre(Json{{"number", 1}, {"store", "pb"}, {"id", nullptr}, {"name", "Ole Berg"}},
                  Json{{"number", 2}, {"store", "pb"}, {"id", "00000001"}, {"name", "Ann Lee"}}));
  EXPECT_EQ(Osif({"count", "pb"}).out, "1\n");
}

// ---- send and export ----------------------------------------------------------------------------------

TEST_F(CommandStore, SendWritesAVCardToStandardOutput) {
  Store(Card({"N:Lee;Ann", "TITLE:Pilot"}));
  const Outcome outcome = Osif({"send", "pb", "00000001"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, testing::StartsWith("BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee;Ann"));
  EXPECT_THAT(outcome.out, HasSubstr("\r\nTITLE:Pilot\r\n"));
  EXPECT_THAT(outcome.out, testing::EndsWith("\r\nX-IRMC-LUID:00000001\r\nEND:VCARD\r\n"));
}

TEST_F(CommandStore, SendReplacesAFileThatIsThere) {
  Store(Card({"N:Lee;Ann"}));
  const std::string file = Write("out.vcf", std::string(100'000, 'x'));
  const Outcome outcome = Osif({"send", "pb", "00000001", "-o", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(BytesOf(file), Osif({"send", "pb", "00000001"}).out);
}

TEST_F(CommandStore, SendOfAnUnknownIdNamesIt) {
  const Outcome outcome = Osif({"send", "pb", "00000007"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: pb 00000007: The object was not found (code 6)\n");
  EXPECT_EQ(outcome.out, "");
}

TEST_F(CommandStore, SendToAFileThatCannotBeMadeNamesIt) {
  Store(Card({"N:Lee;Ann"}));
  const std::string file = Path("no/such/folder.vcf");
  const Outcome outcome = Osif({"send", "pb", "1", "-o", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "osif: " + file + ": No such file or directory: Could not open the file (code 7)\n");
}

TEST_F(CommandStore, ExportWritesEveryObjectAndReceiveReadsThemBack) {
  Store(Card({"N:Lee;Ann", "TEL;CELL:1"}) + Card({"N;CHARSET=UTF-8:M\xC3\xBCller;J\xC3\xB6rg"}));
  const std::string file = Path("all.vcf");
  EXPECT_EQ(Osif({"export", "pb", "-o", file}).out, file + ": 2 objects\n");
  const Outcome again = Osif({"--device", Path("other"), "receive", "--strict", file});
  EXPECT_EQ(again.status, 0);
  EXPECT_EQ(Osif({"--device", Path("other"), "list", "pb"}).out,
            "00000001  Ann Lee\n00000002  J\xC3\xB6rg M\xC3\xBCller\n");
}

TEST_F(CommandStore, ExportOfAnEmptyStoreGivesAnEmptyFile) {
  const std::string file = Write("all.vcf", "old");
  EXPECT_EQ(Osif({"export", "pb", "-o", file}).status, 0);
  EXPECT_EQ(BytesOf(file), "");
}

TEST_F(CommandStore, ExportToAFolderThatDoesNotExistNamesTheFile) {
  Store(Card({"N:Lee;Ann"}));
  const std::string file = Path("no/such/all.vcf");
  const Outcome outcome = Osif({"export", "pb", "-o", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err,
            "osif: " + file + ": No such file or directory: Could not open the file (code 7)\n");
}

TEST_F(CommandStore, ExportKeepsTheOldFileWhenTheStoreCannotBeWalked) {
  const std::string file = Write("all.vmg", "old");
  const Outcome outcome = Osif({"export", "msg-in", "-o", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "osif: msg-in: Not Implemented (code 16)\n");
  EXPECT_EQ(BytesOf(file), "old");
}

TEST_F(CommandStore, WhatIsNoFileOfObjectsIsNotWritten) {
  Store(Card({"N:Lee;Ann"}));
  EXPECT_EQ(Osif({"send", "pb", "1", "-o", "/dev/full"}).err,
            "osif: /dev/full: is no regular file: Could not open the file (code 7)\n");
  EXPECT_EQ(Osif({"export", "pb", "-o", folder_}).err,
            "osif: " + folder_ + ": Is a directory: Could not open the file (code 7)\n");
}

// ---- The device's own files ---------------------------------------------------------------------------

class CommandOwnFiles : public CommandStore {
 protected:
  CommandOwnFiles() { Store(Card({"N:Lee;Ann"})); }

  void ExpectLeftAlone(const std::string& file) const {
    const std::string before = BytesOf(file);
    const std::vector<std::vector<std::string>> uses = {{"export", "pb", "-o", file},
                                                        {"send", "pb", "1", "-o", file},
                                                        {"receive", "--strict", file},
                                                        {"find", "--strict", file},
                                                        {"parse", "--strict", file}};
    for (const std::vector<std::string>& arguments : uses) {
      const Outcome outcome = Osif(arguments);
      EXPECT_EQ(outcome.status, 1);
      EXPECT_EQ(outcome.err, "osif: " + file +
                                 ": belongs to the device itself and is left alone: "
                                 "Could not open the file (code 7)\n");
    }
    EXPECT_EQ(BytesOf(file), before);
    EXPECT_EQ(Osif({"list", "pb"}).out, "00000001  Ann Lee\n");
  }
};

TEST_F(CommandOwnFiles, TheDatabaseIsNeitherReadNorWritten) {
  ExpectLeftAlone(device_ + "/device.db");
}

TEST_F(CommandOwnFiles, WhatWasAgreedWithOthersIsNeitherReadNorWritten) {
  for (const char* name : {"/mirror.db", "/sync.db", "/uids.db"}) {
    support::PutBytes(device_ + name, "kept");
    ExpectLeftAlone(device_ + name);
  }
}

TEST_F(CommandOwnFiles, TheDatabaseIsRecognisedUnderOtherNames) {
  std::filesystem::create_symlink(device_ + "/device.db", Path("link.vcf"));
  ExpectLeftAlone(Path("link.vcf"));
  std::filesystem::create_hard_link(device_ + "/device.db", Path("other.vcf"));
  ExpectLeftAlone(Path("other.vcf"));
  ExpectLeftAlone(device_ + "/../device/./device.db");
}

TEST_F(CommandOwnFiles, TheFilesBesideTheDatabaseAreNotMade) {
  ExpectLeftAlone(device_ + "/device.db-wal");
  EXPECT_FALSE(std::filesystem::exists(device_ + "/device.db-wal"));
}

TEST_F(CommandOwnFiles, AChangeLogIsNeitherReadNorWritten) {
  ExpectLeftAlone(device_ + "/Sync/pb/pol_pb_change.log");
}

TEST_F(CommandOwnFiles, AnotherFileInTheDevicesFolderMayBeWritten) {
  EXPECT_EQ(Osif({"export", "pb", "-o", device_ + "/all.vcf"}).status, 0);
  EXPECT_EQ(Osif({"receive", "--strict", device_ + "/all.vcf"}).status, 0);
}

TEST_F(CommandStore, OutputThatCannotBeWrittenIsAFailure) {
  const Outcome outcome = Run(Launched({support::kCommand, "count", "pb"},
                                       {"/bin/sh", "-c", "exec \"$@\" >/dev/full", "sh"}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, HasSubstr("standard output"));
}

// ---- changes, anchor, database-id ---------------------------------------------------------------------

TEST_F(CommandStore, ChangesShowsWhatCameBehindAnAnchor) {
  Store(Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  Osif({"delete", "pb", "00000001"});
  const std::vector<Json> all = Osif({"changes", "pb", "--json", "--since", "1"}).JsonLines();
  ASSERT_THAT(all, SizeIs(2));
  EXPECT_EQ(all[0]["kind"], "M");
  EXPECT_EQ(all[0]["cc"], 2);
  EXPECT_EQ(all[0]["id"], "00000002");
  EXPECT_EQ(all[0]["name"], "Ole Berg");
  EXPECT_EQ(all[1]["kind"], "H");
  EXPECT_EQ(all[1]["cc"], 3);
  EXPECT_EQ(all[1]["id"], "00000001");
  EXPECT_EQ(all[1]["name"], nullptr);
  EXPECT_THAT(all[1], SizeIs(5));
}

TEST_F(CommandStore, ChangesSinceATimeAreThoseBehindIt) {
  Store(Card({"N:Lee;Ann"}));
  EXPECT_THAT(Osif({"changes", "pb", "--since-time", "20000101T000000Z"}).OutLines(), SizeIs(1));
  EXPECT_THAT(Osif({"changes", "pb", "--since-time", "29990101T000000Z"}).OutLines(), SizeIs(0));
  EXPECT_THAT(Osif({"changes", "pb", "--since-time", "20000101"}).OutLines(), SizeIs(1));
  EXPECT_THAT(Osif({"changes", "pb", "--since-time", "29990101T000000"}).OutLines(), SizeIs(0));
  EXPECT_THAT(Osif({"changes", "pb", "--since-time", "20001231T235959Z"}).OutLines(), SizeIs(1));
  EXPECT_THAT(Osif({"changes", "pb", "--since-time", "20000229T101500"}).OutLines(), SizeIs(1));
}

TEST_F(CommandStore, ChangesTellsOfAGapFirst) {
  Store(Card({"N:Lee;Ann"}));
  // The log no longer holds the entry with counter 1.
  Store(Card({"N:Lee;Ann", "TITLE:x"}));
  const std::string log = device_ + "/Sync/pb/pol_pb_change.log";
  const std::string text = BytesOf(log);
  support::PutBytes(log, text.substr(text.find('\n') + 1));
  const std::vector<Json> lines = Osif({"changes", "pb", "--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0], (Json{{"gap", true}}));
  EXPECT_EQ(lines[1]["cc"], 2);
}

TEST_F(CommandStore, ChangesTellsOfAGapInWords) {
  Store(Card({"N:Lee;Ann"}));
  Store(Card({"N:Lee;Ann", "TITLE:x"}));
  const std::string log = device_ + "/Sync/pb/pol_pb_change.log";
  const std::string text = BytesOf(log);
  support::PutBytes(log, text.substr(text.find('\n') + 1));
  const Outcome outcome = Osif({"changes", "pb"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.OutLines(),
              ElementsAre("gap between requested anchor and first entry",
                          MatchesRegex("M  2  [0-9]+T[0-9]+Z  00000001  Ann Lee")));
}

TEST_F(CommandStore, ChangesWithNothingChangedIsEmptyAndNoFailure) {
  for (const char* store : {"pb", "cal", "note", "msg-in", "msg-sent", "msg-out"}) {
    const Outcome outcome = Osif({"changes", store});
    EXPECT_EQ(outcome.status, 0) << store;
    EXPECT_EQ(outcome.out + outcome.err, "") << store;
  }
  Store(Card({"N:Lee;Ann"}));
  const Outcome outcome = Osif({"changes", "pb", "--since", "1"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out + outcome.err, "");
}

TEST_F(CommandStore, ChangesShowsNotesAndMessagesThatWereReceived) {
  const std::string samples = support::kSources + "/samples";
  ASSERT_EQ(Osif({"receive", "--strict", samples + "/note.vnt", samples + "/messages.vmg"}).status,
            0);
  for (const char* store : {"note", "msg-in", "msg-sent", "msg-out"}) {
    const std::vector<Json> lines = Osif({"changes", store, "--json"}).JsonLines();
    ASSERT_THAT(lines, SizeIs(1)) << store;
    EXPECT_EQ(lines[0]["kind"], "M") << store;
    EXPECT_EQ(lines[0]["cc"], 1) << store;
  }
}

TEST_F(CommandStore, AnchorIsThatOfTheNewestChange) {
  Store(Card({"N:Lee;Ann"}) + Card({"N:Berg;Ole"}));
  const std::vector<Json> lines = Osif({"anchor", "pb", "--json"}).JsonLines();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines[0]["store"], "pb");
  EXPECT_EQ(lines[0]["cc"], 2);
  EXPECT_THAT(std::string(lines[0]["ts"]), testing::MatchesRegex("[0-9]+T[0-9]+Z"));
}

TEST_F(CommandStore, DatabaseIdStaysAsLongAsTheLogFolder) {
  const std::string id = Osif({"database-id", "pb"}).out;
  EXPECT_THAT(id, testing::MatchesRegex("[0-9a-z]+\n"));
  EXPECT_THAT(id, SizeIs(9));
  EXPECT_EQ(Osif({"database-id", "pb"}).out, id);
  EXPECT_EQ(Osif({"database-id", "pb", "--json"}).JsonLines().at(0)["id"], id.substr(0, 8));
}

TEST_F(CommandStore, ALogOfTheCommonFolderOfBeforeIsTakenToTheStoresOwn) {
  Store(Card({"N:Lee;Ann"}));
  const std::string id = Osif({"database-id", "pb"}).out;
  for (const auto& file : std::filesystem::directory_iterator(device_ + "/Sync/pb")) {
    std::filesystem::rename(file.path(), device_ + "/Sync/" + file.path().filename().string());
  }
  EXPECT_EQ(Osif({"database-id", "pb"}).out, id);
  EXPECT_EQ(Osif({"anchor", "pb", "--json"}).JsonLines().at(0)["cc"], 1);
  EXPECT_FALSE(std::filesystem::exists(device_ + "/Sync/pol_pb_change.log"));
}

TEST_F(CommandStore, ALogThatAnotherProgramUsesHindersEveryChangeAndSaysWhoUsesIt) {
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann"}));
  Osif({"receive", "--strict", file});
  LogFolderUse use;
  ASSERT_EQ(use.Begin(support::Wide(device_ + "/Sync/pb"), 0), LogFolderUse::Result::kHeld);
  const std::string in_use = "osif: the change log of pb is in use by process " +
                             std::to_string(getpid()) + ", nothing was changed";
  EXPECT_THAT(Osif({"delete", "pb", "00000001"}).err, testing::StartsWith(in_use));
  const Outcome received = Osif({"receive", "--strict", Write("b.vcf", Card({"N:Berg;Ole"}))});
  EXPECT_EQ(received.status, 1);
  EXPECT_THAT(received.err, HasSubstr(in_use));
  const Outcome changes = Osif({"changes", "pb"});
  EXPECT_EQ(changes.status, 1);
  EXPECT_THAT(changes.err, testing::StartsWith(in_use));
  EXPECT_EQ(Osif({"count", "pb"}).out, "1\n");
  EXPECT_EQ(Osif({"changes", "cal"}).status, 0) << "each store has a folder of its own";
}

TEST_F(CommandStore, ALogFolderThatCannotBeMadeIsToldAndDoesNotHinderReceiving) {
  Osif({"count", "pb"});
  Write("device/Sync", "in the way");
  const std::string file = Write("a.vcf", Card({"N:Lee;Ann"}));
  const Outcome outcome = Osif({"receive", "--strict", "--json", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err,
              HasSubstr("osif: the change log of pb: Could not open the file (code 7)\n"));
  EXPECT_EQ(outcome.JsonLines().at(1)["action"], "added");
  EXPECT_EQ(outcome.JsonLines().at(1)["anchor"], nullptr);
  const Outcome changes = Osif({"changes", "pb"});
  EXPECT_EQ(changes.status, 1);
  EXPECT_EQ(changes.err, "osif: the change log of pb: Could not open the file (code 7)\n");
}

}  // namespace
}  // namespace command_test::store_commands_test
