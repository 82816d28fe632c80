#include "client/ctl/job_gate.h"

#include <stdexcept>

#include "client/check/job_check.h"
#include "client/ctl/console.h"
#include "client/ctl/failure.h"
#include "client/text.h"
#include "simulator/printer/printers.h"

namespace Ctl {
namespace {

bool IsAllowed(const Tagwright::JobReport& report, const GateOptions& options) {
  if (options.strict) return report.findings.empty();
  return options.force || report.IsUsable();
}

Tagwright::TagSizes SizesOf(const Simulator::TagKind& kind) {
  return {kind.name, static_cast<int>(kind.epcBankWords), static_cast<int>(kind.tid.size()),
          static_cast<int>(kind.userWords), static_cast<int>(kind.userBlockWords)};
}

}  // namespace

Tagwright::PrinterTags KnownPrinters() try {
  const Simulator::Printers printers = Simulator::Printers::Load();
  if (printers.IsEveryAddressOne()) return std::nullopt;
  Tagwright::PrinterTags known(std::in_place);
  for (const Simulator::WideText& address : printers.Addresses()) {
    known->emplace(Tagwright::ToUtf8(address), SizesOf(*printers.KindAt(address)));
  }
  return known;
} catch (const std::runtime_error& problem) {
  PrintError(std::string(problem.what()) + "; the sizes of a common tag are taken");
  return std::nullopt;
}

void GateOptions::AddTo(CLI::App& command) {
  CLI::Option* const strictly =
      command.add_flag("--strict", strict, "Send nothing when a job looks wrong in any way");
  command.add_flag("--force", force, "Send also what is empty or not well-formed")
      ->excludes(strictly);
}

std::string DescribeFinding(const std::string& path, const Tagwright::Finding& finding) {
  const bool unusable = finding.severity == Tagwright::Severity::kUnusable;
  return path + ":" + std::to_string(finding.row) + ":" + std::to_string(finding.column) + ": " +
         (unusable ? "error: " : "warning: ") + finding.text;
}

void CheckBeforeSending(const std::vector<Request>& requests, const GateOptions& options) {
  const Tagwright::PrinterTags printers = KnownPrinters();
  std::string refused;
  for (const Request& request : requests) {
    if (request.jobPath.empty()) continue;
    const Tagwright::JobReport report = Tagwright::CheckJob(request.payload.Bytes(), printers);
    for (const Tagwright::Finding& finding : report.findings) {
      PrintNote(DescribeFinding(request.jobPath, finding));
    }
    if (!IsAllowed(report, options)) refused += (refused.empty() ? "" : ", ") + request.jobPath;
  }
  if (refused.empty()) return;
  throw Failure(ExitCode::kDoubtful, "nothing was sent because of " + refused +
                                         (options.strict ? "" : "; --force sends it all the same"));
}

}  // namespace Ctl
