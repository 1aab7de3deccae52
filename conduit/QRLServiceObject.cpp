#include "conduit/QRLServiceObject.h"

#include "conduit/QRLRemoteInterface.h"
#include "platform/base/Exception.h"

namespace qrl {

std::optional<ipc::MethodSignature> QRLServiceObject::instanceMethodSignatureForSelector(
    std::string_view selector) const {
  if (!performers_.contains(selector))
    return std::nullopt;
  const QRLRemoteMethod* method = QRLRemoteMethodForSelector(selector);
  if (method == nullptr)
    return std::nullopt;
  return method->signature;
}

bool QRLServiceObject::respondsToSelector(std::string_view selector) const {
  return performers_.contains(selector);
}

archive::Value QRLServiceObject::invoke(std::string_view selector, const Arguments& arguments) {
  auto it = performers_.find(selector);
  if (it == performers_.end()) {
    throw Exception::unsupported(std::string(className()) + " does not respond to " +
                                 std::string(selector));
  }
  return it->second(arguments);
}

void QRLServiceObject::addPerformer(std::string selector, Performer performer) {
  performers_.emplace(std::move(selector), std::move(performer));
}

}  // namespace qrl
