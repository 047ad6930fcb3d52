// What the tests of notes have in common: records of notes, and the notes of a device as files.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "BtOsif_pol/pol_dispatch.h"
#include "BtOsif_pol/pol_note.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/property_value.h"
#include "btosif/osif_util/value_text.h"
#include "platform/device/ink/reader.h"
#include "tests/support/change_logs.h"
#include "tests/support/temp_device.h"

namespace support {

// A note's record.
class Note {
 public:
  Note(WideView name, WideView body) : object_(OSIF_STORE_NOTE) {
    PropertyValue_SetText(name, PropertyValue_Append(object_->note.summary), 0, 0);
    PropertyValue_SetText(body, PropertyValue_Append(object_->note.body), 0, 0);
  }
  OsifObject* get() { return object_.get(); }
  OsifObject* operator->() { return object_.get(); }

 private:
  OwnedObject object_;
};

// A device with an open session.
class NoteTest : public TempDeviceTest {
 protected:
  void SetUp() override { ASSERT_EQ(POL_Open(), OsifResult{OSIF_OK}); }
  void TearDown() override { POL_Close(); }

  std::filesystem::path Documents() const { return device_.Path("Documents"); }

  // The names of the files in the documents folder, sorted.
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Documents())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  // Adds a note; its id.
  static std::string Add(OsifObject* note) {
    char id[OSIF_ID_SIZE] = "";
    EXPECT_EQ(POL_AddObject(OSIF_STORE_NOTE, note, id, nullptr), OsifResult{OSIF_OK});
    return id;
  }
  static std::string Add(WideView name, WideView body) { return Add(Note(name, body).get()); }

  // Gives the note of this id another name and text.
  static void Modify(const std::string& id, WideView name, WideView body) {
    Note note(name, body);
    EXPECT_EQ(POL_ModifyObject(OSIF_STORE_NOTE, id.c_str(), note.get(), nullptr),
              OsifResult{OSIF_OK});
  }

  // The id under which a note is found, or "not found".
  static std::string Found(OsifObject* note) {
    char id[OSIF_ID_SIZE] = "";
    return POL_FindObject(OSIF_STORE_NOTE, note, id) != 0 ? id : "not found";
  }
  static std::string Found(WideView name) { return Found(Note(name, u"").get()); }

  // What the ink reader makes of a file.
  std::u16string TextOf(const std::string& file) const {
    const auto text = device::ReadInkDocument(BytesOf((Documents() / file).string()));
    EXPECT_TRUE(text.has_value()) << file << " is no ink document";
    return text.value_or(u"");
  }
};

}  // namespace support
