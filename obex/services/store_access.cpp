// The library writes a line for each property that a store has, empty where there is no value, and each calendar item in a
// frame of its own. A peer gets the values that there are, and one frame around all items of a stream.
#include "obex/services/store_access.h"

#include <unistd.h>

#include <array>
#include <utility>

#include "btosif/osif_util/charset.h"
#include "client/texts.h"
#include "dialects/form_names.h"
#include "dialects/object_splitter.h"

namespace obex {
namespace {

struct FormRow {
  int32_t store_id;
  dialects::ObjectKind kind;
  dialects::Form form;
};

constexpr std::array<FormRow, 2> kForms = {{
    {OSIF_STORE_PB, dialects::ObjectKind::kCard, dialects::Form::kVCard21},
    {OSIF_STORE_CAL, dialects::ObjectKind::kCalendar, dialects::Form::kVCal10},
}};

const FormRow& FormOf(int32_t store_id) { return kForms[store_id == OSIF_STORE_PB ? 0 : 1]; }

// Of an object; its id stands before it. Of some stores the library writes it there by itself.
constexpr std::string_view kLastLine = "END:V";
constexpr std::string_view kIdLine = "\r\nX-IRMC-LUID:";

constexpr uint32_t kLargestCounter = 0x7FFFFFFF;

}  // namespace

StoreAccess::StoreAccess(int32_t store_id, client::Session& session)
    : StoreAccess(store_id, session, FormOf(store_id).form) {}

StoreAccess::StoreAccess(int32_t store_id, client::Session& session, dialects::Form form)
    : store_id_(store_id), session_(session) {
  settings_.text.input_code_page = InputCodePage();
  settings_.origin = dialects::Origin::kLibrary;
  writer_ = dialects::MakeWriter(FormOf(store_id).kind, form, settings_);
}

uint32_t StoreAccess::Count() const {
  uint32_t count = 0;
  OSIF_GetObjectCount(store_id_, &count);
  return count;
}

uint32_t StoreAccess::Counter() const {
  OsifAnchor anchor{};
  OSIF_CL_GetCurrentAnchor(store_id_, &anchor);
  return anchor.cc;
}

std::string StoreAccess::DatabaseId() const {
  std::array<char, OSIF_DATABASE_ID_SIZE> id{};
  OSIF_CL_GetDatabaseId(store_id_, id.data());
  return id.data();
}

std::optional<std::vector<ChangeLogEntry>> StoreAccess::ChangesAfter(uint32_t counter) const {
  if (counter > Counter() || counter > kLargestCounter) return std::nullopt;
  const OsifAnchor anchor{counter, ""};
  std::vector<ChangeLogEntry> entries;
  ChangeLogEntry entry{};
  OsifResult result = OSIF_CL_GetFirstEntry(store_id_, &anchor, &entry);
  for (; result == OSIF_OK; result = OSIF_CL_GetNextEntry(store_id_, &entry)) {
    entries.push_back(entry);
  }
  if (result != OSIF_ERR_EOF) return std::nullopt;
  return entries;
}

std::vector<std::string> StoreAccess::Ids() const {
  std::vector<std::string> ids;
  client::ForEachId(store_id_, [&](const char* id) { ids.emplace_back(id); });
  return ids;
}

std::string StoreAccess::TextWithoutId(const std::string& id, OsifResult& result) {
  client::FetchedObject fetched(store_id_, id.c_str());
  result = fetched.result();
  if (result != OSIF_OK) return {};
  result = OSIF_WriteObject(store_id_, &fetched.object(), client::ToWide(piece_.name()).c_str(), 1);
  std::string text;
  if (result == OSIF_OK && piece_.Read(text)) {
    text = writer_->Write({FormOf(store_id_).kind, std::move(text)}).text;
  }
  if (text.empty() && result == OSIF_OK) result = OSIF_ERR_GENERAL;
  return text;
}

std::string StoreAccess::TextOf(const std::string& id, OsifResult& result) {
  std::string text = TextWithoutId(id, result);
  if (text.find(kIdLine) != std::string::npos) return text;
  const size_t end = text.rfind(kLastLine);
  return end == std::string::npos ? text : text.insert(end, "X-IRMC-LUID:" + id + "\r\n");
}

std::string StoreAccess::TextOfBody(int handle) {
  dialects::ObjectSplitter splitter([handle](char* into, size_t room) {
    const ssize_t count = read(handle, into, room);
    return count < 0 ? size_t{0} : static_cast<size_t>(count);
  });
  const std::optional<dialects::ObjectText> object = splitter.Next();
  if (!object) return {};
  settings_.origin = dialects::Origin::kAnyone;
  std::string text = writer_->Write(*object).text;
  settings_.origin = dialects::Origin::kLibrary;
  return text;
}

std::string StoreAccess::TextWithUid(const std::string& id, const std::string& uid,
                                     OsifResult& result) {
  settings_.uid = uid;
  const std::string begin = Begin();
  const std::string text = TextWithoutId(id, result);
  const std::string end = End();
  settings_.uid.clear();
  return text.empty() ? text : begin + text + end;
}

std::string StoreAccess::WholeTextOf(const std::string& id, OsifResult& result) {
  const std::string begin = Begin();
  const std::string text = TextOf(id, result);
  const std::string end = End();
  return text.empty() ? text : begin + text + end;
}

}  // namespace obex
