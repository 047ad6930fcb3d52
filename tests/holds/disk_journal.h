// What a program does to the files of a folder, call by call, and what a disk would hold of it if the power
// went between any two of them.
//
// What is promised of a disk: the bytes of a file are on it once that file was flushed. Names (making,
// renaming, removing, cutting off) get there in their order, and all of them with the next flush of anything.
// Until then there may be nothing of it, all of it, or a part: of names the first ones, of bytes any blocks
// of 512.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace holds {

// The files of a folder, by their path in it, and its folders, which end with "/".
using Files = std::map<std::string, std::string>;

// Reads a folder. The index of a database's log is memory that programs share, and no file.
Files ReadFolder(const std::string& folder);
// Gives a folder just these files.
void WriteFolder(const std::string& folder, const Files& files);

// One thing that a program did. Files go by numbers, since their names change.
struct Change {
  enum class Kind { kWrite, kResize, kCreate, kMakeFolder, kRename, kRemove, kFlush, kTold };

  Kind kind;
  int file = -1;
  int64_t offset = 0;   // of a write; the new size
  std::string bytes{};  // of a write; what was told
  std::string path{};
  std::string new_path{};
};

class Journal {
 public:
  // Runs `work` in a child process and notes down what it does in the folder. Whenever the child tells
  // something, it is stopped while `told` looks at the folder. The child must come to its end without a
  // failed expectation.
  static Journal Record(const std::string& folder, const std::function<void()>& work,
                        const std::function<void(const std::string& text)>& told);

  // The number of places at which the power can go: before each change, and after the last.
  size_t places() const { return changes_.size() + 1; }
  const std::vector<Change>& changes() const { return changes_; }

  // What becomes of bytes, or of names, that were not flushed.
  enum class Unflushed { kLost, kKept, kRandom };

  // What the disk holds when the power goes before the change at `place`.
  Files Cut(size_t place, Unflushed bytes, Unflushed names, std::mt19937& random) const;

 private:
  friend class Recorder;

  Files before_;
  std::map<std::string, int> numbers_;  // of the files in `before_`
  std::vector<Change> changes_;
};

// In the child: notes down that the program was told something, such as the answer of a call.
void Tell(const std::string& text);

}  // namespace holds
