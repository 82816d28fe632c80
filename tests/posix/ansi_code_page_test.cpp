/// The ANSI code page that the registry names, and strings in a process that runs with it. Each
/// case is a process of its own, because the page is read once.
#include <gtest/gtest.h>

#include <string>

#include "common/victim.h"
#include "platform/windows_api.h"
#include "support/oregistry.h"
#include "support/scoped_handle.h"

namespace {

const VictimRole kReportPage("ansi-page", [](VictimSide&, const std::string& page) {
  const OString text("text");
  if (text.GetLength() != 4 || text.is_valid_w() != (page != "1252")) return 2;
  // In one page each takes 4 bytes, more than the narrow form has room for at first.
  const std::string commas = OString(std::u16string(1000, u'\u060C').c_str()).nstring();
  if (commas.size() != (page == "54936" ? 4000 : 1000)) return 3;
  return GetACP() == UINT(std::stoi(page)) ? 0 : 1;
});

/// Exit code 0, or the number of the first check that failed.
const VictimRole kUsePage932("ansi-932", [](VictimSide&, const std::string&) {
  constexpr const char* kKatakanaSo = "\x83\x5c";  // Its second byte is that of a backslash.
  const OString path = OString("C:\\") + kKatakanaSo + "\\x";
  if (path.GetLength() != 6) return 1;
  if (path.ReverseFind('\\') != 4) return 2;
  if (path.Mid(3, 1) != kKatakanaSo) return 3;

  OString full;
  for (int i = 0; i < 31; ++i) full << TEXT("\x30bd");
  if (std::string(full.nstring()).size() != 62) return 4;
  full << kKatakanaSo;
  return full.is_valid_w() && !full.is_valid_n() && full.GetLength() == 32 ? 0 : 5;
});

class AnsiCodePage : public testing::Test {
 protected:
  ~AnsiCodePage() override {
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, TEXT("SYSTEM\\CurrentControlSet\\Control\\Nls\\CodePage"));
  }

  static void SetPage(const std::basic_string<WCHAR>& page) {
    const ScopedKey key(
        ORegistry().OpenKey("2:SYSTEM/CurrentControlSet/Control/Nls/CodePage", true));
    RegSetValueExW(key.Get(), TEXT("ACP"), 0, REG_SZ, reinterpret_cast<const BYTE*>(page.c_str()),
                   static_cast<DWORD>((page.size() + 1) * sizeof(WCHAR)));
  }
};

TEST_F(AnsiCodePage, IsTheRegistrysOrElseWestern) {
  EXPECT_EQ(Victim("ansi-page", "1252").ExitCode(), DWORD{0});
  for (const WCHAR* const unusable : {TEXT("4711"), TEXT("932x"), TEXT("932/"), TEXT("")}) {
    SetPage(unusable);
    EXPECT_EQ(Victim("ansi-page", "1252").ExitCode(), DWORD{0});
  }
}

TEST_F(AnsiCodePage, MultiBytePagesAreWorkedWithWide) {
  SetPage(TEXT("932"));
  EXPECT_EQ(Victim("ansi-932").ExitCode(), DWORD{0});
  for (const UINT page : {932, 936, 949, 950, 1361, 20127, 54936, 65001}) {
    WCHAR replacement = 0;
    EXPECT_EQ(MultiByteToWideChar(page, 0, "\x81", 1, &replacement, 1), 1);
    EXPECT_EQ(replacement, page == 932 ? u'\u30FB' : u'\uFFFD') << page;
  }
  for (const char* page : {"936", "949", "950", "1361", "54936"}) {
    SetPage(Widen(page));
    EXPECT_EQ(Victim("ansi-page", page).ExitCode(), DWORD{0}) << page;
  }
  WCHAR fourBytes = 0;
  EXPECT_EQ(MultiByteToWideChar(54936, 0, "\x81\x31\x81\x32", 4, &fourBytes, 1), 1);
  EXPECT_EQ(fourBytes, u'\u060c');
}

}  // namespace
