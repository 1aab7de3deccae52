#include "protocol/QRLWireKinds.h"

#include "platform/base/Exception.h"
#include "protocol/QRLWireValues.h"

namespace qrl::kind::checks {

namespace {

// The decoder's complaint, if any.
template <typename Decode>
std::optional<std::string> problemDecoding(const archive::Value& value, Decode decode) {
  try {
    decode(value);
    return std::nullopt;
  } catch (const Exception& e) {
    return e.what();
  }
}

}  // namespace

std::optional<std::string> point(const archive::Value& value) {
  return problemDecoding(value, wire::point);
}

std::optional<std::string> size(const archive::Value& value) {
  return problemDecoding(value, wire::size);
}

std::optional<std::string> timeCodeDef(const archive::Value& value) {
  return problemDecoding(value, wire::timeCodeDef);
}

std::optional<std::string> track(const archive::Value& value) {
  return problemDecoding(value, wire::track);
}

}  // namespace qrl::kind::checks
