#include "encode/required_files.h"

#include "platform/windows_api.h"
#include "support/ofile.h"

OString MissingRequiredFiles(const OString& directory) {
  OString missing;
  for (const char* name : listOfRequiredFiles) {
    const OString path = OString(directory) << "\\" << name;
    if (OFile::GetAttributes(path) == INVALID_FILE_ATTRIBUTES) missing << name << ", ";
  }
  missing.TrimRight();
  missing.TrimRight(",");
  return missing;
}
