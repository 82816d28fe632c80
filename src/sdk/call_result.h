/// From the result of a component call back to C++.
#pragma once

#include "sdk/component_api.h"

namespace Tagwright {

/// Thrown for an exception of no known family.
struct UnknownComponentException {};

/// Returns the member's bool, or throws the exception that the result describes: ManagedException,
/// a CException pointer (allocated with new), std::runtime_error, or UnknownComponentException.
/// Texts that the component left without their NUL are cut.
bool ReturnOrThrow(TagwrightCallResult& result);

}  // namespace Tagwright
