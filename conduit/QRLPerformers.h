#pragma once

#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "platform/archive/Value.h"
#include "protocol/QRLRemoteInterface.h"

namespace qrl {

// The performers an object binds to rows of the remote interface. Serving a
// new remote method is one bind() in the performing object's constructor (and
// taking the row off QRLUnservedMethods()).
class QRLPerformers {
 public:
  using Arguments = std::vector<archive::Value>;
  // Receives arguments that match the row's signature.
  using Performer = std::function<archive::Value(const Arguments&)>;

  // A row bound twice is our own bug: Exception::internal.
  void bind(const QRLRemoteMethod& method, Performer performer);

  // The bound row of the selector, or null.
  const QRLRemoteMethod* methodForSelector(std::string_view selector) const;
  bool serves(std::string_view selector) const { return methodForSelector(selector) != nullptr; }
  // Throws Exception::unsupported for a selector without a performer.
  archive::Value perform(std::string_view selector, const Arguments& arguments) const;

 private:
  struct Bound {
    const QRLRemoteMethod* method;
    Performer performer;
  };
  std::map<std::string_view, Bound, std::less<>> bound_;
};

}  // namespace qrl
