// Object logs: any bytes are read without harm, the first line of an id counts, and what was read can be
// saved and read again.
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "BtOsif_pol/pol_snapshot.h"
#include "fuzz/fuzz_input.h"

namespace {

using Entries = std::vector<std::pair<uint32_t, uint32_t>>;

void Require(bool condition) {
  if (!condition) abort();
}

void PutLog(const std::string& folder, const uint8_t* bytes, size_t size) {
  FILE* log = std::fopen((folder + "/pol_pb_object.log").c_str(), "wb");
  Require(log != nullptr && std::fwrite(bytes, 1, size, log) == size);
  Require(std::fclose(log) == 0);
}

Entries EntriesOf(CPoomEntries& snapshot) {
  Entries entries;
  uint32_t id = 0;
  uint32_t checksum = 0;
  for (bool more = snapshot.first(&id, &checksum); more; more = snapshot.next(&id, &checksum)) {
    entries.emplace_back(id, checksum);
  }
  return entries;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  fuzz::UseOwnDevice();
  const std::string folder = getenv("OSIF_DEVICE");
  PutLog(folder, bytes, size);

  CPoomEntries snapshot;
  Require(snapshot.getFromFile(OSIF_STORE_PB, FromUtf8(folder)));
  const Entries entries = EntriesOf(snapshot);
  Require(entries.size() <= size / 2);
  for (const auto& [id, checksum] : entries) {
    uint32_t found = 0;
    Require(snapshot.find(id, &found));
  }
  Require(snapshot.saveToFile(OSIF_STORE_PB, FromUtf8(folder)));
  Require(snapshot.getFromFile(OSIF_STORE_PB, FromUtf8(folder)));
  Require(EntriesOf(snapshot) == entries);
  return 0;
}
