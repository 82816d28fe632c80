#include "encode/zebra_sdk_managed_bridge.h"

#include <exception>

#include "platform/framework_exceptions.h"
#include "platform/windows_api.h"
#include "sdk/component_object.h"
#include "sdk/managed_exception.h"
#include "support/thread_procedure.h"

class ZebraSDKManagedBridgePrivate {
 public:
  Tagwright::ComponentObject _zebraSdk;
};

ZebraSDKManagedBridge::ZebraSDKManagedBridge()
    : _private(std::make_unique<ZebraSDKManagedBridgePrivate>()) {
  _private->_zebraSdk = Tagwright::ComponentObject::Create();
}

ZebraSDKManagedBridge::~ZebraSDKManagedBridge() = default;

void ZebraSDKManagedBridge::TestManagedCodeAccessible() {
  Tagwright::ComponentObject::TestManagedCodeAccessible();
}

bool ZebraSDKManagedBridge::Connect(int portType, OString printer, bool connectPerCard) {
  _private->_zebraSdk.InitLogging();
  const bool result = ConnectGuarded(portType, printer, connectPerCard);
  OutputDebugStringW(result ? TEXT("ZebraSDKManagedBridge::Connect Successfully Connnected")
                            : TEXT("ZebraSDKManagedBridge::Connect Failed to Connect"));
  return result;
}

bool ZebraSDKManagedBridge::ConnectGuarded(int portType, const OString& printer,
                                           bool connectPerCard) {
  Tagwright::ComponentObject& sdk = _private->_zebraSdk;
  try {
    return sdk.Connect(portType, printer, connectPerCard);
  } catch (CException* exception) {
    const OString message = FrameworkMessage(*exception);
    exception->Delete();
    sdk.LogErrorEvent(OString("ZebraSDKManagedBridge::Connect CException - ") << message);
  } catch (const Tagwright::ManagedException& exception) {
    sdk.LogErrorEvent(OString("ZebraSDKManagedBridge::Connect Exception - ")
                      << exception.Message() << exception.ToString());
  } catch (const std::exception& exception) {
    sdk.LogErrorEvent(OString("ZebraSDKManagedBridge::Connect std::exception - ")
                      << exception.what());
  } catch (...) {
    sdk.LogErrorEvent(
        "ZebraSDKManagedBridge::Connect Unknown exception - likely a structured exception handler "
        "exception");
  }
  return false;
}

bool ZebraSDKManagedBridge::Disconnect() { return _private->_zebraSdk.Disconnect(); }

bool ZebraSDKManagedBridge::WriteEPC(const OString& epcDataIn) {
  return _private->_zebraSdk.WriteEPC(epcDataIn);
}

bool ZebraSDKManagedBridge::WriteMemory(int bank, int offset, const OString& dataIn) {
  return _private->_zebraSdk.WriteMemory(bank, offset, dataIn);
}

bool ZebraSDKManagedBridge::WriteUserMemory(int offset, const OString& dataIn) {
  return _private->_zebraSdk.WriteUserMemory(offset, dataIn);
}

bool ZebraSDKManagedBridge::SetAccessPassword(const OString& accessPasswordIn) {
  return _private->_zebraSdk.SetAccessPassword(accessPasswordIn);
}

bool ZebraSDKManagedBridge::LockTag(const OString& accessPasswordIn, int iLockAction) {
  return _private->_zebraSdk.LockTag(accessPasswordIn, iLockAction);
}

bool ZebraSDKManagedBridge::PermalockUserBlock(const OString& accessPasswordIn,
                                               unsigned int startAddress, int blockCount) {
  return _private->_zebraSdk.PermalockUserBlock(accessPasswordIn, startAddress, blockCount);
}

bool ZebraSDKManagedBridge::UnlockTag(const OString& accessPasswordIn, int iUnlockAction) {
  return _private->_zebraSdk.UnlockTag(accessPasswordIn, iUnlockAction);
}

bool ZebraSDKManagedBridge::SetKillPassword(const OString& killPasswordIn) {
  return _private->_zebraSdk.SetKillPassword(killPasswordIn);
}

bool ZebraSDKManagedBridge::KillTag(const OString& killPasswordIn) {
  return _private->_zebraSdk.KillTag(killPasswordIn);
}
