#include "BtOsif_pol/pol_note.h"

#include <gmock/gmock.h>

#include <cstring>

#include "platform/device/ink/control.h"
#include "platform/device/ink/writer.h"
#include "platform/posix/paths.h"
#include "platform/utf8.h"
#include "tests/support/notes.h"
#include "tests/support/trace_receiver.h"

namespace pol_note_test {
namespace {

using namespace support;
using testing::ElementsAre;
using testing::IsEmpty;

using PolNote = NoteTest;

TEST_F(PolNote, IsAnInkDocumentUnderItsName) {
  EXPECT_EQ(Add(u"Shopping", u"Apples\r\nBread"), "Shopping");
  EXPECT_THAT(Files(), ElementsAre("Shopping.pwi"));
  EXPECT_EQ(TextOf("Shopping.pwi"), u"Apples\r\nBread");
}

// The control takes a text and gives a document in blocks.
TEST_F(PolNote, OfManyBlocksIsKeptWhole) {
  std::u16string text;
  for (char16_t number = 0; number < 20000; ++number) {
    text += static_cast<char16_t>(0x4E00 + number);
  }
  Add(u"Long", text);
  EXPECT_EQ(TextOf("Long.pwi"), text);
}

TEST_F(PolNote, KeepsItsWholeNameAsItsIdWhenTheFileNameLosesCharacters) {
  EXPECT_EQ(Add(u"a/b:c?", u"text"), "a/b:c?");
  EXPECT_THAT(Files(), ElementsAre("abc.pwi"));
  EXPECT_EQ(Found(u"a/b:c?"), "a/b:c?");
}

TEST_F(PolNote, DropsEachOfTheNineForbiddenCharactersAndControlCharacters) {
  Add(u"1\\2/3:4*5?6<7>8|9\"0\t\r\n.", u"text");
  EXPECT_THAT(Files(), ElementsAre("1234567890..pwi"));
}

TEST_F(PolNote, HasTheFirst260CharactersOfANameOf300InItsPath) {
  const WideText name(300, u'n');
  EXPECT_THAT(ToUtf8(pol_NotePath(name)), testing::EndsWith("\\" + std::string(260, 'n') + ".pwi"));
  EXPECT_EQ(pol_NotePath(name), pol_NotePath(WideText(260, u'n')));
  EXPECT_EQ(pol_NotePath(name), pol_NotePath(WideText(261, u'n')));
  EXPECT_NE(pol_NotePath(name), pol_NotePath(WideText(259, u'n')));
}

TEST_F(PolNote, CountsOnlyTheCharactersThatItsPathKeeps) {
  const WideText dropped(300, u'?');
  EXPECT_EQ(pol_NotePath(dropped + WideText(260, u'n')), pol_NotePath(WideText(260, u'n')));
  EXPECT_EQ(pol_NotePath(u"\n" + WideText(100, u'n') + dropped + WideText(161, u'n')),
            pol_NotePath(WideText(260, u'n')));
}

TEST_F(PolNote, HasItsFileInTheDocumentsFolder) {
  EXPECT_EQ(pol_NotePath(u"List"), WidePath(device_.folder()) + WideText(u"\\Documents\\List.pwi"));
}

TEST_F(PolNote, StaysInTheDocumentsFolderWhateverItsName) {
  Add(u"../../outside", u"text");
  Add(u"..", u"text");
  EXPECT_THAT(Files(), ElementsAre("....outside.pwi", "...pwi"));
}

TEST_F(PolNote, WithAnEmptyBodyIsAnEmptyDocument) {
  Add(u"Empty", u"");
  EXPECT_EQ(TextOf("Empty.pwi"), u"");
  EXPECT_EQ(BytesOf(Documents() / "Empty.pwi"), device::WriteInkDocument(u""));
}

TEST_F(PolNote, WithoutABodyIsAnEmptyDocumentToo) {
  OwnedObject note(OSIF_STORE_NOTE);
  PropertyValue_SetText(u"Empty", PropertyValue_Append(note->note.summary), 0, 0);
  Add(note.get());
  EXPECT_EQ(BytesOf(Documents() / "Empty.pwi"), device::WriteInkDocument(u""));
}

TEST_F(PolNote, TakesTheFirstValueOfItsNameAndOfItsText) {
  Note note(u"First", u"one");
  PropertyValue_SetText(u"Second", PropertyValue_Append(note->note.summary), 0, 0);
  PropertyValue_SetText(u"two", PropertyValue_Append(note->note.body), 0, 0);
  EXPECT_EQ(Add(note.get()), "First");
  EXPECT_THAT(Files(), ElementsAre("First.pwi"));
  EXPECT_EQ(TextOf("First.pwi"), u"one");
}

TEST_F(PolNote, TakesThePlaceOfOneOfTheSameName) {
  Add(u"List", u"an old text that is longer than the new one");
  Add(u"List", u"new");
  EXPECT_THAT(Files(), ElementsAre("List.pwi"));
  EXPECT_EQ(TextOf("List.pwi"), u"new");
}

TEST_F(PolNote, UnderANewNameLeavesNoFileOfTheOldOne) {
  Add(u"Old", u"text");
  Modify("Old", u"New", u"text 2");
  EXPECT_THAT(Files(), ElementsAre("New.pwi"));
  EXPECT_EQ(TextOf("New.pwi"), u"text 2");
}

TEST_F(PolNote, UnderTheNameOfAnotherOneTakesThePlaceOfBoth) {
  Add(u"Old", u"text");
  Add(u"Other", u"other");
  Modify("Old", u"Other", u"new");
  EXPECT_THAT(Files(), ElementsAre("Other.pwi"));
  EXPECT_EQ(TextOf("Other.pwi"), u"new");
}

TEST_F(PolNote, IsWrittenAnewUnderAnIdThatNamesItsFileInOtherWords) {
  Add(u"a/b", u"old");
  Modify("ab?", u"a:b", u"new");
  EXPECT_THAT(Files(), ElementsAre("ab.pwi"));
  EXPECT_EQ(TextOf("ab.pwi"), u"new");
}

TEST_F(PolNote, IsWrittenWhenTheIdNamesNone) {
  Modify("Nowhere", u"List", u"text");
  EXPECT_THAT(Files(), ElementsAre("List.pwi"));
}

TEST_F(PolNote, IsKnownByAnIdInTheSystemsCodePage) {
  const std::string id = Add(u"Gr\u00FC\u00DFe", u"old");
  EXPECT_EQ(MultiByteToText(NativeCodePage(), id.c_str()), u"Gr\u00FC\u00DFe");
  Modify(id, u"Hallo", u"new");
  EXPECT_THAT(Files(), ElementsAre("Hallo.pwi"));
}

TEST_F(PolNote, AsksForNoSession) {
  POL_Close();
  EXPECT_EQ(Add(u"List", u"text"), "List");
  EXPECT_EQ(Found(u"List"), "List");
  EXPECT_EQ(TextOf("List.pwi"), u"text");
}

TEST_F(PolNote, IsAddedWithoutAPlaceForItsId) {
  Note note(u"List", u"text");
  EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note.get(), nullptr, nullptr), OsifResult{OSIF_OK});
  EXPECT_THAT(Files(), ElementsAre("List.pwi"));
  EXPECT_EQ(POL_FindObject(OSIF_STORE_NOTE, note.get(), nullptr), 1);
}

TEST_F(PolNote, IsThereAlthoughItsChangeLogIsClosed) {
  Note note(u"List", u"text");
  OsifAnchor anchor = {7, "20260101T000000Z"};
  EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note.get(), nullptr, &anchor),
            OsifResult{OSIF_ERR_CL_NOT_OPENED});
  const OsifAnchor zeros{};
  EXPECT_EQ(std::memcmp(&anchor, &zeros, sizeof anchor), 0);
  EXPECT_EQ(TextOf("List.pwi"), u"text");
}

TEST_F(PolNote, NeedsAnIdToBeModified) {
  Note note(u"List", u"text");
  EXPECT_EQ(POL_ModifyObject(OSIF_STORE_NOTE, nullptr, note.get(), nullptr),
            OsifResult{OSIF_ERR_INVALID_ID});
  EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(PolNote, WithANameThatDecodesToNothingMissesAField) {
  for (const char* name : {"\\", "=00"}) {
    Note note(u"x", u"text");
    PropertyValue* summary = note.get()->note.summary;
    PropertyValue_SetComponent(summary, CopyText(name), 0);
    summary->flags |= OSIF_VALUE_QUOTED_PRINTABLE;
    EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note.get(), nullptr, nullptr),
              OsifResult{OSIF_ERR_MISSING_FIELD});
    EXPECT_EQ(POL_ModifyObject(OSIF_STORE_NOTE, "x", note.get(), nullptr),
              OsifResult{OSIF_ERR_MISSING_FIELD});
  }
  EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(PolNote, WithoutANameMissesAField) {
  Note note(u"", u"text");
  EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note.get(), nullptr, nullptr),
            OsifResult{OSIF_ERR_MISSING_FIELD});
  EXPECT_EQ(POL_ModifyObject(OSIF_STORE_NOTE, "x", note.get(), nullptr),
            OsifResult{OSIF_ERR_MISSING_FIELD});
  EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(PolNote, ThatNoFileHoldsIsNotFound) { EXPECT_EQ(Found(u"Nowhere"), "not found"); }

TEST_F(PolNote, WithoutANameIsNotFound) {
  OwnedObject note(OSIF_STORE_NOTE);
  EXPECT_EQ(Found(note.get()), "not found");
  EXPECT_EQ(Found(u""), "not found");
}

TEST_F(PolNote, WhoseInkFileExistsIsFoundWithItsNameAsItsId) {
  PutBytes(Documents() / "List.pwi", "whatever it holds");
  EXPECT_EQ(Found(u"List"), "List");
}

TEST_F(PolNote, CountGetAndDeleteAreNotImplemented) {
  const OsifResult not_implemented = OSIF_ERR_NOT_IMPLEMENTED;
  Add(u"List", u"text");
  uint32_t count = 7;
  OwnedObject object(OSIF_STORE_NOTE);
  EXPECT_EQ(POL_GetObjectCount(OSIF_STORE_NOTE, &count), not_implemented);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(POL_GetObjectById(OSIF_STORE_NOTE, "List", object.get()), not_implemented);
  EXPECT_EQ(POL_DeleteObject(OSIF_STORE_NOTE, "List", nullptr), not_implemented);
}

TEST_F(PolNote, IsNotWrittenWithoutTheControl) {
  TraceReceiver trace;
  device::SetRichInkClass(false);
  EXPECT_EQ(Add(u"Lost", u"text"), "Lost");
  Modify("Lost", u"Lost 2", u"text");
  device::SetRichInkClass(true);
  EXPECT_THAT(trace.Lines(),
              ElementsAre("OSIF:  POL_AddObject()", "OSIF:  Unable to create RICHINK control",
                          "OSIF:  POL_ModifyObject()", "OSIF:  Unable to create RICHINK control"));
  EXPECT_THAT(Files(), IsEmpty());
}

}  // namespace
}  // namespace pol_note_test
