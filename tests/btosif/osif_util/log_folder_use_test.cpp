#include "btosif/osif_util/log_folder_use.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "tests/btosif/osif_util/change_log_fixture.h"
#include "tests/platform/device/other_process.h"

namespace log_folder_use_test {
namespace {

using pim_test::OtherProcess;
using pim_test::Tell;
using support::Wide;
using Result = LogFolderUse::Result;

class LogFolder : public support::ChangeLogFolderTest {
 protected:
  // Another program that has begun to use the folder and stays.
  OtherProcess UserOfTheFolder() {
    return OtherProcess([this](int place) {
      LogFolderUse use;
      Tell(place, static_cast<LONG>(use.Begin(Folder(), 0)));
      pause();
    });
  }
};

LONG Number(Result result) { return static_cast<LONG>(result); }

TEST_F(LogFolder, IsHeldByTheFirstWhoAsks) {
  LogFolderUse use;
  EXPECT_FALSE(use.is_held());
  EXPECT_EQ(use.Begin(Folder(), 0), Result::kHeld);
  EXPECT_TRUE(use.is_held());
  EXPECT_EQ(LogFolderUser(Folder()), static_cast<uint32_t>(getpid()));
}

TEST_F(LogFolder, IsRefusedToAnotherProgramWhileItIsHeld) {
  OtherProcess other = UserOfTheFolder();
  ASSERT_EQ(other.Read(), Number(Result::kHeld));
  LogFolderUse use;
  EXPECT_EQ(use.Begin(Folder(), 0), Result::kInUse);
  EXPECT_FALSE(use.is_held());
  EXPECT_NE(LogFolderUser(Folder()), static_cast<uint32_t>(getpid()));
}

TEST_F(LogFolder, IsWaitedForAsLongAsWasAsked) {
  OtherProcess other = UserOfTheFolder();
  ASSERT_EQ(other.Read(), Number(Result::kHeld));
  LogFolderUse use;
  const auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(use.Begin(Folder(), 300), Result::kInUse);
  EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(300));
}

TEST_F(LogFolder, IsFreeWhenItsProgramHasDied) {
  {
    OtherProcess other = UserOfTheFolder();
    ASSERT_EQ(other.Read(), Number(Result::kHeld));
  }
  EXPECT_EQ(LogFolderUse().Begin(Folder(), 0), Result::kHeld);
}

TEST_F(LogFolder, IsHadByWhoeverWaitsOnceItIsLetGoOf) {
  OtherProcess other([this](int place) {
    LogFolderUse use;
    Tell(place, static_cast<LONG>(use.Begin(Folder(), 0)));
    usleep(200'000);
  });
  ASSERT_EQ(other.Read(), Number(Result::kHeld));
  EXPECT_EQ(LogFolderUse().Begin(Folder(), 10'000), Result::kHeld);
}

TEST_F(LogFolder, IsSharedWithinOneProgramUnderEachOfItsNamesUntilTheLastUseEnds) {
  std::filesystem::create_symlink(Path(""), device_.Path("Link"));
  auto first = std::make_unique<LogFolderUse>();
  auto second = std::make_unique<LogFolderUse>();
  auto third = std::make_unique<LogFolderUse>();
  EXPECT_EQ(first->Begin(Folder(), 0), Result::kHeld);
  EXPECT_EQ(second->Begin(Folder() + u"\\", 0), Result::kHeld);
  EXPECT_EQ(third->Begin(Wide(device_.Path("Link")), 0), Result::kHeld);
  const auto others_result = [this] {
    OtherProcess other([this](int place) {
      LogFolderUse use;
      // It has inherited what this process holds; as a program of its own it would not know of it.
      Tell(place, static_cast<LONG>(use.Begin(Folder(), 0)));
    });
    return other.Read();
  };
  first.reset();
  second.reset();
  EXPECT_EQ(others_result(), Number(Result::kInUse));
  third.reset();
  EXPECT_EQ(others_result(), Number(Result::kHeld));
}

TEST_F(LogFolder, IsAnotherOneWhereverItsFilesAreOthers) {
  std::filesystem::create_directory(device_.Path("Sync2"));
  OtherProcess other = UserOfTheFolder();
  ASSERT_EQ(other.Read(), Number(Result::kHeld));
  EXPECT_EQ(LogFolderUse().Begin(Wide(device_.Path("Sync2")), 0), Result::kHeld);
}

TEST_F(LogFolder, IsOfNobodyThatIsKnownWhenItsUserIsNoNumberOfAProcess) {
  const std::string user = Path("pol_user.log");
  support::PutBytes(user, "4294967295:4294967295\n");
  EXPECT_EQ(LogFolderUser(Folder()), 4294967295u);
  for (const char* line : {"", "7", "x:1", "4294967296:1", "1:4294967296", "42949672950:1",
                           "99999999999999999999999:1"}) {
    support::PutBytes(user, std::string(line) + "\n");
    EXPECT_EQ(LogFolderUser(Folder()), std::nullopt) << line;
    EXPECT_EQ(LogFolderUse().Begin(Folder(), 0), Result::kHeld) << line;
  }
}

TEST_F(LogFolder, ThatIsNotThereCannotBeHeld) {
  EXPECT_EQ(LogFolderUse().Begin(Wide(device_.Path("no such folder")), 10'000),
            Result::kNotPossible);
  EXPECT_EQ(LogFolderUser(Wide(device_.Path("no such folder"))), std::nullopt);
}

}  // namespace
}  // namespace log_folder_use_test
