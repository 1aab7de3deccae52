// Any property list through every wire-value decoder: each either decodes or
// refuses with the project exception as bad input, and what it decodes
// encodes to a value that decodes to the same bytes again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/archive/PropertyList.h"
#include "platform/base/Exception.h"
#include "platform/process/SystemLog.h"
#include "protocol/QRLWireValues.h"

namespace {

using qrl::archive::PropertyList;
using qrl::archive::Value;

// Decodes, and if that works checks that encode ∘ decode is stable.
template <typename Decode, typename Encode>
void roundTrip(const Value& value, Decode decode, Encode encode) {
  Value once;
  try {
    once = encode(decode(value));
  } catch (const qrl::Exception& e) {
    if (!e.isBadInput())
      std::abort();
    return;
  }
  try {
    if (PropertyList::binaryData(encode(decode(once))) != PropertyList::binaryData(once))
      std::abort();
  } catch (const qrl::Exception&) {
    std::abort();  // our own encoding must decode
  }
}

void decodeAll(const Value& v) {
  using namespace qrl;
  roundTrip(v, wire::point, [](Point p) { return wire::encode(p); });
  roundTrip(v, wire::size, [](Size s) { return wire::encode(s); });
  roundTrip(v, wire::timeCodeDef, [](const QRLTimeCodeDef& d) { return wire::encode(d); });
  roundTrip(v, wire::track, [](const QRLTrackReference& t) { return wire::encode(t); });
  roundTrip(
      v, [](const Value& x) { return wire::color(x); },
      [](const QRLColorComponents& c) { return wire::encode(c); });
  roundTrip(v, wire::textOverlay,
            [](const QRLTextOverlayDescription& o) { return wire::encode(o); });
  roundTrip(v, wire::imageOverlay,
            [](const QRLImageOverlayDescription& o) { return wire::encode(o); });
  roundTrip(v, wire::timecodeOverlayHolder, wire::encodeHolder);
  roundTrip(v, wire::burnAttributeWrapper, wire::encodeHolder);
  roundTrip(
      v, [](const Value& x) { return wire::strings(x, "paths"); },
      [](const std::vector<std::string>& s) { return wire::encode(s); });
  roundTrip(
      v, [](const Value& x) { return wire::dataArray(x, "data"); },
      [](const std::vector<archive::Data>& d) { return wire::encode(d); });
  try {
    (void)wire::timecodeDetails(v);
  } catch (const Exception& e) {
    if (!e.isBadInput())
      std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static qrl::process::CapturingLog quiet;
  quiet.clear();
  Value value;
  try {
    value = PropertyList::parse(std::span(data, size));
  } catch (const qrl::Exception&) {
    return 0;
  }
  decodeAll(value);
  if (const Value::Array* items = value.array()) {
    for (const Value& item : *items)
      decodeAll(item);
  }
  return 0;
}
