#include "btosif/osif_util/content_type.h"

#include <algorithm>

#include "btosif/osif_util/ascii.h"

namespace {

// What follows the word, which is given in upper case, in any case; nothing when the text does not contain it.
std::optional<std::string_view> After(std::string_view text, std::string_view word) {
  const auto found = std::search(text.begin(), text.end(), word.begin(), word.end(),
                                 [](char a, char b) { return AsciiUpper(a) == b; });
  if (found == text.end()) return std::nullopt;
  return text.substr(static_cast<size_t>(found - text.begin()) + word.size());
}

std::string_view WithoutLeadingBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

// A value in quotes up to the closing one, else up to one of the delimiters; in both cases at most to the end.
std::string ParameterValue(std::string_view text, const char* delimiters) {
  text = WithoutLeadingBlanks(text);
  if (text.starts_with('"')) {
    text.remove_prefix(1);
    delimiters = "\"";
  }
  return std::string(text.substr(0, text.find_first_of(delimiters)));
}

// The length of a quoted text that the text begins with, its quotes included; a backslash protects what follows.
size_t QuotedLength(std::string_view text) {
  for (size_t i = 1; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      return i + 1;
    }
  }
  return text.size();
}

// What follows a parameter's name and "=", given in upper case; nothing when the type has no such parameter. A
// parameter begins after a ";" or, as some devices write it, after a blank alone.
std::optional<std::string_view> AfterParameter(std::string_view type, std::string_view name) {
  bool is_beginning = true;
  while (!type.empty()) {
    if (is_beginning && StartsIgnoringCase(type, name)) return type.substr(name.size());
    is_beginning = type.front() == ';' || IsBlankOrTab(type.front());
    type.remove_prefix(type.front() == '"' ? QuotedLength(type) : 1);
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> MultipartBoundary(std::string_view content_type) {
  std::optional<std::string_view> rest = After(content_type, "MULTIPART");
  while (rest && (rest = After(*rest, "BOUNDARY"))) {
    const std::string_view value = WithoutLeadingBlanks(*rest);
    if (value.starts_with('=')) return ParameterValue(value.substr(1), "; \t");
  }
  return std::nullopt;
}

std::optional<std::string> AttachmentName(std::string_view content_type) {
  const std::optional<std::string_view> value = AfterParameter(content_type, "NAME=");
  if (!value) return std::nullopt;
  return ParameterValue(*value, " \t");
}
