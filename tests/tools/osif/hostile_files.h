// Files that hold nothing that could be stored: cut off, binary, or far longer and deeper than any device
// writes.
#pragma once

#include <string>
#include <vector>

#include "tests/tools/osif/command_fixture.h"

namespace command_test {

struct HostileFile {
  const char* name;
  std::string bytes;
  const char* reason;  // what is said of it
};

// The name of a test with a hostile file.
inline std::string NameOfHostile(const testing::TestParamInfo<HostileFile>& row) {
  return row.param.name;
}

// What is said of a file without an object, of one whose only object is cut off, and of another that is
// refused.
inline constexpr char kNoObject[] = "The stream of data does not contain a valid object (code 8)";
inline constexpr char kNoEnd[] =
    "object 1 (line 1) was refused; it has no END: Parsing error (code 20)";
inline constexpr char kRefused[] = "object 1 (line 1) was refused: Parsing error (code 20)";

// A test of a store with a hostile file as its parameter; `Fixture` is that of the store's other tests.
template <typename Fixture>
class HostileTest : public Fixture, public testing::WithParamInterface<HostileFile> {
 protected:
  // Expects that each subcommand that reads files names the file and says why it is none.
  void ExpectRefused() const {
    const HostileFile& hostile = this->GetParam();
    const std::string file = this->Write("hostile", hostile.bytes);
    for (const Lines& arguments : std::vector<Lines>{{"receive", "--strict", file},
                                                     {"receive", "--strict", "--each", file},
                                                     {"find", "--strict", file},
                                                     {"parse", "--strict", file}}) {
      const Outcome outcome = this->Osif(arguments);
      EXPECT_EQ(outcome.status, 1) << arguments[0];
      EXPECT_THAT(outcome.err, testing::HasSubstr("osif: " + file + ": ")) << arguments[0];
      EXPECT_THAT(outcome.err, testing::HasSubstr(hostile.reason)) << arguments[0];
    }
  }
};

}  // namespace command_test
