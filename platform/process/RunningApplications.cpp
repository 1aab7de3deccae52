#include "platform/process/RunningApplications.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>

#include "platform/base/Exception.h"
#include "platform/base/FileIO.h"
#include "platform/process/RuntimeDirectory.h"

namespace qrl::process {
namespace {

constexpr char kSeparator = '@';

std::string registryDirectory() {
  return runtimeSubdirectory("apps");
}

std::vector<std::string> entriesOf(const std::string& directory) {
  std::vector<std::string> names;
  DIR* dir = opendir(directory.c_str());
  if (dir == nullptr)
    return names;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..")
      names.push_back(std::move(name));
  }
  closedir(dir);
  return names;
}

// An entry is live while its owner holds the lock; a dead owner's entry is
// removed on the way.
bool entryIsLive(const std::string& path) {
  FileDescriptor fd = tryOpenFile(path, O_RDONLY | O_CLOEXEC);
  if (!fd.valid())
    return false;
  if (flock(fd.get(), LOCK_SH | LOCK_NB) == 0) {
    ::unlink(path.c_str());
    return false;
  }
  return errno == EWOULDBLOCK;
}

std::string readFirstLine(const std::string& path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  return line;
}

std::vector<RunningApplication> registered(const std::string& bundleFilter) {
  std::vector<RunningApplication> result;
  std::string directory = registryDirectory();
  for (const auto& name : entriesOf(directory)) {
    auto at = name.rfind(kSeparator);
    if (at == std::string::npos)
      continue;
    std::string bundle = name.substr(0, at);
    if (!bundleFilter.empty() && bundle != bundleFilter)
      continue;
    std::string path = directory + "/" + name;
    if (!entryIsLive(path))
      continue;
    RunningApplication app;
    app.processIdentifier = static_cast<pid_t>(std::strtol(name.c_str() + at + 1, nullptr, 10));
    app.bundleIdentifier = bundle;
    app.localizedName = readFirstLine(path);
    result.push_back(std::move(app));
  }
  return result;
}

}  // namespace

ApplicationRegistration::~ApplicationRegistration() {
  ::unlink(path_.c_str());
}

std::unique_ptr<ApplicationRegistration> registerRunningApplication(
    const std::string& bundleIdentifier, const std::string& localizedName) {
  if (bundleIdentifier.empty() || bundleIdentifier.find('/') != std::string::npos) {
    throw Exception::io("invalid bundle identifier '" + bundleIdentifier + "'");
  }
  std::string path =
      registryDirectory() + "/" + bundleIdentifier + kSeparator + std::to_string(getpid());
  FileDescriptor fd = openFile(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (flock(fd.get(), LOCK_EX | LOCK_NB) != 0)
    throw Exception::fromErrno("lock", path, errno);
  std::string line = localizedName + "\n";
  writeFully(fd.get(), std::span(reinterpret_cast<const uint8_t*>(line.data()), line.size()), path);
  return std::make_unique<ApplicationRegistration>(path, std::move(fd));
}

std::vector<RunningApplication> processList() {
  std::vector<RunningApplication> result;
  uid_t me = getuid();
  for (const auto& name : entriesOf("/proc")) {
    if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos)
      continue;
    struct stat st {};
    std::string dir = "/proc/" + name;
    if (stat(dir.c_str(), &st) != 0 || st.st_uid != me)
      continue;
    RunningApplication app;
    app.processIdentifier = static_cast<pid_t>(std::stol(name));
    app.localizedName = readFirstLine(dir + "/comm");
    if (!app.localizedName.empty())
      result.push_back(std::move(app));
  }
  return result;
}

std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(
    const std::string& bundleIdentifier) {
  if (bundleIdentifier.empty())
    return {};
  auto result = registered(bundleIdentifier);
  if (!result.empty())
    return result;
  std::string executable = bundleIdentifier.substr(bundleIdentifier.rfind('.') + 1);
  // The kernel truncates executable names to 15 characters in comm.
  std::string comm = executable.substr(0, 15);
  for (auto& app : processList()) {
    if (app.localizedName == comm) {
      app.bundleIdentifier = bundleIdentifier;
      result.push_back(std::move(app));
    }
  }
  return result;
}

std::vector<RunningApplication> runningApplications() {
  auto result = registered("");
  auto processes = processList();
  result.insert(result.end(), processes.begin(), processes.end());
  return result;
}

}  // namespace qrl::process
