// What the command says: results on standard output, as text for people or as one JSON object a line;
// failures, notes and progress on standard error. Knows at the end whether all went well.
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "client/listener.h"
#include "osif.h"
#include "tools/osif/json.h"

namespace command {

// The command speaks of what it uses of the client by its plain names.
using namespace client;

// The exit statuses of the command.
inline constexpr int kAllWell = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUsage = 2;

class Reporter : public Listener {
 public:
  explicit Reporter(bool json) : json_(json) {}

  bool json() const { return json_; }

  // One result: the JSON object, or the text (one line) for people.
  void Result(const Json& object, const std::string& text);
  // A line for people only, or a JSON line only.
  void Text(const std::string& line);
  void JsonLine(const Json& object);

  // Something failed: `what` names the file, the id or the place. In JSON mode the failure is also an
  // object {"error","code","text"} on standard output; where it is not the library that failed, with OSIF_OK, the
  // code is null.
  void Fail(const std::string& what, OsifResult code) override;
  // Whether failures are also told in JSON; they are at first.
  void SetFailuresInJson(bool on) { failures_in_json_ = on; }
  // The arguments make no sense; the exit status becomes 2. In JSON mode it is an object like a failure, whose
  // code is null: the library was not asked.
  void WrongUsage(const std::string& text);
  // Something to know that is no failure.
  void Note(const std::string& text) override;

  // Shows on a terminal, in one line of it, how far a long work is; `total` 0 when that is not known.
  void Progress(const std::string& work, size_t done, size_t total) override;

  // Called before each line, so that lines that came from elsewhere in the meantime stand before it.
  void SetBeforeLine(std::function<void()> before) override { before_line_ = std::move(before); }
  // A line on standard error without anything before it.
  void TraceLine(const std::string& line) override;

  // Writes out what is still buffered and gives the exit status.
  int Finish();

 private:
  void FailText(const std::string& what, OsifResult code);
  void OutputLine(const std::string& line);
  void ClearProgress();

  bool json_;
  bool failures_in_json_ = true;
  int status_ = kAllWell;
  bool progress_shown_ = false;
  std::chrono::steady_clock::time_point progress_time_;
  std::function<void()> before_line_;
};

}  // namespace command
