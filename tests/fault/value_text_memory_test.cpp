// A value that is decoded while memory is short.
#include <gtest/gtest.h>

#include <string>

#include "btosif/osif_util/value_text.h"
#include "tests/support/failing_new.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"
#include "tests/support/values.h"

namespace value_text_memory_test {
namespace {

using support::Parsed;

class GetTextInShortMemory : public support::TextTest {};

TEST_F(GetTextInShortMemory, IsEmptyOrWholeWhicheverAllocationFailsAndSaysNothing) {
  support::TraceReceiver trace;
  std::string raw;
  for (int i = 0; i < 100; ++i) raw += "a=5C=3B=C3=A9";
  WideText whole;
  for (int i = 0; i < 100; ++i) whole += u"a;\u00E9";
  int nth = 1;
  for (bool has_failed = true; has_failed; ++nth) {
    const ValueList value = Parsed(raw, "CHARSET=UTF-8;QUOTED-PRINTABLE");
    WideText text = u"before";
    const int before = support::NewsMade();
    support::FailNew(nth);
    PropertyValue_GetText(value.get(), 0, text);
    support::FailNew(0);
    has_failed = support::NewsMade() - before >= nth;
    EXPECT_EQ(text, has_failed ? u"" : whole) << nth;
  }
  EXPECT_GT(nth, 3) << "nothing has failed";
  EXPECT_TRUE(trace.Lines().empty());
}

}  // namespace
}  // namespace value_text_memory_test
