#include <gtest/gtest.h>

#include <string>

#include "common/unique_name.h"
#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;

DWORD ErrorOf(BOOL succeeded) { return succeeded ? ERROR_SUCCESS : GetLastError(); }

HANDLE OpenFile(const Text& path, DWORD disposition, DWORD access = GENERIC_READ | GENERIC_WRITE) {
  return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

/// The last error of opening, which also tells about success.
DWORD ErrorOfOpening(const Text& path, DWORD disposition) {
  SetLastError(ERROR_GEN_FAILURE);
  const HANDLE file = OpenFile(path, disposition);
  const DWORD error = GetLastError();
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  return error;
}

/// Everything below one folder of the test's own on the system drive.
class Files : public testing::Test {
 protected:
  void SetUp() override {
    _folder = TEXT("C:\\") + UniqueName(TEXT("tagwright-"));
    _file = _folder + TEXT("\\file \u00E4.txt");
    ASSERT_TRUE(CreateDirectoryW(_folder.c_str(), nullptr)) << GetLastError();
  }
  void TearDown() override {
    DeleteFileW(_file.c_str());
    DeleteFileW(Other().c_str());
    EXPECT_TRUE(RemoveDirectoryW(_folder.c_str())) << GetLastError();
  }

  Text Other() const { return _folder + TEXT("\\other.txt"); }
  void Write(const Text& path, const std::string& content) {
    const HANDLE file = OpenFile(path, CREATE_ALWAYS);
    DWORD count = 0;
    EXPECT_TRUE(
        WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &count, nullptr));
    CloseHandle(file);
  }
  std::string Read(const Text& path) {
    const HANDLE file = OpenFile(path, OPEN_EXISTING, GENERIC_READ);
    if (file == INVALID_HANDLE_VALUE) return "(error " + std::to_string(GetLastError()) + ")";
    char buffer[4096];
    DWORD count = 0;
    EXPECT_TRUE(ReadFile(file, buffer, sizeof buffer, &count, nullptr));
    CloseHandle(file);
    return {buffer, count};
  }
  std::string AnsiName(const char* name) const {
    return std::string(_folder.begin(), _folder.end()) + "\\" + name;
  }
  void Print(const std::string& text, const char* mode) {
    std::FILE* const stream = _fsopen(AnsiName("other.txt").c_str(), mode, _SH_DENYNO);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), stream), text.size());
    std::fclose(stream);
  }

  Text _folder;
  Text _file;
};

TEST_F(Files, OpeningFollowsTheDisposition) {
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_EXISTING), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(ErrorOfOpening(_folder + TEXT("\\none\\file"), CREATE_ALWAYS), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(ErrorOfOpening(_folder, OPEN_EXISTING), ERROR_ACCESS_DENIED);
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_ALWAYS), ERROR_SUCCESS);
  Write(_file, "kept");
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_ALWAYS), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(ErrorOfOpening(_file, CREATE_NEW), ERROR_FILE_EXISTS);
  EXPECT_EQ(Read(_file), "kept");
  EXPECT_EQ(ErrorOfOpening(_file, CREATE_ALWAYS), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(Read(_file), "");
}

TEST_F(Files, PositionAndSize) {
  Write(_file, "0123456789");
  const HANDLE file = OpenFile(_file, OPEN_EXISTING);
  LARGE_INTEGER value{};
  ASSERT_TRUE(GetFileSizeEx(file, &value));
  EXPECT_EQ(value.QuadPart, 10);
  value.QuadPart = -3;
  EXPECT_EQ(ErrorOf(SetFilePointerEx(file, value, nullptr, FILE_BEGIN)), ERROR_NEGATIVE_SEEK);
  ASSERT_TRUE(SetFilePointerEx(file, value, &value, FILE_END));
  EXPECT_EQ(value.QuadPart, 7);
  char bytes[8];
  DWORD count = 0;
  ASSERT_TRUE(ReadFile(file, bytes, sizeof bytes, &count, nullptr));
  EXPECT_EQ(std::string(bytes, count), "789");
  EXPECT_TRUE(ReadFile(file, bytes, sizeof bytes, &count, nullptr)) << "at the end";
  EXPECT_EQ(count, 0U);
  CloseHandle(file);
  EXPECT_EQ(ErrorOf(GetFileSizeEx(file, &value)), ERROR_INVALID_HANDLE);
}

TEST_F(Files, AccessIsWhatWasAskedFor) {
  Write(_file, "x");
  const HANDLE reader = OpenFile(_file, OPEN_EXISTING, GENERIC_READ);
  DWORD count = 0;
  EXPECT_EQ(ErrorOf(WriteFile(reader, "y", 1, &count, nullptr)), ERROR_ACCESS_DENIED);
  CloseHandle(reader);
}

TEST_F(Files, MovingReplacesOnlyWhenToldTo) {
  Write(_file, "new");
  Write(Other(), "old");
  EXPECT_EQ(ErrorOf(MoveFileExW(_file.c_str(), Other().c_str(), 0)), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(Read(Other()), "old");
  EXPECT_TRUE(MoveFileExW(_file.c_str(), Other().c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_EQ(Read(Other()), "new");
  EXPECT_EQ(ErrorOf(MoveFileExW(_file.c_str(), Other().c_str(), MOVEFILE_REPLACE_EXISTING)),
            ERROR_FILE_NOT_FOUND);
}

TEST_F(Files, FoldersAndAttributes) {
  EXPECT_EQ(ErrorOf(CreateDirectoryW(_folder.c_str(), nullptr)), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(ErrorOf(CreateDirectoryW((_folder + TEXT("\\a\\b")).c_str(), nullptr)),
            ERROR_PATH_NOT_FOUND);
  EXPECT_NE(GetFileAttributesW(_folder.c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0U);
  EXPECT_EQ(GetFileAttributesW(_file.c_str()), INVALID_FILE_ATTRIBUTES);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  Write(_file, "x");
  EXPECT_EQ(
      GetFileAttributesW(_file.c_str()) & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY), 0U);
  EXPECT_EQ(ErrorOf(RemoveDirectoryW(_folder.c_str())), ERROR_DIR_NOT_EMPTY);
  EXPECT_EQ(ErrorOf(DeleteFileW(_folder.c_str())), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(DeleteFileW(_file.c_str()));
  EXPECT_EQ(ErrorOf(DeleteFileW(_file.c_str())), ERROR_FILE_NOT_FOUND);
}

TEST_F(Files, TextStreamsTranslateLineEnds) {
  Print("one\ntwo\r\n", "w");
  Print("three\n", "a");
  EXPECT_EQ(Read(Other()), "one\r\ntwo\r\r\nthree\r\n");
  Print("a\nb", "wb");
  EXPECT_EQ(Read(Other()), "a\nb");
  Write(Other(), "x\ry\r\nz\r");
  std::FILE* const stream = _fsopen(AnsiName("other.txt").c_str(), "r", _SH_DENYNO);
  ASSERT_NE(stream, nullptr);
  char text[16];
  EXPECT_EQ(std::string(text, std::fread(text, 1, sizeof text, stream)), "x\ry\nz\r");
  std::fclose(stream);
  EXPECT_EQ(_fsopen(AnsiName("none\\file").c_str(), "a", _SH_DENYNO), nullptr);
}

TEST(Paths, ProgramAndSystemFolders) {
  WCHAR program[MAX_PATH];
  const DWORD length = GetModuleFileNameW(nullptr, program, MAX_PATH);
  ASSERT_EQ(Text(program).size(), length);
  EXPECT_NE(GetFileAttributesW(program), INVALID_FILE_ATTRIBUTES) << "it leads to the program";
  WCHAR cut[4];
  EXPECT_EQ(GetModuleFileNameW(nullptr, cut, 4), 4U);
  EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(Text(cut, 3), Text(program).substr(0, 3));  // Wine leaves the NUL out

  WCHAR folder[MAX_PATH];
  const UINT size = GetSystemDirectoryW(folder, 1);
  EXPECT_EQ(GetSystemDirectoryW(folder, MAX_PATH), size - 1);
  EXPECT_EQ(SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE, nullptr, 0, folder),
            S_OK);
  EXPECT_EQ(Text(folder), TEXT("C:\\ProgramData"));
  EXPECT_NE(GetFileAttributesW(folder), INVALID_FILE_ATTRIBUTES);
}

}  // namespace
