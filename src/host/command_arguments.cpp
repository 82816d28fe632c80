#include "host/command_arguments.h"

#include <string>

#include "support/log.h"

CommandArguments::CommandArguments(int argc, const WCHAR* const* argv) { Parse(argc, argv); }

void CommandArguments::Parse(int argc, const WCHAR* const* argv) {
  SetProgramName(argv[0]);
  bool pipeNameGiven = false;
  for (int i = 1; i < argc; ++i) {
    if (xstrcmp(argv[i], TEXT("/n")) == 0) {
      if (++i < argc) {
        _pipeName = argv[i];
        pipeNameGiven = true;
      } else {
        ReportError("CommandArguments::Parse: Missing value after /n for pipe name");
      }
    } else if (xstrcmp(argv[i], TEXT("/c")) == 0) {
      _usesControlChannel = true;
    }
  }
  if (!_hasError && !pipeNameGiven) ReportError("CommandArguments::Parse: Missing pipe name");
}

void CommandArguments::SetProgramName(const WCHAR* path) {
  std::basic_string<WCHAR> name(path);
  const auto separator = name.find_last_of(TEXT("\\:"));
  if (separator != name.npos) name.erase(0, separator + 1);
  _programName = name.c_str();
}

void CommandArguments::ReportError(const char* text) {
  Log::Error(text);
  _hasError = true;
}
