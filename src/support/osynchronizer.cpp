#include "support/osynchronizer.h"

#include <cstdlib>
#include <new>

#include "support/security_dacl.h"

OMutex::OMutex(const OString& name, DWORD timeoutMs) : _timeoutMs(timeoutMs), _name(name) {}

OMutex::~OMutex() {
  if (_handle != nullptr) CloseHandle(_handle);
}

void OMutex::Acquire() {
  const HANDLE handle = CreatedHandle();
  if (handle != nullptr) WaitForSingleObject(handle, _timeoutMs);
}

void OMutex::Release() {
  const HANDLE handle = _handle;
  if (handle != nullptr) ReleaseMutex(handle);
}

HANDLE OMutex::CreatedHandle() {
  const std::lock_guard<std::mutex> lock(_creationLock);
  if (_handle == nullptr) _handle = Create();
  return _handle;
}

HANDLE OMutex::Create() const {
  return CreateMutexW(SecurityDACL::ForEveryone(), FALSE,
                      _name.IsEmpty() ? nullptr : _name.wstring());
}

OCriticalSection::OCriticalSection()
    : _section(static_cast<CRITICAL_SECTION*>(std::malloc(sizeof(CRITICAL_SECTION)))) {
  if (_section == nullptr) throw std::bad_alloc();
  InitializeCriticalSection(_section);
}

OCriticalSection::~OCriticalSection() {
  DeleteCriticalSection(_section);
  std::free(_section);
}
