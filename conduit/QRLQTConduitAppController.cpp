#include "conduit/QRLQTConduitAppController.h"

#include <unistd.h>

#include "conduit/RVM4Application.h"
#include "platform/base/Exception.h"
#include "platform/ipc/RunLoop.h"
#include "platform/process/Application.h"
#include "platform/process/SystemLog.h"

namespace qrl {

using archive::Value;

QRLQTConduitAppController::QRLQTConduitAppController(QRLConduitServiceFactory factory)
    : factory_(std::move(factory)) {
  createServices();
}

void QRLQTConduitAppController::createServices() {
  QRLConduitServices services = factory_ ? factory_() : QRLConduitServices{};
  setQtObject(std::move(services.qtObject));
  setQtSettingsParser(std::move(services.qtSettingsParser));
  setQtOverlayWriter(std::move(services.qtOverlayWriter));
  setMediaDocumentWriter(std::move(services.mediaDocumentWriter));
}

void QRLQTConduitAppController::awakeFromNib() {
  createServices();
  setIsBackgroundDaemon(true);
  validParentRunningQueue().async([this] { ensureParentApplicationIsRunning(); });
  auto arguments = process::Application::shared().arguments();
  bool named = arguments.size() > 1 && arguments[1] != QRLDistributedParentMustNotBeSelfArgument;
  if (named) {
    vendAsDistributedObject();
  } else {
    vendAsDistributedObjectWithRegisteredName(std::to_string(getpid()));
  }
}

std::optional<std::vector<std::shared_ptr<QRLApplication>>>
QRLQTConduitAppController::mandatoryRunningApplications() const {
  return std::vector<std::shared_ptr<QRLApplication>>{std::make_shared<RVM4Application>()};
}

std::vector<std::string_view> QRLQTConduitAppController::helperClasses() const {
  std::vector<std::string_view> classes;
  for (const auto& service :
       {qtObject(), qtSettingsParser(), qtOverlayWriter(), mediaDocumentWriter()}) {
    classes.push_back(service ? service->className() : std::string_view());
  }
  classes.push_back("QRLQTConduitAppController");
  return classes;
}

std::optional<ipc::MethodSignature> QRLQTConduitAppController::methodSignatureForSelector(
    std::string_view selector) {
  // Declaration order, which differs from the order messages are performed in.
  for (const auto& service :
       {qtObject(), qtSettingsParser(), qtOverlayWriter(), mediaDocumentWriter()}) {
    if (!service)
      continue;
    if (auto signature = service->instanceMethodSignatureForSelector(selector))
      return signature;
  }
  return QRLBackgroundDistributedAppController::methodSignatureForSelector(selector);
}

Value QRLQTConduitAppController::invoke(const std::string& selector,
                                        const std::vector<Value>& arguments) {
  if (isOwnSelector(selector)) {
    return QRLBackgroundDistributedAppController::invoke(selector, arguments);
  }
  return forwardInvocation(selector, arguments);
}

Value QRLQTConduitAppController::forwardInvocation(const std::string& selector,
                                                   const std::vector<Value>& arguments) {
  if (auto service = qtObject(); service && service->respondsToSelector(selector)) {
    return service->invoke(selector, arguments);
  }
  if (auto service = qtOverlayWriter(); service && service->respondsToSelector(selector)) {
    return service->invoke(selector, arguments);
  }
  if (auto service = qtSettingsParser(); service && service->respondsToSelector(selector)) {
    // Its work must run on the main thread and the caller does not wait: it
    // receives nil, whatever the parser answers later.
    ipc::performOnMainThread([service, selector, arguments] {
      try {
        service->invoke(selector, arguments);
      } catch (const Exception& e) {
        process::SystemLog::write(e.what());
      }
    });
    return Value();
  }
  if (auto service = mediaDocumentWriter(); service && service->respondsToSelector(selector)) {
    return service->invoke(selector, arguments);
  }
  throw Exception::unsupported("unrecognized selector '" + selector + "' sent to the conduit");
}

}  // namespace qrl
