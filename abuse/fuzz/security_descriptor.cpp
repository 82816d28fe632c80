/// The reader of security descriptors' texts.
#include "fuzz/fuzz_target.h"
#include "platform/posix/system/security.h"
#include "platform/windows_api.h"

void Fuzz::SecurityDescriptor(Bytes bytes) {
  const std::u16string text = Fuzz::Input(bytes).WideText(bytes.size() / 2);
  SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(
          text.c_str(), SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr)) {
    Require(attributes.lpSecurityDescriptor == nullptr, "a refused text makes no descriptor");
    return;
  }
  Require(text.starts_with(u"D:"), "a descriptor begins with \"D:\"");
  const bool opensToAll = platform::GrantsEveryone(&attributes);
  Require(!opensToAll || text.find(u"WD") != text.npos || text.find(u"S-1-1-0") != text.npos,
          "nobody is everybody but WD");
  LocalFree(attributes.lpSecurityDescriptor);
}
