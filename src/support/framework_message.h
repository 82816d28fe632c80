/// The message of a framework exception, as log lines show it.
#pragma once

#include "platform/framework_exceptions.h"
#include "support/ostring.h"

/// Cut to 254 characters; empty when the exception has no message.
OString FrameworkMessage(const CException& exception);
