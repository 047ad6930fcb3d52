// The form in which objects are written, as an argument.
#pragma once

#include <optional>
#include <string>

#include "dialects/forms.h"
#include "tools/osif/arguments.h"

namespace command {

// FORM; `option` is "--to" or "--as".
void DeclareForm(Declarations& declarations, const char* option, std::string& form);

// What was asked for by its name, else what the output's ending says; nothing where neither says anything.
std::optional<dialects::Form> ChosenForm(const std::string& form, const std::string& output);

// The same for what the library writes: nothing also where the ending says a form that is its own.
std::optional<dialects::Form> ChosenSentForm(const std::string& form, const std::string& output);

}  // namespace command
