#include "client/private_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/device/device.h"

namespace client {
namespace {

mode_t g_user_mask = 022;

}  // namespace

void MakeFilesPrivate() { g_user_mask = umask(077); }

void TellIfOthersCanRead(Listener& listener) {
  const std::string folder = device::Folder();
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0 || (status.st_mode & (S_IRWXG | S_IRWXO)) == 0) return;
  // A file keeps in mind that it was told.
  const std::string mark = folder + "/Temp/others-can-read-told";
  const int handle = open(mark.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (handle < 0 && errno == EEXIST) return;
  if (handle >= 0) close(handle);
  listener.Note("others can look into the device's folder '" + folder +
                "'; \"chmod 700\" on it keeps them out");
}

mode_t UserMask() { return g_user_mask; }

}  // namespace client
