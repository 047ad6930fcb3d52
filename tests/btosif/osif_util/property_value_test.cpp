#include "btosif/osif_util/property_value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/posix/fault_injection.h"
#include "tests/support/files.h"
#include "tests/support/values.h"

namespace property_value_test {
namespace {

using support::ComponentsOf;
using support::MakeValue;
using support::ParamsOf;
using support::Parsed;
using support::Repeated;
using testing::ElementsAre;

// ---- Lists ----

TEST(PropertyValue, AppendPutsANewClearedValueAtTheEndOfTheList) {
  PropertyValue* list = nullptr;
  PropertyValue* first = PropertyValue_Append(list);
  PropertyValue* second = PropertyValue_Append(list);
  ValueList owner(list);
  EXPECT_EQ(list, first);
  EXPECT_EQ(first->next, second);
  EXPECT_EQ(second->next, nullptr);
  EXPECT_EQ(second->flags, 0u);
  EXPECT_EQ(second->params, nullptr);
  EXPECT_EQ(second->components, nullptr);
  EXPECT_EQ(second->codePage, 0u);
}

TEST(PropertyValue, AppendBehindARememberedLastValueKeepsTheOrder) {
  PropertyValue* list = nullptr;
  PropertyValue* last = nullptr;
  PropertyValue* first = PropertyValue_Append(list, last);
  EXPECT_EQ(last, first);
  PropertyValue* second = PropertyValue_Append(list, last);
  EXPECT_EQ(last, second);
  ValueList owner(list);
  EXPECT_EQ(list, first);
  EXPECT_EQ(first->next, second);
}

TEST(PropertyValue, AppendFindsTheEndOfAListWhoseLastValueIsNotRemembered) {
  PropertyValue* list = nullptr;
  PropertyValue* first = PropertyValue_Append(list);
  PropertyValue* last = nullptr;
  PropertyValue* second = PropertyValue_Append(list, last);
  ValueList owner(list);
  EXPECT_EQ(first->next, second);
  EXPECT_EQ(last, second);
}

TEST(PropertyValue, AHundredThousandValuesAreAppendedAndReleased) {
  PropertyValue* list = nullptr;
  PropertyValue* last = nullptr;
  size_t count = 0;
  for (int i = 0; i < 100000; ++i) PropertyValue_AddParam(PropertyValue_Append(list, last), "HOME");
  for (const PropertyValue& value : Values(list)) count += value.params != nullptr;
  EXPECT_EQ(count, 100000u);
  PropertyValue_Free(list);
}

TEST(PropertyValue, AppendLeavesTheListAsItIsWhenMemoryIsShort) {
  PropertyValue* list = nullptr;
  PropertyValue* last = nullptr;
  const auto append_in_short_memory = [&] {
    FailAllocation(1);
    EXPECT_EQ(PropertyValue_Append(list, last), nullptr);
    EXPECT_FALSE(IsFailurePending());
  };
  append_in_short_memory();
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(last, nullptr);
  PropertyValue* first = PropertyValue_Append(list, last);
  append_in_short_memory();
  FailAllocation(1);
  PropertyValue_AppendLine("Lee;Ann", "HOME", 5, list, last);
  EXPECT_FALSE(IsFailurePending());
  EXPECT_EQ(list, first);
  EXPECT_EQ(last, first);
  EXPECT_EQ(first->next, nullptr);
  PropertyValue* second = PropertyValue_Append(list, last);
  ValueList owner(list);
  EXPECT_EQ(first->next, second);
}

TEST(PropertyValue, ReleasingNothingIsHarmless) { PropertyValue_Free(nullptr); }

TEST(PropertyValue, TheValuesOfAListAreVisitedInTheirOrder) {
  PropertyValue* list = nullptr;
  for (uint32_t page : {1u, 2u, 3u}) PropertyValue_Append(list)->codePage = page;
  ValueList owner(list);
  std::vector<uint32_t> pages;
  for (const PropertyValue& value : Values(list)) pages.push_back(value.codePage);
  EXPECT_THAT(pages, ElementsAre(1, 2, 3));
}

// ---- Components ----

TEST(PropertyValue, AComponentIsPutAtItsPositionAndTheOnesBeforeItAreMade) {
  ValueList value = MakeValue({}, {});
  PropertyValue_SetComponent(value.get(), CopyText("third"), 2);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("<null>", "<null>", "third"));
  for (const OsifText& node : Texts(value->components)) EXPECT_EQ(node.used, 1);
}

TEST(PropertyValue, AComponentReplacesTheOneAtItsPosition) {
  ValueList value = MakeValue({}, {"a", "b", "c"});
  PropertyValue_SetComponent(value.get(), CopyText("new"), 1);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("a", "new", "c"));
}

TEST(PropertyValue, AValueOwnsTheTextOfAComponent) {
  ValueList value = MakeValue({}, {});
  OwnedText text = CopyText("mine");
  const char* address = text.get();
  PropertyValue_SetComponent(value.get(), std::move(text), 0);
  EXPECT_EQ(value->components->text, address);
}

TEST(PropertyValue, NoTextChangesNothing) {
  ValueList value = MakeValue({}, {"a"});
  PropertyValue_SetComponent(value.get(), OwnedText(), 0);
  PropertyValue_SetComponent(value.get(), OwnedText(), 5);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("a"));
}

TEST(PropertyValue, NoValueTakesNoText) {
  PropertyValue_SetComponent(nullptr, CopyText("a"), 0);
  PropertyValue_AddParam(nullptr, CopyText("a"));
}

TEST(PropertyValue, ComponentTextGivesTheRawText) {
  ValueList value = MakeValue({}, {"a\\;b", ""});
  PropertyValue_SetComponent(value.get(), CopyText("d"), 3);
  EXPECT_EQ(ComponentText(value.get(), 0), "a\\;b");
  EXPECT_EQ(ComponentText(value.get(), 1), "");
  EXPECT_EQ(ComponentText(value.get(), 2), "");
  EXPECT_EQ(ComponentText(value.get(), 3), "d");
  EXPECT_EQ(ComponentText(value.get(), 4), "");
  EXPECT_EQ(ComponentText(nullptr, 0), "");
}

TEST(PropertyValue, HasTextLooksForAnyComponentThatIsNotEmpty) {
  EXPECT_TRUE(HasAnyText(MakeValue({}, {"", "", "x"}).get()));
  EXPECT_FALSE(HasAnyText(MakeValue({"HOME"}, {"", ""}).get()));
  EXPECT_FALSE(HasAnyText(MakeValue({}, {}).get()));
  EXPECT_FALSE(HasAnyText(nullptr));
}

// ---- Parameters ----

TEST(PropertyValue, ParametersAreAppendedInTheirOrder) {
  ValueList value = MakeValue({}, {});
  PropertyValue_AddParam(value.get(), "HOME");
  PropertyValue_AddParam(value.get(), CopyText("VOICE"));
  PropertyValue_AddParam(value.get(), "HOME");
  EXPECT_THAT(ParamsOf(*value), ElementsAre("HOME", "VOICE", "HOME"));
}

TEST(PropertyValue, AParameterIsCopiedOrTaken) {
  ValueList value = MakeValue({}, {});
  char copied[] = "HOME";
  PropertyValue_AddParam(value.get(), std::string_view(copied));
  std::strcpy(copied, "WORK");
  OwnedText taken = CopyText("CELL");
  const char* address = taken.get();
  PropertyValue_AddParam(value.get(), std::move(taken));
  EXPECT_STREQ(value->params->text, "HOME");
  EXPECT_EQ(value->params->next->text, address);
}

TEST(PropertyValue, FindParamGivesTheFirstParameterThatContainsTheWord) {
  ValueList value = MakeValue({"PREF", "TYPE=HOME", "HOME"}, {});
  EXPECT_STREQ(PropertyValue_FindParam(value->params, "HOME")->text, "TYPE=HOME");
}

TEST(PropertyValue, FindParamLooksAnywhereInTheTextAndInAnyCase) {
  ValueList value = MakeValue({"type=homeless"}, {});
  EXPECT_NE(PropertyValue_FindParam(value->params, "HOME"), nullptr);
}

TEST(PropertyValue, FindParamLeavesTheParameterAsItIs) {
  ValueList value = MakeValue({"home"}, {});
  PropertyValue_FindParam(value->params, "HOME");
  EXPECT_THAT(ParamsOf(*value), ElementsAre("home"));
}

TEST(PropertyValue, FindParamGivesNothingWhenNoneContainsTheWord) {
  ValueList value = MakeValue({"HOM", "E"}, {});
  EXPECT_EQ(PropertyValue_FindParam(value->params, "HOME"), nullptr);
  EXPECT_EQ(PropertyValue_FindParam(nullptr, "HOME"), nullptr);
}

TEST(PropertyValue, FindParamPassesOverANodeWithoutAText) {
  ValueList value = MakeValue({"A", "HOME"}, {});
  value->params->text = nullptr;
  EXPECT_STREQ(PropertyValue_FindParam(value->params, "HOME")->text, "HOME");
}

TEST(PropertyValue, NothingIsPutWhereMemoryIsShort) {
  const std::string long_text(1000, 'x');
  ValueList value = MakeValue({}, {"a"});
  FailAllocation(1);
  EXPECT_FALSE(PropertyValue_SetComponent(value.get(), long_text, 0));
  EXPECT_FALSE(IsFailurePending());
  FailAllocation(1);
  EXPECT_FALSE(PropertyValue_AddParam(value.get(), long_text));
  EXPECT_FALSE(IsFailurePending());
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("a"));
  EXPECT_EQ(value->params, nullptr);
  EXPECT_TRUE(PropertyValue_SetComponent(value.get(), long_text, 0));
  EXPECT_TRUE(PropertyValue_AddParam(value.get(), long_text));
}

TEST(PropertyValue, WhatWasReservedIsPutWithoutAnotherAllocation) {
  for (size_t size : {1u, 100u, 1000u, 100000u}) {
    ValueList value = MakeValue({}, {"a", "b"});
    ASSERT_TRUE(PropertyValue_Reserve(*value, 3 * (size + 1) + 2 * kPropertyNodeRoom));
    FailAllocation(1);
    for (size_t i = 0; i < 2; ++i) {
      EXPECT_TRUE(PropertyValue_SetComponent(value.get(), std::string(size, 'x'), i));
    }
    EXPECT_TRUE(PropertyValue_AddParam(value.get(), std::string(size, 'y')));
    EXPECT_TRUE(IsFailurePending());
    FailAllocation(0);
    FailAllocation(1);
    EXPECT_FALSE(PropertyValue_Reserve(*value, 1000000));
    FailAllocation(0);
  }
}

// ---- Values of callers ----

// As a C program allocates them, each by itself.
char* OwnText(const char* text) { return strdup(text); }
OsifText* OwnNode(const char* text) {
  auto* node = static_cast<OsifText*>(std::malloc(sizeof(OsifText)));
  *node = {nullptr, OwnText(text), 1};
  return node;
}
PropertyValue* OwnValue(const char* param, const char* component) {
  auto* value = static_cast<PropertyValue*>(std::malloc(sizeof(PropertyValue)));
  *value = {0, OwnNode(param), OwnNode(component), 0, nullptr};
  return value;
}

TEST(ValueOfACaller, IsReleasedWithItsNodesAndTexts) {
  PropertyValue* value = OwnValue("HOME", "1");
  value->components->next = OwnNode("2");
  value->next = OwnValue("WORK", "3");
  PropertyValue_Free(value);
}

TEST(ValueOfACaller, StandsAnywhereInAListOfTheLibrarys) {
  PropertyValue* list = OwnValue("HOME", "1");
  PropertyValue* last = nullptr;
  PropertyValue_AppendLine("2;3", "WORK", 2, list, last);
  last->next = OwnValue("CELL", "4");
  PropertyValue_Append(list);
  ValueList owner(list);
  std::vector<std::vector<std::string>> components;
  for (const PropertyValue& value : Values(list)) components.push_back(ComponentsOf(value));
  EXPECT_THAT(components, ElementsAre(ElementsAre("1"), ElementsAre("2", "3"), ElementsAre("4"),
                                      ElementsAre()));
}

TEST(ValueOfACaller, TakesWhatTheLibraryPutsIntoIt) {
  ValueList value(OwnValue("HOME", "1"));
  EXPECT_TRUE(PropertyValue_SetComponent(value.get(), "one", 0));
  EXPECT_TRUE(PropertyValue_SetComponent(value.get(), CopyText("three"), 2));
  EXPECT_TRUE(PropertyValue_AddParam(value.get(), "VOICE"));
  EXPECT_TRUE(PropertyValue_Reserve(*value, 1000));
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("one", "<null>", "three"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("HOME", "VOICE"));
  PropertyValue_Parse("a;b", "WORK", 2, *value);
  EXPECT_THAT(ComponentsOf(*value), ElementsAre("a", "b", "three"));
  EXPECT_THAT(ParamsOf(*value), ElementsAre("WORK"));
}

// What was there goes with the value, wherever it lay.
TEST(ValueOfACaller, MayReplaceTextsAndNodesOfTheLibrarys) {
  const std::string long_text(1000, 'x');
  ValueList line = Parsed("a;b", "HOME;WORK", 2);
  ValueList made = MakeValue({}, {});
  for (size_t i = 0; i < 50; ++i) PropertyValue_SetComponent(made.get(), long_text, i);
  PropertyValue_AddParam(made.get(), long_text);
  for (PropertyValue* value : {line.get(), made.get()}) {
    value->components->text = OwnText("c");
    value->components->next->text = nullptr;
    value->params = OwnNode("CELL");
    EXPECT_THAT(ParamsOf(*value), ElementsAre("CELL"));
  }
  EXPECT_THAT(ComponentsOf(*line), ElementsAre("c", "<null>"));
  made->components->next->next = OwnNode("last");
  EXPECT_THAT(ComponentsOf(*made), ElementsAre("c", "<null>", "last"));
}

TEST(ValueOfACaller, IsNotMistakenForOneOfTheLibrarysWhereverTheHeapPutsIt) {
  std::vector<ValueList> values;
  for (int i = 0; i < 1000; ++i) {
    values.emplace_back(OwnValue("HOME", std::string(static_cast<size_t>(i % 50), 'x').c_str()));
    values.push_back(MakeValue({"WORK"}, {"y"}));
  }
}

// ---- Parsing ----

TEST(PropertyValue, ANameOfTwoTextsAndThreeSeparatorsGivesFivePositionsThreeOfThemEmpty) {
  EXPECT_THAT(ComponentsOf(*Parsed("Lee;Ann;;;", "", 5)), ElementsAre("Lee", "Ann", "", "", ""));
}

TEST(PropertyValue, AValueWithOneSeparatorAsAOneComponentPropertyKeepsWhatStandsBeforeIt) {
  EXPECT_THAT(ComponentsOf(*Parsed("before;behind", "", 1)), ElementsAre("before"));
}

TEST(PropertyValue, PiecesBeyondTheNumberOfComponentsAreDropped) {
  EXPECT_THAT(ComponentsOf(*Parsed("a;b;c;d", "", 3)), ElementsAre("a", "b", "c"));
}

TEST(PropertyValue, FewerPiecesGiveFewerPositions) {
  EXPECT_THAT(ComponentsOf(*Parsed("a;b", "", 7)), ElementsAre("a", "b"));
}

TEST(PropertyValue, AnEmptyValueIsOneEmptyText) {
  EXPECT_THAT(ComponentsOf(*Parsed("", "", 5)), ElementsAre(""));
}

TEST(PropertyValue, ABackslashProtectsTheNextCharacterAndIsKept) {
  EXPECT_THAT(ComponentsOf(*Parsed("a\\;b;c", "", 5)), ElementsAre("a\\;b", "c"));
  EXPECT_THAT(ComponentsOf(*Parsed("a\\\\;b", "", 5)), ElementsAre("a\\\\", "b"));
  EXPECT_THAT(ComponentsOf(*Parsed("a\\\\\\;b", "", 5)), ElementsAre("a\\\\\\;b"));
}

TEST(PropertyValue, ABackslashAtTheEndProtectsNothing) {
  EXPECT_THAT(ComponentsOf(*Parsed("a;b\\", "", 5)), ElementsAre("a", "b\\"));
}

TEST(PropertyValue, ThreeParametersGiveThreeNodesAndTheirFlags) {
  ValueList value = Parsed("x", "TYPE=HOME;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8");
  EXPECT_THAT(ParamsOf(*value),
              ElementsAre("TYPE=HOME", "ENCODING=QUOTED-PRINTABLE", "CHARSET=UTF-8"));
  EXPECT_EQ(value->flags, 0x1u | 0x8u);
}

TEST(PropertyValue, AParameterWithAProtectedSeparatorStaysWhole) {
  EXPECT_THAT(ParamsOf(*Parsed("x", "A\\;B;C")), ElementsAre("A\\;B", "C"));
}

TEST(PropertyValue, AnEmptyParameterTextGivesNoParameter) {
  ValueList value = Parsed("x", "");
  EXPECT_EQ(value->params, nullptr);
  EXPECT_EQ(value->flags, 0u);
}

TEST(PropertyValue, PositionsAndParametersAreMarkedUsed) {
  ValueList value = Parsed("a;b", "HOME;CELL", 2);
  for (const OsifText& node : Texts(value->components)) EXPECT_EQ(node.used, 1);
  for (const OsifText& node : Texts(value->params)) EXPECT_EQ(node.used, 1);
}

TEST(PropertyValue, TextsStayEncoded) {
  EXPECT_THAT(ComponentsOf(*Parsed("J=C3=BCrgen", "QUOTED-PRINTABLE")), ElementsAre("J=C3=BCrgen"));
}

struct FlagCase {
  const char* params;
  uint32_t flags;
};

class ValueFlags : public testing::TestWithParam<FlagCase> {};

TEST_P(ValueFlags, FollowTheParameters) {
  EXPECT_EQ(Parsed("x", GetParam().params)->flags, GetParam().flags);
}

INSTANTIATE_TEST_SUITE_P(
    Params, ValueFlags,
    testing::Values(FlagCase{"HOME;VOICE", 0}, FlagCase{"QUOTED-PRINTABLE", 0x1},
                    FlagCase{"quoted-printable", 0x1}, FlagCase{"ENCODING=Quoted-Printable", 0x1},
                    FlagCase{"BASE64", 0x2}, FlagCase{"ENCODING=BASE64", 0x2},
                    FlagCase{"encoding=base64", 0x2}, FlagCase{"ENCODING=8BIT", 0x4},
                    FlagCase{"8bit", 0x4}, FlagCase{"CHARSET=ISO-8859-1", 0x8},
                    FlagCase{"charset=utf-8", 0x8},
                    FlagCase{"BASE64;QUOTED-PRINTABLE", 0x1},  // quoted-printable goes first
                    FlagCase{"8BIT;BASE64", 0x2}, FlagCase{"8BIT;QUOTED-PRINTABLE", 0x1},
                    FlagCase{"8BIT;CHARSET=UTF-8", 0x4 | 0x8}, FlagCase{"ENCODING=B", 0}));

TEST(PropertyValue, AParameterTextOfAMegabyteIsSplitWhole) {
  ValueList value = Parsed("x", Repeated("HOME;", 200000) + "CHARSET=UTF-8");
  EXPECT_EQ(ParamsOf(*value).size(), 200001u);
  EXPECT_EQ(value->flags, 0x8u);
}

TEST(PropertyValue, AMillionSeparatorsLeaveTheWantedPositions) {
  EXPECT_THAT(ComponentsOf(*Parsed(std::string(1000000, ';'), "", 5)),
              ElementsAre("", "", "", "", ""));
}

}  // namespace
}  // namespace property_value_test
