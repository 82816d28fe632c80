#include "support/security_dacl.h"

#include <atomic>
#include <memory>

SecurityDACL::SecurityDACL()
    : _attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE}, _sddl("D:") {}

SECURITY_ATTRIBUTES* SecurityDACL::ForEveryone() {
  static std::atomic<SecurityDACL*> converted{nullptr};
  SecurityDACL* everyone = converted;
  if (everyone == nullptr) {
    auto own = std::make_unique<SecurityDACL>();
    own->AddACE(kEveryoneFullAccess);
    if (static_cast<SECURITY_ATTRIBUTES*>(*own)->lpSecurityDescriptor == nullptr) return nullptr;
    // Another thread's, when that was quicker.
    if (converted.compare_exchange_strong(everyone, own.get())) everyone = own.release();
  }
  return &everyone->_attributes;
}

SecurityDACL::~SecurityDACL() { FreeDescriptor(); }

void SecurityDACL::AddACE(const OString& ace) { _sddl << ace; }

SecurityDACL::operator SECURITY_ATTRIBUTES*() {
  FreeDescriptor();
  ConvertStringSecurityDescriptorToSecurityDescriptorW(_sddl.wstring(), SDDL_REVISION_1,
                                                       &_attributes.lpSecurityDescriptor, nullptr);
  return &_attributes;
}

void SecurityDACL::FreeDescriptor() {
  if (_attributes.lpSecurityDescriptor != nullptr) LocalFree(_attributes.lpSecurityDescriptor);
  _attributes.lpSecurityDescriptor = nullptr;
}
