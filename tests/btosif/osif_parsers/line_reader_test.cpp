#include "btosif/osif_parsers/line_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/posix/fault_injection.h"
#include "tests/support/files.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace line_reader_test {
namespace {

using support::OpenBytes;
using support::Repeated;
using support::TraceReceiver;
using testing::ElementsAre;
using testing::MatchesRegex;

std::string NextLine(OsifStream& stream) {
  OwnedText line = FileLine(stream);
  return line ? line.get() : "<no memory>";
}

std::string FirstLine(std::string_view bytes) {
  OsifStream stream = OpenBytes(bytes);
  return NextLine(stream);
}

// The first lines of a file.
std::vector<std::string> FirstLines(std::string_view bytes, size_t count) {
  OsifStream stream = OpenBytes(bytes);
  std::vector<std::string> lines;
  for (size_t i = 0; i < count; ++i) lines.push_back(NextLine(stream));
  return lines;
}

// ---- Lines and folds ----

TEST(LineReader, AValueOverThreePhysicalLinesComesBackWithOneBlankAtEachJoin) {
  EXPECT_EQ(FirstLine("NOTE:one\r\n two\r\n three\r\n"), "NOTE:one two three");
}

TEST(LineReader, AFoldByATabBecomesABlank) {
  EXPECT_EQ(FirstLine("NOTE:one\r\n\ttwo\n\tthree\n"), "NOTE:one two three");
}

TEST(LineReader, BlanksBehindTheFoldingOneStay) {
  EXPECT_EQ(FirstLine("NOTE:one\r\n  two\r\n \tthree\r\n"), "NOTE:one  two \tthree");
}

TEST(LineReader, BlanksBeforeAFoldStay) {
  EXPECT_EQ(FirstLine("NOTE:one \r\n two\r\n"), "NOTE:one  two");
}

TEST(LineReader, TwoLogicalLinesInARowComeBackWhole) {
  EXPECT_THAT(FirstLines("N:Lee\r\nFN:Ann\r\n", 2), ElementsAre("N:Lee", "FN:Ann"));
  EXPECT_THAT(FirstLines("N:Lee\nFN:Ann\n", 2), ElementsAre("N:Lee", "FN:Ann"));
}

TEST(LineReader, AnEmptyPhysicalLineComesBackAsAnEmptyText) {
  EXPECT_THAT(FirstLines("a\r\n\r\n\nb\r\n", 4), ElementsAre("a", "", "", "b"));
}

TEST(LineReader, ALineOfABlankAloneContinuesTheLineBeforeIt) {
  EXPECT_THAT(FirstLines("a\r\n \r\nb\r\n", 2), ElementsAre("a ", "b"));
}

TEST(LineReader, ABlankAtTheStartOfTheFileIsNoFold) {
  EXPECT_THAT(FirstLines(" a\r\n b\r\n", 1), ElementsAre(" a b"));
}

TEST(LineReader, AtTheEndOfTheFileAnEmptyLineIsReturned) {
  EXPECT_THAT(FirstLines("a\r\n", 3), ElementsAre("a", "", ""));
  EXPECT_EQ(FirstLine(""), "");
}

TEST(LineReader, AStreamThatIsNotOpenHasOnlyEmptyLines) {
  OsifStream closed;
  EXPECT_EQ(NextLine(closed), "");
  EXPECT_EQ(NextLine(closed), "");
}

TEST(LineReader, TheLastLineNeedsNoLineEnd) {
  EXPECT_THAT(FirstLines("a\r\nb", 3), ElementsAre("a", "b", ""));
}

TEST(LineReader, TheEndOfTheFileIsMarkedWithTheLastLine) {
  for (const char* bytes : {"a\r\nb\r\n", "a\r\nb"}) {
    OsifStream stream = OpenBytes(bytes);
    NextLine(stream);
    EXPECT_EQ(FILE_Eof(stream), 0);
    NextLine(stream);
    EXPECT_NE(FILE_Eof(stream), 0);
  }
}

TEST(LineReader, AnEmptyLastLineIsALineOfItsOwn) {
  OsifStream stream = OpenBytes("a\r\n\r\n");
  NextLine(stream);
  EXPECT_EQ(FILE_Eof(stream), 0);
}

// ---- Soft line breaks ----

TEST(LineReader, QuotedPrintableLinesThatEndInAnEqualsSignComeBackAsOne) {
  EXPECT_EQ(FirstLine("NOTE;QUOTED-PRINTABLE:one =\r\ntwo =\nthree\r\n"),
            "NOTE;QUOTED-PRINTABLE:one two three");
}

TEST(LineReader, AnEqualsSignInTheMiddleOfALineIsKeptWithItsDigits) {
  EXPECT_EQ(FirstLine("N;QUOTED-PRINTABLE:J=C3=BCrgen\r\n"), "N;QUOTED-PRINTABLE:J=C3=BCrgen");
}

TEST(LineReader, ALineThatEndsInAnEqualsSignAtTheVeryEndOfTheFileLosesIt) {
  EXPECT_EQ(FirstLine("NOTE:one="), "NOTE:one");
  EXPECT_EQ(FirstLine("NOTE:one=\r\n"), "NOTE:one");
}

TEST(LineReader, SoftBreaksJoinLinesOfEveryEncoding) {
  EXPECT_THAT(FirstLines("NOTE:1+1=\r\nTEL:2\r\nFN:x\r\n", 2),
              ElementsAre("NOTE:1+1TEL:2", "FN:x"));
}

TEST(LineReader, ABlankBehindASoftBreakIsPartOfTheText) {
  EXPECT_EQ(FirstLine("NOTE:one=\r\n two\r\n"), "NOTE:one two");
}

TEST(LineReader, OfTwoEqualsSignsBeforeALineEndBothAreKeptAndTheLineEnds) {
  EXPECT_THAT(FirstLines("a==\r\nb\r\n", 2), ElementsAre("a==", "b"));
}

TEST(LineReader, AThirdEqualsSignIsASoftBreakAgain) {
  EXPECT_THAT(FirstLines("a===\r\nb\r\n", 2), ElementsAre("a==b", ""));
}

TEST(LineReader, SoftBreaksMayFollowEachOther) {
  EXPECT_EQ(FirstLine("a=\r\n=\r\n=\nb\r\n"), "ab");
}

TEST(LineReader, ASoftBreakBeforeAnEmptyLineEndsTheLineThere) {
  EXPECT_THAT(FirstLines("a=\r\n\r\nb\r\n", 2), ElementsAre("a", "b"));
}

// ---- Carriage returns and zero bytes ----

TEST(LineReader, ACarriageReturnAloneIsNoLineEndAndCutsTheLine) {
  EXPECT_THAT(FirstLines("one\rtwo\r\nthree\r\n", 2), ElementsAre("one", "three"));
}

TEST(LineReader, ACarriageReturnBeforeALineEndCutsTheLine) {
  EXPECT_THAT(FirstLines("one\r\r\ntwo\r\n", 2), ElementsAre("one", "two"));
}

TEST(LineReader, AnEqualsSignBeforeACarriageReturnAloneIsKept) {
  EXPECT_THAT(FirstLines("one=\rtwo\r\nthree\r\n", 2), ElementsAre("one=", "three"));
}

TEST(LineReader, ALineEndsAsATextAtItsFirstZeroByte) {
  EXPECT_THAT(FirstLines(std::string_view("one\0two\r\nthree\r\n", 16), 2),
              ElementsAre("one", "three"));
}

// ---- Positions, long lines and memory ----

TEST(LineReader, TheStreamStandsAtTheStartOfTheNextLine) {
  OsifStream stream = OpenBytes("one\r\n two\r\nthree\r\n");
  NextLine(stream);
  int64_t position = -1;
  FILE_Tell(&position, stream);
  EXPECT_EQ(position, 11);
  uint32_t character = 0;
  FILE_GetChar(&character, stream);
  EXPECT_EQ(character, uint32_t{'t'});
}

TEST(LineReader, ReadsFromWhereTheStreamStands) {
  OsifStream stream = OpenBytes("one\r\ntwo\r\n");
  FILE_Seek(stream, 1);
  EXPECT_EQ(NextLine(stream), "ne");
}

TEST(LineReader, ReadsLinesOfEveryLengthWhole) {
  for (size_t length : {511u, 512u, 513u, 4095u, 4096u, 4097u, 65535u, 65536u, 65537u}) {
    std::string line(length, 'x');
    EXPECT_THAT(FirstLines(line + "\r\nnext\r\n", 2), ElementsAre(line, "next"));
  }
}

TEST(LineReader, ReadsALineOfTenMegabytes) {
  std::string line = "NOTE:" + std::string(10u << 20, 'x');
  EXPECT_THAT(FirstLines(line + "\r\nnext\r\n", 2), ElementsAre(line, "next"));
}

TEST(LineReader, JoinsAHundredThousandFolds) {
  std::vector<std::string> lines = FirstLines("a\r\n" + Repeated(" b\r\n", 100000) + "next\r\n", 2);
  EXPECT_EQ(lines[0], "a" + Repeated(" b", 100000));
  EXPECT_EQ(lines[1], "next");
}

TEST(LineReader, ReadsAHundredThousandLines) {
  OsifStream stream = OpenBytes(Repeated("TEL:1\r\n", 100000));
  size_t count = 0;
  while (FILE_Eof(stream) == 0) {
    ASSERT_EQ(NextLine(stream), "TEL:1");
    ++count;
  }
  EXPECT_EQ(count, 100000u);
}

class LineReaderMemory : public support::TextTest {};

TEST_F(LineReaderMemory, ShortageIsToldAndTheStreamStandsBehindTheLine) {
  OsifStream stream = OpenBytes("one\r\ntwo\r\n folded\r\nthree\r\n");
  NextLine(stream);
  TraceReceiver trace;
  FailAllocation(1);
  OwnedText line = FileLine(stream);
  FailAllocation(0);
  EXPECT_EQ(line, nullptr);
  EXPECT_THAT(
      trace.Lines(),
      ElementsAre(MatchesRegex("OSIF:  Memory allocation of [0-9]+ bytes failed in 'FileLine'")));
  EXPECT_EQ(NextLine(stream), "three");
}

TEST_F(LineReaderMemory, ALineCostsItsRawLength) {
  OsifStream stream = OpenBytes("one\r\n two\r\nthree\r\n");
  NextLine(stream);
  TraceReceiver trace;
  FailAllocation(1);
  FileLine(stream);
  FailAllocation(0);
  // "three", its line end, and one more because the end of the file was met
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  Memory allocation of 8 bytes failed in 'FileLine'"));
}

// ---- Every small file ----

// The reader as it is told, one character after the other.
class Model {
 public:
  explicit Model(const std::string& bytes) : bytes_(bytes) {}

  std::string NextLine() {
    std::string line;
    while (position_ < bytes_.size()) {
      size_t end = LineEndAt(position_);
      if (end > 0) {
        position_ += end;
        if (position_ == bytes_.size() || !IsBlank(bytes_[position_])) break;
        line += ' ';
        ++position_;
      } else if (bytes_[position_] == '=') {
        AfterEquals(line);
      } else {
        line += bytes_[position_++];
      }
    }
    return line.substr(0, line.find('\r'));
  }

  size_t position() const { return position_; }

 private:
  static bool IsBlank(char c) { return c == ' ' || c == '\t'; }

  // The length of the line end at a position: 2, 1, or 0 for none.
  size_t LineEndAt(size_t at) const {
    if (bytes_.compare(at, 2, "\r\n") == 0) return 2;
    return at < bytes_.size() && bytes_[at] == '\n' ? 1 : 0;
  }

  void AfterEquals(std::string& line) {
    ++position_;
    if (position_ == bytes_.size()) return;
    if (size_t end = LineEndAt(position_); end > 0) {
      position_ += end;
      return;
    }
    line += '=';
    line += bytes_[position_++];
  }

  std::string bytes_;
  size_t position_ = 0;
};

std::string Shown(const std::string& bytes) {
  std::string shown;
  for (char c : bytes) {
    shown += c == '\r' ? std::string("\\r") : c == '\n' ? std::string("\\n") : std::string(1, c);
  }
  return shown;
}

// Reads a file to its end and compares every line and position with the model's.
void ExpectAsTold(support::TempFile& file, const std::string& bytes) {
  file.Put(bytes);
  OsifStream stream = support::Open(file.path(), u"rb");
  Model model(bytes);
  for (size_t line = 0; line <= bytes.size() + 1; ++line) {
    ASSERT_EQ(NextLine(stream), model.NextLine()) << "line " << line << " of " << Shown(bytes);
    int64_t position = -1;
    FILE_Tell(&position, stream);
    ASSERT_EQ(position, static_cast<int64_t>(model.position()))
        << "behind line " << line << " of " << Shown(bytes);
    if (model.position() == bytes.size()) return;
  }
}

// All texts of a length over the characters that mean something to the reader.
void ExpectEveryTextAsTold(support::TempFile& file, size_t length) {
  constexpr std::string_view kAlphabet = "a= \r\n";
  size_t count = 1;
  for (size_t i = 0; i < length; ++i) count *= kAlphabet.size();
  for (size_t number = 0; number < count; ++number) {
    std::string bytes;
    for (size_t rest = number; bytes.size() < length; rest /= kAlphabet.size()) {
      bytes += kAlphabet[rest % kAlphabet.size()];
    }
    ExpectAsTold(file, bytes);
    if (testing::Test::HasFatalFailure()) return;
  }
}

class EverySmallFile : public testing::TestWithParam<size_t> {};

TEST_P(EverySmallFile, IsReadAsTold) {
  support::TempFile file;
  ExpectEveryTextAsTold(file, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Lengths, EverySmallFile, testing::Range<size_t>(0, 8));

}  // namespace
}  // namespace line_reader_test
