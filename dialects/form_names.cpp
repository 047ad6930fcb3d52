#include "dialects/form_names.h"

#include <algorithm>
#include <array>

#include "btosif/osif_util/ascii.h"

namespace dialects {
namespace {

struct FormRow {
  Form form;
  std::string_view name;
  std::string_view ending;  // that means this form; empty where it means several
};

constexpr std::array<FormRow, 11> kForms = {{
    {Form::kVCard21, "vcard21", ""},
    {Form::kVCard30, "vcard30", ""},
    {Form::kVCard40, "vcard40", ""},
    {Form::kVCal10, "vcal10", ".VCS"},
    {Form::kICal20, "ical20", ".ICS"},
    {Form::kVNote, "vnote", ".VNT"},
    {Form::kVMessage, "vmsg", ".VMG"},
    {Form::kEml, "eml", ".EML"},
    {Form::kMbox, "mbox", ".MBOX"},
    {Form::kText, "txt", ".TXT"},
    {Form::kHtml, "html", ".HTML"},
}};

}  // namespace

std::optional<Form> FormOf(std::string_view name) {
  const auto* row =
      std::ranges::find_if(kForms, [&](const FormRow& one) { return one.name == name; });
  return row == kForms.end() ? std::nullopt : std::optional(row->form);
}

std::string_view NameOfForm(Form form) {
  return std::ranges::find_if(kForms, [&](const FormRow& one) { return one.form == form; })->name;
}

std::string FormNames() {
  std::string names;
  for (const FormRow& row : kForms) {
    if (!names.empty()) names += ", ";
    names += row.name;
  }
  return names;
}

std::optional<Form> FormOfFile(std::string_view file_name) {
  const std::string upper = ToUpper(file_name);
  const auto* row = std::ranges::find_if(kForms, [&](const FormRow& one) {
    return !one.ending.empty() && upper.ends_with(one.ending);
  });
  return row == kForms.end() ? std::nullopt : std::optional(row->form);
}

std::string EndingOf(Form form) {
  const auto* row =
      std::ranges::find_if(kForms, [&](const FormRow& one) { return one.form == form; });
  std::string ending(row->ending.empty() ? ".VCF" : row->ending);
  std::ranges::transform(ending, ending.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 'a' - 'A') : c;
  });
  return ending;
}

Form UsualForm(ObjectKind kind) {
  switch (kind) {
    case ObjectKind::kCalendar:
      return Form::kICal20;
    case ObjectKind::kNote:
      return Form::kText;
    case ObjectKind::kMessage:
      return Form::kMbox;
    case ObjectKind::kCard:
    case ObjectKind::kUnknown:
      break;
  }
  return Form::kVCard30;
}

std::unique_ptr<ObjectWriter> MakeWriter(ObjectKind kind, Form form,
                                         const WriterSettings& settings) {
  switch (kind) {
    case ObjectKind::kCard:
      return MakeCardWriter(form, settings);
    case ObjectKind::kCalendar:
      return MakeCalendarWriter(form, settings);
    case ObjectKind::kNote:
      return MakeNoteWriter(form, settings);
    case ObjectKind::kMessage:
      return MakeMessageWriter(form, settings);
    case ObjectKind::kUnknown:
      break;
  }
  return nullptr;
}

}  // namespace dialects
