#include <memory>

#include "client/check/job_check.h"
#include "client/ctl/commands.h"
#include "client/ctl/console.h"
#include "client/ctl/input_file.h"
#include "client/ctl/job_gate.h"

namespace Ctl {
namespace {

std::string Count(std::size_t number, const std::string& noun) {
  return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}

void PrintReport(const std::string& path, const Tagwright::JobReport& report) {
  for (const Tagwright::Step& step : report.steps) {
    PrintLine(path + ":" + std::to_string(step.row) + ": " + step.text);
  }
  for (const Tagwright::Finding& finding : report.findings) {
    PrintLine(DescribeFinding(path, finding));
  }
  PrintLine(
      path + ": " + Count(report.steps.size(), "operation") + ", " +
      (report.findings.empty() ? "nothing looks wrong" : Count(report.findings.size(), "doubt")));
}

ExitCode Check(const std::vector<std::string>& paths) {
  const Tagwright::PrinterTags printers = KnownPrinters();
  ExitCode result = ExitCode::kSuccess;
  for (const std::string& path : paths) {
    const WipedBuffer document = LoadFile(path);
    const Tagwright::JobReport report = Tagwright::CheckJob(document.Bytes(), printers);
    PrintReport(path, report);
    if (!report.findings.empty()) Note(result, ExitCode::kDoubtful);
  }
  return result;
}

}  // namespace

void AddCheckCommand(CLI::App& app, ExitCode& result) {
  CLI::App* const command =
      app.add_subcommand("check", "Say what jobs will do and what looks wrong; nothing is sent");
  const auto paths = std::make_shared<std::vector<std::string>>();
  command->add_option("JOB.xml", *paths, "Job documents; - is standard input")->required();
  command->callback([paths, &result] { result = Check(*paths); });
}

}  // namespace Ctl
