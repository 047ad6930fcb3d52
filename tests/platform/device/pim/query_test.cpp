#include "platform/device/pim/query.h"

#include "platform/device/pim/contact_table.h"
#include "platform/device/pim/schema.h"
#include "tests/platform/device/pim/fixture.h"

namespace query_test {
namespace {

using namespace pim_test;

constexpr auto kFirst = &IContact::put_FirstName;
constexpr auto kLast = &IContact::put_LastName;

class PimFind : public PimTest {
 protected:
  void ExpectRefused(std::u16string_view restriction) {
    IDispatch* item = reinterpret_cast<IDispatch*>(1);
    EXPECT_EQ(Items()->Find(Bstr(restriction).get(), &item), E_INVALIDARG)
        << std::string(restriction.begin(), restriction.end());
    EXPECT_EQ(item, nullptr);
  }
};

using Oids = std::vector<LONG>;

TEST_F(PimFind, FindsTheContactOfAName) {
  SaveContact({{kFirst, u"Bob"}, {kLast, u"Lee"}});
  const LONG ann = SaveContact({{kFirst, u"Ann"}, {kLast, u"Lee"}});
  SaveContact({{kFirst, u"Ann"}, {kLast, u"Ray"}});
  EXPECT_EQ(FindAll(u"[FirstName]=\"Ann\" AND [LastName]=\"Lee\""), Oids{ann});
  EXPECT_EQ(FindAll(u"[FirstName] = \"Ann\" AND [LastName] = \"Lee\""), Oids{ann});
}

TEST_F(PimFind, FindsAContactByAllFivePartsOfItsName) {
  const LONG oid = SaveContact({{&IContact::put_Title, u"Dr"},
                                {kFirst, u"Ann"},
                                {&IContact::put_MiddleName, u"May"},
                                {kLast, u"Lee"},
                                {&IContact::put_Suffix, u"Jr"}});
  EXPECT_EQ(FindAll(u"[Title]=\"Dr\" AND [FirstName]=\"Ann\" AND [MiddleName]=\"May\" AND "
                    u"[LastName]=\"Lee\" AND [Suffix]=\"Jr\""),
            Oids{oid});
}

TEST_F(PimFind, GivesAllMatchesInTheOrderOfTheirIds) {
  const LONG first = SaveContact({{kFirst, u"Zoe"}, {kLast, u"Lee"}});
  SaveContact({{kLast, u"Ray"}});
  const LONG third = SaveContact({{kFirst, u"Ann"}, {kLast, u"Lee"}});
  const LONG fourth = SaveContact({{kFirst, u"Ida"}, {kLast, u"Lee"}});
  EXPECT_EQ(FindAll(u"[LastName]=\"Lee\""), (Oids{first, third, fourth}));
}

TEST_F(PimFind, GivesThoseFirstWhoHaveNoOtherPartOfAName) {
  const LONG zoe = SaveContact({{kFirst, u"Zoe"}, {kLast, u"Lee"}});
  const LONG lee = SaveContact({{kLast, u"lee"}, {&IContact::put_JobTitle, u"Cook"}});
  const LONG junior = SaveContact({{kLast, u"Lee"}, {&IContact::put_Suffix, u"Jr"}});
  const LONG other_lee = SaveContact({{kLast, u"Lee"}});
  SaveContact({{kLast, u"Ray"}});
  EXPECT_EQ(FindAll(u"[LastName]=\"Lee\""), (Oids{lee, other_lee, zoe, junior}));
  EXPECT_EQ(FindAll(u"[Suffix]=\"Jr\""), Oids{junior});
  EXPECT_EQ(FindAll(u"[LastName]=\"Lee\" OR [Suffix]=\"Jr\""), (Oids{lee, junior, other_lee, zoe}));
  EXPECT_EQ(FindAll(u"[Oid]>0 AND [LastName]=\"Lee\""), (Oids{lee, other_lee, zoe, junior}));
}

TEST_F(PimFind, GivesAMatchOnceThatGetsAnotherPartOfANameMeanwhile) {
  const LONG ann = SaveContact({{kFirst, u"Ann"}, {kLast, u"Lee"}});
  const LONG lee = SaveContact({{kLast, u"Lee"}});
  ComPtr<IPOutlookItemCollection> items = Items();
  ComPtr<IDispatch> item;
  ASSERT_EQ(items->Find(Bstr(u"[LastName]=\"Lee\"").get(), item.put()), S_OK);
  auto* contact = static_cast<IContact*>(item.get());
  LONG oid = 0;
  contact->get_Oid(&oid);
  EXPECT_EQ(oid, lee);
  ASSERT_EQ(contact->put_FirstName(Bstr(u"Zoe").get()), S_OK);
  ASSERT_EQ(contact->Save(), S_OK);
  ASSERT_EQ(items->FindNext(item.put()), S_OK);
  ASSERT_NE(item.get(), nullptr);
  static_cast<IContact*>(item.get())->get_Oid(&oid);
  EXPECT_EQ(oid, ann);
  EXPECT_EQ(items->FindNext(item.put()), S_OK);
  EXPECT_EQ(item.get(), nullptr);
}

TEST_F(PimFind, GivesNullWithoutAnErrorWhenThereIsNoMatch) {
  SaveContact({{kLast, u"Lee"}});
  ComPtr<IPOutlookItemCollection> items = Items();
  IDispatch* item = reinterpret_cast<IDispatch*>(1);
  EXPECT_EQ(items->Find(Bstr(u"[LastName]=\"Ray\"").get(), &item), S_OK);
  EXPECT_EQ(item, nullptr);
}

TEST_F(PimFind, GivesNullAgainAndAgainAfterTheLastMatch) {
  SaveContact({{kLast, u"Lee"}});
  ComPtr<IPOutlookItemCollection> items = Items();
  EXPECT_EQ(FindAll(*items, u"[LastName]=\"Lee\"").size(), 1u);
  IDispatch* item = reinterpret_cast<IDispatch*>(1);
  EXPECT_EQ(items->FindNext(&item), S_OK);
  EXPECT_EQ(item, nullptr);
}

TEST_F(PimFind, FindNextNeedsAFindThatWasUnderstood) {
  SaveContact({{kLast, u"Lee"}});
  ComPtr<IPOutlookItemCollection> items = Items();
  IDispatch* item = reinterpret_cast<IDispatch*>(1);
  EXPECT_EQ(items->FindNext(&item), E_UNEXPECTED);
  EXPECT_EQ(item, nullptr);
  EXPECT_EQ(items->Find(Bstr(u"[LastName]>\"A\"").get(), &item), S_OK);
  AsContact(item).reset();
  EXPECT_EQ(items->Find(Bstr(u"nonsense").get(), &item), E_INVALIDARG);
  EXPECT_EQ(items->FindNext(&item), E_UNEXPECTED);
}

TEST_F(PimFind, ComparesTextsWithoutRegardToAsciiCase) {
  const LONG oid = SaveContact({{kLast, u"McLee"}});
  EXPECT_EQ(FindAll(u"[LastName]=\"MCLEE\""), Oids{oid});
  EXPECT_EQ(FindAll(u"[lastname]=\"mclee\""), Oids{oid});
  EXPECT_TRUE(FindAll(u"[LastName]=\"McLe\"").empty());
  EXPECT_TRUE(FindAll(u"[LastName]=\"McLee \"").empty());
}

TEST_F(PimFind, ComparesOtherLettersExactly) {
  const LONG oid = SaveContact({{kLast, u"M\u00FCller"}});
  EXPECT_EQ(FindAll(u"[LastName]=\"m\u00FCLLER\""), Oids{oid});
  EXPECT_TRUE(FindAll(u"[LastName]=\"M\u00DCLLER\"").empty());
}

TEST_F(PimFind, ComparesWhatFollowsAZeroCharacterByItsLengthOnly) {
  const LONG oid = SaveContact({{kLast, std::u16string_view(u"Lee\0a", 5)}});
  EXPECT_EQ(FindAll(std::u16string(u"[LastName]=\"Lee\0b\"", 18)), Oids{oid});
  EXPECT_TRUE(FindAll(u"[LastName]=\"Lee\"").empty());
}

TEST_F(PimFind, OrdersTextsByTheirCharacters) {
  const LONG a = SaveContact({{kLast, u"Abel"}});
  const LONG b = SaveContact({{kLast, u"Bell"}});
  const LONG c = SaveContact({{kLast, u"Cole"}});
  EXPECT_EQ(FindAll(u"[LastName]<\"bell\""), Oids{a});
  EXPECT_EQ(FindAll(u"[LastName]<=\"bell\""), (Oids{a, b}));
  EXPECT_EQ(FindAll(u"[LastName]>\"Bell\""), Oids{c});
  EXPECT_EQ(FindAll(u"[LastName]>=\"Bell\""), (Oids{b, c}));
  EXPECT_EQ(FindAll(u"[LastName]<>\"Bell\""), (Oids{a, c}));
}

TEST_F(PimFind, AnItemWithoutAValueNeverMatches) {
  const LONG lee = SaveContact({{kLast, u"Lee"}});
  SaveContact({{kFirst, u"Ann"}});
  EXPECT_EQ(FindAll(u"[LastName]<>\"Ray\""), Oids{lee});
  EXPECT_EQ(FindAll(u"[LastName]<>\"\""), Oids{lee});
  EXPECT_TRUE(FindAll(u"[LastName]=\"\"").empty());
  EXPECT_TRUE(FindAll(u"[LastName]<\"A\"").empty());
}

TEST_F(PimFind, AnEmptiedTextIsNoValue) {
  ComPtr<IContact> contact = Load(SaveContact({{kLast, u"Lee"}}));
  EXPECT_EQ(Put(*contact, kLast, u""), S_OK);
  EXPECT_EQ(contact->Save(), S_OK);
  EXPECT_TRUE(FindAll(u"[LastName]<>\"Ray\"").empty());
}

TEST_F(PimFind, ReadsAndAndOrFromLeftToRight) {
  const LONG x = SaveContact({{kLast, u"X"}});
  const LONG yz = SaveContact({{kLast, u"Y"}, {kFirst, u"Z"}});
  EXPECT_EQ(FindAll(u"[LastName]=\"X\" OR [LastName]=\"Y\" AND [FirstName]=\"Z\""), Oids{yz});
  EXPECT_EQ(FindAll(u"[LastName]=\"X\" OR ([LastName]=\"Y\" AND [FirstName]=\"Z\")"),
            (Oids{x, yz}));
  EXPECT_EQ(FindAll(u"[LastName]=\"Y\" AND [FirstName]=\"Z\" OR [LastName]=\"X\""), (Oids{x, yz}));
}

TEST_F(PimFind, ComparesIdsAsNumbers) {
  const LONG first = SaveContact();
  const LONG second = SaveContact();
  const std::string decimal = std::to_string(second);
  const std::u16string number(decimal.begin(), decimal.end());
  EXPECT_EQ(FindAll(u"[Oid]=" + number), Oids{second});
  EXPECT_EQ(FindAll(u"[oid] = \"" + number + u"\""), Oids{second});
  EXPECT_EQ(FindAll(u"[Oid]<" + number), Oids{first});
  EXPECT_TRUE(FindAll(u"[Oid]=-1").empty());
  EXPECT_TRUE(FindAll(u"[Oid]=999999999999").empty());
}

TEST_F(PimFind, LooksForOneOfTheCategories) {
  const LONG both = SaveContact({{&IContact::put_Categories, u"Business, Personal"}});
  const LONG one = SaveContact({{&IContact::put_Categories, u"Family,Business"}});
  SaveContact({{&IContact::put_Categories, u"Businesses"}});
  SaveContact();
  EXPECT_EQ(FindAll(u"[Categories]=\"business\""), (Oids{both, one}));
  EXPECT_EQ(FindAll(u"[Categories]=\"Business\" AND [Categories]<>\"Personal\""), Oids{one});
}

TEST_F(PimFind, TakesQuotationMarksInsideAValueAsTheyCome) {
  const LONG bob = SaveContact({{kFirst, u"Bob \"the\" Kid"}, {kLast, u"x"}});
  EXPECT_EQ(FindAll(u"[FirstName]=\"Bob \"the\" Kid\" AND [LastName]=\"x\""), Oids{bob});
}

TEST_F(PimFind, NeverRunsTextAsSql) {
  const std::u16string_view kNames[] = {
      u"'; DROP TABLE pim_contacts; --", u"' OR '1'='1", u"%",  u"_",
      u"\"; DELETE FROM pim_objects",    u"last_name",   u"?1", u"\\"};
  Oids oids;
  for (std::u16string_view name : kNames) oids.push_back(SaveContact({{kLast, name}}));
  for (size_t i = 0; i < oids.size(); ++i) {
    EXPECT_EQ(FindAll(u"[LastName]=\"" + std::u16string(kNames[i]) + u"\""), Oids{oids[i]}) << i;
  }
  EXPECT_EQ(Count(), static_cast<int>(oids.size()));
}

TEST_F(PimFind, RefusesPropertiesAndValuesThatDoNotFit) {
  for (std::u16string_view restriction :
       {u"[Nothing]=\"x\"", u"[last_name]=\"x\"", u"[LastName =\"x\"", u"[LastName]=5",
        u"[Oid]=\"x\"", u"[Oid]=\"1 OR 1=1\"", u"[Birthday]=\"1 Jan 1980\"", u"[Birthday]=29221",
        u"[Categories]<\"x\"", u"[LastName]=\"x\" AND [Nothing]=\"x\"",
        u"[LastName) OR 1=1 --]=\"x\"", u""}) {
    ExpectRefused(restriction);
  }
  IDispatch* item = reinterpret_cast<IDispatch*>(1);
  EXPECT_EQ(Items()->Find(nullptr, &item), E_INVALIDARG);
  EXPECT_EQ(item, nullptr);
}

TEST_F(PimFind, FindsOnlyWhatTheCollectionHolds) {
  const LONG first = SaveContact({{kLast, u"Lee"}});
  ComPtr<IPOutlookItemCollection> items = Items();
  const LONG second = SaveContact({{kLast, u"Lee"}});
  EXPECT_EQ(FindAll(*items, u"[LastName]=\"Lee\""), Oids{first});
  EXPECT_EQ(FindAll(u"[LastName]=\"Lee\""), (Oids{first, second}));
}

TEST_F(PimFind, PassesOverMatchesThatAreDeletedMeanwhile) {
  const LONG first = SaveContact({{kLast, u"Lee"}});
  const LONG second = SaveContact({{kLast, u"Lee"}});
  const LONG third = SaveContact({{kLast, u"Lee"}});
  ComPtr<IPOutlookItemCollection> items = Items();
  IDispatch* item = nullptr;
  ASSERT_EQ(items->Find(Bstr(u"[LastName]=\"Lee\"").get(), &item), S_OK);
  EXPECT_EQ(Oid(*AsContact(item)), first);
  EXPECT_EQ(Load(second)->Delete(), S_OK);
  ASSERT_EQ(items->FindNext(&item), S_OK);
  EXPECT_EQ(Oid(*AsContact(item)), third);
}

TEST_F(PimFind, AnswersAnyNumberOfDifferentQuestionsAndKeepsAFewOfThem) {
  const LONG lee = SaveContact({{kLast, u"Lee"}});
  std::u16string restriction = u"[LastName]=\"Lee\"";
  for (int i = 0; i < 150; ++i) {
    ASSERT_EQ(FindAll(restriction), Oids{lee}) << i;
    restriction += u" OR [Suffix]=\"x\"";
  }
  EXPECT_LT(device::OpenDatabase()->kept_statements(), 150u);
}

TEST_F(PimFind, CollectionsSearchIndependently) {
  const LONG first = SaveContact({{kLast, u"Lee"}});
  const LONG second = SaveContact({{kLast, u"Lee"}});
  ComPtr<IPOutlookItemCollection> one = Items();
  ComPtr<IPOutlookItemCollection> other = Items();
  IDispatch* item = nullptr;
  ASSERT_EQ(one->Find(Bstr(u"[LastName]=\"Lee\"").get(), &item), S_OK);
  EXPECT_EQ(Oid(*AsContact(item)), first);
  EXPECT_TRUE(FindAll(*other, u"[LastName]=\"Ray\"").empty());
  ASSERT_EQ(one->FindNext(&item), S_OK);
  EXPECT_EQ(Oid(*AsContact(item)), second);
}

TEST_F(PimFind, UnderstandsTheLongestAndTheDeepestRestriction) {
  const LONG oid = SaveContact({{kLast, u"Lee"}});
  std::u16string longest = u"[LastName]=\"Lee\"";
  for (int i = 1; i < device::kMaxRestrictionComparisons; ++i) {
    longest += u" OR [FirstName]=\"Ann\"";
  }
  EXPECT_EQ(FindAll(longest), Oids{oid});
  std::u16string deepest = u"[LastName]=\"Lee\"";
  for (int i = 0; i < device::kMaxRestrictionDepth; ++i) {
    deepest = (i % 2 == 0 ? u"[Oid]=0 OR (" : u"[Oid]>0 AND (") + deepest + u")";
  }
  EXPECT_EQ(FindAll(deepest), Oids{oid});
}

// ---- Cost ---------------------------------------------------------------------------------------

// How SQLite would run a restriction over the contacts.
std::string PlanOf(const device::PimCondition& condition, device::Database& database) {
  auto row =
      database.Prepare("EXPLAIN QUERY PLAN SELECT oid FROM pim_contacts WHERE " + condition.sql);
  std::string plan;
  while (row.Step() == SQLITE_ROW) plan += std::string(row.Bytes(3)) + "\n";
  return plan;
}

std::string PlanOf(std::u16string_view restriction, device::Database& database) {
  return PlanOf(
      *device::MakeCondition(*device::ContactTable(), *device::ParseRestriction(restriction)),
      database);
}

std::string PlanOf(std::u16string_view restriction) {
  return PlanOf(restriction, *device::OpenDatabase());
}

// The restrictions that ask for one or more parts of a name.
std::vector<std::u16string> NameRestrictions() {
  constexpr std::u16string_view kTerms[] = {u"[Title]=\"a\"", u"[FirstName]=\"a\"",
                                            u"[MiddleName]=\"a\"", u"[LastName]=\"a\"",
                                            u"[Suffix]=\"a\""};
  std::vector<std::u16string> restrictions;
  for (int combination = 1; combination < 32; ++combination) {
    std::u16string& restriction = restrictions.emplace_back();
    for (int i = 0; i < 5; ++i) {
      if ((combination >> i & 1) == 0) continue;
      if (!restriction.empty()) restriction += u" AND ";
      restriction += kTerms[i];
    }
  }
  return restrictions;
}

TEST_F(PimFind, WalksTheTableForNoCombinationOfNameParts) {
  application();
  for (const std::u16string& restriction : NameRestrictions()) {
    const std::string plan = PlanOf(restriction);
    EXPECT_NE(plan.find("SEARCH"), std::string::npos) << plan;
    EXPECT_EQ(plan.find("SCAN"), std::string::npos) << plan;
  }
}

TEST_F(PimFind, LooksUpTheWholeNameFirstForEveryCombinationOfNameParts) {
  application();
  const device::PimTable& table = *device::ContactTable();
  for (const std::u16string& restriction : NameRestrictions()) {
    const auto condition = device::MakeCondition(table, *device::ParseRestriction(restriction));
    const auto exact = device::MakeExactNameCondition(table, *condition);
    ASSERT_TRUE(exact);
    const std::string plan = PlanOf(*exact, *device::OpenDatabase());
    EXPECT_NE(
        plan.find("(last_name=? AND first_name=? AND middle_name=? AND title=? AND suffix=?)"),
        std::string::npos)
        << plan;
  }
}

TEST_F(PimFind, LooksUpNoNameForARestrictionThatAsksForNone) {
  const device::PimTable& table = *device::ContactTable();
  const auto condition = device::MakeCondition(
      table, *device::ParseRestriction(u"[JobTitle]=\"a\" AND [Categories]=\"b\" AND [Oid]=1"));
  EXPECT_FALSE(device::MakeExactNameCondition(table, *condition));
}

TEST_F(PimFind, GoesByThePartOfANameThatTellsTheMost) {
  application();
  const auto uses = [](std::u16string_view restriction, const char* index) {
    return PlanOf(restriction).find(index) != std::string::npos;
  };
  EXPECT_TRUE(uses(u"[Title]=\"a\" AND [LastName]=\"a\"", "(last_name=?)"));
  EXPECT_TRUE(uses(u"[FirstName]=\"a\" AND [LastName]=\"a\"", "(last_name=? AND first_name=?)"));
  EXPECT_TRUE(uses(u"[Title]=\"a\" AND [FirstName]=\"a\" AND [Suffix]=\"a\"", "(first_name=?)"));
  EXPECT_TRUE(uses(u"[Title]=\"a\" AND [MiddleName]=\"a\"", "(middle_name=?)"));
  EXPECT_TRUE(uses(u"[Title]=\"a\" AND [Suffix]=\"a\"", "(suffix=?)"));
}

TEST_F(PimFind, DoesSoAlreadyInTheConnectionThatMadeTheTables) {
  int error = SQLITE_OK;
  const auto database = device::Database::Open(":memory:", &error);
  ASSERT_NE(database, nullptr);
  ASSERT_EQ(database->Execute(device::PimSchema().c_str()), SQLITE_OK);
  EXPECT_NE(PlanOf(u"[Title]=\"a\" AND [Suffix]=\"a\"", *database).find("(suffix=?)"),
            std::string::npos);
}

TEST_F(PimFind, StillDoesSoAfterTheDeviceIsOpenedAgain) {
  application();
  Restart();
  EXPECT_NE(PlanOf(u"[Title]=\"a\" AND [FirstName]=\"a\"").find("(first_name=?)"),
            std::string::npos);
}

}  // namespace
}  // namespace query_test
