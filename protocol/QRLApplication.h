#pragma once

#include <string>

namespace qrl {

// Which application this is: title, identifiers, install location and
// preference key; also the owner of the application's private temporary
// directory. Each class has its own lock-free shared instance.
class QRLApplication {
 public:
  QRLApplication() = default;
  virtual ~QRLApplication() = default;
  QRLApplication(const QRLApplication&) = delete;
  QRLApplication& operator=(const QRLApplication&) = delete;

  static QRLApplication& sharedInstance();

  virtual std::string applicationTitle() const { return "Quorlan Application"; }
  virtual std::string currentExecutableTitle() const { return applicationTitle(); }
  virtual std::string applicationId() const { return "0000"; }
  virtual std::string bundleId() const { return ""; }
  virtual std::string defaultLocation() const { return "/Applications/" + applicationTitle(); }
  virtual std::string homepage() const { return "https://www.quorlan.com/"; }
  virtual std::string downloadFilePath() const { return ""; }

  // "<title>_<id>" with every space removed: QuorlanApplication_0000.
  std::string distributedId() const;
  // "QRLDefaultPathTo<title>".
  std::string preferencesDefaultPathKey() const;

  // The per-user temporary directory plus "<title><id>-<home folder name>".
  std::string tempDirectory() const;
  // A path for a new, not yet existing "Sub<n>" directory in tempDirectory(),
  // n in 0..99999. Nothing is created.
  std::string uniqueTempSubDirectory() const;
  void configureTempDirectory() const;
  void createTempDirectory() const;
  void clearTempDirectory() const;
};

}  // namespace qrl
