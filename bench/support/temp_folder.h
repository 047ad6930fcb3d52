// A folder and files of a measurement's own.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

namespace bench {

// Ends the program when something that a measurement stands on did not work: what it would say is worthless.
inline void Require(bool is_true, std::string_view what) {
  if (is_true) return;
  std::cerr << "The measurement cannot be made: " << what << '\n';
  std::exit(1);
}

// A file name of ASCII characters as the library takes it.
inline std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

// An empty folder that goes away with everything in it. In memory, where there is such a place: disks are not
// what is measured.
class TempFolder {
 public:
  TempFolder() {
    const std::filesystem::path memory = "/dev/shm";
    const bool has_memory = std::filesystem::is_directory(memory);
    const std::filesystem::path parent =
        has_memory ? memory : std::filesystem::temp_directory_path();
    std::string name = parent / "osif-bench-XXXXXX";
    Require(mkdtemp(name.data()) != nullptr, "no temporary folder");
    path_ = name;
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string File(std::string_view name) const {
    return std::string(path_).append("/").append(name);
  }

 private:
  std::string path_;
};

inline void PutBytes(const std::string& path, std::string_view bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  Require(!out.fail(), "a file could not be written");
}

}  // namespace bench
