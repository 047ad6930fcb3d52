// A saved device and what others make of it: put back whole, or not at all.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <functional>

#include "tests/client/saved_device.h"
#include "tests/fault/kill_at_call.h"
#include "tests/support/full_disk.h"

namespace client::restore_test {
namespace {

using namespace saved_device;
using testing::ElementsAre;
using testing::HasSubstr;

class RestoreTest : public testing::Test {
 protected:
  RestoreTest() { fs::create_directory(beside_); }

  // A saved device with three objects.
  void Save() {
    MakeDevice(device_, 3, "first");
    ASSERT_EQ(SaveDevice(device_, file_).failure, "");
  }

  // That the archive is refused for this reason, and nothing has come of it.
  void ExpectRefused(const std::string& reason) {
    const RestoreReport report = Restore(file_, target_);
    EXPECT_THAT(report.failure, HasSubstr(reason));
    EXPECT_THAT(NamesIn(beside_), ElementsAre());
  }

  support::TempFolder place_;
  const std::string device_ = place_.File("device");
  const std::string file_ = place_.File("saved");
  // In a folder of its own, so that whatever is left over is seen.
  const std::string beside_ = place_.File("beside");
  const std::string target_ = beside_ + "/device";
};

TEST_F(RestoreTest, PutsBackWhatWasSaved) {
  Save();
  const RestoreReport report = Restore(file_, target_);
  EXPECT_EQ(report.failure, "");
  EXPECT_EQ(report.files, 4u);
  EXPECT_FALSE(report.has_replaced);
  EXPECT_EQ(ContentOf(target_), ContentOf(device_));
  EXPECT_THAT(NamesIn(beside_), ElementsAre("device"));
  EXPECT_THAT(NamesIn(target_), ElementsAre("Documents", "Sync", "Temp", "device.db"));
}

TEST_F(RestoreTest, IsForItsOwnerAlone) {
  Save();
  ASSERT_EQ(Restore(file_, target_).failure, "");
  const auto mode = [](const std::string& path) {
    struct stat state {};
    EXPECT_EQ(stat(path.c_str(), &state), 0) << path;
    return state.st_mode & 07777;
  };
  EXPECT_EQ(mode(file_), 0600u);
  EXPECT_EQ(mode(target_), 0700u);
  EXPECT_EQ(mode(target_ + "/device.db"), 0600u);
  EXPECT_EQ(mode(target_ + "/Documents/Note.pwi"), 0600u);
}

TEST_F(RestoreTest, KeepsDocumentsOfAnyNameInAnyFolder) {
  MakeDevice(device_, 1, "note");
  const std::string long_name(250, 'x');
  const std::vector<std::string> names = {"Documents/a b.pwi", "Documents/\xff\xfe.pwi",
                                          "Documents/J\xC3\xB6rg.pwi", "Documents/" + long_name,
                                          "Documents/in/there/deep"};
  fs::create_directories(device_ + "/Documents/in/there");
  for (const std::string& name : names) support::PutBytes(device_ + "/" + name, name);
  ASSERT_EQ(SaveDevice(device_, file_).failure, "");
  ASSERT_EQ(Restore(file_, target_).failure, "");
  EXPECT_EQ(ContentOf(target_), ContentOf(device_));
  EXPECT_EQ(support::BytesOf(target_ + "/" + names[1]), names[1]);
}

TEST_F(RestoreTest, GivesEachLogAnotherDatabaseIdAndTellsWhich) {
  Save();
  std::vector<RenewedLog> renewed;
  const int handle = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
  const RestoreReport report = RestoreDevice(
      handle, target_, {.take_over = [&](const std::string&, const std::vector<RenewedLog>& logs) {
        renewed = logs;
        return std::string();
      }});
  close(handle);
  ASSERT_EQ(report.failure, "");
  ASSERT_EQ(renewed.size(), 1u);
  EXPECT_EQ(renewed[0].store_id, OSIF_STORE_PB);
  EXPECT_EQ(renewed[0].former_id, "abcdefgh");
  EXPECT_NE(renewed[0].id, "abcdefgh");
  EXPECT_EQ(renewed[0].id.size(), 8u);
  EXPECT_EQ(support::BytesOf(target_ + "/Sync/pb/pol_pb_databaseid.log"), renewed[0].id + "\n");
}

TEST_F(RestoreTest, DoesNothingWhereWhatWasAgreedCannotBeTakenOver) {
  Save();
  const int handle = open(file_.c_str(), O_RDONLY | O_CLOEXEC);
  const RestoreReport report = RestoreDevice(
      handle, target_,
      {.take_over = [](const std::string&, const auto&) { return std::string("no"); }});
  close(handle);
  EXPECT_EQ(report.failure, "no");
  EXPECT_THAT(NamesIn(beside_), ElementsAre());
}

// ---- What is there already --------------------------------------------------------------------------------------

TEST_F(RestoreTest, TakesThePlaceOfADeviceThatHoldsNothing) {
  Save();
  MakeEmptyDevice(target_);
  const RestoreReport report = Restore(file_, target_);
  EXPECT_EQ(report.failure, "");
  EXPECT_FALSE(report.has_replaced);
  EXPECT_EQ(ContentOf(target_), ContentOf(device_));
}

struct Held {
  const char* name;
  std::function<void(const std::string& folder)> put;
};

class RestoreOver : public RestoreTest, public testing::WithParamInterface<Held> {};

TEST_P(RestoreOver, ADeviceThatHoldsSomethingIsRefusedWithoutForce) {
  Save();
  MakeEmptyDevice(target_);
  GetParam().put(target_);
  const auto before = ContentOf(target_);
  EXPECT_THAT(Restore(file_, target_).failure, HasSubstr("holds something; --force replaces it"));
  EXPECT_EQ(ContentOf(target_), before);
  const RestoreReport report = Restore(file_, target_, true);
  EXPECT_EQ(report.failure, "");
  EXPECT_TRUE(report.has_replaced);
  EXPECT_EQ(ContentOf(target_), ContentOf(device_));
  EXPECT_THAT(NamesIn(beside_), ElementsAre("device"));
}

INSTANTIATE_TEST_SUITE_P(
    Things, RestoreOver,
    testing::Values(
        Held{"Object", [](const auto& folder) { RunSql(folder + "/device.db", Objects(1)); }},
        Held{"Message",
             [](const auto& folder) {
               RunSql(folder + "/device.db", "INSERT INTO mapi_messages(folder) VALUES(1)");
             }},
        Held{"Note",
             [](const auto& folder) { support::PutBytes(folder + "/Documents/a.pwi", "a"); }},
        Held{"Log",
             [](const auto& folder) {
               support::PutBytes(folder + "/Sync/pb/pol_pb_change.log", "M:1:20261120T123338Z:1\n");
             }},
        Held{"Damage",
             [](const auto& folder) { support::PutBytes(folder + "/device.db", "no database"); }},
        Held{"Sessions",
             [](const auto& folder) { support::PutBytes(folder + "/sessions.log", "{}\n"); }}),
    [](const auto& row) { return row.param.name; });

TEST_F(RestoreTest, AFolderOfOtherThingsIsNeverReplaced) {
  Save();
  MakeEmptyDevice(target_);
  support::PutBytes(target_ + "/thesis.tex", "years of work");
  EXPECT_THAT(Restore(file_, target_, true).failure,
              HasSubstr("it holds \"thesis.tex\", which is nothing of a device's"));
  EXPECT_EQ(support::BytesOf(target_ + "/thesis.tex"), "years of work");
}

TEST_F(RestoreTest, ADeviceThatAnotherProgramHasOpenIsNotReplaced) {
  Save();
  MakeDevice(target_, 7, "mine");
  support::TempFolder signals;
  const pid_t user = fork();
  if (user == 0) {
    // The library keeps its database open as long as it is.
    int error = SQLITE_OK;
    const auto database = device::Database::Open(target_ + "/device.db", &error);
    if (database == nullptr || database->Execute("SELECT * FROM pim_objects") != SQLITE_OK)
      _exit(1);
    support::PutBytes(signals.File("open"), "");
    for (;;) pause();
  }
  ASSERT_GT(user, 0);
  while (!fs::exists(signals.File("open"))) usleep(1000);
  EXPECT_THAT(Restore(file_, target_, true).failure,
              HasSubstr("another program uses it; nothing was changed"));
  kill(user, SIGKILL);
  waitpid(user, nullptr, 0);
  EXPECT_EQ(ContentOf(target_)["objects"], "7");
  EXPECT_EQ(Restore(file_, target_, true).failure, "");
  EXPECT_EQ(ContentOf(target_), ContentOf(device_));
}

TEST_F(RestoreTest, ALinkToADeviceStaysAndLeadsToTheNewOne) {
  Save();
  MakeDevice(target_, 7, "mine");
  const std::string link = place_.File("link");
  fs::create_directory_symlink(target_, link);
  ASSERT_EQ(Restore(file_, link, true).failure, "");
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(ContentOf(target_), ContentOf(device_));
}

// ---- Archives that are not whole ----------------------------------------------------------------------------------

TEST_F(RestoreTest, AnArchiveThatIsCutOffAnywhereIsRefused) {
  Save();
  const std::string whole = support::BytesOf(file_);
  ASSERT_GT(whole.size(), 1000u);
  for (size_t size = 0; size < whole.size();
       size += size < 64 || size + 64 > whole.size() ? 1 : 97) {
    SCOPED_TRACE(size);
    support::PutBytes(file_, whole.substr(0, size));
    const RestoreReport report = Restore(file_, target_);
    // Of the padding after the last member nothing is missed.
    if (report.failure.empty()) {
      EXPECT_GT(size + 64, whole.size());
      EXPECT_EQ(ContentOf(target_), ContentOf(device_));
      fs::remove_all(target_);
    }
    EXPECT_THAT(NamesIn(beside_), ElementsAre());
  }
}

TEST_F(RestoreTest, AnArchiveWithAnotherByteSomewhereIsRefusedOrTheSame) {
  Save();
  const std::string whole = support::BytesOf(file_);
  size_t refused = 0;
  for (size_t place = 0; place < whole.size(); place += 61) {
    SCOPED_TRACE(place);
    std::string bytes = whole;
    bytes[place] = static_cast<char>(bytes[place] ^ 0x41);
    support::PutBytes(file_, bytes);
    if (Restore(file_, target_).failure.empty()) {
      EXPECT_EQ(ContentOf(target_), ContentOf(device_));
      fs::remove_all(target_);
    } else {
      ++refused;
    }
    EXPECT_THAT(NamesIn(beside_), ElementsAre());
  }
  EXPECT_GT(refused, whole.size() / 61 / 2);
}

// ---- Archives of others --------------------------------------------------------------------------------------------

// An archive made by hand of a sound device: its list is changed, or its members.
class RestoreHandMade : public RestoreTest {
 protected:
  RestoreHandMade() {
    MakeDevice(device_, 2, "note");
    for (const char* name : {"device.db", "Documents/Note.pwi"}) {
      const std::string bytes = support::BytesOf(device_ + "/" + name);
      members_.push_back({name, bytes});
      manifest_.members.push_back({name, static_cast<int64_t>(bytes.size()), Sha256(bytes)});
    }
    manifest_.program = "1.0.0";
    manifest_.created = "20261120T123338Z";
    manifest_.schema = device::kSchemaVersion;
  }

  // Another member, which is in the list.
  void Add(const HandMade::Member& member) {
    members_.push_back(member);
    manifest_.members.push_back(
        {member.name, static_cast<int64_t>(member.bytes.size()), Sha256(member.bytes)});
  }
  // The same with another device's database.
  void SetDatabase(const std::string& sql) {
    RunSql(device_ + "/device.db", "PRAGMA journal_mode=DELETE;" + sql);
    const std::string bytes = support::BytesOf(device_ + "/device.db");
    members_[0].bytes = bytes;
    manifest_.members[0] = {"device.db", static_cast<int64_t>(bytes.size()), Sha256(bytes)};
  }

  void Write() const { WriteWith(ManifestText(manifest_)); }
  void WriteWith(const std::string& list) const {
    HandMade archive;
    archive.Add({std::string(kManifestName), list});
    for (const HandMade::Member& member : members_) archive.Add(member);
    archive.Write(file_);
  }
  void ExpectRefusedAs(const std::string& reason) {
    Write();
    ExpectRefused(reason);
  }

  Manifest manifest_;
  std::vector<HandMade::Member> members_;
};

TEST_F(RestoreHandMade, IsTakenWhereNothingIsWrongWithIt) {
  Write();
  EXPECT_EQ(Restore(file_, target_).failure, "");
  EXPECT_EQ(ContentOf(target_)["objects"], "2");
}

TEST_F(RestoreHandMade, AnArchiveOfAnotherProgramIsNoSavedDevice) {
  HandMade().Add({"README", "hello"}).Write(file_);
  ExpectRefused("it is no saved device");
  HandMade().Write(file_);
  ExpectRefused("it is no saved device");
  support::PutBytes(file_, std::string(100'000, 'x'));
  ExpectRefused("");
  EXPECT_NE(Restore(file_, target_).failure, "");
  support::PutBytes(file_, "");
  EXPECT_NE(Restore(file_, target_).failure, "");
}

TEST_F(RestoreHandMade, AListOfAnotherFormIsRefused) {
  WriteWith("[]");
  ExpectRefused("its list of members is none");
  WriteWith("{\"format\":\"osif-backup\",\"version\":1");
  ExpectRefused("its list of members is none");
  WriteWith("{\"format\":\"another\"}");
  ExpectRefused("it is no saved device");
  WriteWith(std::string(1'000'000, '['));
  ExpectRefused("its list of members is none");
}

TEST_F(RestoreHandMade, ANewerVersionIsRefused) {
  manifest_.version = kBackupVersion + 1;
  ExpectRefusedAs("a newer version of this program has written it");
  manifest_.version = kBackupVersion;
  manifest_.schema = device::kSchemaVersion + 1;
  ExpectRefusedAs("a newer version of this program has made the device");
}

TEST_F(RestoreHandMade, ADatabaseOfANewerVersionThatTheListDoesNotTellOfIsRefused) {
  SetDatabase("PRAGMA user_version=3");
  ExpectRefusedAs("its device.db: a newer version of this program has made it");
}

TEST_F(RestoreHandMade, ADatabaseOfAnotherProgramIsRefused) {
  SetDatabase("PRAGMA application_id=7");
  ExpectRefusedAs("its device.db: it belongs to another program");
}

TEST_F(RestoreHandMade, ADatabaseThatWouldDoMoreThanItsProgramSaysIsRefused) {
  SetDatabase("CREATE TRIGGER t AFTER INSERT ON pim_objects BEGIN DELETE FROM mapi_messages; END");
  ExpectRefusedAs("its device.db: it has an unknown trigger t");
}

TEST_F(RestoreHandMade, ASideDatabaseThatIsNoneIsRefused) {
  Add({"mirror.db",
       "no database at all, but long enough to have had a header of a hundred bytes, if "
       "only it had been one of those"});
  ExpectRefusedAs("its mirror.db: it cannot be read");
}

TEST_F(RestoreHandMade, ASideDatabaseOfANewerVersionIsRefused) {
  const std::string other = place_.File("other.db");
  RunSql(other, "CREATE TABLE uids(a); PRAGMA user_version=99");
  Add({"uids.db", support::BytesOf(other)});
  ExpectRefusedAs("its uids.db: a newer version of this program has made it");
}

TEST_F(RestoreHandMade, ADamagedDatabaseIsRefused) {
  std::string& bytes = members_[0].bytes;
  for (size_t i = 4096 * 3; i < 4096 * 4; ++i) bytes[i] = '\xA5';
  manifest_.members[0].sha256 = Sha256(bytes);
  ExpectRefusedAs("its device.db: ");
}

TEST_F(RestoreHandMade, WithoutADatabaseIsNoDevice) {
  members_.erase(members_.begin());
  manifest_.members.erase(manifest_.members.begin());
  ExpectRefusedAs("\"device.db\" is not in it");
}

TEST_F(RestoreHandMade, AWrongSumIsRefused) {
  manifest_.members[1].sha256 = Sha256("else");
  ExpectRefusedAs("\"Documents/Note.pwi\" is not what was saved");
}

TEST_F(RestoreHandMade, AWrongSizeIsRefused) {
  manifest_.members[1].size = 5;
  ExpectRefusedAs("\"Documents/Note.pwi\" is not the file of its list");
}

TEST_F(RestoreHandMade, AMemberThatIsMissingIsRefused) {
  members_.pop_back();
  ExpectRefusedAs("\"Documents/Note.pwi\" is not in it");
}

TEST_F(RestoreHandMade, AMemberThatIsNotInTheListIsRefused) {
  members_.push_back({"Documents/More.pwi", "more"});
  ExpectRefusedAs("\"Documents/More.pwi\" is not in its list, or is there twice");
}

TEST_F(RestoreHandMade, AMemberThatComesTwiceIsRefused) {
  members_.push_back(members_.back());
  ExpectRefusedAs("\"Documents/Note.pwi\" is not in its list, or is there twice");
}

TEST_F(RestoreHandMade, AListThatNamesAMemberTwiceIsRefused) {
  manifest_.members.push_back(manifest_.members.back());
  ExpectRefusedAs("\"Documents/Note.pwi\" is there twice");
}

TEST_F(RestoreHandMade, AFileInThePlaceOfAFolderIsRefused) {
  Add({"Documents/Note.pwi/more", "more"});
  ExpectRefusedAs("\"Documents/Note.pwi/more\": ");
}

TEST_F(RestoreHandMade, MoreThanTheDiskHoldsIsRefusedBeforeAnythingIsUnpacked) {
  manifest_.members[1].size = int64_t{1} << 40;
  for (int i = 0; i < 100; ++i) {
    manifest_.members.push_back(
        {"Documents/" + std::to_string(i), int64_t{1} << 40, manifest_.members[1].sha256});
  }
  ExpectRefusedAs("bytes do not fit on the disk");
}

// A megabyte of it is a few bytes of the archive.
TEST_F(RestoreHandMade, MoreBytesThanTheListSaysAreNotUnpacked) {
  members_[1].bytes = std::string(size_t{200} << 20, '\0');
  Write();
  EXPECT_LT(fs::file_size(file_), 200'000u);
  ExpectRefused("\"Documents/Note.pwi\" is not the file of its list");
}

TEST_F(RestoreHandMade, AListThatHasNoEndIsNotReadToItsEnd) {
  WriteWith(std::string(size_t{65} << 20, ' '));
  ExpectRefused("its list of members is too long");
}

TEST_F(RestoreHandMade, AnArchiveWithoutItsCompressionIsReadToo) {
  HandMade archive;
  archive.Compress(false).Add({std::string(kManifestName), ManifestText(manifest_)});
  for (const HandMade::Member& member : members_) archive.Add(member);
  archive.Write(file_);
  EXPECT_EQ(Restore(file_, target_).failure, "");
}

struct WrongName {
  const char* test;
  std::string name;
};

class RestoreName : public RestoreHandMade, public testing::WithParamInterface<WrongName> {};

TEST_P(RestoreName, ThatNoDeviceHasIsRefused) {
  Add({GetParam().name, "bytes"});
  ExpectRefusedAs("is no name of a device's file");
  EXPECT_FALSE(fs::exists(beside_ + "/evil"));
  EXPECT_FALSE(fs::exists("/tmp/osif-evil"));
}

INSTANTIATE_TEST_SUITE_P(
    Names, RestoreName,
    testing::Values(WrongName{"Up", "../evil"}, WrongName{"UpWithin", "Documents/../../evil"},
                    WrongName{"UpAtTheEnd", "Documents/.."},
                    WrongName{"Absolute", "/tmp/osif-evil"}, WrongName{"Empty", "Documents//a"},
                    WrongName{"Dot", "Documents/./a"}, WrongName{"Folder", "Documents/a/"},
                    WrongName{"FolderAlone", "Documents"}, WrongName{"Other", "evil"},
                    WrongName{"Temp", "Temp/evil"}, WrongName{"Log", "device.db-wal"},
                    WrongName{"Journal", "device.db-journal"},
                    WrongName{"NoLog", "Sync/pb/evil.sh"},
                    WrongName{"NoStore", "Sync/evil/pol_a.log"},
                    WrongName{"Lock", "Sync/pb/pol_in_use.log"},
                    WrongName{"Long", "Documents/" + std::string(300, 'x')},
                    WrongName{"Deep", "Documents/" + support::Repeated("a/", 40) + "a"}),
    [](const auto& row) { return row.param.test; });

struct WrongKind {
  const char* test;
  mode_t type;
  const char* link;
};

class RestoreKind : public RestoreHandMade, public testing::WithParamInterface<WrongKind> {};

TEST_P(RestoreKind, OfMemberThatIsNoFileIsRefused) {
  const HandMade::Member member{"Documents/x.pwi", "", GetParam().type, GetParam().link};
  Add(member);
  ExpectRefusedAs("\"Documents/x.pwi");
}

TEST_P(RestoreKind, OfListThatIsNoFileIsRefused) {
  HandMade().Add({std::string(kManifestName), "", GetParam().type, GetParam().link}).Write(file_);
  ExpectRefused("it is no saved device");
}

INSTANTIATE_TEST_SUITE_P(Kinds, RestoreKind,
                         testing::Values(WrongKind{"Link", AE_IFLNK, "/etc/passwd"},
                                         WrongKind{"HardLink", AE_IFREG, "device.db"},
                                         WrongKind{"Folder", AE_IFDIR, ""},
                                         WrongKind{"Pipe", AE_IFIFO, ""},
                                         WrongKind{"Device", AE_IFCHR, ""}),
                         [](const auto& row) { return row.param.test; });

// ---- What comes in between -----------------------------------------------------------------------------------------

TEST_F(RestoreTest, AFullDiskLeavesWhatWasThere) {
  Save();
  MakeDevice(target_, 7, "mine");
  const auto before = ContentOf(target_);
  {
    const support::FullDisk full(20'000);
    EXPECT_NE(Restore(file_, target_, true).failure, "");
  }
  EXPECT_EQ(ContentOf(target_), before);
  EXPECT_THAT(NamesIn(beside_), ElementsAre("device"));
}

// Whatever call it is killed at, the old device or the new one is there, and the next one clears up.
TEST_F(RestoreTest, AKilledOneLeavesTheOldDeviceOrTheNewOne) {
  if (!fault::CanTrace()) GTEST_SKIP() << "system calls cannot be looked at here";
  Save();
  const auto restored = ContentOf(device_);
  size_t old_ones = 0;
  size_t new_ones = 0;
  for (int nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    fs::remove_all(beside_);
    fs::create_directory(beside_);
    MakeDevice(target_, 7, "mine");
    const auto before = ContentOf(target_);
    const bool is_killed =
        fault::RunAndKill([] {}, [&] { EXPECT_EQ(Restore(file_, target_, true).failure, ""); },
                          fault::KillPlace::kBeforeTheCall, nth);
    const auto after = ContentOf(target_);
    if (!is_killed) {
      EXPECT_EQ(after, restored);
      break;
    }
    EXPECT_TRUE(after == before || after == restored);
    ++(after == restored ? new_ones : old_ones);
    EXPECT_EQ(Restore(file_, target_, true).failure, "");
    EXPECT_EQ(ContentOf(target_), restored);
    EXPECT_THAT(NamesIn(beside_), ElementsAre("device"));
  }
  // It was killed before the exchange, and while the old one was being removed.
  EXPECT_GT(old_ones, 5u);
  EXPECT_GT(new_ones, 3u);
}

}  // namespace
}  // namespace client::restore_test
