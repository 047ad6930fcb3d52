// Real files of real devices and programs, where a folder of them is at hand: OSIF_CORPUS names it. Every
// file of every format goes through the command; its exit status, its summary and what it says of each object
// are explained by the library's trace and by a look at the file's lines.
#include "tests/support/corpus.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "tests/tools/osif/command_fixture.h"

namespace command_test::corpus_test {
namespace {

using testing::AnyOf;
using testing::HasSubstr;

struct Format {
  const char* name;
  const char* extension;
  const char* begin;   // the line that begins an object
  const char* end;     // and the one that ends it
  size_t least_files;  // so that an empty folder is noticed
  // The lines of the trace that explain a warning and a refusal.
  Lines warnings;
  Lines errors;
};

std::ostream& operator<<(std::ostream& out, const Format& format) { return out << format.name; }

const Format kFormats[] = {
    {"Cards",
     ".vcf",
     "BEGIN:VCARD",
     "END:VCARD",
     200,
     {"OSIF:  Warning - Parser encounted a blank line in vCard",
      "OSIF:  Warning - Parser encountered unknown property: '"},
     {"OSIF:  Error - vCard version '",
      "OSIF:  Error - vCard missing END tago or does not contain required VERSION or N properties",
      "OSIF:  Error - vCard does not have a BEGIN tag", "OSIF:  Stream '"}},
    {"Calendars",
     ".vcs",
     "BEGIN:VCALENDAR",
     "END:VCALENDAR",
     200,
     {"OSIF:  Warning - Parser encounted a blank line in vCalendar",
      "OSIF:  Warning - vCalendar contains unknown property: '",
      "OSIF:  Warning - vCalendar does not contain all mandetory properties"},
     {"OSIF:  Error - vCalendar version '", "OSIF:  Error - Unknown BEGIN tag in vCalendar",
      "OSIF:  Error - vCalendar does not contain required VERSION property",
      "OSIF:  Error - vCalendar missing END tag",
      "OSIF:  Error - vCalendar does not have a BEGIN tag", "OSIF:  Stream '"}},
    {"Notes",
     ".vnt",
     "BEGIN:VNOTE",
     "END:VNOTE",
     10,
     {"OSIF:  Warning - Parser encounted a blank line in vNote",
      "OSIF:  Warning - Parser encountered unknown property: '"},
     {"OSIF:  Error - vNote version '",
      "OSIF:  Error - vNote missing END tag or does not contain required VERSION property",
      "OSIF:  Error - vNote does not have a BEGIN tag", "OSIF:  Stream '"}},
    {"Messages",
     ".vmg",
     "BEGIN:VMSG",
     "END:VMSG",
     10,
     {"OSIF:  Warning - Parser encounted a blank line in vMSG",
      "OSIF:  Warning - Parser encounted a blank line in vEnv",
      "OSIF:  Warning - Parser encountered unknown property: '",
      "OSIF:  Warning - Parser encountered unexpected property: '"},
     {"OSIF:  Error - vMsg version '", "OSIF:  Error - vMsg missing BODY section",
      "OSIF:  Error - vBody missing END tag",
      "OSIF:  Error - reached EOF while parsing CONTENT of vMsg",
      "OSIF:  Error - vMsg does not have a BEGIN tag", "OSIF:  Stream '"}},
};

bool StartsWithOneOf(const std::string& line, const Lines& starts) {
  return std::any_of(starts.begin(), starts.end(),
                     [&](const std::string& start) { return line.starts_with(start); });
}

// ---- What a person sees in a file ---------------------------------------------------------------------

// A file's lines in capitals and without the blanks and tabs that no one sees.
Lines LinesOf(const std::string& bytes) {
  Lines lines = Outcome::Split(bytes);
  for (std::string& line : lines) {
    std::erase_if(line, [](char c) { return c == ' ' || c == '\t' || c == '\r'; });
    std::transform(line.begin(), line.end(), line.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  }
  return lines;
}

// The objects of a file, outermost ones only: of each, how many records it makes. A calendar makes one of
// each of its items. Nothing when BEGIN and END lines do not match.
std::optional<std::vector<size_t>> RecordsOf(const Format& format, const Lines& lines) {
  std::vector<size_t> records;
  std::vector<std::string> open;
  for (const std::string& line : lines) {
    if (line.starts_with("BEGIN:V")) {
      const bool is_item = line == "BEGIN:VEVENT" || line == "BEGIN:VTODO";
      if (open.empty() && line == format.begin) records.push_back(0);
      if (open.size() == 1 && is_item) ++records.back();
      open.push_back(line.substr(6));
    } else if (line.starts_with("END:V")) {
      if (open.empty() || open.back() != line.substr(4)) return std::nullopt;
      open.pop_back();
    }
  }
  for (size_t& count : records) count = std::max<size_t>(count, 1);
  if (!open.empty()) return std::nullopt;
  return records;
}

bool HasNoNamedNote(const Lines& lines) {
  return std::none_of(lines.begin(), lines.end(), [](const std::string& line) {
    return line.starts_with("SUMMARY") && !line.ends_with(":");
  });
}

bool HasNoEnvelope(const Lines& lines) {
  return std::find(lines.begin(), lines.end(), "BEGIN:VENV") == lines.end();
}

// ---- What the command says of it ----------------------------------------------------------------------

// What was told of the objects of a file.
struct Told {
  size_t stored = 0;
  size_t added = 0;
  size_t refused = 0;
  size_t warnings = 0;
  size_t read = 0;  // stored, or refused by the store alone
  size_t faults = 0;
};

// Goes through the mixed output of `receive --each --json --trace` for one file: what is told of each object
// must follow from the trace since the object before it, and every fault from the file.
class Checker {
 public:
  Checker(const Format& format, const std::string& file)
      : format_(format), file_(file), lines_(LinesOf(BytesOf(file))) {
    // The first record of each calendar.
    size_t first = 1;
    for (const size_t count : RecordsOf(format, lines_).value_or(std::vector<size_t>())) {
      first_records_.insert(first);
      first += count;
    }
  }

  const Lines& lines() const { return lines_; }

  // `status` is that of a run in which this file, if any, has to be complained of.
  Told Check(const Lines& output, int status) {
    for (const std::string& line : output) {
      has_warning_ = has_warning_ || StartsWithOneOf(line, format_.warnings);
      has_error_ = has_error_ || StartsWithOneOf(line, format_.errors);
      if (!line.starts_with('{')) continue;
      const Json json = Json::parse(line);
      if (json.contains("error")) {
        CheckFault(json);
      } else {
        CheckObject(json);
      }
    }
    EXPECT_EQ(status, told_.faults > 0 ? 1 : 0);
    return told_;
  }

 private:
  void CheckFault(const Json& json) {
    ++told_.faults;
    fault_ = json["code"];
    const std::string place = json["error"];
    if (fault_ == 8 || place == file_) {
      CheckNoObject(place);
    } else if (fault_ == 20) {
      EXPECT_THAT(place, HasSubstr(" was refused"));
      // Nothing is traced of a body that stands where only an envelope may.
      const bool is_silent = format_.extension == std::string(".vmg") && HasNoEnvelope(lines_);
      EXPECT_TRUE(has_error_ || is_silent) << place;
    } else {
      EXPECT_EQ(fault_, 10);
      EXPECT_THAT(place, testing::EndsWith(" was not stored"));
      EXPECT_STREQ(format_.extension, ".vnt");
      EXPECT_TRUE(HasNoNamedNote(lines_));
    }
  }

  // A text outside of all objects, or a file that has none.
  void CheckNoObject(const std::string& place) {
    size_t line = 0;
    const std::string text = place.substr(std::min(place.size(), file_.size()));
    if (std::sscanf(text.c_str(), ": the text on line %zu belongs to no object", &line) == 1) {
      ASSERT_LE(line, lines_.size());
      EXPECT_NE(lines_[line - 1], "") << place;
      return;
    }
    EXPECT_EQ(place, file_);
    EXPECT_TRUE(has_error_);
    EXPECT_EQ(std::count(lines_.begin(), lines_.end(), format_.begin), 0);
  }

  void CheckObject(const Json& json) {
    const bool is_refused = json["action"] == "refused";
    EXPECT_EQ(is_refused, fault_ == 20 || fault_ == 10) << json;
    EXPECT_EQ(json["result"] == "error", fault_ == 20) << json;
    EXPECT_EQ(json["id"].is_null(), is_refused) << json;
    if (json["result"] != "error") {
      CheckResult(json);
      ++told_.read;
      if (json["result"] == "warning") ++told_.warnings;
    }
    ++(is_refused ? told_.refused : told_.stored);
    if (json["action"] == "added") ++told_.added;
    fault_ = 0;
    has_error_ = false;
    // Within a calendar a warning goes on to its end.
    if (format_.extension != std::string(".vcs")) has_warning_ = false;
  }

  void CheckResult(const Json& json) {
    const size_t number = json["number"];
    const bool begins_calendar =
        format_.extension == std::string(".vcs") && number > 1 && first_records_.contains(number);
    // What was warned of before it may be of the calendar before it.
    if (begins_calendar && json["result"] == "ok") has_warning_ = false;
    EXPECT_EQ(json["result"] == "warning", has_warning_) << json;
  }

  const Format& format_;
  const std::string& file_;
  const Lines lines_;
  std::set<size_t> first_records_;
  bool has_warning_ = false;
  bool has_error_ = false;
  int fault_ = 0;  // told since the object before
  Told told_;
};

// The summary of a file, and what stands beside it on standard error.
struct Summary {
  size_t added = 0;
  size_t updated = 0;
  size_t refused = 0;
  size_t unreached = 0;
  size_t warnings = 0;
  size_t faults = 0;
};

std::optional<Summary> SummaryOf(const std::string& line) {
  Summary summary;
  const size_t refused = line.find(" refused");
  const bool is_one = std::sscanf(line.c_str(), "%zu added, %zu updated, %zu refused",
                                  &summary.added, &summary.updated, &summary.refused) == 3;
  if (!is_one || refused == std::string::npos) return std::nullopt;
  const std::string rest = line.substr(refused + 8);
  if (std::sscanf(rest.c_str(), ", %zu not reached; %zu with", &summary.unreached,
                  &summary.warnings) == 0 &&
      std::sscanf(rest.c_str(), "; %zu with", &summary.warnings) != 1) {
    summary.warnings = 0;
  }
  return summary;
}

// ---- The tests ----------------------------------------------------------------------------------------

class Corpus : public CommandTest, public testing::WithParamInterface<Format> {
 protected:
  void SetUp() override {
    const std::string folder = support::CorpusFolder();
    if (folder.empty()) GTEST_SKIP() << support::kNoCorpus;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      if (entry.path().extension() == GetParam().extension) files_.push_back(entry.path().string());
    }
    std::sort(files_.begin(), files_.end());
    ASSERT_GE(files_.size(), GetParam().least_files) << folder;
  }

  // Runs the command on some files at a time, so that a start of it does not cost more than its work. Calls
  // `use` with each run and its files.
  template <typename Use>
  void RunOnFiles(const Lines& arguments, Use use) const {
    constexpr size_t kAtOnce = 60;
    for (size_t first = 0; first < files_.size(); first += kAtOnce) {
      const size_t end = std::min(first + kAtOnce, files_.size());
      const Lines files(files_.begin() + static_cast<std::ptrdiff_t>(first),
                        files_.begin() + static_cast<std::ptrdiff_t>(end));
      Lines all = arguments;
      all.insert(all.end(), files.begin(), files.end());
      use(Osif(all), files);
    }
  }

  // The summaries of `receive` on a device of its own, by file; each file has one.
  std::map<std::string, Summary> Summaries(const std::string& device, const Lines& options) const {
    std::map<std::string, Summary> summaries;
    Lines arguments = {"--device", Path(device), "receive", "--strict"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    RunOnFiles(arguments, [&](const Outcome& outcome, const Lines& files) {
      EXPECT_THAT(outcome.status, AnyOf(0, 1));
      const Lines lines = outcome.OutLines();
      ASSERT_EQ(lines.size(), files.size());
      for (size_t i = 0; i < files.size(); ++i) {
        ASSERT_TRUE(lines[i].starts_with(files[i] + ": ")) << lines[i];
        const std::optional<Summary> summary = SummaryOf(lines[i].substr(files[i].size() + 2));
        ASSERT_TRUE(summary) << lines[i];
        summaries[files[i]] = *summary;
      }
      AddErrors(outcome.ErrLines(), files, summaries);
    });
    return summaries;
  }

  // The same for the files in the order of their names, each read whole or one object at a time. Made once for
  // each format: nothing changes them.
  const std::map<std::string, Summary>& Usual(bool is_each) const {
    static std::map<std::pair<std::string, bool>, std::map<std::string, Summary>> made;
    const auto [entry, is_new] = made.try_emplace({GetParam().name, is_each});
    if (is_new) {
      entry->second = Summaries(is_each ? "each" : "whole", is_each ? Lines{"--each"} : Lines{});
    }
    return entry->second;
  }

  // Has every file received one object at a time, and calls `use` with each, the status of its run and what
  // was told of it there. The files that have nothing to be complained of share a run, which has to end well;
  // the others have one each, so that every one's own status is seen.
  template <typename Use>
  void ReceiveEach(const std::map<std::string, Summary>& summaries, Use use) const {
    constexpr size_t kAtOnce = 60;
    Lines together;
    const auto run = [&] {
      if (!together.empty()) RunMarked(together, use);
      together.clear();
    };
    for (const std::string& file : files_) {
      const auto summary = summaries.find(file);
      const bool is_alone = summary == summaries.end() || summary->second.faults > 0;
      if (is_alone || together.size() == kAtOnce) run();
      together.push_back(file);
      if (is_alone) run();
    }
    run();
  }

  std::vector<std::string> files_;

 private:
  // What is said on standard error: of a calendar's items after its first warning the summary does not tell
  // which have one; and faults are no part of it.
  static void AddErrors(const Lines& errors, const Lines& files,
                        std::map<std::string, Summary>& summaries) {
    for (const std::string& line : errors) {
      const size_t at = line.find(": a warning may hold for ");
      if (at != std::string::npos) {
        summaries[line.substr(6, at - 6)].warnings += std::stoul(line.substr(at + 25));
      } else if (!line.ends_with(": Parsing warning (code 19)")) {
        for (const std::string& file : files) {
          if (line.starts_with("osif: " + file + ": ")) ++summaries[file].faults;
        }
      }
    }
  }

  // Runs the command on several files with a note after each: where the note is told of, all that belongs to
  // the file has been.
  template <typename Use>
  void RunMarked(const Lines& files, Use use) const {
    const std::string mark =
        Write("mark.vnt", "BEGIN:VNOTE\r\nVERSION:1.1\r\nSUMMARY:mark\r\nBODY:\r\nEND:VNOTE\r\n");
    Lines arguments = {"receive", "--strict", "--each", "--json", "--trace"};
    for (const std::string& file : files) {
      arguments.push_back(file);
      arguments.push_back(mark);
    }
    const Outcome outcome = Osif(arguments, Errors::kIntoOutput);
    Lines told;
    auto file = files.begin();
    for (const std::string& line : outcome.OutLines()) {
      EXPECT_THAT(line, testing::Not(HasSubstr("came too fast and were lost")));
      if (!line.starts_with('{') || Json::parse(line).value("file", "") != mark) {
        told.push_back(line);
        continue;
      }
      ASSERT_NE(file, files.end());
      use(*file++, outcome.status, told);
      told.clear();
    }
    EXPECT_EQ(file, files.end());
  }
};

TEST_P(Corpus, EveryObjectIsStoredOrRefusedForAReasonAndTheSummarySaysSo) {
  // Those that have to be complained of come last: the others can be received together.
  std::stable_partition(files_.begin(), files_.end(),
                        [&](const std::string& file) { return Usual(true).at(file).faults == 0; });
  const std::map<std::string, Summary> summaries = Summaries("summaries", {"--each"});
  size_t checked = 0;
  size_t stored = 0;
  ReceiveEach(summaries, [&](const std::string& file, int status, const Lines& output) {
    SCOPED_TRACE(file);
    ++checked;
    Checker checker(GetParam(), file);
    const Told told = checker.Check(output, status);
    ASSERT_TRUE(summaries.contains(file));
    const Summary& summary = summaries.at(file);
    EXPECT_EQ(summary.added, told.added);
    EXPECT_EQ(summary.updated, told.stored - told.added);
    EXPECT_EQ(summary.refused, told.refused);
    EXPECT_EQ(summary.warnings, told.warnings);
    if (const auto records = RecordsOf(GetParam(), checker.lines())) {
      size_t expected = 0;
      for (const size_t count : *records) expected += count;
      // A calendar may be refused after its last item.
      const size_t told_of = told.stored + told.refused + summary.unreached;
      EXPECT_THAT(told_of, AnyOf(expected, told.refused > 0 ? expected + 1 : expected));
    }
    stored += told.stored;
  });
  EXPECT_EQ(checked, files_.size());
  EXPECT_GT(stored, 0u);
}

TEST_P(Corpus, AFileReadWholeAccountsForEveryObjectThatItsObjectsReadOneByOneMake) {
  const std::map<std::string, Summary>& whole = Usual(false);
  const std::map<std::string, Summary>& each = Usual(true);
  ASSERT_EQ(whole.size(), files_.size());
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const Summary& one = whole.at(file);
    const Summary& other = each.at(file);
    EXPECT_LE(one.added + one.updated, other.added + other.updated);
    // A byte order mark makes no object of the first one; reading one by one leaves it out.
    if (!BytesOf(file).starts_with("\xEF\xBB\xBF")) {
      EXPECT_LE(one.refused, other.refused);
    }
    const size_t reached = one.added + one.updated + one.refused;
    EXPECT_EQ(reached + one.unreached,
              other.added + other.updated + other.refused + other.unreached);
  }
}

TEST_P(Corpus, EveryFileIsParsedIntoJsonWithAsManyRecordsAsAreReceived) {
  for (const bool is_each : {false, true}) {
    const std::map<std::string, Summary>& summaries = Usual(is_each);
    const Lines arguments = is_each ? Lines{"parse", "--strict", "--json", "--each"}
                                    : Lines{"parse", "--strict", "--json"};
    RunOnFiles(arguments, [&](const Outcome& outcome, const Lines& files) {
      bool has_failed = false;
      size_t at = 0;
      size_t records = 0;
      for (const Json& line : outcome.JsonLines()) {
        if (line.contains("fields")) {
          ++records;
          EXPECT_THAT(std::string(line["result"]), AnyOf("ok", "warning"));
        }
        has_failed = has_failed || (line.contains("code") && line["code"] != 0);
        if (!line.contains("file")) continue;
        ASSERT_LT(at, files.size());
        EXPECT_EQ(line["file"], files[at]);
        EXPECT_THAT(int{line["code"]}, AnyOf(0, 8, 20)) << files[at];
        const Summary& summary = summaries.at(files[at]);
        const size_t stored = summary.added + summary.updated;
        EXPECT_GE(records, stored) << files[at];
        EXPECT_LE(records, stored + summary.refused) << files[at];
        records = 0;
        ++at;
      }
      EXPECT_EQ(at, files.size());
      // A text outside of the objects is a fault as well, but no code of the reader.
      EXPECT_THAT(outcome.status, AnyOf(has_failed ? 1 : 0, 1));
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, Corpus, testing::ValuesIn(kFormats),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace command_test::corpus_test
