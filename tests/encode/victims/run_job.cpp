/// Runs one job in a folder of its own, where the test has laid out the SDK files. The simulator's
/// file result.txt receives "true", "false" or the text of the exception that left the executor.
#include <exception>
#include <string>

#include "encode/zxp7_epc_gen2_encode.h"
#include "simulator/tag/state_files.h"
#include "support/oevent_log.h"

namespace {

std::string Run() {
  static const std::string kJob = "<zsdk_job><printer port_address='TEST1'/></zsdk_job>";
  try {
    ZXP7EpcGen2Encode executor(reinterpret_cast<const unsigned char*>(kJob.data()),
                               static_cast<DWORD>(kJob.size()));
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
