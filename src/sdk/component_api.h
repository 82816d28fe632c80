/// The C interface of the printer component, the library "Tagwright.Managed.dll" beside the
/// program: one exported function hands out a table of functions, the members of the component's
/// class ZebraSDK. This header is the whole contract. It is C11 and C++17 and needs nothing but the
/// standard library; the program and every component are built against this one file.
///
/// WHO CALLS WHAT WHEN. The component is loaded when the first job needs it, on the thread of that
/// job, and never unloaded. A failed load is tried again by the next job. For each job, in order:
///
///   CreateObject                           once, before the document is looked at
///   TestManagedCodeAccessible              before each Connect; when it fails there is no Connect
///   InitLogging, Connect                   for each `printer` element
///   LogErrorEvent                          when Connect ended with an exception
///   the members that encode                one for each other element, in the document's order,
///                                          connected or not; the first that fails is the last
///   Disconnect                             at the end, when the last Connect returned true
///   DisposeObject                          once
///
/// THREADS. All calls of a job come from one thread, which has a stack of the system's ordinary
/// size and, on Windows, a single-threaded COM apartment. The next job may come from another
/// thread. Jobs of all processes of the machine take turns; only DisposeObject may run while
/// another object is at work. The component may have threads of its own. They must be gone or
/// asleep before they can hurt: the process ends without asking them.
///
/// MEMORY. Texts and results belong to the caller and are valid until the call returns. The
/// component copies what it keeps and never writes through a text. Whatever it allocates it frees
/// itself. Texts of a job may be passwords: do not log them, and wipe copies of them.
///
/// EXCEPTIONS. No exception of a language crosses the boundary: each call catches its own and
/// describes it in the result. What the program makes of it:
///
///   outcome                       in Connect: false, and      in any other call of an element:
///                                 LogErrorEvent tells         the job fails, and the log tells
///   kTagwrightManagedException    message and full text       that it is unknown
///   kTagwrightFrameworkException  message                     message
///   kTagwrightStandardException   message                     message
///   kTagwrightUnknownException    that it is unknown          that it is unknown
///
/// One in TestManagedCodeAccessible fails the job with a code in the log. One in CreateObject or
/// Disconnect ends the pipe of the job without a reply. One in DisposeObject is ignored.
///
/// CRASHES, HANGS AND EXITS. A crash (access violation, division by zero, illegal instruction,
/// stack overflow) is not the component's to describe: it passes through to the calling thread,
/// which treats it as an exception of no known kind. The frames of the component are unwound if
/// they can be and left as they are if not; the object gets no other call than Disconnect and
/// DisposeObject then. So a component on Linux leaves the handlers of SIGSEGV, SIGBUS, SIGFPE,
/// SIGILL, SIGTRAP and SIGABRT alone, or hands on to the ones it found what is not its own. It
/// keeps out of SIGURG and of the real-time signals from SIGRTMIN + 9 on, which the program has for
/// itself. A crash inside the heap, an abort, and an exception that crosses a `noexcept` end the
/// process with a report and a dump. A hang lasts until the process is asked to end; then its
/// thread is terminated wherever it is, and the process ends. An exit in the component ends the
/// process and every job in it.
///
/// VERSIONS. There is version 1. The program asks for the newest version it knows; a component
/// answers with null for what it does not know. A newer version appends members to the table,
/// changes none and takes none away; the program asks a component that does not know it for the
/// ones before, so a component once built stays usable, and so does a program with a newer
/// component that goes on serving the old version. The structures of texts and results stay as they
/// are in every version.
#ifndef TAGWRIGHT_COMPONENT_API_H
#define TAGWRIGHT_COMPONENT_API_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

/// What makes a function one that a library exports, by the form of its file; the entry below has
/// it already.
#ifdef __ELF__
#define TAGWRIGHT_COMPONENT_EXPORT __attribute__((visibility("default")))
#else
#define TAGWRIGHT_COMPONENT_EXPORT __declspec(dllexport)
#endif

/// One UTF-16 code unit: wchar_t where that has 16 bits, else char16_t.
#if WCHAR_MAX <= 0xFFFF
typedef wchar_t TagwrightChar;
#else
#ifndef __cplusplus
#include <uchar.h>
#endif
typedef char16_t TagwrightChar;
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// The versions that there are.
enum { kTagwrightComponentVersion = 1 };

/// One object of the component's class ZebraSDK. What it is the component alone knows; the program
/// hands the pointer back.
typedef struct TagwrightComponentObject TagwrightComponentObject;

/// UTF-16 without a NUL at its end. A null pointer goes with length 0 only.
typedef struct TagwrightText {
  const TagwrightChar* characters;
  size_t length;
} TagwrightText;

/// What a call ended with.
typedef enum TagwrightCallOutcome {
  kTagwrightReturned = 0,            ///< normally
  kTagwrightManagedException = 1,    ///< the component runtime's exception base class
  kTagwrightFrameworkException = 2,  ///< CException of the application framework
  kTagwrightStandardException = 3,   ///< std::exception and what derives from it
  kTagwrightUnknownException = 4     ///< anything else
} TagwrightCallOutcome;

enum { kTagwrightMessageSize = 512, kTagwrightFullTextSize = 2048 };

/// The caller zero-initialises it, and the component fills in what is not zero. The texts are
/// meaningful with an exception only, NUL-terminated, and cut to their arrays.
typedef struct TagwrightCallResult {
  uint32_t outcome;   ///< a TagwrightCallOutcome
  uint32_t returned;  ///< the member's bool, 0 or 1; of no meaning for members without a result
  TagwrightChar message[kTagwrightMessageSize];
  TagwrightChar fullText[kTagwrightFullTextSize];  ///< managed: type, message and stack trace
} TagwrightCallResult;

static_assert(sizeof(TagwrightChar) == 2, "text is UTF-16");
static_assert(sizeof(TagwrightCallResult) == 8 + (512 + 2048) * 2, "the same in every version");
static_assert(offsetof(TagwrightCallResult, message) == 8, "the same in every version");

/// The members of ZebraSDK, named after them; none may be null. The first two fields are the same
/// in every version. Members that encode report failure by `returned` 0, which ends the job.
typedef struct TagwrightComponentInterface {
  uint32_t size;     ///< sizeof of the table the component was built with, in bytes
  uint32_t version;  ///< the version asked for

  /// The constructor. Null with an exception in the result.
  TagwrightComponentObject* (*CreateObject)(TagwrightCallResult* result);
  /// Disposes of the object and frees it; called exactly once for each object.
  void (*DisposeObject)(TagwrightComponentObject* object, TagwrightCallResult* result);

  /// Static: returns normally when the component and all it needs can be loaded.
  void (*TestManagedCodeAccessible)(TagwrightCallResult* result);

  /// Makes the object's logger.
  void (*InitLogging)(TagwrightComponentObject* object, TagwrightCallResult* result);
  /// One error line to the object's logger (ZSDKEventLogM), after InitLogging.
  void (*LogErrorEvent)(TagwrightComponentObject* object, TagwrightText text,
                        TagwrightCallResult* result);

  /// The three values come from the job as they stand there: which port types and addresses there
  /// are the component says. `connectPerCard` is 0 or 1.
  void (*Connect)(TagwrightComponentObject* object, int32_t portType, TagwrightText printerAddress,
                  uint32_t connectPerCard, TagwrightCallResult* result);
  void (*Disconnect)(TagwrightComponentObject* object, TagwrightCallResult* result);

  /// Banks are those of EPC Gen2: 0 Reserved, 1 EPC, 2 TID, 3 User. Data, passwords, offsets and
  /// lock actions are checked by nobody before.
  void (*WriteEPC)(TagwrightComponentObject* object, TagwrightText data,
                   TagwrightCallResult* result);
  void (*WriteMemory)(TagwrightComponentObject* object, int32_t bank, int32_t offset,
                      TagwrightText data, TagwrightCallResult* result);
  void (*WriteUserMemory)(TagwrightComponentObject* object, int32_t offset, TagwrightText data,
                          TagwrightCallResult* result);

  void (*SetAccessPassword)(TagwrightComponentObject* object, TagwrightText password,
                            TagwrightCallResult* result);
  void (*LockTag)(TagwrightComponentObject* object, TagwrightText accessPassword,
                  int32_t lockAction, TagwrightCallResult* result);
  /// A negative number of the job arrives in `startAddress` bit for bit.
  void (*PermalockUserBlock)(TagwrightComponentObject* object, TagwrightText accessPassword,
                             uint32_t startAddress, int32_t blockCount,
                             TagwrightCallResult* result);
  void (*UnlockTag)(TagwrightComponentObject* object, TagwrightText accessPassword,
                    int32_t unlockAction, TagwrightCallResult* result);
  void (*SetKillPassword)(TagwrightComponentObject* object, TagwrightText password,
                          TagwrightCallResult* result);
  void (*KillTag)(TagwrightComponentObject* object, TagwrightText killPassword,
                  TagwrightCallResult* result);
} TagwrightComponentInterface;
static_assert(offsetof(TagwrightComponentInterface, CreateObject) == 8, "in every version");
static_assert(sizeof(TagwrightComponentInterface) == 8 + 16 * sizeof(void*), "version 1");

/// Name of the one exported function, as GetProcAddress takes it.
#define TAGWRIGHT_COMPONENT_ENTRY "TagwrightManagedGetInterface"

/// The exported function, which the component defines: the table for `version`, or null when the
/// component does not know it. The table stays valid as long as the component is loaded.
TAGWRIGHT_COMPONENT_EXPORT const TagwrightComponentInterface* TagwrightManagedGetInterface(
    uint32_t version);

typedef const TagwrightComponentInterface* (*TagwrightGetInterface)(uint32_t version);

#ifdef __cplusplus
}
#endif

#endif
