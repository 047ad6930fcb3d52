// What becomes of real files, counted by cause. The table in corpus_causes.tsv changes only with a reason: a number that
// grows says that something is refused, guessed or dropped that was not before.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "dialects/object_splitter.h"
#include "dialects/strict_object.h"
#include "tests/support/built_files.h"
#include "tests/support/corpus.h"
#include "tests/support/environment.h"

namespace corpus_causes_test {
namespace {

constexpr const char* kFolders[] = {"vcard",     "vcard-new", "vcalendar",
                                    "icalendar", "vnote",     "vmessage"};

using Counts = std::map<std::string, size_t>;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Each cause counts once an object.
void Count(const std::string& start, const dialects::Happenings& happenings, Counts& counts) {
  for (const auto& [what, count] : happenings) ++counts[start + "\t" + what];
}

void CountFile(const std::string& folder, const std::filesystem::path& path, Counts& counts) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  ASSERT_NE(file, nullptr) << path;
  dialects::ObjectSplitter splitter(file.get());
  while (const auto object = splitter.Next()) {
    for (const dialects::StrictObject& one : dialects::StrictObjects(*object, {})) {
      ++counts[folder + (one.refusal.empty() ? "\tstored\t" : "\trefused\t" + one.refusal)];
      Count(folder + "\tguessed", one.report.guessed, counts);
      Count(folder + "\tdropped", one.report.dropped, counts);
    }
  }
}

std::string TableOf(const Counts& counts) {
  std::ostringstream table;
  for (const auto& [cause, count] : counts) table << cause << '\t' << count << '\n';
  return table.str();
}

std::string TextOf(const std::string& name) {
  std::ostringstream text;
  text << std::ifstream(name, std::ios::binary).rdbuf();
  return text.str();
}

TEST(CorpusCauses, AreThoseOfTheTable) {
  const std::filesystem::path corpus = support::CorpusFolder();
  if (corpus.empty()) GTEST_SKIP() << support::kNoCorpus;
  const support::TimeZone zone("Europe/Berlin");
  Counts counts;
  for (const std::string folder : kFolders) {
    for (const auto& entry : std::filesystem::directory_iterator(corpus / folder)) {
      CountFile(folder, entry.path(), counts);
    }
  }
  const std::string expected = TextOf(support::kSources + "/tests/dialects/corpus_causes.tsv");
  const std::string table = TableOf(counts);
  if (table != expected) {
    std::ofstream(std::filesystem::temp_directory_path() / "corpus_causes.tsv") << table;
  }
  EXPECT_EQ(table, expected) << "the new table is corpus_causes.tsv in the temporary folder";
}

}  // namespace
}  // namespace corpus_causes_test
