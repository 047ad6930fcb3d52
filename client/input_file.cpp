#include "client/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "client/object_file_name.h"
#include "client/texts.h"

namespace client {

InputFile::InputFile(const std::string& argument) : name_(argument) {
  if (argument == "-") {
    handle_ = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0);
    if (handle_ < 0) why_not_ = std::strerror(errno);
  } else if (const std::optional<std::string> file_name = FileName(argument)) {
    name_ = *file_name;
    Open();
  } else {
    why_not_ = "the name is not UTF-8";
  }
}

InputFile::~InputFile() {
  if (handle_ >= 0) close(handle_);
}

InputFile::InputFile(InputFile&& other) noexcept
    : name_(std::move(other.name_)),
      why_not_(std::move(other.why_not_)),
      handle_(std::exchange(other.handle_, -1)),
      is_regular_(other.is_regular_) {}

void InputFile::Open() {
  why_not_ = WhyNoInputFile(name_);
  if (!why_not_.empty()) return;
  handle_ = open(name_.c_str(), O_RDONLY | O_CLOEXEC);
  if (handle_ < 0) {
    why_not_ = std::strerror(errno);
    return;
  }
  struct stat status {};
  is_regular_ = fstat(handle_, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace client
