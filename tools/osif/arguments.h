// How a subcommand declares its arguments. The parser of command lines stands behind it, in one source: it is a
// large one, and every source that included it would be compiled for as long as all others together.
#pragma once

#include <cstdint>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace command {

// What is wrong with a text that is to be a number of decimal digits; empty when nothing is.
std::string WhatIsWrongWithNumber(const std::string& text, uint64_t least, uint64_t most);

// One argument that was declared. What is said of it later can be added to the declaration.
class Argument {
 public:
  explicit Argument(CLI::Option& option) : option_(&option) {}

  Argument& Required();

  // How the help calls the value, such as "FILE".
  Argument& Called(const char* type_name);

  // May not be given with the other; is of no use without it.
  Argument& Excludes(const Argument& other);
  Argument& Needs(const Argument& other);

  // `check` returns what is wrong with a text; nothing when it will do.
  Argument& Check(std::string (*check)(const std::string& text));

 private:
  CLI::Option* option_;
};

// The arguments of one subcommand, declared one after the other. The parser fills the values when the
// command line is read, so they have to outlive it.
class Declarations {
 public:
  explicit Declarations(CLI::App& subcommand) : subcommand_(subcommand) {}

  // `name` is "-o,--output" for an option, "FILE" for what stands by its place. Values are std::string, alone
  // or in an std::optional, std::vector<std::string> (one or more), and unsigned numbers of 16, 32 and 64 bits.
  template <typename Value>
  Argument Add(const char* name, Value& value, const char* help);

  // An option without a value.
  Argument AddFlag(const char* name, bool& value, const char* help);

  // STORE: the store's number by its name.
  Argument AddStore(int32_t& store_id);

 private:
  CLI::App& subcommand_;
};

}  // namespace command
