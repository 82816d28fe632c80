/// The ANSI code page that the registry names, and strings in a process that runs with it. Each
/// case is a process of its own, because the page is read once.
#include <gtest/gtest.h>

#include <string>

#include "common/victim.h"
#include "platform/windows_api.h"
#include "support/ostring.h"

namespace {

const VictimRole kReportPage("ansi-page", [](VictimSide&, const std::string& page) {
  return GetACP() == UINT(std::stoi(page)) ? 0 : 1;
});

/// Exit code 0, or the number of the first check that failed.
const VictimRole kUsePage932("ansi-932", [](VictimSide&, const std::string&) {
  constexpr const char* kKatakanaSo = "\x83\x5c";  // Its second byte is that of a backslash.
  const OString path = OString("C:\\") + kKatakanaSo + "\\x";
  if (path.GetLength() != 6) return 1;
  if (path.ReverseFind('\\') != 4) return 2;
  if (path.Mid(3, 1) != kKatakanaSo) return 3;
  if (OString(path).Replace("\\", "/") != 2) return 4;
  if (OString(kKatakanaSo).Compare("z") != 1) return 5;

  OString full;
  for (int i = 0; i < 31; ++i) full << TEXT("\x30bd");
  if (std::string(full.nstring()).size() != 62) return 6;
  full << kKatakanaSo;
  return full.is_valid_w() && !full.is_valid_n() && full.GetLength() == 32 ? 0 : 7;
});

const VictimRole kUsePage54936("ansi-54936", [](VictimSide&, const std::string&) {
  OString thai;
  for (int i = 0; i < 31; ++i) thai << TEXT("\x0e01");
  const OString copy(thai);
  if (std::string(thai.nstring()).size() != 124) return 1;
  thai << "x";
  if (std::string(thai.nstring()).size() != 125) return 2;
  return OString(copy.nstring()).Compare(copy) == 0 ? 0 : 3;
});

class AnsiCodePage : public testing::Test {
 protected:
  ~AnsiCodePage() override {
    RegDeleteValueW(key, TEXT("ACP"));
    RegCloseKey(key);
  }

  void SetPage(const std::basic_string<WCHAR>& page) {
    RegSetValueExW(key, TEXT("ACP"), 0, REG_SZ, reinterpret_cast<const BYTE*>(page.c_str()),
                   static_cast<DWORD>((page.size() + 1) * sizeof(WCHAR)));
  }

 private:
  static HKEY CreateKey() {
    HKEY created = nullptr;
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, TEXT("SYSTEM\\CurrentControlSet\\Control\\Nls\\CodePage"),
                    0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &created, nullptr);
    return created;
  }
  const HKEY key = CreateKey();
};

TEST_F(AnsiCodePage, IsTheRegistrysOrElseWestern) {
  EXPECT_EQ(Victim("ansi-page", "1252").ExitCode(), DWORD{0});
  SetPage(TEXT("1251"));
  EXPECT_EQ(Victim("ansi-page", "1251").ExitCode(), DWORD{0});
  for (const WCHAR* nonsense : {TEXT(""), TEXT("western"), TEXT("4711"), TEXT("93200000001252")}) {
    SetPage(nonsense);
    EXPECT_EQ(Victim("ansi-page", "1252").ExitCode(), DWORD{0});
  }
}

TEST_F(AnsiCodePage, StringsInMultiBytePagesWorkWide) {
  SetPage(TEXT("932"));
  EXPECT_EQ(Victim("ansi-932").ExitCode(), DWORD{0});
  SetPage(TEXT("54936"));
  EXPECT_EQ(Victim("ansi-54936").ExitCode(), DWORD{0});
}

}  // namespace
