// Packets as they go over the wire, put together and shown without the code that is tested.
#pragma once

#include <cctype>
#include <cstdint>
#include <string>
#include <string_view>

namespace obex_test {

// "82 00 06" as three bytes.
inline std::string Bytes(std::string_view hex) {
  std::string digits;
  for (const char c : hex) {
    if (std::isxdigit(static_cast<unsigned char>(c)) != 0) digits += c;
  }
  std::string bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

// Three bytes as "82 00 06".
inline std::string Hex(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (const char c : bytes) {
    if (!hex.empty()) hex += ' ';
    hex += kDigits[static_cast<uint8_t>(c) >> 4];
    hex += kDigits[static_cast<uint8_t>(c) & 0x0F];
  }
  return hex;
}

inline std::string Two(size_t number) {
  return {static_cast<char>(number >> 8), static_cast<char>(number & 0xFF)};
}

// A header that has a length.
inline std::string Sized(int id, std::string_view value) {
  return std::string(1, static_cast<char>(id)) + Two(3 + value.size()) + std::string(value);
}

// UTF-16 with its end, of ASCII.
inline std::string Wide(std::string_view ascii) {
  std::string wide;
  for (const char c : ascii) wide += std::string(1, '\0') + c;
  return wide + Two(0);
}

inline std::string Name(std::string_view ascii) { return Sized(0x01, Wide(ascii)); }
inline std::string Type(std::string_view type) {
  return Sized(0x42, std::string(type) + std::string(1, '\0'));
}
inline std::string Description(size_t size) { return Sized(0x05, std::string(size - 3, '\0')); }
inline std::string Body(std::string_view bytes) { return Sized(0x48, bytes); }
inline std::string EndOfBody(std::string_view bytes) { return Sized(0x49, bytes); }
inline std::string Target(std::string_view bytes) { return Sized(0x46, bytes); }
inline std::string Length(size_t number) {
  return std::string(1, '\xC3') + Two(number >> 16) + Two(number & 0xFFFF);
}
inline std::string Id(size_t number) {
  return std::string(1, '\xCB') + Two(number >> 16) + Two(number & 0xFFFF);
}

inline std::string Packet(int opcode, std::string_view rest = {}) { return Sized(opcode, rest); }

constexpr int kPut = 0x02;
constexpr int kPutFinal = 0x82;
constexpr int kGet = 0x03;
constexpr int kGetFinal = 0x83;

// CONNECT of a peer that takes packets of `room` bytes.
inline std::string Connect(size_t room, std::string_view headers = {}) {
  return Packet(0x80, Bytes("10 00") + Two(room) + std::string(headers));
}
inline std::string SetPath(std::string_view fields, std::string_view headers = {}) {
  return Packet(0x85, Bytes(fields) + std::string(headers));
}
inline std::string Disconnect() { return Bytes("81 00 03"); }
inline std::string Abort() { return Bytes("FF 00 03"); }

}  // namespace obex_test
