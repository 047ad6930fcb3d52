#include "platform/device/pim/restriction.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <string>

#include "tests/support/time_limit.h"

namespace restriction_test {
namespace {

using device::Comparison;
using device::kMaxRestrictionComparisons;
using device::kMaxRestrictionDepth;
using device::ParseDecimal;
using device::ParseRestriction;
using device::Restriction;

// The tree as text: comparisons as property, operator and value (texts in '...'), groups in braces.
std::string Describe(const Restriction& node) {
  static constexpr const char* kOperators[] = {"=", "<>", "<", "<=", ">", ">="};
  if (node.kind == Restriction::Kind::kComparison) {
    const Comparison& comparison = node.comparison;
    std::string text(comparison.property.begin(), comparison.property.end());
    text += kOperators[static_cast<int>(comparison.comparison_operator)];
    if (const auto* number = std::get_if<int64_t>(&comparison.value)) {
      return text + std::to_string(*number);
    }
    const auto& value = std::get<std::u16string>(comparison.value);
    return text + "'" + std::string(value.begin(), value.end()) + "'";
  }
  std::string text = node.kind == Restriction::Kind::kAll ? "all{" : "any{";
  for (const Restriction& part : node.parts) {
    if (text.back() != '{') text += ", ";
    text += Describe(part);
  }
  return text + "}";
}

std::string Parse(std::u16string_view text) {
  const std::optional<Restriction> restriction = ParseRestriction(text);
  return restriction ? Describe(*restriction) : "malformed";
}

struct Reading {
  std::u16string_view text;
  std::string_view tree;
};

class ReadsRestriction : public testing::TestWithParam<Reading> {};

TEST_P(ReadsRestriction, AsItsTree) { EXPECT_EQ(Parse(GetParam().text), GetParam().tree); }

INSTANTIATE_TEST_SUITE_P(Comparisons, ReadsRestriction,
                         testing::ValuesIn<Reading>({
                             {u"[LastName]=\"Lee\"", "LastName='Lee'"},
                             {u"[LastName] = \"Lee\"", "LastName='Lee'"},
                             {u"\t [ LastName ]\r\n=\t\"Lee\" ", "LastName='Lee'"},
                             {u"[LastName]<>\"Lee\"", "LastName<>'Lee'"},
                             {u"[LastName] < \"Lee\"", "LastName<'Lee'"},
                             {u"[LastName]<=\"Lee\"", "LastName<='Lee'"},
                             {u"[LastName]>\"Lee\"", "LastName>'Lee'"},
                             {u"[LastName]>=\"Lee\"", "LastName>='Lee'"},
                             {u"[LastName]=\"\"", "LastName=''"},
                             {u"[Oid]=17", "Oid=17"},
                             {u"[Oid] = -17", "Oid=-17"},
                             {u"[Oid]>=+5 ", "Oid>=5"},
                         }));

INSTANTIATE_TEST_SUITE_P(
    Groups, ReadsRestriction,
    testing::ValuesIn<Reading>({
        {u"[FirstName]=\"Ann\" AND [LastName]=\"Lee\"", "all{FirstName='Ann', LastName='Lee'}"},
        {u"[A]=\"1\" and [B]=\"2\" And [C]=\"3\"", "all{A='1', B='2', C='3'}"},
        {u"[A]=\"1\" or [B]=\"2\" OR [C]=\"3\"", "any{A='1', B='2', C='3'}"},
        {u"[A]=1AND[B]=2", "all{A=1, B=2}"},
        {u"[A]=\"1\"OR[B]=\"2\"", "any{A='1', B='2'}"},
        {u"([A]=1)", "A=1"},
        {u"(([A]=\"1\"))", "A='1'"},
        {u"([A]=\"1\" OR [B]=\"2\") AND [C]=\"3\"", "all{any{A='1', B='2'}, C='3'}"},
        {u"[A]=\"1\" AND ( [B]=\"2\" OR [C]=\"3\" ) ", "all{A='1', any{B='2', C='3'}}"},
        {u"([A]=\"1\" AND ([B]=\"2\" OR [C]=\"3\"))", "all{A='1', any{B='2', C='3'}}"},
    }));

INSTANTIATE_TEST_SUITE_P(FromLeftToRight, ReadsRestriction,
                         testing::ValuesIn<Reading>({
                             {u"[A]=1 OR [B]=2 AND [C]=3", "all{any{A=1, B=2}, C=3}"},
                             {u"[A]=1 AND [B]=2 OR [C]=3", "any{all{A=1, B=2}, C=3}"},
                             {u"[A]=1 OR [B]=2 AND [C]=3 OR [D]=4",
                              "any{all{any{A=1, B=2}, C=3}, D=4}"},
                         }));

INSTANTIATE_TEST_SUITE_P(
    QuotationMarksInside, ReadsRestriction,
    testing::ValuesIn<Reading>({
        {u"[FirstName]=\"Bob \"the\" Kid\" AND [LastName]=\"x\"",
         "all{FirstName='Bob \"the\" Kid', LastName='x'}"},
        {u"[FirstName]=\"\"\"", "FirstName='\"'"},
        {u"[FirstName]=\"Kid\"\" AND [LastName]=\"x\"", "all{FirstName='Kid\"', LastName='x'}"},
        {u"[FirstName]=\"6\" and a half\"", "FirstName='6\" and a half'"},
        {u"[FirstName]=\"a\" OR b\" OR [B]=\"c\"", "any{FirstName='a\" OR b', B='c'}"},
        {u"[FirstName]=\"Bob (the \"Kid\") Ray\"", "FirstName='Bob (the \"Kid\") Ray'"},
        {u"([FirstName]=\"Bob (the \"Kid\") Ray\")", "FirstName='Bob (the \"Kid\") Ray'"},
        {u"[A]=\"a ] [ ( ) = ' b\"", "A='a ] [ ( ) = ' b'"},
        {u"[A]=\"x AND [B]=3\"", "A='x AND [B]=3'"},
        {u"[A]=\"\"x\" AND [y\" AND [B]=\"z\"", "all{A='\"x\" AND [y', B='z'}"},
        {u"[A]=\"x\" OR [y [z]=\"", "A='x\" OR [y [z]='"},
        {u"[A]=\"x\" AND [y] too\" OR [B]=\"z\"", "any{A='x\" AND [y] too', B='z'}"},
        {u"[A]=\"x\" AND [y\"", "A='x\" AND [y'"},
        {u"[A]=\"x\" AND [ B ] >= \"y\"", "all{A='x', B>='y'}"},
    }));

INSTANTIATE_TEST_SUITE_P(Malformed, ReadsRestriction,
                         testing::ValuesIn<Reading>({
                             {u"", "malformed"},
                             {u"   ", "malformed"},
                             {u"LastName=\"Lee\"", "malformed"},
                             {u"[LastName=\"Lee\"", "malformed"},
                             {u"[]=\"Lee\"", "malformed"},
                             {u"[ ]=\"Lee\"", "malformed"},
                             {u"[LastName]", "malformed"},
                             {u"[LastName]=", "malformed"},
                             {u"[LastName]\"Lee\"", "malformed"},
                             {u"[LastName]==\"Lee\"", "malformed"},
                             {u"[LastName]!=\"Lee\"", "malformed"},
                             {u"[LastName]=\"Lee", "malformed"},
                             {u"[LastName]=\"", "malformed"},
                             {u"[LastName]=Lee", "malformed"},
                             {u"[LastName]='Lee'", "malformed"},
                             {u"[LastName]=\"Lee\" x", "malformed"},
                             {u"[LastName]=\"Lee\" AND", "malformed"},
                             {u"[LastName]=\"Lee\" AND AND [B]=1", "malformed"},
                             {u"AND [LastName]=\"Lee\"", "malformed"},
                             {u"[A]=1 [B]=2", "malformed"},
                             {u"[A]=1 XOR [B]=2", "malformed"},
                             {u"NOT [A]=1", "malformed"},
                             {u"()", "malformed"},
                             {u"([A]=1", "malformed"},
                             {u"[A]=1)", "malformed"},
                             {u"[A]=1.5", "malformed"},
                             {u"[A]=-", "malformed"},
                             {u"[A]=99999999999999999999", "malformed"},
                         }));

std::u16string Repeat(std::u16string_view text, int count) {
  std::u16string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

TEST(ParseRestriction, TakesParenthesesUpToTheLimitAndNoDeeper) {
  const auto nested = [](int depth) {
    return Repeat(u"(", depth) + u"[A]=1" + Repeat(u")", depth);
  };
  EXPECT_EQ(Parse(nested(kMaxRestrictionDepth)), "A=1");
  EXPECT_EQ(Parse(nested(kMaxRestrictionDepth + 1)), "malformed");
  EXPECT_EQ(Parse(Repeat(u"(", 1000000)), "malformed");
}

TEST(ParseRestriction, CountsOpenParenthesesAndNotAllOfThem) {
  const std::u16string text = u"([A]=1)" + Repeat(u" AND ([A]=1)", kMaxRestrictionDepth + 10);
  EXPECT_NE(Parse(text), "malformed");
}

TEST(ParseRestriction, TakesChangesBetweenAndAndOrUpToTheLimitAndNoMore) {
  std::u16string text = u"[A]=1";
  for (int i = 0; i < kMaxRestrictionDepth; ++i) text += i % 2 == 0 ? u" AND [A]=1" : u" OR [A]=1";
  ASSERT_TRUE(ParseRestriction(text));
  EXPECT_EQ(ParseRestriction(text)->depth, kMaxRestrictionDepth);
  EXPECT_FALSE(ParseRestriction(text + u" AND [A]=1"));
}

TEST(ParseRestriction, AddsTheLevelsInsideParenthesesToThoseOutside) {
  const auto nested = [](int count) {  // two levels for each pair of parentheses
    return Repeat(u"[A]=1 AND (", count) + u"[A]=1" + Repeat(u") OR [A]=1", count);
  };
  ASSERT_TRUE(ParseRestriction(nested(kMaxRestrictionDepth / 2)));
  EXPECT_EQ(ParseRestriction(nested(kMaxRestrictionDepth / 2))->depth, kMaxRestrictionDepth);
  EXPECT_FALSE(ParseRestriction(nested(kMaxRestrictionDepth / 2 + 1)));
}

TEST(ParseRestriction, TakesComparisonsUpToTheLimitAndNoMore) {
  const std::u16string text = u"[A]=1" + Repeat(u" AND [A]=1", kMaxRestrictionComparisons - 1);
  ASSERT_TRUE(ParseRestriction(text));
  EXPECT_EQ(ParseRestriction(text)->parts.size(), static_cast<size_t>(kMaxRestrictionComparisons));
  EXPECT_FALSE(ParseRestriction(text + u" AND [A]=1"));
}

TEST(ParseRestriction, KeepsZeroCharactersAndUnpairedSurrogatesOfAText) {
  const std::u16string value = {u'a', 0, 0xD800, u'b'};
  const auto restriction = ParseRestriction(u"[A]=\"" + value + u"\"");
  ASSERT_TRUE(restriction);
  EXPECT_EQ(std::get<std::u16string>(restriction->comparison.value), value);
}

// What would take minutes if every quotation mark looked through the rest of the text.
TEST(ParseRestriction, ReadsAMillionQuotationMarksInTimeInProportion) {
  const auto start = std::chrono::steady_clock::now();
  for (std::u16string_view piece : {u"\"", u"\" ", u"\" AND ", u"\")", u"[A]=\"", u"\" OR [\""}) {
    ParseRestriction(u"([A]=\"" + Repeat(piece, 1000000) + u"x");
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, support::TimeLimit(20));
}

TEST(ParseDecimal, ReadsWholeNumbersOnly) {
  EXPECT_EQ(ParseDecimal(u"0"), 0);
  EXPECT_EQ(ParseDecimal(u"-2147483648"), -2147483648LL);
  EXPECT_EQ(ParseDecimal(u"+7"), 7);
  EXPECT_EQ(ParseDecimal(u"1000000000000000000"), 1000000000000000000);
  EXPECT_EQ(ParseDecimal(u""), std::nullopt);
  EXPECT_EQ(ParseDecimal(u"+"), std::nullopt);
  EXPECT_EQ(ParseDecimal(u"1 "), std::nullopt);
  EXPECT_EQ(ParseDecimal(u"--1"), std::nullopt);
  EXPECT_EQ(ParseDecimal(u"0x1F"), std::nullopt);
  EXPECT_EQ(ParseDecimal(u"92233720368547758070"), std::nullopt);
}

}  // namespace
}  // namespace restriction_test
