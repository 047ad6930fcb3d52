#include "mirror/watch.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "client/interrupt.h"
#include "tests/support/bytes.h"
#include "tests/support/temp_folder.h"

namespace watch_test {
namespace {

using mirror::Watch;
using support::PutBytes;

// Long enough for what does happen, however slow the machine is; and short for what does not.
constexpr int kLong = 60'000;
constexpr int kShort = 200;

class MirrorWatch : public testing::Test {
 protected:
  support::TempFolder folder_;
  support::TempFolder device_;
  Watch watch_{folder_.path(), device_.path()};
};

TEST_F(MirrorWatch, TellsNothingWhileNothingHappens) {
  EXPECT_EQ(watch_.why_not(), "");
  EXPECT_FALSE(watch_.Wait(kShort));
}

TEST_F(MirrorWatch, TellsOfFilesThatAreWrittenMovedAndRemoved) {
  PutBytes(folder_.File("a.vcf"), "x");
  EXPECT_TRUE(watch_.Wait(kLong));
  watch_.Forget();
  std::filesystem::rename(folder_.File("a.vcf"), folder_.File("b.vcf"));
  EXPECT_TRUE(watch_.Wait(kLong));
  watch_.Forget();
  std::filesystem::remove(folder_.File("b.vcf"));
  EXPECT_TRUE(watch_.Wait(kLong));
  watch_.Forget();
  EXPECT_FALSE(watch_.Wait(kShort));
}

TEST_F(MirrorWatch, TellsOfTheDatabaseAndItsLogAndOfNothingElseInTheDevice) {
  for (const char* name : {"device.db", "device.db-wal"}) {
    PutBytes(device_.File(name), "x");
    EXPECT_TRUE(watch_.Wait(kLong)) << name;
    watch_.Forget();
  }
  for (const char* name : {"device.db-shm", "mirror.db", "mirror.db-wal", "uids.db-shm"}) {
    PutBytes(device_.File(name), "x");
    EXPECT_FALSE(watch_.Wait(kShort)) << name;
  }
}

TEST_F(MirrorWatch, OfAFolderThatIsNotThereSaysWhy) {
  EXPECT_EQ(Watch("/nowhere", device_.path()).why_not(),
            "changes cannot be watched: No such file or directory");
}

constexpr int kWaited = 7;

// In a process of its own, since a signal that was noted stays so. One that goes on waiting is ended by the alarm.
[[noreturn]] void WaitAfterASignal(const std::string& folder) {
  std::signal(SIGALRM, SIG_DFL);
  alarm(20);
  const client::InterruptWatch interrupt;
  Watch watch(folder, folder);
  raise(SIGTERM);
  const bool has_changed = watch.Wait(kLong);
  _exit(has_changed ? 1 : kWaited);
}

TEST(MirrorWatchDeathTest, ASignalThatCameBeforeAWaitEndsItAtOnce) {
  const support::TempFolder folder;
  EXPECT_EXIT(WaitAfterASignal(folder.path()), testing::ExitedWithCode(kWaited), "");
}

}  // namespace
}  // namespace watch_test
