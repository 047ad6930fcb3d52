// Each property is a caption and a text. What they look like on the page is decided once all of a card's are known, in
// the order of the table below: people look for the name first, whoever wrote the card.
#include "dialects/card_people.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dialects/card.h"
#include "dialects/card_derive.h"
#include "dialects/card_form.h"
#include "dialects/card_names.h"

namespace dialects {
namespace {

using namespace std::string_view_literals;

struct CaptionRow {
  std::string_view name;
  std::string_view caption;
};

constexpr std::array<CaptionRow, 20> kCaptions = {{
    {"FN", "Name"},
    {"NICKNAME", "Nickname"},
    {"ORG", "Organisation"},
    {"TITLE", "Title"},
    {"ROLE", "Role"},
    {"TEL", "Telephone"},
    {"EMAIL", "Email"},
    {"IMPP", "Messages"},
    {"URL", "Web page"},
    {"ADR", "Address"},
    {"X-MICROSOFT-OFFICELOC", "Office"},
    {"BDAY", "Birthday"},
    {"ANNIVERSARY", "Anniversary"},
    {"X-SPOUSE", "Spouse"},
    {"X-CHILDREN", "Children"},
    {"X-ASSISTANT", "Assistant"},
    {"RELATED", "Related"},
    {"CATEGORIES", "Categories"},
    {"NOTE", "Note"},
    {"LANG", "Language"},
}};

// What says nothing to people, and is no loss.
constexpr std::array<std::string_view, 12> kUnspoken = {
    "N",       "LABEL",   "REV",  "UID",  "PRODID",      "X-IRMC-LUID",
    "PROFILE", "VERSION", "NAME", "KIND", "SORT-STRING", "CLASS"};

struct TypeRow {
  std::string_view type;
  std::string_view word;
};

constexpr std::array<TypeRow, 10> kTypeWords = {{
    {"HOME", "home"},
    {"WORK", "work"},
    {"CELL", "mobile"},
    {"FAX", "fax"},
    {"PAGER", "pager"},
    {"CAR", "car"},
    {"X-ASSISTANT", "assistant"},
    {"X-RADIO", "radio"},
    {"VIDEO", "video"},
    {"MSG", "messages"},
}};

std::string Caption(std::string_view caption, const CardProperty& property) {
  std::string kinds(LabelWord(property.label).empty() ? "" : property.label);
  if (kinds.starts_with("_$!<")) kinds = kinds.substr(4, kinds.find(">!$_") - 4);
  for (const auto& [type, word] : kTypeWords) {
    if (!property.HasType(type)) continue;
    if (!kinds.empty()) kinds += ", ";
    kinds += word;
  }
  std::ranges::replace(kinds, '\n', ' ');
  return kinds.empty() ? std::string(caption) : std::string(caption) + " (" + kinds + ")";
}

std::string DayForPeople(const CardProperty& date) {
  const std::optional<Day> day = DayOf(date);
  if (!day) return date.Text();
  return day->text.substr(0, 4) + '-' + day->text.substr(4, 2) + '-' + day->text.substr(6);
}

std::string TextForPeople(const CardProperty& property) {
  if (property.name == "BDAY"sv || property.name == "ANNIVERSARY"sv) return DayForPeople(property);
  std::string text;
  for (const std::string& component : property.components) {
    const std::string_view part = Trim(component);
    if (part.empty()) continue;
    if (!text.empty()) text += ", ";
    text += WithoutLists(part, " ");
  }
  return text;
}

std::vector<PageEntry> EntriesOf(const Card& card) {
  std::vector<PageEntry> entries;
  for (const auto& [name, caption] : kCaptions) {
    for (const CardProperty& property : card.properties) {
      if (property.name != name || property.IsEmpty()) continue;
      entries.push_back({Caption(caption, property), TextForPeople(property)});
    }
  }
  return entries;
}

void ReportTheRest(const Card& card, Report& report) {
  for (const CardProperty& property : card.properties) {
    const bool is_shown =
        std::ranges::find(kCaptions, property.name, &CaptionRow::name) != kCaptions.end();
    const bool is_for_machines = std::ranges::find(kUnspoken, property.name) != kUnspoken.end();
    if (!is_shown && !is_for_machines && !property.IsEmpty()) report.Dropped(property.name);
  }
}

// The further lines of a text stand under its first one.
std::string AsText(const std::vector<PageEntry>& entries) {
  std::string text;
  for (const auto& [caption, value] : entries) {
    text += caption + ": ";
    for (const char c : value) text += c == '\n' ? std::string("\n  ") : std::string(1, c);
    text += '\n';
  }
  return text + '\n';
}

std::string Html(std::string_view text) {
  std::string html;
  for (const char c : text) {
    switch (c) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\n':
        html += "<br>\n";
        break;
      default:
        // A control character is none of HTML's.
        if (static_cast<unsigned char>(c) >= ' ' || c == '\t') html += c;
    }
  }
  return html;
}

std::string AsHtml(const std::vector<PageEntry>& entries) {
  std::string html = "<dl>\n";
  for (const auto& [caption, value] : entries) {
    html += "<dt>" + Html(caption) + "</dt><dd>" + Html(value) + "</dd>\n";
  }
  return html + "</dl>\n";
}

// The entries of a card, of which what people cannot read is reported.
std::vector<PageEntry> EntriesOf(const ObjectText& object, const TextSettings& settings,
                                 Report& report) {
  Card card = ReadCard(object, settings, report);
  RemoveLibraryExtras(card);
  if (card.TextOf("FN").empty()) {
    std::string name = DeriveFormattedName(card);
    if (!name.empty()) card.Add("FN", {std::move(name)});
  }
  ReportTheRest(card, report);
  return EntriesOf(card);
}

class CardWriterForPeople : public ObjectWriter {
 public:
  CardWriterForPeople(bool is_html, const WriterSettings& settings)
      : is_html_(is_html), settings_(settings) {}

  std::string Begin() override {
    if (!is_html_) return {};
    return "<!DOCTYPE html>\n<html>\n<head>\n<meta charset=\"utf-8\">\n<title>Contacts</title>\n"
           "</head>\n<body>\n";
  }

  WrittenObject Write(const ObjectText& object) override {
    WrittenObject written;
    const std::vector<PageEntry> entries = EntriesOf(object, settings_.text, written.report);
    written.text = is_html_ ? AsHtml(entries) : AsText(entries);
    return written;
  }

  std::string End() override { return is_html_ ? "</body>\n</html>\n" : ""; }

 private:
  bool is_html_;
  const WriterSettings& settings_;
};

}  // namespace

PageItem CardForPeople(const ObjectText& object, const TextSettings& settings) {
  Report ignored;
  return {EntriesOf(object, settings, ignored), {}};
}

std::unique_ptr<ObjectWriter> MakeCardWriterForPeople(Form form, const WriterSettings& settings) {
  return std::make_unique<CardWriterForPeople>(form == Form::kHtml, settings);
}

}  // namespace dialects
