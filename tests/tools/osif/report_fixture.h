// Devices with a few objects, and the page that is made of them.
#pragma once

#include <map>

#include "tests/support/files.h"
#include "tests/tools/osif/command_fixture.h"

namespace command_test {

class ReportTest : public CommandTest {
 protected:
  // Has a file received, of which nothing may be refused.
  void Keep(const std::string& name, const std::string& bytes) const {
    const Outcome outcome = Osif({"receive", "--add", Write(name, bytes)});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }

  // An iCalendar with one component.
  static std::string Calendar(const std::string& component, const Lines& properties) {
    return Joined({"BEGIN:VCALENDAR", "VERSION:2.0", "BEGIN:" + component}) + Joined(properties) +
           Joined({"END:" + component, "END:VCALENDAR"});
  }

  static std::string Message(const std::string& folder, const std::string& subject,
                             const std::string& date, const std::string& text) {
    return Joined({"BEGIN:VMSG", "VERSION:1.1", "X-BT-FOLDER:" + folder, "BEGIN:VENV",
                   "BEGIN:VBODY", "Date: " + date, "From: ann@example.com", "Subject: " + subject,
                   "", text, "END:VBODY", "END:VENV", "END:VMSG"});
  }

  // The page of the device, of November 2026 unless another month is asked for.
  std::string Page(const Lines& options = {"--month", "2026-11"}) const {
    Lines arguments = {"report", "-o", Path("page.html")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const Outcome outcome = Osif(arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return BytesOf(Path("page.html"));
  }

  // What stands between two texts, each time.
  static Lines Between(const std::string& text, const std::string& begin, const std::string& end) {
    Lines found;
    for (size_t at = text.find(begin); at != std::string::npos; at = text.find(begin, at)) {
      at += begin.size();
      found.push_back(text.substr(at, text.find(end, at) - at));
    }
    return found;
  }

  // A section with all that is in it: sections of the page begin with their ids.
  static std::string SectionOf(const std::string& page, const std::string& id) {
    const size_t begin = page.find("<section id=\"" + id + "\"");
    EXPECT_NE(begin, std::string::npos) << id;
    if (begin == std::string::npos) return {};
    const size_t next = page.find("<section id=\"", begin + 1);
    return page.substr(begin, std::min(next, page.find("</main>", begin)) - begin);
  }

  // What takes place in a month, in the page's order: "2026-11-02 18:00 Choir Town hall".
  static Lines DaysOf(const std::string& page, const std::string& month) {
    Lines entries;
    for (const std::string& day : Between(page, "<time datetime=\"" + month, "</li>\n")) {
      for (const std::string& entry : Between(day, "<li>", "</li>")) {
        entries.push_back(month + day.substr(0, 3) + " " + WithoutTags(entry));
      }
    }
    return entries;
  }

  static std::string WithoutTags(const std::string& html) {
    std::string text;
    for (size_t i = 0; i < html.size(); ++i) {
      if (html[i] == '<') {
        i = html.find('>', i);
      } else {
        text += html[i];
      }
    }
    return text;
  }

  // The bytes of each file of the device, by its name.
  std::map<std::string, std::string> FilesOfDevice() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(device_)) {
      if (entry.is_regular_file()) {
        const std::string path = entry.path().string();
        files[path.substr(device_.size() + 1)] = BytesOf(path);
      }
    }
    return files;
  }
};

}  // namespace command_test
