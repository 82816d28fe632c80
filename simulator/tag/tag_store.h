/// Where tags are kept: one readable JSON file for each port address (see tag_json.h), and a list
/// of the addresses that were ever used, addresses.txt, one a line.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/tag/tag.h"
#include "simulator/tag/text.h"

namespace Simulator {

/// The file's path. Characters other than letters, digits, '-', '_' and '.' are written as '%' and
/// two digits for each byte of their UTF-8 form, and so is the first character of an address that
/// would meet a file of another meaning.
WideText TagFilePath(WideView portAddress);

/// The tag at `portAddress`; nothing while none has been stored. Throws std::runtime_error when the
/// file cannot be read or is damaged.
std::optional<Tag> FindTag(WideView portAddress);
/// The same, with a blank standard tag in place of none.
Tag LoadTag(WideView portAddress);
/// Throws std::runtime_error.
void SaveTag(WideView portAddress, const Tag& tag);

/// The addresses at which a tag is stored, in the order of their first use.
std::vector<WideText> AddressesWithTags();

/// A tag as the store keeps it, with stars in place of the Reserved bank unless `withPasswords`,
/// and back. TagFromText throws std::exception for a text that is no tag, or that hides the
/// passwords.
std::string TagText(WideView portAddress, const Tag& tag, bool withPasswords);
Tag TagFromText(std::string_view text);

}  // namespace Simulator
