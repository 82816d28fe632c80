/// Reading the attributes of an operation element. Names are matched exactly, letter case included.
#pragma once

#include <tinyxml.h>

#include "support/ostring.h"

/// Optional leading white space, an optional sign, then decimal digits up to the first other
/// character; no digits give 0, and so does an absent attribute. A number beyond the range of int
/// becomes the nearest int.
int NumberAttribute(const TiXmlElement& element, const char* name);

/// The value as it stands; empty when the attribute is absent.
OString TextAttribute(const TiXmlElement& element, const char* name);
