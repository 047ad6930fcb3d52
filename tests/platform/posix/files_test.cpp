#include "platform/api/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "platform/posix/paths.h"
#include "tests/support/temp_device.h"

namespace files_test {
namespace {

namespace fs = std::filesystem;

class Files : public TempDeviceTest {
 protected:
  std::u16string Wide(const std::string& name) const { return WidePath(device_.Path(name)); }

  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(device_.Path(name), std::ios::binary) << text;
  }
  std::string Read(const std::string& name) const {
    std::ifstream file(device_.Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

// ---- Paths -------------------------------------------------------------------------------------

TEST(Paths, BackslashesPartFoldersAndNamesAreUtf8) {
  EXPECT_EQ(NativePath(u"\\Sync\\pol_pb_change.log"), "/Sync/pol_pb_change.log");
  EXPECT_EQ(NativePath(u"a/b\\M\u00FCller"), "a/b/M\xC3\xBCller");
  EXPECT_EQ(NativePath(u"\U0001F600.pwi"), "\xF0\x9F\x98\x80.pwi");
}

TEST(Paths, NativePathsBecomeWideOnes) {
  EXPECT_EQ(WidePath("/home/M\xC3\xBCller/x"), u"\\home\\M\u00FCller\\x");
}

TEST(Paths, ANameOf255BytesIsKept) {
  const std::string name = std::string(251, 'n') + ".pwi";
  EXPECT_EQ(NativePath(u"d\\" + std::u16string(251, u'n') + u".pwi"), "d/" + name);
}

TEST(Paths, ANameOf256BytesIsCutTo255AndKeepsItsExtension) {
  const std::string path = NativePath(u"d\\" + std::u16string(252, u'n') + u".pwi\\e");
  EXPECT_EQ(path.size(), 2 + 255 + 2);
  EXPECT_TRUE(path.starts_with("d/nnnn"));
  EXPECT_TRUE(path.ends_with(".pwi/e"));
}

TEST(Paths, LongNamesThatDifferAtTheirEndStayApart) {
  const std::u16string start(300, u'\u4E2D');
  EXPECT_NE(NativePath(start + u"1.pwi"), NativePath(start + u"2.pwi"));
  EXPECT_EQ(NativePath(start + u"1.pwi"), NativePath(start + u"1.pwi"));
}

TEST(Paths, ALongNameIsCutBetweenCharacters) {
  for (size_t before = 0; before < 3; ++before) {
    const std::string name =
        NativePath(std::u16string(before, u'a') + std::u16string(120, u'\u4E2D') + u".pwi");
    EXPECT_LE(name.size(), 255u);
    EXPECT_GT(name.size(), 250u);
    const size_t mark = name.find('~');
    ASSERT_NE(mark, std::string::npos);
    EXPECT_EQ((mark - before) % 3, 0u);  // each of these characters has three bytes
  }
}

// ---- Streams -----------------------------------------------------------------------------------

TEST_F(Files, AStreamIsOpenedByItsWideName) {
  FILE* stream = _wfopen(Wide("M\xC3\xBCller.vcf").c_str(), u"w");
  ASSERT_NE(stream, nullptr);
  std::fputs("text", stream);
  std::fclose(stream);
  EXPECT_EQ(Read("M\xC3\xBCller.vcf"), "text");
}

TEST_F(Files, ANameWithSeparatorsOfBothKindsIsFound) {
  fs::create_directory(device_.Path("Sync"));
  Write("Sync/file", "text");
  FILE* stream = _wfopen((Wide("Sync") + u"\\file").c_str(), u"rb");
  ASSERT_NE(stream, nullptr);
  std::fclose(stream);
}

TEST_F(Files, OpeningAMissingFileFailsWithItsError) {
  EXPECT_EQ(_wfopen(Wide("missing").c_str(), u"rb"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(GetLastError(), 2u);
}

TEST_F(Files, OpeningWithoutANameFails) {
  EXPECT_EQ(_wfopen(nullptr, u"rb"), nullptr);
  EXPECT_EQ(GetLastError(), 87u);
}

// ---- Moving and deleting -----------------------------------------------------------------------

TEST_F(Files, MovingRenamesAFile) {
  Write("old", "text");
  EXPECT_TRUE(MoveFileW(Wide("old").c_str(), Wide("new").c_str()));
  EXPECT_EQ(Read("new"), "text");
  EXPECT_FALSE(fs::exists(device_.Path("old")));
}

TEST_F(Files, MovingOntoAnExistingFileFailsAndChangesNothing) {
  Write("old", "old text");
  Write("new", "new text");
  EXPECT_FALSE(MoveFileW(Wide("old").c_str(), Wide("new").c_str()));
  EXPECT_EQ(GetLastError(), 183u);
  EXPECT_EQ(Read("old"), "old text");
  EXPECT_EQ(Read("new"), "new text");
}

TEST_F(Files, MovingAMissingFileFails) {
  EXPECT_FALSE(MoveFileW(Wide("missing").c_str(), Wide("new").c_str()));
  EXPECT_EQ(GetLastError(), 2u);
}

TEST_F(Files, DeletingRemovesAFile) {
  Write("file", "text");
  EXPECT_TRUE(DeleteFileW(Wide("file").c_str()));
  EXPECT_FALSE(fs::exists(device_.Path("file")));
}

TEST_F(Files, DeletingAMissingFileFails) {
  EXPECT_FALSE(DeleteFileW(Wide("missing").c_str()));
  EXPECT_EQ(GetLastError(), 2u);
}

TEST_F(Files, DeletingAFolderFails) {
  fs::create_directory(device_.Path("folder"));
  EXPECT_FALSE(DeleteFileW(Wide("folder").c_str()));
  EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(Files, ANamePassingThroughAFileHasNoPath) {
  Write("file", "text");
  EXPECT_FALSE(DeleteFileW(Wide("file/below").c_str()));
  EXPECT_EQ(GetLastError(), 3u);
}

// ---- Handles -----------------------------------------------------------------------------------

HANDLE Create(const std::u16string& name, DWORD access, DWORD disposition) {
  return CreateFileW(name.c_str(), access, FILE_SHARE_WRITE, nullptr, disposition,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST_F(Files, CreateAlwaysReplacesWhatWasThere) {
  Write("note.pwi", "a longer text");
  const HANDLE file = Create(Wide("note.pwi"), GENERIC_WRITE, CREATE_ALWAYS);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD written = 0;
  EXPECT_TRUE(WriteFile(file, "short", 5, &written, nullptr));
  EXPECT_EQ(written, 5u);
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(Read("note.pwi"), "short");
}

TEST_F(Files, OpenExistingReadsToTheEnd) {
  Write("file", "abcdef");
  const HANDLE file = Create(Wide("file"), GENERIC_READ, OPEN_EXISTING);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  char buffer[4];
  DWORD count = 0;
  EXPECT_TRUE(ReadFile(file, buffer, 4, &count, nullptr));
  EXPECT_EQ(std::string(buffer, count), "abcd");
  EXPECT_TRUE(ReadFile(file, buffer, 4, &count, nullptr));
  EXPECT_EQ(std::string(buffer, count), "ef");
  EXPECT_TRUE(ReadFile(file, buffer, 4, &count, nullptr));
  EXPECT_EQ(count, 0u);
  EXPECT_TRUE(CloseHandle(file));
}

TEST_F(Files, OpenExistingDoesNotCreate) {
  EXPECT_EQ(Create(Wide("missing"), GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 2u);
  EXPECT_FALSE(fs::exists(device_.Path("missing")));
}

TEST_F(Files, CreateNewRefusesAnExistingFile) {
  Write("file", "text");
  EXPECT_EQ(Create(Wide("file"), GENERIC_WRITE, CREATE_NEW), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 80u);
}

TEST_F(Files, AFolderIsNoFile) {
  fs::create_directory(device_.Path("folder"));
  EXPECT_EQ(Create(Wide("folder"), GENERIC_READ, OPEN_EXISTING), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(Files, AnUnknownDispositionIsRefused) {
  EXPECT_EQ(Create(Wide("file"), GENERIC_READ, 6), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(Files, WritingToAFullDiskFailsWithDiskFull) {
  const HANDLE file = Create(u"\\dev\\full", GENERIC_WRITE, OPEN_EXISTING);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD written = 9;
  EXPECT_FALSE(WriteFile(file, "text", 4, &written, nullptr));
  EXPECT_EQ(GetLastError(), 112u);
  EXPECT_EQ(written, 0u);
  CloseHandle(file);
}

TEST_F(Files, WritingToAHandleOpenedForReadingFails) {
  Write("file", "text");
  const HANDLE file = Create(Wide("file"), GENERIC_READ, OPEN_EXISTING);
  DWORD written = 0;
  EXPECT_FALSE(WriteFile(file, "x", 1, &written, nullptr));
  EXPECT_EQ(GetLastError(), 6u);
  CloseHandle(file);
}

TEST_F(Files, TheFirstDescriptorIsAHandleToo) {
  const int kept = dup(0);
  close(0);
  Write("file", "text");
  const HANDLE file = Create(Wide("file"), GENERIC_READ, OPEN_EXISTING);
  EXPECT_NE(file, nullptr);
  EXPECT_TRUE(CloseHandle(file));
  dup2(kept, 0);
  close(kept);
}

TEST_F(Files, ClosingWhatIsNoHandleFails) {
  EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
  EXPECT_FALSE(CloseHandle(nullptr));
  EXPECT_EQ(GetLastError(), 6u);
}

// ---- Folders -----------------------------------------------------------------------------------

TEST_F(Files, TheTemporaryFolderBelongsToTheDeviceAndEndsInABackslash) {
  char16_t buffer[MAX_PATH];
  const DWORD length = GetTempPathW(MAX_PATH, buffer);
  EXPECT_EQ(std::u16string(buffer, length), Wide("Temp") + u"\\");
  EXPECT_EQ(buffer[length], 0);
  EXPECT_TRUE(fs::is_directory(device_.Path("Temp")));
}

TEST_F(Files, TheTemporaryFolderTellsTheRoomItNeeds) {
  char16_t buffer[MAX_PATH] = {7};
  const auto length = static_cast<DWORD>(Wide("Temp").size() + 1);
  EXPECT_EQ(GetTempPathW(length, buffer), length + 1);
  EXPECT_EQ(buffer[0], 7);
  EXPECT_EQ(GetTempPathW(length + 1, buffer), length);
  EXPECT_EQ(GetTempPathW(0, nullptr), length + 1);
}

TEST_F(Files, ATemporaryFolderThatCannotBeMadeIsAnError) {
  Write("file", "text");
  const TempEnvironment environment("OSIF_DEVICE", device_.Path("file").c_str());
  char16_t buffer[MAX_PATH];
  EXPECT_EQ(GetTempPathW(MAX_PATH, buffer), 0u);
  EXPECT_EQ(GetLastError(), 3u);
}

TEST_F(Files, ATemporaryNameIsNewAndItsFileIsCreatedEmpty) {
  std::set<std::u16string> names;
  for (int i = 0; i < 20; ++i) {
    char16_t name[MAX_PATH];
    const UINT number = GetTempFileNameW((Wide("") + u"\\").c_str(), u"zulu", 0, name);
    EXPECT_NE(number, 0u);
    const std::string path = NativePath(name);
    EXPECT_TRUE(fs::path(path).filename().string().starts_with("zul"));
    EXPECT_FALSE(fs::path(path).filename().string().starts_with("zulu"));
    EXPECT_EQ(fs::path(path).extension(), ".TMP");
    EXPECT_EQ(fs::file_size(path), 0u);
    names.insert(name);
  }
  EXPECT_EQ(names.size(), 20u);
}

TEST_F(Files, AGivenNumberMakesANameWithoutAFile) {
  char16_t name[MAX_PATH];
  EXPECT_EQ(GetTempFileNameW(u"\\tmp", u"zul", 0x12AB, name), 0x12ABu);
  EXPECT_EQ(std::u16string(name), u"\\tmp\\zul12AB.TMP");
}

TEST_F(Files, ATemporaryNameInAMissingFolderFails) {
  char16_t name[MAX_PATH];
  EXPECT_EQ(GetTempFileNameW(Wide("missing").c_str(), u"zul", 0, name), 0u);
  EXPECT_EQ(GetLastError(), 267u);
}

TEST_F(Files, ATemporaryNameNeedsFourteenCharactersBehindItsFolder) {
  char16_t name[MAX_PATH];
  EXPECT_NE(GetTempFileNameW(std::u16string(246, u'f').c_str(), u"zul", 1, name), 0u);
  EXPECT_EQ(GetTempFileNameW(std::u16string(247, u'f').c_str(), u"zul", 1, name), 0u);
  EXPECT_EQ(GetLastError(), 111u);
}

TEST_F(Files, TheDocumentsFolderBelongsToTheDevice) {
  char16_t buffer[MAX_PATH];
  EXPECT_TRUE(SHGetSpecialFolderPath(nullptr, buffer, 5, FALSE));
  EXPECT_EQ(std::u16string(buffer), Wide("Documents"));
  EXPECT_FALSE(fs::exists(device_.Path("Documents")));
  EXPECT_TRUE(SHGetSpecialFolderPath(nullptr, buffer, 5, TRUE));
  EXPECT_TRUE(fs::is_directory(device_.Path("Documents")));
}

TEST_F(Files, OtherSpecialFoldersAreUnknown) {
  char16_t buffer[MAX_PATH];
  EXPECT_FALSE(SHGetSpecialFolderPath(nullptr, buffer, 6, FALSE));
}

TEST_F(Files, ADocumentsFolderLongerThanAPathIsRefused) {
  const TempEnvironment environment("OSIF_DEVICE", ("/" + std::string(249, 'd')).c_str());
  char16_t buffer[MAX_PATH];
  EXPECT_FALSE(SHGetSpecialFolderPath(nullptr, buffer, 5, FALSE));  // 260 characters
  const TempEnvironment shorter("OSIF_DEVICE", ("/" + std::string(248, 'd')).c_str());
  EXPECT_TRUE(SHGetSpecialFolderPath(nullptr, buffer, 5, FALSE));  // 259
}

// ---- The file of a stream ----------------------------------------------------------------------

TEST_F(Files, AFileEndsWhereItsEndIsPut) {
  FILE* stream = _wfopen(Wide("log").c_str(), u"w+");
  ASSERT_NE(stream, nullptr);
  std::fputs("0123456789", stream);
  std::fflush(stream);
  const HANDLE file = _fileno(stream);
  LONG high = 0;
  EXPECT_EQ(SetFilePointer(file, 4, &high, FILE_BEGIN), 4u);
  EXPECT_EQ(high, 0);
  EXPECT_TRUE(SetEndOfFile(file));
  EXPECT_TRUE(FlushFileBuffers(file));
  std::fclose(stream);
  EXPECT_EQ(Read("log"), "0123");
}

TEST_F(Files, APositionHasSixtyFourBits) {
  Write("log", "text");
  FILE* stream = _wfopen(Wide("log").c_str(), u"r+");
  ASSERT_NE(stream, nullptr);
  LONG high = 1;
  EXPECT_EQ(SetFilePointer(_fileno(stream), -1, &high, FILE_BEGIN), 0xFFFFFFFFu);
  EXPECT_EQ(high, 1);
  EXPECT_EQ(lseek(fileno(stream), 0, SEEK_CUR), 0x1FFFFFFFF);
  std::fclose(stream);
}

TEST_F(Files, NothingThatIsNoFileOnADiskCanBeCut) {
  FILE* stream = _wfopen(u"/dev/full", u"a+");
  ASSERT_NE(stream, nullptr);
  EXPECT_FALSE(SetEndOfFile(_fileno(stream)));
  EXPECT_EQ(GetLastError(), 87u);
  std::fclose(stream);
}

// ---- Sharing -----------------------------------------------------------------------------------

HANDLE OpenUnshared(const std::u16string& name) {
  return CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST_F(Files, AFileThatIsNotSharedIsOpenedOnceAtATime) {
  const HANDLE first = OpenUnshared(Wide("log"));
  ASSERT_NE(first, INVALID_HANDLE_VALUE);
  EXPECT_EQ(OpenUnshared(Wide("log")), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 32u);
  EXPECT_TRUE(CloseHandle(first));
  const HANDLE second = OpenUnshared(Wide("log"));
  ASSERT_NE(second, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(CloseHandle(second));
}

}  // namespace
}  // namespace files_test
