#include <gtest/gtest.h>

#include <string>

#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;

DWORD ErrorOf(bool succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

TEST(Libraries, SystemFunctionsAreFoundByName) {
  const HMODULE kernel = LoadLibraryW(TEXT("KERNEL32"));
  ASSERT_NE(kernel, nullptr);
  const FARPROC cancel = GetProcAddress(kernel, "CancelIoEx");
  ASSERT_NE(cancel, nullptr);
  EXPECT_EQ(reinterpret_cast<BOOL(WINAPI*)(HANDLE, LPOVERLAPPED)>(cancel)(nullptr, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_EQ(ErrorOf(GetProcAddress(kernel, "NoSuchFunction") != nullptr), ERROR_PROC_NOT_FOUND);
  EXPECT_TRUE(FreeLibrary(kernel));

  const HMODULE shell = LoadLibraryW(TEXT("Shell32.dll"));
  ASSERT_NE(shell, nullptr);
  EXPECT_NE(GetProcAddress(shell, "SHGetFolderPathW"), nullptr);
  EXPECT_TRUE(FreeLibrary(shell));
}

TEST(Libraries, WhatIsMissingOrNoLibraryIsRefused) {
  const Text path = TEXT("C:\\") + UniqueName(TEXT("tagwright-")) + TEXT(".dll");
  EXPECT_EQ(ErrorOf(LoadLibraryW(path.c_str()) != nullptr), ERROR_MOD_NOT_FOUND);
  const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  DWORD count = 0;
  ASSERT_TRUE(WriteFile(file, "no library", 10, &count, nullptr));
  CloseHandle(file);
  EXPECT_EQ(ErrorOf(LoadLibraryW(path.c_str()) != nullptr), ERROR_BAD_EXE_FORMAT);
  EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST(Libraries, HandlesAreChecked) {
  int something = 0;
  const HMODULE foreign = reinterpret_cast<HMODULE>(&something);
  EXPECT_EQ(ErrorOf(FreeLibrary(foreign)), ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(ErrorOf(GetProcAddress(foreign, "x") != nullptr), ERROR_MOD_NOT_FOUND);
  WCHAR path[MAX_PATH];
  EXPECT_EQ(GetModuleFileNameW(foreign, path, MAX_PATH), 0U);
  EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
}

}  // namespace
