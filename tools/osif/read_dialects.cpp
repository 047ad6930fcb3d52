#include "tools/osif/read_dialects.h"

#include <cerrno>
#include <cstring>

#include "btosif/osif_util/charset.h"
#include "btosif/osif_util/stores.h"
#include "client/object_file.h"
#include "client/store.h"

namespace command {

dialects::ObjectKind KindOf(int32_t store_id) {
  switch (KindOfStore(store_id)) {
    case StoreKind::kContacts:
      return dialects::ObjectKind::kCard;
    case StoreKind::kCalendar:
      return dialects::ObjectKind::kCalendar;
    case StoreKind::kNotes:
      return dialects::ObjectKind::kNote;
    case StoreKind::kMessages:
      return dialects::ObjectKind::kMessage;
    default:
      return dialects::ObjectKind::kUnknown;
  }
}

Json StoreJson(dialects::ObjectKind kind) {
  switch (kind) {
    case dialects::ObjectKind::kCard:
      return NameOfStore(OSIF_STORE_PB);
    case dialects::ObjectKind::kCalendar:
      return NameOfStore(OSIF_STORE_CAL);
    case dialects::ObjectKind::kNote:
      return NameOfStore(OSIF_STORE_NOTE);
    default:
      return nullptr;
  }
}

void Refusals::Tell(const dialects::RefusedObject& refused) {
  ++count_;
  const std::string what =
      PlaceOf(file_name_, refused.number, refused.line) + " was refused: " + refused.reason;
  if (tells_each_ || count_ <= kMostLines || reporter_.json()) {
    reporter_.Fail(what, refused.code);
  }
}

void Refusals::Summarise() const {
  if (tells_each_ || count_ <= kMostLines || reporter_.json()) return;
  reporter_.Note(file_name_ + ": " + std::to_string(count_ - kMostLines) +
                 " more were refused (-v shows each)");
}

bool ReadDialects(const InputFile& file, dialects::ObjectVisitor& visitor, Reporter& reporter,
                  OsifResult* result) {
  OsifResult ignored = OSIF_OK;
  OsifResult& code = result == nullptr ? ignored : *result;
  code = OSIF_ERR_FILE_OPEN;
  if (!file.why_not().empty()) {
    reporter.Fail(file.name() + ": " + file.why_not(), code);
    return false;
  }
  dialects::FileRest rest;
  code = dialects::ReadDialectFile(file.handle(), {InputCodePage()}, visitor, rest);
  if (code == OSIF_ERR_FILE_OPEN) {
    reporter.Fail(file.name() + ": " + std::strerror(errno), code);
    return false;
  }
  if (rest.objects == 0) {
    reporter.Fail(file.name() + ": no object is in it", OSIF_ERR_INVALID_STREAM);
  }
  if (rest.outside_lines > 0 && rest.objects > 0) {
    reporter.Note(file.name() + ": " + std::to_string(rest.outside_lines) +
                  (rest.outside_lines == 1 ? " line belongs" : " lines belong") +
                  " to no object, the first is line " + std::to_string(rest.first_outside));
  }
  return true;
}

}  // namespace command
