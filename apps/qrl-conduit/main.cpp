// The conduit: a background process that a parent application starts and
// drives over a registered name. Usage: qrl-conduit [NAME]
// [QRLDistributedParentMustNotBeSelfArgument]; without NAME it publishes
// itself under its process identifier. It lives while the parent
// application runs.
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "conduit/QRLQTConduitAppController.h"
#include "platform/base/Exception.h"
#include "platform/ipc/RunLoop.h"
#include "platform/process/Application.h"
#include "platform/process/SystemLog.h"

int main(int argc, char** argv) {
  if (argc > 1 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::printf(
        "usage: qrl-conduit [NAME] [QRLDistributedParentMustNotBeSelfArgument]\n\n"
        "Serves movie work to a parent application over the registered NAME (default: its\n"
        "process identifier), a Unix socket in $XDG_RUNTIME_DIR/qrl-conduit or\n"
        "/tmp/qrl-conduit-<uid>. It ends itself when no application registered as\n"
        "com.quorlan.Ravelmark4 (or a process named Ravelmark4) runs, or when the parent never\n"
        "sends setParentProcessId: within about 30 seconds. See docs/protocol.md.\n"
        "QRL_WATCH_INTERVAL_MS sets the watch's poll interval (default 5000).\n");
    return 0;
  }
  auto& application = qrl::process::Application::shared();
  application.setArguments(argc, argv);
  qrl::process::SystemLog::setIdent("qrl-conduit");
  application.addTerminationHandler([] { qrl::ipc::RunLoop::main().stop(); });

  // The controller lives for the whole process; watch threads hold on to it.
  auto* controller = new qrl::QRLQTConduitAppController();
  try {
    controller->awakeFromNib();
  } catch (const qrl::Exception& e) {
    std::fprintf(stderr, "qrl-conduit: %s\n", e.what());
    return 70;  // EX_SOFTWARE: this build is broken, not its input
  }
  if (!application.isTerminating())
    qrl::ipc::RunLoop::main().run();

  // Watch threads still run: leave without tearing down what they use, but
  // take the published names down so they do not linger.
  controller->invalidateConnections();
  std::fflush(nullptr);
  _exit(0);
}
