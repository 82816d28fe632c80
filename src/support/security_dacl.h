/// Security attributes made from SDDL text.
#pragma once

#include "platform/windows_api.h"
#include "support/ostring.h"

/// Collects access control entries and converts them on demand. Owns the descriptor; use it while
/// the object that is created with it is being created.
class SecurityDACL {
 public:
  /// Everyone may do everything; inherited by objects and containers.
  static constexpr const char* kEveryoneFullAccess = "(A;OICI;GA;;;WD)";

  SecurityDACL();
  ~SecurityDACL();
  SecurityDACL(const SecurityDACL&) = delete;
  SecurityDACL& operator=(const SecurityDACL&) = delete;

  /// Everyone's full access, which each line of the log asks for: converted once, and there for as
  /// long as the process. Null, which stands for default security, when it cannot be converted; the
  /// next call tries again. Any thread may call it.
  static SECURITY_ATTRIBUTES* ForEveryone();

  /// `ace` is one entry in parentheses.
  void AddACE(const OString& ace);

  /// Valid until the next conversion or the end of this object. When the text cannot be converted,
  /// the descriptor is null, which stands for default security.
  operator SECURITY_ATTRIBUTES*();

 private:
  void FreeDescriptor();

  SECURITY_ATTRIBUTES _attributes;
  OString _sddl;
};
