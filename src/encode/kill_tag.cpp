#include "encode/kill_tag.h"

#include "encode/attributes.h"

KillTag::KillTag(const TiXmlElement* element) {
  if (element != nullptr) _killPassword = TextAttribute(*element, "password");
}
