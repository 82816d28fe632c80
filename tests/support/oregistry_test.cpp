/// Registry values by text paths.
#include "support/oregistry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/scratch_key.h"

namespace {

/// Works below HKEY_CURRENT_USER, where a test may make what it likes.
class ORegistryTest : public testing::Test {
 protected:
  ORegistryTest() { _name << scratch.Path().c_str(); }

  /// A value path below the scratch key.
  OString Value(const char* path, const char* root = "CURRENT_USER:") {
    OString full = OString(root) + _name;
    full << "/" << path;
    return full;
  }

  /// Stores text at `name` in `subKey`, by the system's own calls.
  void Store(LPCWSTR subKey, LPCWSTR name, const std::basic_string<WCHAR>& text, DWORD bytes) {
    HKEY key = scratch.Create(subKey);
    ASSERT_EQ(
        RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes),
        ERROR_SUCCESS);
    RegCloseKey(key);
  }
  void StoreText(LPCWSTR name, int length) {
    const std::basic_string<WCHAR> text(length, TEXT('x'));
    Store(TEXT(""), name, text, static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR)));
  }

  static std::string Expanded(const char* path) {
    OString expanded = path;
    ORegistry().ExpandPath(expanded);
    return expanded.nstring();
  }

  ScratchKey scratch;
  ORegistry registry;

 private:
  OString _name;
};

TEST_F(ORegistryTest, ReplacesRootsAndAliasesAtTheStartOnly) {
  const std::string drivers = "SOFTWARE/Brennick/Drivers", control = "SYSTEM/CurrentControlSet/";
  const std::pair<const char*, std::string> cases[] = {
      {"CLASSES_ROOT:A/B", "0:A/B"},
      {"current_user:Software/X", "1:Software/X"},
      {"LOCAL_MACHINE:", "2:"},
      {"USERS:A", "3:A"},
      {"USER:Settings", "1:" + drivers + "/Settings"},
      {"Local:", "2:" + drivers},
      {"GLOBAL:Flags", "2:" + drivers + "/Global Settings/Flags"},
      {"CONTROL:A", "2:" + control + "Control/A"},
      {"print:A", "2:" + control + "Control/Print/A"},
      {"ENUM:A", "2:" + control + "Enum/A"},
      {"MACHINE:Software/X", "MACHINE:Software/X"},
      {"2:USER:X", "2:USER:X"},
      {"USER", "USER"},
  };
  for (const auto& [path, expanded] : cases) EXPECT_EQ(Expanded(path), expanded) << path;
}

TEST_F(ORegistryTest, OneValueHasManyPaths) {
  const DWORD stored = 0x12345678;
  ASSERT_EQ(registry.SetValue(Value("A/New/V"), &stored), 4);
  for (const OString& path : {Value("A/New/V"), Value("a/NEW/v", "1:"), Value("A\\New\\V"),
                              Value("A\\/New/V", "current_user:"), Value("%41/Ne%77/V"),
                              Value("A/New/V", "1-and-more:")}) {
    DWORD read = 0;
    EXPECT_EQ(registry.GetValue(path, &read, sizeof read), 4) << path.nstring();
    EXPECT_EQ(read, stored) << path.nstring();
  }
  RegDeleteKeyW(HKEY_CURRENT_USER, scratch.Path(TEXT("A\\New")).c_str());
  RegDeleteKeyW(HKEY_CURRENT_USER, scratch.Path(TEXT("A")).c_str());
}

TEST_F(ORegistryTest, EscapesPutSeparatorsIntoNames) {
  const struct {
    LPCWSTR subKey;
    LPCWSTR name;
    const char* path;
  } cases[] = {
      {TEXT("A/B"), TEXT("Val"), "A//B/Val"},    {TEXT("K"), TEXT("c:d"), "K/c::d"},
      {TEXT("100%"), TEXT("%41"), "100%%/%%41"}, {TEXT("K"), TEXT("%41"), "K/%2541"},
      {TEXT("K"), TEXT("a/b%"), "K/a%2fb%"},     {TEXT("K"), TEXT(""), "K/"},
  };
  for (const auto& [subKey, name, path] : cases) {
    Store(subKey, name, TEXT("found"), 6 * sizeof(WCHAR));
    EXPECT_STREQ(registry.GetString(Value(path), "").nstring(), "found") << path;
  }
}

TEST_F(ORegistryTest, RefusesPathsThatAddressNoKey) {
  DWORD number = 7;
  for (const char* path : {"", "NoColon", "No/Colon", "2:Val", "2:", "7:Software/X",
                           "-1:Software/X", ":Software/X", "LOCAL_MACHINE:Val"}) {
    EXPECT_EQ(registry.GetValue(path, &number, sizeof number), -1) << path;
    EXPECT_EQ(registry.SetValue(path, &number), -1) << path;
    EXPECT_STREQ(registry.GetString(path, "default").nstring(), "default") << path;
  }
  EXPECT_EQ(registry.GetValue(Value("Missing/V"), &number, sizeof number), -1);
  EXPECT_EQ(registry.GetValue(Value("Missing"), &number, sizeof number), -1);
  EXPECT_EQ(number, 7U);
}

TEST_F(ORegistryTest, GetValueTellsSizesAndKeepsTheBufferOnFailure) {
  Store(TEXT(""), TEXT("V"), TEXT("ab"), 6);
  BYTE buffer[8] = {9, 9, 9, 9, 9, 9, 9, 9};
  EXPECT_EQ(registry.GetValue(Value("V"), nullptr, 0), 6);
  EXPECT_EQ(registry.GetValue(Value("V"), buffer, 5), -1);
  EXPECT_EQ(buffer[0], 9);
  EXPECT_EQ(registry.GetValue(Value("V"), buffer, sizeof buffer), 6);
  EXPECT_EQ(buffer[0], 'a');
  EXPECT_EQ(buffer[6], 9);
}

TEST_F(ORegistryTest, GetStringReadsTextUpToItsLimit) {
  StoreText(TEXT("Short"), 5);
  StoreText(TEXT("ShortLimit"), 4094);
  StoreText(TEXT("Long"), 5000);
  StoreText(TEXT("Limit"), 65534);
  StoreText(TEXT("TooLong"), 65535);
  Store(TEXT(""), TEXT("NoBytes"), TEXT(""), 0);
  Store(TEXT(""), TEXT("Unterminated"), TEXT("abc"), 3 * sizeof(WCHAR));

  const auto length = [&](const char* name) {
    return registry.GetString(Value(name), "default").GetLength();
  };
  EXPECT_EQ(length("Short"), 5);
  EXPECT_EQ(length("ShortLimit"), 4094);
  EXPECT_EQ(length("Long"), 5000);
  EXPECT_EQ(length("Limit"), 65534);
  EXPECT_STREQ(registry.GetString(Value("TooLong"), "default").nstring(), "default");
  EXPECT_STREQ(registry.GetString(Value("NoBytes"), "default").nstring(), "default");
  EXPECT_STREQ(registry.GetString(Value("Unterminated"), "default").nstring(), "abc");
}

}  // namespace
