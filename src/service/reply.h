/// How both servers begin a reply.
#pragma once

#include "pipe/message_header.h"

/// Makes `reply` the successful answer to `request`: its magic and type, no payload, status 0.
inline void BeginReply(const Tagwright::MessageHeader& request, Tagwright::MessageHeader& reply) {
  reply = request;
  reply.status = Tagwright::eStatusSuccess;
  reply.payloadLength = 0;
}
