/// A component that knows no version of the interface the program asks for.
#include "sdk/component_api.h"
#include "tagwright_older_component_export.h"

extern "C" TAGWRIGHT_OLDER_COMPONENT_EXPORT const TagwrightComponentInterface*
TagwrightManagedGetInterface(std::uint32_t) {
  return nullptr;
}
