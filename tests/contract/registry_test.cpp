/// The registry as the program relies on it.
#include <gtest/gtest.h>

#include <string>

#include "common/scratch_key.h"

namespace {

class Registry : public testing::Test {
 protected:
  static LSTATUS Set(HKEY key, LPCWSTR name, const std::string& bytes, DWORD type = REG_BINARY) {
    return RegSetValueExW(key, name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                          static_cast<DWORD>(bytes.size()));
  }
  static LSTATUS Find(HKEY key, LPCWSTR name) {
    return RegQueryValueExW(key, name, nullptr, nullptr, nullptr, nullptr);
  }
  LSTATUS Open(const ScratchKey::Text& subKey) {
    HKEY key = nullptr;
    const LSTATUS result =
        RegOpenKeyExW(HKEY_CURRENT_USER, scratch.Path(subKey).c_str(), 0, KEY_READ, &key);
    if (result == ERROR_SUCCESS) RegCloseKey(key);
    return result;
  }

  ScratchKey scratch;
};

TEST_F(Registry, CreatesPathsAndTellsNewFromExisting) {
  DWORD disposition = 0;
  for (const auto& [path, expected] : {std::pair{TEXT("A"), DWORD{REG_CREATED_NEW_KEY}},
                                       {TEXT("a"), DWORD{REG_OPENED_EXISTING_KEY}},
                                       {TEXT("A\\B"), DWORD{REG_CREATED_NEW_KEY}}}) {
    ASSERT_NE(scratch.Create(path, &disposition), nullptr);
    EXPECT_EQ(disposition, expected);
  }
  EXPECT_EQ(Open(TEXT("a\\b\\")), ERROR_SUCCESS);
  EXPECT_EQ(Open(TEXT("A\\Missing\\C")), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, NoHandleIsOneOfItsRoots) {
  constexpr int kOftenEnoughToUseValuesUp = 1000;
  for (int i = 0; i < kOftenEnoughToUseValuesUp; ++i) {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_NE(event, HKEY_CLASSES_ROOT) << i;
    CloseHandle(event);
  }
}

TEST_F(Registry, KeepsTypeAndBytesUnderNamesOfAnyCase) {
  const HKEY key = scratch.Create(TEXT("Values"));
  const struct {
    LPCWSTR written, read;
    std::string bytes;
    DWORD type;
  } cases[] = {{TEXT("Number"), TEXT("nUMBER"), "1234", REG_DWORD},
               {TEXT("NUMBER"), TEXT("Number"), std::string("a\0\0\0", 4), REG_SZ},
               {TEXT(""), nullptr, "", REG_NONE},
               {TEXT("\u00C4\u0416 a\\b"), TEXT("\u00E4\u0436 A\\B"), "x", REG_BINARY}};
  for (const auto& value : cases) {
    ASSERT_EQ(Set(key, value.written, value.bytes, value.type), ERROR_SUCCESS);
    BYTE buffer[8];
    DWORD size = sizeof buffer, type = 77;
    EXPECT_EQ(RegQueryValueExW(key, value.read, nullptr, &type, buffer, &size), ERROR_SUCCESS);
    EXPECT_EQ(std::string(buffer, buffer + size), value.bytes);
    EXPECT_EQ(type, value.type);
  }
  BYTE untouched = 0xEE;
  DWORD size = 1;
  EXPECT_EQ(RegQueryValueExW(key, TEXT("Number"), nullptr, nullptr, &untouched, &size),
            ERROR_MORE_DATA);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(untouched, 0xEE);
  EXPECT_EQ(RegDeleteValueW(key, TEXT("number")), ERROR_SUCCESS);
  EXPECT_EQ(Find(key, TEXT("Number")), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, DeletesKeysWithoutSubkeysEvenWhileOpen) {
  const HKEY parent = scratch.Create(TEXT("P")), child = scratch.Create(TEXT("P\\C"));
  ASSERT_EQ(Set(child, TEXT("V"), "1"), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, scratch.Path(TEXT("P")).c_str()), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyW(parent, TEXT("c")), ERROR_SUCCESS);
  EXPECT_EQ(RegDeleteKeyW(parent, TEXT("c")), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Set(child, TEXT("V"), "1"), ERROR_KEY_DELETED);
  EXPECT_EQ(Find(scratch.Create(TEXT("P\\C")), TEXT("V")), ERROR_FILE_NOT_FOUND);
}

}  // namespace
