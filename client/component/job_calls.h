/// The calls that a job makes, one by one.
#pragma once

#include <cstdint>
#include <span>

#include "client/component/examination.h"

namespace Tagwright {

/// Runs the job as the program does: an object of its own, the elements in their order up to the
/// first that fails, Disconnect when connected, the disposal. A job that fails is reported as
/// refused. Throws ExaminationEnded.
void CallForJob(Examination& examination, std::span<const std::uint8_t> document);

}  // namespace Tagwright
