/// Jobs run in this process against the simulated printer, with its log, the component's log and
/// the record of the component's calls at hand.
#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "common/product_log.h"
#include "encode/zxp7_epc_gen2_encode.h"
#include "simulator/tag/state_files.h"
#include "simulator/tag/tag_store.h"
#include "support/oevent_log.h"

class EncodeTest : public testing::Test {
 protected:
  static constexpr const char* kPrinter = "<printer port_type='1' port_address='TEST1'/>";

  // The component makes its log once in a process, so its mask has to be there before.
  static void SetUpTestSuite() {
    _componentLog = std::make_unique<ProductLog>("Brennick Tagwright.Simulator");
  }
  static void TearDownTestSuite() { _componentLog.reset(); }

  EncodeTest() {
    Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>(
        new OEventLog("Brennick Tagwright.Native", OEventLog::kApplicationLog));
    Simulator::ReplaceStateFile(CallsPath(), "");
  }
  ~EncodeTest() override {
    Z7SvEventLog = StdBrennick::shared_ptr<OEventLog>();
    for (const char* file : {"faults.json", "fault_counts.json", "calls.jsonl", "TEST1.json"}) {
      DeleteFileW(Simulator::StateFilePath(file).c_str());
    }
  }

  /// The fault of one member.
  static void Script(const std::string& member, const std::string& fault) {
    const nlohmann::json script = {{member, {{"fault", fault}, {"text", "disk full"}}}};
    Simulator::ReplaceStateFile(Simulator::StateFilePath("faults.json"), script.dump());
  }

  /// The text between the tags of zsdk_job.
  static bool RunOperations(const std::string& operations) {
    return RunDocument("<zsdk_job>" + operations + "</zsdk_job>");
  }
  static bool RunDocument(const std::string& document) {
    // The bytes behind the document are not the executor's to read.
    const std::unique_ptr<unsigned char[]> payload(new unsigned char[document.size()]);
    std::copy(document.begin(), document.end(), payload.get());
    ZXP7EpcGen2Encode executor(payload.get(), static_cast<DWORD>(document.size()));
    const bool result = executor.ParseAndExecuteXML();
    EXPECT_TRUE(executor.ParseAndExecuteXML()) << "its document is gone";
    return result;
  }

  /// Every finished call since the last look as "member=result", constructor and disposal included,
  /// in order.
  static std::string TakeCalls() {
    std::string calls;
    std::istringstream lines(Simulator::ReadStateFile(CallsPath()).value());
    for (std::string line; std::getline(lines, line);) {
      const auto call = nlohmann::json::parse(line);
      if (call["event"] != "end") continue;
      calls += (calls.empty() ? "" : " ") + std::string(call["member"]) + "=" +
               std::string(call["result"]);
    }
    Simulator::ReplaceStateFile(CallsPath(), "");
    return calls;
  }

  static Simulator::WideText CallsPath() { return Simulator::StateFilePath("calls.jsonl"); }

  ProductLog _log;
  static inline std::unique_ptr<ProductLog> _componentLog;
};
