// The way the lines are broken, their character set and their transfer encoding are new; names, parameters and values
// are what they were. Base64 stays base64.
#include "dialects/calendar_copy.h"

#include <algorithm>

#include "dialects/calendar_modern.h"

namespace dialects {
namespace {

// Parameters that are lists of addresses, each in quotes.
constexpr std::string_view kLists[] = {"MEMBER", "DELEGATED-TO", "DELEGATED-FROM"};

std::string QuotedList(std::string_view value) {
  std::string text;
  for (const std::string_view piece : SplitUnescaped(value, ',')) {
    text += (text.empty() ? "\"" : ",\"") + std::string(piece) + "\"";
  }
  return text;
}

bool IsOfEncoding(const Parameter& param) {
  return param.name == "CHARSET" || param.name == "ENCODING";
}

std::string ModernParams(const ContentLine& line, bool is_binary) {
  std::string text;
  for (const Parameter& param : line.params) {
    if ((IsOfEncoding(param) && !is_binary) || !IsPropertyName(param.name)) continue;
    const bool is_list = std::ranges::find(kLists, param.name) != std::end(kLists);
    text += ";" + param.name + "=";
    text += is_list ? QuotedList(param.value) : ParameterValue(param.value, true);
  }
  return text;
}

// A break can only come out of quoted-printable, which this version does not have.
std::string WithEscapedBreaks(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\n') escaped += "\\n";
    if (c != '\n' && c != '\r') escaped += c;
  }
  return escaped;
}

std::string OldParams(const ContentLine& line) {
  std::string text;
  for (const Parameter& param : line.params) {
    if (IsOfEncoding(param) || !IsPropertyName(param.name)) continue;
    std::string value = param.value;
    std::erase_if(value, [](char c) {
      return static_cast<unsigned char>(c) < ' ' || c == ';' || c == ':' || c == '"';
    });
    text += ";" + param.name + "=" + value;
  }
  return text;
}

std::string OldBinaryLine(const ContentLine& line) {
  return line.name + OldParams(line) + ";ENCODING=BASE64:" + line.value + "\r\n\r\n";
}

bool IsEmptyValue(const ContentLine& line) { return Trim(line.value).empty(); }

// What every component of these has to have.
bool NeedsStamp(const Component& component) {
  return component.name == "VEVENT" || component.name == "VTODO" || component.name == "VJOURNAL" ||
         component.name == "VFREEBUSY";
}

// Below the limit of depth of ReadCalendarText.
std::string PartsOf(const Component& component, const ValueDecoder& decoder) {
  std::string text;
  for (const Component& part : component.parts) {
    text += "BEGIN:" + part.name + "\r\n";
    for (const ContentLine& line : part.lines) text += CopiedModernLine(line, decoder);
    text += PartsOf(part, decoder) + "END:" + part.name + "\r\n";
  }
  return text;
}

}  // namespace

std::string CopiedModernLine(const ContentLine& line, const ValueDecoder& decoder) {
  if (!IsPropertyName(line.name)) return {};
  const bool is_binary = EncodingOf(line) == Encoding::kBase64;
  const std::string value = is_binary ? line.value : WithEscapedBreaks(decoder.Decoded(line));
  return FoldedLine(line.name + ModernParams(line, is_binary) + ":" + value);
}

std::string CopiedModern(const Component& component, const ValueDecoder& decoder,
                         const WriterSettings& settings) {
  std::string lines;
  for (const ContentLine& line : component.lines) lines += CopiedModernLine(line, decoder);
  const std::string parts = PartsOf(component, decoder);
  std::string head;
  if (NeedsStamp(component) && component.Value("UID").empty()) {
    const std::string uid = settings.uid.empty() ? MadeUid(lines + parts) : settings.uid;
    head += FoldedLine("UID:" + EscapedModern(uid));
  }
  if (NeedsStamp(component) && component.Value("DTSTAMP").empty()) {
    head += "DTSTAMP:" + TimeStampNow() + "\r\n";
  }
  return "BEGIN:" + component.name + "\r\n" + head + lines + parts + "END:" + component.name +
         "\r\n";
}

std::string CopiedOld(const Component& component, const ValueDecoder& decoder,
                      const WriterSettings& settings) {
  std::string text = "BEGIN:" + component.name + "\r\n";
  for (const ContentLine& line : component.lines) {
    if (!IsPropertyName(line.name)) continue;
    if (settings.origin == Origin::kLibrary && IsEmptyValue(line)) continue;
    if (EncodingOf(line) == Encoding::kBase64) {
      text += OldBinaryLine(line);
    } else {
      text += OldLine(line.name + OldParams(line), decoder.Components(line));
    }
  }
  if (component.Value("UID").empty() && !settings.uid.empty()) {
    text += OldLine("UID", settings.uid);
  }
  return text + "END:" + component.name + "\r\n";
}

}  // namespace dialects
