/// The records of a minidump file, little-endian, as Microsoft documents them (minidumpapiset.h);
/// the Linux streams are those that debuggers know for dumps of Linux processes.
#pragma once

#include "platform/posix/api/base.h"
#include "platform/posix/api/exceptions.h"

namespace platform::minidump {

constexpr DWORD kSignature = 0x504D444D;  // "MDMP"
constexpr DWORD kVersion = 0xA793;
constexpr WORD kProcessorAmd64 = 9;
constexpr DWORD kPlatformLinux = 0x8201;
constexpr DWORD kBuildIdSignature = 0x4270454C;  // "LEpB": an ELF build id follows

enum class StreamType : DWORD {
  kThreadList = 3,
  kModuleList = 4,
  kMemoryList = 5,
  kException = 6,
  kSystemInfo = 7,
  kLinuxCpuInfo = 0x47670003,
  kLinuxProcStatus = 0x47670004,
  kLinuxMaps = 0x47670009,
};

#pragma pack(push, 4)

/// A piece of the file: size in bytes, offset from the file's start.
struct Location {
  DWORD sizeBytes;
  DWORD offset;
};

struct Header {
  DWORD signature;
  DWORD version;
  DWORD streamCount;
  DWORD directoryOffset;
  DWORD checksum;
  DWORD timeSeconds;
  ULONGLONG flags;
};
static_assert(sizeof(Header) == 32);

struct DirectoryEntry {
  StreamType type;
  Location location;
};
static_assert(sizeof(DirectoryEntry) == 12);

struct MemoryDescriptor {
  ULONGLONG start;
  Location memory;
};
static_assert(sizeof(MemoryDescriptor) == 16);

struct ThreadRecord {
  DWORD id;
  DWORD suspendCount;
  DWORD priorityClass;
  DWORD priority;
  ULONGLONG environmentBlock;
  MemoryDescriptor stack;
  Location context;
};
static_assert(sizeof(ThreadRecord) == 48);

struct ModuleRecord {
  ULONGLONG base;
  DWORD sizeBytes;
  DWORD checksum;
  DWORD timeSeconds;
  DWORD nameOffset;
  DWORD versionInfo[13];
  Location codeView;
  Location misc;
  ULONGLONG reserved[2];
};
static_assert(sizeof(ModuleRecord) == 108);

struct ExceptionStream {
  DWORD threadId;
  DWORD alignment;
  DWORD code;
  DWORD flags;
  ULONGLONG nestedRecord;
  ULONGLONG address;
  DWORD parameterCount;
  DWORD unused;
  ULONGLONG parameters[EXCEPTION_MAXIMUM_PARAMETERS];
  Location context;
};
static_assert(sizeof(ExceptionStream) == 168);

struct SystemInfo {
  WORD processorArchitecture;
  WORD processorLevel;
  WORD processorRevision;
  BYTE processorCount;
  BYTE productType;
  DWORD majorVersion;
  DWORD minorVersion;
  DWORD buildNumber;
  DWORD platformId;
  DWORD servicePackOffset;
  WORD suiteMask;
  WORD reserved;
  ULONGLONG processorFeatures[3];
};
static_assert(sizeof(SystemInfo) == 56);

#pragma pack(pop)

}  // namespace platform::minidump
