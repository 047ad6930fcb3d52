#include "platform/posix/paths.h"

#include <algorithm>
#include <cstdint>

#include "platform/utf8.h"

namespace {

constexpr size_t kLongestName = 255;      // bytes
constexpr size_t kLongestExtension = 16;  // bytes, dot included

// FNV-1a, 64 bits, as hexadecimal digits.
std::string Checksum(std::string_view bytes) {
  uint64_t sum = 0xCBF29CE484222325u;
  for (char c : bytes) sum = (sum ^ static_cast<uint8_t>(c)) * 0x100000001B3u;
  std::string digits(16, '0');
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, sum >>= 4) {
    *digit = "0123456789abcdef"[sum & 0xF];
  }
  return digits;
}

std::string Shortened(std::string_view name) {
  if (name.size() <= kLongestName) return std::string(name);
  const size_t dot = name.rfind('.');
  const bool has_extension = dot != name.npos && name.size() - dot <= kLongestExtension;
  const std::string_view extension = has_extension ? name.substr(dot) : std::string_view();
  const std::string mark = "~" + Checksum(name);
  size_t kept = kLongestName - mark.size() - extension.size();
  while (kept > 0 && (static_cast<uint8_t>(name[kept]) & 0xC0) == 0x80) --kept;  // whole characters
  return std::string(name.substr(0, kept)).append(mark).append(extension);
}

}  // namespace

std::string NativePath(std::u16string_view path) {
  std::string bytes = ToUtf8(path);
  std::replace(bytes.begin(), bytes.end(), '\\', '/');
  std::string result;
  for (std::string_view rest = bytes;;) {
    const size_t end = rest.find('/');
    result += Shortened(rest.substr(0, end));
    if (end == rest.npos) return result;
    result += '/';
    rest.remove_prefix(end + 1);
  }
}

std::u16string WidePath(std::string_view path) {
  std::u16string wide = FromUtf8(path);
  std::replace(wide.begin(), wide.end(), u'/', u'\\');
  return wide;
}
