// What was done to an object on its way from one form to another, so that nothing is done in silence.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace dialects {

// What happened, in words for people, and how often.
using Happenings = std::map<std::string, size_t, std::less<>>;

struct Report {
  Happenings changed;  // another way to say the same: "group prefix"
  Happenings guessed;  // what the sender did not say: "name from FN"
  Happenings dropped;  // what the other form has no place for, by property: "PHOTO"

  void Changed(std::string_view what, size_t count = 1) { Count(changed, what, count); }
  void Guessed(std::string_view what, size_t count = 1) { Count(guessed, what, count); }
  void Dropped(std::string_view what, size_t count = 1) { Count(dropped, what, count); }

  void Add(const Report& other) {
    for (const auto& [what, count] : other.changed) Changed(what, count);
    for (const auto& [what, count] : other.guessed) Guessed(what, count);
    for (const auto& [what, count] : other.dropped) Dropped(what, count);
  }

  bool IsEmpty() const { return changed.empty() && guessed.empty() && dropped.empty(); }

 private:
  static void Count(Happenings& happenings, std::string_view what, size_t count) {
    if (count == 0) return;
    const auto found = happenings.find(what);
    if (found != happenings.end()) {
      found->second += count;
    } else {
      happenings.emplace(what, count);
    }
  }
};

}  // namespace dialects
