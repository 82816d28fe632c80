/// Files as the program relies on them: how opening follows the disposition, and the line ends of
/// texts.
#include <gtest/gtest.h>

#include <string>

#include "common/shared_file.h"
#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;

/// The last error of opening, which also tells about success.
DWORD ErrorOfOpening(const Text& path, DWORD disposition) {
  SetLastError(ERROR_GEN_FAILURE);
  const HANDLE file =
      CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, disposition, 0, nullptr);
  const DWORD error = GetLastError();
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  return error;
}

/// One file in a folder of the test's own on the system drive.
class Files : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(CreateDirectoryW(_folder.c_str(), nullptr)); }
  void TearDown() override {
    DeleteFileW(_file.c_str());
    EXPECT_TRUE(RemoveDirectoryW(_folder.c_str())) << GetLastError();
  }

  const Text _folder = UniqueName(TEXT("C:\\Tagwright Test "));
  const Text _file = _folder + TEXT("\\file.txt");
};

TEST_F(Files, OpeningFollowsTheDisposition) {
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_EXISTING), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(ErrorOfOpening(_folder + TEXT("\\none\\file"), CREATE_ALWAYS), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(ErrorOfOpening(_folder, OPEN_EXISTING), ERROR_ACCESS_DENIED);
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_ALWAYS), ERROR_SUCCESS);
  std::FILE* const log = _fsopen(std::string(_file.begin(), _file.end()).c_str(), "a", _SH_DENYNO);
  ASSERT_NE(log, nullptr);
  EXPECT_GE(std::fputs("kept\n", log), 0);
  EXPECT_EQ(std::fclose(log), 0);
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_ALWAYS), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(ErrorOfOpening(_file, CREATE_NEW), ERROR_FILE_EXISTS);
  EXPECT_EQ(ReadSharedFile(_file), "kept\r\n");
  EXPECT_EQ(ErrorOfOpening(_file, CREATE_ALWAYS), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(ReadSharedFile(_file), "");
}

}  // namespace
