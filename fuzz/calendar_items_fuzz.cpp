// Calendars of any dialect: each item is refused in words, or its strict text is read by the library; every writer
// takes what the reader takes.
#include <cstdlib>

#include "btosif/osif_parsers/vcalendar_reader.h"
#include "btosif/osif_parsers/vnote_reader.h"
#include "dialects/calendar_plain.h"
#include "dialects/forms.h"
#include "dialects/strict_object.h"
#include "fuzz/fuzz_input.h"

namespace {

constexpr size_t kLongestInput = 4096;

int32_t Count(int32_t /*store_id*/, OsifObject* /*object*/, OsifResult result, void* context) {
  if (result != OSIF_PARSE_OK) abort();
  ++*static_cast<int*>(context);
  return 0;
}

void CheckItem(const dialects::StrictObject& item) {
  if (item.text.empty() == item.refusal.empty()) abort();
  if (item.text.empty()) return;
  int count = 0;
  const auto* bytes = reinterpret_cast<const uint8_t*>(item.text.data());
  const auto read = item.kind == dialects::ObjectKind::kNote ? VNote_ReadFile : VCalendar_ReadFile;
  fuzz::Read(read, bytes, item.text.size(), Count, &count);
  if (count != 1) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size > kLongestInput) return 0;
  dialects::ObjectText object;
  object.kind = dialects::ObjectKind::kCalendar;
  object.text.assign(reinterpret_cast<const char*>(bytes), size);
  const auto items = dialects::StrictCalendarItems(object, {});
  if (items.empty()) abort();
  for (const dialects::StrictObject& item : items) CheckItem(item);
  if (dialects::IsPlainCalendar(object.text) &&
      (items.size() != 1 || !items.front().report.IsEmpty())) {
    abort();
  }
  dialects::WriterSettings settings;
  for (const auto form : {dialects::Form::kVCal10, dialects::Form::kICal20, dialects::Form::kText,
                          dialects::Form::kHtml}) {
    const auto writer = dialects::MakeCalendarWriter(form, settings);
    const dialects::WrittenObject written = writer->Write(object);
    if (written.text.empty() == written.refusal.empty()) abort();
  }
  return 0;
}
