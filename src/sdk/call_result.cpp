#include "sdk/call_result.h"

#include <iterator>
#include <stdexcept>

#include "platform/framework_exceptions.h"
#include "sdk/managed_exception.h"
#include "support/ostring.h"

namespace Tagwright {

bool ReturnOrThrow(TagwrightCallResult& result) {
  result.message[std::size(result.message) - 1] = 0;
  result.fullText[std::size(result.fullText) - 1] = 0;
  switch (result.outcome) {
    case kTagwrightReturned:
      return result.returned != 0;
    case kTagwrightManagedException:
      throw ManagedException(OString(result.message), OString(result.fullText));
    case kTagwrightFrameworkException:
      throw new CException(result.message);
    case kTagwrightStandardException:
      throw std::runtime_error(OString(result.message).nstring());
    default:
      throw UnknownComponentException();
  }
}

}  // namespace Tagwright
