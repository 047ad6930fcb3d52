#include "platform/api/automation.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/api/bstr.h"
#include "platform/api/com_ptr.h"
#include "platform/posix/class_table.h"
#include "platform/posix/fault_injection.h"

namespace automation_test {
namespace {

// ---- Strings -----------------------------------------------------------------------------------

TEST(AutomationString, HoldsItsLengthInBytesBeforeItsCharacters) {
  const Bstr string(u"abc");
  uint32_t bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(string.get()) - 4, 4);
  EXPECT_EQ(bytes, 6u);
  EXPECT_EQ(string.get()[3], 0);
}

TEST(AutomationString, CopiesAZeroTerminatedText) {
  const BSTR string = SysAllocString(u"M\u00FCller");
  EXPECT_EQ(std::u16string(string), u"M\u00FCller");
  EXPECT_EQ(SysStringLen(string), 6u);
  SysFreeString(string);
}

TEST(AutomationString, MayHoldZeroCharacters) {
  const BSTR string = SysAllocStringLen(u"a\0b", 3);
  EXPECT_EQ(SysStringLen(string), 3u);
  EXPECT_EQ(string[2], u'b');
  SysFreeString(string);
}

TEST(AutomationString, AnEmptyTextIsAStringOfNoCharacters) {
  const BSTR string = SysAllocString(u"");
  ASSERT_NE(string, nullptr);
  EXPECT_EQ(SysStringLen(string), 0u);
  EXPECT_EQ(string[0], 0);
  SysFreeString(string);
}

TEST(AutomationString, NullIsAnEmptyString) {
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  SysFreeString(nullptr);
}

TEST(AutomationString, WithoutATextHasRoomForItsLength) {
  const BSTR string = SysAllocStringLen(nullptr, 2);
  ASSERT_NE(string, nullptr);
  EXPECT_EQ(SysStringLen(string), 2u);
  EXPECT_EQ(string[2], 0);
  SysFreeString(string);
}

TEST(AutomationString, AnImpossibleLengthGivesNull) {
  EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);
  EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFFu), nullptr);
}

TEST(AutomationString, IsNullWhenMemoryIsShort) {
  FailAllocation(1);
  EXPECT_EQ(SysAllocString(u"text"), nullptr);
}

TEST(BstrOwner, ShowsItsText) {
  const Bstr string(std::u16string_view(u"a\0b", 3));
  EXPECT_EQ(string.view(), std::u16string_view(u"a\0b", 3));
  EXPECT_EQ(string.size(), 3u);
  EXPECT_EQ(string.length(), 3u);
  EXPECT_FALSE(string.empty());
}

TEST(BstrOwner, WithoutAStringIsEmpty) {
  const Bstr string;
  EXPECT_EQ(string.get(), nullptr);
  EXPECT_EQ(string.view(), u"");
  EXPECT_TRUE(string.empty());
  EXPECT_FALSE(string);
}

TEST(BstrOwner, TakesAStringFromAnOutParameterAndLetsGoOfTheOld) {
  Bstr string(u"old");
  *string.put() = SysAllocString(u"new");
  EXPECT_EQ(string.view(), u"new");
}

TEST(BstrOwner, MovingHandsTheStringOver) {
  Bstr first(u"text");
  Bstr second(std::move(first));
  EXPECT_EQ(second.view(), u"text");
  Bstr third(u"old");
  third = std::move(second);
  EXPECT_EQ(third.view(), u"text");
  const BSTR released = third.release();
  EXPECT_FALSE(third);
  SysFreeString(released);
}

// ---- Objects -----------------------------------------------------------------------------------

struct Counted final : IUnknown {
  HRESULT QueryInterface(REFIID iid, void** object) override {
    *object = iid == IID_IUnknown ? this : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return ++references; }
  ULONG Release() override { return --references; }

  ULONG references = 1;
};

TEST(ComPointer, ReleasesItsReferenceAtItsEnd) {
  Counted object;
  {
    const ComPtr<Counted> pointer(&object);
    EXPECT_EQ(object.references, 1u);
  }
  EXPECT_EQ(object.references, 0u);
}

TEST(ComPointer, CopiesHoldAReferenceEach) {
  Counted object;
  ComPtr<Counted> first(&object);
  {
    const ComPtr<Counted> second = first;
    EXPECT_EQ(object.references, 2u);
    EXPECT_EQ(second.get(), &object);
  }
  EXPECT_EQ(object.references, 1u);
  const ComPtr<Counted>& same = first;
  first = same;
  EXPECT_EQ(object.references, 1u);
}

TEST(ComPointer, MovingHandsTheReferenceOver) {
  Counted object;
  ComPtr<Counted> first(&object);
  ComPtr<Counted> second(std::move(first));
  EXPECT_EQ(object.references, 1u);
  EXPECT_TRUE(second);
  ComPtr<Counted> third;
  third = std::move(second);
  EXPECT_EQ(object.references, 1u);
}

TEST(ComPointer, PutLetsGoOfTheOldObject) {
  Counted old;
  Counted object;
  ComPtr<Counted> pointer(&old);
  *pointer.put() = &object;
  EXPECT_EQ(old.references, 0u);
  EXPECT_EQ(object.references, 1u);
}

TEST(ComPointer, ReleaseGivesTheReferenceAway) {
  Counted object;
  ComPtr<Counted> pointer(&object);
  EXPECT_EQ(pointer.release(), &object);
  EXPECT_FALSE(pointer);
  EXPECT_EQ(object.references, 1u);
}

// ---- Classes -----------------------------------------------------------------------------------

constexpr CLSID kTestClass = {0x12345678, 1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
constexpr CLSID kPimApplication = {
    0x05058F23, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};

Counted* created = nullptr;

HRESULT CreateCounted(REFIID iid, void** object) {
  const HRESULT result = created->QueryInterface(iid, object);
  return result;
}

// Puts a factory in place for one test.
class TestClass {
 public:
  explicit TestClass(REFCLSID class_id)
      : class_id_(class_id), old_(SetClassFactory(class_id, CreateCounted)) {
    created = &object_;
  }
  ~TestClass() { SetClassFactory(class_id_, old_); }

  ClassFactory old() const { return old_; }
  Counted& object() { return object_; }

 private:
  CLSID class_id_;
  ClassFactory old_;
  Counted object_;
};

TEST(CreateInstance, GivesTheInterfaceOfAKnownClass) {
  TestClass test_class(kTestClass);
  ComPtr<IUnknown> pointer;
  EXPECT_EQ(
      CoCreateInstance(kTestClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, pointer.put_void()),
      S_OK);
  EXPECT_EQ(pointer.get(), &test_class.object());
  EXPECT_EQ(test_class.object().references, 2u);
}

TEST(CreateInstance, GivesNullForAnInterfaceThatTheClassLacks) {
  TestClass test_class(kTestClass);
  void* object = &test_class;
  EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &object),
            E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
}

TEST(CreateInstance, RefusesAnUnknownClass) {
  void* object = &object;
  EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object),
            REGDB_E_CLASSNOTREG);
  EXPECT_EQ(object, nullptr);
}

TEST(CreateInstance, RefusesAnOuterObjectAndOtherContexts) {
  TestClass test_class(kTestClass);
  void* object = nullptr;
  EXPECT_EQ(CoCreateInstance(kTestClass, &test_class.object(), CLSCTX_INPROC_SERVER, IID_IUnknown,
                             &object),
            CLASS_E_NOAGGREGATION);
  EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, 4, IID_IUnknown, &object), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(CoCreateInstance(kTestClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, nullptr),
            E_POINTER);
}

TEST(CreateInstance, KnowsThePimApplicationFromTheStart) {
  const TestClass test_class(kPimApplication);
  EXPECT_NE(test_class.old(), nullptr);
}

TEST(CreateInstance, AFactoryCanBePutBack) {
  const ClassFactory before = SetClassFactory(kPimApplication, CreateCounted);
  EXPECT_EQ(SetClassFactory(kPimApplication, before), CreateCounted);
  EXPECT_EQ(SetClassFactory(kPimApplication, before), before);
}

}  // namespace
}  // namespace automation_test
