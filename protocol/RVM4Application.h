#pragma once

#include "protocol/RVMApplication.h"

namespace qrl {

// Version 4 of the parent product: the application that must be running for
// the conduit to live.
class RVM4Application : public RVMApplication {
 public:
  static RVM4Application& sharedInstance();

  std::string bundleId() const override { return "com.quorlan.Ravelmark4"; }
  std::string defaultLocation() const override { return "/Applications/Ravelmark4.app"; }
  std::string downloadFilePath() const override {
    return "https://www.quorlan.com/downloads/Ravelmark4.dmg";
  }
};

}  // namespace qrl
