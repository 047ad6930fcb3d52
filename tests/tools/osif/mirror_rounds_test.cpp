// Two devices, each mirrored with a folder of its own; the folders know each other through a plain copy of files. All four
// are changed at random, round after round, and some runs of the mirror are killed. After each round all sides hold the
// same: nothing is doubled, nothing is missing, what only files can hold is there, and nothing is left to do.
//
// Every object bears a number for life, in its name. In a round each place changes or deletes an object once at most, so
// that it is known what must come of it: a deletion loses against any change, and a value that nobody else has changed must
// be everywhere.
//
// OSIF_ROUNDS says how many rounds, OSIF_SEED which ones. A round that fails is told with its seed.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <regex>

#include "tests/tools/osif/mirror_fixture.h"

namespace command_test::mirror_rounds_test {
namespace {

int NumberFrom(const char* variable, int otherwise) {
  const char* text = std::getenv(variable);
  return text == nullptr ? otherwise : std::atoi(text);
}

// ---- The objects ------------------------------------------------------------------------------------------------

// A property that is changed: in the store by its column, in a file by the beginning of its line.
struct Property {
  const char* column;  // null where the store does not hold it
  const char* line;
};

struct Kind {
  MirroredStore store;
  char letter;          // numbers of objects follow it in their names
  const char* in_text;  // finds the number in a text of the store or of a file
  std::vector<Property> properties;
};

const std::vector<Kind>& Kinds() {
  static const std::vector<Kind> kKinds = {{kContactStore,
                                            'P',
                                            "\nN:P([0-9]+)[;\r]",
                                            {{"job_title", "TITLE:"},
                                             {"mobile_telephone_number", "TEL;TYPE=CELL:"},
                                             {"body", "NOTE:"},
                                             {nullptr, "X-MORE:"}}},
                                           {kCalendarStore,
                                            'E',
                                            "\nSUMMARY:E([0-9]+)",
                                            {{"body", "DESCRIPTION:"}, {nullptr, "X-MORE:"}}}};
  return kKinds;
}

bool IsTask(int number) { return number % 3 == 0; }
bool IsSeries(int number) { return number % 4 == 1 && !IsTask(number); }

// What no store holds, another one for each object.
std::string Treasure(const Kind& kind, int number) {
  const std::string value = std::to_string(number);
  if (kind.letter == 'P') {
    return "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQSkZJRgABAQAAAQABAAD/2wBDAAMCAgICAgMCAgID\r\n AwMD" +
           value + "/9k=\r\nitem1.X-ABDATE:2001-02-03\r\nitem1.X-ABLabel:Number " + value + "\r\n";
  }
  if (IsTask(number)) return "X-TREASURE;X-KIND=\"a;b:c\":" + value + "\r\n";
  return "BEGIN:VALARM\r\nACTION:AUDIO\r\nTRIGGER:-PT3H\r\nX-NUMBER:" + value +
         "\r\nATTACH;VALUE=URI:file:///sounds/long.wav\r\nEND:VALARM\r\n";
}

std::string Override(int number) {
  const std::string name = std::to_string(number);
  return "BEGIN:VEVENT\r\nUID:e" + name +
         "\r\nRECURRENCE-ID;TZID=Europe/Berlin:20260112T090000\r\nDTSTAMP:20260101T000000Z\r\n"
         "DTSTART;TZID=Europe/Berlin:20260112T110000\r\nDTEND;TZID=Europe/"
         "Berlin:20260112T120000\r\n"
         "SUMMARY:Late " +
         name + "\r\nEND:VEVENT\r\n";
}

std::string NewFile(const Kind& kind, int number) {
  const std::string name = kind.letter + std::to_string(number);
  if (kind.letter == 'P') {
    return FileCard({"UID:p" + std::to_string(number), "FN:" + name, "N:" + name + ";;;;",
                     "TEL;TYPE=CELL:100" + std::to_string(number),
                     Treasure(kind, number) + "X-MORE:0"});
  }
  const std::string uid = "UID:e" + std::to_string(number);
  const std::string more = Treasure(kind, number) + "X-MORE:0";
  if (IsTask(number)) {
    return FileTask({uid, "DTSTAMP:20260101T000000Z", "DUE;VALUE=DATE:20260120", "SUMMARY:" + name,
                     "PERCENT-COMPLETE:30", more});
  }
  Lines lines = {"BEGIN:VEVENT",
                 uid,
                 "DTSTAMP:20260101T000000Z",
                 "DTSTART;TZID=Europe/Berlin:20260105T090000",
                 "DTEND;TZID=Europe/Berlin:20260105T100000",
                 "SUMMARY:" + name};
  if (IsSeries(number)) lines.push_back("RRULE:FREQ=WEEKLY;BYDAY=MO");
  lines.insert(lines.end(), {more, "END:VEVENT"});
  std::string text = FileCalendar(lines);
  if (IsSeries(number)) text = With(text, "END:VCALENDAR", Override(number) + "END:VCALENDAR");
  return text;
}

// As a device receives it.
std::string NewObject(const Kind& kind, int number) {
  const std::string name = kind.letter + std::to_string(number);
  if (kind.letter == 'P') return Card({"N:" + name + ";", "TEL;CELL:100" + std::to_string(number)});
  const std::string begin = "BEGIN:VCALENDAR\r\nVERSION:1.0\r\n";
  if (IsTask(number)) {
    return begin + Joined({"BEGIN:VTODO", "SUMMARY:" + name, "DUE:20260120", "END:VTODO"}) +
           "END:VCALENDAR\r\n";
  }
  Lines lines = {"BEGIN:VEVENT", "SUMMARY:" + name, "DTSTART:20260105T080000Z",
                 "DTEND:20260105T090000Z"};
  if (IsSeries(number)) lines.push_back("RRULE:W1 MO #0");
  lines.push_back("END:VEVENT");
  return begin + Joined(lines) + "END:VCALENDAR\r\n";
}

// The file with another value of a property, which is added where there is none.
std::string Changed(const std::string& text, const Property& property, const std::string& value) {
  const std::string name = std::string("\n") + property.line;
  size_t begin = std::string::npos;
  // Kinds are written in either case.
  for (size_t i = 0; i + name.size() <= text.size() && begin == std::string::npos; ++i) {
    if (strncasecmp(text.c_str() + i, name.c_str(), name.size()) == 0) begin = i;
  }
  if (begin != std::string::npos) {
    const size_t end = text.find("\r\n", begin);
    return text.substr(0, begin + name.size()) + value + text.substr(end);
  }
  size_t place = std::string::npos;
  for (const char* end : {"BEGIN:VALARM", "END:VCARD", "END:VEVENT", "END:VTODO"}) {
    place = std::min(place, text.find(end));
  }
  return text.substr(0, place) + property.line + value + "\r\n" + text.substr(place);
}

std::set<int> NumbersIn(const Kind& kind, const std::string& text) {
  const std::regex pattern(kind.in_text);
  std::set<int> numbers;
  for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end; ++found) {
    numbers.insert(std::stoi((*found)[1]));
  }
  return numbers;
}

// ---- The rounds -------------------------------------------------------------------------------------------------

class MirrorRounds : public MirrorFixture {
 protected:
  struct Side {
    std::string device;
    std::string folders[2];  // by kind
  };
  // What was done to an object in a round.
  struct Deeds {
    bool is_deleted = false;
    std::set<const Side*> changed_on;
    std::map<const Property*, std::vector<std::string>> values;
  };
  using Round = std::map<int, Deeds>;  // by number

  MirrorRounds()
      : MirrorFixture(kContactStore),
        seed_(NumberFrom("OSIF_SEED", 1)),
        random_(static_cast<unsigned>(seed_)) {
    zone_ = "Europe/Berlin";
    for (const char* name : {"a", "b"}) {
      Side side{Path(std::string(name) + "_device"),
                {Path(std::string(name) + "_people"), Path(std::string(name) + "_days")}};
      for (const std::string& folder : side.folders) std::filesystem::create_directory(folder);
      sides_.push_back(std::move(side));
    }
  }

  int Below(int number) { return std::uniform_int_distribution<int>(0, number - 1)(random_); }
  bool OneIn(int number) { return Below(number) == 0; }

  std::string NameOf(const Side& side) const { return &side == sides_.data() ? "a" : "b"; }

  // ---- Changes ----

  // Deletes or changes some objects at one place; `delete_one` and `change_one` know how it is done there.
  void ChangeSome(const Side& side, size_t which, bool in_store, auto&& delete_one,
                  auto&& change_one) {
    const Kind& kind = Kinds()[which];
    std::vector<int> numbers(present_[which].begin(), present_[which].end());
    std::ranges::shuffle(numbers, random_);
    const size_t many = numbers.size() > 25 ? 5 : 2;
    size_t count = static_cast<size_t>(Below(static_cast<int>(many) + 3));
    const std::string place = NameOf(side) + (in_store ? "'s store" : "'s folder");
    for (const int number : numbers) {
      if (count == 0) return;
      --count;
      Deeds& deeds = rounds_[which][number];
      // Of a file that is deleted nothing is left where the state is lost.
      if (OneIn(numbers.size() > 25 ? 2 : 4) && (in_store || !has_lost_)) {
        deeds.is_deleted = true;
        told_ += place + " deletes " + kind.letter + std::to_string(number) + "\n";
        delete_one(number);
        continue;
      }
      deeds.changed_on.insert(&side);
      const Property* property = nullptr;
      do {
        property =
            &kind.properties[static_cast<size_t>(Below(static_cast<int>(kind.properties.size())))];
      } while (in_store && property->column == nullptr);
      deeds.values[property].push_back(NewValue());
      const std::string& value = deeds.values[property].back();
      told_ += place + " changes " + kind.letter + std::to_string(number) + ": " + property->line +
               value + "\n";
      change_one(number, *property, value);
    }
  }

  std::string Table(const Kind& kind, int number) const {
    if (kind.letter == 'P') return "pim_contacts";
    return IsTask(number) ? "pim_tasks" : "pim_appointments";
  }
  std::string Where(const Kind& kind, int number) const {
    const std::string column = kind.letter == 'P' ? "last_name" : "subject";
    return " WHERE " + column + "='" + kind.letter + std::to_string(number) + "'";
  }

  void ChangeStore(const Side& side, size_t which) {
    const Kind& kind = Kinds()[which];
    std::string statements;
    ChangeSome(
        side, which, true,
        [&](int number) {
          statements += "DELETE FROM pim_objects WHERE oid IN (SELECT oid FROM " +
                        Table(kind, number) + Where(kind, number) + ");";
        },
        [&](int number, const Property& property, const std::string& value) {
          statements += "UPDATE " + Table(kind, number) + " SET " + property.column + "='" + value +
                        "'" + Where(kind, number) + ";";
        });
    if (!statements.empty()) SqlOn(side.device, statements);
    std::string added;
    for (int i = Below(3); i > 0; --i) added += NewObject(kind, Add(which));
    if (added.empty()) return;
    EXPECT_EQ(On(side.device, {"receive", "--add", Write("added", added)}).status, 0);
  }

  void ChangeFolder(const Side& side, size_t which) {
    const Kind& kind = Kinds()[which];
    const std::string& folder = side.folders[which];
    std::map<int, std::string> paths;
    for (const auto& [name, text] : ObjectsIn(kind, folder)) {
      for (const int number : NumbersIn(kind, text)) paths[number] = folder + "/" + name;
    }
    ChangeSome(
        side, which, false,
        [&](int number) { EXPECT_TRUE(std::filesystem::remove(paths[number])) << number; },
        [&](int number, const Property& property, const std::string& value) {
          Place(paths[number], Changed(BytesOf(paths[number]), property, value));
        });
    for (int i = Below(3); i > 0; --i) {
      const int number = Add(which);
      Place(folder + "/" + FileName(kind, number), NewFile(kind, number));
    }
  }

  // A value that differs from all others, and in its sum, too: what is changed past the log is known by a checksum, which is
  // the same for "134" and "215".
  std::string NewValue() {
    constexpr int kLengths = 50;
    ++last_value_;
    return std::to_string(last_value_) +
           std::string(static_cast<size_t>(1 + last_value_ % kLengths), 'x');
  }

  int Add(size_t which) {
    rounds_[which][++last_number_];
    return last_number_;
  }
  // As programs do that synchronise: by the UID, so that a file which is written again has the same name.
  static std::string FileName(const Kind& kind, int number) {
    return (kind.letter == 'P' ? "p" : "e") + std::to_string(number) + kind.store.ending;
  }

  // As a program writes that leaves no half files.
  static void Place(const std::string& path, const std::string& text) {
    support::PutBytes(path + ".tmp", text);
    std::filesystem::rename(path + ".tmp", path);
  }

  // ---- Agreeing ----

  Lines MirrorOf(const Side& side, size_t which, const Lines& options) const {
    Lines line = {"--device", side.device, "mirror", Kinds()[which].store.name,
                  side.folders[which]};
    line.insert(line.end(), options.begin(), options.end());
    return line;
  }

  // False when there was nothing to do.
  bool MirrorOne(const Side& side, size_t which, const Lines& options) {
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = Osif(MirrorOf(side, which, options));
    const auto took = std::chrono::steady_clock::now() - begin;
    usual_ = (usual_ * 7 + std::chrono::duration_cast<std::chrono::microseconds>(took)) / 8;
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    told_ += NameOf(side) + ": " + outcome.out + outcome.err;
    return outcome.out != std::string(Kinds()[which].store.name) + ": nothing to do\n";
  }

  void MirrorAndKill(const Side& side, size_t which, const Lines& options) {
    const std::chrono::microseconds after(Below(static_cast<int>(usual_.count()) + 1));
    (IsKilled(MirrorOf(side, which, options), after) ? killed_ : killed_too_late_)++;
    told_ += NameOf(side) + " " + Kinds()[which].store.name + " killed:\n" +
             BytesOf(Path("killed.out")) + BytesOf(Path("killed.err"));
  }

  using Text = std::optional<std::string>;
  static Text TextIn(const Files& files, const std::string& name) {
    const auto file = files.find(name);
    return file == files.end() ? Text() : Text(file->second);
  }
  static void PutText(const std::string& path, const Text& text) {
    if (text) {
      Place(path, *text);
    } else {
      std::filesystem::remove(path);
    }
  }
  static bool IsObject(const Kind& kind, const std::string& name) {
    return name.ends_with(kind.store.ending);
  }
  static Files ObjectsIn(const Kind& kind, const std::string& folder) {
    Files files = FilesIn(folder);
    std::erase_if(files, [&](const auto& file) { return !IsObject(kind, file.first); });
    return files;
  }

  // Makes the folders equal. A change wins against a deletion, the first folder against the second. False when there was
  // nothing to do.
  bool Copy(size_t which) {
    const Kind& kind = Kinds()[which];
    const std::string& first = sides_[0].folders[which];
    const std::string& second = sides_[1].folders[which];
    const Files in_first = ObjectsIn(kind, first);
    const Files in_second = ObjectsIn(kind, second);
    std::set<std::string> names;
    for (const Files* files : {&in_first, &in_second}) {
      for (const auto& [name, text] : *files) names.insert(name);
    }
    bool has_copied = false;
    for (const std::string& name : names) {
      const Text one = TextIn(in_first, name);
      const Text other = TextIn(in_second, name);
      if (one == other) continue;
      has_copied = true;
      const Text agreed = TextIn(copied_[which], name);
      const bool second_wins = one == agreed || !one;
      const bool is_deletion_of_second = other == agreed && !one;
      if (second_wins && !is_deletion_of_second) {
        PutText(first + "/" + name, other);
      } else {
        PutText(second + "/" + name, one);
      }
      told_ += "copied " + name + (second_wins && !is_deletion_of_second ? " to a\n" : " to b\n");
    }
    copied_[which] = ObjectsIn(kind, first);
    return has_copied;
  }

  void Agree(const Lines& options) {
    constexpr int kMostTurns = 6;
    for (int turn = 0;; ++turn) {
      ASSERT_LT(turn, kMostTurns) << "the sides do not come to rest";
      bool is_at_rest = true;
      for (size_t which = 0; which < Kinds().size(); ++which) {
        for (const Side& side : sides_) {
          if (MirrorOne(side, which, options)) is_at_rest = false;
        }
        if (Copy(which)) is_at_rest = false;
      }
      if (HasFailure() || is_at_rest) return;
    }
  }

  // ---- What must have come of it ----

  Texts StoredAt(const Side& side, const Kind& kind) const {
    Texts texts;
    std::string text;
    for (const std::string& line :
         On(side.device, {"export", kind.store.name, "-o", "-"}).OutLines()) {
      // Of a name that is not there one is made for the file, and goes on from there.
      const bool is_content = !line.starts_with("X-IRMC-LUID:") && !line.starts_with("FN");
      if (is_content) text += line + "\n";
      if (line == kind.store.end) texts.insert(std::exchange(text, {}));
    }
    return texts;
  }

  // Each object's text by its number; none may be there twice.
  static std::map<int, std::string> ByNumber(const Kind& kind, const auto& texts) {
    std::map<int, std::string> objects;
    for (const std::string& text : texts) {
      const std::set<int> numbers = NumbersIn(kind, text);
      EXPECT_EQ(numbers.size(), 1u) << text;
      for (const int number : numbers) {
        EXPECT_TRUE(objects.emplace(number, text).second) << number << " is there twice";
      }
    }
    return objects;
  }

  // What a device makes of the files that never knew them before.
  Texts StoredAnew(const Kind& kind, const std::string& folder) {
    const std::string fresh = Path("fresh_device");
    std::filesystem::remove_all(fresh);
    const std::string copy = Path("fresh_files");
    std::filesystem::remove_all(copy);
    std::filesystem::create_directory(copy);
    for (const auto& [name, text] : ObjectsIn(kind, folder))
      support::PutBytes(copy + "/" + name, text);
    const Side side{fresh, {copy, copy}};
    EXPECT_EQ(Osif(MirrorOf(side, kind.letter == 'P' ? 0 : 1, {})).status, 0);
    return StoredAt(side, kind);
  }

  void ExpectAgreedOn(size_t which) {
    const Kind& kind = Kinds()[which];
    SCOPED_TRACE(kind.store.name);
    const Files files = ObjectsIn(kind, sides_[0].folders[which]);
    EXPECT_EQ(ObjectsIn(kind, sides_[1].folders[which]), files);
    std::vector<std::string> texts;
    for (const auto& [name, text] : files) {
      texts.push_back(text);
      const std::set<int> numbers = NumbersIn(kind, text);
      if (numbers.empty() || name != FileName(kind, *numbers.begin())) continue;
      EXPECT_THAT(text, testing::HasSubstr(Treasure(kind, *numbers.begin())));
      if (kind.letter == 'E' && IsSeries(*numbers.begin())) {
        EXPECT_THAT(text, testing::HasSubstr(Override(*numbers.begin())));
      }
    }
    const std::map<int, std::string> in_files = ByNumber(kind, texts);
    const Texts stored = StoredAt(sides_[0], kind);
    const std::map<int, std::string> in_store = ByNumber(kind, stored);
    EXPECT_EQ(StoredAt(sides_[1], kind), stored);
    if (OneIn(3)) {
      EXPECT_EQ(StoredAnew(kind, sides_[0].folders[which]), stored);
    }
    std::set<int> present;
    for (const auto& [number, text] : in_files) present.insert(number);
    for (const int number : present)
      EXPECT_TRUE(in_store.contains(number)) << number << " is in files only";
    EXPECT_EQ(in_store.size(), present.size());

    Round& round = rounds_[which];
    for (const int number : present_[which]) round[number];
    for (const auto& [number, deeds] : round) {
      SCOPED_TRACE("number " + std::to_string(number));
      if (!deeds.is_deleted || !deeds.values.empty()) {
        EXPECT_TRUE(present.contains(number)) << "is missing";
      } else if (!has_lost_) {
        EXPECT_FALSE(present.contains(number)) << "was deleted";
      }
      // The copy takes one file or the other, whole.
      if (!present.contains(number) || has_lost_ || deeds.changed_on.size() > 1) continue;
      for (const auto& [property, values] : deeds.values) {
        if (values.size() > 1) continue;
        EXPECT_THAT(in_files.at(number), testing::HasSubstr(":" + values[0] + "\r\n"))
            << property->line;
        if (property->column == nullptr || !in_store.contains(number)) continue;
        EXPECT_THAT(in_store.at(number), testing::HasSubstr(":" + values[0] + "\r\n"))
            << property->line;
      }
    }
    present_[which] = present;
    round.clear();
  }

  void ExpectNothingLeft() {
    for (size_t which = 0; which < Kinds().size(); ++which) {
      for (const Side& side : sides_) {
        const Stamps stamps = StampsIn(side.folders[which]);
        EXPECT_FALSE(MirrorOne(side, which, {}));
        EXPECT_EQ(StampsIn(side.folders[which]), stamps);
      }
    }
  }

  void Go(int number) {
    told_.clear();
    has_lost_ = number > 0 && OneIn(20);
    for (size_t which = 0; which < Kinds().size(); ++which) {
      if (number > 0 && OneIn(3)) continue;
      for (const Side& side : sides_) {
        if (!OneIn(3)) ChangeStore(side, which);
        if (!OneIn(3)) ChangeFolder(side, which);
      }
    }
    if (has_lost_) {
      const std::string& device = sides_[static_cast<size_t>(Below(2))].device;
      for (const char* ending : {"", "-wal", "-shm"}) {
        std::filesystem::remove(device + "/mirror.db" + ending);
      }
      told_ += device.substr(folder_.size() + 1) + " has lost its state\n";
    }
    const Lines options = {"--force-delete", "-v", "--prefer", OneIn(2) ? "store" : "folder"};
    const int kills = OneIn(2) ? 1 + Below(4) : 0;
    for (int i = 0; i < kills; ++i) {
      MirrorAndKill(sides_[static_cast<size_t>(Below(2))], static_cast<size_t>(Below(2)), options);
      if (OneIn(4)) Copy(static_cast<size_t>(Below(2)));
    }
    Agree(options);
    for (size_t which = 0; which < Kinds().size() && !HasFatalFailure(); ++which) {
      ExpectAgreedOn(which);
    }
    if (!HasFailure()) ExpectNothingLeft();
    if (HasFailure()) std::cout << options.back() << " is preferred\n" << told_;
  }

  const int seed_;
  std::mt19937 random_;
  std::vector<Side> sides_;
  Round rounds_[2];           // by kind
  std::set<int> present_[2];  // the numbers on all sides, by kind
  Files copied_[2];           // what both folders said when they were last equal, by kind
  bool has_lost_ = false;     // whether a device has lost its state in this round
  int last_number_ = 0;
  int last_value_ = 5000;
  std::chrono::microseconds usual_{20'000};  // that a run takes
  std::string told_;
  int killed_ = 0;
  int killed_too_late_ = 0;
};

TEST_F(MirrorRounds, LeaveAllSidesEqualWithAllThatMustBeThere) {
  const int rounds = NumberFrom("OSIF_ROUNDS", support::kIsSanitized ? 3 : 10);
  int done = 0;
  for (; done < rounds && !HasFailure(); ++done) {
    SCOPED_TRACE("round " + std::to_string(done) + " of seed " + std::to_string(seed_));
    Go(done);
  }
  std::cout << "seed " << seed_ << ": " << done << " rounds, killed " << killed_ << " times, "
            << killed_too_late_ << " times too late\n";
}

}  // namespace
}  // namespace command_test::mirror_rounds_test
