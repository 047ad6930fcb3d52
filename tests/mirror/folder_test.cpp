#include "mirror/folder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "tests/support/bytes.h"
#include "tests/support/full_disk.h"
#include "tests/support/temp_folder.h"

namespace folder_test {
namespace {

using mirror::FileStamp;
using mirror::Folder;
using mirror::FoundFile;
using mirror::RefusedFile;
using support::BytesOf;
using support::PutBytes;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace fs = std::filesystem;

class MirrorFolder : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return path() + "/" + name; }
  const std::string& path() const { return temp_.path(); }
  void Put(const std::string& name, std::string_view bytes) const { PutBytes(Path(name), bytes); }

  std::vector<std::string> Names() {
    std::vector<FoundFile> files;
    std::vector<RefusedFile> refused;
    EXPECT_TRUE(folder_.List(files, refused)) << folder_.why_not();
    std::vector<std::string> names;
    for (const FoundFile& file : files) names.push_back(file.name);
    return names;
  }
  std::vector<std::pair<std::string, std::string>> Refused() {
    std::vector<FoundFile> files;
    std::vector<RefusedFile> refused;
    EXPECT_TRUE(folder_.List(files, refused)) << folder_.why_not();
    std::vector<std::pair<std::string, std::string>> reasons;
    for (const RefusedFile& file : refused) reasons.emplace_back(file.name, file.why);
    return reasons;
  }
  FileStamp StampOf(const std::string& name) {
    std::string text;
    FileStamp stamp;
    EXPECT_TRUE(folder_.Read(name, text, stamp)) << folder_.why_not();
    return stamp;
  }

  support::TempFolder temp_;
  Folder folder_{temp_.path(), ".vcf"};
};

TEST_F(MirrorFolder, ListsTheFilesOfItsEndingByName) {
  for (const char* name : {"b.vcf", "a.vcf", "c.ics", "d.vcf.tmp", ".e.vcf", "f.VCF", ".vcf"}) {
    Put(name, "x");
  }
  EXPECT_THAT(Names(), ElementsAre("a.vcf", "b.vcf"));
  EXPECT_THAT(Refused(), IsEmpty());
}

TEST_F(MirrorFolder, RefusesWhatIsNoPlainFileWithAReason) {
  fs::create_directory(Path("d.vcf"));
  fs::create_symlink("/etc/passwd", Path("l.vcf"));
  ASSERT_EQ(mkfifo(Path("p.vcf").c_str(), 0600), 0);
  Put("n\xFF.vcf", "x");
  EXPECT_THAT(Names(), IsEmpty());
  EXPECT_THAT(Refused(), ElementsAre(Pair("d.vcf", "is a folder"), Pair("l.vcf", "is a link"),
                                     Pair("n\xFF.vcf", "its name is not UTF-8"),
                                     Pair("p.vcf", "is no plain file")));
}

TEST_F(MirrorFolder, TakesFilesOfSixteenMegabytesAndNoLarger) {
  Put("a.vcf", "");
  Put("b.vcf", "");
  fs::resize_file(Path("a.vcf"), 16 << 20);
  fs::resize_file(Path("b.vcf"), (16 << 20) + 1);
  EXPECT_THAT(Names(), ElementsAre("a.vcf"));
  EXPECT_THAT(Refused(), ElementsAre(Pair("b.vcf", "has more than 16 MB")));
  std::string text;
  FileStamp stamp;
  EXPECT_TRUE(folder_.Read("a.vcf", text, stamp));
  EXPECT_EQ(text.size(), size_t{16} << 20);
  EXPECT_FALSE(folder_.Read("b.vcf", text, stamp));
}

TEST_F(MirrorFolder, DoesNotReadThroughALinkOrWaitForAPipe) {
  fs::create_symlink("/etc/passwd", Path("l.vcf"));
  ASSERT_EQ(mkfifo(Path("p.vcf").c_str(), 0600), 0);
  std::string text;
  FileStamp stamp;
  EXPECT_FALSE(folder_.Read("l.vcf", text, stamp));
  EXPECT_FALSE(folder_.Read("p.vcf", text, stamp));
  EXPECT_EQ(folder_.why_not(), "is no plain file");
  EXPECT_FALSE(folder_.Read("no.vcf", text, stamp));
  EXPECT_EQ(folder_.why_not(), "No such file or directory");
}

TEST_F(MirrorFolder, TheStampOfAReadFileIsTheOneThatIsListed) {
  Put("a.vcf", "abc");
  std::vector<FoundFile> files;
  std::vector<RefusedFile> refused;
  ASSERT_TRUE(folder_.List(files, refused));
  ASSERT_EQ(files.size(), 1u);
  EXPECT_EQ(files[0].stamp, StampOf("a.vcf"));
  EXPECT_EQ(files[0].stamp.size, 3);
}

TEST_F(MirrorFolder, WritesANewFileAndTellsItsStamp) {
  FileStamp stamp;
  ASSERT_TRUE(folder_.Write("a.vcf", "text", nullptr, stamp));
  EXPECT_EQ(BytesOf(Path("a.vcf")), "text");
  EXPECT_EQ(stamp, StampOf("a.vcf"));
  EXPECT_THAT(Names(), ElementsAre("a.vcf"));
  EXPECT_FALSE(fs::exists(Path("a.vcf.tmp")));
}

TEST_F(MirrorFolder, ReplacesAFileOnlyWhileItIsAsExpected) {
  Put("a.vcf", "old");
  const FileStamp expected = StampOf("a.vcf");
  Put("a.vcf", "of another program");
  FileStamp stamp;
  EXPECT_FALSE(folder_.Write("a.vcf", "ours", &expected, stamp));
  EXPECT_EQ(folder_.why_not(), "was changed by another program meanwhile");
  EXPECT_EQ(BytesOf(Path("a.vcf")), "of another program");
  EXPECT_FALSE(fs::exists(Path("a.vcf.tmp")));
  const FileStamp now = StampOf("a.vcf");
  EXPECT_TRUE(folder_.Write("a.vcf", "ours", &now, stamp));
  EXPECT_EQ(BytesOf(Path("a.vcf")), "ours");
}

TEST_F(MirrorFolder, DoesNotMakeAFileWhereThereIsOneNorReplaceOneThatIsGone) {
  Put("a.vcf", "there");
  FileStamp stamp;
  EXPECT_FALSE(folder_.Write("a.vcf", "ours", nullptr, stamp));
  EXPECT_EQ(BytesOf(Path("a.vcf")), "there");
  const FileStamp expected = StampOf("a.vcf");
  fs::remove(Path("a.vcf"));
  EXPECT_FALSE(folder_.Write("a.vcf", "ours", &expected, stamp));
  EXPECT_FALSE(fs::exists(Path("a.vcf")));
}

TEST_F(MirrorFolder, DoesNotWriteThroughALinkThatTookAFilesPlace) {
  Put("target", "safe");
  Put("a.vcf", "old");
  const FileStamp expected = StampOf("a.vcf");
  fs::remove(Path("a.vcf"));
  fs::create_symlink(Path("target"), Path("a.vcf"));
  fs::create_symlink(Path("target"), Path("a.vcf.tmp"));
  FileStamp stamp;
  EXPECT_FALSE(folder_.Write("a.vcf", "ours", &expected, stamp));
  EXPECT_EQ(BytesOf(Path("target")), "safe");
}

TEST_F(MirrorFolder, RemovesAFileOnlyWhileItIsAsExpected) {
  Put("a.vcf", "old");
  const FileStamp expected = StampOf("a.vcf");
  Put("a.vcf", "newer");
  EXPECT_FALSE(folder_.Remove("a.vcf", expected));
  EXPECT_TRUE(fs::exists(Path("a.vcf")));
  EXPECT_TRUE(folder_.Remove("a.vcf", StampOf("a.vcf")));
  EXPECT_FALSE(fs::exists(Path("a.vcf")));
}

TEST_F(MirrorFolder, KeepsEveryTextThatGaveWayUnderANameOfItsOwn) {
  std::string first;
  std::string second;
  ASSERT_TRUE(folder_.Keep("a.vcf", "one", first));
  ASSERT_TRUE(folder_.Keep("a.vcf", "two", second));
  EXPECT_EQ(first, "a.vcf.conflict");
  EXPECT_EQ(second, "a.vcf.conflict-2");
  EXPECT_EQ(BytesOf(Path(first)), "one");
  EXPECT_EQ(BytesOf(Path(second)), "two");
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(MirrorFolder, WritesAFileOfTheLongestOfNamesAndRefusesALongerOne) {
  const std::string longest = std::string(251, 'a') + ".vcf";
  FileStamp stamp;
  EXPECT_TRUE(folder_.Write(longest, "x", nullptr, stamp)) << folder_.why_not();
  EXPECT_THAT(Names(), ElementsAre(longest));
  EXPECT_FALSE(folder_.Write("b" + longest, "x", nullptr, stamp));
  EXPECT_EQ(folder_.why_not(), "File name too long");
  EXPECT_THAT(Names(), ElementsAre(longest));
}

TEST_F(MirrorFolder, LeavesAFileAsItWasWhenTheDiskIsFull) {
  Put("a.vcf", "old");
  const FileStamp expected = StampOf("a.vcf");
  FileStamp stamp;
  {
    const support::FullDisk full(1000);
    EXPECT_FALSE(folder_.Write("a.vcf", std::string(2000, 'x'), &expected, stamp));
  }
  EXPECT_EQ(folder_.why_not(), "File too large");
  EXPECT_EQ(BytesOf(Path("a.vcf")), "old");
  EXPECT_FALSE(fs::exists(Path("a.vcf.tmp")));
}

TEST(MirrorFolderThatIsNone, SaysWhy) {
  EXPECT_EQ(Folder("/nowhere/at/all", ".vcf").why_not(),
            "/nowhere/at/all: No such file or directory");
  EXPECT_EQ(Folder("/etc/passwd", ".vcf").why_not(), "/etc/passwd: Not a directory");
}

TEST_F(MirrorFolder, IsTheSameByEveryWayToIt) {
  EXPECT_EQ(Folder(path() + "/../" + fs::path(path()).filename().string() + "/.", ".vcf").path(),
            folder_.path());
}

TEST_F(MirrorFolder, GoesOnToBeTheFolderThatWasOpenedWhenItIsMoved) {
  const fs::path other = path() + "-moved";
  fs::rename(temp_.path(), other);
  FileStamp stamp;
  EXPECT_TRUE(folder_.Write("a.vcf", "text", nullptr, stamp));
  EXPECT_TRUE(fs::exists(other / "a.vcf"));
  fs::rename(other, temp_.path());
}

}  // namespace
}  // namespace folder_test
