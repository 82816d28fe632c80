/// The `setpassword` element: a new password for the tag.
#pragma once

#include <tinyxml.h>

#include "support/ostring.h"

/// | attribute | meaning |
/// |---|---|
/// | type | number; 1 is the kill password, any other the access password |
/// | password | text, in the printer component's form |
class Password {
 public:
  /// With a null element the fields keep their initial values.
  explicit Password(const TiXmlElement* element);
  virtual ~Password() = default;

  bool IsKillPassword() const { return _type == kKillPassword; }
  OString get_Password() const { return _password; }

 private:
  static constexpr int kKillPassword = 1;

  int _type = kKillPassword;
  OString _password;
};
