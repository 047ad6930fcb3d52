// The daemon's log: a line for each thing that happens, to standard error, for people or as JSON.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace daemon_process {

enum class Level { kError = 3, kWarning = 4, kInfo = 6 };  // of syslog

class Log {
 public:
  using Fields = std::initializer_list<std::pair<const char*, std::string>>;

  // Under systemd the level stands before each line, as its journal has it.
  explicit Log(bool json);

  // `text` and the fields hold whatever peers sent: what steers a terminal is made harmless here.
  void Write(Level level, const std::string& text, Fields fields = {}) const;

 private:
  const bool json_;
  const bool is_for_journal_;
};

}  // namespace daemon_process
