#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/archive/Value.h"
#include "platform/ipc/MethodSignature.h"
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

// A service object as the controller sees it: a class that answers some
// selectors, and an instance that performs them on wire values.
class QRLServiceObject {
 public:
  using Arguments = QRLPerformers::Arguments;

  virtual ~QRLServiceObject() = default;

  virtual std::string_view className() const = 0;

  // The class's instance method signature for the selector, or nothing when
  // the class does not implement it. By default the row's signature of every
  // selector that has a performer.
  virtual std::optional<ipc::MethodSignature> instanceMethodSignatureForSelector(
      std::string_view selector) const;

  virtual bool respondsToSelector(std::string_view selector) const;

  // Performs a selector this object responds to; arguments already match
  // the signature.
  virtual archive::Value invoke(std::string_view selector, const Arguments& arguments);

 protected:
  void addPerformer(const QRLRemoteMethod& method, QRLPerformers::Performer performer) {
    performers_.bind(method, std::move(performer));
  }

 private:
  QRLPerformers performers_;
};

}  // namespace qrl
