#include "platform/device/device.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <set>
#include <thread>
#include <vector>

#include "platform/api/files.h"
#include "platform/device/schema.h"
#include "platform/posix/paths.h"
#include "tests/support/temp_device.h"

namespace device_test {
namespace {

namespace fs = std::filesystem;
using device::OpenError;

class Device : public TempDeviceTest {
 protected:
  std::string DatabasePath() const { return device_.Path("device.db"); }
};

std::string ReadFileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFileBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

// What is in the device's folder besides the two folders and the database.
std::vector<std::string> OtherFiles(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename();
    if (name != "Documents" && name != "Temp" && name != "device.db") names.push_back(name);
  }
  return names;
}

int64_t Ask(device::Database& database, const char* sql) {
  device::Statement statement = database.Prepare(sql);
  return statement.Step() == SQLITE_ROW ? statement.Integer(0) : -1;
}

bool AddKey(const std::string& name) {
  const auto database = device::OpenDatabase();
  if (database == nullptr) return false;
  device::Statement insert =
      database->Prepare("INSERT INTO registry_keys(folded_path, path) VALUES(?1, ?1)");
  return insert.BindUtf8(1, name).Run();
}

int64_t KeyCount() {
  const auto database = device::OpenDatabase();
  return database == nullptr ? -1 : Ask(*database, "SELECT count(*) FROM registry_keys");
}

// Writes a closed, sound device and gives its database's bytes.
std::string MakeDevice(const std::string& path) {
  EXPECT_TRUE(AddKey("key"));
  device::CloseDatabase();
  return ReadFileBytes(path);
}

// Expects that the file as it stands is refused and left alone.
void ExpectRefused(const TempDevice& temp, OpenError error) {
  const std::string before = ReadFileBytes(temp.Path("device.db"));
  EXPECT_EQ(device::OpenDatabase(), nullptr);
  EXPECT_EQ(device::Error(), error);
  EXPECT_NE(device::ErrorText().find(temp.Path("device.db")), std::string::npos);
  device::CloseDatabase();
  EXPECT_TRUE(ReadFileBytes(temp.Path("device.db")) == before);
  EXPECT_EQ(OtherFiles(temp.folder()), std::vector<std::string>());
}

// Runs an action in a process of its own; true when it gave true there.
template <typename Action>
pid_t Start(Action action) {
  const pid_t child = fork();
  if (child == 0) _exit(action() ? 0 : 1);
  return child;
}

bool Succeeded(pid_t child) {
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST_F(Device, FirstUseMakesTheFolderWithItsParts) {
  const TempEnvironment environment("OSIF_DEVICE", device_.Path("a/b").c_str());
  ASSERT_NE(device::OpenDatabase(), nullptr);
  EXPECT_TRUE(fs::is_directory(device_.Path("a/b/Documents")));
  EXPECT_TRUE(fs::is_directory(device_.Path("a/b/Temp")));
  EXPECT_TRUE(fs::is_regular_file(device_.Path("a/b/device.db")));
  EXPECT_EQ(device::Error(), OpenError::kNone);
}

// A mask that leaves everything to everybody.
class OpenMask {
 public:
  OpenMask() : former_(umask(0)) {}
  ~OpenMask() { umask(former_); }
  OpenMask(const OpenMask&) = delete;
  OpenMask& operator=(const OpenMask&) = delete;

 private:
  mode_t former_;
};

TEST_F(Device, WhatIsMadeInItIsItsOwnersAloneWhateverTheMaskIs) {
  const OpenMask mask;
  const auto database = device::OpenDatabase();
  ASSERT_NE(database, nullptr);
  ASSERT_EQ(database->Execute("CREATE TABLE t(a); INSERT INTO t VALUES(1)"), SQLITE_OK);
  const std::u16string documents = WidePath(device_.Path("Documents"));
  FILE* stream = _wfopen((documents + u"\\stream").c_str(), u"wb");
  ASSERT_NE(stream, nullptr);
  std::fclose(stream);
  const HANDLE file = CreateFileW((documents + u"\\file").c_str(), GENERIC_WRITE, 0, nullptr,
                                  CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  CloseHandle(file);

  const auto mode_of = [](const fs::path& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
  };
  EXPECT_EQ(mode_of(device_.folder()), 0700u);
  std::set<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(device_.folder())) {
    EXPECT_EQ(mode_of(entry.path()), entry.is_directory() ? 0700u : 0600u) << entry.path();
    if (entry.is_regular_file()) files.insert(entry.path().filename());
  }
  EXPECT_EQ(files, (std::set<std::string>{"device.db", "device.db-shm", "device.db-wal", "file",
                                          "stream"}));
}

TEST_F(Device, AFileOutsideOfItHasTheModeThatTheMaskLeaves) {
  const std::string outside = device_.folder() + "-outside";
  {
    const OpenMask mask;
    FILE* stream = _wfopen(WidePath(outside).c_str(), u"wb");
    ASSERT_NE(stream, nullptr);
    std::fclose(stream);
  }
  EXPECT_EQ(static_cast<unsigned>(fs::status(outside).permissions()), 0666u);
  fs::remove(outside);
}

TEST_F(Device, ANewDatabaseBearsItsMarks) {
  const auto database = device::OpenDatabase();
  ASSERT_NE(database, nullptr);
  EXPECT_EQ(Ask(*database, "PRAGMA user_version"), 2);
  EXPECT_EQ(Ask(*database, "PRAGMA application_id"), 0x4F534946);
  EXPECT_EQ(Ask(*database, "PRAGMA foreign_keys"), 1);
}

TEST_F(Device, TheFolderIsTheOneThatTheEnvironmentNames) {
  EXPECT_EQ(device::Folder(), device_.folder());
  const TempEnvironment slash("OSIF_DEVICE", (device_.folder() + "//").c_str());
  EXPECT_EQ(device::Folder(), device_.folder());
}

TEST_F(Device, WithoutTheVariableTheFolderIsInTheUsersDataDirectory) {
  const TempEnvironment none("OSIF_DEVICE", nullptr);
  const TempEnvironment data("XDG_DATA_HOME", "/data/home");
  EXPECT_EQ(device::Folder(), "/data/home/osif");
}

TEST_F(Device, WithoutADataDirectoryTheFolderIsInTheHomeDirectory) {
  const TempEnvironment none("OSIF_DEVICE", "");
  const TempEnvironment data("XDG_DATA_HOME", nullptr);
  const TempEnvironment home("HOME", "/home/ann");
  EXPECT_EQ(device::Folder(), "/home/ann/.local/share/osif");
}

TEST_F(Device, WithoutAHomeInTheEnvironmentItIsTheOneThatTheSystemKnows) {
  passwd entry = {};
  passwd* user = nullptr;
  std::vector<char> texts(16384);
  getpwuid_r(getuid(), &entry, texts.data(), texts.size(), &user);
  if (user == nullptr) GTEST_SKIP() << "the system does not know the user";
  const TempEnvironment none("OSIF_DEVICE", nullptr);
  const TempEnvironment data("XDG_DATA_HOME", nullptr);
  for (const char* home : {"", static_cast<const char*>(nullptr)}) {
    const TempEnvironment variable("HOME", home);
    EXPECT_EQ(device::Folder(), std::string(user->pw_dir) + "/.local/share/osif");
  }
}

TEST_F(Device, ARelativeDataDirectoryDoesNotCount) {
  const TempEnvironment none("OSIF_DEVICE", nullptr);
  const TempEnvironment data("XDG_DATA_HOME", "data");
  const TempEnvironment home("HOME", "/home/ann");
  EXPECT_EQ(device::Folder(), "/home/ann/.local/share/osif");
}

TEST_F(Device, ASecondCallGivesTheSameConnection) {
  EXPECT_EQ(device::OpenDatabase(), device::OpenDatabase());
}

TEST_F(Device, ChangingTheVariableOpensTheOtherDevice) {
  ASSERT_TRUE(AddKey("first"));
  {
    const TempDevice other;
    EXPECT_EQ(KeyCount(), 0);
    ASSERT_TRUE(AddKey("second"));
    ASSERT_TRUE(AddKey("third"));
    EXPECT_EQ(KeyCount(), 2);
    device_.Use();
    EXPECT_EQ(KeyCount(), 1);
  }
}

TEST_F(Device, ClosingLeavesEverythingInTheMainFile) {
  ASSERT_TRUE(AddKey("key"));
  device::CloseDatabase();
  EXPECT_EQ(OtherFiles(device_.folder()), std::vector<std::string>());
  EXPECT_EQ(KeyCount(), 1);
}

TEST_F(Device, ClosingEmptiesTheLogEvenWhileSomeoneKeepsTheConnection) {
  ASSERT_TRUE(AddKey("key"));
  const auto kept = device::OpenDatabase();
  EXPECT_GT(fs::file_size(device_.Path("device.db-wal")), 0u);
  device::CloseDatabase();
  EXPECT_EQ(fs::file_size(device_.Path("device.db-wal")), 0u);
}

TEST_F(Device, AnEmptyDatabaseFileIsRefusedAndLeftAsItIs) {
  WriteFileBytes(DatabasePath(), "");
  ExpectRefused(device_, OpenError::kDamaged);
}

TEST_F(Device, WhatIsNoDatabaseIsRefusedAndLeftAsItIs) {
  WriteFileBytes(DatabasePath(), std::string(5000, 'x'));
  ExpectRefused(device_, OpenError::kDamaged);
}

TEST_F(Device, AFileShorterThanAHeaderIsRefusedAndLeftAsItIs) {
  WriteFileBytes(DatabasePath(), "x");
  ExpectRefused(device_, OpenError::kDamaged);
}

TEST_F(Device, ADatabaseOfAnotherProgramIsRefusedAndLeftAsItIs) {
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(DatabasePath().c_str(), &other), SQLITE_OK);
  sqlite3_exec(other, "CREATE TABLE registry_keys(x)", nullptr, nullptr, nullptr);
  sqlite3_close(other);
  ExpectRefused(device_, OpenError::kDamaged);
}

TEST_F(Device, ATruncatedDatabaseIsRefusedAndLeftAsItIs) {
  const std::string whole = MakeDevice(DatabasePath());
  for (const size_t size :
       {whole.size() - 1, whole.size() / 2, size_t{100}, size_t{99}, size_t{1}}) {
    SCOPED_TRACE(size);
    WriteFileBytes(DatabasePath(), whole.substr(0, size));
    ExpectRefused(device_, OpenError::kDamaged);
  }
}

TEST_F(Device, ADatabaseWithAnyOverwrittenPageIsRefusedAndLeftAsItIs) {
  const std::string whole = MakeDevice(DatabasePath());
  constexpr size_t kPage = 4096;
  ASSERT_GT(whole.size(), 3 * kPage);
  for (size_t page = 0; page < whole.size() / kPage; ++page) {
    SCOPED_TRACE(page);
    std::string damaged = whole;
    damaged.replace(page * kPage, kPage, kPage, '\xA5');
    WriteFileBytes(DatabasePath(), damaged);
    ExpectRefused(device_, OpenError::kDamaged);
  }
}

TEST_F(Device, ANewerDatabaseIsRefusedAndLeftAsItIs) {
  {
    const auto database = device::OpenDatabase();
    ASSERT_NE(database, nullptr);
    ASSERT_EQ(database->Execute("PRAGMA user_version=3"), SQLITE_OK);
  }
  device::CloseDatabase();
  ExpectRefused(device_, OpenError::kNewer);
}

TEST_F(Device, ANewerVersionThatIsStillInTheLogIsSeen) {
  ASSERT_TRUE(Succeeded(Start([] {
    const auto database = device::OpenDatabase();
    return database != nullptr && database->Execute("PRAGMA user_version=3") == SQLITE_OK;
  })));  // ended without closing: the log stays
  ASSERT_GT(fs::file_size(device_.Path("device.db-wal")), 0u);
  const std::string before = ReadFileBytes(DatabasePath());
  EXPECT_EQ(device::OpenDatabase(), nullptr);
  EXPECT_EQ(device::Error(), OpenError::kNewer);
  EXPECT_TRUE(ReadFileBytes(DatabasePath()) == before);
}

// Existing databases are looked at by a URI first, in which these characters have a meaning.
TEST_F(Device, ItsFolderMayHaveAnyName) {
  for (const char* name : {"100%", "%41", "what?mode=memory", "a#b"}) {
    const TempEnvironment environment("OSIF_DEVICE", device_.Path(name).c_str());
    ASSERT_TRUE(AddKey("key")) << name;
    device::CloseDatabase();
    EXPECT_EQ(KeyCount(), 1) << name;
    device::CloseDatabase();
    WriteFileBytes(device_.Path(std::string(name) + "/device.db"), std::string(5000, 'x'));
    EXPECT_EQ(device::OpenDatabase(), nullptr) << name;
    EXPECT_EQ(device::Error(), OpenError::kDamaged) << name;
  }
}

TEST_F(Device, AFileInPlaceOfADocumentsFolderIsAnErrorOfTheFolder) {
  WriteFileBytes(device_.Path("Documents"), "x");
  EXPECT_EQ(device::OpenDatabase(), nullptr);
  EXPECT_EQ(device::Error(), OpenError::kFolder);
}

TEST_F(Device, ARepairedDeviceIsOpenedByTheNextCall) {
  const std::string whole = MakeDevice(DatabasePath());
  WriteFileBytes(DatabasePath(), "broken");
  EXPECT_EQ(device::OpenDatabase(), nullptr);
  WriteFileBytes(DatabasePath(), whole);
  EXPECT_EQ(KeyCount(), 1);
  EXPECT_EQ(device::Error(), OpenError::kNone);
  EXPECT_EQ(device::ErrorText(), "");
}

TEST_F(Device, AFolderThatCannotBeMadeIsAnErrorOfTheFolder) {
  WriteFileBytes(device_.Path("file"), "x");
  const TempEnvironment environment("OSIF_DEVICE", device_.Path("file/device").c_str());
  EXPECT_EQ(device::OpenDatabase(), nullptr);
  EXPECT_EQ(device::Error(), OpenError::kFolder);
  EXPECT_NE(device::ErrorText().find(device_.Path("file/device")), std::string::npos);
}

TEST_F(Device, AFolderInPlaceOfTheDatabaseIsAnErrorOfAccess) {
  fs::create_directory(DatabasePath());
  EXPECT_EQ(device::OpenDatabase(), nullptr);
  EXPECT_EQ(device::Error(), OpenError::kAccess);
}

// Runs an action as a user without rights where the tests run as root, whom no permission stops.
template <typename Action>
bool WithoutRights(Action action) {
  return Succeeded(Start([&] {
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setuid(kNobody) != 0) return false;
    return action();
  }));
}

TEST_F(Device, AReadOnlyEmptyFolderIsAnErrorOfTheFolder) {
  fs::permissions(device_.folder(), fs::perms(0555));
  EXPECT_TRUE(WithoutRights(
      [] { return device::OpenDatabase() == nullptr && device::Error() == OpenError::kFolder; }));
  EXPECT_TRUE(fs::is_empty(device_.folder()));
}

TEST_F(Device, AReadOnlyDeviceIsAnErrorOfAccess) {
  const std::string whole = MakeDevice(DatabasePath());
  fs::permissions(DatabasePath(), fs::perms(0444));
  fs::permissions(device_.folder(), fs::perms(0555));
  EXPECT_TRUE(WithoutRights(
      [] { return device::OpenDatabase() == nullptr && device::Error() == OpenError::kAccess; }));
  EXPECT_TRUE(ReadFileBytes(DatabasePath()) == whole);
  EXPECT_EQ(OtherFiles(device_.folder()), std::vector<std::string>());
}

TEST_F(Device, AReadOnlyFolderWithoutADatabaseIsAnErrorOfAccess) {
  fs::create_directory(device_.Path("Documents"));
  fs::create_directory(device_.Path("Temp"));
  fs::permissions(device_.folder(), fs::perms(0555));
  EXPECT_TRUE(WithoutRights(
      [] { return device::OpenDatabase() == nullptr && device::Error() == OpenError::kAccess; }));
}

TEST_F(Device, AKilledProcessLosesNothingThatWasAnsweredWithSuccess) {
  EXPECT_TRUE(Succeeded(Start([] { return AddKey("key"); })));  // ended without closing
  EXPECT_EQ(KeyCount(), 1);
}

TEST_F(Device, AnUnfinishedNewDatabaseOfAKilledProcessIsNoHindrance) {
  WriteFileBytes(device_.Path("device.db.new"), std::string(5000, 'x'));
  WriteFileBytes(device_.Path("device.db.new-wal"), "x");
  EXPECT_TRUE(AddKey("key"));
  device::CloseDatabase();
  EXPECT_EQ(OtherFiles(device_.folder()), std::vector<std::string>());
}

TEST_F(Device, ProgramsThatStartTogetherShareOneNewDevice) {
  constexpr int kPrograms = 8;
  std::vector<pid_t> children;
  for (int i = 0; i < kPrograms; ++i) {
    children.push_back(Start([i] { return AddKey("key" + std::to_string(i)); }));
  }
  for (const pid_t child : children) EXPECT_TRUE(Succeeded(child));
  EXPECT_EQ(KeyCount(), kPrograms);
}

TEST_F(Device, AWriterWaitsForAnotherProgramsTransaction) {
  ASSERT_TRUE(AddKey("mine"));
  device::CloseDatabase();
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = Start([&] {
    const auto database = device::OpenDatabase();
    device::Transaction transaction(*database);
    const bool is_stored = AddKey("theirs");
    if (write(ready[1], "x", 1) != 1) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    return is_stored && transaction.Commit();
  });
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(AddKey("mine too"));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(100));
  EXPECT_TRUE(Succeeded(child));
  EXPECT_EQ(KeyCount(), 3);
  close(ready[0]);
  close(ready[1]);
}

// A program that holds a write transaction on the device until it is let go.
class OtherWriter {
 public:
  OtherWriter() {
    EXPECT_EQ(pipe(ready_), 0);
    EXPECT_EQ(pipe(go_on_), 0);
    child_ = Start([this] {
      close(go_on_[1]);
      const auto database = device::OpenDatabase();
      if (database == nullptr) return false;
      device::Transaction transaction(*database);
      char byte = 'x';
      if (!AddKey("theirs") || write(ready_[1], &byte, 1) != 1) return false;
      // Ends when the pipe is closed, also where the test has ended early.
      return read(go_on_[0], &byte, 1) == 0 && transaction.Commit();
    });
    close(ready_[1]);
    close(go_on_[0]);
    char byte;
    EXPECT_EQ(read(ready_[0], &byte, 1), 1);
  }
  ~OtherWriter() { close(ready_[0]); }

  bool LetGo() {
    close(go_on_[1]);
    return Succeeded(child_);
  }

 private:
  int ready_[2];
  int go_on_[2];
  pid_t child_;
};

TEST_F(Device, ReadingWaitsForNoWriterNeitherAtOpeningNorAtClosing) {
  ASSERT_TRUE(AddKey("mine"));
  device::CloseDatabase();
  OtherWriter writer;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(KeyCount(), 1);
  device::CloseDatabase();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_TRUE(writer.LetGo());
  EXPECT_EQ(KeyCount(), 2);
}

// Whether this process holds a lock on the device's database, as another process sees it.
bool IsLockedByUs(const std::string& path) {
  const pid_t us = getpid();
  return Succeeded(Start([&] {
    const int file = open(path.c_str(), O_RDWR | O_CLOEXEC);
    struct flock wanted {};
    wanted.l_type = F_WRLCK;
    wanted.l_whence = SEEK_SET;
    return file >= 0 && fcntl(file, F_GETLK, &wanted) == 0 && wanted.l_type != F_UNLCK &&
           wanted.l_pid == us;
  }));
}

TEST_F(Device, OpeningAgainKeepsTheLocksOfAConnectionThatIsStillInUse) {
  ASSERT_TRUE(AddKey("key"));
  const auto kept = device::OpenDatabase();
  device::CloseDatabase();
  ASSERT_EQ(Ask(*kept, "SELECT count(*) FROM registry_keys"), 1);
  ASSERT_TRUE(IsLockedByUs(DatabasePath()));
  ASSERT_NE(device::OpenDatabase(), nullptr);
  EXPECT_TRUE(IsLockedByUs(DatabasePath()));
}

TEST_F(Device, TheMarkOfAContentChangesWithEveryCommitOfAnyConnection) {
  const auto database = device::OpenDatabase();
  int code = SQLITE_OK;
  const auto other = device::Database::Open(device_.Path("device.db"), &code);
  ASSERT_NE(other, nullptr);
  ASSERT_EQ(database->Execute("CREATE TABLE marked(number)"), SQLITE_OK);
  std::set<device::CommitMark> marks;
  for (int i = 0; i < 50; ++i) {
    auto& writer = i % 2 == 0 ? *database : *other;
    ASSERT_EQ(writer.Execute("DELETE FROM marked; INSERT INTO marked VALUES(1)"), SQLITE_OK);
    if (i % 10 == 9) writer.Checkpoint();
    const auto mark = database->Mark();
    ASSERT_TRUE(mark);
    EXPECT_TRUE(marks.insert(*mark).second) << i;
    EXPECT_EQ(database->Prepare("SELECT count(*) FROM marked").Step(), SQLITE_ROW);
    EXPECT_EQ(database->Mark(), mark) << "reading changes nothing";
  }
}

TEST_F(Device, AContentHasNoMarkInATransactionOrWithoutALog) {
  const auto database = device::OpenDatabase();
  {
    const device::Transaction transaction(*database);
    EXPECT_FALSE(database->Mark());
  }
  EXPECT_TRUE(database->Mark());
  int code = SQLITE_OK;
  EXPECT_FALSE(device::Database::Open(":memory:", &code)->Mark());
}

TEST_F(Device, TheSchemaIsMadeInEmptyDatabasesOnly) {
  int code = SQLITE_OK;
  const auto database = device::Database::Open(device_.Path("other.db"), &code);
  ASSERT_NE(database, nullptr);
  ASSERT_EQ(database->Execute("CREATE TABLE theirs(x)"), SQLITE_OK);
  EXPECT_FALSE(device::CreateSchema(*database));
  EXPECT_EQ(Ask(*database, "SELECT count(*) FROM sqlite_master"), 1);
}

TEST_F(Device, MakingTheSchemaTwiceChangesNothing) {
  ASSERT_TRUE(AddKey("key"));
  EXPECT_TRUE(device::CreateSchema(*device::OpenDatabase()));
  EXPECT_EQ(KeyCount(), 1);
}

}  // namespace
}  // namespace device_test
