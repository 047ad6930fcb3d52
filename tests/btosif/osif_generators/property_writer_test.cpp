#include "btosif/osif_generators/property_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "btosif/osif_util/value_text.h"
#include "platform/posix/fault_injection.h"
#include "tests/support/files.h"
#include "tests/support/text_test.h"
#include "tests/support/trace_receiver.h"
#include "tests/support/values.h"

namespace property_writer_test {
namespace {

using support::BytesWritten;
using support::MakeValue;
using support::OpenBytes;
using support::Repeated;
using support::TraceReceiver;
using testing::ElementsAre;

class PropertyWriter : public support::TextTest {};

std::string WrittenLine(std::string_view name, std::string_view params, std::string_view value) {
  return BytesWritten(
      [&](OsifStream& stream) { EXPECT_EQ(WritePropertyLine(stream, name, params, value), 0); });
}

std::string WrittenList(std::string_view name, PropertyValue* list, bool required = false) {
  return BytesWritten(
      [&](OsifStream& stream) { EXPECT_EQ(WritePropertyList(stream, name, list, required), 0); });
}

std::string WrittenSplit(std::string_view line) {
  return BytesWritten([&](OsifStream& stream) { EXPECT_EQ(WriteSplitLine(stream, line), 0); });
}

// ---- Single lines ----

TEST_F(PropertyWriter, ALineIsNameColonValue) {
  EXPECT_EQ(WrittenLine("BEGIN", "", "VCARD"), "BEGIN:VCARD\r\n");
}

TEST_F(PropertyWriter, ParametersStandBehindASemicolon) {
  EXPECT_EQ(WrittenLine("TEL", "HOME;VOICE", "1"), "TEL;HOME;VOICE:1\r\n");
}

TEST_F(PropertyWriter, AnEmptyValueLeavesTheColon) {
  EXPECT_EQ(WrittenLine("VERSION", "", ""), "VERSION:\r\n");
}

TEST_F(PropertyWriter, ASingleLineIsNotBroken) {
  EXPECT_EQ(WrittenLine("NOTE", "", "a=0Ab"), "NOTE:a=0Ab\r\n");
  std::string value(100000, 'x');
  EXPECT_EQ(WrittenLine("NOTE", "", value), "NOTE:" + value + "\r\n");
}

TEST_F(PropertyWriter, ALineThatCannotBeWrittenIsTold) {
  OsifStream read_only = OpenBytes("x");
  TraceReceiver trace;
  EXPECT_EQ(WritePropertyLine(read_only, "N", "", "x"), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to put vCard string to file"));
}

TEST_F(PropertyWriter, AFormatHasItsOwnWordsForALineThatCannotBeWritten) {
  OsifStream read_only = OpenBytes("x");
  TraceReceiver trace;
  WriterMessages messages{"no memory", "not written"};
  EXPECT_EQ(WritePropertyLine(read_only, "N", "", "x", messages), 1);
  EXPECT_THAT(trace.Lines(), ElementsAre("not written"));
}

TEST_F(PropertyWriter, MemoryShortageForALineIsTold) {
  support::TempFile file;
  OsifStream stream = support::Open(file.path(), u"w", LineEnd::kCrLf);
  TraceReceiver trace;
  FailAllocation(1);
  EXPECT_EQ(WritePropertyLine(stream, "N", "", "x"), 1);
  FailAllocation(0);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Insufficient memory to generate vCard string"));
}

// ---- Lists ----

TEST_F(PropertyWriter, AnEmptyListWritesNothing) { EXPECT_EQ(WrittenList("FN", nullptr), ""); }

TEST_F(PropertyWriter, AnEmptyListThatIsRequiredWritesTheBareLine) {
  EXPECT_EQ(WrittenList("N", nullptr, true), "N:\r\n");
}

TEST_F(PropertyWriter, EveryValueIsALineInItsOrder) {
  ValueList list = MakeValue({"HOME"}, {"1"});
  list->next = MakeValue({"CELL", "VOICE"}, {"2"}).release();
  list->next->next = MakeValue({}, {"3"}).release();
  EXPECT_EQ(WrittenList("TEL", list.get(), true), "TEL;HOME:1\r\nTEL;CELL;VOICE:2\r\nTEL:3\r\n");
}

TEST_F(PropertyWriter, ComponentsAreJoinedBySemicolons) {
  EXPECT_EQ(WrittenList("N", MakeValue({}, {"Lee", "Ann", "B"}).get()), "N:Lee;Ann;B\r\n");
}

TEST_F(PropertyWriter, AnAddressWhoseLastFourComponentsAreEmptyIsWrittenWithThree) {
  EXPECT_EQ(WrittenList("ADR", MakeValue({}, {"a", "b", "c", "", "", "", ""}).get()),
            "ADR:a;b;c\r\n");
}

TEST_F(PropertyWriter, EmptyComponentsBetweenFilledOnesAreKept) {
  EXPECT_EQ(WrittenList("ADR", MakeValue({}, {"", "", "street", "", "x", ""}).get()),
            "ADR:;;street;;x\r\n");
}

TEST_F(PropertyWriter, APositionWithoutATextIsAnEmptyOne) {
  ValueList value = MakeValue({}, {});
  PropertyValue_SetComponent(value.get(), CopyText("street"), 2);
  EXPECT_EQ(WrittenList("ADR", value.get()), "ADR:;;street\r\n");
}

TEST_F(PropertyWriter, AValueWithNoFilledComponentHasAnEmptyValue) {
  EXPECT_EQ(WrittenList("FN", MakeValue({"X"}, {"", ""}).get()), "FN;X:\r\n");
  EXPECT_EQ(WrittenList("FN", MakeValue({}, {}).get()), "FN:\r\n");
}

TEST_F(PropertyWriter, AParameterWithoutATextIsLeftOut) {
  ValueList value = MakeValue({"A", "B", "C"}, {"x"});
  OsifText* second = value->params->next;
  second->text = nullptr;
  EXPECT_EQ(WrittenList("TEL", value.get()), "TEL;A;C:x\r\n");
}

TEST_F(PropertyWriter, EscapesAndEncodedTextsGoOutAsTheyAre) {
  EXPECT_EQ(WrittenList("N", MakeValue({"QUOTED-PRINTABLE"}, {"a\\;b", "=C3=A9"}).get()),
            "N;QUOTED-PRINTABLE:a\\;b;=C3=A9\r\n");
}

TEST_F(PropertyWriter, ANoteOfThreeLinesIsWrittenAsThreePhysicalLines) {
  ValueList note = MakeValue({}, {});
  PropertyValue_SetText(u"one\r\ntwo\r\nthree", note.get(), kEncodeQuotedPrintable, 0);
  EXPECT_EQ(WrittenList("NOTE", note.get()),
            "NOTE;ENCODING=QUOTED-PRINTABLE:one=0D=0A=\r\n"
            "two=0D=0A=\r\n"
            "three\r\n");
}

TEST_F(PropertyWriter, AListThatCannotBeWrittenIsTold) {
  OsifStream read_only = OpenBytes("x");
  TraceReceiver trace;
  EXPECT_EQ(WritePropertyList(read_only, "N", MakeValue({}, {"x"}).get(), false), 1);
  EXPECT_THAT(trace.Lines(), testing::ElementsAre("OSIF:  Unable to put string to file"));
}

TEST_F(PropertyWriter, MemoryShortageForAValueIsTold) {
  support::TempFile file;
  OsifStream stream = support::Open(file.path(), u"w", LineEnd::kCrLf);
  ValueList value = MakeValue({}, {"x"});
  TraceReceiver trace;
  FailAllocation(1);
  EXPECT_EQ(WritePropertyList(stream, "N", value.get(), false), 1);
  FailAllocation(0);
  EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Insufficient memory to generate vCard string"));
}

// ---- Lines that are split ----

TEST_F(PropertyWriter, ALineWithoutLineFeedsIsWrittenWhole) {
  EXPECT_EQ(WrittenSplit("NOTE:abc=0D"), "NOTE:abc=0D\r\n");
  EXPECT_EQ(WrittenSplit(""), "\r\n");
}

TEST_F(PropertyWriter, ALineIsBrokenBehindEachEncodedLineFeed) {
  EXPECT_EQ(WrittenSplit("a=0Ab=0Ac"), "a=0A=\r\nb=0A=\r\nc\r\n");
  EXPECT_EQ(WrittenSplit("=0Aa"), "=0A=\r\na\r\n");
  EXPECT_EQ(WrittenSplit("a=0A=0Ab"), "a=0A=\r\n=0A=\r\nb\r\n");
}

TEST_F(PropertyWriter, AnEncodedLineFeedAtTheVeryEndBreaksNothing) {
  EXPECT_EQ(WrittenSplit("a=0A"), "a=0A\r\n");
  EXPECT_EQ(WrittenSplit("a=0A=0A"), "a=0A=\r\n=0A\r\n");
}

TEST_F(PropertyWriter, SmallDigitsAndOtherBytesBreakNothing) {
  EXPECT_EQ(WrittenSplit("a=0ab=0Bc=A0=0Dd"), "a=0ab=0Bc=A0=0Dd\r\n");
}

TEST_F(PropertyWriter, ThereIsNoFoldingByWidth) {
  std::string line(10000, 'x');
  EXPECT_EQ(WrittenSplit(line), line + "\r\n");
}

TEST_F(PropertyWriter, AHundredThousandLineFeedsAreBroken) {
  EXPECT_EQ(WrittenSplit(Repeated("a=0A", 100000) + "b"), Repeated("a=0A=\r\n", 100000) + "b\r\n");
}

TEST_F(PropertyWriter, ASplitLineThatCannotBeWrittenIsTold) {
  for (const char* line : {"abc", "a=0Ab"}) {
    OsifStream read_only = OpenBytes("x");
    TraceReceiver trace;
    EXPECT_EQ(WriteSplitLine(read_only, line), 1);
    EXPECT_THAT(trace.Lines(), ElementsAre("OSIF:  Unable to put string to file"));
  }
}

}  // namespace
}  // namespace property_writer_test
