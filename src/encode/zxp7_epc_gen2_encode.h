/// Executes one job document against the printer's UHF encoder.
#pragma once

#include <tinyxml.h>

#include <memory>

#include "encode/job_document.h"
#include "platform/windows_api.h"

class Printer;
class ZebraSDKManagedBridge;

/// A job is the XML element `zsdk_job`; its child elements are operations, executed in document
/// order until the first one fails:
///
/// | element | operation |
/// |---|---|
/// | printer | checks that the SDK files are there and connects |
/// | lock | locks memory, or permanently locks blocks of the User bank |
/// | unlock | unlocks memory |
/// | write | writes the EPC bank, the User bank or any bank |
/// | setpassword | sets the kill or the access password |
/// | killtag | kills the tag |
///
/// The names of operations ignore letter case; that of the root does not. Made, run once and
/// destroyed on one thread; the caller of ParseAndExecuteXML holds the process-wide encode mutex.
/// Failures end up in the log and as false; no log line holds a value of the job.
class ZXP7EpcGen2Encode {
 public:
  /// Parses the job: `jobDataSize` bytes at `pJobData`, which are not used after the constructor.
  /// Text that is not well-formed is logged and kept as far as it was parsed.
  ZXP7EpcGen2Encode(const unsigned char* pJobData, DWORD jobDataSize);
  /// Releases the bridge and, when the job did not run, the document.
  ~ZXP7EpcGen2Encode();
  ZXP7EpcGen2Encode(const ZXP7EpcGen2Encode&) = delete;
  ZXP7EpcGen2Encode& operator=(const ZXP7EpcGen2Encode&) = delete;

  /// Runs the job, at most once. True when every operation succeeded; a root without operations
  /// counts as success. Exceptions of the bridge's constructor and of the disconnection pass to the
  /// caller.
  bool ParseAndExecuteXML();

 private:
  using Operation = bool (ZXP7EpcGen2Encode::*)(const TiXmlElement* element);
  static Operation FindOperation(const char* name);

  /// With or without a parse error; null for a null pointer or a size of 0.
  JobDocumentPtr CreateSDKJobXmlDocument(const unsigned char* pBuffer, DWORD dwBufferSize);
  bool ExecuteElements(const TiXmlElement& root);
  bool ParseNextElement(const TiXmlElement* pNextElement);

  bool ExecutePrinter(const TiXmlElement* element);
  bool ConnectPrinter(const Printer& printer);
  bool ExecuteLock(const TiXmlElement* element);
  bool ExecuteUnlock(const TiXmlElement* element);
  bool ExecuteWrite(const TiXmlElement* element);
  bool ExecuteSetPassword(const TiXmlElement* element);
  bool ExecuteKillTag(const TiXmlElement* element);

  JobDocumentPtr _jobDocument;
  /// Made by ParseAndExecuteXML; lives until the executor is destroyed.
  std::unique_ptr<ZebraSDKManagedBridge> _pZebraSDKManagedBridge;
  /// Outcome of the last connection attempt; one that ended with an exception leaves it as it was.
  bool _connected = false;
};
