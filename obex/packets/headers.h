// The headers of a packet, and the tag-length-value lists that some of them hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "obex/packets/codes.h"

namespace obex {

// One header. Which of the two values it has its id's top bits say (OBEX 1.2, 2.1): 00 text and 01 bytes, both with a
// length; 10 one byte; 11 four bytes.
struct Header {
  uint8_t id = 0;
  std::string_view bytes;  // of texts (UTF-16, big endian, with its end) and bytes
  uint32_t number = 0;     // of one byte and of four
  size_t size = 0;         // of all of it in the packet

  bool Is(HeaderId wanted) const { return id == static_cast<uint8_t>(wanted); }
};

// Walks the headers of a packet. The bytes outlive it, and are any.
class HeaderReader {
 public:
  explicit HeaderReader(std::string_view bytes) : rest_(bytes) {}

  // Nothing after the last one, and where what comes is none; is_malformed() tells which.
  std::optional<Header> Next();

  bool is_malformed() const { return is_malformed_; }

 private:
  std::optional<Header> Fail();

  std::string_view rest_;
  bool is_malformed_ = false;
};

// Each appends a header to a packet; texts and bytes are at most 65,532 bytes with their end.
void AppendBytes(std::string& packet, HeaderId id, std::string_view bytes);
void AppendNumber(std::string& packet, HeaderId id, uint32_t number);
// `text` is UTF-8.
void AppendText(std::string& packet, HeaderId id, std::string_view text);

// What a text header says, in UTF-8: without its end, or all of it where it has none. Nothing for half a unit, half a
// surrogate pair, and for what goes on after its end.
std::optional<std::string> TextOfHeader(std::string_view bytes);

// The value of a tag in a list of tags (one byte), lengths (one byte) and values: the application parameters, and what
// authenticates. Nothing without the tag; a list that is cut off ends before the cut.
std::optional<std::string_view> FindTag(std::string_view list, uint8_t tag);

// Appends one; the value has at most 255 bytes.
void AppendTag(std::string& list, uint8_t tag, std::string_view value);

// Two and four bytes, big endian.
uint16_t ShortAt(std::string_view bytes, size_t place);
void AppendShort(std::string& bytes, uint16_t number);

}  // namespace obex
