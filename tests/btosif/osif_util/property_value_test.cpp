#include "btosif/osif_util/property_value.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/support/files.h"
#include "tests/support/values.h"

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
