#include "btosif/osif_util/change_log_counter.h"

#include "platform/posix/fault_injection.h"
#include "tests/btosif/osif_util/change_log_fixture.h"
#include "tests/support/full_disk.h"

namespace change_log_counter_test {
namespace {

using support::BytesOf;
using support::FileExists;
using support::PutBytes;

constexpr int32_t kStore = OSIF_STORE_PB;
constexpr size_t kLineLength = 67;

class ChangeLogCounter : public support::ChangeLogFolderTest {
 protected:
  ~ChangeLogCounter() override { EndPretendedRestart(); }

  std::string CounterPath() const { return Path("pol_pb_counter.log"); }
  // As the next process finds it.
  KeptCounter Opened() const {
    KeptCounter counter;
    counter.Open(kStore, Folder());
    return counter;
  }
};

TEST_F(ChangeLogCounter, ThatWasNeverKeptIsAheadOfNoLog) {
  const KeptCounter counter = Opened();
  EXPECT_FALSE(counter.IsAhead(0));
  EXPECT_FALSE(counter.IsAhead(500));
  EXPECT_TRUE(counter.IsExactly(0));
  EXPECT_FALSE(FileExists(CounterPath()));
}

TEST_F(ChangeLogCounter, ThatIsSettledIsAheadOfEveryLogThatEndsBeforeIt) {
  EXPECT_TRUE(Opened().Settle(5));
  EXPECT_TRUE(Opened().IsAhead(0));
  EXPECT_TRUE(Opened().IsAhead(4));
  EXPECT_FALSE(Opened().IsAhead(5));
  EXPECT_FALSE(Opened().IsAhead(6));
  EXPECT_TRUE(Opened().IsExactly(5));
  EXPECT_FALSE(Opened().IsExactly(4));
}

TEST_F(ChangeLogCounter, ThatIsSettledHoldsWhenTheSystemIsStartedAgain) {
  EXPECT_TRUE(Opened().Settle(5));
  PretendRestart();
  EXPECT_FALSE(Opened().IsAhead(5));
}

TEST_F(ChangeLogCounter, ThatIsReservedIsAheadOnlyWhenTheSystemWasStartedAgain) {
  EXPECT_TRUE(Opened().Reserve(1));
  EXPECT_FALSE(Opened().IsAhead(0)) << "a process that was killed has lost nothing";
  EXPECT_FALSE(Opened().IsExactly(0));
  PretendRestart();
  EXPECT_TRUE(Opened().IsAhead(0));
  EXPECT_TRUE(Opened().IsAhead(1));
  EXPECT_TRUE(Opened().IsAhead(1'000'000));
}

TEST_F(ChangeLogCounter, ThatWasHandedOutBeforeIsRememberedWhileOthersAreReserved) {
  EXPECT_TRUE(Opened().Settle(5));
  EXPECT_TRUE(Opened().Reserve(6));
  EXPECT_TRUE(Opened().IsAhead(4));
  EXPECT_FALSE(Opened().IsAhead(5));
}

TEST_F(ChangeLogCounter, IsWrittenOnceForManyThatAreReserved) {
  KeptCounter counter = Opened();
  EXPECT_TRUE(counter.Reserve(1));
  const std::string bytes = BytesOf(CounterPath());
  for (uint32_t next = 2; next <= 1001; ++next) EXPECT_TRUE(counter.Reserve(next));
  EXPECT_EQ(BytesOf(CounterPath()), bytes);
  EXPECT_TRUE(counter.Reserve(1002));
  EXPECT_NE(BytesOf(CounterPath()), bytes);
}

TEST_F(ChangeLogCounter, ThatWasSpentWithoutAnEntryIsAheadOfTheLog) {
  KeptCounter counter = Opened();
  EXPECT_TRUE(counter.Reserve(7));
  EXPECT_TRUE(counter.Spend(7));
  EXPECT_TRUE(Opened().IsAhead(6));
  EXPECT_FALSE(Opened().IsAhead(7));
}

TEST_F(ChangeLogCounter, IsTheOneBeforeWhereverTheWritingOfTheNextOneEnds) {
  for (uint32_t earlier : {1u, 2u, 3u}) {
    std::filesystem::remove(CounterPath());
    for (uint32_t settled = 1; settled <= earlier; ++settled) EXPECT_TRUE(Opened().Settle(settled));
    const std::string before = BytesOf(CounterPath());
    EXPECT_TRUE(Opened().Settle(900));
    const std::string after = BytesOf(CounterPath());
    const size_t place = earlier % 2 == 0 ? 0 : kLineLength;
    std::string only_the_other = after;
    only_the_other.replace(place, kLineLength, before, place, kLineLength);
    EXPECT_EQ(only_the_other, before) << "what was written last must stay";
    EXPECT_NE(after.substr(place, kLineLength), before.substr(place, kLineLength));
    for (size_t written = 0; written < kLineLength; ++written) {
      std::string bytes = before;
      bytes.resize(std::max(before.size(), place + written), '\0');
      bytes.replace(place, written, after, place, written);
      PutBytes(CounterPath(), bytes);
      const bool is_new = bytes == after;
      EXPECT_TRUE(Opened().IsExactly(is_new ? 900 : earlier)) << earlier << " at " << written;
    }
    PutBytes(CounterPath(), after);
    EXPECT_TRUE(Opened().IsExactly(900));
  }
}

TEST_F(ChangeLogCounter, ThatWasBeingMadeForTheFirstTimeIsNone) {
  EXPECT_TRUE(Opened().Reserve(1));
  const std::string whole = BytesOf(CounterPath());
  for (size_t written = 0; written < kLineLength; ++written) {
    PutBytes(CounterPath(), whole.substr(0, written));
    PretendRestart();
    EXPECT_FALSE(Opened().IsAhead(0)) << written;
    EndPretendedRestart();
    EXPECT_TRUE(Opened().Settle(3)) << written;
    EXPECT_TRUE(Opened().IsExactly(3)) << written;
  }
}

TEST_F(ChangeLogCounter, ThatIsDamagedIsAheadOfEveryLogUntilItIsSettled) {
  const std::string too_large =
      "9999999999:9999999999:9999999999:99999999999999999999:000000000000\n";
  ASSERT_EQ(too_large.size(), kLineLength);
  for (const std::string& bytes : {std::string(kLineLength, '\0'), too_large + too_large,
                                   std::string(2 * kLineLength, 'x'), std::string(100'000, '\n')}) {
    PutBytes(CounterPath(), bytes);
    EXPECT_TRUE(Opened().IsAhead(1'000'000));
    EXPECT_FALSE(Opened().IsExactly(0));
    EXPECT_TRUE(Opened().Settle(3));
    EXPECT_FALSE(Opened().IsAhead(3));
  }
}

TEST_F(ChangeLogCounter, NeedsNoRoomOnAFullDiskOnceItIsThere) {
  KeptCounter counter = Opened();
  EXPECT_TRUE(counter.Settle(1));
  EXPECT_TRUE(counter.Settle(2));
  const support::FullDisk full(2 * kLineLength);
  EXPECT_TRUE(counter.Settle(3));
  EXPECT_TRUE(counter.Reserve(4));
}

TEST_F(ChangeLogCounter, ThatCannotBeWrittenIsNotReserved) {
  const support::FullDisk full(kLineLength / 2);
  EXPECT_FALSE(Opened().Reserve(1));
  EXPECT_FALSE(Opened().Settle(1));
}

TEST_F(ChangeLogCounter, GoesToTheEndOfItsNumbers) {
  KeptCounter counter = Opened();
  EXPECT_TRUE(counter.Reserve(4294967295u));
  EXPECT_TRUE(counter.Settle(4294967295u));
  EXPECT_TRUE(Opened().IsExactly(4294967295u));
}

}  // namespace
}  // namespace change_log_counter_test
