#include "protocol/QRLApplication.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <system_error>

#include "fsutil/PathComponents.h"
#include "fsutil/QRLFileSystemUtility.h"
#include "protocol/RVM4Application.h"
#include "protocol/SharedInstance.h"

namespace qrl {

namespace fs = std::filesystem;

QRLApplication& QRLApplication::sharedInstance() {
  static std::atomic<QRLApplication*> slot{nullptr};
  return lockFreeSharedInstance(slot);
}

RVMApplication& RVMApplication::sharedInstance() {
  static std::atomic<RVMApplication*> slot{nullptr};
  return lockFreeSharedInstance(slot);
}

RVM4Application& RVM4Application::sharedInstance() {
  static std::atomic<RVM4Application*> slot{nullptr};
  return lockFreeSharedInstance(slot);
}

std::string QRLApplication::distributedId() const {
  std::string id = applicationTitle() + "_" + applicationId();
  id.erase(std::remove(id.begin(), id.end(), ' '), id.end());
  return id;
}

std::string QRLApplication::preferencesDefaultPathKey() const {
  return "QRLDefaultPathTo" + applicationTitle();
}

std::string QRLApplication::tempDirectory() const {
  std::error_code ec;
  fs::path base = fs::temp_directory_path(ec);
  if (ec)
    base = "/tmp";
  const char* home = std::getenv("HOME");
  std::string user = fsutil::lastPathComponent(home != nullptr ? home : "");
  return (base / (applicationTitle() + applicationId() + "-" + user)).string();
}

std::string QRLApplication::uniqueTempSubDirectory() const {
  static thread_local std::mt19937 random{std::random_device{}()};
  uint32_t number = static_cast<uint32_t>(random()) % 100000;
  std::string path = tempDirectory() + "/Sub" + std::to_string(number);
  return QRLFileSystemUtility().uniqueFileSystemPathForPath(path);
}

void QRLApplication::configureTempDirectory() const {
  clearTempDirectory();
  createTempDirectory();
}

void QRLApplication::createTempDirectory() const {
  std::error_code ec;
  if (!fs::exists(tempDirectory(), ec))
    fs::create_directories(tempDirectory(), ec);
}

void QRLApplication::clearTempDirectory() const {
  std::error_code ec;
  fs::path directory = tempDirectory();
  if (!fs::is_directory(directory, ec))
    return;
  for (const auto& entry : fs::directory_iterator(directory, ec)) {
    std::error_code ignored;
    fs::remove_all(entry.path(), ignored);
  }
}

}  // namespace qrl
