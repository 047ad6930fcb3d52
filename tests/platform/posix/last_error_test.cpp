#include "platform/api/last_error.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

#include "platform/posix/error_numbers.h"

namespace last_error_test {
namespace {

TEST(LastError, IsWhatWasSet) {
  SetLastError(122);
  EXPECT_EQ(GetLastError(), 122u);
}

TEST(LastError, EachThreadHasItsOwn) {
  SetLastError(5);
  DWORD other = 1;
  std::thread([&other] {
    other = GetLastError();
    SetLastError(6);
  }).join();
  EXPECT_EQ(other, 0u);
  EXPECT_EQ(GetLastError(), 5u);
}

TEST(LastError, ErrorsOfTheCLibraryHaveThePlatformsNumbers) {
  EXPECT_EQ(ErrorOfErrno(ENOENT), 2);
  EXPECT_EQ(ErrorOfErrno(ENOTDIR), 3);
  EXPECT_EQ(ErrorOfErrno(EMFILE), 4);
  EXPECT_EQ(ErrorOfErrno(EACCES), 5);
  EXPECT_EQ(ErrorOfErrno(EBADF), 6);
  EXPECT_EQ(ErrorOfErrno(ENOMEM), 8);
  EXPECT_EQ(ErrorOfErrno(EXDEV), 17);
  EXPECT_EQ(ErrorOfErrno(EROFS), 19);
  EXPECT_EQ(ErrorOfErrno(EINVAL), 87);
  EXPECT_EQ(ErrorOfErrno(ENOSPC), 112);
  EXPECT_EQ(ErrorOfErrno(EEXIST), 183);
  EXPECT_EQ(ErrorOfErrno(ENAMETOOLONG), 206);
  EXPECT_EQ(ErrorOfErrno(EDOM), 31);
}

TEST(LastError, ErrnoSurvivesBeingMapped) {
  errno = EACCES;
  SetLastErrorFromErrno();
  EXPECT_EQ(errno, EACCES);
  EXPECT_EQ(GetLastError(), 5u);
}

TEST(LastError, ResultValuesAreMadeOfErrorNumbers) {
  static_assert(HRESULT_FROM_WIN32(0) == S_OK);
  static_assert(HRESULT_FROM_WIN32(5) == E_ACCESSDENIED);
  static_assert(HRESULT_FROM_WIN32(0x8007000Eu) == E_OUTOFMEMORY);
  EXPECT_TRUE(FAILED(HRESULT_FROM_WIN32(2)));
  EXPECT_TRUE(SUCCEEDED(S_FALSE));
}

}  // namespace
}  // namespace last_error_test
