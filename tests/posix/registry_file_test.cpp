/// registry.db: several processes on one file, and files that are not what they should be.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "common/unique_name.h"
#include "common/victim.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/registry_database.h"

namespace {

namespace fs = std::filesystem;
using platform::RegistryDatabase;
using platform::RegistryName;
using platform::RegistryValue;

constexpr platform::RegistryKeyId kCurrentUser = 2;
constexpr int kValues = 25;

std::string Number(DWORD number) {
  return std::string(reinterpret_cast<const char*>(&number), sizeof number);
}

platform::RegistryKeyId MakeKey(RegistryDatabase& database) {
  bool created = false;
  return database.CreateKey(kCurrentUser, platform::SplitKeyPath(u"Software\\Shared"), created);
}

/// Values named after the process, in a key that all of them make.
const VictimRole kWriter("registry-writer", [](VictimSide& side, const std::string& path) {
  side.Ready();
  side.WaitUntilReleased();
  RegistryDatabase database(path);
  const auto key = MakeKey(database);
  for (int i = 0; i < kValues; ++i) {
    const auto name = std::to_string(GetCurrentProcessId()) + "-" + std::to_string(i);
    database.SetValue(key, RegistryName(platform::ToUtf16(name)), {REG_DWORD, Number(i)});
  }
  return 0;
});

const VictimRole kEndlessWriter("registry-endless", [](VictimSide& side, const std::string& path) {
  RegistryDatabase database(path);
  const auto key = MakeKey(database);
  for (DWORD number = 0;; ++number) {
    database.SetValue(key, RegistryName(u"V"), {REG_DWORD, Number(number)});
    if (number == 10) side.Ready();
  }
  return 0;
});

/// Every call on a damaged file, then on the new one that takes its place. Exit code 0, or the
/// number of the check that failed.
const VictimRole kDamaged("registry-damaged", [](VictimSide&, const std::string& root) {
  setenv("TAGWRIGHT_ROOT", root.c_str(), 1);
  fs::create_directories(root);
  std::ofstream(root + "/registry.db") << std::string(8192, 'x');
  HKEY key = nullptr;
  DWORD size = 0;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, u"K", 0, KEY_READ, &key) != ERROR_BADDB) return 1;
  if (RegCreateKeyExW(HKEY_CURRENT_USER, u"K", 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr) !=
      ERROR_BADDB) {
    return 2;
  }
  if (RegQueryValueExW(HKEY_USERS, u"V", nullptr, nullptr, nullptr, &size) != ERROR_BADDB) return 3;
  if (RegDeleteKeyW(HKEY_USERS, u"K") != ERROR_BADDB) return 4;
  fs::remove(path);
  return RegSetValueExW(HKEY_USERS, u"V", 0, REG_NONE, nullptr, 0) == ERROR_SUCCESS ? 0 : 5;
});

class RegistryFile : public testing::Test {
 protected:
  ~RegistryFile() override { fs::remove_all(_folder); }

  std::string Folder() const { return _folder.string(); }
  std::string Path() const { return (_folder / "registry.db").string(); }

  /// What opening and using the file comes to: an error code, 0 when all went well.
  DWORD Use() const {
    try {
      RegistryDatabase database(Path());
      MakeKey(database);
      return ERROR_SUCCESS;
    } catch (const platform::RegistryError& error) {
      return error.code;
    }
  }
  void Overwrite(std::streamoff offset, const std::string& bytes) const {
    std::fstream file(Path(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(offset) << bytes;
  }

 private:
  fs::path _folder = [] {
    const fs::path folder =
        fs::temp_directory_path() / platform::ToUtf8(UniqueName(TEXT("tagwright-registry-")));
    fs::create_directories(folder);
    return folder;
  }();
};

TEST_F(RegistryFile, ManyProcessesMakeAndFillOneFile) {
  std::vector<std::unique_ptr<Victim>> writers;
  for (int i = 0; i < 4; ++i) {
    writers.push_back(std::make_unique<Victim>("registry-writer", Path()));
    writers.back()->WaitUntilReady();
  }
  for (auto& writer : writers) writer->Release();
  for (auto& writer : writers) EXPECT_EQ(writer->ExitCode(), 0U);

  RegistryDatabase database(Path());
  const auto key = database.FindKey(kCurrentUser, platform::SplitKeyPath(u"software\\SHARED\\"));
  ASSERT_TRUE(key);
  for (auto& writer : writers) {
    for (int i = 0; i < kValues; ++i) {
      const auto name = std::to_string(writer->Id()) + "-" + std::to_string(i);
      const auto value = database.FindValue(*key, RegistryName(platform::ToUtf16(name)));
      ASSERT_TRUE(value) << name;
      EXPECT_EQ(value->data, Number(i));
    }
  }
}

TEST_F(RegistryFile, OutlivesKilledWriters) {
  for (DWORD round = 0; round < 5; ++round) {
    {
      Victim writer("registry-endless", Path());
      writer.WaitUntilReady();
      writer.Kill();
    }
    RegistryDatabase database(Path());
    const auto key = MakeKey(database);
    EXPECT_EQ(database.FindValue(key, RegistryName(u"V"))->data.size(), sizeof(DWORD));
    database.SetValue(key, RegistryName(u"Round"), {REG_DWORD, Number(round)});
    EXPECT_EQ(database.FindValue(key, RegistryName(u"round"))->data, Number(round));
  }
}

TEST_F(RegistryFile, DamagedAndForeignFilesAreBadDatabases) {
  constexpr std::streamoff kPageBytes = 4096, kUserVersion = 60;
  const struct {
    const char* damage;
    std::streamoff offset;
    std::string bytes;
  } cases[] = {
      {"no database", 0, std::string(100, 'x')},
      {"a layout of tomorrow", kUserVersion, std::string("\0\0\0\2", 4)},
      {"another program's tables", kUserVersion, std::string(4, '\0')},
      {"overwritten pages", kPageBytes, std::string(4 * kPageBytes, '\xFF')},
  };
  for (const auto& [damage, offset, bytes] : cases) {
    fs::remove(Path());
    ASSERT_EQ(Use(), DWORD{ERROR_SUCCESS});
    Overwrite(offset, bytes);
    EXPECT_EQ(Use(), DWORD{ERROR_BADDB}) << damage;
  }
}

TEST_F(RegistryFile, ADamagedFileIsAnErrorUntilItIsTakenAway) {
  std::ofstream(Path()) << std::string(8192, 'x');
  const std::string ownRoot = platform::StateRootPath();
  setenv("TAGWRIGHT_ROOT", Folder().c_str(), 1);
  Victim victim("registry-damaged", Path());
  setenv("TAGWRIGHT_ROOT", ownRoot.c_str(), 1);
  EXPECT_EQ(victim.ExitCode(), 0U);
}

}  // namespace
