#include "btosif/osif_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/files.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"

namespace osif_file_test {
namespace {

using support::BytesWritten;
using support::Narrow;
using support::Open;
using support::OpenBytes;
using support::Repeated;
using support::TempFile;
using support::TempFolder;
using support::TraceReceiver;
using support::Wide;
using testing::ElementsAre;
using testing::MatchesRegex;
using testing::StartsWith;

class File : public support::TextTest {};

// The next physical line; "<end>" where the reader reports the end.
std::string ReadLine(OsifStream& stream) {
  char buffer[kLineRoom] = "<end>";
  int result = FILE_ReadLine(buffer, stream);
  EXPECT_EQ(result, std::string(buffer) == "<end>" ? 1 : 0);
  return buffer;
}

uint32_t ReadChar(OsifStream& stream) {
  uint32_t character = 0;
  EXPECT_EQ(FILE_GetChar(&character, stream), 0);
  return character;
}

int64_t Position(const OsifStream& stream) {
  int64_t position = -1;
  EXPECT_EQ(FILE_Tell(&position, stream), 0);
  return position;
}

// ---- Opening and closing ----

TEST_F(File, OpensAFileForReading) {
  TempFile file("x");
  OsifStream stream;
  EXPECT_EQ(FILE_Open(stream, file.wide_path().c_str(), u"rb"), 0);
  EXPECT_TRUE(stream.is_open());
}

TEST_F(File, TellsTheTraceAboutAFileThatCannotBeOpened) {
  TempFolder folder;
  TraceReceiver trace;
  std::string name = folder.File("missing.vcf");
  OsifStream stream;
  EXPECT_EQ(FILE_Open(stream, Wide(name).c_str(), u"rb"), 1);
  EXPECT_FALSE(stream.is_open());
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to open file '" + name + "' in mode 'rb'"));
}

TEST_F(File, ClosesAnOpenStreamWhenTheNextOpenFails) {
  TempFolder folder;
  OsifStream stream = OpenBytes("x");
  EXPECT_EQ(FILE_Open(stream, Wide(folder.File("missing")).c_str(), u"rb"), 1);
  EXPECT_FALSE(stream.is_open());
}

TEST_F(File, ClosesAStreamSilently) {
  TempFile file("x");
  OsifStream stream = Open(file.path(), u"rb");
  TraceReceiver trace;
  EXPECT_EQ(FILE_Close(stream, file.wide_path().c_str()), 0);
  EXPECT_FALSE(stream.is_open());
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

TEST_F(File, ClosingAClosedStreamIsHarmless) {
  OsifStream stream;
  FILE_Close(stream, u"nothing");
  FILE_Close(stream, u"nothing");
  EXPECT_FALSE(stream.is_open());
}

TEST_F(File, TellsTheTraceWhenTheLastBytesCannotBeWrittenAtTheClose) {
  OsifStream stream = Open("/dev/full", u"w");
  ASSERT_EQ(FILE_WriteLine(stream, "no room for this"), 0);
  TraceReceiver trace;
  EXPECT_EQ(FILE_Close(stream, u"/dev/full"), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to close file '/dev/full'"));
}

TEST_F(File, ModeWEmptiesAFile) {
  TempFile file("old");
  Open(file.path(), u"w");
  EXPECT_EQ(file.Bytes(), "");
}

TEST_F(File, ModeAPlusWritesBehindWhatTheFileHolds) {
  TempFile file("old\n");
  {
    OsifStream stream = Open(file.path(), u"a+");
    EXPECT_EQ(FILE_WriteLine(stream, "new"), 0);
  }
  EXPECT_EQ(file.Bytes(), "old\nnew\n");
}

TEST_F(File, AFileExistsWhenItCanBeReadAndNothingIsTold) {
  TempFile file("x");
  TempFolder folder;
  TraceReceiver trace;
  EXPECT_TRUE(FILE_Exists(file.wide_path().c_str()));
  EXPECT_FALSE(FILE_Exists(Wide(folder.File("missing")).c_str()));
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

// ---- Reading lines ----

TEST_F(File, ALineOf510CharactersAndItsLineFeedIsReadWhole) {
  std::string line(510, 'a');
  OsifStream stream = OpenBytes(line + "\nnext\n");
  EXPECT_EQ(ReadLine(stream), line);
  EXPECT_EQ(ReadLine(stream), "next");
}

TEST_F(File, ALineOfExactly511CharactersIsFollowedByAnEmptyLine) {
  std::string line(511, 'a');
  OsifStream stream = OpenBytes(line + "\nnext\n");
  EXPECT_EQ(ReadLine(stream), line);
  EXPECT_EQ(ReadLine(stream), "");
  EXPECT_EQ(ReadLine(stream), "next");
}

TEST_F(File, ALongerLineIsSplitAfter511Characters) {
  OsifStream stream = OpenBytes(std::string(511, 'a') + "b\nnext\n");
  EXPECT_EQ(ReadLine(stream), std::string(511, 'a'));
  EXPECT_EQ(ReadLine(stream), "b");
  EXPECT_EQ(ReadLine(stream), "next");
}

TEST_F(File, ALineOf510CharactersBeforeCarriageReturnAndLineFeedIsFollowedByAnEmptyLine) {
  OsifStream stream = OpenBytes(std::string(510, 'a') + "\r\nnext\n");
  EXPECT_EQ(ReadLine(stream), std::string(510, 'a'));
  EXPECT_EQ(ReadLine(stream), "");
  EXPECT_EQ(ReadLine(stream), "next");
}

TEST_F(File, LineEndsOfEitherKindAreNotPartOfTheLine) {
  OsifStream stream = OpenBytes("crlf\r\nlf\n");
  EXPECT_EQ(ReadLine(stream), "crlf");
  EXPECT_EQ(ReadLine(stream), "lf");
  EXPECT_EQ(ReadLine(stream), "<end>");
}

TEST_F(File, ALineThatEndsInACarriageReturnAloneIsReturnedWithoutIt) {
  OsifStream stream = OpenBytes("cr\r");
  EXPECT_EQ(ReadLine(stream), "cr");
}

TEST_F(File, ALineIsCutAtACarriageReturnInsideIt) {
  OsifStream stream = OpenBytes("kept\rdropped\nnext\n");
  EXPECT_EQ(ReadLine(stream), "kept");
  EXPECT_EQ(ReadLine(stream), "next");
}

TEST_F(File, ALineEndsAsATextAtItsFirstZeroByte) {
  OsifStream stream = OpenBytes(std::string("ab\0cd\nnext\n", 11));
  EXPECT_EQ(ReadLine(stream), "ab");
  EXPECT_EQ(ReadLine(stream), "next");
}

TEST_F(File, TheLastLineNeedsNoLineEnd) {
  OsifStream stream = OpenBytes("one\ntwo");
  EXPECT_EQ(ReadLine(stream), "one");
  EXPECT_EQ(ReadLine(stream), "two");
  EXPECT_EQ(ReadLine(stream), "<end>");
}

TEST_F(File, AnEmptyLineIsNotTheEndOfTheFile) {
  OsifStream stream = OpenBytes("\n\r\nx\n");
  EXPECT_EQ(ReadLine(stream), "");
  EXPECT_EQ(ReadLine(stream), "");
  EXPECT_EQ(ReadLine(stream), "x");
}

TEST_F(File, ReadingAnEmptyFileLeavesTheBufferUnchanged) {
  OsifStream stream = OpenBytes("");
  char buffer[kLineRoom] = "before";
  EXPECT_EQ(FILE_ReadLine(buffer, stream), 1);
  EXPECT_STREQ(buffer, "before");
}

TEST_F(File, AReadErrorLeavesTheBufferUnchanged) {
  TempFile file;
  OsifStream write_only = Open(file.path(), u"w");
  char buffer[kLineRoom] = "before";
  EXPECT_EQ(FILE_Error(write_only), 0);
  EXPECT_EQ(FILE_ReadLine(buffer, write_only), 1);
  EXPECT_STREQ(buffer, "before");
  EXPECT_NE(FILE_Error(write_only), 0);
  EXPECT_NE(FILE_Eof(write_only), 0) << "a reader would go on for ever";
}

TEST_F(File, TheEndOfTheFileIsNoError) {
  OsifStream stream = OpenBytes("x");
  while (ReadLine(stream) != "<end>") {
  }
  EXPECT_EQ(FILE_Error(stream), 0);
}

// ---- Writing ----

TEST_F(File, WritesALineWithALineFeed) {
  EXPECT_EQ(BytesWritten([](OsifStream& stream) { EXPECT_EQ(FILE_WriteLine(stream, "abc"), 0); },
                         LineEnd::kLf),
            "abc\n");
}

TEST_F(File, WritesALineOfAnObjectFileWithCarriageReturnAndLineFeed) {
  EXPECT_EQ(BytesWritten([](OsifStream& stream) { EXPECT_EQ(FILE_WriteLine(stream, "abc"), 0); },
                         LineEnd::kCrLf),
            "abc\r\n");
}

TEST_F(File, WritesAnEmptyLineAsItsLineEnd) {
  EXPECT_EQ(BytesWritten([](OsifStream& stream) { EXPECT_EQ(FILE_WriteLine(stream, ""), 0); }),
            "\r\n");
}

TEST_F(File, WritesBytesAsTheyAre) {
  std::string bytes("a\0\n\r\xFF", 5);
  EXPECT_EQ(BytesWritten([&](OsifStream& stream) { EXPECT_EQ(FILE_Write(stream, bytes), 0); }),
            bytes);
}

TEST_F(File, FlushedBytesAreInTheFileBeforeItIsClosed) {
  TempFile file;
  OsifStream stream = Open(file.path(), u"w");
  FILE_WriteLine(stream, "abc");
  EXPECT_EQ(FILE_Flush(stream), 0);
  EXPECT_EQ(file.Bytes(), "abc\n");
}

TEST_F(File, ReportsAFlushThatFails) {
  OsifStream stream = Open("/dev/full", u"w");
  FILE_WriteLine(stream, "no room for this");
  EXPECT_EQ(FILE_Flush(stream), 1);
}

TEST_F(File, ReportsAWriteThatFails) {
  OsifStream stream = Open("/dev/full", u"w");
  std::string much(1 << 20, 'x');
  EXPECT_EQ(FILE_WriteLine(stream, much), 1);
  EXPECT_EQ(FILE_Write(stream, much), 1);
}

TEST_F(File, RefusesToWriteToAFileThatIsOpenForReading) {
  OsifStream stream = OpenBytes("x");
  EXPECT_EQ(FILE_WriteLine(stream, "y"), 1);
}

// ---- Positions ----

TEST_F(File, TellsThePositionBehindWhatWasRead) {
  OsifStream stream = OpenBytes("one\r\ntwo\n");
  EXPECT_EQ(Position(stream), 0);
  ReadLine(stream);
  EXPECT_EQ(Position(stream), 5);
  ReadChar(stream);
  EXPECT_EQ(Position(stream), 6);
}

TEST_F(File, TellsThePositionBehindWhatWasWritten) {
  BytesWritten([](OsifStream& stream) {
    FILE_WriteLine(stream, "abc");
    EXPECT_EQ(Position(stream), 5);
  });
}

TEST_F(File, RewindReadsTheFileFromItsStartAgain) {
  OsifStream stream = OpenBytes("one\ntwo\n");
  while (ReadLine(stream) != "<end>") {
  }
  EXPECT_EQ(FILE_Rewind(stream), 0);
  EXPECT_EQ(ReadLine(stream), "one");
}

TEST_F(File, SeekReadsFromThePosition) {
  OsifStream stream = OpenBytes("one\ntwo\n");
  ReadLine(stream);
  EXPECT_EQ(FILE_Seek(stream, 1), 0);
  EXPECT_EQ(ReadLine(stream), "ne");
}

TEST_F(File, SeekRefusesAPositionBeforeTheStart) {
  OsifStream stream = OpenBytes("one");
  EXPECT_NE(FILE_Seek(stream, -1), 0);
}

TEST_F(File, SeekEndMovesBehindTheLastByte) {
  OsifStream stream = OpenBytes("12345");
  EXPECT_EQ(FILE_SeekEnd(stream), 0);
  EXPECT_EQ(Position(stream), 5);
  EXPECT_EQ(ReadChar(stream), 0xFFFFFFFFu);
}

TEST_F(File, SeekingTakesTheEndOfFileMarkBack) {
  OsifStream stream = OpenBytes("x");
  ReadChar(stream);
  ReadChar(stream);
  ASSERT_NE(FILE_Eof(stream), 0);
  FILE_Rewind(stream);
  EXPECT_EQ(FILE_Eof(stream), 0);
}

TEST_F(File, ReadsAndAppendsOneAfterTheOther) {
  TempFile file("one\ntwo\n");
  {
    OsifStream stream = Open(file.path(), u"a+");
    FILE_Rewind(stream);
    EXPECT_EQ(ReadLine(stream), "one");
    FILE_SeekEnd(stream);
    EXPECT_EQ(FILE_WriteLine(stream, "three"), 0);
    FILE_Rewind(stream);
    EXPECT_EQ(ReadLine(stream), "one");
    EXPECT_EQ(ReadLine(stream), "two");
    EXPECT_EQ(ReadLine(stream), "three");
  }
  EXPECT_EQ(file.Bytes(), "one\ntwo\nthree\n");
}

TEST_F(File, AppendsBehindTheLastByteWhereverItWasReading) {
  TempFile file("one\ntwo\n");
  {
    OsifStream stream = Open(file.path(), u"a+");
    EXPECT_EQ(ReadLine(stream), "one");
    EXPECT_EQ(FILE_WriteLine(stream, "three"), 0);
    EXPECT_EQ(Position(stream), 14);
  }
  EXPECT_EQ(file.Bytes(), "one\ntwo\nthree\n");
}

// ---- Single characters and the end of the file ----

TEST_F(File, ReadsBytesAsUnsignedNumbers) {
  OsifStream stream = OpenBytes(std::string("\xFF\0", 2));
  EXPECT_EQ(ReadChar(stream), 0xFFu);
  EXPECT_EQ(ReadChar(stream), 0u);
  EXPECT_EQ(ReadChar(stream), 0xFFFFFFFFu);
}

TEST_F(File, TheEndIsReachedOnlyWhenAReadHasMetIt) {
  OsifStream stream = OpenBytes("x");
  EXPECT_EQ(FILE_Eof(stream), 0);
  ReadChar(stream);
  EXPECT_EQ(FILE_Eof(stream), 0);
  ReadChar(stream);
  EXPECT_NE(FILE_Eof(stream), 0);
}

TEST_F(File, LooksAheadAtEveryByteOfAFile) {
  std::string bytes = Repeated("0123456789abcdef", 20000);
  OsifStream stream = OpenBytes(bytes);
  while (stream.ReadAhead() == OsifStream::Ahead::kMore) {
  }
  EXPECT_EQ(stream.Window(), bytes);
  EXPECT_NE(FILE_Eof(stream), 0);
}

TEST_F(File, SkippingMovesThePositionThroughTheWindow) {
  OsifStream stream = OpenBytes("abcdef");
  EXPECT_EQ(stream.Window(), "");
  stream.ReadAhead();
  stream.Skip(2);
  EXPECT_EQ(stream.Window(), "cdef");
  EXPECT_EQ(Position(stream), 2);
  EXPECT_EQ(ReadChar(stream), uint32_t{'c'});
}

// ---- Renaming and removing ----

TEST_F(File, RenamesAFile) {
  TempFolder folder;
  std::ofstream(folder.File("old")) << "text";
  EXPECT_EQ(FILE_Rename(Wide(folder.File("old")).c_str(), Wide(folder.File("new")).c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(folder.File("old")));
  EXPECT_TRUE(std::filesystem::exists(folder.File("new")));
}

TEST_F(File, TellsTheTraceAboutARenameThatFailsAndWhy) {
  TempFolder folder;
  std::string old_name = folder.File("missing");
  std::string new_name = folder.File("new");
  TraceReceiver trace;
  EXPECT_EQ(FILE_Rename(Wide(old_name).c_str(), Wide(new_name).c_str()), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to rename file (old=" + old_name +
                                             ", new=" + new_name + ")",
                                         "OSIF:  Error: 0x00000002"));
}

TEST_F(File, NamesOfARenameThatFailsAreShownInTheSystemsCodePage) {
  TempFolder folder;
  const std::string place = folder.File("");
  TraceReceiver trace;
  const std::u16string old_name = Wide(place) + u"M\u00FCller";
  const std::u16string new_name = Wide(place) + u"K\u00F6nig";
  EXPECT_EQ(FILE_Rename(old_name.c_str(), new_name.c_str()), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to rename file (old=" + place +
                                             "M\xFCller, new=" + place + "K\xF6nig)",
                                         "OSIF:  Error: 0x00000002"));
}

TEST_F(File, NamesOfAnOpenAndARemoveThatFailAreShownInTheSystemsCodePage) {
  TempFolder folder;
  const std::u16string name = Wide(folder.File("")) + u"M\u00FCller";
  const std::string shown = folder.File("M\xFCller");
  TraceReceiver trace;
  OsifStream stream;
  EXPECT_EQ(FILE_Open(stream, name.c_str(), u"r"), 1);
  EXPECT_EQ(FILE_Remove(name.c_str()), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to open file '" + shown + "' in mode 'r'",
                                         "OSIF:  Unable to remove file (file=" + shown + ")",
                                         "OSIF:  Error: 0x00000002"));
}

TEST_F(File, DoesNotRenameOverAnotherFile) {
  TempFile old_file("old");
  TempFile other("other");
  EXPECT_EQ(FILE_Rename(old_file.wide_path().c_str(), other.wide_path().c_str()), 1);
  EXPECT_EQ(other.Bytes(), "other");
}

TEST_F(File, RemovesAFile) {
  TempFile file("x");
  TraceReceiver trace;
  EXPECT_EQ(FILE_Remove(file.wide_path().c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(file.path()));
  EXPECT_THAT(trace.Lines(), ElementsAre());
}

TEST_F(File, RemovingAMissingFileReturnsOneAndWritesTwoTraceLines) {
  TempFolder folder;
  std::string name = folder.File("missing");
  TraceReceiver trace;
  EXPECT_EQ(FILE_Remove(Wide(name).c_str()), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to remove file (file=" + name + ")",
                                         "OSIF:  Error: 0x00000002"));
}

// ---- Temporary files ----

// The path that FILE_TempFilename makes, with "/" between folders.
std::string TempName(const char* wanted_name) {
  WCHAR path[kTempPathRoom] = u"untouched";
  EXPECT_EQ(FILE_TempFilename(wanted_name, path), 0);
  std::string name = Narrow(path);
  for (char& c : name) c = c == '\\' ? '/' : c;
  return name;
}

TEST_F(File, ANonEmptyWantedNameIsPutBehindTheTemporaryFolderAndNoFileIsCreated) {
  std::filesystem::path path = TempName("picture.jpg");
  EXPECT_EQ(path.filename(), "picture.jpg");
  EXPECT_EQ(path.parent_path(), device_folder() / "Temp");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(File, OfAWantedNameWithFoldersOnlyTheLastPartCounts) {
  EXPECT_EQ(TempName("..\\..\\picture.jpg"), TempName("picture.jpg"));
  EXPECT_EQ(TempName("/etc/picture.jpg"), TempName("picture.jpg"));
  EXPECT_EQ(TempName("..\\other/picture.jpg"), TempName("picture.jpg"));
}

TEST_F(File, AWantedNameIsInTheSystemsCodePage) {
  support::SetSystemCodePage(1251);
  WCHAR path[kTempPathRoom];
  ASSERT_EQ(FILE_TempFilename("\xEF.txt", path), 0);
  std::u16string text = path;
  EXPECT_EQ(text.substr(text.size() - 5), u"п.txt");
}

// The second byte of each of these letters is that of a backslash.
TEST_F(File, ALetterWhoseByteLooksLikeASeparatorStaysInAWantedName) {
  WCHAR path[kTempPathRoom];
  support::SetSystemCodePage(932);
  ForgetCharsetChoices();
  EXPECT_EQ(FILE_LastPart("\x95\x5C.txt"), u"\u8868.txt");
  EXPECT_EQ(FILE_LastPart("\x95\x5C\\\x83\x5C.txt"), u"\u30BD.txt");
  ASSERT_EQ(FILE_TempFilename("\x95\x5C.txt", path), 0);
  EXPECT_TRUE(std::u16string_view(path).ends_with(u"\u8868.txt"));
  support::SetSystemCodePage(950);
  ForgetCharsetChoices();
  EXPECT_EQ(FILE_LastPart("\xB3\x5C.txt"), u"\u8A31.txt");
}

TEST_F(File, TheLastPartOfANameLeadsNowhereElse) {
  EXPECT_EQ(FILE_LastPart("../../x"), u"x");
  EXPECT_EQ(FILE_LastPart("..\\..\\x"), u"x");
  EXPECT_EQ(FILE_LastPart("c:x"), u"x");
  EXPECT_EQ(FILE_LastPart("/etc/passwd"), u"passwd");
  for (const char* folder : {"", ".", "..", "a/", "a/..", "a\\."}) {
    EXPECT_EQ(FILE_LastPart(folder), u"") << folder;
  }
}

TEST_F(File, AWantedNameThatIsTooLongStaysWithinThePath) {
  WCHAR path[kTempPathRoom + 1];
  std::fill(std::begin(path), std::end(path), u'#');
  FILE_TempFilename(std::string(100000, 'n').c_str(), path);
  EXPECT_LT(std::u16string_view(path).size(), kTempPathRoom);
  EXPECT_EQ(path[kTempPathRoom], u'#');
}

TEST_F(File, WithoutAWantedNameANewEmptyFileIsMade) {
  for (const char* no_name : {static_cast<const char*>(nullptr), ""}) {
    std::filesystem::path path = TempName(no_name);
    EXPECT_EQ(path.parent_path(), device_folder() / "Temp");
    EXPECT_THAT(path.filename().string(), StartsWith("zul"));
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(std::filesystem::file_size(path), 0u);
  }
}

TEST_F(File, EveryMadeNameIsAnotherOne) { EXPECT_NE(TempName(nullptr), TempName(nullptr)); }

TEST_F(File, AWantedNameIsTakenUpTo256Characters) {
  const std::string folder = (device_folder() / "Temp/").string();
  for (size_t length : {255u, 256u, 257u}) {
    const size_t kept = std::min<size_t>(length, 256);
    EXPECT_EQ(TempName(std::string(length, 'n').c_str()), folder + std::string(kept, 'n'));
  }
}

// Every message of a temporary name has a single blank behind "OSIF:".
constexpr const char* kPathError = "OSIF: FILE_TempFilename; PATH error \\([0-9]+\\)";

TEST_F(File, AFolderForTemporaryFilesThatCannotBeMadeIsToldAsAPathError) {
  WCHAR path[kTempPathRoom] = u"untouched";
  std::filesystem::remove_all(device_folder() / "Temp");
  std::ofstream(device_folder() / "Temp") << "in the way";
  TraceReceiver trace;
  for (const char* wanted_name : {static_cast<const char*>(nullptr), "x"}) {
    EXPECT_EQ(FILE_TempFilename(wanted_name, path), 1);
    EXPECT_EQ(std::u16string(path), u"");
    EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex(kPathError)));
  }
}

// A device whose folder for temporary files has a path of so many characters, its last "/" counted.
class LongTempFolder {
 public:
  LongTempFolder(const std::filesystem::path& parent, size_t length)
      : folder_(parent / std::string(length - parent.string().size() - 7, 'd')),
        environment_("OSIF_DEVICE", folder_.c_str()) {}

 private:
  std::string folder_;
  TempEnvironment environment_;
};

TEST_F(File, AFolderForTemporaryFilesOf255CharactersIsTakenAndALongerOneIsAPathError) {
  TraceReceiver trace;
  WCHAR path[kTempPathRoom] = u"untouched";
  {
    const LongTempFolder device(device_folder(), 255);
    EXPECT_EQ(FILE_TempFilename("x", path), 0);
    EXPECT_EQ(std::u16string(path).size(), 256u);
    EXPECT_THAT(trace.Lines(), ElementsAre());
  }
  const LongTempFolder device(device_folder(), 256);
  EXPECT_EQ(FILE_TempFilename("x", path), 1);
  EXPECT_EQ(std::u16string(path), u"");
  EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex(kPathError)));
}

TEST_F(File, AUniqueNameThatCannotBeMadeIsToldAsAFileError) {
  TraceReceiver trace;
  WCHAR path[kTempPathRoom] = u"untouched";
  // A unique name needs 14 characters behind its folder, within 260.
  const LongTempFolder device(device_folder(), 247);
  EXPECT_EQ(FILE_TempFilename(nullptr, path), 1);
  EXPECT_EQ(std::u16string(path), u"");
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF: FILE_TempFilename; FILE error (111)"));
}

TEST_F(File, AMissingOutPathIsAnAssertion) {
  TraceReceiver trace;
  EXPECT_EQ(FILE_TempFilename("x", nullptr), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre(MatchesRegex("ASSERT at .* line [0-9]+\n")));
}

TEST_F(File, AnAssertionNamesItsPlaceInTheTrace) {
  TraceReceiver trace;
  OsifAssert("ASSERT at %s line %d\n", "btosif/osif", 42);
  EXPECT_THAT(trace.Lines(), ElementsAre("ASSERT at btosif/osif line 42\n"));
}

}  // namespace
}  // namespace osif_file_test
