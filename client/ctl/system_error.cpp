#include "client/ctl/system_error.h"

#include <iterator>

namespace Ctl {

std::string SystemErrorText(DWORD error) {
  std::string text = "system error " + std::to_string(error);
  char message[512];
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                      nullptr, error, 0, message, std::size(message), nullptr);
  if (length == 0) return text;
  std::string words(message, length);
  words.erase(words.find_last_not_of(" .\r\n") + 1);
  return text + ": " + words;
}

}  // namespace Ctl
