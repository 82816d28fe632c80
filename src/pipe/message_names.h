/// The reply statuses of message_header.h by name, for people.
#pragma once

#include <cstdint>
#include <string_view>

#include "pipe/message_header.h"

namespace Tagwright {

/// One row of a table of codes.
struct CodeName {
  std::uint32_t code;
  std::string_view name;
};

inline constexpr CodeName kReplyStatusNames[] = {
    {eStatusSuccess, "eStatusSuccess"},
    {eStatusUnknownMessage, "eStatusUnknownMessage"},
    {eStatusEncodeFailed, "eStatusEncodeFailed"},
    {eStatusNoPipeName, "eStatusNoPipeName"},
    {eStatusPipeCreateFailed, "eStatusPipeCreateFailed"},
};

/// Empty for a code without a name.
constexpr std::string_view ReplyStatusName(std::uint32_t status) {
  for (const CodeName& entry : kReplyStatusNames) {
    if (entry.code == status) return entry.name;
  }
  return {};
}

}  // namespace Tagwright
