#include "obex/packets/headers.h"

#include "platform/utf8.h"

namespace obex {
namespace {

constexpr size_t kPrefix = 3;  // of what has a length: its id, and the length, which counts them

enum class Form : uint8_t { kText, kBytes, kByte, kNumber };

Form FormOf(uint8_t id) { return static_cast<Form>(id >> 6); }

uint8_t ByteAt(std::string_view bytes, size_t place) { return static_cast<uint8_t>(bytes[place]); }

uint32_t NumberAt(std::string_view bytes, size_t place) {
  return static_cast<uint32_t>(ShortAt(bytes, place)) << 16 | ShortAt(bytes, place + 2);
}

}  // namespace

uint16_t ShortAt(std::string_view bytes, size_t place) {
  return static_cast<uint16_t>(ByteAt(bytes, place) << 8 | ByteAt(bytes, place + 1));
}

void AppendShort(std::string& bytes, uint16_t number) {
  bytes += static_cast<char>(number >> 8);
  bytes += static_cast<char>(number & 0xFF);
}

std::optional<Header> HeaderReader::Next() {
  if (rest_.empty() || is_malformed_) return std::nullopt;
  Header header;
  header.id = ByteAt(rest_, 0);
  size_t length = 0;
  switch (FormOf(header.id)) {
    case Form::kByte:
      length = 2;
      if (rest_.size() < length) return Fail();
      header.number = ByteAt(rest_, 1);
      break;
    case Form::kNumber:
      length = 5;
      if (rest_.size() < length) return Fail();
      header.number = NumberAt(rest_, 1);
      break;
    case Form::kText:
    case Form::kBytes:
      if (rest_.size() < kPrefix) return Fail();
      length = ShortAt(rest_, 1);
      if (length < kPrefix || length > rest_.size()) return Fail();
      header.bytes = rest_.substr(kPrefix, length - kPrefix);
      break;
  }
  header.size = length;
  rest_.remove_prefix(length);
  return header;
}

std::optional<Header> HeaderReader::Fail() {
  is_malformed_ = true;
  return std::nullopt;
}

void AppendBytes(std::string& packet, HeaderId id, std::string_view bytes) {
  packet += static_cast<char>(id);
  AppendShort(packet, static_cast<uint16_t>(kPrefix + bytes.size()));
  packet += bytes;
}

void AppendNumber(std::string& packet, HeaderId id, uint32_t number) {
  packet += static_cast<char>(id);
  AppendShort(packet, static_cast<uint16_t>(number >> 16));
  AppendShort(packet, static_cast<uint16_t>(number & 0xFFFF));
}

void AppendText(std::string& packet, HeaderId id, std::string_view text) {
  std::string bytes;
  if (!text.empty()) {
    for (const WCHAR unit : FromUtf8(text)) AppendShort(bytes, static_cast<uint16_t>(unit));
    AppendShort(bytes, 0);
  }
  AppendBytes(packet, id, bytes);
}

std::optional<std::string> TextOfHeader(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  std::basic_string<WCHAR> units;
  for (size_t i = 0; i < bytes.size(); i += 2) units += static_cast<WCHAR>(ShortAt(bytes, i));
  if (!units.empty() && units.back() == 0) units.pop_back();
  for (size_t i = 0; i < units.size(); ++i) {
    if (units[i] == 0 || IsTrailSurrogate(units[i])) return std::nullopt;
    if (!IsLeadSurrogate(units[i])) continue;
    if (++i == units.size() || !IsTrailSurrogate(units[i])) return std::nullopt;
  }
  return ToUtf8(units);
}

std::optional<std::string_view> FindTag(std::string_view list, uint8_t tag) {
  while (list.size() >= 2) {
    const size_t length = ByteAt(list, 1);
    if (length > list.size() - 2) return std::nullopt;
    if (ByteAt(list, 0) == tag) return list.substr(2, length);
    list.remove_prefix(2 + length);
  }
  return std::nullopt;
}

void AppendTag(std::string& list, uint8_t tag, std::string_view value) {
  list += static_cast<char>(tag);
  list += static_cast<char>(value.size());
  list += value;
}

}  // namespace obex
