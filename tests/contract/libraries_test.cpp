#include <gtest/gtest.h>

#include <string>

#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

DWORD ErrorOf(bool succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

TEST(Libraries, SystemFunctionsAreFoundByName) {
  const HMODULE kernel = LoadLibraryW(TEXT("KERNEL32"));
  const auto cancel =
      reinterpret_cast<BOOL(WINAPI*)(HANDLE, LPOVERLAPPED)>(GetProcAddress(kernel, "CancelIoEx"));
  ASSERT_NE(cancel, nullptr);
  EXPECT_EQ(ErrorOf(cancel(nullptr, nullptr)), ERROR_INVALID_HANDLE);
  EXPECT_EQ(ErrorOf(GetProcAddress(kernel, "NoSuchFunction") != nullptr), ERROR_PROC_NOT_FOUND);
  EXPECT_TRUE(FreeLibrary(kernel));
}

TEST(Libraries, WhatIsMissingOrNoLibraryIsRefused) {
  const auto path = UniqueName(TEXT("C:\\Tagwright Test ")) + TEXT(".dll");
  EXPECT_EQ(ErrorOf(LoadLibraryW(path.c_str()) != nullptr), ERROR_MOD_NOT_FOUND);
  CloseHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
  EXPECT_EQ(ErrorOf(LoadLibraryW(path.c_str()) != nullptr), ERROR_BAD_EXE_FORMAT);
  EXPECT_TRUE(DeleteFileW(path.c_str()));
  const HMODULE foreign = reinterpret_cast<HMODULE>(const_cast<WCHAR*>(path.data()));
  EXPECT_EQ(ErrorOf(FreeLibrary(foreign)), ERROR_MOD_NOT_FOUND);
}

}  // namespace
