/// What is known of the tags that lie in the printers, for a judgement of offsets and lengths.
#pragma once

#include <map>
#include <optional>
#include <string>

namespace Tagwright {

/// Sizes in words; the Reserved bank has four words in every tag. By default those of a common
/// chip, the one that the simulated printer keeps.
struct TagSizes {
  std::string kind = {};  ///< The kind's name; empty when it is not known.
  int epcBank = 33;
  int tidBank = 6;
  int userBank = 32;
  int userBlock = 4;
};

/// The tags by the port addresses (UTF-8) of the printers in which they lie, when all printers are
/// known.
using PrinterTags = std::optional<std::map<std::string, TagSizes>>;

}  // namespace Tagwright
