// Offsets are never added up before they are checked: what is read is cut off the front of what is
// left.

#include "platform/device/ink/reader.h"

#include <algorithm>
#include <map>
#include <vector>

#include "platform/device/ink/format.h"
#include "platform/device/ink/text.h"

namespace device {
namespace {

struct Zone {
  uint16_t type = 0;
  uint16_t id = 0;
  std::string_view content;
};

// The number at an offset that lies within the bytes.
uint16_t Number16(std::string_view bytes, size_t at) {
  const auto low = static_cast<unsigned char>(bytes[at]);
  const auto high = static_cast<unsigned char>(bytes[at + 1]);
  return static_cast<uint16_t>(low | high << 8);
}
uint32_t Number32(std::string_view bytes, size_t at) {
  return Number16(bytes, at) | static_cast<uint32_t>(Number16(bytes, at + 2)) << 16;
}

bool HasKnownHeader(std::string_view bytes) {
  if (bytes.size() < ink::kHeaderSize || !bytes.starts_with(ink::kSignature)) return false;
  const uint16_t version = Number16(bytes, ink::kSignature.size());
  return version == ink::kVersion || version == ink::kNewerVersion;
}

size_t ContentSize(const Zone& zone, uint16_t length) {
  if (zone.type == ink::kObjectData) return length | static_cast<size_t>(zone.id) << 16;
  return length * ink::kWordSize;
}

// All zones up to the first that is not there as a whole.
std::vector<Zone> SplitZones(std::string_view bytes) {
  std::vector<Zone> zones;
  while (bytes.size() >= ink::kZoneHeaderSize) {
    Zone zone{Number16(bytes, 0), Number16(bytes, 2), {}};
    const size_t size = ContentSize(zone, Number16(bytes, 4));
    bytes.remove_prefix(ink::kZoneHeaderSize);
    if (size > bytes.size()) break;
    zone.content = bytes.substr(0, size);
    bytes.remove_prefix(size);
    zones.push_back(zone);
  }
  return zones;
}

using TextZones = std::vector<std::string_view>;  // contents

TextZones InFileOrder(const std::vector<Zone>& zones) {
  TextZones texts;
  for (const Zone& zone : zones) {
    if (zone.type == ink::kText) texts.push_back(zone.content);
  }
  return texts;
}

// The text zones that the paragraph list names. Each is taken once, so that a list of thousands of
// entries for one long paragraph does not become a text of thousands of them.
TextZones InListOrder(std::string_view list, std::map<uint16_t, std::string_view> texts_by_id) {
  TextZones texts;
  if (list.size() < ink::kListHeadSize) return texts;
  size_t entries = Number32(list, 0);
  list.remove_prefix(ink::kListHeadSize);
  for (; entries > 0 && list.size() >= ink::kListEntrySize; --entries) {
    if (const auto text = texts_by_id.extract(Number16(list, 4))) texts.push_back(text.mapped());
    list.remove_prefix(ink::kListEntrySize);
  }
  return texts;
}

// In reading order. Programs exist that give every paragraph the same id: their list tells nothing.
TextZones SelectTextZones(const std::vector<Zone>& zones) {
  const auto list = std::find_if(zones.begin(), zones.end(),
                                 [](const Zone& zone) { return zone.type == ink::kParagraphList; });
  if (list == zones.end()) return InFileOrder(zones);
  std::map<uint16_t, std::string_view> texts_by_id;
  for (const Zone& zone : zones) {
    if (zone.type != ink::kText) continue;
    if (!texts_by_id.emplace(zone.id, zone.content).second) return InFileOrder(zones);
  }
  return InListOrder(list->content, std::move(texts_by_id));
}

// The codes in a text zone; nothing when it is too short for them.
std::optional<std::string_view> Codes(std::string_view text_zone) {
  if (text_zone.size() < ink::kTextHeadSize) return std::nullopt;
  const size_t size = Number16(text_zone, 2);
  text_zone.remove_prefix(ink::kTextHeadSize);
  if (size > text_zone.size()) return std::nullopt;
  return text_zone.substr(0, size);
}

std::u16string ReadParagraphs(const std::vector<Zone>& zones) {
  std::u16string text;
  bool is_first = true;
  for (std::string_view text_zone : SelectTextZones(zones)) {
    const std::optional<std::string_view> codes = Codes(text_zone);
    if (!codes) continue;
    if (!is_first) text += u"\r\n";
    is_first = false;
    text += DecodeInkParagraph(*codes);
  }
  return text;
}

std::u16string ReadWholeText(const std::vector<Zone>& zones) {
  std::u16string text;
  for (const Zone& zone : zones) {
    std::string_view content = zone.content;
    if (zone.type != ink::kWholeText || content.size() < ink::kWholeTextHeadSize) continue;
    if (!content.starts_with(ink::kWholeTextMark)) continue;
    const size_t told = Number32(content, ink::kWholeTextMark.size());
    content.remove_prefix(ink::kWholeTextHeadSize);
    const size_t units = std::min(told, content.size() / 2);
    for (size_t i = 0; i < units; ++i) text += static_cast<char16_t>(Number16(content, 2 * i));
  }
  return WithInkLineEnds(text);
}

}  // namespace

std::optional<std::u16string> ReadInkDocument(std::string_view bytes) {
  if (!HasKnownHeader(bytes)) return std::nullopt;
  const std::vector<Zone> zones = SplitZones(bytes.substr(ink::kHeaderSize));
  std::u16string visible = ReadParagraphs(zones);
  std::u16string whole = ReadWholeText(zones);
  return !whole.empty() && VisibleInkText(whole) == visible ? std::move(whole) : std::move(visible);
}

}  // namespace device
