/// The 16-byte header of every request and reply on every pipe of the process, and the codes it
/// carries. Shared by the servers, the client library and the tests; depends on nothing of the
/// product.
///
/// A request is a header and `payloadLength` bytes of payload; a reply is a header alone, which
/// echoes magic and message type of its request. Fields are little-endian, as they lie in memory on
/// every system the program runs on.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace Tagwright {

static_assert(std::endian::native == std::endian::little, "headers are sent as they lie in memory");

/// What a request asks for. A server answers a type it does not handle with eStatusUnknownMessage.
enum MessageType : std::uint32_t {
  eShutdown = 0x100,           ///< Both kinds of pipe: reply, then end the server.
  eEncode = 0x200,             ///< Encoder pipe: run the job document in the payload.
  eEncodeAndShutdown = 0x201,  ///< Encoder pipe: as eEncode, then end the server after the reply.
  eAddEncoder = 0x300,         ///< Control pipe: create the encoder pipe the payload names.
  eKeepAlive = 0x302,          ///< Control pipe: counts as activity, like every header.
};

enum ReplyStatus : std::uint32_t {
  eStatusSuccess = 0,               ///< Carried out, or nothing to do.
  eStatusUnknownMessage = 200002,   ///< This kind of server does not handle the type.
  eStatusEncodeFailed = 200003,     ///< The job could not be run, or one of its operations failed.
  eStatusNoPipeName = 200004,       ///< eAddEncoder with an empty name.
  eStatusPipeCreateFailed = 200005  ///< eAddEncoder whose pipe could not be created.
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

static_assert(sizeof(MessageHeader) == 16);
static_assert(offsetof(MessageHeader, magic) == 0);
static_assert(offsetof(MessageHeader, messageType) == 4);
static_assert(offsetof(MessageHeader, payloadLength) == 8);
static_assert(offsetof(MessageHeader, status) == 12);

/// The longest payload a server takes: a job document has a few kilobytes, and a length beyond this
/// is a damaged or hostile header. It is refused before anything is allocated; its bytes are
/// drained.
inline constexpr std::uint32_t kMaxPayloadBytes = 16 * 1024 * 1024;

}  // namespace Tagwright
