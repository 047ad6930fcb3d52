// Where objects go as text: to standard output, or to a file that takes its place only when it is whole.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace command {

class ObjectOutput {
 public:
  // `argument` names the file; "-" or nothing is standard output, and so is any other name of the file or pipe
  // that standard output is. Nothing is made yet.
  explicit ObjectOutput(const std::string& argument);
  // What was not put in its place goes.
  ~ObjectOutput();
  ObjectOutput(const ObjectOutput&) = delete;
  ObjectOutput& operator=(const ObjectOutput&) = delete;

  bool is_standard_output() const { return is_standard_output_; }
  // The name for messages and results; "-" for standard output.
  const std::string& name() const { return name_; }

  // Why the file must not be written; empty when it may.
  std::string WhyRefused() const;

  // Makes the new file beside its place. False when that failed; errno tells why.
  bool Open();
  // Adds to it. False when that failed; errno tells why.
  bool Write(std::string_view bytes);
  // Puts the file in its place, after looking whether all that was written is in it and on the disk. False when
  // that failed, and then the file that was there before is as it was; errno tells why.
  bool PutInPlace();

 private:
  std::string name_;
  bool is_utf8_ = true;
  bool is_standard_output_ = false;
  std::string place_;   // of the file, links followed
  std::string beside_;  // the new file; empty when there is none
  int handle_ = -1;
  int64_t written_ = 0;
};

}  // namespace command
