// osif report: a device as one page for a browser.
//
// The whole device is looked at before the first byte is written, so that what cannot be read in whole leaves the file that
// was there. The page is then written as an export is (object_output).
#include <cerrno>
#include <cstring>
#include <ctime>
#include <optional>
#include <string>

#include "client/interrupt.h"
#include "tools/osif/commands.h"
#include "tools/osif/object_output.h"
#include "tools/osif/report/contents.h"
#include "tools/osif/report/report_page.h"

namespace command {
namespace {

struct ReportArguments {
  std::string output;
  std::string month;  // empty: the present one
};

constexpr int kFirstYear = 1602;
constexpr int kLastYear = 9996;

std::optional<Month> ReadMonth(const std::string& text) {
  constexpr size_t kLength = 7;  // YYYY-MM
  if (text.size() != kLength || text[4] != '-') return std::nullopt;
  int year = 0;
  int month = 0;
  for (size_t i = 0; i < kLength; ++i) {
    if (i == 4) continue;
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    int& number = i < 4 ? year : month;
    number = number * 10 + text[i] - '0';
  }
  if (year < kFirstYear || year > kLastYear || month < 1 || month > 12) return std::nullopt;
  return Month{year, month};
}

std::string WhatIsWrongWithMonth(const std::string& text) {
  return ReadMonth(text) ? "" : "\"" + text + "\" is no month such as 2026-11";
}

Month PresentMonth() {
  const dialects::CivilTime now = dialects::CivilAt(dialects::UtcToDevice(std::time(nullptr)));
  return {now.year, now.month};
}

void DeclareReport(Declarations& declarations, ReportArguments& arguments) {
  declarations.Add("-o,--output", arguments.output, "The page; - for standard output")
      .Called("FILE")
      .Required();
  declarations
      .Add("--month", arguments.month, "The month of the calendar that is shown first: YYYY-MM")
      .Called("MONTH")
      .Check(WhatIsWrongWithMonth);
}

bool Write(const std::string& page, ObjectOutput& output, Reporter& reporter) {
  if (output.Open() && output.Write(page) && output.PutInPlace()) return true;
  const std::string name = output.is_standard_output() ? "standard output" : output.name();
  reporter.Fail(name + ": " + std::strerror(errno), OSIF_ERR_FILE_OPEN);
  return false;
}

Json CountsJson(const Contents& contents, const ObjectOutput& output) {
  Json json = {{"file", output.is_standard_output() ? Json() : Json(output.name())},
               {"contacts", contents.contacts.size()},
               {"appointments", contents.appointments.size()},
               {"tasks", contents.tasks.size()},
               {"notes", contents.notes.size()}};
  for (size_t i = 0; i < kMessageFolders.size(); ++i) {
    json[kMessageFolders[i].key] = contents.messages[i].size();
  }
  json["changes"] = contents.changes.size();
  json["settings"] = contents.settings.size();
  json["unread"] = contents.unread;
  return json;
}

std::string CountText(size_t count, const std::string& one) {
  return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string CountsText(const Contents& contents, const std::string& name) {
  size_t messages = 0;
  for (const auto& folder : contents.messages) messages += folder.size();
  return name + ": " + CountText(contents.contacts.size(), "contact") + ", " +
         CountText(contents.appointments.size(), "appointment") + ", " +
         CountText(contents.tasks.size(), "task") + ", " +
         CountText(contents.notes.size(), "note") + ", " + CountText(messages, "message") + ", " +
         CountText(contents.changes.size(), "change");
}

// Standard output is for the page, or in JSON mode for one line with the page in it.
void Tell(const Contents& contents, const std::string& page, const ObjectOutput& output,
          Reporter& reporter) {
  Json json = CountsJson(contents, output);
  if (!output.is_standard_output()) {
    reporter.Result(json, CountsText(contents, output.name()));
  } else if (reporter.json()) {
    json["text"] = page;
    reporter.JsonLine(json);
  } else {
    reporter.Note(CountsText(contents, "standard output"));
  }
}

void Report(const ReportArguments& arguments, const Options& options, Reporter& reporter) {
  const InterruptWatch watch;
  ObjectOutput output(arguments.output);
  if (const std::string why = output.WhyRefused(); !why.empty()) {
    return reporter.Fail(output.name() + ": " + why, OSIF_ERR_FILE_OPEN);
  }
  const std::optional<Contents> contents = ContentsOfDevice(
      ReadMonth(arguments.month).value_or(PresentMonth()), options.trace, reporter);
  if (!contents) return;
  const std::string page = ReportPage(*contents);
  const bool is_in_json = output.is_standard_output() && reporter.json();
  if (is_in_json || Write(page, output, reporter)) Tell(*contents, page, output, reporter);
}

}  // namespace

void AddReport(const CommandLine& line) {
  AddSubcommand(line, "report", "Write a page that shows the device in a browser", DeclareReport,
                Report);
}

}  // namespace command
