// Files of objects: however a file comes in pieces, the same objects are found in it; each begins with a
// BEGIN and ends with an END, and is found again, alone, as it was.
#include <algorithm>
#include <vector>

#include "dialects/content_line.h"
#include "dialects/object_splitter.h"
#include "fuzz/fuzz_input.h"

namespace {

using dialects::ObjectSplitter;
using dialects::ObjectText;

std::vector<ObjectText> Split(std::string_view bytes, size_t piece, size_t largest) {
  size_t place = 0;
  ObjectSplitter splitter(
      [&](char* into, size_t room) {
        const size_t count = bytes.copy(into, std::min(room, piece), place);
        place += count;
        return count;
      },
      largest);
  std::vector<ObjectText> objects;
  while (std::optional<ObjectText> object = splitter.Next()) objects.push_back(std::move(*object));
  return objects;
}

void CheckObject(const ObjectText& object) {
  if (!object.refusal.empty()) {
    if (!object.text.empty()) abort();
    return;
  }
  std::string_view text = object.text;
  std::string what;
  if (!dialects::IsFrameLine(dialects::TakePhysicalLine(text), "BEGIN", what)) abort();
  if (!object.had_end && !object.text.ends_with("END:" + what + "\r\n")) abort();
  // The first bytes of a file tell its width, and these are the object's own here.
  if (object.text.find('\0') != std::string::npos) return;
  const std::string file = "\n" + object.text;
  const std::vector<ObjectText> again = Split(file, file.size(), dialects::kLargestObject);
  if (again.size() != 1 || again[0].text != object.text) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(bytes), size);
  for (const size_t largest : {dialects::kLargestObject, size_t{64}}) {
    const std::vector<ObjectText> whole = Split(input, size + 1, largest);
    const std::vector<ObjectText> pieces = Split(input, 3, largest);
    if (whole.size() != pieces.size()) abort();
    for (size_t i = 0; i < whole.size(); ++i) {
      if (whole[i].text != pieces[i].text || whole[i].line != pieces[i].line) abort();
      CheckObject(whole[i]);
    }
  }
  return 0;
}
