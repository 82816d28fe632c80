/// Where LoadLibraryW looks.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>

#include "common/test_root.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/windows_api.h"

namespace {

TEST(Libraries, ABareNameIsNotLookedForInTheCurrentFolder) {
  Dl_info math{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(static_cast<double (*)(double)>(std::erf)), &math), 0);
  const auto folder = std::filesystem::path(std::getenv("TAGWRIGHT_ROOT")) / "libraries";
  std::filesystem::create_directories(folder);
  std::filesystem::copy_file(math.dli_fname, folder / "any.dll");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder);
  EXPECT_EQ(LoadLibraryW(u"any.dll"), nullptr);
  EXPECT_EQ(GetLastError(), ERROR_MOD_NOT_FOUND);
  const HMODULE library = LoadLibraryW(u".\\any");
  std::filesystem::current_path(before);
  ASSERT_NE(library, nullptr);
  EXPECT_NE(GetProcAddress(library, "erf"), nullptr);
  EXPECT_EQ(GetProcAddress(library, "malloc"), nullptr) << "an export of a library that it needs";
  EXPECT_EQ(GetLastError(), ERROR_PROC_NOT_FOUND);
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_FALSE(FreeLibrary(library));
  for (const std::size_t size : {3U, 300U}) {
    std::ofstream(folder / "none.dll") << std::string(size, 'x');
    EXPECT_EQ(LoadLibraryW(platform::ToWindowsPath((folder / "none.dll").string()).c_str()),
              nullptr);
    EXPECT_EQ(GetLastError(), ERROR_BAD_EXE_FORMAT);
  }
}

}  // namespace
