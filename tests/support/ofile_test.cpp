/// Files, folders and what the process knows of itself.
#include "support/ofile.h"

#include <gtest/gtest.h>

#include "common/unique_name.h"
#include "platform/windows_api.h"
#include "support/process_utility.h"

namespace {

/// A folder that is not there yet; what it holds by then is removed at the end.
class Files : public testing::Test {
 protected:
  ~Files() override {
    DeleteFileW(file.wstring());
    for (const OString& folder : {below, above, root}) RemoveDirectoryW(folder.wstring());
  }
  void TouchFile() const {
    const HANDLE handle = CreateFileW(file.wstring(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    CloseHandle(handle);
  }

  const OString root = UniqueName(TEXT("C:\\Tagwright Test ")).c_str();
  const OString above = root + "\\above";
  const OString below = above + OString(TEXT("\\below \x20ac"));
  const OString file = root + "\\file";
};

TEST_F(Files, FolderPathsAreCreatedWithTheirParents) {
  EXPECT_EQ(OFile::GetAttributes(below), INVALID_FILE_ATTRIBUTES);
  EXPECT_TRUE(OFile::CreateDirectoryPath(below));
  EXPECT_TRUE(OFile::CreateDirectoryPath(below)) << "it is there already";
  EXPECT_EQ(OFile::GetAttributes(below), DWORD{0}) << "a plain folder has none of the bits";
}

TEST_F(Files, FolderPathsFailWhereNothingCanBeCreated) {
  ASSERT_TRUE(OFile::CreateDirectoryPath(root));
  TouchFile();
  EXPECT_FALSE(OFile::CreateDirectoryPath(file + "\\below\\it"));
  EXPECT_FALSE(OFile::CreateDirectoryPath("?:\\a"));
  EXPECT_FALSE(OFile::CreateDirectoryPath(""));
}

TEST_F(Files, OnlyWhatCanBeOpenedExists) {
  EXPECT_FALSE(OFile::Exists(file));
  ASSERT_TRUE(OFile::CreateDirectoryPath(root));
  TouchFile();
  EXPECT_TRUE(OFile::Exists(file));
  EXPECT_NE(OFile::GetAttributes(file), INVALID_FILE_ATTRIBUTES);
  EXPECT_FALSE(OFile::Exists(root)) << "a folder cannot be opened for reading";
}

TEST(ProcessUtility, KnowsItsParentAndItsFolder) {
  const DWORD parent = ProcessUtility::GetParentProcessId();
  EXPECT_NE(parent, ProcessUtility::kNoProcessId);
  EXPECT_NE(parent, GetCurrentProcessId());

  const OString folder = ProcessUtility::GetCurrentModuleDirectory();
  WCHAR program[MAX_PATH];
  ASSERT_NE(GetModuleFileNameW(nullptr, program, MAX_PATH), DWORD{0});
  EXPECT_EQ(OString(program).Compare(folder + OString(program).Mid(folder.GetLength())), 0);
  EXPECT_EQ(OString(program).ReverseFind('\\'), folder.GetLength());
}

}  // namespace
