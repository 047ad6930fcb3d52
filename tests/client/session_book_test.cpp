#include "client/session_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "tests/support/temp_folder.h"

namespace client::session_book_test {
namespace {

class SessionBook : public testing::Test {
 protected:
  static SessionEntry Named(const std::string& peer) {
    SessionEntry entry;
    entry.peer = peer;
    return entry;
  }
  std::vector<std::string> Peers(size_t most) const {
    std::vector<std::string> peers;
    for (const SessionEntry& entry : LastSessions(folder_.path(), most)) {
      peers.push_back(entry.peer);
    }
    return peers;
  }

  const support::TempFolder folder_;
};

TEST_F(SessionBook, GivesBackWhatWasPutIn) {
  SessionEntry entry;
  entry.peer = "tcp [::1]:40112";
  entry.service = "push";
  entry.began = 1110795300;
  entry.ended = 1110795301;
  entry.added = 1;
  entry.updated = 2;
  entry.deleted = 3;
  entry.sent = 4;
  entry.refused = 5;
  entry.reasons = {"one \"quoted\"", "two\nlines", "\xFF no text"};
  entry.ending = "too slow";
  ASSERT_TRUE(AppendSession(folder_.path(), entry));
  const std::vector<SessionEntry> found = LastSessions(folder_.path(), 10);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].peer, entry.peer);
  EXPECT_EQ(found[0].service, entry.service);
  EXPECT_EQ(found[0].began, entry.began);
  EXPECT_EQ(found[0].ended, entry.ended);
  EXPECT_EQ(found[0].added, 1u);
  EXPECT_EQ(found[0].updated, 2u);
  EXPECT_EQ(found[0].deleted, 3u);
  EXPECT_EQ(found[0].sent, 4u);
  EXPECT_EQ(found[0].refused, 5u);
  EXPECT_THAT(found[0].reasons,
              testing::ElementsAre("one \"quoted\"", "two\nlines", "\uFFFD no text"));
  EXPECT_EQ(found[0].ending, entry.ending);
}

TEST_F(SessionBook, GivesTheNewestAndTheOldestOfThemFirst) {
  for (const char* peer : {"a", "b", "c"}) AppendSession(folder_.path(), Named(peer));
  EXPECT_THAT(Peers(2), testing::ElementsAre("b", "c"));
  EXPECT_THAT(Peers(0), testing::IsEmpty());
}

TEST_F(SessionBook, IsForItsOwnerAlone) {
  AppendSession(folder_.path(), Named("a"));
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(folder_.File("sessions.log")).permissions(),
            perms::owner_read | perms::owner_write);
}

TEST_F(SessionBook, LosesItsOldestWhenItIsFull) {
  SessionEntry entry;
  entry.reasons = {std::string(10'000, 'x')};
  for (int i = 0; i < 300; ++i) {
    entry.peer = std::to_string(i);
    ASSERT_TRUE(AppendSession(folder_.path(), entry));
  }
  EXPECT_LT(std::filesystem::file_size(folder_.File("sessions.log")), 1'100'000u);
  const std::vector<std::string> peers = Peers(1000);
  ASSERT_GT(peers.size(), 40u);
  ASSERT_LT(peers.size(), 120u);
  for (size_t i = 0; i < peers.size(); ++i) {
    EXPECT_EQ(peers[i], std::to_string(300 - peers.size() + i));
  }
}

TEST_F(SessionBook, LosesNothingWhenSeveralWriteAtOnce) {
  constexpr int kWriters = 8;
  constexpr int kEntries = 50;
  for (int writer = 0; writer < kWriters; ++writer) {
    if (fork() != 0) continue;
    for (int i = 0; i < kEntries; ++i) AppendSession(folder_.path(), Named("x"));
    _exit(0);
  }
  for (int writer = 0; writer < kWriters; ++writer) wait(nullptr);
  EXPECT_EQ(Peers(1000).size(), size_t{kWriters} * kEntries);
}

TEST_F(SessionBook, CannotBeWrittenWhereThereIsNoFolder) {
  EXPECT_FALSE(AppendSession(folder_.File("none"), Named("a")));
  EXPECT_TRUE(LastSessions(folder_.File("none"), 10).empty());
}

}  // namespace
}  // namespace client::session_book_test
