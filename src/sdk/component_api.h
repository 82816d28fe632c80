/// The C interface of the printer component "Tagwright.Managed.dll": one exported function hands
/// out a table of functions. The program and every component of it are built against this one
/// header.
///
/// Rules of the boundary:
/// - Text is UTF-16, given as pointer and length; the component copies what it keeps and never
///   writes through the pointer. A null pointer goes with length 0 only.
/// - Every call fills the caller's TagwrightCallResult. The component's own exceptions do not cross
///   the boundary: they come back described in the result. A structured exception (a crash) is none
///   of the component's own; it passes through to the calling thread.
/// - An object is used by one thread at a time. Different objects may be used at once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/windows_api.h"

/// Name of the one exported function, as GetProcAddress takes it.
#define TAGWRIGHT_COMPONENT_ENTRY "TagwrightManagedGetInterface"

/// Version of everything below. A component serves the versions it knows.
constexpr std::uint32_t kTagwrightComponentVersion = 1;

/// One object of the component's class ZebraSDK; opaque to the program.
struct TagwrightComponentObject;

struct TagwrightText {
  const WCHAR* characters;
  std::size_t length;
};

/// What a call ended with.
enum TagwrightCallOutcome : std::uint32_t {
  kTagwrightReturned = 0,            ///< normally
  kTagwrightManagedException = 1,    ///< the component runtime's exception base class
  kTagwrightFrameworkException = 2,  ///< CException of the application framework
  kTagwrightStandardException = 3,   ///< std::exception and what derives from it
  kTagwrightUnknownException = 4,    ///< anything else
};

/// The caller zero-initialises it. The texts are meaningful with an exception only, NUL-terminated,
/// and cut to their arrays.
struct TagwrightCallResult {
  std::uint32_t outcome;   ///< a TagwrightCallOutcome
  std::uint32_t returned;  ///< the member's bool, 0 or 1; 0 for members without a result
  WCHAR message[512];
  WCHAR fullText[2048];  ///< type, message and stack trace of a managed exception
};
static_assert(sizeof(TagwrightCallResult) == 8 + (512 + 2048) * 2);
static_assert(offsetof(TagwrightCallResult, message) == 8);

/// The members of ZebraSDK, named after them; the first two fields are the same in every version.
struct TagwrightComponentInterface {
  std::uint32_t size;     ///< sizeof of the table the component was built with, in bytes
  std::uint32_t version;  ///< the version asked for

  /// The constructor. Null with an exception in the result.
  TagwrightComponentObject* (*CreateObject)(TagwrightCallResult* result);
  /// Disposes of the object and frees it; called exactly once for each object.
  void (*DisposeObject)(TagwrightComponentObject* object, TagwrightCallResult* result);

  /// Static: returns normally when the component and all it needs can be loaded.
  void (*TestManagedCodeAccessible)(TagwrightCallResult* result);

  /// Makes the object's logger; called before every Connect.
  void (*InitLogging)(TagwrightComponentObject* object, TagwrightCallResult* result);
  /// One error line to the object's logger (ZSDKEventLogM), after InitLogging.
  void (*LogErrorEvent)(TagwrightComponentObject* object, TagwrightText text,
                        TagwrightCallResult* result);

  void (*Connect)(TagwrightComponentObject* object, std::int32_t portType,
                  TagwrightText printerAddress, std::uint32_t connectPerCard,
                  TagwrightCallResult* result);
  void (*Disconnect)(TagwrightComponentObject* object, TagwrightCallResult* result);

  void (*WriteEPC)(TagwrightComponentObject* object, TagwrightText data,
                   TagwrightCallResult* result);
  void (*WriteMemory)(TagwrightComponentObject* object, std::int32_t bank, std::int32_t offset,
                      TagwrightText data, TagwrightCallResult* result);
  void (*WriteUserMemory)(TagwrightComponentObject* object, std::int32_t offset, TagwrightText data,
                          TagwrightCallResult* result);

  void (*SetAccessPassword)(TagwrightComponentObject* object, TagwrightText password,
                            TagwrightCallResult* result);
  void (*LockTag)(TagwrightComponentObject* object, TagwrightText accessPassword,
                  std::int32_t lockAction, TagwrightCallResult* result);
  void (*PermalockUserBlock)(TagwrightComponentObject* object, TagwrightText accessPassword,
                             std::uint32_t startAddress, std::int32_t blockCount,
                             TagwrightCallResult* result);
  void (*UnlockTag)(TagwrightComponentObject* object, TagwrightText accessPassword,
                    std::int32_t unlockAction, TagwrightCallResult* result);
  void (*SetKillPassword)(TagwrightComponentObject* object, TagwrightText password,
                          TagwrightCallResult* result);
  void (*KillTag)(TagwrightComponentObject* object, TagwrightText killPassword,
                  TagwrightCallResult* result);
};
static_assert(offsetof(TagwrightComponentInterface, CreateObject) == 8);
static_assert(sizeof(TagwrightComponentInterface) == 8 + 16 * sizeof(void*));

/// The exported function: the table for `version`, or null when the component does not know it. The
/// table stays valid as long as the component is loaded.
using TagwrightGetInterface = const TagwrightComponentInterface* (*)(std::uint32_t version);
