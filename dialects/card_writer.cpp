// A card is read into the model, brought to what the version has, and written line by line. Where the versions differ
// in how they write, a property's line is made by one of two functions: the old form encodes, the later ones escape and
// fold.
#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "btosif/osif_util/ascii.h"
#include "dialects/card.h"
#include "dialects/card_derive.h"
#include "dialects/card_form.h"
#include "dialects/card_line.h"
#include "dialects/card_names.h"
#include "dialects/card_people.h"
#include "dialects/forms.h"
#include "dialects/value_text.h"

namespace dialects {
namespace {

using namespace std::string_view_literals;

// ---- Dates --------------------------------------------------------------------------------------------------

constexpr bool IsDate(std::string_view name) { return name == "BDAY"sv || name == "ANNIVERSARY"sv; }

// The time of a date with one, if it is another than midnight.
std::string_view TimeOf(std::string_view date) {
  const size_t begin = date.find('T');
  if (begin == std::string_view::npos) return {};
  const std::string_view time = date.substr(begin);
  return time.find_first_of("123456789") == std::string_view::npos ? std::string_view() : time;
}

std::string Without(std::string_view text, char separator) {
  std::string basic(text);
  std::erase(basic, separator);
  return basic;
}

std::string ExtendedDay(std::string_view day) {
  return std::string(day.substr(0, 4)) + '-' + std::string(day.substr(4, 2)) + '-' +
         std::string(day.substr(6));
}

// "--1231" and the like: a date that lacks a part.
bool IsPartOfDate(std::string_view text) {
  const bool is_dateful =
      !text.empty() && text.find_first_not_of("0123456789-") == std::string_view::npos;
  return is_dateful && (text.starts_with("--") || text.size() == 4 || text.size() == 7);
}

struct DateText {
  std::string text;
  bool is_text = false;  // no date as the version has it
};

DateText DateIn(CardVersion version, const CardProperty& property, Report& report) {
  const std::string& sent = property.Text();
  if (IsPartOfDate(sent)) {
    const bool is_basic = version == CardVersion::k40 && sent.starts_with("--");
    return {is_basic ? "--" + Without(sent, '-') : sent, false};
  }
  const std::optional<Day> day = DayOf(sent);
  if (!day) return {sent, !sent.empty()};
  if (day->is_guessed) report.Guessed("day and month of " + property.name);
  const std::string_view time = TimeOf(sent);
  if (version != CardVersion::k30) return {day->text + Without(time, ':'), false};
  return {ExtendedDay(day->text) + std::string(time), false};
}

// "1995-10-31T22:27:10Z" in the form of 4.0. The minus of an offset stays.
std::string BasicTime(const std::string& sent) {
  const std::optional<Day> day = DayOf(sent);
  const size_t time = sent.find('T');
  if (!day || time == std::string::npos) return sent;
  return day->text + Without(std::string_view(sent).substr(time), ':');
}

// ---- vCard 2.1 ----------------------------------------------------------------------------------------------

constexpr std::string_view kLabelName = "X-ABLabel";

bool IsPlainParameter(std::string_view value) {
  return std::ranges::all_of(value, [](char c) {
    return c > ' ' && c <= '~' && std::string_view(":;,=\"").find(c) == std::string_view::npos;
  });
}

// Where a picture is found has to be told from what it is.
std::string OldValueKind(const CardProperty& property) {
  const CardShape shape = ShapeOf(property.name);
  const std::string_view sent = property.Param("VALUE");
  if (shape == CardShape::kUri || property.is_binary || sent == "TEXT"sv) return {};
  const bool is_uri = shape == CardShape::kBinary && property.Text().find(':') != std::string::npos;
  return sent == "URI"sv || (is_uri && sent.empty()) ? "URL" : std::string(sent);
}

std::string OldHead(const CardProperty& property, Report& report) {
  std::string head = property.group.empty() ? "" : property.group + ".";
  AppendCardName(head, CardVersion::k21, property.name);
  for (const std::string& type : property.types) {
    if (!IsPlainParameter(type)) {
      report.Dropped("parameter TYPE");
      continue;
    }
    head += (IsOldCardType(type) ? ";" : ";TYPE=") + type;
  }
  if (property.preference > 0) head += ";PREF";
  const std::string kind = OldValueKind(property);
  if (!kind.empty()) head += ";VALUE=" + kind;
  for (const auto& [name, value] : property.params) {
    if (name == "VALUE"sv) continue;
    if (IsPlainParameter(name) && IsPlainParameter(value)) {
      head += ";" + name + "=" + value;
    } else {
      report.Dropped("parameter " + name);
    }
  }
  return head;
}

// Base64 on lines of its own; the old readers need the empty line behind it.
std::string OldBinaryLine(std::string head, std::string_view base64) {
  constexpr size_t kLineLength = 72;
  head += ";ENCODING=BASE64:";
  for (; !base64.empty(); base64.remove_prefix(std::min(kLineLength, base64.size()))) {
    head += "\r\n ";
    head += base64.substr(0, kLineLength);
  }
  return head + "\r\n\r\n";
}

// True for a card that ends with its last line: what came after its end would be taken for lines of the outer card.
bool IsWholeCard(std::string_view text) {
  int depth = 0;
  std::string ignored;
  while (!text.empty()) {
    const std::string_view line = TakePhysicalLine(text);
    if (IsFrameLine(line, "BEGIN", ignored)) ++depth;
    if (IsFrameLine(line, "END", ignored)) --depth;
    if (depth <= 0) return depth == 0 && text.empty();
  }
  return false;
}

// A card in a card stands on the lines after it.
std::string OldNestedLine(const std::string& head, std::string_view card) {
  std::string lines = head + ":\r\n";
  while (!card.empty()) {
    lines += TakePhysicalLine(card);
    lines += "\r\n";
  }
  return lines;
}

std::string OldPropertyLine(const CardProperty& property, Report& report) {
  const std::string head = OldHead(property, report);
  if (property.is_binary) return OldBinaryLine(head, property.Text());
  if (property.name == "AGENT"sv && StartsIgnoringCase(property.Text(), "BEGIN:VCARD") &&
      IsWholeCard(property.Text())) {
    return OldNestedLine(head, property.Text());
  }
  if (IsDate(property.name)) return OldLine(head, DateIn(CardVersion::k21, property, report).text);
  switch (ShapeOf(property.name)) {
    case CardShape::kList:
    case CardShape::kPlace:
      return OldLine(head, Joined(property.components, ","));
    case CardShape::kStructured:
    case CardShape::kOrganised: {
      const bool is_name = property.name == "N"sv || property.name == "ADR"sv;
      std::vector<std::string> components = property.components;
      for (std::string& component : components) {
        component = WithoutLists(component, is_name ? " " : ",");
      }
      return OldLine(head, components);
    }
    default:
      return OldLine(head, property.Text());
  }
}

// ---- vCard 3.0 and 4.0 --------------------------------------------------------------------------------------

// 4.0 has fewer kinds; those that it has not are "x-" words.
bool IsTypeOf40(std::string_view name, std::string_view type) {
  constexpr std::array<std::string_view, 9> kTypes = {"HOME", "WORK",  "TEXT",  "VOICE",    "FAX",
                                                      "CELL", "VIDEO", "PAGER", "TEXTPHONE"};
  const bool is_limited =
      name == "TEL"sv || name == "ADR"sv || name == "EMAIL"sv || name == "LABEL"sv;
  if (!is_limited || type.starts_with("X-")) return true;
  return std::ranges::find(kTypes, type) != kTypes.end();
}

// Of the kinds of a picture, sound or key the one that says what its bytes are.
std::string_view MediaWord(const CardProperty& property) {
  if (ShapeOf(property.name) != CardShape::kBinary) return {};
  for (const std::string& type : property.types) {
    if (type != "HOME"sv && type != "WORK"sv) return type;
  }
  return {};
}

// A kind as a parameter has it: what would begin something else is left out.
void AppendType(std::string& list, std::string_view prefix, std::string_view type) {
  if (!list.empty()) list += ',';
  list += prefix;
  for (const char c : type) {
    const bool is_word = c > ' ' && std::string_view("\",:;^").find(c) == std::string_view::npos;
    const bool is_capital = c >= 'A' && c <= 'Z';
    if (is_word || static_cast<unsigned char>(c) >= 0x80) {
      list += is_capital ? static_cast<char>(c + 32) : c;
    }
  }
}

std::string TypesOf30(const CardProperty& property) {
  std::string list;
  for (const std::string& type : property.types) AppendType(list, "", type);
  // RFC 2426 has an address of no kind be one at work.
  if (property.name == "ADR"sv && list.empty()) list = "postal";
  if (property.preference > 0) AppendType(list, "", "pref");
  return list;
}

std::string TypesOf40(const CardProperty& property) {
  if (property.types.empty()) return {};
  const std::string_view media = MediaWord(property);
  const bool is_email = property.name == "EMAIL"sv;
  std::string list;
  for (const std::string& type : property.types) {
    if (type == media || (is_email && type == "INTERNET"sv)) continue;
    AppendType(list, IsTypeOf40(property.name, type) ? "" : "x-", type);
  }
  const bool is_list = list.find(',') != std::string::npos;
  return is_list ? '"' + list + '"' : list;
}

void AppendTypes(std::string& head, CardVersion version, const CardProperty& property) {
  const std::string list = version == CardVersion::k40 ? TypesOf40(property) : TypesOf30(property);
  if (!list.empty()) head += ";TYPE=" + list;
}

// What the value is, where the version would take it for something else.
std::string_view ValueKind(CardVersion version, const CardProperty& property, bool is_text_date) {
  const std::string_view sent = property.Param("VALUE");
  const CardShape shape = ShapeOf(property.name);
  if (is_text_date) return version == CardVersion::k40 ? "text" : "";
  if (IsDate(property.name)) return "";
  const bool has_scheme = property.Text().find(':') != std::string::npos;
  if (version == CardVersion::k40) {
    if (property.is_binary) return "";
    if (property.name == "RELATED"sv) return sent == "TEXT"sv || !has_scheme ? "text" : "";
    if (property.name == "UID"sv || property.name == "KEY"sv) return has_scheme ? "" : "text";
    if (shape == CardShape::kBinary || shape == CardShape::kUri) return "";
    return sent == "URI"sv ? "uri" : "";
  }
  if (shape == CardShape::kUri || property.is_binary) return "";
  return sent == "URI"sv || (shape == CardShape::kBinary && has_scheme) ? "uri" : "";
}

std::string MediaParameters(CardVersion version, const CardProperty& property) {
  const std::string type(MediaWord(property));
  if (version != CardVersion::k40) return property.is_binary ? ";ENCODING=b" : "";
  if (property.is_binary || type.empty()) return {};
  return ";MEDIATYPE=" + ParameterValue(MediaTypeOf(property.name, type), true);
}

void AppendModernHead(std::string& head, CardVersion version, const CardProperty& property,
                      bool is_text_date) {
  const bool is_40 = version == CardVersion::k40;
  if (!property.group.empty()) head.append(property.group) += '.';
  AppendCardName(head, version, property.name);
  if (ShapeOf(property.name) == CardShape::kBinary) {
    head += MediaParameters(version, property);
  } else if (property.is_binary) {
    head += ";ENCODING=b";
  }
  AppendTypes(head, version, property);
  if (is_40 && property.preference > 0) head += ";PREF=" + std::to_string(property.preference);
  const std::string_view kind = ValueKind(version, property, is_text_date);
  if (!kind.empty()) head.append(";VALUE=").append(kind);
  for (const auto& [name, value] : property.params) {
    if (name == "VALUE"sv) continue;
    head += ";" + name + "=" + ParameterValue(value, is_40);
  }
}

void AppendComponent(std::string& value, std::string_view component) {
  for (;;) {
    const size_t end = component.find(kListSeparator);
    AppendEscapedModern(value, component.substr(0, end));
    if (end == std::string_view::npos) return;
    value += ',';
    component.remove_prefix(end + 1);
  }
}

void AppendComponents(std::string& value, const std::vector<std::string>& components,
                      char separator) {
  for (const std::string& component : components) {
    if (&component != components.data()) value += separator;
    if (separator == ',') {
      AppendEscapedModern(value, Trim(component));
    } else {
      AppendComponent(value, component);
    }
  }
}

// A backslash is none of a URI's characters, and readers take it for an escape.
void AppendUri(std::string& text, std::string_view uri) {
  for (const char c : uri) {
    if (c == '\\') {
      text += "%5C";
    } else if (c != '\n' && c != '\r') {
      text += c;
    }
  }
}

bool IsUri(const CardProperty& property) {
  return property.Param("VALUE") == "URI"sv || property.Text().find(':') != std::string::npos;
}

void AppendBinary(std::string& value, CardVersion version, const CardProperty& property) {
  const bool is_data = version == CardVersion::k40 && ShapeOf(property.name) == CardShape::kBinary;
  if (is_data) value += "data:" + MediaTypeOf(property.name, MediaWord(property)) + ";base64,";
  value += property.Text();
}

void AppendPlace(std::string& value, CardVersion version, const CardProperty& property) {
  if (property.components.size() != 2) return AppendEscapedModern(value, property.Text());
  const bool is_40 = version == CardVersion::k40;
  if (is_40) return AppendUri(value, "geo:" + Joined(property.components, ","));
  AppendComponents(value, property.components, ';');
}

void AppendModernValue(std::string& value, CardVersion version, const CardProperty& property) {
  if (property.is_binary) return AppendBinary(value, version, property);
  if (property.name == "REV"sv && version == CardVersion::k40) {
    return AppendEscapedModern(value, BasicTime(property.Text()));
  }
  switch (ShapeOf(property.name)) {
    case CardShape::kStructured:
    case CardShape::kOrganised:
      return AppendComponents(value, property.components, ';');
    case CardShape::kList:
      return AppendComponents(value, property.components, ',');
    case CardShape::kUri:
      return AppendUri(value, property.Text());
    case CardShape::kBinary:
      return IsUri(property) ? AppendUri(value, property.Text())
                             : AppendEscapedModern(value, property.Text());
    case CardShape::kPlace:
      return AppendPlace(value, version, property);
    default:
      return AppendEscapedModern(value, property.Text());
  }
}

void AppendModernLine(std::string& text, CardVersion version, const CardProperty& property,
                      Report& report) {
  const size_t begin = text.size();
  const bool is_date = IsDate(property.name);
  const DateText date = is_date ? DateIn(version, property, report) : DateText{};
  AppendModernHead(text, version, property, date.is_text);
  text += ':';
  if (is_date) {
    AppendEscapedModern(text, date.text);
  } else {
    AppendModernValue(text, version, property);
  }
  FoldLastLine(text, begin);
}

// ---- Cards --------------------------------------------------------------------------------------------------

constexpr std::string_view VersionText(CardVersion version) {
  if (version == CardVersion::k21) return "2.1";
  return version == CardVersion::k30 ? "3.0" : "4.0";
}

void AppendLine(std::string& text, CardVersion version, const CardProperty& property,
                Report& report) {
  if (version == CardVersion::k21) {
    text += OldPropertyLine(property, report);
  } else {
    AppendModernLine(text, version, property, report);
  }
}

// Gives the properties with a label a group, and writes each group's label behind its first property.
class Labels {
 public:
  void NameGroup(CardProperty& property) {
    if (!property.label.empty() && property.group.empty()) {
      property.group = "label" + std::to_string(++made_);
    }
  }

  void AppendLabel(std::string& text, CardVersion version, const CardProperty& property,
                   Report& report) {
    if (property.label.empty() || !written_.insert(property.group).second) return;
    CardProperty label;
    label.group = property.group;
    label.name = kLabelName;
    label.components = {property.label};
    AppendLine(text, version, label, report);
  }

 private:
  size_t made_ = 0;
  std::set<std::string> written_;
};

class CardWriter : public ObjectWriter {
 public:
  CardWriter(CardVersion version, const WriterSettings& settings)
      : version_(version), settings_(settings) {}

  WrittenObject Write(const ObjectText& object) override {
    WrittenObject written;
    Card card = ReadCard(object, settings_.text, written.report);
    written.report.Dropped("object inside of the card", card.inner.size());
    if (settings_.origin == Origin::kLibrary) RemoveLibraryExtras(card);
    BringToVersion(card, version_, written.report);
    AddUid(card);
    written.text.reserve(object.text.size() + object.text.size() / 2);
    written.text += "BEGIN:VCARD\r\nVERSION:" + std::string(VersionText(version_)) + "\r\n";
    Labels labels;
    for (CardProperty& property : card.properties) {
      labels.NameGroup(property);
      AppendLine(written.text, version_, property, written.report);
      labels.AppendLabel(written.text, version_, property, written.report);
    }
    written.text += "END:VCARD\r\n";
    return written;
  }

 private:
  void AddUid(Card& card) const {
    if (settings_.uid.empty() || !card.TextOf("UID").empty()) return;
    card.Add("UID", {settings_.uid});
  }

  CardVersion version_;
  const WriterSettings& settings_;
};

}  // namespace

std::string CardLine(const CardProperty& property, CardVersion version, Report& report) {
  std::string text;
  AppendLine(text, version, property, report);
  return text;
}

std::unique_ptr<ObjectWriter> MakeCardWriter(Form form, const WriterSettings& settings) {
  switch (form) {
    case Form::kVCard21:
      return std::make_unique<CardWriter>(CardVersion::k21, settings);
    case Form::kVCard30:
      return std::make_unique<CardWriter>(CardVersion::k30, settings);
    case Form::kVCard40:
      return std::make_unique<CardWriter>(CardVersion::k40, settings);
    case Form::kText:
    case Form::kHtml:
      return MakeCardWriterForPeople(form, settings);
    default:
      return nullptr;
  }
}

}  // namespace dialects
