#pragma once

#include "protocol/QRLApplication.h"

namespace qrl {

// The parent product the conduit serves.
class RVMApplication : public QRLApplication {
 public:
  static RVMApplication& sharedInstance();

  std::string applicationTitle() const override { return "Ravelmark"; }
  std::string currentExecutableTitle() const override { return "Ravelmark4"; }
  std::string applicationId() const override { return "1115"; }
  std::string bundleId() const override { return "com.quorlan.Ravelmark"; }
  std::string defaultLocation() const override { return "/Applications/Ravelmark"; }
  std::string homepage() const override { return "https://www.quorlan.com/ravelmark/"; }
  std::string downloadFilePath() const override {
    return "https://www.quorlan.com/downloads/Ravelmark.dmg";
  }
};

}  // namespace qrl
