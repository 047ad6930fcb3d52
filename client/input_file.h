// A file, pipe or standard input that was named on a command line, open for reading.
#pragma once

#include <string>

namespace client {

class InputFile {
 public:
  // "-" is standard input. What may not be read as a file of objects is not opened (object_file_name.h).
  explicit InputFile(const std::string& argument);
  ~InputFile();
  InputFile(InputFile&& other) noexcept;
  InputFile& operator=(InputFile&&) = delete;

  // Why it cannot be read; empty when it can.
  const std::string& why_not() const { return why_not_; }
  // The name for messages; "-" for standard input.
  const std::string& name() const { return name_; }
  int handle() const { return handle_; }
  // Whether one can go back in it, and open it once more by its name.
  bool is_regular() const { return is_regular_; }

 private:
  void Open();

  std::string name_;
  std::string why_not_;
  int handle_ = -1;
  bool is_regular_ = false;
};

}  // namespace client
