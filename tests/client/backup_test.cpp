// Saving a device while others use it.
#include <gmock/gmock.h>

#include <atomic>
#include <thread>

#include "btosif/osif_util/log_folder_use.h"
#include "client/device_files.h"
#include "client/texts.h"
#include "tests/client/saved_device.h"
#include "tests/fault/kill_at_call.h"
#include "tests/support/full_disk.h"

namespace client::backup_test {
namespace {

using namespace saved_device;
using testing::ElementsAre;
using testing::HasSubstr;

class BackupTest : public testing::Test {
 protected:
  BackupTest() { fs::create_directory(beside_); }

  support::TempFolder place_;
  const std::string device_ = place_.File("device");
  const std::string target_ = place_.File("target");
  const std::string beside_ = place_.File("beside");
  const std::string file_ = beside_ + "/saved";
};

TEST_F(BackupTest, ChangesNothingOfTheDeviceAndLeavesNothingBeside) {
  MakeDevice(device_, 3, "note");
  const auto before = ContentOf(device_);
  const BackupReport report = SaveDevice(device_, file_);
  EXPECT_EQ(report.failure, "");
  EXPECT_EQ(report.files, 4u);
  EXPECT_THAT(report.left_out, ElementsAre());
  EXPECT_EQ(ContentOf(device_), before);
  EXPECT_THAT(NamesIn(beside_), ElementsAre("saved"));
}

TEST_F(BackupTest, LeavesOutWhatIsNoDevicesAndSaysSo) {
  MakeDevice(device_, 3, "note");
  support::PutBytes(device_ + "/shopping.txt", "milk");
  fs::create_symlink("/etc/passwd", device_ + "/Documents/link.pwi");
  fs::create_directory(device_ + "/more");
  EXPECT_THAT(SaveDevice(device_, file_).left_out,
              ElementsAre("Documents/link.pwi", "more", "shopping.txt"));
}

TEST_F(BackupTest, HasWhatIsOnlyInTheLogOfTheDatabase) {
  MakeDevice(device_, 3, "note");
  int error = SQLITE_OK;
  const auto other = device::Database::Open(device_ + "/device.db", &error);
  ASSERT_NE(other, nullptr);
  ASSERT_EQ(other->Execute(Objects(2).c_str()), SQLITE_OK);
  ASSERT_GT(fs::file_size(device_ + "/device.db-wal"), 0u);
  ASSERT_EQ(SaveDevice(device_, file_).failure, "");
  ASSERT_EQ(Restore(file_, target_).failure, "");
  EXPECT_EQ(ContentOf(target_)["objects"], "5");
}

// What belongs together is written in one transaction, and each copy has both or none.
TEST_F(BackupTest, IsOfOneMomentWhileAnotherProgramWrites) {
  MakeDevice(device_, 0, "note");
  std::atomic<bool> is_over = false;
  std::jthread writer([&] {
    int error = SQLITE_OK;
    const auto database = device::Database::Open(device_ + "/device.db", &error);
    while (!is_over) {
      EXPECT_EQ(database->Execute("BEGIN IMMEDIATE; INSERT INTO pim_objects(folder) VALUES(10);"
                                  "INSERT INTO mapi_messages(folder) VALUES(1); COMMIT"),
                SQLITE_OK);
    }
  });
  int64_t last = -1;
  for (int round = 0; round < 8; ++round) {
    fs::remove_all(target_);
    ASSERT_EQ(SaveDevice(device_, file_).failure, "");
    ASSERT_EQ(Restore(file_, target_).failure, "");
    const int64_t objects = std::atoll(ContentOf(target_)["objects"].c_str());
    sqlite3* handle = nullptr;
    sqlite3_stmt* statement = nullptr;
    ASSERT_EQ(sqlite3_open((target_ + "/device.db").c_str(), &handle), SQLITE_OK);
    sqlite3_prepare_v2(handle, "SELECT count(*) FROM mapi_messages", -1, &statement, nullptr);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    EXPECT_EQ(sqlite3_column_int64(statement, 0), objects);
    sqlite3_finalize(statement);
    sqlite3_close(handle);
    EXPECT_GE(objects, last);
    last = objects;
  }
  EXPECT_GT(last, 0);
  is_over = true;
}

// A log in use whose files stand still is copied as it is.
TEST_F(BackupTest, DoesNotNeedALogThatAnotherProgramHolds) {
  MakeDevice(device_, 3, "note");
  support::TempFolder signals;
  const pid_t user = fork();
  if (user == 0) {
    LogFolderUse use;
    if (use.Begin(ToWide(device_ + "/Sync/pb"), 0) != LogFolderUse::Result::kHeld) _exit(1);
    support::PutBytes(signals.File("held"), "");
    for (;;) pause();
  }
  ASSERT_GT(user, 0);
  while (!fs::exists(signals.File("held"))) usleep(1000);
  EXPECT_EQ(SaveDevice(device_, file_).failure, "");
  kill(user, SIGKILL);
  waitpid(user, nullptr, 0);
  ASSERT_EQ(Restore(file_, target_).failure, "");
  EXPECT_EQ(ContentOf(target_)["Sync/pb/pol_pb_change.log"], "M:1:20261120T123338Z:00000001\n");
}

// The program does not hold the log, and never pauses; so many documents are not copied between two of its turns.
TEST_F(BackupTest, SaysThatTheDeviceIsBeingWrittenWhereNoMomentIsFound) {
  MakeDevice(device_, 3, "note");
  for (int i = 0; i < 1500; ++i) {
    support::PutBytes(device_ + "/Documents/" + std::to_string(i), "document");
  }
  std::atomic<bool> is_over = false;
  std::jthread writer([&] {
    for (int i = 0; !is_over; ++i) {
      support::PutBytes(device_ + "/Documents/Note.pwi", std::string(i % 100, 'x'));
    }
  });
  const BackupReport report = SaveDevice(device_, file_);
  is_over = true;
  EXPECT_EQ(report.failure, device_ + ": another program goes on writing to it");
  EXPECT_THAT(NamesIn(beside_), ElementsAre());
}

TEST_F(BackupTest, RefusesADamagedDevice) {
  MakeDevice(device_, 3, "note");
  std::string bytes = support::BytesOf(device_ + "/device.db");
  for (size_t i = 4096 * 3; i < 4096 * 4; ++i) bytes[i] = '\xA5';
  support::PutBytes(device_ + "/device.db", bytes);
  support::PutBytes(file_, "the last one");
  EXPECT_THAT(SaveDevice(device_, file_).failure,
              testing::AllOf(HasSubstr(device_ + "/device.db: "), HasSubstr("nothing was saved")));
  EXPECT_EQ(support::BytesOf(file_), "the last one");
}

TEST_F(BackupTest, RefusesWhereThereIsNoDevice) {
  EXPECT_EQ(SaveDevice(device_, file_).failure, device_ + ": there is no device");
  EXPECT_FALSE(fs::exists(device_));
}

TEST_F(BackupTest, IsNotPutIntoTheDeviceThatItSaves) {
  MakeDevice(device_, 3, "note");
  EXPECT_THAT(SaveDevice(device_, device_ + "/Documents/saved").failure,
              HasSubstr("it lies in the device's folder"));
  EXPECT_THAT(SaveDevice(device_, device_ + "/device.db").failure,
              HasSubstr("it lies in the device's folder"));
  EXPECT_THAT(SaveDevice(device_, beside_).failure, HasSubstr("Is a directory"));
}

TEST_F(BackupTest, AFullDiskLeavesTheFileThatWasThere) {
  MakeDevice(device_, 3, "note");
  support::PutBytes(file_, "the last one");
  {
    const support::FullDisk full(20'000);
    EXPECT_NE(SaveDevice(device_, file_).failure, "");
  }
  EXPECT_EQ(support::BytesOf(file_), "the last one");
  EXPECT_THAT(NamesIn(beside_), ElementsAre("saved"));
}

TEST_F(BackupTest, AKilledOneLeavesTheOldFileOrTheNewOne) {
  if (!fault::CanTrace()) GTEST_SKIP() << "system calls cannot be looked at here";
  MakeDevice(device_, 3, "note");
  size_t old_ones = 0;
  for (int nth = 1;; nth += 3) {
    SCOPED_TRACE(nth);
    support::PutBytes(file_, "the last one");
    const bool is_killed =
        fault::RunAndKill([] {}, [&] { EXPECT_EQ(SaveDevice(device_, file_).failure, ""); },
                          fault::KillPlace::kBeforeTheCall, nth);
    const bool is_old = support::BytesOf(file_) == "the last one";
    fs::remove_all(target_);
    if (!is_old) {
      EXPECT_EQ(Restore(file_, target_).failure, "");
    }
    if (!is_killed) {
      EXPECT_FALSE(is_old);
      break;
    }
    if (is_old) ++old_ones;
  }
  EXPECT_GT(old_ones, 5u);
  EXPECT_THAT(NamesIn(beside_), ElementsAre("saved"));
}

TEST_F(BackupTest, GoesToAPipeWhole) {
  MakeDevice(device_, 3, "note");
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  std::jthread saver([&] {
    EXPECT_EQ(SaveDevice(device_, ends[1]).failure, "");
    close(ends[1]);
  });
  EXPECT_EQ(RestoreDevice(ends[0], target_, {}).failure, "");
  close(ends[0]);
  EXPECT_EQ(ContentOf(target_)["objects"], "3");
}

TEST_F(BackupTest, AMemberOfAnotherFolderIsNoDevicePath) {
  EXPECT_TRUE(IsDevicePath("device.db"));
  EXPECT_TRUE(IsDevicePath("Sync/pol_pb_change.log"));
  EXPECT_TRUE(IsDevicePath("Sync/msg-in/pol_msg-in_change.log"));
  EXPECT_TRUE(IsDevicePath("Documents/a/b"));
  EXPECT_FALSE(IsDevicePath(""));
  EXPECT_FALSE(IsDevicePath("/device.db"));
  EXPECT_FALSE(IsDevicePath("Sync"));
  EXPECT_FALSE(IsDevicePath(std::string("Documents/a\0b", 13)));
}

}  // namespace
}  // namespace client::backup_test
