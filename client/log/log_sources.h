/// The names under which tagwright and its component log.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace Tagwright {

struct LogSource {
  std::string_view word;  ///< What people type.
  std::string_view name;  ///< The event source, and the name of its mask.
};

/// tagwright's own, the component's, and the simulated printer's, which takes the component's
/// place.
std::span<const LogSource> LogSources();

/// The source of that word or name, letter case aside; null when there is none.
const LogSource* FindLogSource(std::string_view wordOrName);

/// The source's word; the name itself when it is none of the table.
std::string LogSourceWord(std::string_view name);

/// Whether the event source is one of this system's.
bool IsOwnLogSource(std::string_view name);

}  // namespace Tagwright
