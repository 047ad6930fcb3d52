#include "tools/osif/peer_arguments.h"

#include <fstream>

namespace command {

std::optional<std::string> PasswordIn(const std::string& file, Reporter& reporter) {
  std::string password;
  if (file.empty()) return password;
  std::ifstream input(file);
  if (std::getline(input, password) && !password.empty()) return password;
  reporter.Fail(file + ": no password is in it", OSIF_ERR_FILE_OPEN);
  return std::nullopt;
}

}  // namespace command
