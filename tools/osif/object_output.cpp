// A new file is written under a name of its own in the folder where it is to stand, gets the mode of the file
// that it replaces, goes to the disk, and is then renamed: whoever looks sees the old file or the whole new one.
// The name holds the process's id, so two commands do not meet, and a file that a killed one left is taken by
// the next process of that id.
//
// That a name means standard output is known by the file, not by the name: "/dev/stdout" and "/dev/fd/1" are
// links, and to open one of them would write from the beginning of a file that has been written to before.
#include "tools/osif/object_output.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <system_error>

#include "client/object_file_name.h"
#include "client/private_files.h"
#include "client/temp_file.h"
#include "client/texts.h"

namespace command {
namespace {

namespace fs = std::filesystem;

// The file that a name means in the end, whatever of it exists.
std::string PlaceOfFile(const std::string& file) {
  std::error_code error;
  const fs::path place = fs::weakly_canonical(fs::absolute(file, error), error);
  return error ? file : place.string();
}

// The mode for a file in this place: that of the file there, or what the user's mask leaves of a new one.
mode_t ModeFor(const std::string& place) {
  struct stat former {};
  if (stat(place.c_str(), &former) == 0) return former.st_mode & 07777;
  return 0666 & ~client::UserMask();
}

}  // namespace

ObjectOutput::ObjectOutput(const std::string& argument) : name_(argument) {
  const std::optional<std::string> file = client::FileName(argument);
  is_utf8_ = file.has_value();
  if (!is_utf8_) return;
  name_ = *file;
  is_standard_output_ = name_.empty() || name_ == "-" || client::IsSameFile(name_, STDOUT_FILENO);
  if (is_standard_output_) {
    name_ = "-";
  } else {
    place_ = PlaceOfFile(name_);
  }
}

ObjectOutput::~ObjectOutput() {
  if (handle_ >= 0) close(handle_);
  if (!beside_.empty()) unlink(beside_.c_str());
}

std::string ObjectOutput::WhyRefused() const {
  if (!is_utf8_) return "the name is not UTF-8";
  return is_standard_output_ ? std::string() : client::WhyNoOutputFile(name_);
}

bool ObjectOutput::Open() {
  if (is_standard_output_) {
    handle_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    return handle_ >= 0;
  }
  const std::string beside =
      fs::path(place_).parent_path() / (".osif-" + std::to_string(getpid()) + ".tmp");
  unlink(beside.c_str());
  handle_ = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (handle_ < 0) return false;
  beside_ = beside;
  return fchmod(handle_, ModeFor(place_)) == 0;
}

bool ObjectOutput::Write(std::string_view bytes) {
  // What was printed before has to stand before.
  if (is_standard_output_) std::fflush(stdout);
  written_ += static_cast<int64_t>(bytes.size());
  return client::WriteAll(handle_, bytes);
}

bool ObjectOutput::PutInPlace() {
  if (is_standard_output_) return true;
  struct stat now {};
  if (fsync(handle_) != 0 || fstat(handle_, &now) != 0) return false;
  if (now.st_size != written_) {
    errno = EIO;
    return false;
  }
  if (rename(beside_.c_str(), place_.c_str()) != 0) return false;
  beside_.clear();
  return true;
}

}  // namespace command
