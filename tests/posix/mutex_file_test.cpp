#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/unique_name.h"
#include "common/victim.h"
#include "platform/posix/kernel/byte_lock.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/posix/kernel/unique_fd.h"
#include "platform/windows_api.h"

namespace {

class MutexFileTest : public testing::Test {
 protected:
  std::string File() const {
    return platform::StateFolder("mutex") + "/" + platform::ToUtf8(_name);
  }
  void ExpectFresh() const {
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, _name.c_str());
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
    CloseHandle(mutex);
  }

  std::u16string _name = UniqueName(TEXT("file"));
};

const VictimRole kFileHolder("mutex-file-holder", [](VictimSide& side, const std::string& name) {
  CreateMutexW(nullptr, TRUE, std::u16string(name.begin(), name.end()).c_str());
  side.Ready();
  side.WaitUntilReleased();
  return 0;
});

TEST_F(MutexFileTest, WhateverWasLeftInItIsReplaced) {
  {
    Victim victim("mutex-file-holder", platform::ToUtf8(_name));
    victim.WaitUntilReady();
  }
  std::ifstream file(File());
  const std::string ofTheDead(std::istreambuf_iterator<char>(file), {});
  ASSERT_FALSE(ofTheDead.empty());
  ExpectFresh();
  for (const std::string& content :
       {std::string(), std::string("short"), std::string(5000, 'x'), ofTheDead,
        ofTheDead.substr(0, ofTheDead.size() / 2), std::string(ofTheDead.size(), '\0')}) {
    std::ofstream(File()) << content;
    ExpectFresh();
  }
}

TEST_F(MutexFileTest, IsUsedAgainAsIfItWereOpenedAnew) {
  namespace fs = std::filesystem;
  ExpectFresh();  // Its file stays open.
  {
    const platform::UniqueFd other(open(File().c_str(), O_RDWR | O_CLOEXEC));
    for (const off_t byte : {0, 1}) {
      EXPECT_TRUE(platform::TryLockByte(other.Get(), byte, platform::ByteLock::kExclusive));
    }
    EXPECT_TRUE(platform::TryLockByte(other.Get(), 1, platform::ByteLock::kShared));
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, _name.c_str());
    EXPECT_EQ(GetLastError(), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), DWORD{WAIT_TIMEOUT});
    CloseHandle(mutex);
  }
  ExpectFresh();
  fs::permissions(File(), fs::perms(0666));
  ExpectFresh();
  EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0600));
  fs::remove(File());
  ExpectFresh();
  EXPECT_TRUE(fs::exists(File()));
}

}  // namespace
