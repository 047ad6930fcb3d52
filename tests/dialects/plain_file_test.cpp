#include "dialects/plain_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>

#include "tests/support/bytes.h"
#include "tests/support/files.h"
#include "tests/support/temp_folder.h"

namespace plain_file_test {
namespace {

using dialects::kLargestPlainFile;
using dialects::PlainCardsOfFile;
using dialects::TextLength;

std::string Card(const std::string& lines) {
  return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + lines + "END:VCARD\r\n";
}

const std::string kAnn = Card("N:Lee;Ann\r\n");

class PlainFile : public testing::Test {
 protected:
  // The number of its cards; -1 where it is none.
  int CardsIn(const std::string& bytes, off_t position = 0) {
    support::PutBytes(folder_.File("f"), bytes);
    const int handle = open(folder_.File("f").c_str(), O_RDONLY);
    lseek(handle, position, SEEK_SET);
    const auto cards = PlainCardsOfFile(handle);
    EXPECT_EQ(lseek(handle, 0, SEEK_CUR), position);
    close(handle);
    return cards ? static_cast<int>(cards->size()) : -1;
  }

  // Many cards of a certain size in all.
  static std::string Cards(size_t size) {
    const std::string card = Card("N:Lee;Ann\r\nNOTE:" + std::string(100'000, 'n') + "\r\n");
    std::string cards;
    while (cards.size() + 2 * card.size() < size) cards += card;
    const size_t missing = size - cards.size() - Card("N:Lee;Ann\r\nNOTE:\r\n").size();
    return cards + Card("N:Lee;Ann\r\nNOTE:" + std::string(missing, 'n') + "\r\n");
  }

  support::TempFolder folder_;
};

TEST_F(PlainFile, HasTheBytesAndLinesOfEachCard) {
  support::PutBytes(folder_.File("f"), kAnn + Card("N:Ray;Bob\nTEL;CELL:1\r\n"));
  const int handle = open(folder_.File("f").c_str(), O_RDONLY);
  const auto cards = PlainCardsOfFile(handle);
  close(handle);
  ASSERT_TRUE(cards.has_value());
  ASSERT_EQ(cards->size(), 2u);
  EXPECT_EQ((*cards)[0].bytes, kAnn.size());
  EXPECT_EQ((*cards)[0].lines, 4u);
  EXPECT_EQ((*cards)[1].bytes, kAnn.size() + 11);
  EXPECT_EQ((*cards)[1].lines, 5u);
}

TEST_F(PlainFile, MayEndWithoutALineEnd) {
  EXPECT_EQ(CardsIn(kAnn + kAnn.substr(0, kAnn.size() - 2)), 2);
}

TEST_F(PlainFile, MayBeLongerThanWhatIsReadAtOnce) {
  std::string cards;
  for (int i = 0; i < 20'000; ++i) cards += kAnn;
  EXPECT_EQ(CardsIn(cards), 20'000);
}

TEST_F(PlainFile, HoldsNothingElse) {
  EXPECT_EQ(CardsIn(""), -1);
  EXPECT_EQ(CardsIn("\r\n" + kAnn), -1);
  EXPECT_EQ(CardsIn(kAnn + "\r\n" + kAnn), -1);
  EXPECT_EQ(CardsIn(kAnn + "x"), -1);
  EXPECT_EQ(CardsIn("\xEF\xBB\xBF" + kAnn), -1);
  EXPECT_EQ(CardsIn(kAnn + Card("N:Lee;Ann\r\nX-OTHER:1\r\n")), -1);
  EXPECT_EQ(CardsIn(kAnn + "BEGIN:VNOTE\r\nVERSION:1.1\r\nBODY:x\r\nEND:VNOTE\r\n"), -1);
  EXPECT_EQ(CardsIn(kAnn + "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Lee\r\n"), -1);
}

TEST_F(PlainFile, IsReadFromItsStart) { EXPECT_EQ(CardsIn(kAnn + kAnn, 2), -1); }

TEST_F(PlainFile, IsNoPipeAndNoFolder) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  ASSERT_EQ(write(ends[1], kAnn.data(), kAnn.size()), static_cast<ssize_t>(kAnn.size()));
  close(ends[1]);
  EXPECT_FALSE(PlainCardsOfFile(ends[0]).has_value());
  std::string left(kAnn.size(), ' ');
  EXPECT_EQ(read(ends[0], left.data(), left.size()), static_cast<ssize_t>(kAnn.size()));
  close(ends[0]);
  EXPECT_FALSE(PlainCardsOfFile(-1).has_value());
}

TEST_F(PlainFile, IsOfALimitedSize) {
  constexpr auto kMost = static_cast<size_t>(kLargestPlainFile);
  EXPECT_GT(CardsIn(Cards(kMost)), 100);
  EXPECT_EQ(CardsIn(Cards(kMost + 1)), -1);
}

}  // namespace
}  // namespace plain_file_test
