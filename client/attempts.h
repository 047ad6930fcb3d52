// What is tried again when another program comes in between.
#pragma once

#include "osif.h"

namespace client {

// Another program may delete an item while the store is read for its change log: the opening then answers
// OSIF_ERR_PIM, and a store that holds still for a moment can be read.
inline constexpr int kOpeningAttempts = 3;

// Opens a change log, once more as long as that is what it answers; gives the last answer.
template <typename Open>
OsifResult OpenAmongOthers(Open open) {
  OsifResult result = OSIF_ERR_PIM;
  for (int attempt = 0; attempt < kOpeningAttempts && result == OSIF_ERR_PIM; ++attempt) {
    result = open();
  }
  return result;
}

}  // namespace client
