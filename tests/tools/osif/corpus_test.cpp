// Real files of real devices, where a folder of them is at hand: OSIF_CORPUS names it.
#include "tests/tools/osif/command_fixture.h"

namespace command_test {
namespace {

class Corpus : public CommandTest {
 protected:
  void SetUp() override {
    const char* folder = std::getenv("OSIF_CORPUS");
    if (folder == nullptr) GTEST_SKIP() << "OSIF_CORPUS names no folder of real files";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      if (entry.path().extension() == ".vcf") files_.push_back(entry.path().string());
    }
    std::sort(files_.begin(), files_.end());
    ASSERT_FALSE(files_.empty()) << folder << " holds no vCard files";
  }

  std::vector<std::string> files_;
};

// The lines of the trace that explain a warning or a refusal.
constexpr const char* kWarnings[] = {
    "OSIF:  Warning - Parser encounted a blank line in vCard",
    "OSIF:  Warning - Parser encountered unknown property: '",
};
constexpr const char* kErrors[] = {
    "OSIF:  Error - vCard version '",
    "OSIF:  Error - vCard missing END tago or does not contain required VERSION or N properties",
    "OSIF:  Error - vCard does not have a BEGIN tag",
    "OSIF:  Stream '",
};

template <size_t kCount>
bool StartsWithOneOf(const std::string& line, const char* const (&starts)[kCount]) {
  return std::any_of(std::begin(starts), std::end(starts),
                     [&](const char* start) { return line.starts_with(start); });
}

// Goes through the mixed output of `receive --each --json --trace`: since the object before it, the trace
// must have told why an object has a warning or was refused, and of no fault of an object that is well.
size_t CheckExplained(const Lines& lines) {
  size_t objects = 0;
  bool warned = false;
  bool refused = false;
  for (const std::string& line : lines) {
    warned = warned || StartsWithOneOf(line, kWarnings);
    refused = refused || StartsWithOneOf(line, kErrors);
    if (!line.starts_with('{')) continue;
    const Json json = Json::parse(line);
    if (!json.contains("action")) continue;
    EXPECT_EQ(json["action"] == "refused", refused) << line;
    if (json["result"] != "error") {
      EXPECT_EQ(json["result"] == "warning", warned) << line;
    }
    ++objects;
    warned = refused = false;
  }
  return objects;
}

// The lines that begin a card, nested ones left out, as a person would count them; 0 when the file is not
// that simple.
size_t CountCards(const std::string& bytes) {
  size_t cards = 0;
  size_t ends = 0;
  for (std::string line : Outcome::Split(bytes)) {
    if (line.ends_with('\r')) line.pop_back();
    if (line == "BEGIN:VCARD") ++cards;
    if (line == "END:VCARD") ++ends;
    if (cards > ends + 1) return 0;
  }
  return cards == ends ? cards : 0;
}

TEST_F(Corpus, EveryCardIsStoredOrRefusedForAReason) {
  size_t stored_or_refused = 0;
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const Outcome outcome =
        Osif({"receive", "--each", "--json", "--trace", file}, Errors::kIntoOutput);
    EXPECT_THAT(outcome.status, testing::AnyOf(0, 1));
    const size_t objects = CheckExplained(outcome.OutLines());
    if (const size_t cards = CountCards(ReadFile(file)); cards > 0) {
      EXPECT_EQ(objects, cards);
    }
    stored_or_refused += objects;
  }
  EXPECT_GT(stored_or_refused, 0u);
}

TEST_F(Corpus, EveryFileIsParsedIntoJson) {
  for (const std::string& file : files_) {
    SCOPED_TRACE(file);
    const Outcome outcome = Osif({"parse", "--json", file});
    const std::vector<Json> lines = outcome.JsonLines();
    ASSERT_FALSE(lines.empty());
    const Json& last = lines.back();
    EXPECT_EQ(last["file"], file);
    EXPECT_THAT(int{last["code"]}, testing::AnyOf(0, 8, 20));
    if (last["code"] != 0) {
      EXPECT_EQ(outcome.status, 1);
    }
    for (size_t i = 0; i + 1 < lines.size(); ++i)
      EXPECT_TRUE(lines[i]["fields"].contains("version"));
  }
}

}  // namespace
}  // namespace command_test
