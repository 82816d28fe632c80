/// The `killtag` element: the tag is to be silenced for ever.
#pragma once

#include <tinyxml.h>

#include "support/ostring.h"

/// The attribute `password` is the tag's kill password, in the printer component's form.
class KillTag {
 public:
  /// With a null element the password is empty.
  explicit KillTag(const TiXmlElement* element);
  virtual ~KillTag() = default;

  OString get_KillPassword() const { return _killPassword; }

 private:
  OString _killPassword;
};
