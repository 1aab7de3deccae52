#include "platform/process/RuntimeDirectory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/base/Exception.h"

namespace qrl::process {
namespace {

void ensurePrivateDirectory(const std::string& path) {
  if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
    throw Exception::fromErrno("mkdir", path, errno);
  }
  struct stat st {};
  if (lstat(path.c_str(), &st) != 0)
    throw Exception::fromErrno("stat", path, errno);
  if (!S_ISDIR(st.st_mode))
    throw Exception::io(path + " is not a directory");
  if (st.st_uid != getuid())
    throw Exception::io(path + " belongs to another user");
  if ((st.st_mode & 077) != 0)
    throw Exception::io(path + " is open to other users");
}

}  // namespace

std::string runtimeDirectory() {
  std::string path;
  if (const char* own = std::getenv("QRL_RUNTIME_DIR"); own != nullptr && *own != '\0') {
    path = own;
  } else if (const char* xdg = std::getenv("XDG_RUNTIME_DIR"); xdg != nullptr && *xdg != '\0') {
    path = std::string(xdg) + "/qrl-conduit";
  } else {
    path = "/tmp/qrl-conduit-" + std::to_string(getuid());
  }
  ensurePrivateDirectory(path);
  return path;
}

std::string runtimeSubdirectory(const std::string& name) {
  std::string path = runtimeDirectory() + "/" + name;
  ensurePrivateDirectory(path);
  return path;
}

}  // namespace qrl::process
