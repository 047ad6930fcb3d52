#include "BtOsif_pol/pol_dispatch.h"
#include "tests/support/notes.h"

namespace pol_note_store_test {
namespace {

using namespace support;

using PolFindNote = NoteTest;

TEST_F(PolFindNote, GivesTheNameOfANoteWhoseInkFileExists) {
  Add(u"Ideas", u"text");
  EXPECT_EQ(Found(u"Ideas"), "Ideas");
  EXPECT_EQ(Found(u"Other ideas"), "not found");
}

TEST_F(PolFindNote, NeedsNoSession) {
  Add(u"Ideas", u"text");
  POL_Close();
  EXPECT_EQ(Found(u"Ideas"), "Ideas");
}

TEST_F(PolFindNote, OfANoteWithoutANameFindsNothing) {
  OwnedObject note(OSIF_STORE_NOTE);
  EXPECT_EQ(POL_FindObject(OSIF_STORE_NOTE, note.get(), nullptr), 0);
  EXPECT_EQ(Found(u""), "not found");
}

}  // namespace
}  // namespace pol_note_store_test
