#include "conduit/QRLServiceObject.h"

#include <string>

#include "platform/base/Exception.h"

namespace qrl {

std::optional<ipc::MethodSignature> QRLServiceObject::instanceMethodSignatureForSelector(
    std::string_view selector) const {
  if (const QRLRemoteMethod* method = performers_.methodForSelector(selector))
    return method->signature();
  return std::nullopt;
}

bool QRLServiceObject::respondsToSelector(std::string_view selector) const {
  return performers_.serves(selector);
}

archive::Value QRLServiceObject::invoke(std::string_view selector, const Arguments& arguments) {
  if (!respondsToSelector(selector)) {
    throw Exception::unsupported(std::string(className()) + " does not respond to " +
                                 std::string(selector));
  }
  return performers_.perform(selector, arguments);
}

}  // namespace qrl
