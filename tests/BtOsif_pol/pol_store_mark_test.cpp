#include "BtOsif_pol/pol_store_mark.h"

#include "tests/support/files.h"
#include "tests/support/text_test.h"

namespace pol_store_mark_test {
namespace {

using support::TempFile;

// Checked against "printf '123456789' | crc32": the value that every table of CRC-32 names.
TEST(FileDigest, IsTheSizeAndTheCrc32) {
  EXPECT_EQ(DigestOf("123456789"), (FileDigest{9, 0xCBF43926}));
  EXPECT_EQ(DigestOf(""), (FileDigest{0, 0}));
}

class DigestOfAFile : public support::TextTest, public testing::WithParamInterface<size_t> {};

// Files are read through a window of some kilobytes.
INSTANTIATE_TEST_SUITE_P(Sizes, DigestOfAFile,
                         testing::Values(0, 1, 4095, 4096, 4097, 65536, 65537, 300000),
                         [](const auto& test) { return std::to_string(test.param); });

TEST_P(DigestOfAFile, IsThatOfItsBytesWhateverItsLength) {
  std::string bytes(GetParam(), '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31 + i / 251);
  const TempFile file(bytes);
  EXPECT_EQ(DigestOfFile(file.wide_path()), DigestOf(bytes));
}

TEST(FileDigest, IsNoneWithoutTheFile) {
  std::u16string gone;
  {
    const TempFile file("x");
    gone = file.wide_path();
  }
  EXPECT_EQ(DigestOfFile(gone), std::nullopt);
}

}  // namespace
}  // namespace pol_store_mark_test
