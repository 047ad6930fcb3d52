#include "client/file_index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "tests/support/bytes.h"
#include "tests/support/files.h"

namespace client::file_index_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

FileIndex Index(const std::string& bytes) {
  const support::TempFile file(bytes);
  const std::optional<FileIndex> index = IndexFile(file.path());
  EXPECT_TRUE(index.has_value());
  return index.value_or(FileIndex{});
}

// The objects' own bytes.
std::vector<std::string> Pieces(const std::string& bytes) {
  std::vector<std::string> pieces;
  for (const FileObject& object : Index(bytes).objects) {
    const auto size = static_cast<size_t>(object.end - object.begin);
    pieces.push_back(bytes.substr(static_cast<size_t>(object.begin), size));
  }
  return pieces;
}

TEST(FileIndex, FindsEachObjectWithItsLine) {
  const std::string first = "BEGIN:VCARD\nN:1\nEND:VCARD\n";
  const std::string second = "begin : vcard\r\nN:2\r\nEnd:VCARD";
  EXPECT_THAT(Pieces(first + "\n" + second), ElementsAre(first, second));
  const FileIndex index = Index(first + "\n" + second);
  EXPECT_EQ(index.objects[1].line, 5u);
  EXPECT_EQ(index.objects[1].kind, ObjectKind::kVCard);
  EXPECT_TRUE(index.objects[1].is_complete);
}

TEST(FileIndex, NestedObjectsBelongToTheOuterOne) {
  const std::string text = "BEGIN:VCARD\nBEGIN:A\nBEGIN:B\nEND:X\nEND:\nEND:VCARD\n";
  EXPECT_THAT(Pieces(text), ElementsAre(text));
}

TEST(FileIndex, OnlyWholeLinesBeginAnObject) {
  const std::string text =
      "BEGIN:VCARD\nNOTE:a\n END:VCARD\nTITLE:b=\nEND:VCARD=\r\nBEGIN:VCARD\nX:c==\nEND:VCARD\n";
  EXPECT_THAT(Pieces(text), ElementsAre(text));
}

TEST(FileIndex, AnUnfinishedObjectEndsBeforeTheNextOfItsKind) {
  const std::string cut = "BEGIN:VCARD\nN:1\n";
  const std::string whole = "BEGIN:VCARD\nN:2\nEND:VCARD\n";
  EXPECT_THAT(Pieces(cut + whole + cut + cut), ElementsAre(cut, whole, cut, cut));
  EXPECT_FALSE(Index(cut + whole).objects[0].is_complete);
}

TEST(FileIndex, TheAgentOfAnUnfinishedCardIsNoObject) {
  const std::string text = "BEGIN:VCARD\nN:1\nAGENT:\nBEGIN:VCARD\nN:2\nEND:VCARD\n";
  EXPECT_THAT(Pieces(text), ElementsAre(text));
}

TEST(FileIndex, AnUnfinishedMessageDoesNotBecomeItsSendersCard) {
  const std::string cut = "BEGIN:VMSG\nBEGIN:VCARD\nEND:VCARD\nBEGIN:VENV\n";
  const std::string whole = "BEGIN:VMSG\nEND:VMSG\n";
  EXPECT_THAT(Pieces(cut + whole), ElementsAre(cut, whole));
}

TEST(FileIndex, AMessagesBodyIsFreeText) {
  const std::string text =
      "BEGIN:VMSG\nBEGIN:VENV\nBEGIN:VBODY\n\nBEGIN:VMSG\nEND:VMSG=\nEND:VBODY\nEND:VENV\nEND:"
      "VMSG\n";
  EXPECT_THAT(Pieces(text + text), ElementsAre(text, text));
}

TEST(FileIndex, ACalendarHasARecordForEachEventAndToDo) {
  const FileIndex index = Index(
      "BEGIN:VCALENDAR\nBEGIN:VEVENT\nBEGIN:VTODO\nEND:VTODO\nEND:VEVENT\nBEGIN:VTODO\nEND:VTODO\n"
      "END:VCALENDAR\nBEGIN:VCALENDAR\nEND:VCALENDAR\n");
  ASSERT_THAT(index.objects, SizeIs(2));
  EXPECT_EQ(index.objects[0].records, 2u);
  EXPECT_THAT(index.record_lines, ElementsAre(2, 6, 9));
  EXPECT_EQ(index.ObjectOf(1).line, 1u);
  EXPECT_EQ(index.ObjectOf(2).line, 9u);
  EXPECT_EQ(index.ObjectOf(99).line, 9u);
}

TEST(FileIndex, TellsTheTextBetweenObjects) {
  const FileIndex index =
      Index("\n \nhi\nBEGIN:VCARD\nEND:VCARD\n\nBEGIN:VCARD\nEND:VCARD\n\nEND:VCARD\n");
  ASSERT_THAT(index.outside, SizeIs(3));
  EXPECT_EQ(index.outside[0].next_object, 0u);
  EXPECT_EQ(index.outside[0].line, 1u);
  EXPECT_EQ(index.outside[0].text_line, 3u);
  EXPECT_EQ(index.outside[1].line, 6u);
  EXPECT_EQ(index.outside[1].text_line, std::nullopt);
  EXPECT_EQ(index.outside[2].next_object, 2u);
  EXPECT_EQ(index.outside[2].text_line, 10u);
}

TEST(FileIndex, AByteOrderMarkIsNoPartOfTheFirstObject) {
  const std::string card = "BEGIN:VCARD\nEND:VCARD\n";
  EXPECT_THAT(Pieces("\xEF\xBB\xBF" + card), ElementsAre(card));
  EXPECT_THAT(Index("\xEF\xBB\xBF" + card).outside, IsEmpty());
}

TEST(FileIndex, AZeroByteEndsTheTextOfALine) {
  EXPECT_THAT(Pieces(std::string("BEGIN:VCARD\nEND\0:no\n", 20)), SizeIs(1));
  EXPECT_THAT(Index(std::string("B\0EGIN:VCARD\n", 13)).objects, IsEmpty());
}

TEST(FileIndex, AMissingFileIsNone) { EXPECT_EQ(IndexFile("/no/such/file"), std::nullopt); }

// Whoever sends a file of gigabytes without an object has it looked through no further than this.
TEST(FileIndex, WhatHasNoBeginInItsFirst64MegabytesHasNoObject) {
  const std::string line = std::string(1023, 'x') + "\n";
  const std::string card = "BEGIN:VCARD\nEND:VCARD\n";
  const std::string almost = support::Repeated(line, 64 * 1024 - 1);
  EXPECT_THAT(Index(almost + card).objects, SizeIs(1));
  EXPECT_THAT(Index(almost + line + line + card).objects, IsEmpty());
}

TEST(FileIndex, AHundredThousandUnfinishedCardsTakeLinearTime) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) text += "BEGIN:VCARD\n";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THAT(Index(text).objects, SizeIs(100'000));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
}  // namespace client::file_index_test
