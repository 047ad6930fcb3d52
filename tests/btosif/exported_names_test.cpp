// The library exports its functions and nothing else, and its header asks for no more than C11.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/built_files.h"

namespace exported_names_test {
namespace {

std::string OutputOf(const std::string& command) {
  struct Close {
    void operator()(FILE* pipe) const { pclose(pipe); }
  };
  std::unique_ptr<FILE, Close> pipe(popen(command.c_str(), "r"));
  std::string output;
  char bytes[4096];
  while (pipe) {
    const size_t size = fread(bytes, 1, sizeof bytes, pipe.get());
    if (size == 0) break;
    output.append(bytes, size);
  }
  return output;
}

TEST(ExportedNames, AreExactlyThoseOfTheTwentyOneFunctions) {
  std::set<std::string> names;
  std::istringstream lines(OutputOf("nm -D --defined-only '" + support::kLibrary + "'"));
  for (std::string line; std::getline(lines, line);) {
    names.insert(line.substr(line.rfind(' ') + 1));
  }
  EXPECT_EQ(names, std::set<std::string>({
                       "OSIF_AddObject",
                       "OSIF_CL_Close",
                       "OSIF_CL_GetCurrentAnchor",
                       "OSIF_CL_GetDatabaseId",
                       "OSIF_CL_GetFirstEntry",
                       "OSIF_CL_GetNextEntry",
                       "OSIF_CL_Open",
                       "OSIF_Close",
                       "OSIF_CodeToString",
                       "OSIF_DeleteObject",
                       "OSIF_FindObject",
                       "OSIF_FreeObject",
                       "OSIF_GetFirstId",
                       "OSIF_GetNextId",
                       "OSIF_GetObjectById",
                       "OSIF_GetObjectCount",
                       "OSIF_GetObjectName",
                       "OSIF_ModifyObject",
                       "OSIF_Open",
                       "OSIF_ReadObjects",
                       "OSIF_WriteObject",
                   }));
}

// ---- The header -------------------------------------------------------------------------------------

class PublicHeader : public testing::TestWithParam<const char*> {};

TEST_P(PublicHeader, CompilesAsC11WithoutAWarning) {
  const std::string compiler = GetParam();
  if (OutputOf("command -v " + compiler).empty()) GTEST_SKIP() << compiler << " is not installed";
  EXPECT_EQ(OutputOf(compiler +
                     " -std=c11 -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror "
                     "-fsyntax-only -x c '" +
                     support::kSources + "/include/osif.h' 2>&1; echo $?"),
            "0\n");
}

INSTANTIATE_TEST_SUITE_P(With, PublicHeader, testing::Values("gcc", "clang"),
                         [](const auto& test) { return std::string(test.param); });

}  // namespace
}  // namespace exported_names_test
