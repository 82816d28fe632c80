#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "common/unique_name.h"
#include "common/victim.h"
#include "platform/posix/kernel/state_paths.h"
#include "platform/posix/kernel/text.h"
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

}  // namespace
