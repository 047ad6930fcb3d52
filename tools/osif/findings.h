// What was changed, guessed and dropped on the way, told once for a file however many objects it has.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "dialects/object_text.h"
#include "dialects/report.h"
#include "tools/osif/json.h"
#include "tools/osif/reporter.h"

namespace command {

// "1 card", "1,204 calendar items".
std::string CountOf(dialects::ObjectKind kind, size_t count);

// {"changed": [...], "guessed": [...], "dropped": [{"property", "count"}, ...]}, put into a line about an object.
void PutReport(const dialects::Report& report, Json& line);

// "PHOTO dropped, character set guessed"; empty when there is nothing to say.
std::string ReportText(const dialects::Report& report);

// Gathers what is to be said of the objects of one file.
class Findings {
 public:
  // Lines for people, the one that says how many more there are included.
  static constexpr size_t kMostLines = 11;

  void Add(dialects::ObjectKind kind, const dialects::Report& report);
  // A sentence of its own about an object.
  void Add(dialects::ObjectKind kind, const std::string& sentence);

  // Tells people of all of them, the most frequent of what was dropped first. Nothing in JSON mode, where each object
  // says it of itself.
  void Tell(const std::string& file_name, Reporter& reporter) const;

 private:
  // The order in which they are told.
  enum class Kind { kSentence, kDropped, kGuessed, kChanged };
  struct Key {
    Kind kind;
    std::string what;
    dialects::ObjectKind object;
    auto operator<=>(const Key&) const = default;
  };

  static std::string TextOf(const Key& key, size_t count);

  std::map<Key, size_t> objects_;  // how many objects it was found in
};

}  // namespace command
