/// What the program's files carry for Windows itself: the texts behind event ids, versions,
/// manifests.
#include <gtest/gtest.h>

#include <string>

#include "platform/windows_api.h"

namespace {

using Text = std::basic_string<WCHAR>;

/// A file that lies beside the test program, opened for its resources alone.
class ResourceFile {
 public:
  explicit ResourceFile(const Text& name) {
    WCHAR path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const Text program = path;
    _module = LoadLibraryExW((program.substr(0, program.rfind(TEXT('\\')) + 1) + name).c_str(),
                             nullptr, LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
  }
  ~ResourceFile() {
    if (_module != nullptr) FreeLibrary(_module);
  }
  ResourceFile(const ResourceFile&) = delete;
  ResourceFile& operator=(const ResourceFile&) = delete;

  /// The text that Event Viewer would show for `id`.
  Text Message(DWORD id, const WCHAR* insertion) const {
    DWORD_PTR insertions[] = {reinterpret_cast<DWORD_PTR>(insertion)};
    WCHAR text[256] = {};
    FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY, _module, id, 0,
                   text, 256, reinterpret_cast<va_list*>(insertions));
    return text;
  }

  /// The bytes of the resource with number 1 of `type`, as narrow text.
  std::string Content(LPCWSTR type) const {
    const HRSRC found = FindResourceW(_module, MAKEINTRESOURCEW(1), type);
    if (found == nullptr) return "";
    const auto* bytes = static_cast<const char*>(LockResource(LoadResource(_module, found)));
    return std::string(bytes, SizeofResource(_module, found));
  }

 private:
  HMODULE _module = nullptr;
};

TEST(EventMessages, EventsShowTheirInsertionStringAloneAndCategoriesANameOfTheirOwn) {
  const ResourceFile messages(TEXT("bkevtmsg.dll"));
  for (const DWORD id :
       {0x4FFF0100U, 0x8FFF0200U, 0xCFFF0300U, 0x40FF0400U, 0x80FF0500U, 0xC0FF0600U}) {
    EXPECT_EQ(messages.Message(id, TEXT("0001234.567: 100 %2 done")),
              TEXT("0001234.567: 100 %2 done"))
        << std::hex << id;
  }
  EXPECT_NE(messages.Message(1, nullptr), messages.Message(2, nullptr)) << "two categories";
}

TEST(ProgramResources, ProgramsNameTheirProductAndTakeLongPaths) {
  for (const Text name : {TEXT("tagwright.exe"), TEXT("tagwrightctl.exe")}) {
    const ResourceFile program(name);
    const std::string manifest = program.Content(RT_MANIFEST);
    EXPECT_NE(manifest.find(">true</longPathAware>"), std::string::npos);
    EXPECT_EQ(manifest.find("<activeCodePage"), std::string::npos) << "the system's page stays";
    EXPECT_NE(program.Content(RT_VERSION).find(std::string("T\0a\0g\0w\0r\0i\0g\0h\0t", 17)),
              std::string::npos);
  }
}

}  // namespace
