#include "encode/zebra_sdk_managed_bridge.h"

#include <exception>

#include "platform/framework_exceptions.h"
#include "platform/windows_api.h"
#include "sdk/component_object.h"
#include "sdk/managed_exception.h"
#include "support/thread_procedure.h"

using Component = TagwrightComponentInterface;

class ZebraSDKManagedBridgePrivate {
 public:
  std::unique_ptr<Tagwright::ComponentObject> _zebraSdk;
};

ZebraSDKManagedBridge::ZebraSDKManagedBridge()
    : _private(std::make_unique<ZebraSDKManagedBridgePrivate>()) {
  _private->_zebraSdk = std::make_unique<Tagwright::ComponentObject>();
}

ZebraSDKManagedBridge::~ZebraSDKManagedBridge() = default;

void ZebraSDKManagedBridge::TestManagedCodeAccessible() {
  Tagwright::ComponentObject::TestManagedCodeAccessible();
}

bool ZebraSDKManagedBridge::Connect(int portType, OString printer, bool connectPerCard) {
  _private->_zebraSdk->Call(&Component::InitLogging);
  const bool result = ConnectGuarded(portType, printer, connectPerCard);
  OutputDebugStringW(result ? TEXT("ZebraSDKManagedBridge::Connect Successfully Connnected")
                            : TEXT("ZebraSDKManagedBridge::Connect Failed to Connect"));
  return result;
}

bool ZebraSDKManagedBridge::ConnectGuarded(int portType, const OString& printer,
                                           bool connectPerCard) {
  try {
    return _private->_zebraSdk->Call(&Component::Connect, portType, printer, connectPerCard);
  } catch (CException* exception) {
    const OString message = FrameworkMessage(*exception);
    exception->Delete();
    LogConnectError(OString("CException - ") << message);
  } catch (const Tagwright::ManagedException& exception) {
    LogConnectError(OString("Exception - ") << exception.Message() << exception.ToString());
  } catch (const std::exception& exception) {
    LogConnectError(OString("std::exception - ") << exception.what());
  } catch (...) {
    LogConnectError("Unknown exception - likely a structured exception handler exception");
  }
  return false;
}

void ZebraSDKManagedBridge::LogConnectError(const OString& text) {
  const OString line = OString("ZebraSDKManagedBridge::Connect ") << text;
  _private->_zebraSdk->Call(&Component::LogErrorEvent, line);
}

bool ZebraSDKManagedBridge::Disconnect() {
  return _private->_zebraSdk->Call(&Component::Disconnect);
}

bool ZebraSDKManagedBridge::WriteEPC(const OString& epcDataIn) {
  return _private->_zebraSdk->Call(&Component::WriteEPC, epcDataIn);
}

bool ZebraSDKManagedBridge::WriteMemory(int bank, int offset, const OString& dataIn) {
  return _private->_zebraSdk->Call(&Component::WriteMemory, bank, offset, dataIn);
}

bool ZebraSDKManagedBridge::WriteUserMemory(int offset, const OString& dataIn) {
  return _private->_zebraSdk->Call(&Component::WriteUserMemory, offset, dataIn);
}

bool ZebraSDKManagedBridge::SetAccessPassword(const OString& accessPasswordIn) {
  return _private->_zebraSdk->Call(&Component::SetAccessPassword, accessPasswordIn);
}

bool ZebraSDKManagedBridge::LockTag(const OString& accessPasswordIn, int iLockAction) {
  return _private->_zebraSdk->Call(&Component::LockTag, accessPasswordIn, iLockAction);
}

bool ZebraSDKManagedBridge::PermalockUserBlock(const OString& accessPasswordIn,
                                               unsigned int startAddress, int blockCount) {
  return _private->_zebraSdk->Call(&Component::PermalockUserBlock, accessPasswordIn, startAddress,
                                   blockCount);
}

bool ZebraSDKManagedBridge::UnlockTag(const OString& accessPasswordIn, int iUnlockAction) {
  return _private->_zebraSdk->Call(&Component::UnlockTag, accessPasswordIn, iUnlockAction);
}

bool ZebraSDKManagedBridge::SetKillPassword(const OString& killPasswordIn) {
  return _private->_zebraSdk->Call(&Component::SetKillPassword, killPasswordIn);
}

bool ZebraSDKManagedBridge::KillTag(const OString& killPasswordIn) {
  return _private->_zebraSdk->Call(&Component::KillTag, killPasswordIn);
}
