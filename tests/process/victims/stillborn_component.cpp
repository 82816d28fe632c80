/// A component that crashes while it is loaded.
#include "sdk/component_api.h"

namespace {

int* volatile nowhere = nullptr;

const int g_neverMade = *nowhere;

}  // namespace

const TagwrightComponentInterface* TagwrightManagedGetInterface(uint32_t) {
  return g_neverMade == 0 ? nullptr : reinterpret_cast<const TagwrightComponentInterface*>(16);
}
