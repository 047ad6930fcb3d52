#include "config/registry_record.h"

#include <string>
#include <vector>

#include "tests/support/registry_values.h"
#include "tests/support/temp_device.h"

namespace registry_record_test {
namespace {

using support::CreateKey;
using support::Get;

// Notes what it is asked to do.
class NotingRecord : public RegistryKeyRecord {
 public:
  LONG readValues(HKEY key) override {
    read_keys.push_back(key);
    return result;
  }
  LONG writeValues(HKEY key) override {
    const BYTE one = 1;
    EXPECT_EQ(RegSetValueExW(key, u"Written", 0, REG_BINARY, &one, 1), ERROR_SUCCESS);
    return result;
  }

  std::vector<HKEY> read_keys;
  LONG result = ERROR_SUCCESS;
};

void Name(RegistryKeyRecord& record, const std::u16string& path, const std::u16string& subkey) {
  path.copy(record.keyPath, 259);
  record.keyPath[path.size()] = 0;
  subkey.copy(record.subkeyName, 259);
  record.subkeyName[subkey.size()] = 0;
}

class RegistryRecord : public TempDeviceTest {
 protected:
  void SetUp() override { Name(record_, u"Software\\Test", u"One"); }

  static bool Exists(const char16_t* path) {
    HKEY key = nullptr;
    return RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key) == ERROR_SUCCESS;
  }
  static bool IsWritten(const char16_t* path) {
    return Get(path, u"Written").error == ERROR_SUCCESS;
  }

  NotingRecord record_;
};

TEST(RegistryRecordLayout, KeepsTheOrderOfItsFields) {
  const NotingRecord record;
  const auto place = [&record](const void* field) {
    return static_cast<const char*>(field) - reinterpret_cast<const char*>(&record);
  };
  EXPECT_EQ(place(record.subkeyName) - place(record.keyPath), 520);
  EXPECT_GE(place(&record.rootKey) - place(record.subkeyName), 520);
}

TEST_F(RegistryRecord, StartsEmptyBelowTheLocalMachine) {
  const NotingRecord record;
  EXPECT_EQ(record.rootKey, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(std::u16string(record.keyPath), u"");
  EXPECT_EQ(std::u16string(record.subkeyName), u"");
}

TEST_F(RegistryRecord, ReadingAMissingKeyGivesTheRegistrysErrorAndReadsNothing) {
  EXPECT_EQ(record_.read(), ERROR_FILE_NOT_FOUND);
  EXPECT_TRUE(record_.read_keys.empty());
}

TEST_F(RegistryRecord, ReadingHandsTheOpenKeyToReadValues) {
  const HKEY key = CreateKey(u"Software\\Test\\One");
  EXPECT_EQ(record_.read(), 0);
  EXPECT_EQ(record_.read_keys, std::vector<HKEY>{key});
}

TEST_F(RegistryRecord, ReadingSucceedsWhateverReadValuesGives) {
  CreateKey(u"Software\\Test\\One");
  record_.result = ERROR_FILE_NOT_FOUND;
  EXPECT_EQ(record_.read(), 0);
}

TEST_F(RegistryRecord, WritingCreatesItsOwnSubkey) {
  EXPECT_EQ(record_.write(), 0);
  EXPECT_TRUE(IsWritten(u"Software\\Test\\One"));
}

TEST_F(RegistryRecord, WritingToAnotherSubkeyLeavesItsOwnNameAlone) {
  EXPECT_EQ(record_.writeTo(u"Two"), 0);
  EXPECT_TRUE(IsWritten(u"Software\\Test\\Two"));
  EXPECT_FALSE(Exists(u"Software\\Test\\One"));
  EXPECT_EQ(std::u16string(record_.subkeyName), u"One");
}

TEST_F(RegistryRecord, WritingWithoutASubkeyTakesTheFirstNumber) {
  Name(record_, u"Software\\Test", u"");
  EXPECT_EQ(record_.write(), 0);
  EXPECT_EQ(std::u16string(record_.subkeyName), u"0001");
  EXPECT_TRUE(IsWritten(u"Software\\Test\\0001"));
}

TEST_F(RegistryRecord, WritingWithoutASubkeySkipsNumbersThatAreThere) {
  CreateKey(u"Software\\Test\\0001");
  CreateKey(u"Software\\Test\\0003");
  Name(record_, u"Software\\Test", u"");
  record_.write();
  EXPECT_EQ(std::u16string(record_.subkeyName), u"0002");
  Name(record_, u"Software\\Test", u"");
  record_.write();
  EXPECT_EQ(std::u16string(record_.subkeyName), u"0004");
}

std::u16string Numbered(int number) {
  return std::u16string(u"Software\\Test\\00") + static_cast<char16_t>(u'0' + number / 10) +
         static_cast<char16_t>(u'0' + number % 10);
}

TEST_F(RegistryRecord, TheLastNumberIs31) {
  for (int number = 1; number <= 30; ++number) CreateKey(Numbered(number).c_str());
  Name(record_, u"Software\\Test", u"");
  record_.write();
  EXPECT_EQ(std::u16string(record_.subkeyName), u"0031");
}

TEST_F(RegistryRecord, WithAllNumbersTakenTheSubkeyStaysEmpty) {
  for (int number = 1; number <= 31; ++number) CreateKey(Numbered(number).c_str());
  Name(record_, u"Software\\Test", u"");
  EXPECT_EQ(record_.write(), 0);
  EXPECT_EQ(std::u16string(record_.subkeyName), u"");
  EXPECT_FALSE(Exists(u"Software\\Test\\0032"));
  EXPECT_TRUE(IsWritten(u"Software\\Test"));
}

TEST_F(RegistryRecord, ReadsAndWritesBelowItsRootKey) {
  record_.setRootKey(CreateKey(u"Elsewhere"));
  EXPECT_EQ(record_.write(), 0);
  EXPECT_TRUE(IsWritten(u"Elsewhere\\Software\\Test\\One"));
  EXPECT_FALSE(Exists(u"Software\\Test\\One"));
  EXPECT_EQ(record_.read(), 0);
  EXPECT_EQ(record_.read_keys.size(), 1u);
}

TEST_F(RegistryRecord, NumbersAreChosenBelowTheLocalMachineWhateverTheRootKey) {
  CreateKey(u"Software\\Test\\0001");
  record_.setRootKey(CreateKey(u"Elsewhere"));
  Name(record_, u"Software\\Test", u"");
  EXPECT_EQ(record_.write(), 0);
  EXPECT_EQ(std::u16string(record_.subkeyName), u"0002");
  EXPECT_TRUE(Exists(u"Software\\Test\\0002"));
  EXPECT_TRUE(IsWritten(u"Elsewhere\\Software\\Test\\0002"));
}

TEST_F(RegistryRecord, WritingGivesWhatWriteValuesGives) {
  record_.result = ERROR_ACCESS_DENIED;
  EXPECT_EQ(record_.write(), ERROR_ACCESS_DENIED);
}

TEST_F(RegistryRecord, WithoutARegistryGivesItsErrorAndReadsNothing) {
  const TempEnvironment environment("OSIF_DEVICE", "/dev/null/device");
  EXPECT_NE(record_.read(), ERROR_SUCCESS);
  EXPECT_NE(record_.writeTo(u"Two"), ERROR_SUCCESS);
  Name(record_, u"Software\\Test", u"");
  EXPECT_NE(record_.write(), ERROR_SUCCESS);
  EXPECT_EQ(std::u16string(record_.subkeyName), u"");
  EXPECT_TRUE(record_.read_keys.empty());
}

TEST_F(RegistryRecord, EqualityComparesThePlaceExactly) {
  NotingRecord other;
  Name(other, u"Software\\Test", u"One");
  EXPECT_TRUE(record_.equals(other));
  EXPECT_TRUE(record_ == other);
  EXPECT_FALSE(record_ != other);
  Name(other, u"Software\\Test", u"ONE");
  EXPECT_FALSE(record_.equals(other));
  EXPECT_TRUE(record_ != other);
  Name(other, u"Software\\Tests", u"One");
  EXPECT_FALSE(record_.equals(other));
  Name(other, u"Software\\Test", u"One");
  other.setRootKey(nullptr);
  EXPECT_EQ(other.rootKey, nullptr);
  EXPECT_FALSE(record_.equals(other));
}

TEST_F(RegistryRecord, WhatStandsBehindATextPlaysNoPartInEquality) {
  NotingRecord other;
  Name(other, u"Software\\Test", u"One");
  other.keyPath[100] = u'x';
  EXPECT_TRUE(record_.equals(other));
}

TEST_F(RegistryRecord, ABaseRecordHasNoValues) {
  struct Plain : RegistryKeyRecord {};
  Plain plain;
  const HKEY key = CreateKey(u"Software\\Test\\One");
  EXPECT_EQ(plain.readValues(key), ERROR_SUCCESS);
  EXPECT_EQ(plain.writeValues(key), ERROR_SUCCESS);
  plain.copyValues(record_);
  EXPECT_EQ(std::u16string(plain.keyPath), u"");
}

TEST_F(RegistryRecord, AssigningTakesThePlaceOver) {
  NotingRecord other;
  other.setRootKey(nullptr);
  other.assign(record_);
  EXPECT_TRUE(other.equals(record_));
  NotingRecord third;
  static_cast<RegistryKeyRecord&>(third) = record_;
  EXPECT_TRUE(third.equals(record_));
}

}  // namespace
}  // namespace registry_record_test
