#pragma once

#include "conduit/QRLServiceObject.h"
#include "xmeml/QRLMediaDocumentWriter32.h"

namespace qrl {

// The edit-list writer as the conduit serves it. Paths travel as an array of
// strings; detail records as an array of keyed archives (the Data form) or
// of archives or record dictionaries (the InGroup form).
class QRLMediaDocumentWriterService : public QRLServiceObject {
 public:
  QRLMediaDocumentWriterService();
  std::string_view className() const override { return "QRLMediaDocumentWriter32"; }

 private:
  QRLMediaDocumentWriter32 writer_;
};

}  // namespace qrl
