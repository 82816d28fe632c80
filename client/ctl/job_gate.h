/// The look at job documents before they are sent.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "client/check/job_report.h"
#include "client/check/tag_sizes.h"
#include "client/ctl/request.h"

namespace Ctl {

/// The options --strict and --force.
struct GateOptions {
  bool strict = false;  ///< Refuse a job with any doubt.
  bool force = false;   ///< Send even what is empty or not well-formed.

  void AddTo(CLI::App& command);
};

/// The printers of the simulator's printers.json, where that file exists. One that cannot be
/// understood is said on standard error and counts as none.
Tagwright::PrinterTags KnownPrinters();

/// "card.xml:6:10: warning: ..." for a doubt, "error" for what makes the job unusable.
std::string DescribeFinding(const std::string& path, const Tagwright::Finding& finding);

/// Checks the requests that carry job documents and reports their findings on standard error.
/// Throws Failure (kDoubtful) when `options` forbid to send one of them.
void CheckBeforeSending(const std::vector<Request>& requests, const GateOptions& options);

}  // namespace Ctl
