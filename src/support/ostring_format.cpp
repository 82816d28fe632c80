#include <array>
#include <cstdio>
#include <ctime>
#include <string>

#include "support/ostring.h"

OString::OString(DWORD value) : OString(std::to_string(value).c_str()) {}

OString FormatHex(DWORD value) {
  std::array<char, 9> digits;
  std::snprintf(digits.data(), digits.size(), "%08X", static_cast<unsigned>(value));
  return OString(digits.data());
}

OString FormatTime(const SYSTEMTIME& time, const OString& format) {
  std::tm fields{};
  fields.tm_year = time.wYear - 1900;
  fields.tm_mon = time.wMonth - 1;
  fields.tm_mday = time.wDay;
  fields.tm_hour = time.wHour;
  fields.tm_min = time.wMinute;
  fields.tm_sec = time.wSecond;
  fields.tm_wday = time.wDayOfWeek;
  fields.tm_isdst = -1;
  std::array<char, 128> text;
  if (std::strftime(text.data(), text.size(), format.nstring(), &fields) == 0) return OString();
  return OString(text.data());
}
