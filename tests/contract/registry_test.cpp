/// The registry as the program relies on it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/scratch_key.h"
#include "platform/windows_api.h"

namespace {

using Bytes = std::vector<BYTE>;
using testing::Each;

constexpr DWORD kCreated = REG_CREATED_NEW_KEY, kExisting = REG_OPENED_EXISTING_KEY;
constexpr DWORD kBinary = REG_BINARY;
constexpr REGSAM kReadWrite = KEY_READ | KEY_WRITE;

class Registry : public testing::Test {
 protected:
  ~Registry() override {
    for (HKEY key : _open) RegCloseKey(key);
  }

  HKEY Create(const std::basic_string<WCHAR>& subKey, REGSAM access = KEY_ALL_ACCESS,
              DWORD* disposition = nullptr) {
    return _open.emplace_back(scratch.Create(subKey, access, disposition));
  }
  HKEY Open(const std::basic_string<WCHAR>& subKey, REGSAM access = KEY_READ) {
    HKEY key = nullptr;
    EXPECT_EQ(scratch.Open(subKey, access, key), ERROR_SUCCESS);
    return _open.emplace_back(key);
  }
  LSTATUS OpenError(const std::basic_string<WCHAR>& subKey) {
    HKEY key = nullptr;
    const LSTATUS result = scratch.Open(subKey, KEY_READ, key);
    if (result == ERROR_SUCCESS) RegCloseKey(key);
    return result;
  }
  LSTATUS DeleteKey(const std::basic_string<WCHAR>& subKey) {
    return RegDeleteKeyW(HKEY_CURRENT_USER, scratch.Path(subKey).c_str());
  }

  static LSTATUS Set(HKEY key, LPCWSTR name, const Bytes& bytes, DWORD type = kBinary) {
    return RegSetValueExW(key, name, 0, type, bytes.data(), static_cast<DWORD>(bytes.size()));
  }
  static LSTATUS Get(HKEY key, LPCWSTR name) {
    return RegQueryValueExW(key, name, nullptr, nullptr, nullptr, nullptr);
  }
  static void ExpectValue(HKEY key, LPCWSTR name, const Bytes& bytes, DWORD type = kBinary) {
    Bytes buffer(64, 0xEE);
    DWORD size = static_cast<DWORD>(buffer.size()), foundType = 77;
    ASSERT_EQ(RegQueryValueExW(key, name, nullptr, &foundType, buffer.data(), &size),
              ERROR_SUCCESS);
    buffer.resize(size);
    EXPECT_EQ(buffer, bytes);
    EXPECT_EQ(foundType, type);
  }

  ScratchKey scratch;

 private:
  std::vector<HKEY> _open;
};

TEST_F(Registry, CreatesPathsAndTellsNewFromExisting) {
  DWORD disposition = 0;
  ASSERT_NE(Create(TEXT("A"), kReadWrite, &disposition), nullptr);
  EXPECT_EQ(disposition, kCreated);
  ASSERT_NE(Create(TEXT("a"), kReadWrite, &disposition), nullptr);
  EXPECT_EQ(disposition, kExisting);
  ASSERT_NE(Create(TEXT("A\\B"), kReadWrite, &disposition), nullptr);
  EXPECT_EQ(disposition, kCreated);
  EXPECT_EQ(OpenError(TEXT("A\\Missing\\C")), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(OpenError(TEXT("a\\b\\")), ERROR_SUCCESS);

  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, TEXT("\\Software"), 0, KEY_READ, &key),
            ERROR_BAD_PATHNAME);
}

TEST_F(Registry, KeepsTypeAndBytesUnderNamesOfAnyCase) {
  const HKEY key = Create(TEXT("Values"));
  ASSERT_EQ(Set(key, TEXT("Number"), {1, 2, 3, 4}, REG_DWORD), ERROR_SUCCESS);
  ASSERT_EQ(Set(key, TEXT("Empty"), {}), ERROR_SUCCESS);
  ASSERT_EQ(Set(key, TEXT(""), {9}, REG_NONE), ERROR_SUCCESS);
  ASSERT_EQ(Set(key, TEXT("\u00C4\u0416 a\\b"), {5, 0, 6}), ERROR_SUCCESS);
  ExpectValue(key, TEXT("nUMBER"), {1, 2, 3, 4}, REG_DWORD);
  ExpectValue(key, TEXT("Empty"), {});
  ExpectValue(key, nullptr, {9}, REG_NONE);
  ExpectValue(key, TEXT("\u00E4\u0436 A\\B"), {5, 0, 6});

  ASSERT_EQ(Set(key, TEXT("NUMBER"), {'x', 0}, REG_SZ), ERROR_SUCCESS);
  ExpectValue(key, TEXT("Number"), {'x', 0}, REG_SZ);
  EXPECT_EQ(RegDeleteValueW(key, TEXT("number")), ERROR_SUCCESS);
  EXPECT_EQ(Get(key, TEXT("Number")), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegDeleteValueW(key, TEXT("Number")), ERROR_FILE_NOT_FOUND);
}

TEST_F(Registry, TellsTheSizeAndFillsOnlyARoomyBuffer) {
  const HKEY key = Create(TEXT("Sizes"));
  ASSERT_EQ(Set(key, TEXT("V"), {1, 2, 3}), ERROR_SUCCESS);

  DWORD type = 77, size = 0;
  EXPECT_EQ(RegQueryValueExW(key, TEXT("V"), nullptr, &type, nullptr, &size), ERROR_SUCCESS);
  EXPECT_EQ(size, 3U);
  EXPECT_EQ(type, kBinary);

  Bytes buffer(3, 0xEE);
  size = 2;
  EXPECT_EQ(RegQueryValueExW(key, TEXT("V"), nullptr, nullptr, buffer.data(), &size),
            ERROR_MORE_DATA);
  EXPECT_EQ(size, 3U);
  EXPECT_THAT(buffer, Each(0xEE));
  EXPECT_EQ(RegQueryValueExW(key, TEXT("V"), nullptr, nullptr, buffer.data(), &size),
            ERROR_SUCCESS);
  EXPECT_EQ(buffer, Bytes({1, 2, 3}));
  EXPECT_EQ(RegQueryValueExW(key, TEXT("V"), nullptr, nullptr, buffer.data(), nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST_F(Registry, GrantsWhatTheHandleWasOpenedFor) {
  ASSERT_EQ(Set(Create(TEXT("R")), TEXT("V"), {1}), ERROR_SUCCESS);
  const HKEY readOnly = Open(TEXT("R"), KEY_READ);
  EXPECT_EQ(Set(readOnly, TEXT("V"), {2}), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteValueW(readOnly, TEXT("V")), ERROR_ACCESS_DENIED);
  EXPECT_EQ(Get(readOnly, TEXT("V")), ERROR_SUCCESS);
  const HKEY writeOnly = Open(TEXT("R"), KEY_SET_VALUE);
  EXPECT_EQ(Get(writeOnly, TEXT("V")), ERROR_ACCESS_DENIED);
  EXPECT_EQ(Set(writeOnly, TEXT("V"), {3}), ERROR_SUCCESS);
}

TEST_F(Registry, DeletesKeysWithoutSubkeysEvenWhileOpen) {
  const HKEY parent = Create(TEXT("P"));
  const HKEY child = Create(TEXT("P\\C"));
  ASSERT_EQ(Set(child, TEXT("V"), {1}), ERROR_SUCCESS);
  EXPECT_EQ(DeleteKey(TEXT("P")), ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteKeyW(parent, TEXT("c")), ERROR_SUCCESS);
  EXPECT_EQ(DeleteKey(TEXT("P\\C")), ERROR_FILE_NOT_FOUND);

  EXPECT_EQ(Get(child, TEXT("V")), ERROR_KEY_DELETED);
  EXPECT_EQ(Set(child, TEXT("V"), {1}), ERROR_KEY_DELETED);
  EXPECT_EQ(Get(Create(TEXT("P\\C")), TEXT("V")), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Get(child, TEXT("V")), ERROR_KEY_DELETED);
}

TEST_F(Registry, RefusesHandlesThatAreNoOpenKey) {
  HKEY stale = nullptr;
  ASSERT_EQ(scratch.Open(TEXT(""), KEY_ALL_ACCESS, stale), ERROR_SUCCESS);
  // Made while the key is open: it must not get the handle value that the key leaves.
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ASSERT_EQ(RegCloseKey(stale), ERROR_SUCCESS);
  for (HKEY bad : {stale, HKEY{nullptr}, reinterpret_cast<HKEY>(event)}) {
    HKEY opened = nullptr;
    EXPECT_EQ(RegOpenKeyExW(bad, TEXT("X"), 0, KEY_READ, &opened), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Get(bad, TEXT("V")), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Set(bad, TEXT("V"), {1}), ERROR_INVALID_HANDLE);
  }
  EXPECT_EQ(RegCloseKey(stale), ERROR_INVALID_HANDLE);
  EXPECT_TRUE(CloseHandle(event));
  EXPECT_EQ(RegCloseKey(HKEY_CURRENT_USER), ERROR_SUCCESS);
  EXPECT_EQ(OpenError(TEXT("")), ERROR_SUCCESS);
}

struct Writer {
  HKEY key;
  HANDLE written;

  static unsigned CALLBACK Run(void* argument) {
    const Writer& self = *static_cast<Writer*>(argument);
    for (DWORD number = 1;; ++number) {
      RegSetValueExW(self.key, TEXT("V"), 0, REG_DWORD, reinterpret_cast<BYTE*>(&number), 4);
      SetEvent(self.written);
    }
  }
};

TEST_F(Registry, StaysUsableWhenAWritingThreadIsTerminated) {
  constexpr DWORD kBoundMs = 60000;
  const HKEY key = Create(TEXT("T"));
  for (int round = 0; round < 10; ++round) {
    Writer writer{key, CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    const HANDLE thread =
        reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, Writer::Run, &writer, 0, nullptr));
    ASSERT_EQ(WaitForSingleObject(writer.written, kBoundMs), WAIT_OBJECT_0);
    ASSERT_TRUE(TerminateThread(thread, 260));
    ASSERT_EQ(WaitForSingleObject(thread, kBoundMs), WAIT_OBJECT_0);
    CloseHandle(thread);
    CloseHandle(writer.written);
    ASSERT_EQ(Set(key, TEXT("Other"), {1}), ERROR_SUCCESS);
  }
}

}  // namespace
