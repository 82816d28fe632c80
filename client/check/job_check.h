/// Reads a job document as the program does and says what the program will do with it, and what
/// looks wrong. Nothing is sent, and no printer is touched.
#pragma once

#include <cstdint>
#include <span>

#include "client/check/job_report.h"
#include "client/check/tag_sizes.h"

namespace Tagwright {

/// `printers` decides about port addresses and the sizes of banks; without it any address may be a
/// printer, with a common tag.
JobReport CheckJob(std::span<const std::uint8_t> document, const PrinterTags& printers = {});

}  // namespace Tagwright
