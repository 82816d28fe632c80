#include "support/security_dacl.h"

SecurityDACL::SecurityDACL()
    : _attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE}, _sddl("D:") {}

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
