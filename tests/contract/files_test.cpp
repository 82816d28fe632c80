#include <gtest/gtest.h>

#include <string>

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

  /// What the C runtime reads from the file.
  std::string Read(const char* mode = "rb") {
    std::FILE* const stream = _fsopen(AnsiPath().c_str(), mode, _SH_DENYNO);
    char text[64];
    const std::size_t size = std::fread(text, 1, sizeof text, stream);
    std::fclose(stream);
    return {text, size};
  }
  void Write(const std::string& text, const char* mode = "wb") {
    std::FILE* const stream = _fsopen(AnsiPath().c_str(), mode, _SH_DENYNO);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), stream), text.size());
    EXPECT_EQ(std::fclose(stream), 0);
  }
  std::string AnsiPath() const { return {_file.begin(), _file.end()}; }

  const Text _folder = UniqueName(TEXT("C:\\Tagwright Test "));
  const Text _file = _folder + TEXT("\\file.txt");
};

TEST_F(Files, OpeningFollowsTheDisposition) {
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_EXISTING), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(ErrorOfOpening(_folder + TEXT("\\none\\file"), CREATE_ALWAYS), ERROR_PATH_NOT_FOUND);
  EXPECT_EQ(ErrorOfOpening(_folder, OPEN_EXISTING), ERROR_ACCESS_DENIED);
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_ALWAYS), ERROR_SUCCESS);
  Write("kept");
  EXPECT_EQ(ErrorOfOpening(_file, OPEN_ALWAYS), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(ErrorOfOpening(_file, CREATE_NEW), ERROR_FILE_EXISTS);
  EXPECT_EQ(Read(), "kept");
  EXPECT_EQ(ErrorOfOpening(_file, CREATE_ALWAYS), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(Read(), "");
}

TEST_F(Files, NamesAreMadeMovedAndRemoved) {
  const Text source = _folder + TEXT("\\\u00E4");
  EXPECT_EQ(ErrorOf(CreateDirectoryW(_folder.c_str(), nullptr)), ERROR_ALREADY_EXISTS);
  EXPECT_EQ(ErrorOf(CreateDirectoryW((source + TEXT("\\b")).c_str(), nullptr)),
            ERROR_PATH_NOT_FOUND);
  Write("old");
  ASSERT_EQ(ErrorOfOpening(source, CREATE_NEW), ERROR_SUCCESS);
  EXPECT_EQ(ErrorOf(MoveFileExW(source.c_str(), _file.c_str(), 0)), ERROR_ALREADY_EXISTS);
  EXPECT_TRUE(MoveFileExW(source.c_str(), _file.c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_EQ(Read(), "");
  EXPECT_EQ(ErrorOf(DeleteFileW(source.c_str())), ERROR_FILE_NOT_FOUND);
}

TEST_F(Files, TextStreamsTranslateLineEnds) {
  Write("one\ntwo\r\n", "w");
  Write("three\n", "a");
  EXPECT_EQ(Read(), "one\r\ntwo\r\r\nthree\r\n");
  Write("x\ry\r\nz\r");
  EXPECT_EQ(Read("r"), "x\ry\nz\r");
}

}  // namespace
