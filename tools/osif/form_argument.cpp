#include "tools/osif/form_argument.h"

#include "dialects/form_names.h"

namespace command {
namespace {

std::string WhatIsWrongWithForm(const std::string& text) {
  if (dialects::FormOf(text)) return {};
  return "there is no form \"" + text + "\"; the forms are " + dialects::FormNames();
}

}  // namespace

void DeclareForm(Declarations& declarations, const char* option, std::string& form) {
  static const std::string help =
      "The form: " + dialects::FormNames() + "; without it the ending of the output's name decides";
  declarations.Add(option, form, help.c_str()).Called("FORM").Check(WhatIsWrongWithForm);
}

std::optional<dialects::Form> ChosenForm(const std::string& form, const std::string& output) {
  if (!form.empty()) return dialects::FormOf(form);
  return dialects::FormOfFile(output);
}

std::optional<dialects::Form> ChosenSentForm(const std::string& form, const std::string& output) {
  const std::optional<dialects::Form> chosen = ChosenForm(form, output);
  const bool is_own = chosen == dialects::Form::kVCal10 || chosen == dialects::Form::kVNote ||
                      chosen == dialects::Form::kVMessage;
  return form.empty() && is_own ? std::nullopt : chosen;
}

}  // namespace command
