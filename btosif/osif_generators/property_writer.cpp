// A line is put together in one piece of memory, measured before, and goes to the file in one call. The properties
// of an object are written one after the other whether or not one of them fails: a failure is traced, and
// the others still go out.
#include "btosif/osif_generators/property_writer.h"

#include <cstring>

#include "btosif/osif_util/owned_text.h"
#include "btosif/osif_util/property_value.h"
#include "config/trace.h"

namespace {

constexpr std::string_view kEncodedLineFeed = "=0A";

// Builds one line in a single allocation.
class LineBuilder {
 public:
  // `room` is as much as will be added, or more.
  explicit LineBuilder(size_t room) : text_(static_cast<char*>(OsifAllocRaw(room + 1))) {}

  // False when memory is short; nothing may be added then.
  bool has_room() const { return text_ != nullptr; }

  void Add(char c) { text_.get()[length_++] = c; }
  void Add(std::string_view text) {
    std::memcpy(text_.get() + length_, text.data(), text.size());
    length_ += text.size();
  }

  std::string_view line() const { return {text_.get(), length_}; }

 private:
  OwnedText text_;
  size_t length_ = 0;
};

bool IsFilled(const OsifText& node) { return node.text != nullptr && node.text[0] != '\0'; }

// The bytes of the texts of a list, with one more for what stands before each.
size_t RoomOf(const OsifText* list) {
  size_t room = 0;
  for (const OsifText& node : Texts(list)) {
    room += (IsFilled(node) ? std::strlen(node.text) : 0) + 1;
  }
  return room;
}

const OsifText* LastFilled(const OsifText* list) {
  const OsifText* last = nullptr;
  for (const OsifText& node : Texts(list)) {
    if (IsFilled(node)) last = &node;
  }
  return last;
}

// Empty components stay where filled ones follow.
void AddComponents(LineBuilder& line, const OsifText* list) {
  const OsifText* last = LastFilled(list);
  if (last == nullptr) return;
  for (const OsifText* node = list;; node = node->next) {
    if (IsFilled(*node)) line.Add(node->text);
    if (node == last) return;
    line.Add(';');
  }
}

void AddValueLine(LineBuilder& line, std::string_view name, const PropertyValue& value) {
  line.Add(name);
  for (const OsifText& param : Texts(value.params)) {
    if (!IsFilled(param)) continue;
    line.Add(';');
    line.Add(param.text);
  }
  line.Add(':');
  AddComponents(line, value.components);
}

int Report(const char* message) {
  OSIF_Trace(0, message);
  return 1;
}

int WriteValue(OsifStream& stream, std::string_view name, const PropertyValue& value,
               const WriterMessages& messages) {
  LineBuilder line(name.size() + 1 + RoomOf(value.params) + RoomOf(value.components));
  if (!line.has_room()) return Report(messages.no_memory);
  AddValueLine(line, name, value);
  return WriteSplitLine(stream, line.line());
}

}  // namespace

int WritePropertyLine(OsifStream& stream, std::string_view name, std::string_view params,
                      std::string_view value, const WriterMessages& messages) {
  LineBuilder line(name.size() + params.size() + value.size() + 2);
  if (!line.has_room()) return Report(messages.no_memory);
  line.Add(name);
  if (!params.empty()) {
    line.Add(';');
    line.Add(params);
  }
  line.Add(':');
  line.Add(value);
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
