#include "btosif/osif_generators/property_writer.h"

#include <cstring>

#include "btosif/osif_util/owned_text.h"
#include "btosif/osif_util/property_value.h"
#include "config/trace.h"

namespace {

constexpr std::string_view kEncodedLineFeed = "=0A";

// Builds one line in a single allocation: the first pass measures, the second writes.
class LineBuilder {
 public:
  void Add(std::string_view text) {
    if (text_ != nullptr) std::memcpy(text_.get() + length_, text.data(), text.size());
    length_ += text.size();
  }

  // Ends the measuring pass; false when memory is short.
  bool Allocate() {
    text_.reset(static_cast<char*>(OsifAllocRaw(length_ + 1)));
    length_ = 0;
    return text_ != nullptr;
  }

  std::string_view line() const { return {text_.get(), length_}; }

 private:
  OwnedText text_;
  size_t length_ = 0;
};

// Runs `build` twice over a builder. False when memory is short.
template <typename Build>
bool BuildLine(LineBuilder& line, Build build) {
  build(line);
  if (!line.Allocate()) return false;
  build(line);
  return true;
}

bool IsFilled(const OsifText& node) { return node.text != nullptr && node.text[0] != '\0'; }

size_t FilledComponents(const PropertyValue& value) {
  size_t count = 0;
  size_t position = 0;
  for (const OsifText& component : Texts(value.components)) {
    ++position;
    if (IsFilled(component)) count = position;
  }
  return count;
}

void AddComponents(LineBuilder& line, const PropertyValue& value) {
  const size_t count = FilledComponents(value);
  const OsifText* component = value.components;
  for (size_t i = 0; i < count; ++i, component = component->next) {
    if (i > 0) line.Add(";");
    if (IsFilled(*component)) line.Add(component->text);
  }
}

void AddValueLine(LineBuilder& line, std::string_view name, const PropertyValue& value) {
  line.Add(name);
  for (const OsifText& param : Texts(value.params)) {
    if (!IsFilled(param)) continue;
    line.Add(";");
    line.Add(param.text);
  }
  line.Add(":");
  AddComponents(line, value);
}

int Report(const char* message) {
  OSIF_Trace(0, message);
  return 1;
}

int WriteValue(OsifStream& stream, std::string_view name, const PropertyValue& value,
               const WriterMessages& messages) {
  LineBuilder line;
  if (!BuildLine(line, [&](LineBuilder& out) { AddValueLine(out, name, value); })) {
    return Report(messages.no_memory);
  }
  return WriteSplitLine(stream, line.line());
}

}  // namespace

int WritePropertyLine(OsifStream& stream, std::string_view name, std::string_view params,
                      std::string_view value, const WriterMessages& messages) {
  LineBuilder line;
  const bool is_built = BuildLine(line, [&](LineBuilder& out) {
    out.Add(name);
    if (!params.empty()) {
      out.Add(";");
      out.Add(params);
    }
    out.Add(":");
    out.Add(value);
  });
  if (!is_built) return Report(messages.no_memory);
  return FILE_WriteLine(stream, line.line()) == 0 ? 0 : Report(messages.not_written);
}

int WritePropertyList(OsifStream& stream, std::string_view name, PropertyValue* list, bool required,
                      const WriterMessages& messages) {
  if (list == nullptr) return required ? WritePropertyLine(stream, name, "", "", messages) : 0;
  int result = 0;
  for (const PropertyValue& value : Values(list)) {
    result |= WriteValue(stream, name, value, messages);
  }
  return result;
}

int WriteSplitLine(OsifStream& stream, std::string_view line) {
  int result = 0;
  for (;;) {
    const size_t found = line.find(kEncodedLineFeed);
    const size_t behind = found + kEncodedLineFeed.size();
    if (found == std::string_view::npos || behind == line.size()) break;
    result |= FILE_Write(stream, line.substr(0, behind));
    result |= FILE_WriteLine(stream, "=");
    line.remove_prefix(behind);
  }
  result |= FILE_WriteLine(stream, line);
  return result == 0 ? 0 : Report("OSIF:  Unable to put string to file");
}
