/// The examination of a component, in the process in which it is loaded.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>

#include "client/component/call_witness.h"
#include "client/component/examination_report.h"
#include "platform/examined_library.h"

namespace Tagwright {

/// What went wrong makes the rest of the examination pointless; it has been reported.
struct ExaminationEnded {};

class Examination {
 public:
  explicit Examination(ReportWriter& report) : _report(report) {}

  /// Loads the library and looks at its table. Throws ExaminationEnded.
  void Load(const std::string& path);
  /// Calls what needs no printer: two objects are made and disposed of. Throws ExaminationEnded.
  void CallWithoutPrinter();

  const TagwrightComponentInterface& Component() const { return *_component; }

  /// Makes a call, `call` (TagwrightCallResult* to void), and reports how it ended. `label` is the
  /// member's name, with its arguments where that helps. `texts` are those that it is given. Throws
  /// ExaminationEnded after a crash and after an exception that crossed the boundary.
  template <class CallOfMember>
  WitnessedResult Call(const std::string& label, CallOfMember&& call,
                       std::initializer_list<const WitnessedText*> texts = {}) {
    WitnessedResult result;
    Run(label, [&] { call(&result.Get()); });
    ReportCall(label, result, texts);
    return result;
  }
  /// The object, or ExaminationEnded without one.
  TagwrightComponentObject* Create();
  void Dispose(TagwrightComponentObject* object);
  /// False when it raises an exception, which is a fault.
  bool TestAccess();

  void Fault(const std::string& text) { _report.Write(ReportKind::kFault, text); }
  void Refused(const std::string& text) { _report.Write(ReportKind::kRefused, text); }

 private:
  /// Runs one step between its two lines.
  void Run(const std::string& label, void (*work)(void*), void* argument);
  template <class Work>
  void Run(const std::string& label, Work&& work) {
    Run(
        label, [](void* target) { (*static_cast<std::remove_reference_t<Work>*>(target))(); },
        &work);
  }
  void ReportCall(const std::string& label, const WitnessedResult& result,
                  std::initializer_list<const WitnessedText*> texts);
  [[noreturn]] void End(const std::string& fault);
  void CheckTable();

  ReportWriter& _report;
  std::optional<platform::ExaminedLibrary> _library;
  const TagwrightComponentInterface* _component = nullptr;
};

}  // namespace Tagwright
