#include "tools/osif/review.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>

#include "client/interrupt.h"
#include "client/records.h"
#include "client/texts.h"
#include "tools/osif/object_fields.h"

namespace command {
namespace {

// What a field says, without how it is written.
std::string FieldText(const Json& field) {
  if (!field.is_array()) return field.is_string() ? field.get<std::string>() : field.dump();
  std::string text;
  for (const Json& value : field) {
    if (!value.contains("components")) continue;
    std::string one;
    for (const Json& component : value["components"]) {
      if (!component.is_string() || component.get<std::string>().empty()) continue;
      one += (one.empty() ? "" : " ") + component.get<std::string>();
    }
    if (!one.empty()) text += (text.empty() ? "" : ", ") + one;
  }
  return text;
}

// The lines about what would change: fields that the received object lacks stay.
std::vector<std::string> Differences(const Json& stored, const Json& received) {
  std::vector<std::string> lines;
  for (const auto& [name, field] : received.items()) {
    const std::string after = FieldText(field);
    const std::string before = stored.contains(name) ? FieldText(stored[name]) : std::string();
    if (before == after || name == "version" || name == "xIrmcLuid") continue;
    lines.push_back("  " + name + ": \"" + before + "\" becomes \"" + after + "\"");
  }
  return lines;
}

struct Answer {
  char key;
  Known known;
};

constexpr std::array<Answer, 3> kAnswers = {
    {{'u', Known::kUpdate}, {'a', Known::kAdd}, {'s', Known::kSkip}}};

// The end of the input skips.
Known Ask() {
  for (std::string line; !WasInterrupted();) {
    std::fputs("(u)pdate it, (a)dd another, (s)kip? ", stderr);
    std::fflush(stderr);
    if (!std::getline(std::cin, line)) break;
    const auto* answer = std::ranges::find_if(
        kAnswers, [&](const Answer& one) { return !line.empty() && line.front() == one.key; });
    if (answer != kAnswers.end()) return answer->known;
  }
  return Known::kSkip;
}

}  // namespace

bool CanReview(const std::vector<std::string>& files) {
  return isatty(STDIN_FILENO) != 0 && std::ranges::find(files, "-") == files.end();
}

Known Review(int32_t store_id, const char* id, OsifObject& object, Reporter& reporter) {
  FetchedObject stored(store_id, id);
  const bool is_known = stored.result() == OSIF_OK;
  const std::vector<std::string> lines =
      is_known ? Differences(FieldsJson(store_id, stored.object()), FieldsJson(store_id, object))
               : std::vector<std::string>{"  (what the store holds cannot be shown)"};
  if (lines.empty()) return Known::kUpdate;
  reporter.Note(IdInStore(store_id, id) + QuotedName(ObjectName(store_id, object)) +
                " is stored already:");
  for (const std::string& line : lines) reporter.Note(line);
  return Ask();
}

}  // namespace command
