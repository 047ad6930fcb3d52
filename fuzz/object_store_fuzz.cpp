// The whole way of an object through the library: a file of any bytes is read, and each object is looked for, added,
// fetched and written; what was written is read again, changes the object to what it is already, and is written the same.
// The first byte says of which format the object is, or that the bytes are the whole file.
#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/fuzz_input.h"
#include "osif.h"

namespace {

void Check(bool is_so) {
  if (!is_so) abort();
}

struct Frame {
  std::string_view begin;
  std::string_view end;
};

constexpr std::array kFrames = {Frame{"BEGIN:VCARD\r\nVERSION:2.1\r\n", "\r\nEND:VCARD\r\n"},
                                Frame{"BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VEVENT\r\n",
                                      "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n"},
                                Frame{"BEGIN:VCALENDAR\r\nVERSION:1.0\r\nBEGIN:VTODO\r\n",
                                      "\r\nEND:VTODO\r\nEND:VCALENDAR\r\n"},
                                Frame{"BEGIN:VNOTE\r\nVERSION:1.1\r\n", "\r\nEND:VNOTE\r\n"},
                                Frame{"BEGIN:VMSG\r\nVERSION:1.1\r\n", "\r\nEND:VMSG\r\n"},
                                Frame{"", ""}};

// A file in memory that is written and read anew for each step.
class MemoryFile {
 public:
  MemoryFile() : descriptor_(memfd_create("object", 0)) {
    name_ = FromUtf8("/proc/self/fd/" + std::to_string(descriptor_));
  }
  const WCHAR* name() const { return name_.c_str(); }

  void Put(std::string_view bytes) {
    Check(ftruncate(descriptor_, 0) == 0 &&
          pwrite(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
  }
  std::string Bytes() const {
    std::string bytes(static_cast<size_t>(lseek(descriptor_, 0, SEEK_END)), '\0');
    Check(pread(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    return bytes;
  }

 private:
  int descriptor_;
  WideText name_;
};

// The library open on a device of its own, in memory where the folder for temporary files is.
class Library {
 public:
  Library() {
    fuzz::UseOwnDevice();
    Check(OSIF_Open() == OSIF_OK);
  }
  ~Library() { OSIF_Close(); }
};

struct Stored {
  int32_t store_id;
  char id[OSIF_ID_SIZE];
};

// Notes are not given back.
std::string Written(const Stored& stored) {
  static MemoryFile file;
  file.Put({});
  OsifObject object;
  std::memset(&object, 0, sizeof object);
  const OsifResult got = OSIF_GetObjectById(stored.store_id, stored.id, &object);
  if (stored.store_id == OSIF_STORE_NOTE && got == OSIF_ERR_NOT_IMPLEMENTED) return {};
  Check(got == OSIF_OK);
  Check(OSIF_WriteObject(stored.store_id, &object, file.name(), 1) == OSIF_OK);
  return file.Bytes();
}

// A task that begins on a day and is due on none is due on that day once it was read.
bool GetsADay(const std::string& text) {
  return text.find("\nDUE:\r\n") != std::string::npos &&
         text.find("\nDTSTART:2") != std::string::npos;
}

// What was written is one object, without a warning; it is what is stored.
int32_t ChangeToItself(int32_t store_id, OsifObject* object, OsifResult result, void* context) {
  const auto& stored = *static_cast<const Stored*>(context);
  Check(result == OSIF_PARSE_OK && store_id == stored.store_id);
  const OsifResult changed = OSIF_ModifyObject(store_id, stored.id, object, nullptr);
  Check(changed == OSIF_OK || changed == OSIF_ERR_NOT_IMPLEMENTED);
  return 0;
}

int32_t Store(int32_t store_id, OsifObject* object, OsifResult, void*) {
  Stored stored = {store_id, ""};
  OSIF_FindObject(store_id, object, stored.id);
  if (OSIF_AddObject(store_id, object, stored.id, nullptr) != OSIF_OK) return 0;
  if (const std::string first = Written(stored); !first.empty()) {
    static MemoryFile file;
    file.Put(first);
    Check(OSIF_ReadObjects(file.name(), ChangeToItself, &stored) == OSIF_OK);
    Check(Written(stored) == first || GetsADay(first));
  }
  const OsifResult deleted = OSIF_DeleteObject(store_id, stored.id, nullptr);
  Check(deleted == OSIF_OK || deleted == OSIF_ERR_NOT_IMPLEMENTED);
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  static const Library library;
  if (size == 0) return 0;
  const Frame& frame = kFrames[bytes[0] % kFrames.size()];
  std::string text(frame.begin);
  text.append(reinterpret_cast<const char*>(bytes) + 1, size - 1).append(frame.end);
  static MemoryFile file;
  file.Put(text);
  OSIF_ReadObjects(file.name(), Store, nullptr);
  return 0;
}
