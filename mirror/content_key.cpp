// A component's key is the hash of its lines and of the keys of its components, sorted: servers write lines in an order of
// their own. The walk needs no recursion, so a text may nest as deep as it likes.
#include <algorithm>
#include <array>
#include <set>
#include <vector>

#include "btosif/osif_util/ascii.h"
#include "client/digest.h"
#include "mirror/merge.h"
#include "mirror/text_lines.h"

namespace mirror {
namespace {

using namespace std::string_view_literals;

constexpr std::array<std::string_view, 6> kNotSaid = {"REV",           "PRODID",  "DTSTAMP",
                                                      "LAST-MODIFIED", "CREATED", "METHOD"};

// Parameters in any order; kinds in any case.
std::string KeyOfLine(const dialects::ContentLine& line) {
  std::vector<std::string> params;
  for (const dialects::Parameter& param : line.params) {
    const bool is_word = param.name == "TYPE"sv || param.name == "ENCODING"sv;
    params.push_back(param.name + "=" + (is_word ? ToUpper(param.value) : param.value));
  }
  std::ranges::sort(params);
  std::string key = ToUpper(line.group) + "." + line.name;
  for (const std::string& param : params) key += ";" + param;
  return key + ":" + line.value;
}

struct Part {
  std::string name;
  std::vector<std::string> lines;
};

class Keys {
 public:
  Keys() { open_.emplace_back(); }

  void Take(const dialects::ContentLine& line) {
    if (line.name == "BEGIN"sv) {
      open_.push_back({ToUpper(dialects::Trim(line.value)), {}});
    } else if (line.name == "END"sv) {
      if (open_.size() > 1) CloseLast();
    } else if (std::ranges::find(kNotSaid, line.name) == kNotSaid.end()) {
      open_.back().lines.push_back(KeyOfLine(line));
    }
  }

  std::string Result() {
    while (open_.size() > 1) CloseLast();
    return KeyOf(open_.front());
  }

 private:
  static std::string KeyOf(Part& part) {
    std::ranges::sort(part.lines);
    std::string text = part.name;
    for (const std::string& line : part.lines) text += "\n" + line;
    return client::Sha256(text);
  }

  void CloseLast() {
    Part part = std::move(open_.back());
    open_.pop_back();
    if (part.name != "VTIMEZONE"sv) open_.back().lines.push_back("BEGIN " + KeyOf(part));
  }

  std::vector<Part> open_;
};

}  // namespace

std::string ContentKey(std::string_view text) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  if (text.starts_with(kMark)) text.remove_prefix(kMark.size());
  dialects::Report ignored;
  Keys keys;
  for (const auto& line : dialects::ReadContentLines(text, 1, LineRulesOf(text), ignored)) {
    keys.Take(line);
  }
  return keys.Result();
}

}  // namespace mirror
