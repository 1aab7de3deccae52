// Any bytes a peer sends as a frame body must decode to a request or reply,
// or fail with the project exception, and a decoded message must re-encode.
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/base/Exception.h"
#include "platform/ipc/Message.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::span<const uint8_t> body(data, size);
  try {
    auto request = qrl::ipc::decodeRequest(body);
    (void)qrl::ipc::encodeRequest(request);
  } catch (const qrl::Exception&) {
  }
  try {
    auto reply = qrl::ipc::decodeReply(body);
    (void)qrl::ipc::encodeReply(reply);
  } catch (const qrl::Exception&) {
  }
  return 0;
}
