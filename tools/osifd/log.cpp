#include "tools/osifd/log.h"

#include <unistd.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "client/temp_file.h"
#include "client/texts.h"

namespace daemon_process {
namespace {

const char* NameOf(Level level) {
  switch (level) {
    case Level::kError:
      return "error";
    case Level::kWarning:
      return "warning";
    case Level::kInfo:
      break;
  }
  return "info";
}

}  // namespace

Log::Log(bool json) : json_(json), is_for_journal_(std::getenv("JOURNAL_STREAM") != nullptr) {}

// One write a line, so that those of several processes do not mix.
void Log::Write(Level level, const std::string& text, Fields fields) const {
  std::string line;
  if (json_) {
    nlohmann::ordered_json object = {{"level", NameOf(level)}, {"text", client::TextOrBytes(text)}};
    for (const auto& [name, value] : fields) object[name] = client::TextOrBytes(value);
    line =
        client::EscapedJson(object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
  } else {
    line = text;
    for (const auto& [name, value] : fields) {
      if (!value.empty()) line += std::string(", ") + name + " " + value;
    }
    line = client::OneLine(line);
  }
  if (is_for_journal_) line = "<" + std::to_string(static_cast<int>(level)) + ">" + line;
  client::WriteAll(STDERR_FILENO, line + "\n");
}

}  // namespace daemon_process
