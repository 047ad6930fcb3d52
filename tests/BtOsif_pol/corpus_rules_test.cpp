// The recurrence rules that real programs and devices send: on which days their items take place once they
// are stored, against what the rules mean. What a rule means is reckoned here, day by day, by a reading of
// its own.
//
// The files lie in the folder that OSIF_CORPUS names; without it the tests over them are skipped.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <tuple>

#include "BtOsif_pol/pol_recurrence.h"
#include "tests/BtOsif_pol/calendar_fixture.h"
#include "tests/support/corpus.h"

namespace corpus_rules_test {
namespace {

using namespace support;
using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::weekday;
using std::chrono::year_month_day;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t kFirst = 20;

// ---- What a rule means ------------------------------------------------------------------------------

// "1- MO TU" in a rule: its last Monday and its last Tuesday. "1- MO|TU", which no rule can say, is the last
// of its Mondays and Tuesdays, whichever that is: all that a handheld knows.
struct Position {
  std::vector<int> counts;
  std::vector<std::set<unsigned>> weekdays;
};

struct Meaning {
  std::string kind;
  int interval = 0;
  std::vector<Position> positions;
  std::set<unsigned> weekdays;
  std::vector<int> days;  // of the month or of the year
  std::set<unsigned> months;
  int count = 2;  // 0: for ever
  bool has_count = false;
  std::optional<sys_days> last;
};

std::optional<unsigned> WeekdayOf(const std::string& code) {
  const std::string codes = "SUMOTUWETHFRSA";
  const size_t place = codes.find(code);
  if (code.size() != 2 || place == std::string::npos) return std::nullopt;
  return static_cast<unsigned>(place / 2);
}

bool IsDate(const std::string& token) { return token.size() >= 15 && token[8] == 'T'; }

sys_days DayIn(const std::string& text) {
  int y = 0;
  unsigned m = 0, d = 0;
  EXPECT_EQ(std::sscanf(text.c_str(), "%4d%2u%2u", &y, &m, &d), 3) << text;
  return sys_days{std::chrono::year{y} / std::chrono::month{m} / std::chrono::day{d}};
}

void TakeDays(const std::string& token, Meaning& meaning) {
  std::set<unsigned> any;
  std::istringstream codes(token);
  for (std::string code; std::getline(codes, code, '|');) any.insert(*WeekdayOf(code));
  if (meaning.positions.empty()) {
    meaning.weekdays.insert(any.begin(), any.end());
  } else {
    meaning.positions.back().weekdays.push_back(any);
  }
}

void TakeNumber(const std::string& token, Meaning& meaning) {
  const int number = std::stoi(token);
  const int count = token.back() == '-' ? -number : number;
  if (meaning.kind == "MP") {
    std::vector<Position>& positions = meaning.positions;
    if (positions.empty() || !positions.back().weekdays.empty()) positions.emplace_back();
    positions.back().counts.push_back(count);
  } else if (meaning.kind == "YM") {
    meaning.months.insert(static_cast<unsigned>(number));
  } else {
    meaning.days.push_back(count);
  }
}

// A rule of one part, or of a year's months and a day of them ("YM1 5 MD1 21").
Meaning MeaningOf(const std::string& rule) {
  Meaning meaning;
  std::istringstream tokens(rule);
  std::string head;
  tokens >> head;
  const size_t digits = head.find_first_of("0123456789");
  meaning.kind = head.substr(0, digits);
  meaning.interval = std::stoi(head.substr(digits));
  for (std::string token; tokens >> token;) {
    if (token[0] == '#') {
      meaning.count = std::stoi(token.substr(1));
      meaning.has_count = true;
    } else if (IsDate(token)) {
      meaning.last = DayIn(token);
    } else if (token == "MD1") {
      meaning.kind = "YMD";
    } else if (WeekdayOf(token.substr(0, 2))) {
      TakeDays(token, meaning);
    } else if (std::isdigit(static_cast<unsigned char>(token[0])) != 0) {
      TakeNumber(token, meaning);
    } else {
      ADD_FAILURE() << "'" << token << "' in " << rule;
    }
  }
  return meaning;
}

unsigned WeekdayOf(sys_days day) { return weekday{day}.c_encoding(); }
sys_days WeekOf(sys_days day) { return day - days{WeekdayOf(day)}; }
int MonthsOf(year_month_day date) {
  return int{date.year()} * 12 + static_cast<int>(unsigned{date.month()});
}

// The days of a month from a day to another that fall on one of these weekdays.
int CountOf(sys_days from, sys_days to, const std::set<unsigned>& weekdays) {
  int count = 0;
  for (sys_days day = from; day <= to; day += days{1}) {
    if (weekdays.count(WeekdayOf(day)) == 1) ++count;
  }
  return count;
}

bool IsAt(sys_days day, int wanted, const std::set<unsigned>& weekdays) {
  if (weekdays.count(WeekdayOf(day)) == 0) return false;
  const year_month_day date{day};
  const sys_days first{date.year() / date.month() / 1};
  const sys_days last{date.year() / date.month() / std::chrono::last};
  return wanted > 0 ? CountOf(first, day, weekdays) == wanted
                    : CountOf(day, last, weekdays) == -wanted;
}

bool IsAtAny(sys_days day, const std::vector<Position>& positions) {
  for (const Position& position : positions) {
    for (int count : position.counts) {
      for (const std::set<unsigned>& any : position.weekdays) {
        if (IsAt(day, count, any)) return true;
      }
    }
  }
  return false;
}

// Days counted from the first of a month or year, and back from its end.
bool IsOneOf(sys_days day, sys_days first, sys_days end, const std::vector<int>& wanted) {
  const int forward = static_cast<int>((day - first).count()) + 1;
  const int backward = -static_cast<int>((end - day).count());
  return std::any_of(wanted.begin(), wanted.end(),
                     [&](int number) { return number == forward || number == backward; });
}

bool Includes(const Meaning& rule, sys_days start, sys_days day) {
  const year_month_day date{day}, from{start};
  const sys_days month_end = sys_days{date.year() / date.month() / std::chrono::last} + days{1};
  const sys_days month{date.year() / date.month() / 1};
  const int months = MonthsOf(date) - MonthsOf(from);
  const int years = int{date.year()} - int{from.year()};
  if (rule.kind == "D") return (day - start).count() % rule.interval == 0;
  if (rule.kind == "W") {
    const auto weeks = (WeekOf(day) - WeekOf(start)).count() / 7;
    return weeks % rule.interval == 0 && rule.weekdays.count(WeekdayOf(day)) == 1;
  }
  if (rule.kind == "MP") return months % rule.interval == 0 && IsAtAny(day, rule.positions);
  if (rule.kind == "MD") {
    return months % rule.interval == 0 && IsOneOf(day, month, month_end, rule.days);
  }
  if (years % rule.interval != 0) return false;
  if (rule.kind == "YMD") {
    return rule.months.count(unsigned{date.month()}) == 1 &&
           IsOneOf(day, month, month_end, rule.days);
  }
  EXPECT_EQ(rule.kind, "YD");
  const sys_days new_year{date.year() / 1 / 1};
  return IsOneOf(day, new_year, sys_days{(date.year() + std::chrono::years{1}) / 1 / 1}, rule.days);
}

std::string Text(sys_days day) {
  const year_month_day date{day};
  char text[32];
  std::snprintf(text, sizeof text, "%04d%02u%02u", int{date.year()}, unsigned{date.month()},
                unsigned{date.day()});
  return text;
}

using Days = std::vector<std::string>;

// The first days of a rule. It ends with its count or on the day of its end date, whichever comes first; the
// count of two, which stands for none, does not end a rule with an end date.
Days FirstDays(const std::string& text, sys_days start) {
  const Meaning rule = MeaningOf(text);
  const bool is_counted = rule.count != 0 && (rule.has_count || !rule.last);
  const size_t most = is_counted ? std::min(kFirst, static_cast<size_t>(rule.count)) : kFirst;
  const sys_days horizon = rule.last.value_or(start + days{366 * 45});
  Days found;
  for (sys_days day = start; day <= horizon && found.size() < most; day += days{1}) {
    if (Includes(rule, start, day)) found.push_back(Text(day));
  }
  return found;
}

// ---- What becomes of the rules ----------------------------------------------------------------------

// Rules that are kept as they are.
constexpr const char* kKeptRules[] = {"D1",
                                      "D1 #0",
                                      "D1 #1",
                                      "D1 #3",
                                      "D1 #4",
                                      "D1 18990106T000000",
                                      "D1 19990106T000000",
                                      "D1 19990420T040000",
                                      "D1 20000225T070000",
                                      "D1 20050525T133000",
                                      "D1 20050525T143000",
                                      "D1 20050528T143000",
                                      "D1 20050529T133000",
                                      "D1 20050610T133000",
                                      "D1 20090122T000000",
                                      "D1 20100131T000000",
                                      "D1 20100228T083000Z",
                                      "D2 #0",
                                      "D2 21001230T000000",
                                      "D3 #50",
                                      "D3 19991130T000000",
                                      "D3 20050630T000000",
                                      "D5 #0",
                                      "D5 21001227T000000",
                                      "W1 MO #0",
                                      "W1 MO TU WE #2",
                                      "W1 MO TU WE TH FR #0",
                                      "W1 MO TU WE TH FR 20090126T100000",
                                      "W1 MO TU WE TH FR 20100129T110000",
                                      "W1 TH 20060427T000000Z",
                                      "W1 TU #0",
                                      "W1 TU 20090317T000000",
                                      "W2 MO WE FR 20050630T000000",
                                      "W2 TU FR #0",
                                      "W2 TU SU 20100126T130000",
                                      "W2 TU TH",
                                      "W2 TU TH #2",
                                      "W2 TU TH #27",
                                      "W3 TU FR SU 20090317T120000",
                                      "MP1 1+ SU #2",
                                      "MP1 2+ TU 20100112T000000",
                                      "MP1 3+ FR #5",
                                      "MP1 3+ MO",
                                      "MP12 2+ MO #0",
                                      "MP2 1+ SU #15 20000703T060000",
                                      "MP2 2+ TU 20100713T000000",
                                      "MP2 2+ WE 20090708T000000",
                                      "MP3 1- TH 20061231T000000",
                                      "MP3 2+ TU #0",
                                      "MP3 2+ TU 21001012T150000",
                                      "MP3 3+ FR #17",
                                      "MD1 10+ #0",
                                      "MD1 13 #0",
                                      "MD1 13+ #0",
                                      "MD1 13+ 21001213T000000",
                                      "MD1 16",
                                      "MD1 6 #3",
                                      "MD2 13+ 20100713T140000",
                                      "MD3 13+ #0",
                                      "MD3 13+ 21001013T130000",
                                      "MD3 20 #17",
                                      "MD3 20 20060630T000000"};

// Rules that say more than a pattern holds, and what is kept of each.
struct ChangedRule {
  const char* rule;
  const char* kept;
};
constexpr ChangedRule kChangedRules[] = {
    // Only the first day of the month counts.
    {"MD1 15+ 17+ 20050917T133000", "MD1 15+ 20050917T133000"},
    {"MD1 16 17 39 #10", "MD1 16 #10"},
    // Only the first position counts, and its weekdays are counted together.
    {"MP1 1+ MO 2+ TU 3+ WE #10", "MP1 1+ MO #10"},
    {"MP2 1+ MO 2+ TU #2", "MP2 1+ MO #2"},
    {"MP1 1+ MO TU", "MP1 1+ MO|TU"},
    {"MP1 1+ MO TU #2", "MP1 1+ MO|TU #2"},
    {"MP1 1+ MO TU #4", "MP1 1+ MO|TU #4"},
    {"MP1 1+ MO TU WE #2", "MP1 1+ MO|TU|WE #2"},
    {"MP1 2+ 1+ MO TU #4", "MP1 2+ MO|TU #4"},
    {"MP1 4+ MO TU WE #4", "MP1 4+ MO|TU|WE #4"},
    {"MP6 2+ MO TU #10", "MP6 2+ MO|TU #10"},
    // The fifth is the last, and what is counted from the end (but the last) becomes a count from the start.
    {"MP1 5+ 1+ MO TU WE", "MP1 1- MO|TU|WE"},
    {"MP1 5+ MO TU WE T090000Z", "MP1 1- MO|TU|WE"},
    {"MP3 2- FR #17", "MP3 4+ FR #17"},
    {"MP1 4- MO TU WE 19961212T090000Z", "MP1 2+ MO|TU|WE 19961212T090000Z"},
    {"MP1 3+ 4- MO TU WE #10 19961212T090000Z", "MP1 3+ MO|TU|WE 19961212T090000Z"},
    // An end date sets the count aside.
    {"MP2 1+ SU #8 20000703T060000", "MP2 1+ SU 20000703T060000"},
    // A day of the year is a date, whatever the year, and of every year.
    {"YD1 141 #17", "YM1 5 MD1 21 #17"},
    {"YD3 1 100 #10", "YD1 1 #10"}};

// Rules without the days, positions or months that a pattern needs: the items are single ones.
constexpr const char* kSingleRules[] = {"M1 #0",
                                        "MD12 #0",
                                        "MP1 #10",
                                        "MP1 #10\t\t\t",
                                        "MP1 11+MO 2+ TU WE #10 20030105T090000Z",
                                        "MP6 #10",
                                        "W2 #0",
                                        "YD1 #0",
                                        "YM1 1 #0",
                                        "YM1 1 20110113T000000Z",
                                        "YM1 1 20150113T000000Z",
                                        "YM1 1 21000113T000000Z",
                                        "YM1 15 #10",
                                        "YM1 4 #2",
                                        "YM1 5",
                                        "YM1 5 6 7 #10",
                                        "YM1 6 #0",
                                        "YM2 5 #13"};

// What is no rule of this grammar, as far as its first ";": the items stay as they are.
constexpr const char* kUnreadRules[] = {
    "FREQ-MONTHLY;BYMONTH-12;INTERVAL-1;BYDAY-MO,TU,WE,TH,FR;BYMONTHDAY-26,27,28;BYSETPOS-1",
    "FREQ-YEARLY",
    "FREQ-YEARLY;BYMONTH-10;BYDAY--1SU",
    "FREQ-YEARLY;BYMONTH-11",
    "FREQ-YEARLY;BYMONTH-3",
    "FREQ-YEARLY;BYMONTH-3;BYDAY--1SU",
    "FREQ-YEARLY;BYMONTH-4",
    "FREQ-YEARLY;BYMONTH-6;BYDAY-3SU",
    "FREQ-YEARLY;INTERVAL-1;BYDAY-1MO;BYMONTH-5",
    "MAILTO:reinhold@kainhofer.com#17"};

// What is kept of a rule; an empty text for a single item. Fails for a rule that nobody has judged.
std::string KeptOf(const std::string& rule) {
  if (rule.empty()) return "";
  for (const char* kept : kKeptRules) {
    if (rule == kept) return rule;
  }
  for (const ChangedRule& changed : kChangedRules) {
    if (rule == changed.rule) return changed.kept;
  }
  auto is_rule = [&](const char* text) { return rule == text; };
  EXPECT_TRUE(std::any_of(std::begin(kSingleRules), std::end(kSingleRules), is_rule) ||
              std::any_of(std::begin(kUnreadRules), std::end(kUnreadRules), is_rule))
      << "a rule that nobody has judged: " << rule;
  return "";
}

// ---- What is stored ---------------------------------------------------------------------------------

class StoredRule : public CalendarTest {
 protected:
  // The first days on which an appointment takes place, and a year further.
  static Days DaysOf(IAppointment& item, sys_days start, const Days& expected) {
    const sys_days end = (expected.empty() ? start : DayIn(expected.back())) + days{366};
    auto pattern = PatternOf(item);
    Days found;
    for (sys_days day = start; day <= end && found.size() < kFirst; day += days{1}) {
      ComPtr<IAppointment> occurrence;
      const HRESULT hr = pattern->GetOccurrence(At(Text(day).c_str()), occurrence.put());
      if (SUCCEEDED(hr)) found.push_back(Text(day));
    }
    return found;
  }

  void ExpectDays(const std::string& start_line, const std::string& rule, sys_days start) {
    auto item = Appointment({start_line, "RRULE:" + rule});
    ASSERT_EQ(item->Save(), S_OK);
    const std::string kept = KeptOf(rule);
    EXPECT_EQ(FlagOf(*item, &IAppointment::get_IsRecurring), !kept.empty()) << rule;
    if (kept.empty()) return;
    const Days expected = FirstDays(kept, start);
    EXPECT_EQ(DaysOf(*item, start, expected), expected) << rule << " from " << start_line;
  }
};

// In the middle of a week and on a leap day.
constexpr const char* kStarts[] = {"19990101", "20000229"};

TEST_F(StoredRule, TakesPlaceOnTheDaysThatTheRuleMeans) {
  for (const char* start : kStarts) {
    for (const char* rule : kKeptRules) {
      ExpectDays("DTSTART:" + std::string(start) + "T100000", rule, DayIn(start));
    }
  }
  EXPECT_THAT(Trace(), IsEmpty());
}

TEST_F(StoredRule, ThatSaysMoreThanAPatternHoldsIsKeptInPart) {
  for (const char* start : kStarts) {
    for (const ChangedRule& changed : kChangedRules) {
      ExpectDays("DTSTART:" + std::string(start) + "T100000", changed.rule, DayIn(start));
    }
  }
  EXPECT_THAT(Trace(), IsEmpty());
}

// The list above names no rule that a pattern would hold.
TEST_F(StoredRule, ThatIsKeptInPartMeansOtherDays) {
  for (const ChangedRule& changed : kChangedRules) {
    if (std::string(changed.rule) == "MP1 5+ MO TU WE T090000Z") continue;  // its end is no date
    std::set<bool> differs;
    for (const char* start : {"19950101", "19990101", "20000221", "20050520"}) {
      differs.insert(FirstDays(changed.rule, DayIn(start)) !=
                     FirstDays(changed.kept, DayIn(start)));
    }
    EXPECT_EQ(differs.count(true), 1u) << changed.rule;
  }
}

TEST_F(StoredRule, WithoutItsDaysIsASingleItemAndIsTold) {
  for (const char* rule : kSingleRules) {
    auto item = Appointment({"DTSTART:20050520T100000", "RRULE:" + std::string(rule)});
    EXPECT_FALSE(FlagOf(*item, &IAppointment::get_IsRecurring)) << rule;
    EXPECT_THAT(Trace(),
                ElementsAre("OSIF:  The Extended Rule Grammar could not be translated to an",
                            "       Outlook Recurrence pattern. Item will be sent as One-time."))
        << rule;
  }
}

TEST_F(StoredRule, OfAnotherGrammarIsNotReadAndIsTold) {
  for (const char* rule : kUnreadRules) {
    auto item = Appointment({"DTSTART:20050520T100000", "RRULE:" + std::string(rule)});
    EXPECT_FALSE(FlagOf(*item, &IAppointment::get_IsRecurring)) << rule;
    EXPECT_THAT(Trace(), ElementsAre("OSIF:  ERG_Parse failed (code=20)")) << rule;
  }
}

// ---- The corpus -------------------------------------------------------------------------------------

// A rule as it stands in a file, with the first day of its item (a local one).
struct CorpusRule {
  std::string rule;
  std::string start;  // the text of DTSTART, else of DUE, else empty
  bool is_event;
  bool operator<(const CorpusRule& other) const {
    return std::tie(rule, start, is_event) < std::tie(other.rule, other.start, other.is_event);
  }
};

// Read line by line: a file that the reader refuses counts too.
void AddRules(const std::string& path, std::set<CorpusRule>& rules) {
  std::ifstream in(path, std::ios::binary);
  std::vector<std::string> found;
  std::string start, due;
  bool is_event = false;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const std::string value = line.substr(std::min(line.find(':'), line.size() - 1) + 1);
    auto is = [&line](std::string_view name) { return line.rfind(name, 0) == 0; };
    if (is("BEGIN:")) {
      is_event = is("BEGIN:VEVENT");
      found.clear();
      start.clear();
      due.clear();
    }
    if (is("DTSTART")) start = value;
    if (is("DUE")) due = value;
    if (is("RRULE")) found.push_back(value);
    if (!is("END:")) continue;
    for (const std::string& rule : found) {
      rules.insert({rule, start.empty() ? due : start, is_event});
    }
    found.clear();
  }
}

class CorpusRules : public StoredRule {
 protected:
  void SetUp() override {
    const std::string corpus = support::CorpusFolder();
    if (corpus.empty()) GTEST_SKIP() << support::kNoCorpus;
    for (const auto& file : std::filesystem::directory_iterator(corpus + "/vcalendar")) {
      AddRules(file.path(), rules_);
    }
    CalendarTest::SetUp();
  }

  // The local day of a date's text.
  static sys_days LocalDay(const std::string& text) {
    if (text.empty() || text.back() != 'Z') return DayIn(text);
    std::tm utc{};
    EXPECT_NE(strptime(text.c_str(), "%Y%m%dT%H%M%SZ", &utc), nullptr) << text;
    const std::time_t time = timegm(&utc);
    std::tm local{};
    localtime_r(&time, &local);
    char day[16];
    std::strftime(day, sizeof day, "%Y%m%d", &local);
    return DayIn(day);
  }

  void ExpectEveryRule() {
    for (const CorpusRule& found : rules_) {
      if (!found.is_event) continue;
      const std::string kept = KeptOf(found.rule);
      const sys_days start = kept.empty() ? sys_days{} : LocalDay(found.start);
      ExpectDays("DTSTART:" + found.start, found.rule, start);
    }
  }

  std::set<CorpusRule> rules_;
};

TEST_F(CorpusRules, AreThoseThatAreJudgedHere) {
  std::set<std::string> found;
  for (const CorpusRule& rule : rules_) found.insert(rule.rule);
  found.erase("");
  std::set<std::string> judged(std::begin(kKeptRules), std::end(kKeptRules));
  judged.insert(std::begin(kSingleRules), std::end(kSingleRules));
  judged.insert(std::begin(kUnreadRules), std::end(kUnreadRules));
  for (const ChangedRule& changed : kChangedRules) judged.insert(changed.rule);
  EXPECT_EQ(found, judged);
}

TEST_F(CorpusRules, OfEventsTakePlaceOnTheDaysThatAreKeptOfThem) { ExpectEveryRule(); }

TEST_F(CorpusRules, OfEventsTakePlaceOnTheseDaysEastOfUtcToo) {
  TimeZone zone("Europe/Berlin");
  ExpectEveryRule();
}

// A task's pattern takes place where that of an appointment on its day does.
TEST_F(CorpusRules, OfTodosGiveThePatternsOfEvents) {
  int patterns = 0;
  for (const CorpusRule& found : rules_) {
    if (found.is_event) continue;
    auto task = Task({"DUE:" + found.start, "RRULE:" + found.rule});
    EXPECT_EQ(FlagOf(*task, &ITask::get_IsRecurring), !KeptOf(found.rule).empty()) << found.rule;
    if (KeptOf(found.rule).empty()) continue;
    ++patterns;
    auto event = found.start.empty()
                     ? Appointment({"RRULE:" + found.rule})
                     : Appointment({"DTSTART:" + found.start, "RRULE:" + found.rule});
    EXPECT_EQ(ShownPattern(*PatternOf(*task)), ShownPattern(*PatternOf(*event))) << found.rule;
    const sys_days start = found.start.empty() ? sys_days{} : LocalDay(found.start);
    if (!found.start.empty()) {
      EXPECT_EQ(DateOf(*PatternOf(*task), &IRecurrencePattern::get_PatternStartDate).substr(0, 8),
                Text(start));
    }
  }
  EXPECT_GT(patterns, 0);
}

}  // namespace
}  // namespace corpus_rules_test
