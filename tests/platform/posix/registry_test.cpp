#include "platform/api/registry.h"

#include <fstream>

#include "platform/device/device.h"
#include "tests/support/registry_values.h"
#include "tests/support/temp_device.h"

namespace registry_test {
namespace {

using support::CreateKey;
using support::Get;
using support::SetNumber;
using support::SetText;

class Registry : public TempDeviceTest {};

LONG Open(const char16_t* path, HKEY* key) {
  return RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, key);
}

DWORD Disposition(const char16_t* path) {
  HKEY key = nullptr;
  DWORD disposition = 0;
  EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0, KEY_WRITE, nullptr, &key,
                            &disposition),
            ERROR_SUCCESS);
  return disposition;
}

std::u16string Digits(int number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

TEST_F(Registry, MakesEveryParentOfAKeyAlsoWhereNamesHaveOneLetter) {
  CreateKey(u"a\\b\\c\\d");
  HKEY key = nullptr;
  for (const char16_t* path : {u"a", u"a\\b", u"a\\b\\c", u"a\\b\\c\\d"}) {
    EXPECT_EQ(Open(path, &key), ERROR_SUCCESS);
  }
}

TEST_F(Registry, TakesValuesOfAMegabyteAndNoLonger) {
  const HKEY key = CreateKey(u"Software\\Test");
  const std::vector<BYTE> bytes((1 << 20) + 1, 0x5A);
  EXPECT_EQ(RegSetValueExW(key, u"Large", 0, REG_BINARY, bytes.data(), 1 << 20), ERROR_SUCCESS);
  EXPECT_EQ(RegSetValueExW(key, u"Large", 0, REG_BINARY, bytes.data(), (1 << 20) + 1),
            ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, OpeningAMissingKeyGivesFileNotFoundAndNoHandle) {
  HKEY key = HKEY_LOCAL_MACHINE;
  EXPECT_EQ(Open(u"Software\\Nowhere", &key), 2);
  EXPECT_EQ(key, nullptr);
}

TEST_F(Registry, TheRootIsThereFromTheStart) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, 0, &key), ERROR_SUCCESS);
  EXPECT_EQ(key, HKEY_LOCAL_MACHINE);
}

TEST_F(Registry, CreatingAKeyCreatesItsMissingParents) {
  CreateKey(u"Software\\Corvane\\BTConfig");
  HKEY key = nullptr;
  EXPECT_EQ(Open(u"Software", &key), ERROR_SUCCESS);
  EXPECT_EQ(Open(u"Software\\Corvane", &key), ERROR_SUCCESS);
  EXPECT_EQ(Open(u"Software\\Corvane\\BTConfig", &key), ERROR_SUCCESS);
}

TEST_F(Registry, CreatingTellsANewKeyFromAnExistingOne) {
  EXPECT_EQ(Disposition(u"Software\\One"), REG_CREATED_NEW_KEY);
  EXPECT_EQ(Disposition(u"Software\\One"), REG_OPENED_EXISTING_KEY);
}

TEST_F(Registry, AKeyMadeAsAParentCountsAsExisting) {
  Disposition(u"Software\\One\\Two");
  EXPECT_EQ(Disposition(u"Software\\One"), REG_OPENED_EXISTING_KEY);
}

TEST_F(Registry, KeyNamesAreComparedWithoutRegardToCase) {
  CreateKey(u"Software\\\u00C4pfel");
  HKEY key = nullptr;
  EXPECT_EQ(Open(u"SOFTWARE\\\u00E4PFEL", &key), ERROR_SUCCESS);
  EXPECT_EQ(Disposition(u"sOFTWARE\\\u00C4PFEL"), REG_OPENED_EXISTING_KEY);
}

TEST_F(Registry, ValueNamesAreComparedWithoutRegardToCase) {
  SetNumber(u"Key", u"LogIPAddr", 7);
  EXPECT_EQ(Get(u"Key", u"LOGIPADDR").bytes, (std::vector<BYTE>{7, 0, 0, 0}));
  SetNumber(u"Key", u"logipaddr", 8);
  EXPECT_EQ(Get(u"Key", u"LogIPAddr").bytes, (std::vector<BYTE>{8, 0, 0, 0}));
}

TEST_F(Registry, ASubkeyIsFoundBelowAnOpenKey) {
  CreateKey(u"Software\\Corvane");
  HKEY software = nullptr;
  HKEY corvane = nullptr;
  ASSERT_EQ(Open(u"Software", &software), ERROR_SUCCESS);
  EXPECT_EQ(RegOpenKeyExW(software, u"Corvane", 0, KEY_READ, &corvane), ERROR_SUCCESS);
  EXPECT_EQ(RegOpenKeyExW(software, u"Software", 0, KEY_READ, &corvane), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, ANumberIsFourBytesLeastSignificantFirst) {
  SetNumber(u"Key", u"Number", 0x01020304);
  EXPECT_EQ(Get(u"Key", u"Number").type, REG_DWORD);
  EXPECT_EQ(Get(u"Key", u"Number").bytes, (std::vector<BYTE>{4, 3, 2, 1}));
}

TEST_F(Registry, ATextKeepsItsTerminatorInItsSize) {
  SetText(u"Key", u"Text", u"Ab");
  EXPECT_EQ(Get(u"Key", u"Text").type, REG_SZ);
  EXPECT_EQ(Get(u"Key", u"Text").bytes, (std::vector<BYTE>{'A', 0, 'b', 0, 0, 0}));
}

TEST_F(Registry, AMissingValueGivesFileNotFound) {
  CreateKey(u"Key");
  EXPECT_EQ(Get(u"Key", u"Value").error, 2);
}

TEST_F(Registry, ATooSmallBufferGivesMoreDataAndTheSizeAndStaysUntouched) {
  SetText(u"Key", u"Text", u"Ab");
  BYTE buffer[6] = {9, 9, 9, 9, 9, 9};
  DWORD size = 5;
  DWORD type = 0;
  EXPECT_EQ(RegQueryValueExW(CreateKey(u"Key"), u"Text", nullptr, &type, buffer, &size), 234);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(buffer[0], 9);
}

TEST_F(Registry, ABufferOfTheExactSizeIsFilled) {
  SetText(u"Key", u"Text", u"Ab");
  BYTE buffer[6] = {};
  DWORD size = 6;
  EXPECT_EQ(RegQueryValueExW(CreateKey(u"Key"), u"Text", nullptr, nullptr, buffer, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(buffer[2], 'b');
}

TEST_F(Registry, ABufferWithoutASizeIsRefused) {
  SetNumber(u"Key", u"Number", 1);
  BYTE buffer[4];
  EXPECT_EQ(RegQueryValueExW(CreateKey(u"Key"), u"Number", nullptr, nullptr, buffer, nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, SettingAValueReplacesTypeAndContent) {
  SetText(u"Key", u"Value", u"text");
  SetNumber(u"Key", u"Value", 5);
  EXPECT_EQ(Get(u"Key", u"Value").type, REG_DWORD);
  EXPECT_EQ(Get(u"Key", u"Value").bytes, (std::vector<BYTE>{5, 0, 0, 0}));
}

TEST_F(Registry, AValueOfNoBytesIsStored) {
  EXPECT_EQ(RegSetValueExW(CreateKey(u"Key"), u"Empty", 0, REG_BINARY, nullptr, 0), ERROR_SUCCESS);
  EXPECT_EQ(Get(u"Key", u"Empty").error, ERROR_SUCCESS);
  EXPECT_TRUE(Get(u"Key", u"Empty").bytes.empty());
}

TEST_F(Registry, ANullNameIsTheKeysUnnamedValue) {
  SetNumber(u"Key", nullptr, 3);
  EXPECT_EQ(Get(u"Key", u"").bytes, (std::vector<BYTE>{3, 0, 0, 0}));
}

TEST_F(Registry, TheSameNameUnderTwoKeysIsTwoValues) {
  SetNumber(u"One", u"Value", 1);
  SetNumber(u"Two", u"Value", 2);
  EXPECT_EQ(Get(u"One", u"Value").bytes[0], 1);
  EXPECT_EQ(Get(u"Two", u"Value").bytes[0], 2);
}

TEST_F(Registry, ADeletedValueIsMissing) {
  SetNumber(u"Key", u"Value", 1);
  EXPECT_EQ(RegDeleteValueW(CreateKey(u"Key"), u"VALUE"), ERROR_SUCCESS);
  EXPECT_EQ(Get(u"Key", u"Value").error, ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegDeleteValueW(CreateKey(u"Key"), u"Value"), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, WhatIsNoHandleIsRefused) {
  int nothing = 0;
  HKEY bad = reinterpret_cast<HKEY>(&nothing);
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(bad, u"Key", 0, KEY_READ, &key), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(bad), ERROR_INVALID_HANDLE);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

TEST_F(Registry, OpeningAPathAgainGivesTheSameHandle) {
  CreateKey(u"Key");
  HKEY first = nullptr;
  HKEY second = nullptr;
  Open(u"Key", &first);
  Open(u"Key", &second);
  EXPECT_EQ(first, second);
}

TEST_F(Registry, APartOfAPathMayHave255CharactersAndNoMore) {
  HKEY key = nullptr;
  EXPECT_EQ(Open(std::u16string(255, u'k').c_str(), &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Open(std::u16string(256, u'k').c_str(), &key), ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, EmptyPartsOfAPathDoNotCount) {
  CreateKey(u"\\Software\\\\Corvane\\");
  HKEY key = nullptr;
  EXPECT_EQ(Open(u"Software\\Corvane", &key), ERROR_SUCCESS);
}

TEST_F(Registry, AHandleHoldsAPathAndFollowsAChangeOfTheDevice) {
  SetNumber(u"Key", u"Value", 1);
  HKEY key = nullptr;
  ASSERT_EQ(Open(u"Key", &key), ERROR_SUCCESS);
  const TempDevice other;
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, u"Value", nullptr, nullptr, nullptr, &size),
            ERROR_FILE_NOT_FOUND);
  device_.Use();
  EXPECT_EQ(RegQueryValueExW(key, u"Value", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
}

TEST_F(Registry, ValuesOutliveTheClosingOfTheDevice) {
  SetNumber(u"Key", u"Value", 6);
  device::CloseDatabase();
  EXPECT_EQ(Get(u"Key", u"Value").bytes, (std::vector<BYTE>{6, 0, 0, 0}));
}

// Answers are remembered, so what others write has to be noticed.
class RegistryOfTwo : public Registry {
 protected:
  // Another connection, as another program has one.
  void WriteElsewhere(const char* sql) {
    int code = SQLITE_OK;
    const auto other = device::Database::Open(device::Folder() + "/device.db", &code);
    ASSERT_NE(other, nullptr);
    ASSERT_EQ(other->Execute(sql), SQLITE_OK);
  }
};

TEST_F(RegistryOfTwo, AValueThatAnotherProgramSetsIsSeenAtOnce) {
  SetNumber(u"Key", u"Value", 1);
  for (char number = 2; number < 6; ++number) {
    const std::string digits = std::to_string(number);
    WriteElsewhere(("UPDATE registry_values SET data = x'0" + digits + "000000'").c_str());
    EXPECT_EQ(Get(u"Key", u"Value").bytes[0], number);
    EXPECT_EQ(Get(u"Key", u"Value").bytes[0], number) << "from memory";
  }
}

TEST_F(RegistryOfTwo, AValueThatWasMissingIsSeenWhenAnotherProgramMakesIt) {
  CreateKey(u"Key");
  EXPECT_EQ(Get(u"Key", u"Value").error, ERROR_FILE_NOT_FOUND);
  WriteElsewhere(
      "INSERT INTO registry_values(key, folded_name, name, type, data) "
      "SELECT id, 'value', 'Value', 4, x'07000000' FROM registry_keys "
      "WHERE folded_path LIKE '%\\key'");
  EXPECT_EQ(Get(u"Key", u"Value").bytes, (std::vector<BYTE>{7, 0, 0, 0}));
}

TEST_F(RegistryOfTwo, AKeyThatAnotherProgramRemovesIsMissingAtOnce) {
  SetNumber(u"Key", u"Value", 1);
  HKEY key = nullptr;
  ASSERT_EQ(Open(u"Key", &key), ERROR_SUCCESS);
  DWORD size = 0;
  ASSERT_EQ(RegQueryValueExW(key, u"Value", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
  WriteElsewhere("DELETE FROM registry_keys WHERE folded_path LIKE '%\\key'");
  EXPECT_EQ(RegQueryValueExW(key, u"Value", nullptr, nullptr, nullptr, &size),
            ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Open(u"Key", &key), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryOfTwo, AKeyThatWasMissingIsThereWhenAnotherProgramMakesIt) {
  CreateKey(u"Key");
  HKEY key = nullptr;
  EXPECT_EQ(Open(u"Other", &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Open(u"Other", &key), ERROR_FILE_NOT_FOUND) << "from memory";
  EXPECT_EQ(key, nullptr);
  WriteElsewhere(
      "INSERT INTO registry_keys(folded_path, path) SELECT replace(folded_path, '\\key', "
      "'\\other'), "
      "'x' "
      "FROM registry_keys WHERE folded_path LIKE '%\\key'");
  EXPECT_EQ(Open(u"Other", &key), ERROR_SUCCESS);
}

TEST_F(RegistryOfTwo, AKeyIsGoneAtOnceAlsoWhenItWasTheLastOneOpened) {
  CreateKey(u"Key");
  HKEY key = nullptr;
  ASSERT_EQ(Open(u"Key", &key), ERROR_SUCCESS);
  ASSERT_EQ(Open(u"Key", &key), ERROR_SUCCESS) << "from memory";
  WriteElsewhere("DELETE FROM registry_keys WHERE folded_path LIKE '%\\key'");
  EXPECT_EQ(Open(u"Key", &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(key, nullptr);
}

TEST_F(Registry, ASubkeyOfOneKeyIsNoneOfAnother) {
  CreateKey(u"One\\Sub");
  CreateKey(u"Two");
  HKEY one = nullptr;
  HKEY two = nullptr;
  HKEY sub = nullptr;
  ASSERT_EQ(Open(u"One", &one), ERROR_SUCCESS);
  ASSERT_EQ(Open(u"Two", &two), ERROR_SUCCESS);
  EXPECT_EQ(RegOpenKeyExW(one, u"Sub", 0, KEY_READ, &sub), ERROR_SUCCESS);
  EXPECT_EQ(RegOpenKeyExW(two, u"Sub", 0, KEY_READ, &sub), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegOpenKeyExW(one, u"Sub", 0, KEY_READ, &sub), ERROR_SUCCESS);
  EXPECT_EQ(RegOpenKeyExW(one, u"Su", 0, KEY_READ, &sub), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryOfTwo, WhatATransactionTakesBackIsNotRemembered) {
  SetNumber(u"Key", u"Value", 1);
  HKEY key = nullptr;
  ASSERT_EQ(Open(u"Key", &key), ERROR_SUCCESS);
  {
    const device::Transaction unfinished(*device::OpenDatabase());
    ASSERT_TRUE(unfinished.is_open());
    const BYTE two[4] = {2};
    ASSERT_EQ(RegSetValueExW(key, u"Value", 0, REG_DWORD, two, sizeof two), ERROR_SUCCESS);
    EXPECT_EQ(Get(u"Key", u"Value").bytes[0], 2);
  }
  EXPECT_EQ(Get(u"Key", u"Value").bytes[0], 1);
}

TEST_F(RegistryOfTwo, AnAnswerOfOneDeviceIsNoneOfAnother) {
  SetNumber(u"Key", u"Value", 1);
  EXPECT_EQ(Get(u"Key", u"Value").bytes[0], 1);
  device::CloseDatabase();
  const TempDevice other;
  EXPECT_EQ(Get(u"Key", u"Value").error, ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryOfTwo, AnyNumberOfQuestionsIsAnsweredRightly) {
  for (int i = 0; i < 600; ++i) {
    SetNumber(u"Key", (u"V" + Digits(i)).c_str(), static_cast<DWORD>(i));
  }
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 600; ++i) {
      const auto value = Get(u"Key", (u"V" + Digits(i)).c_str());
      EXPECT_EQ(value.bytes[0] + 256 * value.bytes[1], i);
    }
  }
}

TEST_F(RegistryOfTwo, AValueIsAsLongAsItIs) {
  for (const size_t size : {size_t{0}, size_t{1023}, size_t{1024}, size_t{1025}, size_t{100000}}) {
    const std::u16string text(size, u'x');
    SetText(u"Key", u"Value", text);
    const size_t stored = Get(u"Key", u"Value").bytes.size();
    EXPECT_EQ(stored, (size + 1) * sizeof(WCHAR));
    EXPECT_EQ(Get(u"Key", u"Value").bytes.size(), stored);
  }
}

TEST_F(Registry, ADamagedDeviceGivesFileCorruptForEveryCall) {
  SetNumber(u"Key", u"Value", 6);
  const HKEY open = CreateKey(u"Key");
  device::CloseDatabase();
  std::ofstream(device_.Path("device.db"), std::ios::trunc) << "This is no database.";
  HKEY key = nullptr;
  DWORD size = 0;
  const BYTE byte = 1;
  EXPECT_EQ(Open(u"Key", &key), ERROR_FILE_CORRUPT);
  EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, u"Key", 0, nullptr, 0, 0, nullptr, &key, nullptr),
            ERROR_FILE_CORRUPT);
  EXPECT_EQ(RegQueryValueExW(open, u"Value", nullptr, nullptr, nullptr, &size), ERROR_FILE_CORRUPT);
  EXPECT_EQ(RegSetValueExW(open, u"Value", 0, REG_BINARY, &byte, 1), ERROR_FILE_CORRUPT);
  EXPECT_EQ(RegDeleteValueW(open, u"Value"), ERROR_FILE_CORRUPT);
}

TEST_F(Registry, ADeviceOfANewerSystemGivesRevisionMismatch) {
  ASSERT_EQ(device::OpenDatabase()->Execute("PRAGMA user_version=99"), SQLITE_OK);
  device::CloseDatabase();
  HKEY key = nullptr;
  EXPECT_EQ(Open(u"Key", &key), ERROR_REVISION_MISMATCH);
}

TEST_F(Registry, WhereAFolderStandsForTheDatabaseAccessIsDenied) {
  std::filesystem::create_directory(device_.Path("device.db"));
  HKEY key = nullptr;
  EXPECT_EQ(Open(u"Key", &key), ERROR_ACCESS_DENIED);
}

// Nothing of what could not be written whole is there afterwards.
TEST_F(Registry, ADeviceThatCannotGrowTellsOfAFullDisk) {
  const HKEY key = CreateKey(u"Key");
  SetNumber(u"Key", u"Value", 6);
  const auto database = device::OpenDatabase();
  ASSERT_EQ(database->Execute("PRAGMA max_page_count=1"), SQLITE_OK);  // the present size
  const std::string bytes(200000, 'x');
  EXPECT_EQ(
      RegSetValueExW(key, u"Value", 0, REG_BINARY, reinterpret_cast<const BYTE*>(bytes.data()),
                     static_cast<DWORD>(bytes.size())),
      ERROR_DISK_FULL);
  EXPECT_EQ(Get(u"Key", u"Value").bytes[0], 6);
  HKEY made = nullptr;
  std::u16string path;
  for (int i = 0; i < 400; ++i) path += u"\\" + std::u16string(200, u'k');
  EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str() + 1, 0, nullptr, 0, 0, nullptr, &made,
                            nullptr),
            ERROR_DISK_FULL);
  EXPECT_EQ(Open(std::u16string(200, u'k').c_str(), &made), ERROR_FILE_NOT_FOUND);
}

}  // namespace
}  // namespace registry_test
