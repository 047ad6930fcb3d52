// Real files of real devices and programs, where a folder of them is at hand. Its tests are skipped without
// it:
//
//   if (support::CorpusFolder().empty()) GTEST_SKIP() << support::kNoCorpus;
#pragma once

#include <cstdlib>
#include <string>

namespace support {

inline constexpr char kNoCorpus[] = "OSIF_CORPUS names no folder of real files";

// The folder that OSIF_CORPUS names; empty when it names none.
inline std::string CorpusFolder() {
  const char* folder = std::getenv("OSIF_CORPUS");
  return folder == nullptr ? "" : folder;
}

}  // namespace support
