#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "conduit/QRLPerformers.h"
#include "platform/archive/Value.h"
#include "platform/ipc/MethodSignature.h"
#include "protocol/QRLRemoteInterface.h"

namespace qrl {

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
