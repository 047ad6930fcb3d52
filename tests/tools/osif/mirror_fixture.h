// osif mirror on devices and folders of a test's own. What it has done is looked at in the files themselves, and in the
// stores by the other commands.
#pragma once

#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <map>
#include <set>
#include <thread>

#include "tests/support/sql_on_device.h"
#include "tests/tools/osif/command_fixture.h"

namespace command_test {

// A card as programs of today write it; VERSION is the first line.
inline std::string FileCard(const Lines& properties, const std::string& version = "3.0") {
  return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + Joined(properties) + "END:VCARD\r\n";
}

inline std::string FileCalendar(const Lines& lines) {
  return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Example//Example//EN\r\n" + Joined(lines) +
         "END:VCALENDAR\r\n";
}

inline std::string Component(const std::string& kind, const Lines& properties) {
  return FileCalendar(Lines{"BEGIN:" + kind, Joined(properties) + "END:" + kind});
}
inline std::string FileEvent(const Lines& properties) { return Component("VEVENT", properties); }
inline std::string FileTask(const Lines& properties) { return Component("VTODO", properties); }

// A text with one part in place of another, which has to be there once.
inline std::string With(std::string text, const std::string& old_part, const std::string& part) {
  const size_t place = text.find(old_part);
  EXPECT_NE(place, std::string::npos) << old_part << " is not in\n" << text;
  if (place == std::string::npos) return text;
  EXPECT_EQ(text.find(old_part, place + 1), std::string::npos) << old_part;
  return text.replace(place, old_part.size(), part);
}

struct MirroredStore {
  const char* name;
  const char* ending;  // of the files' names
  const char* end;     // an object's last line, as it is exported
};
inline constexpr MirroredStore kContactStore = {"pb", ".vcf", "END:VCARD\r"};
inline constexpr MirroredStore kCalendarStore = {"cal", ".ics", "END:VCALENDAR\r"};

class MirrorFixture : public CommandTest {
 protected:
  using Texts = std::multiset<std::string>;
  using Files = std::map<std::string, std::string>;  // texts by name

  explicit MirrorFixture(const MirroredStore& store) : store_(store) {
    std::filesystem::create_directory(files_);
  }

  Outcome On(const std::string& device, Lines arguments) const {
    arguments.insert(arguments.begin(), {"--device", device});
    return Osif(arguments);
  }

  // ---- The mirror ---------------------------------------------------------------------------------------

  Lines MirrorLine(const Lines& options = {}) const {
    Lines arguments = {"mirror", store_.name, files_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
  }
  Outcome Once(const Lines& options = {}) const { return Osif(MirrorLine(options)); }

  // What a run without a failure says at its end, without the name of the store.
  std::string Mirrored(const Lines& options = {}) const {
    const Outcome outcome = Once(options);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    const std::string begin = std::string(store_.name) + ": ";
    EXPECT_THAT(outcome.out, testing::AllOf(testing::StartsWith(begin), testing::EndsWith("\n")));
    if (!outcome.out.starts_with(begin)) return outcome.out;
    return outcome.out.substr(begin.size(), outcome.out.size() - begin.size() - 1);
  }
  // The last line of a run that could not do all, and its reasons.
  Outcome Failed(const Lines& options = {}) const {
    Outcome outcome = Once(options);
    EXPECT_EQ(outcome.status, 1) << outcome.out;
    return outcome;
  }

  // Whether a run of the command was killed before it had ended.
  bool IsKilled(Lines line, std::chrono::microseconds after) {
    line.insert(line.begin(), support::kCommand);
    const pid_t child = Start(Launched(line), Path("killed"));
    std::this_thread::sleep_for(after);
    // A program that did not start has no number: -1 would be all processes.
    EXPECT_GT(child, 0);
    if (child <= 0) return false;
    kill(child, SIGKILL);
    return WaitFor(child) == 128 + SIGKILL;
  }

  void ExpectAgreed() const {
    const Files files = FilesNow();
    const Stamps stamps = StampsNow();
    const Texts stored = Stored();
    EXPECT_EQ(Mirrored(), "nothing to do");
    EXPECT_EQ(FilesNow(), files);
    EXPECT_EQ(StampsNow(), stamps);
    EXPECT_EQ(Stored(), stored);
  }

  // ---- The folder ---------------------------------------------------------------------------------------

  std::string In(const std::string& name) const { return files_ + "/" + name; }
  void Put(const std::string& name, const std::string& text) const {
    support::PutBytes(In(name), text);
  }
  void Remove(const std::string& name) const {
    EXPECT_TRUE(std::filesystem::remove(In(name))) << name;
  }
  std::string FileText(const std::string& name) const {
    EXPECT_TRUE(std::filesystem::exists(In(name))) << name;
    return BytesOf(In(name));
  }
  void ChangeFile(const std::string& name, const std::string& old_part,
                  const std::string& part) const {
    Put(name, With(FileText(name), old_part, part));
  }

  // Everything in a folder, whatever it is called.
  static Files FilesIn(const std::string& folder) {
    Files files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.is_regular_file()) files[entry.path().filename()] = BytesOf(entry.path());
    }
    return files;
  }
  Files FilesNow() const { return FilesIn(files_); }
  Lines Names() const {
    Lines names;
    for (const auto& [name, text] : FilesNow()) names.push_back(name);
    return names;
  }
  // The one file of the folder.
  std::string OnlyName() const {
    const Lines names = Names();
    EXPECT_EQ(names.size(), 1u) << testing::PrintToString(names);
    return names.empty() ? "" : names.front();
  }

  // When each file was written, and as what.
  using Stamps = std::map<std::string, std::vector<int64_t>>;
  static Stamps StampsIn(const std::string& folder) {
    Stamps stamps;
    for (const auto& [name, text] : FilesIn(folder)) {
      struct stat status = {};
      EXPECT_EQ(stat((folder + "/" + name).c_str(), &status), 0);
      stamps[name] = {int64_t{status.st_mtim.tv_sec}, int64_t{status.st_mtim.tv_nsec},
                      static_cast<int64_t>(status.st_ino)};
    }
    return stamps;
  }
  Stamps StampsNow() const { return StampsIn(files_); }

  // ---- The store ----------------------------------------------------------------------------------------

  // Its objects as they are exported, but for their ids.
  Texts StoredOn(const std::string& device) const {
    Texts texts;
    std::string text;
    for (const std::string& line : On(device, {"export", store_.name, "-o", "-"}).OutLines()) {
      if (!line.starts_with("X-IRMC-LUID:")) text += line + "\n";
      if (line == store_.end) texts.insert(std::exchange(text, {}));
    }
    return texts;
  }
  Texts Stored() const { return StoredOn(device_); }
  // The lines of the one object that the store holds.
  Lines OnlyStored() const {
    const Texts texts = Stored();
    EXPECT_EQ(texts.size(), 1u);
    return texts.empty() ? Lines() : Outcome::Split(*texts.begin());
  }

  Texts StoredNames() const {
    Texts names;
    for (const Json& line : Osif({"--json", "list", store_.name}).JsonLines()) {
      names.insert(line["name"]);
    }
    return names;
  }
  std::string IdOf(const std::string& name) const {
    for (const Json& line : Osif({"--json", "list", store_.name}).JsonLines()) {
      if (line["name"] == name) return line["id"];
    }
    ADD_FAILURE() << "no " << name;
    return {};
  }
  void DeleteStored(const std::string& name) const {
    ASSERT_EQ(Osif({"delete", store_.name, IdOf(name)}).status, 0);
  }
  void AddStored(const std::string& objects) const {
    ASSERT_EQ(Osif({"receive", "--add", Write("added", objects)}).status, 0);
  }

  void SqlOn(const std::string& device, const std::string& statements) const {
    EXPECT_GT(support::RunSqlOn(device, statements), 0) << statements;
  }
  void Sql(const std::string& statements) const { SqlOn(device_, statements); }

  void LoseState() const {
    for (const char* ending : {"", "-wal", "-shm"}) {
      std::filesystem::remove(device_ + "/mirror.db" + ending);
    }
  }

  const MirroredStore store_;
  std::string files_ = Path("files");
};

}  // namespace command_test
