#include "platform/posix/system/security.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/api/errors.h"
#include "platform/posix/api/security.h"
#include "platform/posix/kernel/error_translation.h"
#include "platform/posix/kernel/kernel_scope.h"
#include "platform/posix/kernel/text.h"

namespace {

constexpr unsigned kRead = 1;
constexpr unsigned kWrite = 2;
constexpr unsigned kReadAndWrite = kRead | kWrite;

/// What a descriptor is to the layer.
struct Descriptor {
  static constexpr std::uint32_t kMagic = 0x44534754;  // "TGSD"
  std::uint32_t magic = kMagic;
  unsigned everyone = 0;  ///< kRead and kWrite as granted to Everyone
};

/// A two-letter right with the part of it that the layer can enforce.
struct Right {
  std::string_view name;
  unsigned access;
};
constexpr Right kRights[] = {{"GA", kReadAndWrite}, {"GR", kRead}, {"GW", kWrite}, {"GX", 0},
                             {"FA", kReadAndWrite}, {"FR", kRead}, {"FW", kWrite}, {"FX", 0}};
constexpr std::string_view kInheritOnly = "IO";
constexpr std::string_view kAceFlags[] = {"CI", "OI", "NP", kInheritOnly, "ID"};
constexpr std::string_view kEveryone[] = {"WD", "S-1-1-0"};

template <class Range>
bool IsOneOf(std::string_view text, const Range& range) {
  return std::ranges::find(range, text) != std::end(range);
}

/// Takes `text` up to `separator` off its front, the separator with it.
std::optional<std::string_view> TakeField(std::string_view& text, char separator) {
  const std::size_t end = text.find(separator);
  if (end == text.npos) return std::nullopt;
  const std::string_view field = text.substr(0, end);
  text.remove_prefix(end + 1);
  return field;
}

/// Takes two letters off the front of `text`; fewer at its end.
std::string_view TakePair(std::string_view& text) {
  const std::string_view pair = text.substr(0, 2);
  text.remove_prefix(pair.size());
  return pair;
}

std::optional<unsigned> ParseRights(std::string_view rights) {
  unsigned access = 0;
  while (!rights.empty()) {
    const auto* const right = std::ranges::find(kRights, TakePair(rights), &Right::name);
    if (right == std::end(kRights)) return std::nullopt;
    access |= right->access;
  }
  return access;
}

/// Whether an entry with these flags counts for the object itself; nothing for other flags.
std::optional<bool> ParseFlags(std::string_view flags) {
  bool isForObject = true;
  while (!flags.empty()) {
    const std::string_view flag = TakePair(flags);
    if (!IsOneOf(flag, kAceFlags)) return std::nullopt;
    isForObject &= flag != kInheritOnly;
  }
  return isForObject;
}

bool IsTrustee(std::string_view trustee) {
  constexpr std::string_view kSid = "S-1-";
  if (!trustee.starts_with(kSid)) {
    return trustee.size() == 2 &&
           std::ranges::all_of(trustee, [](char letter) { return letter >= 'A' && letter <= 'Z'; });
  }
  const std::string_view numbers = trustee.substr(kSid.size());
  return !numbers.empty() && numbers.find_first_not_of("0123456789-") == numbers.npos;
}

/// What the entries so far decided for Everyone: the first entry that names an access decides it.
struct Decisions {
  unsigned granted = 0;
  unsigned denied = 0;
};

/// One entry without its parentheses: type;flags;rights;;;trustee.
bool ParseAce(std::string_view ace, Decisions& decisions) {
  std::array<std::string_view, 5> fields;
  for (std::string_view& field : fields) {
    const auto taken = TakeField(ace, ';');
    if (!taken) return false;
    field = *taken;
  }
  const auto& [type, flags, rights, object, inheritedObject] = fields;
  const auto isForObject = ParseFlags(flags);
  const auto access = ParseRights(rights);
  if ((type != "A" && type != "D") || !isForObject || !access || !object.empty() ||
      !inheritedObject.empty() || !IsTrustee(ace)) {
    return false;
  }
  if (!*isForObject || !IsOneOf(ace, kEveryone)) return true;
  if (type == "A") {
    decisions.granted |= *access & ~decisions.denied;
  } else {
    decisions.denied |= *access & ~decisions.granted;
  }
  return true;
}

/// The access of Everyone in "D:", or "D:P", with its entries; nothing for a text of another form.
std::optional<unsigned> ParseSddl(std::string_view text) {
  if (!text.starts_with("D:")) return std::nullopt;
  text.remove_prefix(text.starts_with("D:P") ? 3 : 2);
  Decisions decisions;
  while (!text.empty()) {
    if (text.front() != '(') return std::nullopt;
    text.remove_prefix(1);
    const auto ace = TakeField(text, ')');
    if (!ace || !ParseAce(*ace, decisions)) return std::nullopt;
  }
  return decisions.granted;
}

}  // namespace

BOOL ConvertStringSecurityDescriptorToSecurityDescriptorW(LPCWSTR text, DWORD revision,
                                                          PSECURITY_DESCRIPTOR* descriptor,
                                                          ULONG* size) {
  const platform::KernelScope scope;
  if (text == nullptr || descriptor == nullptr) return platform::Fail(ERROR_INVALID_PARAMETER);
  if (revision != SDDL_REVISION_1) return platform::Fail(ERROR_UNKNOWN_REVISION);
  const auto everyone = ParseSddl(platform::ToUtf8(text));
  if (!everyone) return platform::Fail(ERROR_INVALID_ACL);
  void* const memory = std::malloc(sizeof(Descriptor));
  if (memory == nullptr) return platform::Fail(ERROR_NOT_ENOUGH_MEMORY);
  *descriptor = new (memory) Descriptor{.everyone = *everyone};
  if (size != nullptr) *size = sizeof(Descriptor);
  return TRUE;
}

HLOCAL LocalFree(HLOCAL memory) {
  const platform::KernelScope scope;
  std::free(memory);
  return nullptr;
}

bool platform::GrantsEveryone(const SECURITY_ATTRIBUTES* attributes) {
  if (attributes == nullptr || attributes->lpSecurityDescriptor == nullptr) return false;
  const auto* const descriptor = static_cast<const Descriptor*>(attributes->lpSecurityDescriptor);
  return descriptor->magic == Descriptor::kMagic && descriptor->everyone == kReadAndWrite;
}
