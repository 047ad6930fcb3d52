// A folder for what is being made and is not yet in its place: another program's work there is not disturbed, and what a
// killed one has left is cleared away.
#pragma once

#include <string>

namespace client {

class WorkFolder {
 public:
  // Makes the folder, for its owner alone, or takes over the one that a program has left that is gone, and empties it.
  // is_held() is false where that failed; why_not() says why.
  explicit WorkFolder(const std::string& path);
  // A new one for temporary files.
  static WorkFolder Temporary();
  // Whatever has this name then goes, with all that is in it.
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

  bool is_held() const { return handle_ >= 0; }
  const std::string& why_not() const { return why_not_; }
  const std::string& path() const { return path_; }
  // The open folder. The lock on it is a lock on the folder, whatever its name is later.
  int handle() const { return handle_; }

 private:
  void Hold();
  bool IsStillThere() const;
  bool Clear();

  std::string path_;
  std::string why_not_;
  int handle_ = -1;
};

}  // namespace client
