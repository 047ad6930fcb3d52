// Every calendar of the folder of real files: each of its items is stored whole, or it is said why not.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "dialects/forms.h"
#include "tests/dialects/calendar_support.h"
#include "tests/support/corpus.h"

namespace calendar_corpus_test {
namespace {

using calendar_support::CalendarObject;
using calendar_support::ReadByLibrary;
using dialects::ObjectText;
using dialects::StrictObject;

std::string BytesOfFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The calendars of a file, from BEGIN to END.
std::vector<ObjectText> CalendarsOf(const std::string& bytes) {
  std::vector<ObjectText> calendars;
  constexpr std::string_view kBegin = "BEGIN:VCALENDAR";
  size_t begin = bytes.find(kBegin);
  while (begin != std::string::npos) {
    const size_t next = bytes.find(kBegin, begin + 1);
    calendars.push_back(CalendarObject(bytes.substr(begin, next - begin)));
    begin = next;
  }
  return calendars;
}

void CheckItem(const StrictObject& item, const std::string& file) {
  if (item.text.empty()) {
    EXPECT_NE(item.refusal, "") << file;
    if (std::getenv("SHOW_REFUSED") != nullptr) {
      std::cerr << file << ":" << item.line << ": " << item.refusal << "\n";
    }
    return;
  }
  EXPECT_EQ(item.refusal, "") << file;
  const auto reading = ReadByLibrary(item.text);
  EXPECT_EQ(reading.result, OSIF_PARSE_OK) << file << "\n" << item.text;
  EXPECT_EQ(reading.objects, 1U) << file << "\n" << item.text;
}

// Added, found again by its start and summary, and recurring where it has a rule.
void CheckStored(const StrictObject& item, const std::string& file) {
  if (item.text.empty()) return;
  const auto stored = calendar_support::StoreByLibrary(item.text);
  EXPECT_EQ(stored.added, OSIF_OK) << file << "\n" << item.text;
  const bool is_task = item.text.find("BEGIN:VTODO") != std::string::npos;
  const bool is_nameless =
      calendar_support::LinesOf(item.text, {"SUMMARY"}) == std::vector<std::string>{"SUMMARY:"};
  EXPECT_TRUE(stored.is_found || (is_task && is_nameless)) << file << "\n" << item.text;
  const bool recurs = item.text.find("\nRRULE:") != std::string::npos;
  EXPECT_EQ(stored.recurs, recurs) << file << "\n" << item.text;
}

std::vector<std::string> TextsOf(const ObjectText& calendar) {
  std::vector<std::string> texts;
  for (const StrictObject& item : dialects::StrictCalendarItems(calendar, {})) {
    if (item.kind == dialects::ObjectKind::kCalendar) texts.push_back(item.text + item.refusal);
  }
  return texts;
}

class CalendarCorpus : public testing::TestWithParam<const char*> {};

TEST_P(CalendarCorpus, IsReadByTheStrictReaderWithoutLoss) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  const support::TimeZone zone("Europe/Berlin");
  size_t files = 0;
  size_t items = 0;
  const std::filesystem::path folder(support::CorpusFolder());
  for (const auto& entry : std::filesystem::directory_iterator(folder / GetParam())) {
    ++files;
    for (const ObjectText& calendar : CalendarsOf(BytesOfFile(entry.path()))) {
      for (const StrictObject& item : dialects::StrictCalendarItems(calendar, {})) {
        ++items;
        CheckItem(item, entry.path().filename());
      }
    }
  }
  EXPECT_GT(files, 50U);
  EXPECT_GT(items, files);
  RecordProperty("items", static_cast<int>(items));
}

TEST_P(CalendarCorpus, IsStoredAndFoundAgain) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  const support::TimeZone zone("Europe/Berlin");
  const support::TempFolder device;
  const TempEnvironment folder_of_device("OSIF_DEVICE", device.path().c_str());
  ASSERT_EQ(OSIF_Open(), OSIF_OK);
  const std::filesystem::path folder(support::CorpusFolder());
  for (const auto& entry : std::filesystem::directory_iterator(folder / GetParam())) {
    for (const ObjectText& calendar : CalendarsOf(BytesOfFile(entry.path()))) {
      for (const StrictObject& item : dialects::StrictCalendarItems(calendar, {})) {
        CheckStored(item, entry.path().filename());
      }
    }
  }
  OSIF_Close();
}

// What is written in the version in which it came is read as what it was.
TEST_P(CalendarCorpus, IsTheSameAfterItWasWrittenAnew) {
  if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
  const support::TimeZone zone("Europe/Berlin");
  const std::filesystem::path folder(support::CorpusFolder());
  const dialects::WriterSettings settings;
  const bool is_modern = std::string_view(GetParam()) == "icalendar";
  size_t compared = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder / GetParam())) {
    for (const ObjectText& calendar : CalendarsOf(BytesOfFile(entry.path()))) {
      const bool has_version =
          calendar.text.find(is_modern ? "VERSION:2.0" : "VERSION:1.0") != std::string::npos;
      if (!has_version || calendar.text.find("\nTZ:") != std::string::npos) continue;
      const auto writer = dialects::MakeCalendarWriter(
          is_modern ? dialects::Form::kICal20 : dialects::Form::kVCal10, settings);
      const std::string begin = writer->Begin();
      const dialects::WrittenObject written = writer->Write(calendar);
      if (written.text.empty()) continue;
      const auto before = TextsOf(calendar);
      const auto after = TextsOf(CalendarObject(begin + written.text + writer->End()));
      EXPECT_EQ(after, before) << entry.path();
      compared += before.size();
    }
  }
  EXPECT_GT(compared, 100U);
}

INSTANTIATE_TEST_SUITE_P(Folders, CalendarCorpus, testing::Values("vcalendar", "icalendar"));

}  // namespace
}  // namespace calendar_corpus_test
