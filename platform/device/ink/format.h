// The frame of an ink document: a header, then zones to the end of the file. All numbers are
// little-endian.
//
//   header  14 bytes
//   zone    u16 type, u16 id, u16 length of the content in words of 4 bytes, content
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace device::ink {

inline constexpr std::string_view kSignature("{\\pwi\x15\0\0\1\1", 10);
inline constexpr uint16_t kVersion = 6;
inline constexpr uint16_t kNewerVersion = 7;  // read, not written
inline constexpr size_t kHeaderSize = 14;
inline constexpr size_t kZoneHeaderSize = 6;
inline constexpr size_t kWordSize = 4;
inline constexpr size_t kMaxZoneWords = 0xFFFF;

enum ZoneType : uint16_t {
  kFonts = 0,
  kPage = 7,
  kView = 8,
  kUnknown20 = 20,
  kUnknown21 = 21,
  kParagraphList = 64,
  kText = 65,
  kLines = 66,
  kObjectData = 85,  // its length counts bytes, and the id is the length's high half
  kDrawings = 130,
  kWholeText = 0x6F73,  // our own: see writer.h
};

// The parts of a paragraph list and of a text zone that stand before their entries and their text.
inline constexpr size_t kListHeadSize = 24;
inline constexpr size_t kListEntrySize = 8;
inline constexpr size_t kTextHeadSize = 24;

// A whole-text zone: this mark, u32 number of UTF-16 units, the units.
inline constexpr std::string_view kWholeTextMark = "OSIF";
inline constexpr size_t kWholeTextHeadSize = 8;

}  // namespace device::ink
