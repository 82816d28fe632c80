/// What keeps a job document from being read as it stands: a NUL byte, a comment without an end,
/// markup at which the parser gives up.
#pragma once

#include <tinyxml.h>

#include <string_view>

#include "client/check/job_report.h"

namespace Tagwright {

/// The text up to its first NUL, which is reported.
std::string_view CutAtNul(std::string_view text, JobReport& report);

/// Reports why the parser gave up, if it did. `document` is what it made of `text`.
void CheckParsing(std::string_view text, const TiXmlDocument& document, JobReport& report);

/// Reports a comment that is never closed, which the parser may take without an error.
void CheckComments(std::string_view text, JobReport& report);

}  // namespace Tagwright
