/// The loaded component "Tagwright.Managed.dll".
#pragma once

#include <stdexcept>
#include <string>

#include "sdk/component_api.h"

namespace Tagwright {

/// The component's file, beside the program.
inline constexpr const char* kComponentFileName = "Tagwright.Managed.dll";

/// The component cannot be used; the text names the file and the reason.
class ComponentLoadError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The function table of the component that lies beside the program. It is loaded at the first
/// call, on whichever thread; a failed load throws ComponentLoadError (missing, no library,
/// foreign, or of another version) and is tried again at the next call.
///
/// Once loaded the component stays until the process ends: a runtime that lives in it may have
/// threads of its own, and a terminated message thread may have left a call in it.
const TagwrightComponentInterface& Component();

}  // namespace Tagwright
