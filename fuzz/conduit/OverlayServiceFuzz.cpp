// Any request a peer sends to the overlay service must be performed or
// refused with the project exception. Every string argument is replaced by a
// path that cannot exist, so only the argument parsing and the writer's
// failure paths run and no file is touched.
#include <cstddef>
#include <cstdint>
#include <span>

#include "conduit/QRLQTOverlayWriterService.h"
#include "platform/base/Exception.h"
#include "platform/ipc/Message.h"
#include "platform/process/SystemLog.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static qrl::QRLQTOverlayWriterService service;
  static qrl::process::CapturingLog quiet;
  quiet.clear();
  try {
    auto request = qrl::ipc::decodeRequest(std::span<const uint8_t>(data, size));
    auto signature = service.instanceMethodSignatureForSelector(request.selector);
    if (!signature || qrl::ipc::checkArguments(*signature, request.arguments))
      return 0;
    for (auto& argument : request.arguments) {
      if (argument.string() != nullptr)
        argument = qrl::archive::Value("/nonexistent/qrl-fuzz/movie.mov");
    }
    (void)service.invoke(request.selector, request.arguments);
  } catch (const qrl::Exception&) {
  }
  return 0;
}
