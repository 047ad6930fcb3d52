#include "BtOsif_pol/pol_note.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "BtOsif_pol/pol_dispatch.h"
#include "BtOsif_pol/pol_search.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "platform/device/ink_reader.h"
#include "platform/device/richink_control.h"
#include "platform/utf8.h"
#include "tests/support/change_logs.h"
#include "tests/support/temp_device.h"
#include "tests/support/trace_receiver.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A note's record.
class Note {
 public:
  Note(WideView name, WideView body) : object_(OSIF_STORE_NOTE) {
    PropertyValue_SetText(name, PropertyValue_Append(object_->note.summary), 0, 0);
    PropertyValue_SetText(body, PropertyValue_Append(object_->note.body), 0, 0);
  }
  OsifObject* get() { return object_.get(); }

 private:
  OwnedObject object_;
};

class PolNote : public TempDeviceTest {
 protected:
  void SetUp() override { ASSERT_EQ(POL_Open(), OsifResult{OSIF_OK}); }
  void TearDown() override { POL_Close(); }

  std::filesystem::path Documents() const { return device_.Path("Documents"); }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Documents())) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  std::string Add(WideView name, WideView body) {
    Note note(name, body);
    char id[OSIF_ID_SIZE] = "";
    EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note.get(), id, nullptr), OsifResult{OSIF_OK});
    return id;
  }

  std::u16string TextOf(const std::string& file) const {
    return device::ReadInkDocument(support::BytesOf((Documents() / file).string())).value();
  }
};

TEST_F(PolNote, IsAnInkDocumentUnderItsName) {
  EXPECT_EQ(Add(u"Shopping", u"Apples\r\nBread"), "Shopping");
  EXPECT_THAT(Files(), ElementsAre("Shopping.pwi"));
  EXPECT_EQ(TextOf("Shopping.pwi"), u"Apples\r\nBread");
}

TEST_F(PolNote, KeepsItsWholeNameAsItsIdWhenTheFileNameLosesCharacters) {
  EXPECT_EQ(Add(u"a/b:c?", u"text"), "a/b:c?");
  EXPECT_THAT(Files(), ElementsAre("abc.pwi"));
  Note same(u"a/b:c?", u"");
  char id[OSIF_ID_SIZE] = "";
  EXPECT_EQ(POL_FindObject(OSIF_STORE_NOTE, same.get(), id), 1);
  EXPECT_STREQ(id, "a/b:c?");
}

TEST_F(PolNote, DropsEachOfTheNineForbiddenCharactersAndControlCharacters) {
  Add(u"1\\2/3:4*5?6<7>8|9\"0\t\r\n.", u"text");
  EXPECT_THAT(Files(), ElementsAre("1234567890..pwi"));
}

TEST_F(PolNote, HasTheFirst260CharactersOfItsNameInItsPath) {
  const WideText name(300, u'n');
  EXPECT_THAT(ToUtf8(pol_NotePath(name)), testing::EndsWith("\\" + std::string(260, 'n') + ".pwi"));
  EXPECT_EQ(pol_NotePath(name), pol_NotePath(WideText(260, u'n')));
  EXPECT_NE(pol_NotePath(name), pol_NotePath(WideText(259, u'n')));
}

TEST_F(PolNote, StaysInTheDocumentsFolderWhateverItsName) {
  Add(u"../../outside", u"text");
  Add(u"..", u"text");
  EXPECT_THAT(Files(), testing::UnorderedElementsAre("....outside.pwi", "...pwi"));
}

TEST_F(PolNote, WithoutATextIsAnEmptyDocument) {
  Add(u"Empty", u"");
  EXPECT_EQ(TextOf("Empty.pwi"), u"");
}

TEST_F(PolNote, TakesThePlaceOfOneOfTheSameName) {
  Add(u"List", u"old");
  Add(u"List", u"new");
  EXPECT_THAT(Files(), ElementsAre("List.pwi"));
  EXPECT_EQ(TextOf("List.pwi"), u"new");
}

TEST_F(PolNote, UnderANewNameLeavesNoFileOfTheOldOne) {
  Add(u"Old", u"text");
  Note note(u"New", u"text 2");
  EXPECT_EQ(POL_ModifyObject(OSIF_STORE_NOTE, "Old", note.get(), nullptr), OsifResult{OSIF_OK});
  EXPECT_THAT(Files(), ElementsAre("New.pwi"));
}

TEST_F(PolNote, WithoutANameMissesAField) {
  Note note(u"", u"text");
  EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note.get(), nullptr, nullptr),
            OsifResult{OSIF_ERR_MISSING_FIELD});
  EXPECT_EQ(POL_ModifyObject(OSIF_STORE_NOTE, "x", note.get(), nullptr),
            OsifResult{OSIF_ERR_MISSING_FIELD});
  EXPECT_THAT(Files(), IsEmpty());
}

TEST_F(PolNote, ThatNoFileHoldsIsNotFound) {
  Note note(u"Nowhere", u"");
  EXPECT_EQ(POL_FindObject(OSIF_STORE_NOTE, note.get(), nullptr), 0);
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

TEST_F(PolNote, IsNotWrittenWithoutTheDocumentsFolderAndTheAddStillSucceeds) {
  support::TraceReceiver trace;
  std::filesystem::remove_all(Documents());
  EXPECT_EQ(Add(u"Lost", u"text"), "Lost");
  EXPECT_THAT(trace.Lines(),
              Contains(HasSubstr("OSIF:  pol_PutNote Error - Unable to create file '")));
  EXPECT_FALSE(std::filesystem::exists(Documents()));
}

TEST_F(PolNote, IsNotWrittenWithoutTheControl) {
  support::TraceReceiver trace;
  device::SetRichInkClass(false);
  EXPECT_EQ(Add(u"Lost", u"text"), "Lost");
  device::SetRichInkClass(true);
  EXPECT_THAT(trace.Lines(), Contains("OSIF:  Unable to create RICHINK control"));
  EXPECT_THAT(Files(), IsEmpty());
}

}  // namespace
