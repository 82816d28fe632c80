#include "encode/attributes.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

int NumberAttribute(const TiXmlElement& element, const char* name) {
  const char* text = element.Attribute(name);
  if (text == nullptr) return 0;
  // The width of long differs between the systems; long long is wider than int on both.
  return static_cast<int>(std::clamp<long long>(std::strtoll(text, nullptr, 10),
                                                std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
}

OString TextAttribute(const TiXmlElement& element, const char* name) {
  const char* text = element.Attribute(name);
  return text == nullptr ? OString() : OString(text);
}
