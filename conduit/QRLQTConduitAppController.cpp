#include "conduit/QRLQTConduitAppController.h"

#include <unistd.h>

#include <algorithm>

#include "platform/base/Exception.h"
#include "platform/ipc/RunLoop.h"
#include "platform/process/Application.h"
#include "platform/process/SystemLog.h"
#include "protocol/RVM4Application.h"

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
  if (auto problems = performerProblems(); !problems.empty()) {
    std::string message = "the remote interface is not bound as it should be:";
    for (const auto& problem : problems)
      message += "\n  " + problem;
    throw Exception::internal(message);
  }
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

std::vector<std::string> QRLQTConduitAppController::performerProblems() const {
  auto unserved = QRLUnservedMethods();
  std::vector<std::string> problems;
  for (const QRLRemoteMethod* method : QRLRemoteInterface()) {
    std::string_view selector = method->selector();
    int performers = ownPerformers().serves(selector) ? 1 : 0;
    for (const auto& service :
         {qtObject(), qtSettingsParser(), qtOverlayWriter(), mediaDocumentWriter()}) {
      if (service && service->respondsToSelector(selector))
        ++performers;
    }
    bool declaredUnserved = std::find(unserved.begin(), unserved.end(), method) != unserved.end();
    if (declaredUnserved && performers > 0) {
      problems.push_back(std::string(selector) + " is declared unserved but has a performer");
    } else if (!declaredUnserved && performers != 1) {
      problems.push_back(std::string(selector) + " has " + std::to_string(performers) +
                         " performers");
    }
  }
  return problems;
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
