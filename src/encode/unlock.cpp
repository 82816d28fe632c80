#include "encode/unlock.h"

#include "encode/attributes.h"

Unlock::Unlock(const TiXmlElement* element) {
  if (element == nullptr) return;
  _unlockAction = NumberAttribute(*element, "lock_action");
  _password = TextAttribute(*element, "password");
}
