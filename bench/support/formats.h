// The four formats as the measurements use them: reading and writing a file of generated objects with the
// text layer alone, without a store.
#pragma once

#include <stdlib.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/decoded_texts.h"
#include "bench/support/mixed_objects.h"
#include "bench/support/temp_folder.h"
#include "btosif/osif_file.h"
#include "btosif/osif_generators/vcalendar_writer.h"
#include "btosif/osif_generators/vcard_writer.h"
#include "btosif/osif_generators/vmessage_writer.h"
#include "btosif/osif_generators/vnote_writer.h"
#include "btosif/osif_parsers/vcalendar_reader.h"
#include "btosif/osif_parsers/vcard_reader.h"
#include "btosif/osif_parsers/vmessage_reader.h"
#include "btosif/osif_parsers/vnote_reader.h"
#include "btosif/osif_util/object_record.h"
#include "osif.h"

namespace bench {

struct Format {
  std::string_view name;
  int32_t store_id;
  std::string (*make)(int number, int count);
  OsifResult (*read)(OsifStream&, OsifReadCallback, void*);
  size_t (*decode)(OsifObject&);
  OsifResult (*write)(OsifStream&, OsifObject&, uint8_t);
};

inline constexpr Format kFormats[] = {
    {"cards", OSIF_STORE_PB, MixedCard, VCard_ReadFile, DecodeContact, VCard_Write},
    {"events", OSIF_STORE_CAL, MixedEvent, VCalendar_ReadFile, DecodeEvent, VCalendar_Write},
    {"notes", OSIF_STORE_NOTE, MixedNote, VNote_ReadFile, DecodeNote, VNote_Write},
    {"messages", OSIF_STORE_MSG_IN, MixedMessage, VMessage_ReadFile, DecodeMessage, VMessage_Write},
};

// A file of generated objects, and a device without settings, which decoding and the writers ask for theirs.
class ObjectFile {
 public:
  ObjectFile(const Format& format, int count) {
    setenv("OSIF_DEVICE", folder_.path().c_str(), 1);
    PutBytes(path(), Repeated(count, [&](int i) { return format.make(i, count); }));
  }
  std::string path() const { return folder_.File("objects"); }
  std::string written_path() const { return folder_.File("written"); }
  static int64_t SizeOf(const std::string& path) {
    return static_cast<int64_t>(std::filesystem::file_size(path));
  }

 private:
  TempFolder folder_;
};

inline OsifStream OpenFile(const std::string& path, const WCHAR* mode) {
  OsifStream stream;
  Require(FILE_Open(stream, Wide(path).c_str(), mode, LineEnd::kCrLf) == 0,
          "a file was not opened");
  return stream;
}

// Reads a file into records; each is released when the next is read. Returns how many there are.
inline int ReadAll(const Format& format, const std::string& path) {
  const auto count = [](int32_t, OsifObject*, OsifResult, void* context) -> int32_t {
    ++*static_cast<int*>(context);
    return 0;
  };
  OsifStream stream = OpenFile(path, u"rb");
  int read = 0;
  format.read(stream, count, &read);
  return read;
}

// The same, decoding every text of each record. Returns how many characters they have.
inline size_t DecodeAll(const Format& format, const std::string& path) {
  struct Decoding {
    const Format& format;
    size_t characters;
  };
  const auto decode = [](int32_t, OsifObject* object, OsifResult, void* context) -> int32_t {
    auto& decoding = *static_cast<Decoding*>(context);
    decoding.characters += decoding.format.decode(*object);
    return 0;
  };
  OsifStream stream = OpenFile(path, u"rb");
  Decoding decoding = {format, 0};
  format.read(stream, decode, &decoding);
  return decoding.characters;
}

// The records of a file, taken over from the reader.
class Records {
 public:
  Records(const Format& format, const std::string& path) : store_id_(format.store_id) {
    OsifStream stream = OpenFile(path, u"rb");
    format.read(stream, Keep, this);
  }
  ~Records() {
    for (OsifObject& object : objects_) FreeObject(store_id_, object);
  }
  Records(const Records&) = delete;
  Records& operator=(const Records&) = delete;

  std::vector<OsifObject>& objects() { return objects_; }

 private:
  static int32_t Keep(int32_t, OsifObject* object, OsifResult, void* context) {
    static_cast<Records*>(context)->objects_.push_back(*object);
    *object = {};
    return 0;
  }

  int32_t store_id_;
  std::vector<OsifObject> objects_;
};

// How many different records are written in turn. Whoever exports a store fills each record just before it is
// written; thousands of records that lie ready would measure how long memory takes to bring them.
inline constexpr int kWrittenRecords = 50;

// Writes so many objects, the records over and over.
inline void WriteAll(const Format& format, std::vector<OsifObject>& records, int64_t count,
                     const std::string& path) {
  OsifStream stream = OpenFile(path, u"w");
  for (int64_t i = 0; i < count; ++i) {
    format.write(stream, records[static_cast<size_t>(i) % records.size()], 1);
  }
}

}  // namespace bench
