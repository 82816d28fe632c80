/// A component that knows no version of the interface the program asks for.
#include <cstdint>

#include "sdk/component_api.h"

const TagwrightComponentInterface* TagwrightManagedGetInterface(std::uint32_t) { return nullptr; }
