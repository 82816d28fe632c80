/// A component that crashes while it is loaded.
#include "sdk/component_api.h"
#include "tagwright_stillborn_component_export.h"

namespace {

int* volatile nowhere = nullptr;

const int g_neverMade = *nowhere;

}  // namespace

extern "C" TAGWRIGHT_STILLBORN_COMPONENT_EXPORT const TagwrightComponentInterface*
TagwrightManagedGetInterface(std::uint32_t) {
  return g_neverMade == 0 ? nullptr : reinterpret_cast<const TagwrightComponentInterface*>(16);
}
