#include "records/QRLRecordClasses.h"

#include "records/QRLQTTimecodeAttributeWrapper.h"
#include "records/QRLQTTimecodeBurnAttributeWrapper.h"
#include "records/QRLQTTimecodeTrackAttributeWrapper.h"
#include "records/QRLTimecodeDetailsWrapper.h"

namespace qrl {
namespace {

archive::ClassRegistry makeRegistry() {
  archive::ClassRegistry r = archive::ClassRegistry::standard();
  r.registerClass("QRLQTTimecodeAttributeWrapper", QRLQTTimecodeAttributeWrapper::initWithCoder);
  r.registerClass("QRLQTTimecodeBurnAttributeWrapper",
                  QRLQTTimecodeBurnAttributeWrapper::initWithCoder);
  r.registerClass("QRLQTTimecodeTrackAttributeWrapper",
                  QRLQTTimecodeTrackAttributeWrapper::initWithCoder);
  r.registerClass("QRLTimecodeDetailsWrapper", QRLTimecodeDetailsWrapper::initWithCoder);
  return r;
}

}  // namespace

const archive::ClassRegistry& recordClassRegistry() {
  static const archive::ClassRegistry registry = makeRegistry();
  return registry;
}

}  // namespace qrl
