#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/archive/Value.h"
#include "platform/ipc/MethodSignature.h"

namespace qrl::ipc {

// What travels on a connection: frames of a 4-byte big-endian length followed
// by that many bytes of binary property list. Property lists cannot hold
// null, so a nil argument or result travels as the dictionary {"$nil": true}.
inline constexpr uint32_t kMaxFrameBytes = 64u << 20;

struct Request {
  enum class Type { Invoke, Signature };
  Type type = Type::Invoke;
  std::string selector;
  std::vector<archive::Value> arguments;  // Invoke only
};

struct Reply {
  std::optional<std::string> error;          // set when the call failed
  archive::Value result;                     // Invoke: the result (null for nil or none)
  std::optional<MethodSignature> signature;  // Signature: the answer
};

std::vector<uint8_t> encodeRequest(const Request& request);
std::vector<uint8_t> encodeReply(const Reply& reply);

// Throw qrl::Exception (Parse) for a body that is not a well-formed message.
Request decodeRequest(std::span<const uint8_t> body);
Reply decodeReply(std::span<const uint8_t> body);

// Blocking frame I/O on a stream socket. readFrame returns nothing at a clean
// end of stream before a frame starts; it throws qrl::Exception for a short
// frame, an oversized length or an I/O error.
std::optional<std::vector<uint8_t>> readFrame(int fd);
void writeFrame(int fd, std::span<const uint8_t> body);

}  // namespace qrl::ipc
