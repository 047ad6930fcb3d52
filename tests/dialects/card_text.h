// What the tests of cards have in common: cards from their lines, and what becomes of them.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "dialects/forms.h"
#include "dialects/object_text.h"
#include "dialects/strict_object.h"

namespace card_text {

// A card of these lines, with its version.
inline dialects::ObjectText Card(std::string_view version,
                                 std::initializer_list<std::string_view> lines) {
  dialects::ObjectText object;
  object.kind = dialects::ObjectKind::kCard;
  object.text = "BEGIN:VCARD\r\n";
  if (!version.empty()) object.text += "VERSION:" + std::string(version) + "\r\n";
  for (const std::string_view line : lines) object.text += std::string(line) + "\r\n";
  object.text += "END:VCARD\r\n";
  return object;
}

// The lines of a text, without line ends.
inline std::vector<std::string> LinesOf(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const size_t end = text.find("\r\n");
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 2);
  }
  return lines;
}

// The lines between VERSION and END.
inline std::vector<std::string> Inner(std::string_view text) {
  std::vector<std::string> lines = LinesOf(text);
  if (lines.size() < 3) return {};
  return {lines.begin() + 2, lines.end() - 1};
}

inline dialects::StrictObject Strict(const dialects::ObjectText& object,
                                     const dialects::TextSettings& settings = {}) {
  std::vector<dialects::StrictObject> all = dialects::StrictCards(object, settings);
  return all.size() == 1 ? all.front() : dialects::StrictObject{};
}

inline dialects::WrittenObject Written(dialects::Form form, const dialects::ObjectText& object,
                                       dialects::Origin origin = dialects::Origin::kAnyone) {
  const dialects::WriterSettings settings{{}, origin, ""};
  return dialects::MakeCardWriter(form, settings)->Write(object);
}

}  // namespace card_text
