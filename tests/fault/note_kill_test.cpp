// A process dies while it writes a note over an old one; whoever looks for the note then finds the old one or
// the new one, whole.
#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "platform/device/device.h"
#include "tests/fault/kill_at_call.h"
#include "tests/support/notes.h"
#include "tests/support/settings.h"

namespace note_kill_test {
namespace {

using fault::KillPlace;
using fault::RunAndKill;
using fault::SharedWithChild;

using Notes = std::map<std::string, std::u16string>;  // texts by name

const std::u16string kOld(9000, u'o');  // several blocks of a document
const std::u16string kNew(9500, u'n');
const std::u16string kOther(9000, u'x');

class NoteKill : public support::NoteTest {
 protected:
  // Each place has a device of its own.
  void SetUp() override {
    if (!fault::CanTrace()) GTEST_SKIP() << "processes cannot be traced, as under an emulator";
  }
  void TearDown() override { LetGo(); }

  static void LetGo() {
    POL_Close();
    device::CloseDatabase();
  }

  // The notes of the present device that are found, whatever else lies in its folder.
  static Notes FoundNotes() {
    Notes notes;
    for (const char* name : {"List", "Groceries"}) {
      const std::u16string wide(name, name + std::strlen(name));
      if (Found(wide) == "not found") continue;
      const std::string file = device::Folder() + "/Documents/" + name + ".pwi";
      notes[name] = device::ReadInkDocument(support::BytesOf(file)).value_or(u"no document");
    }
    return notes;
  }

  // Once for each place: a device with these notes, on which the child works until it dies there; then
  // `check` gets what is found, and whether the child was answered. Ends with the child that lives.
  void KillEverywhere(const Notes& before, const std::function<void()>& work,
                      const std::function<void(const Notes&, bool)>& check, int least_places) {
    for (int nth = 1;; ++nth) {
      SCOPED_TRACE("killed at place " + std::to_string(nth));
      ASSERT_LT(nth, 1000);
      TempDevice device;
      support::SetSystemCodePage(1252);
      EXPECT_EQ(POL_Open(), OsifResult{OSIF_OK});
      for (const auto& [name, text] : before) Add(std::u16string(name.begin(), name.end()), text);
      LetGo();
      *is_answered_ = false;
      const bool was_killed = RunAndKill([] { POL_Open(); },
                                         [&] {
                                           work();
                                           *is_answered_ = true;
                                         },
                                         KillPlace::kBeforeTheCall, nth);
      EXPECT_EQ(POL_Open(), OsifResult{OSIF_OK});
      check(FoundNotes(), *is_answered_);
      LetGo();
      ASSERT_FALSE(HasFailure());
      if (was_killed) continue;
      EXPECT_GT(nth, least_places) << "the places were not found";
      return;
    }
  }

  SharedWithChild<bool> is_answered_;
};

// The document has three blocks; beside their writing it is created, moved twice, and the old one goes.
constexpr int kPlacesOfANote = 7;

TEST_F(NoteKill, LeavesTheOldNoteOrTheNewOneOfTheSameName) {
  const auto work = [] { Add(u"List", kNew); };
  const auto check = [](const Notes& found, bool is_answered) {
    if (is_answered) {
      EXPECT_EQ(found, (Notes{{"List", kNew}}));
    } else {
      EXPECT_TRUE(found == (Notes{{"List", kOld}}) || found == (Notes{{"List", kNew}}));
    }
  };
  KillEverywhere({{"List", kOld}}, work, check, kPlacesOfANote);
}

TEST_F(NoteKill, LeavesTheOldNoteUntilTheOneOfTheNewNameIsThere) {
  const auto work = [] { Modify("List", u"Groceries", kNew); };
  const auto check = [](const Notes& found, bool is_answered) {
    const Notes both = {{"List", kOld}, {"Groceries", kNew}};
    if (is_answered) {
      EXPECT_EQ(found, (Notes{{"Groceries", kNew}}));
    } else {
      EXPECT_TRUE(found == (Notes{{"List", kOld}}) || found == both ||
                  found == (Notes{{"Groceries", kNew}}));
    }
  };
  KillEverywhere({{"List", kOld}}, work, check, kPlacesOfANote);
}

TEST_F(NoteKill, LosesNoneOfTwoNotesOfWhichOneGetsTheNameOfTheOther) {
  const auto work = [] { Modify("List", u"Groceries", kNew); };
  const auto check = [](const Notes& found, bool is_answered) {
    const Notes neither = {{"List", kOld}, {"Groceries", kOther}};
    const Notes not_yet_gone = {{"List", kOld}, {"Groceries", kNew}};
    if (is_answered) {
      EXPECT_EQ(found, (Notes{{"Groceries", kNew}}));
    } else {
      EXPECT_TRUE(found == neither || found == not_yet_gone ||
                  found == (Notes{{"Groceries", kNew}}));
    }
  };
  KillEverywhere({{"List", kOld}, {"Groceries", kOther}}, work, check, kPlacesOfANote);
}

TEST_F(NoteKill, LeavesANewNoteWholeOrNotAtAll) {
  const auto work = [] { Add(u"List", kNew); };
  const auto check = [](const Notes& found, bool is_answered) {
    const Notes whole = {{"List", kNew}};
    EXPECT_TRUE(found == whole || (!is_answered && found.empty()));
  };
  KillEverywhere({}, work, check, kPlacesOfANote - 1);
}

TEST_F(NoteKill, LeavesNothingThatTheNextNoteOfTheNameDoesNotClearAway) {
  const auto work = [] { Add(u"List", kNew); };
  const auto check = [](const Notes&, bool) {
    Add(u"List", kOther);
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(device::Folder() + "/Documents")) {
      files.push_back(entry.path().filename());
    }
    EXPECT_THAT(files, testing::ElementsAre("List.pwi"));
    EXPECT_EQ(FoundNotes(), (Notes{{"List", kOther}}));
  };
  KillEverywhere({{"List", kOld}}, work, check, kPlacesOfANote);
}

// The second process dies as well, at each of its places.
TEST_F(NoteKill, LosesNothingWhenTheNextProcessDiesToo) {
  const auto work = [] {
    const std::string place = device::Folder() + "/Documents/List.pwi";
    std::filesystem::rename(place, place + ".new");  // as the first one left it
    Add(u"List", kNew);
  };
  const auto check = [](const Notes& found, bool) {
    EXPECT_TRUE(found == (Notes{{"List", kOld}}) || found == (Notes{{"List", kNew}}));
  };
  KillEverywhere({{"List", kOld}}, work, check, kPlacesOfANote);
}

}  // namespace
}  // namespace note_kill_test
