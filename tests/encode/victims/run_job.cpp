/// Runs the job in the simulator's file job.xml in a folder of its own, where the test has laid out
/// the SDK files. The file result.txt receives "true", "false" or the text of the exception that
/// left the executor.
#include <exception>
#include <string>

#include "encode/zxp7_epc_gen2_encode.h"
#include "simulator/tag/state_files.h"
#include "support/oevent_log.h"

namespace {

std::string Run() {
  const std::string job = Simulator::ReadStateFile(Simulator::StateFilePath("job.xml")).value();
  try {
    ZXP7EpcGen2Encode executor(reinterpret_cast<const unsigned char*>(job.data()),
                               static_cast<DWORD>(job.size()));
    return executor.ParseAndExecuteXML() ? "true" : "false";
  } catch (const std::exception& exception) {
    return exception.what();
  }
}

}  // namespace

int main() {
  Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>(
      new OEventLog("Brennick Tagwright.Native", OEventLog::kApplicationLog));
  Simulator::ReplaceStateFile(Simulator::StateFilePath("result.txt"), Run());
  Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>();
  return 0;
}
