// Any bytes as a saved device. What the first byte says is what they are: an archive as it comes, or the list of its members
// within a sound archive. Whatever they are, the folder beside stays as it is unless all was put back, and nothing is left
// over.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "client/archive.h"
#include "client/manifest.h"
#include "client/restore.h"
#include "client/temp_file.h"
#include "fuzz/fuzz_input.h"

namespace {

namespace fs = std::filesystem;

const std::string& Folder() {
  static const std::string folder = [] {
    std::string name = "/tmp/osif-fuzz-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) abort();
    return name;
  }();
  return folder;
}

// An archive of which the list alone is the input's.
bool WriteArchive(int handle, std::string_view list) {
  client::ArchiveWriter archive(handle);
  return archive.Begin(std::string(client::kManifestName), static_cast<int64_t>(list.size()), 0) &&
         archive.Add(list) && archive.Begin("Documents/a", 1, 0) && archive.Add("a") &&
         archive.Finish();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  if (size == 0 || size > 65536) return 0;
  const std::string_view input(reinterpret_cast<const char*>(bytes) + 1, size - 1);
  std::string ignored;
  client::ReadManifest(input, ignored);
  client::TempFile file;
  const bool is_list = bytes[0] % 2 == 1;
  if (is_list ? !WriteArchive(file.handle(), input) : !file.HoldText(input)) return 0;
  lseek(file.handle(), 0, SEEK_SET);
  const std::string device = Folder() + "/device";
  const client::RestoreReport report = client::RestoreDevice(file.handle(), device, {});
  const bool is_there = fs::exists(device);
  if (is_there != report.failure.empty()) abort();
  fs::remove_all(device);
  if (!fs::is_empty(Folder())) abort();
  return 0;
}
