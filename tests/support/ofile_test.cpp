/// Files and folders.
#include "support/ofile.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "common/unique_name.h"
#include "platform/native_path.h"
#include "platform/windows_api.h"

namespace {

/// A folder that is not there yet; what it holds by then is removed at the end.
class Files : public testing::Test {
 protected:
  ~Files() override {
    DeleteFileW(file.wstring());
    for (const OString& folder : {below, above, root}) RemoveDirectoryW(folder.wstring());
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

TEST_F(Files, AFolderRightUnderTheDriveIsCreatedWithItsParentWhateverItsLength) {
  const OString shortest(TEXT("C:\\\x00fe")), inIt = shortest + "\\below";
  EXPECT_TRUE(OFile::CreateDirectoryPath(inIt));
  EXPECT_NE(OFile::GetAttributes(inIt), INVALID_FILE_ATTRIBUTES);
  for (const char* path : {"Q:\\below", "abc\\below"}) {
    EXPECT_FALSE(OFile::CreateDirectoryPath(path)) << "what may be a root is not created";
  }
  for (const OString& folder : {inIt, shortest, OString("abc\\below"), OString("abc")}) {
    RemoveDirectoryW(folder.wstring());
  }
}

TEST_F(Files, OnlyWhatCanBeOpenedExistsAndNoFolderIsMadeBelowIt) {
  EXPECT_FALSE(OFile::Exists(file));
  ASSERT_TRUE(OFile::CreateDirectoryPath(root));
  EXPECT_FALSE(OFile::Exists(root)) << "a folder cannot be opened for reading";
  CloseHandle(CreateFileW(file.wstring(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
  EXPECT_EQ(OFile::GetAttributes(file), DWORD{FILE_ATTRIBUTE_ARCHIVE});
  EXPECT_FALSE(OFile::CreateDirectoryPath(file + "\\below\\it"));
  const std::string native = platform::NativePath(file.wstring());
  using std::filesystem::perms;
  std::filesystem::permissions(native, perms::owner_read);
  EXPECT_EQ(OFile::GetAttributes(file), DWORD{FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY});
  EXPECT_TRUE(OFile::Exists(file)) << "it can be read";
  std::filesystem::permissions(native, perms::owner_read | perms::owner_write);
}

}  // namespace
