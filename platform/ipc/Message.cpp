#include "platform/ipc/Message.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "platform/archive/PropertyList.h"
#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"

namespace qrl::ipc {
namespace {

using archive::Value;

const Value& nilMarker() {
  static const Value marker(Value::Dictionary{{"$nil", Value(true)}});
  return marker;
}

Value toWire(const Value& value) {
  return value.isNull() ? nilMarker() : value;
}

Value fromWire(const Value& value) {
  return value == nilMarker() ? Value() : value;
}

std::vector<uint8_t> encode(const Value& message) {
  return archive::PropertyList::binaryData(message);
}

Value decode(std::span<const uint8_t> body) {
  if (body.size() > kMaxFrameBytes)
    throw Exception::parse("message too large");
  Value message = archive::PropertyList::parse(body);
  if (!message.dictionary())
    throw Exception::parse("message is not a dictionary");
  return message;
}

const std::string& requireString(const Value& message, std::string_view key) {
  const Value* v = message.find(key);
  if (v == nullptr || !v->string()) {
    throw Exception::parse("message has no '" + std::string(key) + "' string");
  }
  return *v->string();
}

}  // namespace

std::vector<uint8_t> encodeRequest(const Request& request) {
  Value::Dictionary message;
  if (request.type == Request::Type::Signature) {
    message["signatureOf"] = request.selector;
  } else {
    Value::Array arguments;
    for (const auto& a : request.arguments)
      arguments.push_back(toWire(a));
    message["selector"] = request.selector;
    message["arguments"] = Value(std::move(arguments));
  }
  return encode(Value(std::move(message)));
}

std::vector<uint8_t> encodeReply(const Reply& reply) {
  Value::Dictionary message;
  if (reply.error) {
    message["error"] = *reply.error;
  } else if (reply.signature) {
    message["signature"] = signatureValue(*reply.signature);
  } else {
    message["result"] = toWire(reply.result);
  }
  return encode(Value(std::move(message)));
}

Request decodeRequest(std::span<const uint8_t> body) {
  Value message = decode(body);
  Request request;
  if (message.find("signatureOf") != nullptr) {
    request.type = Request::Type::Signature;
    request.selector = requireString(message, "signatureOf");
    return request;
  }
  request.selector = requireString(message, "selector");
  const Value* arguments = message.find("arguments");
  if (arguments == nullptr || !arguments->array()) {
    throw Exception::parse("message has no 'arguments' array");
  }
  for (const auto& a : *arguments->array())
    request.arguments.push_back(fromWire(a));
  return request;
}

Reply decodeReply(std::span<const uint8_t> body) {
  Value message = decode(body);
  Reply reply;
  if (const Value* error = message.find("error")) {
    reply.error = error->string() ? *error->string() : std::string("malformed error");
  } else if (const Value* signature = message.find("signature")) {
    reply.signature = signatureFromValue(*signature);
    if (!reply.signature)
      throw Exception::parse("malformed signature in reply");
  } else if (const Value* result = message.find("result")) {
    reply.result = fromWire(*result);
  } else {
    throw Exception::parse("reply has neither 'result', 'signature' nor 'error'");
  }
  return reply;
}

namespace {

// Reads exactly `size` bytes; returns false at end of stream before any byte.
bool readExact(int fd, uint8_t* buffer, size_t size) {
  const size_t done = readFully(fd, std::span(buffer, size), "connection");
  if (done == 0 && size > 0)
    return false;
  if (done < size)
    throw Exception::parse("connection closed inside a frame");
  return true;
}

}  // namespace

std::optional<std::vector<uint8_t>> readFrame(int fd) {
  uint8_t header[4];
  if (!readExact(fd, header, sizeof header))
    return std::nullopt;
  uint32_t size = (uint32_t{header[0]} << 24) | (uint32_t{header[1]} << 16) |
                  (uint32_t{header[2]} << 8) | uint32_t{header[3]};
  if (size > kMaxFrameBytes)
    throw Exception::parse("frame of " + std::to_string(size) + " bytes exceeds the limit");
  std::vector<uint8_t> body(size);
  if (size > 0 && !readExact(fd, body.data(), size)) {
    throw Exception::parse("connection closed inside a frame");
  }
  return body;
}

void writeFrame(int fd, std::span<const uint8_t> body) {
  if (body.size() > kMaxFrameBytes)
    throw Exception::range("message too large to send");
  auto size = static_cast<uint32_t>(body.size());
  std::vector<uint8_t> frame{static_cast<uint8_t>(size >> 24), static_cast<uint8_t>(size >> 16),
                             static_cast<uint8_t>(size >> 8), static_cast<uint8_t>(size)};
  frame.insert(frame.end(), body.begin(), body.end());
  sendFully(fd, frame, "connection");
}

}  // namespace qrl::ipc
