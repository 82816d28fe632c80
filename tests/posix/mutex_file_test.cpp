#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/unique_name.h"
#include "common/victim.h"
#include "platform/posix/kernel/file_name.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
#include "platform/windows_api.h"

namespace {

namespace fs = std::filesystem;

class MutexFileTest : public testing::Test {
 protected:
  fs::path File() const {
    return fs::path(platform::StateFolder("mutex")) /
           platform::FileNameFor(platform::ToUtf8(_name));
  }
  void Leave(const std::string& content) const { std::ofstream(File()) << content; }
  std::string Content() const {
    std::ifstream file(File());
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void ExpectFresh(HANDLE mutex) {
    EXPECT_EQ(GetLastError(), 0U);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
    EXPECT_TRUE(ReleaseMutex(mutex));
    CloseHandle(mutex);
  }
  HANDLE Create(LPSECURITY_ATTRIBUTES attributes = nullptr) const {
    return CreateMutexW(attributes, FALSE, _name.c_str());
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
  const std::string ofTheDead = Content();
  ASSERT_FALSE(ofTheDead.empty());
  ExpectFresh(Create());
  for (const std::string& content :
       {std::string(), std::string("short"), std::string(5000, 'x'), ofTheDead,
        ofTheDead.substr(0, ofTheDead.size() / 2), std::string(ofTheDead.size(), '\0')}) {
    Leave(content);
    ExpectFresh(Create());
  }
}

TEST_F(MutexFileTest, WhatCannotBeReplacedIsAnError) {
  fs::create_directory(File());
  EXPECT_EQ(Create(), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
  fs::remove(File());
  fs::create_symlink("elsewhere", File());
  EXPECT_EQ(Create(), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
}

TEST_F(MutexFileTest, OpenToEveryoneOnlyWhenTheDescriptorSaysSo) {
  SECURITY_ATTRIBUTES everyone{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(
      TEXT("D:(A;;GA;;;WD)"), SDDL_REVISION_1, &everyone.lpSecurityDescriptor, nullptr));
  for (const auto& [attributes, mode] :
       {std::pair<LPSECURITY_ATTRIBUTES, mode_t>{nullptr, 0600}, {&everyone, 0666}}) {
    const HANDLE mutex = Create(attributes);
    ASSERT_NE(mutex, nullptr);
    struct stat status {};
    EXPECT_EQ(stat(File().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, mode);
    CloseHandle(mutex);
  }
  LocalFree(everyone.lpSecurityDescriptor);
}

}  // namespace
