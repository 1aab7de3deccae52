#include "conduit/QRLPerformers.h"

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

}  // namespace qrl
