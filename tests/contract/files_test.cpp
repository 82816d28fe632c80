/// Files and folders as the program relies on them: how opening follows the disposition, the line
/// ends of texts, what lies where.
#include <gtest/gtest.h>

#include <string>

#include "common/shared_file.h"
#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;

DWORD ErrorOf(BOOL succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

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
  HANDLE Open(DWORD access, DWORD disposition) const {
    return CreateFileW(_file.c_str(), access, 0, nullptr, disposition, 0, nullptr);
  }
  static DWORD Move(const Text& from, const Text& to, DWORD flags) {
    return ErrorOf(MoveFileExW(from.c_str(), to.c_str(), flags));
  }
  static DWORD AttributesOf(const Text& path) {
    return GetFileAttributesW(path.c_str()) &
           (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY);
  }
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

TEST_F(Files, AreReadAndWrittenWhereThePositionIs) {
  DWORD count = 0;
  char byte = 0;
  HANDLE file = Open(GENERIC_WRITE, CREATE_NEW);
  EXPECT_TRUE(WriteFile(file, "12345678", 8, &count, nullptr) && count == 8);
  EXPECT_EQ(ErrorOf(ReadFile(file, &byte, 1, &count, nullptr)), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(FlushFileBuffers(file));
  CloseHandle(file);
  file = Open(GENERIC_READ, OPEN_EXISTING);
  EXPECT_EQ(ErrorOf(WriteFile(file, "9", 1, &count, nullptr)), ERROR_ACCESS_DENIED);
  LARGE_INTEGER number{};
  for (const auto& [distance, origin, position] : {std::tuple{2, DWORD{FILE_BEGIN}, 2},
                                                   {3, DWORD{FILE_CURRENT}, 5},
                                                   {-1, DWORD{FILE_END}, 7}}) {
    number.QuadPart = distance;
    EXPECT_TRUE(SetFilePointerEx(file, number, &number, origin));
    EXPECT_EQ(number.QuadPart, position);
  }
  for (const DWORD expected : {1U, 0U}) {
    EXPECT_TRUE(ReadFile(file, &byte, 1, &count, nullptr) && count == expected && byte == '8');
  }
  EXPECT_TRUE(GetFileSizeEx(file, &number) && number.QuadPart == 8);
  CloseHandle(file);
}

TEST_F(Files, AreMovedAndDeletedOnlyWhereThatHarmsNothing) {
  const Text other = _folder + TEXT("\\other");
  CloseHandle(Open(GENERIC_WRITE, CREATE_NEW));
  EXPECT_EQ(AttributesOf(_file), DWORD{FILE_ATTRIBUTE_ARCHIVE});
  EXPECT_EQ(AttributesOf(_folder), DWORD{FILE_ATTRIBUTE_DIRECTORY});
  EXPECT_EQ(Move(_file, other, 0), ERROR_SUCCESS);
  EXPECT_EQ(GetFileAttributesW(_file.c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  CloseHandle(Open(GENERIC_WRITE, CREATE_NEW));
  EXPECT_EQ(Move(other, _file, 0), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(Move(other, _file, MOVEFILE_REPLACE_EXISTING), ERROR_SUCCESS);
  EXPECT_EQ(ErrorOf(DeleteFileW(other.c_str())), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(ErrorOf(DeleteFileW(_folder.c_str())), ERROR_ACCESS_DENIED);
  EXPECT_EQ(ErrorOf(RemoveDirectoryW(_folder.c_str())), ERROR_DIR_NOT_EMPTY);
  EXPECT_EQ(ErrorOf(CreateDirectoryW(_folder.c_str(), nullptr)), ERROR_ALREADY_EXISTS);
  WCHAR folder[MAX_PATH] = {};
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  EXPECT_EQ(Text(folder).size(), length);
  EXPECT_EQ(GetSystemDirectoryW(folder, length), length + 1) << "too small by the NUL";
  constexpr int kShared = CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE;
  EXPECT_EQ(SHGetFolderPathW(nullptr, kShared, nullptr, 0, folder), S_OK);
  EXPECT_EQ(AttributesOf(folder), DWORD{FILE_ATTRIBUTE_DIRECTORY});
}

}  // namespace
