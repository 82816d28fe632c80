/// registry.db: several processes on one file, and files that are not what they should be.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <list>
#include <string>

#include "common/victim.h"
#include "platform/posix/registry/database.h"

namespace {

namespace fs = std::filesystem;
using platform::RegistryDatabase;
using platform::RegistryName;

/// Far longer than anything here takes; only a fault reaches it.
constexpr int kLongMs = 60000;

platform::RegistryKeyId MakeKey(RegistryDatabase& database) {
  bool created = false;
  return database.CreateKey(2, platform::SplitKeyPath(u"Software\\Shared"), created);
}

/// One of those that make the file and the key at the same time, to write without end.
const VictimRole kWriter("registry-writer", [](VictimSide& side, const std::string& path) {
  side.Ready();
  side.WaitUntilReleased();
  platform::RegistryPatience patience{kLongMs};
  RegistryDatabase database(path, patience);
  const auto key = MakeKey(database);
  const auto id = std::to_string(GetCurrentProcessId());
  for (unsigned char number = 0;; ++number) {
    database.SetValue(key, RegistryName(std::u16string(id.begin(), id.end())),
                      {REG_BINARY, {char(number)}});
    if (number == 20) side.Ready();
  }
  return 0;
});

class RegistryFile : public testing::Test {
 protected:
  RegistryFile() { fs::create_directories(_folder); }
  ~RegistryFile() override { fs::remove_all(_folder); }

  std::string Path() const { return _folder / "registry.db"; }

  /// What using the file comes to.
  DWORD Use() const {
    try {
      platform::RegistryPatience patience;
      RegistryDatabase database(Path(), patience);
      return MakeKey(database) > 0 ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
    } catch (const platform::RegistryError& error) {
      return error.code;
    }
  }

  const fs::path _folder = fs::temp_directory_path() / UniqueName(TEXT("tagwright-registry-"));
};

TEST_F(RegistryFile, OutlivesProcessesThatMakeItTogetherAndAreKilledWriting) {
  std::list<Victim> writers;
  for (int i = 0; i < 4; ++i) writers.emplace_back("registry-writer", Path()).WaitUntilReady();
  for (Victim& writer : writers) writer.Release();
  for (Victim& writer : writers) writer.WaitUntilReady();
  for (Victim& writer : writers) writer.Kill();
  platform::RegistryPatience patience{kLongMs};
  RegistryDatabase database(Path(), patience);
  const auto key = MakeKey(database);
  for (Victim& writer : writers) {
    const auto id = std::to_string(writer.Id());
    EXPECT_TRUE(database.FindValue(key, RegistryName(std::u16string(id.begin(), id.end()))));
  }
}

TEST_F(RegistryFile, IsItsOwnersAloneWhateverItWas) {
  for (const auto before : {fs::perms{0664}, fs::perms{0400}}) {
    std::ofstream(Path()).close();
    fs::permissions(Path(), before);
    Use();
    EXPECT_EQ(fs::status(Path()).permissions(), before & fs::perms::owner_all);
  }
}

TEST_F(RegistryFile, DamagedAndForeignFilesAreBadDatabases) {
  const std::tuple<std::string, std::streamoff, std::string> cases[] = {
      {"no database", 0, std::string(100, 'x')},
      {"a layout of tomorrow", 60, std::string("\0\0\0\2", 4)},
      {"overwritten pages", 4096, std::string(16384, '\xFF')}};
  for (const auto& [damage, offset, bytes] : cases) {
    fs::remove(Path());
    ASSERT_EQ(Use(), DWORD{ERROR_SUCCESS});
    std::fstream(Path(), std::ios::in | std::ios::out | std::ios::binary).seekp(offset) << bytes;
    EXPECT_EQ(Use(), DWORD{ERROR_BADDB}) << damage;
  }
}

}  // namespace
