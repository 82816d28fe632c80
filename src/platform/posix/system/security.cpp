#include "platform/posix/system/security.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <iterator>
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

struct Right {
  std::string_view name;
  DWORD mask;
  unsigned access;
};

/// The two-letter rights of SDDL with the part of them that the layer can enforce.
constexpr Right kRights[] = {
    {"GA", 0x10000000, kReadAndWrite},
    {"GR", 0x80000000, kRead},
    {"GW", 0x40000000, kWrite},
    {"GX", 0x20000000, 0},
    {"FA", 0x001F01FF, kReadAndWrite},
    {"FR", 0x00120089, kRead},
    {"FW", 0x00120116, kWrite},
    {"FX", 0x001200A0, 0},
    {"RC", 0x00020000, 0},
    {"SD", 0x00010000, 0},
    {"WD", 0x00040000, 0},
    {"WO", 0x00080000, 0},
};
constexpr std::string_view kAceFlags[] = {"CI", "OI", "NP", "IO", "ID"};
constexpr std::string_view kAclFlags[] = {"P", "AR", "AI"};
constexpr std::string_view kEveryone[] = {"WD", "S-1-1-0"};
constexpr std::string_view kTrustees[] = {"AN", "AU", "BA", "BG", "BU", "CG", "CO", "IU",
                                          "LS", "NS", "NU", "OW", "PU", "SU", "SY", "WD"};

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

bool AreAceFlags(std::string_view flags) {
  for (; !flags.empty(); flags.remove_prefix(2)) {
    if (flags.size() < 2 || !IsOneOf(flags.substr(0, 2), kAceFlags)) return false;
  }
  return true;
}

bool IsTrustee(std::string_view trustee) {
  if (!trustee.starts_with("S-1-")) return IsOneOf(trustee, kTrustees);
  const std::string_view numbers = trustee.substr(4);
  return !numbers.empty() && numbers.find_first_not_of("0123456789-") == numbers.npos;
}

/// A mask as a number: 0x and hexadecimal digits. Each right counts whose bits are all there.
std::optional<unsigned> AccessOfMask(std::string_view digits) {
  DWORD mask = 0;
  const auto [end, error] = std::from_chars(digits.begin(), digits.end(), mask, 16);
  if (error != std::errc() || end != digits.end()) return std::nullopt;
  unsigned access = 0;
  for (const Right& right : kRights) {
    if ((mask & right.mask) == right.mask) access |= right.access;
  }
  return access;
}

std::optional<unsigned> ParseRights(std::string_view rights) {
  if (rights.starts_with("0x")) return AccessOfMask(rights.substr(2));
  unsigned access = 0;
  for (; !rights.empty(); rights.remove_prefix(std::min<std::size_t>(2, rights.size()))) {
    const auto* const right = std::ranges::find(kRights, rights.substr(0, 2), &Right::name);
    if (right == std::end(kRights)) return std::nullopt;
    access |= right->access;
  }
  return access;
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
  const auto access = ParseRights(rights);
  if ((type != "A" && type != "D") || !AreAceFlags(flags) || !access || !object.empty() ||
      !inheritedObject.empty() || !IsTrustee(ace)) {
    return false;
  }
  if (!IsOneOf(ace, kEveryone)) return true;
  if (type == "A") {
    decisions.granted |= *access & ~decisions.denied;
  } else {
    decisions.denied |= *access & ~decisions.granted;
  }
  return true;
}

void SkipAclFlags(std::string_view& text) {
  for (const std::string_view flag : kAclFlags) {
    if (text.starts_with(flag)) text.remove_prefix(flag.size());
  }
}

/// The access of Everyone in "D:" with its entries; nothing when the text is not of that form.
std::optional<unsigned> ParseSddl(std::string_view text) {
  if (!text.starts_with("D:")) return std::nullopt;
  text.remove_prefix(2);
  SkipAclFlags(text);
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
