#include "conduit/QRLServiceObject.h"

#include <string>

#include "platform/base/Exception.h"

namespace qrl {

void QRLPerformers::bind(const QRLRemoteMethod& method, Performer performer) {
  if (!bound_.emplace(method.selector(), Bound{&method, std::move(performer)}).second) {
    throw Exception::internal("two performers for " + std::string(method.selector()));
  }
}

const QRLRemoteMethod* QRLPerformers::methodForSelector(std::string_view selector) const {
  auto it = bound_.find(selector);
  return it != bound_.end() ? it->second.method : nullptr;
}

archive::Value QRLPerformers::perform(std::string_view selector, const Arguments& arguments) const {
  auto it = bound_.find(selector);
  if (it == bound_.end())
    throw Exception::unsupported("no performer for " + std::string(selector));
  return it->second.performer(arguments);
}

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
