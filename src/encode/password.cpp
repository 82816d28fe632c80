#include "encode/password.h"

#include "encode/attributes.h"

Password::Password(const TiXmlElement* element) {
  if (element == nullptr) return;
  _type = NumberAttribute(*element, "type");
  _password = TextAttribute(*element, "password");
}
