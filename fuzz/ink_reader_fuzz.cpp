// Ink documents: any bytes give a text no longer than they are, which comes back when it is written
// as a document of its own.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "platform/device/ink/reader.h"
#include "platform/device/ink/writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const std::optional<std::u16string> text =
      device::ReadInkDocument({reinterpret_cast<const char*>(bytes), size});
  if (!text) return 0;
  if (text->size() > size) abort();
  if (device::ReadInkDocument(device::WriteInkDocument(*text)) != text) abort();
  return 0;
}
