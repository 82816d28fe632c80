/// The codes of message_header.h by name, for logs of clients and for people.
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

inline constexpr CodeName kMessageTypeNames[] = {
    {eShutdown, "eShutdown"},
    {eEncode, "eEncode"},
    {eEncodeAndShutdown, "eEncodeAndShutdown"},
    {eAddEncoder, "eAddEncoder"},
    {eKeepAlive, "eKeepAlive"},
};

inline constexpr CodeName kReplyStatusNames[] = {
    {eStatusSuccess, "eStatusSuccess"},
    {eStatusUnknownMessage, "eStatusUnknownMessage"},
    {eStatusEncodeFailed, "eStatusEncodeFailed"},
    {eStatusNoPipeName, "eStatusNoPipeName"},
    {eStatusPipeCreateFailed, "eStatusPipeCreateFailed"},
};

template <std::size_t count>
constexpr std::string_view NameOf(const CodeName (&table)[count], std::uint32_t code) {
  for (const CodeName& entry : table) {
    if (entry.code == code) return entry.name;
  }
  return {};
}

/// Empty for a code without a name.
constexpr std::string_view MessageTypeName(std::uint32_t type) {
  return NameOf(kMessageTypeNames, type);
}
constexpr std::string_view ReplyStatusName(std::uint32_t status) {
  return NameOf(kReplyStatusNames, status);
}

}  // namespace Tagwright
