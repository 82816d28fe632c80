/// The 16-byte header of every request and reply on every pipe of the process, and the codes it
/// carries. Shared by the servers, the client library and the tests; depends on nothing of the
/// product. The first half is C11, for drivers; C++20 has the second half as well. A guard instead
/// of #pragma once, because drivers get a copy.
///
/// A request is a header and `payload_length` bytes of payload; a reply is a header alone, which
/// echoes magic and message type of its request. Fields are little-endian, as they lie in memory on
/// every system the program runs on.
#ifndef TAGWRIGHT_MESSAGE_HEADER_H
#define TAGWRIGHT_MESSAGE_HEADER_H

#include <stddef.h>
#include <stdint.h>

/// What a request asks for. A server answers a type it does not handle with
/// TAGWRIGHT_UNKNOWN_MESSAGE.
enum tagwright_message_type {
  TAGWRIGHT_SHUTDOWN = 0x100,             ///< Both kinds of pipe: reply, then end the server.
  TAGWRIGHT_ENCODE = 0x200,               ///< Encoder pipe: run the job document in the payload.
  TAGWRIGHT_ENCODE_AND_SHUTDOWN = 0x201,  ///< Encoder pipe: the same, then end after the reply.
  TAGWRIGHT_ADD_ENCODER = 0x300,          ///< Control pipe: create the pipe the payload names.
  TAGWRIGHT_KEEP_ALIVE = 0x302,           ///< Control pipe: counts as activity, like every header.
};

enum tagwright_reply_status {
  TAGWRIGHT_SUCCESS = 0,                 ///< Carried out, or nothing to do.
  TAGWRIGHT_UNKNOWN_MESSAGE = 200002,    ///< This kind of server does not handle the type.
  TAGWRIGHT_ENCODE_FAILED = 200003,      ///< The job could not be run, or an operation failed.
  TAGWRIGHT_NO_PIPE_NAME = 200004,       ///< TAGWRIGHT_ADD_ENCODER with an empty name.
  TAGWRIGHT_PIPE_CREATE_FAILED = 200005  ///< TAGWRIGHT_ADD_ENCODER whose pipe cannot be created.
};

/// The text "#@BK"; a NUL follows it that is not sent.
#define TAGWRIGHT_MAGIC "#@BK"

struct tagwright_message_header {
  uint8_t magic[4];
  uint32_t message_type;
  uint32_t payload_length;  ///< Bytes that follow a request's header; 0 in a reply.
  uint32_t status;          ///< A tagwright_reply_status; not looked at in a request.
};

/// The longest payload a server takes: a job document has a few kilobytes, and a length beyond this
/// is a damaged or hostile header. It is refused before anything is allocated; its bytes are
/// drained.
enum { TAGWRIGHT_MAX_PAYLOAD_BYTES = 16 * 1024 * 1024 };

#if defined(__cplusplus) && __cplusplus >= 202002L

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Tagwright {

static_assert(std::endian::native == std::endian::little, "headers are sent as they lie in memory");

/// The codes above by the names under which they are logged.
enum MessageType : std::uint32_t {
  eShutdown = TAGWRIGHT_SHUTDOWN,
  eEncode = TAGWRIGHT_ENCODE,
  eEncodeAndShutdown = TAGWRIGHT_ENCODE_AND_SHUTDOWN,
  eAddEncoder = TAGWRIGHT_ADD_ENCODER,
  eKeepAlive = TAGWRIGHT_KEEP_ALIVE,
};

enum ReplyStatus : std::uint32_t {
  eStatusSuccess = TAGWRIGHT_SUCCESS,
  eStatusUnknownMessage = TAGWRIGHT_UNKNOWN_MESSAGE,
  eStatusEncodeFailed = TAGWRIGHT_ENCODE_FAILED,
  eStatusNoPipeName = TAGWRIGHT_NO_PIPE_NAME,
  eStatusPipeCreateFailed = TAGWRIGHT_PIPE_CREATE_FAILED
};

/// The text "#@BK" without a terminator.
inline constexpr std::array<std::uint8_t, 4> kMessageMagic = {0x23, 0x40, 0x42, 0x4B};

struct MessageHeader {
  std::array<std::uint8_t, 4> magic = kMessageMagic;
  std::uint32_t messageType = 0;
  std::uint32_t payloadLength = 0;  ///< Bytes that follow a request's header; 0 in a reply.
  std::uint32_t status = 0;         ///< A ReplyStatus; not looked at in a request.

  /// A valid header of type 0, without payload, with status 0.
  MessageHeader() = default;

  /// Whether the magic is right; says nothing of the other fields.
  bool ValidHeader() const { return magic == kMessageMagic; }
};

static_assert(sizeof(MessageHeader) == 16 && sizeof(tagwright_message_header) == 16);
static_assert(offsetof(MessageHeader, magic) == 0);
static_assert(offsetof(MessageHeader, messageType) == 4);
static_assert(offsetof(MessageHeader, payloadLength) == 8);
static_assert(offsetof(MessageHeader, status) == 12);

inline constexpr std::uint32_t kMaxPayloadBytes = TAGWRIGHT_MAX_PAYLOAD_BYTES;

}  // namespace Tagwright

#endif  // C++20

#endif
