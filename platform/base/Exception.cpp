#include "platform/base/Exception.h"

#include <cstring>

namespace qrl {

Exception Exception::fromErrno(const std::string& operation, const std::string& object, int err) {
  Exception e(Kind::IO, operation + " " + object + ": " + std::strerror(err));
  e.errorNumber_ = err;
  return e;
}

}  // namespace qrl
