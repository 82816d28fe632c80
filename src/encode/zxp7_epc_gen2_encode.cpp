#include "encode/zxp7_epc_gen2_encode.h"

#include <exception>

#include "encode/operations.h"
#include "encode/verify_managed_components.h"
#include "encode/zebra_sdk_managed_bridge.h"
#include "platform/framework_exceptions.h"
#include "support/log.h"
#include "support/thread_procedure.h"

namespace {

constexpr Tracer kParseAndExecute{"ZXP7EpcGen2Encode::ParseAndExecuteXML"};
constexpr Tracer kParseElement{"ZXP7EpcGen2Encode::ParseNextElement", " "};

}  // namespace

ZXP7EpcGen2Encode::ZXP7EpcGen2Encode(const unsigned char* pJobData, DWORD jobDataSize) {
  Log::Information("ZXP7EpcGen2Encode::ZXP7EpcGen2Encode");
  _jobDocument = CreateSDKJobXmlDocument(pJobData, jobDataSize);
  if (_jobDocument != nullptr && _jobDocument->Error()) {
    Log::Error("ZXP7EpcGen2Encode::ZXP7EpcGen2Encode    Invalid XML");
  }
}

ZXP7EpcGen2Encode::~ZXP7EpcGen2Encode() = default;

JobDocumentPtr ZXP7EpcGen2Encode::CreateSDKJobXmlDocument(const unsigned char* pBuffer,
                                                          DWORD dwBufferSize) {
  Log::Information("ZXP7EpcGen2Encode::CreateSDKJobXmlDocument");
  if (pBuffer == nullptr || dwBufferSize == 0) return nullptr;
  return ParseJobDocument(pBuffer, dwBufferSize);
}

bool ZXP7EpcGen2Encode::ParseAndExecuteXML() {
  Log::Information(kParseAndExecute.Name());
  if (_jobDocument == nullptr) return true;
  if (_pZebraSDKManagedBridge == nullptr) {
    _pZebraSDKManagedBridge = std::make_unique<ZebraSDKManagedBridge>();
  }
  const TiXmlElement* root =
      TiXmlHandle(_jobDocument.get()).FirstChildElement("zsdk_job").ToElement();
  const bool result = root != nullptr && ExecuteElements(*root);
  _jobDocument.reset();
  return result;
}

bool ZXP7EpcGen2Encode::ExecuteElements(const TiXmlElement& root) {
  bool result = true;
  _connected = false;
  for (const TiXmlElement* element = root.FirstChildElement(); result && element != nullptr;
       element = element->NextSiblingElement()) {
    result = ParseNextElement(element);
  }
  kParseAndExecute("All elements parsed");
  if (_connected) {
    kParseAndExecute("Calling _pZebraSDKManagedBridge->Disconnect()");
    _pZebraSDKManagedBridge->Disconnect();
  }
  return result;
}

ZXP7EpcGen2Encode::Operation ZXP7EpcGen2Encode::FindOperation(const char* name) {
  static constexpr struct {
    const char* name;
    Operation operation;
  } kOperations[] = {
      {"printer", &ZXP7EpcGen2Encode::ExecutePrinter},
      {"lock", &ZXP7EpcGen2Encode::ExecuteLock},
      {"unlock", &ZXP7EpcGen2Encode::ExecuteUnlock},
      {"write", &ZXP7EpcGen2Encode::ExecuteWrite},
      {"setpassword", &ZXP7EpcGen2Encode::ExecuteSetPassword},
      {"killtag", &ZXP7EpcGen2Encode::ExecuteKillTag},
  };
  const OString wanted(name);
  for (const auto& candidate : kOperations) {
    if (wanted.CompareNoCase(candidate.name) == 0) return candidate.operation;
  }
  return nullptr;
}

bool ZXP7EpcGen2Encode::ParseNextElement(const TiXmlElement* pNextElement) {
  Log::Information(kParseElement.Name());
  try {
    const Operation operation = FindOperation(pNextElement->Value());
    return operation != nullptr && (this->*operation)(pNextElement);
  } catch (const std::exception& exception) {
    kParseElement.Error([&] { return OString("std::exception Occurred: ") << exception.what(); });
  } catch (CException* exception) {
    kParseElement.Error(
        [&] { return OString("CException Occurred: ") << FrameworkMessage(*exception); });
    exception->Delete();
  } catch (...) {
    kParseElement.Error("unknown exception occurred. Likely a SEH Exception.");
  }
  return false;
}

bool ZXP7EpcGen2Encode::ExecutePrinter(const TiXmlElement* element) {
  kParseElement("printer");
  _connected = VerifyManagedComponents() && ConnectPrinter(Printer(element));
  return _connected;
}

bool ZXP7EpcGen2Encode::ConnectPrinter(const Printer& printer) {
  return _pZebraSDKManagedBridge->Connect(printer.get_PortType(), printer.get_PortAddress(),
                                          printer.get_IsReaderConnectPerCardEnabled());
}

bool ZXP7EpcGen2Encode::ExecuteLock(const TiXmlElement* element) {
  kParseElement("lock");
  const Lock lock(element);
  if (lock.IsBlockPermalock()) {
    return _pZebraSDKManagedBridge->PermalockUserBlock(
        lock.get_Password(), static_cast<unsigned int>(lock.get_StartBlock()),
        lock.get_BlockCount());
  }
  return _pZebraSDKManagedBridge->LockTag(lock.get_Password(), lock.get_LockAction());
}

bool ZXP7EpcGen2Encode::ExecuteUnlock(const TiXmlElement* element) {
  kParseElement("unlock");
  const Unlock unlock(element);
  return _pZebraSDKManagedBridge->UnlockTag(unlock.get_Password(), unlock.get_UnlockAction());
}

bool ZXP7EpcGen2Encode::ExecuteWrite(const TiXmlElement* element) {
  const WriteData write(element);
  switch (write.get_Segment()) {
    case WriteData::kEpcBank:
      kParseElement("write WMB_EPC");
      return _pZebraSDKManagedBridge->WriteEPC(write.get_Data());
    case WriteData::kUserBank:
      kParseElement("write WMB_User");
      return _pZebraSDKManagedBridge->WriteUserMemory(write.get_Offset(), write.get_Data());
    default:
      kParseElement("write memory");
      return _pZebraSDKManagedBridge->WriteMemory(write.get_Segment(), write.get_Offset(),
                                                  write.get_Data());
  }
}

bool ZXP7EpcGen2Encode::ExecuteSetPassword(const TiXmlElement* element) {
  const Password password(element);
  if (password.IsKillPassword()) {
    kParseElement("setpassword KillPassword");
    return _pZebraSDKManagedBridge->SetKillPassword(password.get_Password());
  }
  kParseElement("setpassword generic");
  return _pZebraSDKManagedBridge->SetAccessPassword(password.get_Password());
}

bool ZXP7EpcGen2Encode::ExecuteKillTag(const TiXmlElement* element) {
  kParseElement("killtag");
  const KillTag killTag(element);
  return _pZebraSDKManagedBridge->KillTag(killTag.get_KillPassword());
}
