#include "dialects/object_reader.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "client/texts.h"
#include "tests/support/bytes.h"
#include "tests/support/files.h"
#include "tests/support/temp_folder.h"

namespace object_reader_test {
namespace {

using dialects::FileRest;
using dialects::ReadObject;
using dialects::RefusedObject;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// What was read of a file, a line for each object.
class Recorder : public dialects::ObjectVisitor {
 public:
  void OnObject(const ReadObject& object) override {
    lines_.push_back(std::to_string(object.number) + " line " + std::to_string(object.line) +
                     " store " + std::to_string(object.store_id) + " " +
                     client::ObjectName(object.store_id, *object.object) +
                     (object.uid.empty() ? "" : " uid " + object.uid));
  }
  void OnRefused(const RefusedObject& refused) override {
    lines_.push_back(std::to_string(refused.number) + " line " + std::to_string(refused.line) +
                     " refused: " + refused.reason);
  }
  const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
};

class DialectFile : public testing::Test {
 protected:
  std::vector<std::string> Read(const std::string& bytes) {
    support::PutBytes(folder_.File("f"), bytes);
    const int handle = open(folder_.File("f").c_str(), O_RDONLY);
    Recorder recorder;
    result_ = dialects::ReadDialectFile(handle, {}, recorder, rest_);
    close(handle);
    return recorder.lines();
  }

  static std::string Card(const std::string& lines) {
    return "BEGIN:VCARD\r\nVERSION:2.1\r\n" + lines + "END:VCARD\r\n";
  }
  static std::string Note(const std::string& name) {
    return "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:" + name + "\r\nBODY:x\r\nEND:VNOTE\r\n";
  }

  OsifResult result_ = OSIF_OK;
  FileRest rest_;
  support::TempFolder folder_;
};

TEST_F(DialectFile, GivesTheObjectsOfAllKindsInTheirOrder) {
  EXPECT_THAT(
      Read(Card("N:Lee;Ann\r\n") +
           "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:7\r\nSUMMARY:Walk\r\n"
           "DTSTART:20260301T080000Z\r\nEND:VEVENT\r\nBEGIN:VTODO\r\nSUMMARY:Buy\r\n"
           "END:VTODO\r\nEND:VCALENDAR\r\n" +
           Note("List") + "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:u8\r\nFN:Ole\r\nEND:VCARD\r\n"),
      ElementsAre("1 line 1 store 0 Ann Lee", "2 line 7 store 1 Walk uid 7",
                  "3 line 12 store 1 Buy", "4 line 16 store 2 List",
                  "5 line 21 store 0 Ole uid u8"));
  EXPECT_EQ(result_, OSIF_OK);
  EXPECT_EQ(rest_.outside_lines, 0U);
}

TEST_F(DialectFile, GoesOnAfterARefusedObject) {
  EXPECT_THAT(Read(Card("N:Lee;Ann\r\n") + Card("REV:1\r\n") + Card("N:Berg;Ole\r\n")),
              ElementsAre("1 line 1 store 0 Ann Lee",
                          "2 line 5 refused: nothing to store: no name, number, address or text",
                          "3 line 9 store 0 Ole Berg"));
  EXPECT_EQ(result_, OSIF_PARSE_ERROR);
}

TEST_F(DialectFile, GivesEveryCardOfManyThatAreGathered) {
  std::string cards;
  for (int i = 0; i < 5000; ++i) {
    cards += Card("N:Lee;" + std::to_string(i) + "\r\nTITLE:" + std::string(80, 'x') + "\r\n");
  }
  const std::vector<std::string> lines = Read(cards);
  ASSERT_THAT(lines, SizeIs(5000));
  EXPECT_EQ(lines[0], "1 line 1 store 0 0 Lee");
  EXPECT_EQ(lines[4999], "5000 line 24996 store 0 4999 Lee");
  EXPECT_EQ(rest_.objects, 5000u);
  EXPECT_EQ(result_, OSIF_OK);
}

// More than is divided at once: plain cards, others, notes of one name, refused objects and lines of nobody in turn.
TEST_F(DialectFile, OfAnySizeIsReadInItsOrder) {
  const std::string padding(1000, 'x');
  const std::string group = Card("N:Lee;Ann\r\nTITLE:" + padding + "\r\n") +
                            Card("N:Lee;Bo\r\nX-OTHER:" + padding + "\r\n") + "nobody's\r\n" +
                            Note("List") + "BEGIN:VBOOKMARK\r\nEND:VBOOKMARK\r\n";
  constexpr size_t kGroups = 600;
  std::string file;
  for (size_t i = 0; i < kGroups; ++i) file += group;
  const std::vector<std::string> lines = Read(file);
  ASSERT_THAT(lines, SizeIs(4 * kGroups));
  for (size_t i = 0; i < kGroups; ++i) {
    const auto line = [&](size_t number, size_t offset, const std::string& text) {
      return std::to_string(4 * i + number) + " line " + std::to_string(18 * i + offset) + text;
    };
    EXPECT_EQ(lines[4 * i], line(1, 1, " store 0 Ann Lee"));
    EXPECT_EQ(lines[4 * i + 1], line(2, 6, " store 0 Bo Lee"));
    EXPECT_TRUE(lines[4 * i + 2].starts_with(line(3, 12, " store 2 List"))) << lines[4 * i + 2];
    EXPECT_EQ(lines[4 * i + 3], line(4, 17, " refused: no card, calendar, note or message"));
  }
  EXPECT_EQ(rest_.objects, 4 * kGroups);
  EXPECT_EQ(rest_.outside_lines, kGroups);
  EXPECT_EQ(rest_.first_outside, 11u);
  EXPECT_EQ(result_, OSIF_PARSE_ERROR);
}

TEST_F(DialectFile, IsReadFromWhereItStands) {
  support::PutBytes(folder_.File("f"), Card("N:Lee;Ann\r\n") + Card("N:Ray;Bob\r\n"));
  const int handle = open(folder_.File("f").c_str(), O_RDONLY);
  lseek(handle, static_cast<off_t>(Card("N:Lee;Ann\r\n").size()), SEEK_SET);
  Recorder recorder;
  EXPECT_EQ(dialects::ReadDialectFile(handle, {}, recorder, rest_), OSIF_OK);
  close(handle);
  EXPECT_THAT(recorder.lines(), ElementsAre("1 line 1 store 0 Bob Ray"));
}

TEST_F(DialectFile, GivesPlainCardsAndOthersInTurnWithTheirLines) {
  const std::string modern = "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:u8\r\nFN:Ole\r\nEND:VCARD\r\n";
  EXPECT_THAT(Read(Card("N:Lee;Ann\r\n") + Card("N:Lee;Bo\r\n") + modern + "\r\n" +
                   Card("N:Lee;Cy\r\n") + Card("N:Lee;Di\r\n")),
              ElementsAre("1 line 1 store 0 Ann Lee", "2 line 5 store 0 Bo Lee",
                          "3 line 9 store 0 Ole uid u8", "4 line 15 store 0 Cy Lee",
                          "5 line 19 store 0 Di Lee"));
  EXPECT_EQ(rest_.objects, 5U);
}

TEST_F(DialectFile, NotesOfOneNameAreTwo) {
  EXPECT_THAT(Read(Note("List") + Note("List")),
              ElementsAre("1 line 1 store 2 List", "2 line 6 store 2 List (2)"));
}

TEST_F(DialectFile, TellsWhatStandsOutsideOfObjects) {
  EXPECT_THAT(Read("hello\r\n\r\n" + Card("N:Lee;Ann\r\n") + "bye\r\n"),
              ElementsAre("1 line 3 store 0 Ann Lee"));
  EXPECT_EQ(rest_.outside_lines, 2U);
  EXPECT_EQ(rest_.first_outside, 1U);
}

TEST_F(DialectFile, WithoutObjectsIsNoStream) {
  EXPECT_THAT(Read("hello\r\n"), IsEmpty());
  EXPECT_EQ(result_, OSIF_ERR_INVALID_STREAM);
  EXPECT_THAT(Read(""), IsEmpty());
  EXPECT_EQ(result_, OSIF_ERR_INVALID_STREAM);
}

TEST_F(DialectFile, ThatCannotBeReadSaysWhy) {
  Recorder recorder;
  EXPECT_EQ(dialects::ReadDialectFile(-1, {}, recorder, rest_), OSIF_ERR_FILE_OPEN);
  EXPECT_EQ(errno, EBADF);
}

TEST_F(DialectFile, OfAnUnknownKindIsRefusedInWords) {
  EXPECT_THAT(Read("BEGIN:VBOOKMARK\r\nURL:x\r\nEND:VBOOKMARK\r\n"),
              ElementsAre("1 line 1 refused: no card, calendar, note or message"));
}

}  // namespace
}  // namespace object_reader_test
