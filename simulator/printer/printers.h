/// Which printers there are, and what tags lie in them: the file printers.json.
///
///   {
///     "kinds": {"small": {"epc_bank_words": 8, "user_words": 16, "user_block_words": 2,
///                         "tid": "E280 1234 0000 0001"}},
///     "printers": {"USB001": "standard", "192.168.1.20": "small"}
///   }
///
/// A kind's values are those of TagKind; what it does not name is as in the standard kind. Without
/// the file every address but the empty one is a printer with standard tags.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/tag/tag_kind.h"
#include "simulator/tag/text.h"

namespace Simulator {

class Printers {
 public:
  /// Reads the file as it is now. Throws std::runtime_error, which names the file, when it cannot
  /// be read or understood.
  static Printers Load();

  /// The kind of the tags of the printer at the address; null when no printer is there. The pointer
  /// lives as long as this object.
  const TagKind* KindAt(WideView portAddress) const;
  /// The kind of that name, built in or of the file; null when there is none.
  const TagKind* FindKind(std::string_view name) const;
  const std::vector<TagKind>& Kinds() const { return _kinds; }
  /// Whether there is no file, so that every address but the empty one is a printer.
  bool IsEveryAddressOne() const { return _isEveryAddressOne; }
  /// The addresses of the file; empty without one.
  std::vector<WideText> Addresses() const;

 private:
  void Read(const std::string& text);

  bool _isEveryAddressOne = true;
  std::vector<TagKind> _kinds = BuiltInKinds();
  /// Names of kinds by address.
  std::map<WideText, std::string, std::less<>> _printers;
};

}  // namespace Simulator
