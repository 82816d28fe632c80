/// The only way from the job executor to the printer's encoder.
#pragma once

#include <memory>

#include "support/ostring.h"

class ZebraSDKManagedBridgePrivate;

/// Owns one object of the printer component; an executor makes one bridge for its job, so that
/// every job works with a fresh object. Used by one thread.
///
/// Every operation passes its arguments on unchanged and returns the component's result. Exceptions
/// of the component pass through to the caller, except those of its Connect.
class ZebraSDKManagedBridge {
 public:
  /// Creates the component object; what that raises leaves the constructor (a component that cannot
  /// be loaded: Tagwright::ComponentLoadError).
  ZebraSDKManagedBridge();
  /// Disposes of the component object.
  ~ZebraSDKManagedBridge();
  ZebraSDKManagedBridge(const ZebraSDKManagedBridge&) = delete;
  ZebraSDKManagedBridge& operator=(const ZebraSDKManagedBridge&) = delete;

  /// Returns when the component and the SDK files it needs can be loaded, throws otherwise.
  static void TestManagedCodeAccessible();

  /// Starts the component's log and connects. An exception of the component's Connect is logged
  /// there and counts as false; one of the log itself passes.
  bool Connect(int portType, OString printer, bool connectPerCard);
  bool Disconnect();

  bool WriteEPC(const OString& epcDataIn);
  bool WriteMemory(int bank, int offset, const OString& dataIn);
  bool WriteUserMemory(int offset, const OString& dataIn);
  bool SetAccessPassword(const OString& accessPasswordIn);
  bool LockTag(const OString& accessPasswordIn, int iLockAction);
  bool PermalockUserBlock(const OString& accessPasswordIn, unsigned int startAddress,
                          int blockCount);
  bool UnlockTag(const OString& accessPasswordIn, int iUnlockAction);
  bool SetKillPassword(const OString& killPasswordIn);
  bool KillTag(const OString& killPasswordIn);

 private:
  bool ConnectGuarded(int portType, const OString& printer, bool connectPerCard);
  void LogConnectError(const OString& text);

  std::unique_ptr<ZebraSDKManagedBridgePrivate> _private;
};
