// Logical lines: the reader reaches the end of every input, and no line is longer than what it was read from.
#include <cstring>

#include "btosif/osif_parsers/line_reader.h"
#include "btosif/osif_util/property_split.h"
#include "fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  const fuzz::InputFile input(bytes, size);
  OsifStream stream;
  input.Open(stream);
  for (int64_t before = 0; !FILE_Eof(stream);) {
    const OwnedText line = FileLine(stream);
    if (line == nullptr) abort();
    int64_t after = 0;
    FILE_Tell(&after, stream);
    if (after <= before && !FILE_Eof(stream)) abort();
    if (std::strlen(line.get()) > static_cast<size_t>(after - before)) abort();
    before = after;

    char name[kNameRoom];
    char params[kParamRoom];
    const char* value = SplitProperty(name, params, line.get());
    if (value < line.get() || value > line.get() + std::strlen(line.get())) abort();
    StripBlanks(name);
  }
  return 0;
}
