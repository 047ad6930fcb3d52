// Reading strict texts with the library, and real files of the corpus.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dialects/object_splitter.h"
#include "osif.h"
#include "tests/support/corpus.h"
#include "tests/support/files.h"

namespace strict_reading {

using UseRecord = std::function<void(OsifObject&)>;

// Has the library read a text, which has to be one object without anything that it does not understand.
inline void ReadOne(const std::string& text, const UseRecord& use) {
  const support::TempFile file(text);
  struct Context {
    const UseRecord& use;
    int count = 0;
    int worst = OSIF_PARSE_OK;
  } context{use};
  const auto lend = [](int32_t, OsifObject* object, OsifResult result, void* given) -> int32_t {
    auto& taken = *static_cast<Context*>(given);
    ++taken.count;
    taken.worst = std::max(taken.worst, static_cast<int>(result));
    taken.use(*object);
    return 0;
  };
  EXPECT_EQ(static_cast<int>(OSIF_ReadObjects(file.wide_path().c_str(), lend, &context)),
            static_cast<int>(OSIF_OK))
      << text;
  EXPECT_EQ(context.count, 1) << text;
  EXPECT_EQ(context.worst, static_cast<int>(OSIF_PARSE_OK)) << text;
}

// The objects of a real file.
inline std::vector<dialects::ObjectText> ObjectsOf(const std::filesystem::path& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             std::fclose);
  dialects::ObjectSplitter splitter(file.get());
  std::vector<dialects::ObjectText> objects;
  while (auto object = splitter.Next()) objects.push_back(*std::move(object));
  return objects;
}

// The paths of the corpus's files in a folder, in the order of their names.
inline std::vector<std::filesystem::path> CorpusFiles(const std::string& folder) {
  std::vector<std::filesystem::path> files;
  for (const auto& entry :
       std::filesystem::directory_iterator(support::CorpusFolder() + "/" + folder)) {
    files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

}  // namespace strict_reading
