/// Reads a job document as the program does and says what the program will do with it, and what
/// looks wrong. Nothing is sent, and no printer is touched.
#pragma once

#include <cstdint>
#include <span>

#include "client/check/job_report.h"

namespace Tagwright {

JobReport CheckJob(std::span<const std::uint8_t> document);

}  // namespace Tagwright
