#include "config/bt_config_settings.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "tests/support/registry_values.h"
#include "tests/support/temp_device.h"

namespace bt_config_settings_test {
namespace {

using support::CreateKey;
using support::Get;
using support::SetSetting;
using support::SetText;
using support::SetValue;

constexpr char16_t kGeneral[] = u"Software\\Corvane\\BTConfig\\General";

class Settings : public TempDeviceTest {
 protected:
  BtConfigSettings Read() {
    BtConfigSettings settings;
    EXPECT_EQ(settings.read(), 0);
    return settings;
  }
};

void ExpectDefaults(const BtConfigSettings& settings) {
  EXPECT_EQ(settings.minorClass, 4u);
  EXPECT_STREQ(settings.deviceName, "");
  EXPECT_EQ(settings.usePocketPcName, 1u);
  EXPECT_EQ(settings.securityType, 2u);
  EXPECT_EQ(settings.maxSimultConnections, 1u);
  EXPECT_EQ(settings.countryCode, 0u);
  EXPECT_EQ(settings.dontShowAdvanced, 0u);
  EXPECT_EQ(settings.forceDevClassMajor, 0u);
  EXPECT_EQ(settings.forceDevClassMinor, 0u);
  EXPECT_STREQ(settings.unnamedDeviceName, "<No Name>");
  EXPECT_EQ(settings.noSleepingWhileConnected, 0u);
  EXPECT_STREQ(settings.defaultInputCharset, "");
  EXPECT_STREQ(settings.defaultOutputCharset, "");
  EXPECT_EQ(settings.doNotSendMsftProperties, 0u);
}

TEST_F(Settings, WithoutAGeneralKeyAreAtTheirDefaultsWithEmptyCharsets) {
  BtConfigSettings settings;
  EXPECT_EQ(settings.read(), ERROR_FILE_NOT_FOUND);
  ExpectDefaults(settings);
}

TEST_F(Settings, AreAtTheirDefaultsWithoutAValue) {
  CreateKey(kGeneral);
  ExpectDefaults(Read());
}

TEST_F(Settings, LiveUnderTheGeneralKey) {
  const BtConfigSettings settings;
  EXPECT_EQ(std::u16string(settings.keyPath), u"Software\\Corvane\\BTConfig");
  EXPECT_EQ(std::u16string(settings.subkeyName), u"General");
  EXPECT_EQ(settings.rootKey, HKEY_LOCAL_MACHINE);
}

TEST(SettingsLayout, KeepsTheOrderOfTheFields) {
  const BtConfigSettings settings;
  const auto place = [&settings](const void* field) {
    return static_cast<const char*>(field) - reinterpret_cast<const char*>(&settings);
  };
  const ptrdiff_t start = place(&settings.minorClass);
  EXPECT_GT(start, place(&settings.rootKey));
  EXPECT_EQ(place(settings.deviceName) - start, 4);
  EXPECT_EQ(place(&settings.usePocketPcName) - start, 252);
  EXPECT_EQ(place(&settings.securityType) - start, 256);
  EXPECT_EQ(place(&settings.maxSimultConnections) - start, 260);
  EXPECT_EQ(place(&settings.countryCode) - start, 264);
  EXPECT_EQ(place(&settings.dontShowAdvanced) - start, 268);
  EXPECT_EQ(place(&settings.forceDevClassMajor) - start, 272);
  EXPECT_EQ(place(&settings.forceDevClassMinor) - start, 276);
  EXPECT_EQ(place(settings.unnamedDeviceName) - start, 280);
  EXPECT_EQ(place(&settings.noSleepingWhileConnected) - start, 332);
  EXPECT_EQ(place(settings.defaultStatusDll) - start, 336);
  EXPECT_EQ(place(settings.defaultPropertiesDll) - start, 856);
  EXPECT_EQ(place(settings.defaultInputCharset) - start, 1376);
  EXPECT_EQ(place(settings.defaultOutputCharset) - start, 1636);
  EXPECT_EQ(place(&settings.doNotSendMsftProperties) - start, 1896);
}

TEST_F(Settings, NumbersAreReadFromTheirValues) {
  SetSetting(u"MinorClass", 11);
  SetSetting(u"UsePocketPCName", 12);
  SetSetting(u"SecurityType", 13);
  SetSetting(u"MaxSimultConnections", 14);
  SetSetting(u"CountryCode", 15);
  SetSetting(u"DontShowAdvanced", 16);
  SetSetting(u"ForceDevClassMajor", 17);
  SetSetting(u"ForceDevClassMinor", 18);
  SetSetting(u"NoSleepingWhileConnected", 19);
  SetSetting(u"DoNotSendMsftProperties", 2);
  const BtConfigSettings settings = Read();
  EXPECT_EQ(settings.minorClass, 11u);
  EXPECT_EQ(settings.usePocketPcName, 12u);
  EXPECT_EQ(settings.securityType, 13u);
  EXPECT_EQ(settings.maxSimultConnections, 14u);
  EXPECT_EQ(settings.countryCode, 15u);
  EXPECT_EQ(settings.dontShowAdvanced, 16u);
  EXPECT_EQ(settings.forceDevClassMajor, 17u);
  EXPECT_EQ(settings.forceDevClassMinor, 18u);
  EXPECT_EQ(settings.noSleepingWhileConnected, 19u);
  EXPECT_EQ(settings.doNotSendMsftProperties, 2u);
}

TEST_F(Settings, TextsAreReadFromTheirValues) {
  SetSetting(u"DeviceName", u"M\u00FCller");
  SetSetting(u"UnnamedDeviceName", u"<\u00FC>");
  SetSetting(u"DefaultStatusDll", u"status.dll");
  SetSetting(u"DefaultPropertiesDll", u"props.dll");
  SetSetting(u"DefaultInputCharset", u"ISO-8859-1");
  SetSetting(u"DefaultOutputCharset", u"NATIVE");
  const BtConfigSettings settings = Read();
  EXPECT_STREQ(settings.deviceName, "M\xC3\xBCller");
  EXPECT_STREQ(settings.unnamedDeviceName, "<\xC3\xBC>");
  EXPECT_EQ(std::u16string(settings.defaultStatusDll), u"status.dll");
  EXPECT_EQ(std::u16string(settings.defaultPropertiesDll), u"props.dll");
  EXPECT_STREQ(settings.defaultInputCharset, "ISO-8859-1");
  EXPECT_STREQ(settings.defaultOutputCharset, "NATIVE");
}

TEST_F(Settings, ByDefaultTheHandheldsOwnNameReplacesTheDeviceName) {
  SetSetting(u"DeviceName", u"set by hand");
  SetText(u"Ident", u"Name", u"Pocket_PC");
  EXPECT_STREQ(Read().deviceName, "Pocket_PC");
}

TEST_F(Settings, TheHandheldsOwnNameCountsWithEveryNumberButZero) {
  SetSetting(u"UsePocketPCName", 2);
  SetText(u"Ident", u"Name", u"Pocket_PC");
  EXPECT_STREQ(Read().deviceName, "Pocket_PC");
}

TEST_F(Settings, TheHandheldsOwnNameDoesNotCountWhenItIsNotWanted) {
  SetSetting(u"UsePocketPCName", 0);
  SetSetting(u"DeviceName", u"set by hand");
  SetText(u"Ident", u"Name", u"Pocket_PC");
  EXPECT_STREQ(Read().deviceName, "set by hand");
}

TEST_F(Settings, WithoutANameOfItsOwnTheHandheldKeepsTheDeviceName) {
  SetSetting(u"DeviceName", u"set by hand");
  CreateKey(u"Ident");
  EXPECT_STREQ(Read().deviceName, "set by hand");
}

TEST_F(Settings, AnEmptyNameOfTheHandheldReplacesTheDeviceNameToo) {
  SetSetting(u"DeviceName", u"set by hand");
  SetText(u"Ident", u"Name", u"");
  EXPECT_STREQ(Read().deviceName, "");
}

TEST_F(Settings, CharsetsAreConvertedWithTheAnsiCodePage) {
  support::SetSystemCodePage(1251);
  SetSetting(u"DefaultInputCharset", u"\u043F\u0430");
  SetSetting(u"DefaultOutputCharset", u"\u0440");
  const BtConfigSettings settings = Read();
  EXPECT_STREQ(settings.defaultInputCharset, "\xEF\xE0");
  EXPECT_STREQ(settings.defaultOutputCharset, "\xF0");
}

TEST_F(Settings, ADoNotSendValueOfTwoIsReadAsTwoSoThatItIsNotOne) {
  SetSetting(u"DoNotSendMsftProperties", 2);
  EXPECT_EQ(Read().doNotSendMsftProperties, 2u);
}

TEST_F(Settings, AMissingDeviceNameIsEmptyNow) {
  CreateKey(kGeneral);
  BtConfigSettings settings;
  std::strcpy(settings.deviceName, "before");
  EXPECT_EQ(settings.read(), 0);
  EXPECT_STREQ(settings.deviceName, "");
}

TEST_F(Settings, StoredTypesAreNotChecked) {
  SetValue(kGeneral, u"DoNotSendMsftProperties", REG_BINARY, "\x01\x00\x00\x00", 4);
  SetValue(kGeneral, u"DefaultInputCharset", REG_BINARY, u"UTF-8", 12);
  EXPECT_EQ(Read().doNotSendMsftProperties, 1u);
  EXPECT_STREQ(Read().defaultInputCharset, "UTF-8");
}

TEST_F(Settings, ANumberOfMoreThanFourBytesLeavesTheDefault) {
  SetValue(kGeneral, u"MinorClass", REG_BINARY, "\x01\x02\x03\x04\x05", 5);
  EXPECT_EQ(Read().minorClass, 4u);
}

TEST_F(Settings, ReadValuesGivesTheResultOfItsLastQuery) {
  const HKEY key = CreateKey(kGeneral);
  BtConfigSettings settings;
  EXPECT_EQ(settings.readValues(key), ERROR_FILE_NOT_FOUND);
  SetSetting(u"DoNotSendMsftProperties", 1);
  EXPECT_EQ(settings.readValues(key), ERROR_SUCCESS);
}

// ---- Limits ------------------------------------------------------------------------------------

TEST_F(Settings, ADeviceNameOf247CharactersFits) {
  SetSetting(u"DeviceName", std::u16string(247, u'd'));  // 496 bytes with its terminator
  EXPECT_EQ(std::string(Read().deviceName), std::string(247, 'd'));
}

TEST_F(Settings, ADeviceNameOf248CharactersIsTooLongToBeRead) {
  SetSetting(u"DeviceName", std::u16string(248, u'd'));
  EXPECT_STREQ(Read().deviceName, "");
}

TEST_F(Settings, ADeviceNameIsCutBetweenCharacters) {
  SetSetting(u"DeviceName", std::u16string(100, u'\u4E2D'));  // 300 bytes of UTF-8
  const std::string name = Read().deviceName;
  EXPECT_EQ(name.size(), 246u);
  EXPECT_TRUE(name.ends_with("\xE4\xB8\xAD"));
}

TEST_F(Settings, TheHandheldsNameMayHave259CharactersAndIsCut) {
  CreateKey(kGeneral);
  SetText(u"Ident", u"Name", std::u16string(259, u'n'));
  EXPECT_EQ(std::string(Read().deviceName), std::string(247, 'n'));
  SetText(u"Ident", u"Name", std::u16string(260, u'n'));
  EXPECT_STREQ(Read().deviceName, "");
}

TEST_F(Settings, AnUnnamedDeviceNameOf49CharactersFits) {
  SetSetting(u"UnnamedDeviceName", std::u16string(49, u'u'));
  EXPECT_EQ(std::string(Read().unnamedDeviceName), std::string(49, 'u'));
  SetSetting(u"UnnamedDeviceName", std::u16string(50, u'u'));
  EXPECT_STREQ(Read().unnamedDeviceName, "<No Name>");
}

TEST_F(Settings, ACharsetOf259CharactersFits) {
  SetSetting(u"DefaultInputCharset", std::u16string(259, u'c'));
  EXPECT_EQ(std::string(Read().defaultInputCharset), std::string(259, 'c'));
  SetSetting(u"DefaultInputCharset", std::u16string(260, u'c'));
  EXPECT_STREQ(Read().defaultInputCharset, "");
}

TEST_F(Settings, OfMoreThanTheirBytesAreNotRead) {
  const std::u16string text(262, u'c');
  for (const char16_t* name : {u"DefaultInputCharset", u"DefaultOutputCharset"}) {
    SetValue(kGeneral, name, REG_SZ, text.data(), 521);
  }
  EXPECT_STREQ(Read().defaultInputCharset, "");
  EXPECT_STREQ(Read().defaultOutputCharset, "");
}

TEST_F(Settings, ThatEndWithHalfACharacterHaveAReplacementForIt) {
  SetSetting(u"DefaultInputCharset", u"x\xD83D");
  EXPECT_STREQ(Read().defaultInputCharset, "x\xEF\xBF\xBD");
}

TEST_F(Settings, ADllNameOf259CharactersFits) {
  SetSetting(u"DefaultStatusDll", std::u16string(259, u'd'));
  EXPECT_EQ(std::u16string(Read().defaultStatusDll), std::u16string(259, u'd'));
  SetSetting(u"DefaultStatusDll", std::u16string(260, u'd'));
  EXPECT_EQ(std::u16string(Read().defaultStatusDll), u"");
}

TEST_F(Settings, TextsThatLackTheirTerminatorAreReadToTheirEnd) {
  const std::u16string text(260, u'x');
  for (const char16_t* name : {u"DefaultStatusDll", u"DefaultInputCharset"}) {
    SetValue(kGeneral, name, REG_SZ, text.data(), 520);
  }
  SetValue(kGeneral, u"UnnamedDeviceName", REG_SZ, text.data(), 100);
  SetValue(kGeneral, u"DeviceName", REG_SZ, text.data(), 496);
  const BtConfigSettings settings = Read();
  EXPECT_EQ(std::u16string(settings.defaultStatusDll), std::u16string(259, u'x'));
  EXPECT_EQ(std::string(settings.defaultInputCharset), std::string(259, 'x'));
  EXPECT_EQ(std::string(settings.unnamedDeviceName), std::string(49, 'x'));
  EXPECT_EQ(std::string(settings.deviceName), std::string(247, 'x'));
}

// ---- Writing -----------------------------------------------------------------------------------

TEST_F(Settings, WritingStoresTheSharedSettings) {
  BtConfigSettings settings;
  std::strcpy(settings.deviceName, "M\xC3\xBCller");
  settings.usePocketPcName = 0;
  settings.minorClass = 5;
  settings.securityType = 3;
  settings.countryCode = 49;
  settings.maxSimultConnections = 7;
  settings.noSleepingWhileConnected = 1;
  std::strcpy(settings.unnamedDeviceName, "<\xC3\xBC>");
  std::memcpy(settings.defaultStatusDll, u"s.dll", 12);
  std::memcpy(settings.defaultPropertiesDll, u"p.dll", 12);
  EXPECT_EQ(settings.write(), 0);

  EXPECT_EQ(Get(kGeneral, u"DeviceName").Text(), std::u16string(u"M\u00FCller\0", 7));
  EXPECT_EQ(Get(kGeneral, u"DeviceName").type, REG_SZ);
  EXPECT_EQ(Get(kGeneral, u"UsePocketPCName").bytes, (std::vector<BYTE>{0, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"UsePocketPCName").type, REG_DWORD);
  EXPECT_EQ(Get(kGeneral, u"MinorClass").bytes, (std::vector<BYTE>{5, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"SecurityType").bytes, (std::vector<BYTE>{3, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"CountryCode").bytes, (std::vector<BYTE>{49, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"MaxSimultConnections").bytes, (std::vector<BYTE>{7, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"NoSleepingWhileConnected").bytes, (std::vector<BYTE>{1, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"UnnamedDeviceName").Text(), std::u16string(u"<\u00FC>\0", 4));
  EXPECT_EQ(Get(kGeneral, u"DefaultStatusDll").Text(), std::u16string(u"s.dll\0", 6));
  EXPECT_EQ(Get(kGeneral, u"DefaultPropertiesDll").Text(), std::u16string(u"p.dll\0", 6));
}

TEST_F(Settings, WritingTheDefaultsStoresThem) {
  BtConfigSettings settings;
  EXPECT_EQ(settings.write(), 0);
  EXPECT_EQ(Get(kGeneral, u"DeviceName").Text(), std::u16string(1, u'\0'));
  EXPECT_EQ(Get(kGeneral, u"UsePocketPCName").bytes, (std::vector<BYTE>{1, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"MinorClass").bytes, (std::vector<BYTE>{4, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"SecurityType").bytes, (std::vector<BYTE>{2, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"CountryCode").bytes, (std::vector<BYTE>{0, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"MaxSimultConnections").bytes, (std::vector<BYTE>{1, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"NoSleepingWhileConnected").bytes, (std::vector<BYTE>{0, 0, 0, 0}));
  EXPECT_EQ(Get(kGeneral, u"UnnamedDeviceName").Text(), std::u16string(u"<No Name>\0", 10));
}

TEST_F(Settings, WritingTextsThatFillTheirFieldsStoresThemWhole) {
  BtConfigSettings settings;
  std::memset(settings.deviceName, 'd', 247);
  std::memset(settings.unnamedDeviceName, 'u', 49);
  std::fill_n(settings.defaultStatusDll, 259, u's');
  std::fill_n(settings.defaultPropertiesDll, 259, u'p');
  EXPECT_EQ(settings.write(), 0);
  EXPECT_EQ(Get(kGeneral, u"DeviceName").Text(), std::u16string(247, u'd') + u'\0');
  EXPECT_EQ(Get(kGeneral, u"UnnamedDeviceName").Text(), std::u16string(49, u'u') + u'\0');
  EXPECT_EQ(Get(kGeneral, u"DefaultStatusDll").Text(), std::u16string(259, u's') + u'\0');
  EXPECT_EQ(Get(kGeneral, u"DefaultPropertiesDll").Text(), std::u16string(259, u'p') + u'\0');
}

TEST_F(Settings, WithoutASubkeyAreWrittenUnderANumberedOne) {
  BtConfigSettings settings;
  settings.subkeyName[0] = 0;
  EXPECT_EQ(settings.write(), 0);
  EXPECT_EQ(std::u16string(settings.subkeyName), u"0001");
  EXPECT_EQ(Get(u"Software\\Corvane\\BTConfig\\0001", u"MinorClass").bytes,
            (std::vector<BYTE>{4, 0, 0, 0}));
}

TEST_F(Settings, WritingLeavesOutWhatIsSetByHand) {
  BtConfigSettings settings;
  settings.dontShowAdvanced = 1;
  settings.doNotSendMsftProperties = 1;
  std::strcpy(settings.defaultInputCharset, "UTF-8");
  EXPECT_EQ(settings.write(), 0);
  for (const char16_t* name :
       {u"DontShowAdvanced", u"ForceDevClassMajor", u"ForceDevClassMinor", u"DefaultInputCharset",
        u"DefaultOutputCharset", u"DoNotSendMsftProperties"}) {
    EXPECT_EQ(Get(kGeneral, name).error, ERROR_FILE_NOT_FOUND);
  }
}

TEST_F(Settings, WrittenSettingsAreReadBack) {
  BtConfigSettings settings;
  settings.minorClass = 9;
  settings.usePocketPcName = 0;
  std::strcpy(settings.deviceName, "\xE4\xB8\xAD");
  settings.write();
  EXPECT_TRUE(Read() == settings);
}

// ---- Comparing and copying ---------------------------------------------------------------------

using Change = void (*)(BtConfigSettings&);

TEST_F(Settings, DifferInEveryFieldThatCounts) {
  const BtConfigSettings settings;
  const Change changes[] = {[](BtConfigSettings& other) { other.unnamedDeviceName[0] = 'x'; },
                            [](BtConfigSettings& other) { ++other.maxSimultConnections; },
                            [](BtConfigSettings& other) { ++other.securityType; },
                            [](BtConfigSettings& other) { ++other.countryCode; },
                            [](BtConfigSettings& other) { ++other.minorClass; },
                            [](BtConfigSettings& other) { ++other.noSleepingWhileConnected; },
                            [](BtConfigSettings& other) { ++other.forceDevClassMajor; },
                            [](BtConfigSettings& other) { ++other.forceDevClassMinor; },
                            [](BtConfigSettings& other) { ++other.usePocketPcName; },
                            [](BtConfigSettings& other) { other.deviceName[0] = 'x'; },
                            [](BtConfigSettings& other) { other.defaultInputCharset[0] = 'x'; },
                            [](BtConfigSettings& other) { other.defaultOutputCharset[0] = 'x'; },
                            [](BtConfigSettings& other) { ++other.doNotSendMsftProperties; }};
  for (const Change change : changes) {
    BtConfigSettings other;
    EXPECT_TRUE(settings == other);
    EXPECT_FALSE(settings != other);
    change(other);
    EXPECT_FALSE(settings == other);
    EXPECT_TRUE(settings != other);
    other.copyValues(settings);
    EXPECT_TRUE(settings == other);
  }
}

TEST_F(Settings, TheAdvancedPageTheDllsAndThePlaceDoNotCountForEquality) {
  const BtConfigSettings settings;
  BtConfigSettings other;
  other.dontShowAdvanced = 1;
  other.defaultStatusDll[0] = u'x';
  other.defaultPropertiesDll[0] = u'x';
  other.subkeyName[0] = u'x';
  EXPECT_TRUE(settings == other);
}

TEST_F(Settings, ThroughTheBaseOnlyThePlaceCountsForEquality) {
  const BtConfigSettings settings;
  BtConfigSettings other;
  other.minorClass = 99;
  const RegistryKeyRecord& base = other;
  EXPECT_TRUE(static_cast<const RegistryKeyRecord&>(settings) == base);
}

TEST_F(Settings, CopyingValuesLeavesTheAdvancedPageAndThePlace) {
  BtConfigSettings from;
  from.dontShowAdvanced = 1;
  from.subkeyName[0] = u'x';
  from.defaultStatusDll[0] = u's';
  from.defaultPropertiesDll[0] = u'p';
  BtConfigSettings to;
  to.copyValues(from);
  EXPECT_EQ(to.dontShowAdvanced, 0u);
  EXPECT_EQ(std::u16string(to.subkeyName), u"General");
  EXPECT_EQ(std::u16string(to.defaultStatusDll), u"s");
  EXPECT_EQ(std::u16string(to.defaultPropertiesDll), u"p");
}

TEST_F(Settings, WhatStandsBehindATextPlaysNoPartInEquality) {
  const BtConfigSettings settings;
  BtConfigSettings other;
  other.deviceName[1] = 'x';
  other.unnamedDeviceName[20] = 'x';
  other.defaultInputCharset[1] = 'x';
  EXPECT_TRUE(settings == other);
}

TEST_F(Settings, AreComparedExactly) {
  const BtConfigSettings settings;
  BtConfigSettings other;
  std::strcpy(other.unnamedDeviceName, "<no name>");
  EXPECT_FALSE(settings == other);
}

TEST_F(Settings, CopyingFromAnotherKindOfRecordChangesNothing) {
  struct Plain : RegistryKeyRecord {};
  BtConfigSettings to;
  to.minorClass = 9;
  to.copyValues(Plain{});
  EXPECT_EQ(to.minorClass, 9u);
}

TEST_F(Settings, AssigningTakesPlaceAndSettings) {
  BtConfigSettings from;
  from.minorClass = 9;
  from.subkeyName[0] = u'X';
  BtConfigSettings to;
  to = from;
  EXPECT_EQ(to.minorClass, 9u);
  EXPECT_EQ(std::u16string(to.subkeyName), u"Xeneral");
}

TEST_F(Settings, VendorPropertiesAreSentUnlessANumberOtherThanZeroForbidsThem) {
  EXPECT_TRUE(SendsVendorProperties());  // without the key
  CreateKey(kGeneral);
  EXPECT_TRUE(SendsVendorProperties());  // without the value
  SetSetting(u"DoNotSendMsftProperties", 0);
  EXPECT_TRUE(SendsVendorProperties());
  SetSetting(u"DoNotSendMsftProperties", 2);
  EXPECT_FALSE(SendsVendorProperties());
}

}  // namespace
}  // namespace bt_config_settings_test
