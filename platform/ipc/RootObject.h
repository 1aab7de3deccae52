#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/archive/Value.h"
#include "platform/ipc/MethodSignature.h"

namespace qrl::ipc {

// The object a server vends. The server asks it for a selector's signature
// before it checks and hands over the arguments, as a distributed-object
// layer does.
class RootObject {
 public:
  virtual ~RootObject() = default;

  virtual std::optional<MethodSignature> methodSignatureForSelector(std::string_view selector) = 0;

  // Performs the message; the arguments already match the signature. An
  // exception becomes an error reply to the caller.
  virtual archive::Value invoke(const std::string& selector,
                                const std::vector<archive::Value>& arguments) = 0;
};

}  // namespace qrl::ipc
