/// The `unlock` element.
#pragma once

#include <tinyxml.h>

#include "support/ostring.h"

/// | attribute | meaning |
/// |---|---|
/// | lock_action | number of the unlock action; its values are the printer component's |
/// | password | text; the tag's access password |
class Unlock {
 public:
  /// With a null element the fields keep their initial values.
  explicit Unlock(const TiXmlElement* element);
  virtual ~Unlock() = default;

  int get_UnlockAction() const { return _unlockAction; }
  OString get_Password() const { return _password; }

 private:
  int _unlockAction = 0;
  OString _password;
};
