// The library writes each object to a file that it opens by name, and tells of a failed write in its trace alone. So it
// writes into a file in memory, where the object is looked at: what does not end with the last line of an object is not
// whole.
#include "tools/osif/object_texts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <utility>

#include "client/records.h"
#include "client/store.h"
#include "client/texts.h"
#include "dialects/form_names.h"
#include "platform/device/device.h"
#include "tools/osif/findings.h"
#include "tools/osif/read_dialects.h"

namespace command {
namespace {

// True when a text ends with the last line of an object, so that nothing of it is missing.
bool EndsWithObject(std::string_view text) {
  constexpr size_t kLongestEnd = 15;  // "END:VCALENDAR" and its line end
  const std::string_view end = text.substr(text.size() - std::min(text.size(), kLongestEnd));
  return end.ends_with("\r\n") && end.find("END:V") != std::string_view::npos;
}

}  // namespace

ObjectTexts::ObjectTexts(int32_t store_id, std::optional<dialects::Form> form, Session& session,
                         Reporter& reporter)
    : store_id_(store_id), form_(form), session_(session), reporter_(reporter) {
  if (!form) return;
  settings_.text.input_code_page = InputCodePage();
  settings_.origin = dialects::Origin::kLibrary;
  writer_ = dialects::MakeWriter(KindOf(store_id), *form, settings_);
  if (writer_) uids_.emplace(device::Folder());
}

bool ObjectTexts::Open() {
  if (!piece_.is_open()) {
    reporter_.Fail(std::strerror(errno), OSIF_ERR_GENERAL);
    return false;
  }
  if (!form_ || writer_) return true;
  reporter_.Fail("an object of " + NameOfStore(store_id_) + " cannot be written as " +
                     std::string(NameOfForm(*form_)),
                 OSIF_ERR_TYPE_NOT_SUPPORTED);
  return false;
}

std::optional<std::string> ObjectTexts::TextOf(const char* id) {
  std::optional<std::string> text = LibraryText(id);
  if (!text || !writer_) return text;
  settings_.uid = UidOf(id);
  dialects::WrittenObject written = writer_->Write({KindOf(store_id_), std::move(*text)});
  if (!written.refusal.empty()) {
    reporter_.Fail(IdInStore(store_id_, id) + ": " + written.refusal, OSIF_OK);
    return std::nullopt;
  }
  if (const std::string report = ReportText(written.report); !report.empty()) {
    reporter_.Note(IdInStore(store_id_, id) + ": " + report);
  }
  return std::move(written.text);
}

std::optional<std::string> ObjectTexts::LibraryText(const char* id) {
  FetchedObject fetched(store_id_, id);
  if (fetched.result() != OSIF_OK) {
    reporter_.Fail(IdInStore(store_id_, id), fetched.result());
    return std::nullopt;
  }
  const OsifResult result =
      OSIF_WriteObject(store_id_, &fetched.object(), ToWide(piece_.name()).c_str(), 1);
  std::string text;
  if (result == OSIF_OK && piece_.Read(text) && EndsWithObject(text)) return text;
  const int why = piece_.WhyFull();
  reporter_.Fail(IdInStore(store_id_, id) + " could not be written whole" +
                     (why == 0 ? "" : std::string(": ") + std::strerror(why)),
                 result == OSIF_OK ? OsifResult{OSIF_ERR_GENERAL} : result);
  return std::nullopt;
}

// The one that the object came with, else one that is the same each time.
std::string ObjectTexts::UidOf(const char* id) {
  if (std::string known = uids_->Find(store_id_, id); !known.empty()) return known;
  if (database_id_.empty() && session_.OpenChangeLog(store_id_) == OSIF_OK) {
    std::array<char, OSIF_DATABASE_ID_SIZE> database_id{};
    OSIF_CL_GetDatabaseId(store_id_, database_id.data());
    database_id_ = database_id.data();
  }
  return "osif-" + NameOfStore(store_id_) + "-" + database_id_ + "-" + IdToOutput(id);
}

}  // namespace command
