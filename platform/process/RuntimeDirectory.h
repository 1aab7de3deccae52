#pragma once

#include <string>

namespace qrl::process {

// The per-user directory that holds registered names and the running-
// application registry: $XDG_RUNTIME_DIR/qrl-conduit, else
// /tmp/qrl-conduit-<uid>. Created with mode 0700 when missing; refused (qrl::
// Exception) when it exists but belongs to another user or is open to others.
// QRL_RUNTIME_DIR overrides the location (tests use a private one).
std::string runtimeDirectory();

// `runtimeDirectory()/name`, created the same way.
std::string runtimeSubdirectory(const std::string& name);

}  // namespace qrl::process
