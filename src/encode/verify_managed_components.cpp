#include "encode/verify_managed_components.h"

#include "encode/zebra_sdk_managed_bridge.h"
#include "platform/framework_exceptions.h"
#include "platform/windows_api.h"
#include "sdk/managed_exception.h"
#include "support/log.h"
#include "support/oexception.h"
#include "support/ofile.h"
#include "support/process_utility.h"

namespace {

/// Code under which the Windows C++ runtime raises every C++ exception.
constexpr DWORD kCppExceptionCode = 0xE06D7363U;
/// Code under which the managed runtime raises its exceptions.
constexpr DWORD kManagedExceptionCode = 0xE0434352U;

/// Code of the exception that the component's test entry raised last.
DWORD sehExceptionCode;

/// An OException without exception pointers is an ordinary C++ exception.
DWORD CodeOf(const OException& exception) {
  const EXCEPTION_POINTERS* const pointers = exception.Pointers();
  return pointers == nullptr ? kCppExceptionCode : pointers->ExceptionRecord->ExceptionCode;
}

/// Maps the exception that is being handled to the code it would be raised under.
DWORD CurrentExceptionCode() {
  try {
    throw;
  } catch (const OException& exception) {
    return CodeOf(exception);
  } catch (const Tagwright::ManagedException&) {
    return kManagedExceptionCode;
  } catch (CException* exception) {
    exception->Delete();
  } catch (...) {
  }
  return kCppExceptionCode;
}

bool VerifyManagedComponentsLoad() {
  try {
    ZebraSDKManagedBridge::TestManagedCodeAccessible();
    return true;
  } catch (...) {
    sehExceptionCode = CurrentExceptionCode();
  }
  RecordSehException();
  return false;
}

}  // namespace

OString MissingRequiredFiles(const OString& directory) {
  OString missing;
  const OString folder = OString(directory) << "\\";
  for (const char* name : listOfRequiredFiles) {
    const OString path = OString(folder) << name;
    if (OFile::GetAttributes(path) == INVALID_FILE_ATTRIBUTES) missing << name << ", ";
  }
  missing.TrimRight();
  missing.TrimRight(",");
  return missing;
}

void RecordSehException() {
  Log::Error([] {
    return OString(
               "ZXP7EpcGen2Encode::VerifyManagedComponentsLoad: A structured exception "
               "handler(SEH) exception occurred trying to load the managed components. It's likely "
               "one or more DLLs are missing. ExceptionCode:")
           << FormatHex(sehExceptionCode);
  });
}

bool VerifyManagedComponents() {
  const OString missing = MissingRequiredFiles(ProcessUtility::GetCurrentModuleDirectory());
  if (missing.IsEmpty()) return VerifyManagedComponentsLoad();
  Log::Error([&] {
    return OString(
               "ZXP7EpcGen2Encode::VerifyManagedComponents: Required files are missing. The "
               "missing files are:\n")
           << missing;
  });
  return false;
}
