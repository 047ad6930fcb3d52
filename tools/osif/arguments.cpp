#include "tools/osif/arguments.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <optional>
#include <system_error>
#include <vector>

#include "btosif/osif_util/stores.h"
#include "tools/osif/subcommand.h"

namespace command {
namespace {

// Turns the name into the number that the parser then stores; a text returned is an error message.
std::string NameToNumber(std::string& argument) {
  const std::optional<int32_t> store_id = StoreOfName(argument);
  if (!store_id) {
    return "there is no store \"" + argument +
           "\"; the stores are pb, cal, note, msg-in, msg-sent and msg-out";
  }
  argument = std::to_string(*store_id);
  return {};
}

}  // namespace

std::string WhatIsWrongWithNumber(const std::string& text, uint64_t least, uint64_t most) {
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool is_number = error == std::errc() && end == text.data() + text.size();
  if (is_number && number >= least && number <= most) return {};
  return "\"" + text + "\" is no number from " + std::to_string(least) + " to " +
         std::to_string(most);
}

Argument& Argument::Required() {
  option_->required();
  return *this;
}

Argument& Argument::Called(const char* type_name) {
  option_->type_name(type_name);
  return *this;
}

Argument& Argument::Excludes(const Argument& other) {
  option_->excludes(other.option_);
  return *this;
}

Argument& Argument::Needs(const Argument& other) {
  option_->needs(other.option_);
  return *this;
}

Argument& Argument::Check(std::string (*check)(const std::string& text)) {
  option_->check(check);
  return *this;
}

template <typename Value>
Argument Declarations::Add(const char* name, Value& value, const char* help) {
  CLI::Option* option = subcommand_.add_option(name, value, help);
  // What stands by its place is called by its name alone.
  if (name[0] != '-') option->type_name("");
  return Argument(*option);
}

template Argument Declarations::Add(const char*, std::string&, const char*);
template Argument Declarations::Add(const char*, std::optional<std::string>&, const char*);
template Argument Declarations::Add(const char*, std::vector<std::string>&, const char*);
template Argument Declarations::Add(const char*, uint16_t&, const char*);
template Argument Declarations::Add(const char*, uint32_t&, const char*);
template Argument Declarations::Add(const char*, uint64_t&, const char*);

Argument Declarations::AddFlag(const char* name, bool& value, const char* help) {
  return Argument(*subcommand_.add_flag(name, value, help));
}

Argument Declarations::AddStore(int32_t& store_id) {
  CLI::Option* option =
      subcommand_.add_option("STORE", store_id, "pb, cal, note, msg-in, msg-sent or msg-out");
  option->transform(CLI::Validator(NameToNumber, "", "store"))->type_name("")->required();
  return Argument(*option);
}

void AddSubcommand(const CommandLine& line, const char* name, const char* help,
                   const std::function<void(Declarations&)>& declare,
                   const std::function<void(const Options&, Reporter&)>& run) {
  CLI::App* subcommand = line.app.add_subcommand(name, help);
  Declarations declarations(*subcommand);
  declare(declarations);
  subcommand->callback([run, &options = line.options, &action = line.action] {
    action = [run, &options](Reporter& reporter) { run(options, reporter); };
  });
}

}  // namespace command
