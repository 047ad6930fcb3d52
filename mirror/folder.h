// A folder of files, one object each, that other programs read and write as well.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mirror {

// What tells without reading whether a file is as it was.
struct FileStamp {
  int64_t modified = 0;  // nanoseconds since 1970, UTC
  int64_t size = 0;      // bytes
  int64_t inode = 0;

  bool operator==(const FileStamp&) const = default;
};

struct FoundFile {
  std::string name;
  FileStamp stamp;
};

// A name that looks like one of an object but is not to be used.
struct RefusedFile {
  std::string name;
  std::string why;
};

class Folder {
 public:
  // Objects lie in files whose names end with `ending` (".vcf"). Where the folder cannot be opened, why_not() says why,
  // and nothing else may be called.
  Folder(const std::string& path, std::string_view ending);
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  // Of the last thing that failed; of a file the reason alone, without its name.
  const std::string& why_not() const { return why_not_; }
  // Without "." and ".." and links: the same for every way to the folder.
  const std::string& path() const { return path_; }

  // The files, by name. Names that begin with a dot, or end otherwise, are of no concern; folders, links, devices,
  // names that are not UTF-8, and files of more than kMostBytes are refused. False when the folder could not be read to
  // its end: then nothing is known of what is not listed.
  bool List(std::vector<FoundFile>& files, std::vector<RefusedFile>& refused);

  // A file's text, and its stamp of the time when it was read. False, with the reason in why_not(), when it cannot be
  // read, is no plain file any more, or was changed meanwhile.
  bool Read(const std::string& name, std::string& text, FileStamp& stamp);

  // Puts a text in a file's place, whole and on the disk, or leaves the file as it was. `expected`: what the file is now;
  // null where there must be none. False, with the reason, when it failed, or when the file is another by now.
  bool Write(const std::string& name, std::string_view text, const FileStamp* expected,
             FileStamp& stamp);

  // Puts the names of what was written on the disk.
  void Flush();

  // Removes a file that is as expected.
  bool Remove(const std::string& name, const FileStamp& expected);

  // Keeps a text that gave way beside the file, under a name that no program takes for an object; gives that name.
  bool Keep(const std::string& name, std::string_view text, std::string& kept_as);

  // Whether no file has the name.
  bool IsFree(const std::string& name) const;

  static constexpr int64_t kMostBytes = int64_t{16} << 20;

 private:
  bool Fail(const std::string& why);
  bool FailAs(int error);
  bool WriteTemporary(const std::string& name, std::string_view text);
  bool PutInPlace(const std::string& temporary, const std::string& name, const FileStamp* expected,
                  FileStamp& stamp);
  bool IsAs(const std::string& name, const FileStamp* expected);

  const std::string ending_;
  std::string path_;
  std::string why_not_;
  int handle_ = -1;
};

}  // namespace mirror
