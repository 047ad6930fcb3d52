#include "client/build_info.h"

namespace client {

std::string VersionText(const std::string& program) {
  return program + " " + OSIF_VERSION + "\nbuilt with " + OSIF_BUILT_WITH;
}

}  // namespace client
