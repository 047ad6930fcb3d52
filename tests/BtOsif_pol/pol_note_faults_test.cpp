// Notes with names that peers should not send, and documents folders that do not take them.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <utility>

#include "platform/posix/paths.h"
#include "platform/utf8.h"
#include "tests/support/notes.h"
#include "tests/support/settings.h"
#include "tests/support/trace_receiver.h"
#include "tests/support/values.h"

namespace pol_note_faults_test {
namespace {

using namespace support;
using testing::ElementsAre;

// ---- Names ------------------------------------------------------------------------------------------

class HostileNoteName : public NoteTest {
 protected:
  HostileNoteName() {
    SetSystemCodePage(1252);
    ForgetCharsetChoices();
  }
  ~HostileNoteName() override { ForgetCharsetChoices(); }

  // A note whose SUMMARY came with these parameters and this value.
  class Received : public Note {
   public:
    Received(std::string_view params, std::string_view value) : Note(u"", u"text") {
      OsifNote& note = get()->note;
      PropertyValue_Free(std::exchange(note.summary, Parsed(value, params).release()));
    }
  };
};

TEST_F(HostileNoteName, OfForbiddenCharactersOnlyGivesAFileWithoutABaseName) {
  EXPECT_EQ(Add(u"\\/:*?<>|\"", u"text"), "\\/:*?<>|\"");
  EXPECT_THAT(Files(), ElementsAre(".pwi"));
  EXPECT_EQ(TextOf(".pwi"), u"text");
  EXPECT_EQ(Found(u"\\/:*?<>|\""), "\\/:*?<>|\"");
  EXPECT_EQ(Found(u"???"), "???") << "all such names are the same file";
}

TEST_F(HostileNoteName, OfControlCharactersOnlyGivesAFileWithoutABaseName) {
  Add(u"\u0001\u001F\u007F\u0080\u009F\u2028\u2029\r\n\t", u"text");
  EXPECT_THAT(Files(), ElementsAre(".pwi"));
}

TEST_F(HostileNoteName, OfTenThousandCharactersIsKeptUnderItsFirst260) {
  const WideText name(10000, u'n');
  EXPECT_EQ(Add(name, u"text"), std::string(OSIF_ID_SIZE - 1, 'n'));
  ASSERT_EQ(Files().size(), 1u);
  EXPECT_EQ(TextOf(Files()[0]), u"text");
  EXPECT_EQ(Found(name), std::string(OSIF_ID_SIZE - 1, 'n'));
  EXPECT_EQ(Found(WideText(260, u'n')), std::string(260, 'n'));
  EXPECT_EQ(Found(WideText(259, u'n')), "not found");
}

TEST_F(HostileNoteName, OfTenThousandCharactersCanBeModifiedAndIsStillOneFile) {
  const std::string id = Add(WideText(10000, u'n'), u"old");
  Modify(id, WideText(10000, u'n'), u"new");
  ASSERT_EQ(Files().size(), 1u);
  EXPECT_EQ(TextOf(Files()[0]), u"new");
  Modify(id, u"List", u"newer");
  EXPECT_THAT(Files(), ElementsAre("List.pwi"));
}

// Three bytes a character on disk: 260 of them are more than a file name takes there.
TEST_F(HostileNoteName, OfManyWideCharactersIsKeptToo) {
  const WideText name = WideText(259, u'\u6F22') + u"\u5B57";
  Note note(name, u"text");
  Add(note.get());
  ASSERT_EQ(Files().size(), 1u);
  EXPECT_EQ(TextOf(Files()[0]), u"text");
  EXPECT_NE(Found(note.get()), "not found");
  EXPECT_EQ(Found(WideText(260, u'\u6F22')), "not found");
}

TEST_F(HostileNoteName, OfDotsStaysInTheDocumentsFolder) {
  EXPECT_EQ(Add(u"..", u"two"), "..");
  EXPECT_EQ(Add(u".", u"one"), ".");
  EXPECT_THAT(Files(), ElementsAre("...pwi", "..pwi"));
  EXPECT_EQ(Found(u".."), "..");
}

TEST_F(HostileNoteName, EndsAtAZeroCharacter) {
  Received note("ENCODING=QUOTED-PRINTABLE", "a=00b");
  EXPECT_EQ(Add(note.get()), "a");
  EXPECT_THAT(Files(), ElementsAre("a.pwi"));
  EXPECT_EQ(pol_NotePath(WideText(u"a\0b", 3)), pol_NotePath(u"ab"));
}

TEST_F(HostileNoteName, ThatIsEmptyMissesAField) {
  Received note("CHARSET=UTF-8", "");
  char id[OSIF_ID_SIZE] = "";
  EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note.get(), id, nullptr),
            OsifResult{OSIF_ERR_MISSING_FIELD});
}

TEST_F(HostileNoteName, LosesUnpairedSurrogatesAndKeepsPairs) {
  EXPECT_EQ(pol_NotePath(u"a\xD83D"
                         u"b\xDE00"
                         u"c\xD83D"),
            pol_NotePath(u"abc"));
  EXPECT_THAT(ToUtf8(pol_NotePath(u"a\U0001F600")), testing::EndsWith("\\a\xF0\x9F\x98\x80.pwi"));
}

TEST_F(HostileNoteName, NeverEndsInHalfACharacter) {
  const WideText name = WideText(259, u'n') + u"\U0001F600";
  EXPECT_EQ(pol_NotePath(name), pol_NotePath(WideText(259, u'n')));
  EXPECT_NE(pol_NotePath(name.substr(1)), pol_NotePath(WideText(258, u'n')));
}

// The three bytes of half a character, and bytes that are none.
TEST_F(HostileNoteName, OfBrokenUtf8IsStoredAndFoundAgain) {
  for (const char* value : {"a\xED\xA0\xBD", "b\xFF\xFE", "c\xC3"}) {
    Received note("CHARSET=UTF-8", value);
    const std::string id = Add(note.get());
    EXPECT_EQ(Found(note.get()), id);
  }
  ASSERT_EQ(Files().size(), 3u);
  for (const std::string& file : Files()) EXPECT_EQ(TextOf(file), u"text");
}

TEST_F(HostileNoteName, ThatIsAnotherOnesAfterCleaningReplacesThatNote) {
  EXPECT_EQ(Add(u"ab", u"one"), "ab");
  EXPECT_EQ(Add(u"a/b", u"two"), "a/b");
  EXPECT_THAT(Files(), ElementsAre("ab.pwi"));
  EXPECT_EQ(TextOf("ab.pwi"), u"two");
  EXPECT_EQ(Found(u"ab"), "ab");
  EXPECT_EQ(Found(u"a\nb"), "a\nb");
}

// ---- What lies outside ------------------------------------------------------------------------------

// The files of a device outside of its documents folder, without the database, and what they hold.
std::map<std::string, std::string> FilesOutside(const TempDevice& device) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(device.folder())) {
    const std::string path = entry.path().string().substr(device.folder().size() + 1);
    if (path.starts_with("Documents/") || path.starts_with("device.db")) continue;
    files[path] = entry.is_regular_file() ? BytesOf(entry.path()) : "folder";
  }
  return files;
}

constexpr WideView kWaysOut[] = {u"../outside",      u"..\\outside",     u"/../outside",
                                 u"..\\..\\outside", u"a/../../outside", u"../Temp/inside",
                                 u"\\outside",       u"/outside",        u"C:\\outside",
                                 u"..:outside",      u"..\r\n/outside"};

TEST_F(HostileNoteName, TouchesNoFileOutsideTheDocumentsFolder) {
  std::filesystem::create_directories(device_.Path("Temp"));
  PutBytes(device_.Path("outside.pwi"), "mine");
  PutBytes(device_.Path("Temp/inside.pwi"), "mine too");
  const auto before = FilesOutside(device_);
  ASSERT_EQ(before.at("outside.pwi"), "mine");
  for (WideView name : kWaysOut) {
    EXPECT_EQ(Found(name), "not found") << ToUtf8(name);
    const std::string id = Add(name, u"text");
    Modify(id, name, u"text 2");
    EXPECT_EQ(Found(name), id);
    Modify(id, u"List", u"text 3");
    EXPECT_EQ(FilesOutside(device_), before) << ToUtf8(name);
  }
  EXPECT_THAT(Files(), ElementsAre("List.pwi"));
}

// ---- Documents folders ------------------------------------------------------------------------------

// Without the rights that the superuser has over read-only folders.
class PlainUser {
 public:
  PlainUser() {
    if (geteuid() == 0) is_lowered_ = seteuid(65534) == 0;
  }
  ~PlainUser() {
    if (is_lowered_ && seteuid(0) != 0) std::abort();
  }
  PlainUser(const PlainUser&) = delete;
  PlainUser& operator=(const PlainUser&) = delete;

 private:
  bool is_lowered_ = false;
};

// No file grows beyond this size, as if the disk were full.
class FullDisk {
 public:
  explicit FullDisk(rlim_t size) : old_handler_(signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old_limit_);
    const rlimit limit = {size, old_limit_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_limit_);
    signal(SIGXFSZ, old_handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  void (*old_handler_)(int);
  rlimit old_limit_{};
};

class NoteFolder : public NoteTest {
 protected:
  // What the trace says when a note's file cannot be created.
  std::string NotCreated(const std::string& name) const {
    return "OSIF:  pol_PutNote Error - Unable to create file '" +
           ToUtf8(WidePath(device_.folder())) + "\\Documents\\" + name + ".pwi'";
  }

  // Adds a note and modifies another one to it, in vain: each answers success and tells the trace.
  void ExpectNothingWritten() {
    trace_.Lines();
    EXPECT_EQ(Add(u"Lost", u"text"), "Lost");
    EXPECT_THAT(trace_.Lines(), ElementsAre("OSIF:  POL_AddObject()", NotCreated("Lost")));
    Modify("Kept", u"Lost", u"text");
    EXPECT_THAT(trace_.Lines(), ElementsAre("OSIF:  POL_ModifyObject()", NotCreated("Lost")));
  }

  TraceReceiver trace_;
};

TEST_F(NoteFolder, ThatIsMissingTakesNoNoteAndIsNotMade) {
  std::filesystem::remove_all(Documents());
  ExpectNothingWritten();
  EXPECT_EQ(Found(u"Lost"), "not found");
  EXPECT_FALSE(std::filesystem::exists(Documents()));
}

TEST_F(NoteFolder, InWhosePlaceIsAFileTakesNoNoteAndTheFileStays) {
  std::filesystem::remove_all(Documents());
  PutBytes(Documents(), "a file");
  ExpectNothingWritten();
  EXPECT_EQ(Found(u"Lost"), "not found");
  EXPECT_EQ(BytesOf(Documents()), "a file");
  std::filesystem::remove(Documents());  // or the device does not open again
}

TEST_F(NoteFolder, ThatIsReadOnlyKeepsItsNotesAndTakesNoOther) {
  Add(u"Kept", u"old");
  chmod(device_.folder().c_str(), 0755);
  chmod(Documents().c_str(), 0555);
  chmod((Documents() / "Kept.pwi").c_str(), 0444);
  {
    const PlainUser plain_user;
    ExpectNothingWritten();
    EXPECT_EQ(Found(u"Kept"), "Kept");
    trace_.Lines();
    Add(u"Kept", u"new");
  }
  EXPECT_THAT(trace_.Lines(), ElementsAre("OSIF:  POL_AddObject()", NotCreated("Kept")));
  chmod(Documents().c_str(), 0755);
  EXPECT_THAT(Files(), ElementsAre("Kept.pwi"));
  EXPECT_EQ(TextOf("Kept.pwi"), u"old");
}

// The smallest document has 412 bytes.
TEST_F(NoteFolder, ThatIsFullKeepsItsNotesAndTakesNoOther) {
  Add(u"Kept", u"old");
  for (rlim_t size : {0, 1, 411}) {
    const FullDisk full_disk(size);
    ExpectNothingWritten();
    Add(u"Kept", u"");
    EXPECT_THAT(trace_.Lines(), ElementsAre("OSIF:  POL_AddObject()", NotCreated("Kept"))) << size;
    EXPECT_THAT(Files(), ElementsAre("Kept.pwi")) << size;
    EXPECT_EQ(TextOf("Kept.pwi"), u"old") << size;
  }
  const FullDisk just_enough(412);
  Add(u"Kept", u"");
  EXPECT_EQ(TextOf("Kept.pwi"), u"");
}

// A document of several blocks, the last of which does not fit.
TEST_F(NoteFolder, ThatFillsUpWhileALongNoteIsWrittenKeepsTheOldOne) {
  Add(u"Kept", u"old");
  trace_.Lines();
  {
    const FullDisk full_disk(10000);
    Add(u"Kept", WideText(9900, u'x'));
  }
  EXPECT_THAT(trace_.Lines(), ElementsAre("OSIF:  POL_AddObject()", NotCreated("Kept")));
  EXPECT_THAT(Files(), ElementsAre("Kept.pwi"));
  EXPECT_EQ(TextOf("Kept.pwi"), u"old");
}

TEST_F(NoteFolder, InWhichAFolderHasTheNotesNameKeepsThatFolder) {
  std::filesystem::create_directory(Documents() / "Lost.pwi");
  Add(u"Kept", u"old");
  ExpectNothingWritten();
  EXPECT_EQ(Found(u"Lost"), "not found");
  EXPECT_THAT(Files(), ElementsAre("Kept.pwi", "Lost.pwi"));
  EXPECT_TRUE(std::filesystem::is_directory(Documents() / "Lost.pwi"));
}

TEST_F(NoteFolder, WhosePathIsTooLongTakesNoNote) {
  TempDevice far;
  const std::string folder = far.Path(std::string(250, 'd'));
  std::filesystem::create_directory(folder);
  setenv("OSIF_DEVICE", folder.c_str(), 1);
  trace_.Lines();
  EXPECT_EQ(Add(u"Lost", u"text"), "Lost");
  EXPECT_THAT(trace_.Lines(), ElementsAre("OSIF:  POL_AddObject()",
                                          "OSIF:  pol_PutNote Error - Unable to create file ''"));
  EXPECT_EQ(Found(u"Lost"), "not found");
  EXPECT_TRUE(std::filesystem::is_empty(folder));
  device_.Use();
}

// ---- What a killed program left ---------------------------------------------------------------------

class LeftNote : public NoteTest {
 protected:
  // Writes a whole note and puts its file aside under another name.
  void Leave(WideView name, WideView text, const std::string& file) {
    Add(name, text);
    std::filesystem::rename(Documents() / (ToUtf8(name) + ".pwi"), Documents() / file);
  }
};

TEST_F(LeftNote, ThatIsWholeIsPutInItsPlaceWhenItIsLookedFor) {
  Leave(u"List", u"new", "List.pwi.new");
  EXPECT_EQ(Found(u"List"), "List");
  EXPECT_THAT(Files(), ElementsAre("List.pwi"));
  EXPECT_EQ(TextOf("List.pwi"), u"new");
}

TEST_F(LeftNote, ThatIsWholeDoesNotTakeThePlaceOfOneThatIsThere) {
  Leave(u"List", u"left", "List.pwi.new");
  PutBytes(Documents() / "List.pwi", "there");
  EXPECT_EQ(Found(u"List"), "List");
  EXPECT_EQ(BytesOf(Documents() / "List.pwi"), "there");
}

TEST_F(LeftNote, ThatIsCutOffIsNoNote) {
  PutBytes(Documents() / "List.pwi.tmp", "{\\pwi");
  EXPECT_EQ(Found(u"List"), "not found");
}

TEST_F(LeftNote, GoesWithTheNextOneOfItsName) {
  Leave(u"List", u"left", "List.pwi.new");
  PutBytes(Documents() / "List.pwi.tmp", std::string(100000, 'x'));
  Add(u"List", u"next");
  EXPECT_THAT(Files(), ElementsAre("List.pwi"));
  EXPECT_EQ(TextOf("List.pwi"), u"next");
}

TEST_F(LeftNote, DoesNotComeBackAfterItsNoteGotAnotherName) {
  Leave(u"Old", u"left", "Old.pwi.new");
  Modify("Old", u"New", u"text");
  EXPECT_EQ(Found(u"Old"), "not found");
  EXPECT_THAT(Files(), ElementsAre("New.pwi"));
}

}  // namespace
}  // namespace pol_note_faults_test
