#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/windows_api.h"

namespace {

// The layer itself is a library beside the program.
TEST(LibraryFile, ABareNameIsFoundBesideTheProgram) {
  const auto function = reinterpret_cast<FARPROC>(&FreeLibrary);
  Dl_info layer{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(function), &layer), 0);
  const std::filesystem::path file = layer.dli_fname;
  const HMODULE module = LoadLibraryW(file.filename().u16string().c_str());
  ASSERT_NE(module, nullptr) << GetLastError();
  EXPECT_EQ(LoadLibraryW(file.u16string().c_str()), module);

  EXPECT_EQ(GetProcAddress(module, layer.dli_sname), function);
  EXPECT_EQ(GetProcAddress(module, "malloc"), nullptr) << "exported by what it depends on";
  EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
  WCHAR path[MAX_PATH];
  ASSERT_GT(GetModuleFileNameW(module, path, MAX_PATH), 0U);
  EXPECT_NE(std::u16string(path).find(u"\\" + file.filename().u16string()), std::u16string::npos);

  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_FALSE(FreeLibrary(module)) << "it was loaded twice";
}

}  // namespace
