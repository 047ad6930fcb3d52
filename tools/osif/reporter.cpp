// Both outputs may be the same terminal or file, and the trace comes on a third way. So that all stands in
// the order in which it happened, standard output is flushed before a line on standard error, the trace's
// lines are fetched before any line (SetBeforeLine), and a progress line is wiped out before anything else is
// shown. Text is made safe for a terminal at the last step: whatever a peer put into a name ends up as one
// line without control characters. Results are not flushed one by one; what could not be written is noticed
// in Finish, where it still becomes the exit status.
#include "tools/osif/reporter.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "client/texts.h"
#include "platform/utf8.h"

namespace command {
namespace {

constexpr auto kProgressInterval = std::chrono::milliseconds(100);

std::string Dump(const Json& object) {
  return EscapedJson(object.dump(-1, ' ', false, Json::error_handler_t::replace));
}

size_t TerminalColumns() {
  constexpr size_t kUsual = 80;
  winsize size{};
  const bool is_known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
  return is_known ? size.ws_col : kUsual;
}

// The end of a line, as much as fits. Characters beyond ASCII may be two columns wide and count as such.
std::string LastColumns(const std::string& line, size_t columns) {
  const WideText text = FromUtf8(OneLine(line));
  size_t begin = text.size();
  for (size_t used = 0; begin > 0; --begin) {
    used += text[begin - 1] < 0x80 ? 1 : 2;
    if (used > columns) break;
  }
  if (begin < text.size() && IsTrailSurrogate(text[begin])) ++begin;
  return ToOutput(WideView(text).substr(begin));
}

// Where the library found nothing wrong there is nothing to add.
std::string WithCode(const std::string& what, OsifResult code) {
  if (code == OSIF_OK) return what;
  return what + ": " + CodeText(code) + " (code " + std::to_string(code) + ")";
}

}  // namespace

void Reporter::Result(const Json& object, const std::string& text) {
  OutputLine(json_ ? Dump(object) : OneLine(text));
}

void Reporter::Text(const std::string& line) {
  if (!json_) OutputLine(OneLine(line));
}

void Reporter::JsonLine(const Json& object) {
  if (json_) OutputLine(Dump(object));
}

void Reporter::Fail(const std::string& what, OsifResult code) {
  FailText(what, code);
  if (!failures_in_json_) return;
  // A code of success would say the opposite.
  const bool is_of_library = code != OSIF_OK;
  JsonLine({{"error", what},
            {"code", is_of_library ? Json(code) : Json()},
            {"text", is_of_library ? CodeText(code) : "Failed"}});
}

void Reporter::FailText(const std::string& what, OsifResult code) {
  if (status_ == kAllWell) status_ = kFailed;
  Note(WithCode(what, code));
}

void Reporter::WrongUsage(const std::string& text) {
  status_ = kWrongUsage;
  Note(text);
  JsonLine({{"error", text}, {"code", nullptr}, {"text", "Wrong usage"}});
}

void Reporter::Note(const std::string& text) {
  if (before_line_) before_line_();
  TraceLine("osif: " + text);
}

void Reporter::Progress(const std::string& work, size_t done, size_t total) {
  const auto now = std::chrono::steady_clock::now();
  if (now - progress_time_ < kProgressInterval) return;
  progress_time_ = now;
  if (isatty(STDERR_FILENO) == 0) return;
  progress_shown_ = true;
  std::string line = work + " " + std::to_string(done);
  if (total > 0) line += " of " + std::to_string(total);
  std::fprintf(stderr, "\r\x1b[K%s", LastColumns(line, TerminalColumns() - 1).c_str());
  std::fflush(stderr);
}

void Reporter::ClearProgress() {
  if (!progress_shown_) return;
  std::fputs("\r\x1b[K", stderr);
  progress_shown_ = false;
}

void Reporter::OutputLine(const std::string& line) {
  if (before_line_) before_line_();
  ClearProgress();
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fputc('\n', stdout);
}

void Reporter::TraceLine(const std::string& line) {
  ClearProgress();
  // Both outputs may be the same terminal or file: what was said before has to stand before.
  std::fflush(stdout);
  std::fprintf(stderr, "%s\n", OneLine(line).c_str());
}

int Reporter::Finish() {
  if (before_line_) before_line_();
  ClearProgress();
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    FailText(std::string("standard output: ") + std::strerror(errno), OSIF_ERR_GENERAL);
  }
  return status_;
}

}  // namespace command
