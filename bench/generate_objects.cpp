// Writes the generated objects that are measured to the standard output, for profiles:
//
//   generate_objects cards|events|notes|messages COUNT
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "bench/support/mixed_objects.h"

namespace {

struct Kind {
  std::string_view name;
  std::string (*make)(int number, int count);
};

constexpr Kind kKinds[] = {{"cards", bench::MixedCard},
                           {"events", bench::MixedEvent},
                           {"notes", bench::MixedNote},
                           {"messages", bench::MixedMessage}};

}  // namespace

int main(int argc, char** argv) {
  const std::string_view name = argc == 3 ? argv[1] : "";
  const int count = argc == 3 ? std::atoi(argv[2]) : 0;
  for (const Kind& kind : kKinds) {
    if (kind.name != name) continue;
    for (int number = 0; number < count; ++number) std::cout << kind.make(number, count);
    return std::cout.flush() ? 0 : 1;
  }
  std::cerr << "usage: generate_objects cards|events|notes|messages COUNT\n";
  return 2;
}
