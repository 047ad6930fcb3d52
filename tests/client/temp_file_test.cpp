#include "client/temp_file.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>

namespace client::temp_file_test {
namespace {

// No further file can be opened while it lives.
class NoFreeHandle {
 public:
  NoFreeHandle() {
    getrlimit(RLIMIT_NOFILE, &former_);
    const rlimit none{0, former_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  }
  ~NoFreeHandle() { setrlimit(RLIMIT_NOFILE, &former_); }
  NoFreeHandle(const NoFreeHandle&) = delete;
  NoFreeHandle& operator=(const NoFreeHandle&) = delete;

 private:
  rlimit former_{};
};

TempFile MakeWithoutAHandle() {
  const NoFreeHandle none;
  return TempFile();
}

TEST(TempFile, OneThatCouldNotBeMadeIsNotReadAndSaysWhy) {
  const TempFile file = MakeWithoutAHandle();
  ASSERT_FALSE(file.is_open());
  std::string bytes = "as before";
  errno = 0;
  EXPECT_FALSE(file.Read(bytes));
  EXPECT_EQ(errno, EBADF);
  EXPECT_EQ(bytes, "as before");
}

TEST(TempFile, HoldsNothingOfWhatCannotBeReadAndSaysWhy) {
  constexpr int kNoFile = -1;
  TempFile file;
  ASSERT_TRUE(file.is_open());
  errno = 0;
  EXPECT_FALSE(file.HoldPiece(kNoFile, 0, 1));
  EXPECT_EQ(errno, EBADF);
  errno = 0;
  EXPECT_FALSE(file.HoldRest(kNoFile, 1, 1));
  EXPECT_EQ(errno, EBADF);
}

TEST(TempFile, AnEmptyOneIsReadAsAnEmptyText) {
  const TempFile file;
  ASSERT_TRUE(file.is_open());
  std::string bytes = "as before";
  EXPECT_TRUE(file.Read(bytes));
  EXPECT_EQ(bytes, "");
}

}  // namespace
}  // namespace client::temp_file_test
