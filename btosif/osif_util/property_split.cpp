// A line is gone through once, from its name on; what a field has no room for is dropped without a word, since
// no name and no parameter that means something to anybody is that long. Most fields hold neither blanks nor
// escapes: they are copied in a short loop that notes whether there could be any, and only those others are
// looked at again.
#include "btosif/osif_util/property_split.h"

#include "btosif/osif_util/ascii.h"

namespace {

// True when the first character protects the second one from being taken for a delimiter.
bool IsEscape(std::string_view text) {
  return text.size() > 1 && text[0] == '\\' && (text[1] == ';' || text[1] == '\\');
}

// A field that was taken from a line.
struct Field {
  size_t length;
  bool has_blanks;  // perhaps
};

// Moves the front of a text up to one of the two delimiters into a field; what does not fit is dropped.
template <size_t kRoom>
Field TakeField(char (&field)[kRoom], std::string_view& text, char delimiter, char other) {
  const auto is_delimiter = [&](char c) { return c == delimiter || c == other; };
  size_t length = 0;
  size_t i = 0;
  // Most fields have neither blank nor escape, and fit.
  for (; i < text.size() && i + 1 < kRoom && !is_delimiter(text[i]); ++i) {
    if (text[i] <= ' ' || text[i] == '\\') break;
    field[length++] = text[i];
  }
  const bool has_blanks = i < text.size() && !is_delimiter(text[i]);
  while (i < text.size() && !is_delimiter(text[i])) {
    const size_t count = IsEscape(text.substr(i)) ? 2 : 1;
    if (length + count < kRoom) length += text.copy(field + length, count, i);
    i += count;
  }
  field[length] = '\0';
  text.remove_prefix(i);
  return {length, has_blanks};
}

struct Fields {
  Field name;
  Field params;
  std::string_view value;  // empty when the line ended before
};

Fields TakeFields(char (&name)[kNameRoom], char (&params)[kParamRoom], std::string_view line) {
  Fields fields = {TakeField(name, line, ';', ':'), {}, {}};
  params[0] = '\0';
  if (line.starts_with(';')) {
    line.remove_prefix(1);
    fields.params = TakeField(params, line, ':', ':');
  }
  fields.value = line.substr(line.empty() ? 0 : 1);
  return fields;
}

// The field without its blanks and tabs.
std::string_view Stripped(char* text, const Field& field) {
  if (field.has_blanks) return StripBlanks(text);
  return {text, field.length};
}

}  // namespace

const char* SplitProperty(char (&name)[kNameRoom], char (&params)[kParamRoom], const char* line) {
  return TakeFields(name, params, line).value.data();
}

char* StripBlanks(char* text) {
  char* out = text;
  for (const char* in = text; *in != '\0'; ++in) {
    if (!IsBlankOrTab(*in)) *out++ = *in;
  }
  *out = '\0';
  return text;
}

SplitLine SplitStripped(char (&name)[kNameRoom], char (&params)[kParamRoom],
                        std::string_view line) {
  const Fields fields = TakeFields(name, params, line);
  return {Stripped(name, fields.name), Stripped(params, fields.params), fields.value};
}
