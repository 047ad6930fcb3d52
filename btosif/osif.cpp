// The exported functions: they check their pointers, clear what they are to fill, and hand the call on. Only
// reading and writing files is done here: the file is opened, its format chosen, and it is closed whatever
// the format's reader or writer answers.
//
// Two promises to a C caller are kept here and nowhere below. No exception passes: all that throws is a
// shortage of memory, which becomes a result. And a record that was written, or that could not be filled, is
// released whatever the outcome.
#include "osif.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <string_view>

#include "BtOsif_pol/pol_changelog.h"
#include "BtOsif_pol/pol_dispatch.h"
#include "BtOsif_pol/pol_session.h"
#include "btosif/osif_file.h"
#include "btosif/osif_generators/vcalendar_writer.h"
#include "btosif/osif_generators/vcard_writer.h"
#include "btosif/osif_generators/vmessage_writer.h"
#include "btosif/osif_generators/vnote_writer.h"
#include "btosif/osif_parsers/vcalendar_reader.h"
#include "btosif/osif_parsers/vcard_reader.h"
#include "btosif/osif_parsers/vmessage_reader.h"
#include "btosif/osif_parsers/vnote_reader.h"
#include "btosif/osif_util/ascii.h"
#include "btosif/osif_util/object_record.h"
#include "btosif/osif_util/property_split.h"
#include "btosif/osif_util/stores.h"
#include "config/trace.h"

namespace {

// No exception leaves the library. Only a shortage of memory throws: allocations that fail, and sizes that
// nothing can hold.
template <typename Result, typename Call>
Result Guarded(Result no_memory, Call call) {
  try {
    return call();
  } catch (const std::exception&) {
    return no_memory;
  }
}

template <typename Call>
OsifResult GuardedResult(Call call) {
  return Guarded<OsifResult>(OSIF_ERR_NO_MEMORY, call);
}

// True for a pointer; null is traced.
bool IsGiven(const void* pointer, int line) {
  if (pointer != nullptr) return true;
  OsifAssert("ASSERT at %s line %d\n", "btosif/osif.cpp", line);
  return false;
}

void Clear(OsifAnchor* anchor) {
  if (anchor != nullptr) *anchor = {};
}

// A file's object may have been read with warnings and still be an object.
OsifResult WithoutParseOutcome(OsifResult result) {
  if (result == OSIF_PARSE_OK || result == OSIF_PARSE_WARNING) return OSIF_OK;
  return result;
}

// ---- Formats ----------------------------------------------------------------------------------------

// How one kind of store's objects are read and written as text. A file is known by the type word of its first
// line, a record by its store.
struct Format {
  std::string_view type_word;
  StoreKind kind;
  OsifResult (*read)(OsifStream& stream, OsifReadCallback callback, void* context);
  OsifResult (*write)(OsifStream& stream, OsifObject& object, uint8_t write_luid);
};

constexpr Format kFormats[] = {
    {"VCARD", StoreKind::kContacts, VCard_ReadFile, VCard_Write},
    {"VCALENDAR", StoreKind::kCalendar, VCalendar_ReadFile, VCalendar_Write},
    {"VNOTE", StoreKind::kNotes, VNote_ReadFile, VNote_Write},
    {"VMSG", StoreKind::kMessages, VMessage_ReadFile, VMessage_Write},
};

// ---- Reading ----------------------------------------------------------------------------------------

// The part of a first line before its ":", without the backslash of an escape, and what stands after it.
struct FirstLine {
  char text[kLineRoom] = "";
  char tag[kLineRoom] = "";
  const char* type_word = "";

  void Read(OsifStream& stream) {
    FILE_ReadLine(text, stream);
    std::transform(text, text + std::strlen(text), text, AsciiUpper);
    StripBlanks(text);
    const char* in = text;
    char* out = tag;
    for (; *in != '\0' && *in != ':'; *out++ = *in++) {
      if (in[0] == '\\' && (in[1] == ';' || in[1] == '\\')) ++in;
    }
    *out = '\0';
    type_word = *in == ':' ? in + 1 : in;
  }
};

// The first line alone chooses the format of the whole file, so it is read once for that and once by the
// reader.
OsifResult ReadStream(OsifStream& stream, OsifReadCallback callback, void* context) {
  FirstLine line;
  line.Read(stream);
  // A pipe has no beginning to go back to.
  if (FILE_Rewind(stream) != 0) return OSIF_ERR_FILE_OPEN;
  if (std::strstr(line.tag, "BEGIN") == nullptr) {
    OSIF_Trace(0, "OSIF:  Stream '%s' does not contain BEGIN tag", line.tag);
    return OSIF_ERR_INVALID_STREAM;
  }
  for (const Format& format : kFormats) {
    if (format.type_word == line.type_word) return format.read(stream, callback, context);
  }
  OSIF_Trace(0, "OSIF:  Stream '%s' does not contain type tag", line.type_word);
  return OSIF_ERR_INVALID_STREAM;
}

// ---- Writing ----------------------------------------------------------------------------------------

OsifResult WriteStream(int32_t store_id, OsifStream& stream, OsifObject& object) {
  constexpr uint8_t kWriteLuid = 1;
  const StoreKind kind = KindOfStore(store_id);
  for (const Format& format : kFormats) {
    if (format.kind == kind) return format.write(stream, object, kWriteLuid);
  }
  return OSIF_ERR_TYPE_NOT_SUPPORTED;
}

OsifResult WriteFile(int32_t store_id, OsifObject* object, const WCHAR* file_name,
                     uint8_t truncate) {
  OSIF_Trace(0, "OSIF:  OSIF_WriteObject(store_id=%d, pObject=%p, pszFileName=%S, bTruncate=%s)",
             store_id, static_cast<void*>(object), file_name, truncate != 0 ? "TRUE" : "FALSE");
  OsifStream stream;
  const WCHAR* mode = truncate != 0 ? u"w" : u"a+";
  const int opened =
      Guarded<int>(1, [&] { return FILE_Open(stream, file_name, mode, LineEnd::kCrLf); });
  if (opened != 0) return OSIF_ERR_FILE_OPEN;
  OsifResult result = OSIF_ERR_GENERAL;
  if (object != nullptr) {
    result = GuardedResult([&] { return WriteStream(store_id, stream, *object); });
    FreeObject(store_id, *object);
  }
  FILE_Close(stream, file_name);
  return WithoutParseOutcome(result);
}

}  // namespace

OsifResult OSIF_Open() {
  return GuardedResult([] {
    OSIF_TraceInit();
    return POL_Open();
  });
}

OsifResult OSIF_Close() {
  return GuardedResult([] { return POL_Close(); });
}

OsifResult OSIF_GetObjectCount(int32_t store_id, uint32_t* count) {
  if (!IsGiven(count, __LINE__)) return OSIF_ERR_GENERAL;
  return GuardedResult([&] { return POL_GetObjectCount(store_id, count); });
}

OsifResult OSIF_AddObject(int32_t store_id, OsifObject* object, char* id, OsifAnchor* anchor) {
  if (!IsGiven(object, __LINE__)) return OSIF_ERR_INVALID_ID;
  Clear(anchor);
  return GuardedResult([&] { return POL_AddObject(store_id, object, id, anchor); });
}

OsifResult OSIF_ModifyObject(int32_t store_id, const char* id, OsifObject* object,
                             OsifAnchor* anchor) {
  if (!IsGiven(id, __LINE__) || !IsGiven(object, __LINE__)) return OSIF_ERR_INVALID_ID;
  Clear(anchor);
  return GuardedResult([&] { return POL_ModifyObject(store_id, id, object, anchor); });
}

OsifResult OSIF_DeleteObject(int32_t store_id, const char* id, OsifAnchor* anchor) {
  if (!IsGiven(id, __LINE__)) return OSIF_ERR_INVALID_ID;
  Clear(anchor);
  return GuardedResult([&] { return POL_DeleteObject(store_id, id, anchor); });
}

int32_t OSIF_FindObject(int32_t store_id, OsifObject* object, char* id) {
  if (object == nullptr) return 0;
  return Guarded<int32_t>(0, [&] { return POL_FindObject(store_id, object, id); });
}

OsifResult OSIF_GetObjectById(int32_t store_id, const char* id, OsifObject* object) {
  OSIF_Trace(0, "OSIF:  OSIF_GetObjectById()");
  if (!IsGiven(id, __LINE__)) return OSIF_ERR_INVALID_ID;
  if (!IsGiven(object, __LINE__)) return OSIF_ERR_GENERAL;
  std::memset(object, 0, sizeof *object);
  const OsifResult result = GuardedResult([&] { return POL_GetObjectById(store_id, id, object); });
  if (result != OSIF_OK) FreeObject(store_id, *object);
  return result;
}

OsifResult OSIF_GetFirstId(int32_t store_id, char* id) {
  OSIF_Trace(0, "OSIF:  OSIF_GetFirstId(store_id=%d)", store_id);
  return GuardedResult([&] { return POL_GetFirstId(store_id, id); });
}

OsifResult OSIF_GetNextId(int32_t store_id, char* id) {
  OSIF_Trace(0, "OSIF:  OSIF_GetNextId()");
  return GuardedResult([&] { return POL_GetNextId(store_id, id); });
}

OsifResult OSIF_WriteObject(int32_t store_id, OsifObject* object, const WCHAR* file_name,
                            uint8_t truncate) {
  return GuardedResult([&] { return WriteFile(store_id, object, file_name, truncate); });
}

OsifResult OSIF_ReadObjects(const WCHAR* file_name, OsifReadCallback callback, void* context) {
  return GuardedResult([&]() -> OsifResult {
    OsifStream stream;
    if (FILE_Open(stream, file_name, u"rb") != 0) return OSIF_ERR_FILE_OPEN;
    const OsifResult result = GuardedResult([&] { return ReadStream(stream, callback, context); });
    FILE_Close(stream, file_name);
    return WithoutParseOutcome(result);
  });
}

OsifResult OSIF_FreeObject(int32_t store_id, OsifObject* object) {
  if (IsGiven(object, __LINE__)) FreeObject(store_id, *object);
  return OSIF_OK;
}

uint32_t OSIF_GetObjectName(int32_t store_id, OsifObject* object, WCHAR* buffer, uint32_t size) {
  if (buffer != nullptr && size > 0) buffer[0] = 0;
  if (object == nullptr) return 0;
  return Guarded<uint32_t>(0, [&] {
    const WideText name = pol_ObjectName(store_id, *object);
    if (buffer != nullptr && size > 0) buffer[name.copy(buffer, size - 1)] = 0;
    return static_cast<uint32_t>(name.size());
  });
}

OsifResult OSIF_CL_Open(int32_t store_id, const WCHAR* path) {
  static constexpr WCHAR kNoPath[] = {0};
  const WCHAR* folder = IsGiven(path, __LINE__) ? path : kNoPath;
  return GuardedResult([&] { return POL_CL_Open(store_id, folder); });
}

OsifResult OSIF_CL_Close(int32_t store_id) {
  return GuardedResult([&] { return POL_CL_Close(store_id); });
}

OsifResult OSIF_CL_GetCurrentAnchor(int32_t store_id, OsifAnchor* anchor) {
  if (!IsGiven(anchor, __LINE__)) return OSIF_ERR_GENERAL;
  Clear(anchor);
  return GuardedResult([&] { return POL_CL_GetCurrentAnchor(store_id, anchor); });
}

OsifResult OSIF_CL_GetFirstEntry(int32_t store_id, const OsifAnchor* anchor,
                                 ChangeLogEntry* entry) {
  if (!IsGiven(anchor, __LINE__) || !IsGiven(entry, __LINE__)) return OSIF_ERR_GENERAL;
  return GuardedResult([&] { return POL_CL_GetFirstEntry(store_id, anchor, entry); });
}

OsifResult OSIF_CL_GetNextEntry(int32_t store_id, ChangeLogEntry* entry) {
  if (!IsGiven(entry, __LINE__)) return OSIF_ERR_GENERAL;
  return GuardedResult([&] { return POL_CL_GetNextEntry(store_id, entry); });
}

OsifResult OSIF_CL_GetDatabaseId(int32_t store_id, char* id) {
  if (!IsGiven(id, __LINE__)) return OSIF_ERR_GENERAL;
  id[0] = '\0';
  return GuardedResult([&] { return POL_CL_GetDatabaseId(store_id, id); });
}
