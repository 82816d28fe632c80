/// Registry values by text paths.
#include "support/oregistry.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "common/scratch_key.h"
#include "support/scoped_handle.h"

namespace {

class ORegistryTest : public testing::Test {
 protected:
  /// A value path below a key of the test's own.
  OString Value(const char* path, const char* root = "CURRENT_USER:") const {
    return OString(root) + scratch.Path(TEXT("")).c_str() + "/" + path;
  }
  void Store(LPCWSTR subKey, LPCWSTR name, const ScratchKey::Text& text) {
    RegSetValueExW(scratch.Create(subKey), name, 0, REG_BINARY,
                   reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>(text.size() * sizeof(WCHAR)));
  }

  ScratchKey scratch;
  ORegistry registry;
};

TEST_F(ORegistryTest, ReplacesRootsAndAliasesAtTheStartOnly) {
  for (const auto& [path, expanded] :
       {std::pair{"CLASSES_ROOT:A/B", "0:A/B"},
        {"current_user:Software/X", "1:Software/X"},
        {"LOCAL_MACHINE:", "2:"},
        {"USERS:A", "3:A"},
        {"USER:Settings", "1:SOFTWARE/Brennick/Drivers/Settings"},
        {"Local:", "2:SOFTWARE/Brennick/Drivers"},
        {"GLOBAL:A", "2:SOFTWARE/Brennick/Drivers/Global Settings/A"},
        {"CONTROL:A", "2:SYSTEM/CurrentControlSet/Control/A"},
        {"print:A", "2:SYSTEM/CurrentControlSet/Control/Print/A"},
        {"ENUM:A", "2:SYSTEM/CurrentControlSet/Enum/A"},
        {"MACHINE:Software/X", "MACHINE:Software/X"},
        {"2:USER:X", "2:USER:X"}}) {
    OString keyPath = path;
    registry.ExpandPath(keyPath);
    EXPECT_STREQ(keyPath.nstring(), expanded);
  }
}

TEST_F(ORegistryTest, NumbersStandForTheRoots) {
  const ScratchKey::Text path = TEXT(".DEFAULT\\") + scratch.Path(TEXT(""));
  int number = 0;
  for (const HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS}) {
    const OString keyPath = (OString() << number++ << ":") + path.c_str();
    EXPECT_FALSE(ScopedKey(registry.OpenKey(keyPath, false)).IsValid()) << "reading makes no key";
    EXPECT_TRUE(ScopedKey(registry.OpenKey(keyPath, true)).IsValid()) << keyPath.nstring();
    EXPECT_EQ(RegDeleteKeyW(root, path.c_str()), ERROR_SUCCESS);
  }
}

TEST_F(ORegistryTest, OneValueHasManyPaths) {
  const DWORD stored = 0x12345678;
  scratch.Create(TEXT("A"));
  ASSERT_EQ(registry.SetValue(Value("A/New/V"), &stored), 4);
  scratch.Create(TEXT("A\\New"));
  for (const OString& path :
       {Value("a/NEW/v", "1:"), Value("A\\New\\V", "current_user:"), Value("%41/Ne%77/V"),
        Value("A\\New\\\\V"), Value("A/New/V", "1-and-more:")}) {
    DWORD read = 0;
    EXPECT_EQ(registry.GetValue(path, &read, sizeof read), 4) << path.nstring();
    EXPECT_EQ(read, stored);
  }
}

TEST_F(ORegistryTest, ABasePathStandsBeforeWhatHasNoRoot) {
  struct Based : ORegistry {
    explicit Based(const OString& path) { _basePath = path; }
  };
  Store(TEXT("A"), TEXT("V"), TEXT("found"));
  for (const auto& [base, path] : {std::pair{Value("A"), OString("V")},
                                   {Value("A/"), "V"},
                                   {Value(""), "A/V"},
                                   {"1:", OString(scratch.Path(TEXT("")).c_str()) + "/A/V"},
                                   {"0:Nothing", Value("A/V", "1:")}}) {
    EXPECT_STREQ(Based(base).GetString(path, "").nstring(), "found") << path.nstring();
  }
}

TEST_F(ORegistryTest, EscapesPutSeparatorsIntoNames) {
  const std::tuple<LPCWSTR, LPCWSTR, const char*> cases[] = {
      {TEXT("A/B"), TEXT("Val"), "A//B/Val"},    {TEXT("K"), TEXT("c:d"), "K/c::d"},
      {TEXT("100%"), TEXT("%41"), "100%%/%%41"}, {TEXT("K"), TEXT("%41"), "K/%2541"},
      {TEXT("K"), TEXT("a/b%"), "K/a%2fb%"},     {TEXT("K"), TEXT(""), "K/"},
      {TEXT("K"), TEXT("Z90"), "K/%5a%39%30"},   {TEXT("K"), TEXT("x%4"), "K/x%4"}};
  for (const auto& [subKey, name, path] : cases) {
    Store(subKey, name, TEXT("found"));
    EXPECT_STREQ(registry.GetString(Value(path), "").nstring(), "found") << path;
  }
}

TEST_F(ORegistryTest, RefusesPathsThatAddressNoKey) {
  DWORD number = 7;
  for (const char* path :
       {"", "No/Colon", "2:Val", "4:Software/X", "-1:Software/X", ":Software/X"}) {
    EXPECT_EQ(registry.GetValue(path, &number, sizeof number), -1) << path;
    EXPECT_EQ(registry.SetValue(path, &number), -1) << path;
  }
  EXPECT_EQ(registry.GetValue(Value("Missing/V"), &number, sizeof number), -1);
}

TEST_F(ORegistryTest, AFailedWriteIsToldAndANameAloneIsNoPath) {
  struct Reader : ORegistry {
    HKEY OpenKey(const OString&, bool) override {
      HKEY key = nullptr;
      RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key);
      return key;
    }
    ScratchKey::Text path;
  } reader;
  reader.path = scratch.Path(TEXT(""));
  Store(TEXT(""), TEXT("V"), TEXT("abc"));
  const DWORD number = 7;
  EXPECT_EQ(reader.SetValue("1:Key/V", &number), -1);
  EXPECT_EQ(reader.GetValue("1:Key/V", nullptr, 0), 6);
  EXPECT_EQ(reader.GetValue("V", nullptr, 0), -1);
}

TEST_F(ORegistryTest, ReadsValuesThatFit) {
  Store(TEXT(""), TEXT("V"), TEXT("abc"));
  BYTE buffer[8] = {9};
  EXPECT_EQ(registry.GetValue(Value("V"), nullptr, 0), 6);
  EXPECT_EQ(registry.GetValue(Value("V"), buffer, 5), -1);
  EXPECT_EQ(buffer[0], 9);

  for (const int length : {3, 4096, 65535, 65536, 0}) {
    Store(TEXT(""), TEXT("Text"), ScratchKey::Text(length, TEXT('x')));
    const int defaultLength = 1, read = registry.GetString(Value("Text"), "-").GetLength();
    EXPECT_EQ(read, length == 65536 || length == 0 ? defaultLength : length);
  }
}

}  // namespace
