#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "conduit/QRLBackgroundDistributedAppController.h"
#include "conduit/QRLServiceObject.h"

namespace qrl {

// The four service objects, created anew by the controller's initialiser and
// again at start-up. A slot may be empty: it then answers no selector.
struct QRLConduitServices {
  std::shared_ptr<QRLServiceObject> qtObject;
  std::shared_ptr<QRLServiceObject> qtSettingsParser;
  std::shared_ptr<QRLServiceObject> qtOverlayWriter;
  std::shared_ptr<QRLServiceObject> mediaDocumentWriter;
};
using QRLConduitServiceFactory = std::function<QRLConduitServices()>;

// The services this build of the conduit offers.
QRLConduitServices QRLMakeConduitServices();

// The rows of the remote interface that this build does not serve: they are
// answered "unrecognized selector". Every other row has exactly one
// performer, which the controller checks at start-up.
std::span<const QRLRemoteMethod* const> QRLUnservedMethods();

// The conduit's root object: it owns the service objects and hands every
// remote message that it does not perform itself to the first service that
// answers it. The settings parser's work is queued to the main thread and
// its caller receives nil at once.
class QRLQTConduitAppController : public QRLBackgroundDistributedAppController {
 public:
  explicit QRLQTConduitAppController(QRLConduitServiceFactory factory = QRLMakeConduitServices);

  // Start-up: checks the performers (Exception::internal naming each row
  // at fault), fresh services, background daemon, the bundle watch on the
  // parent-watch queue, then publishing (under argument 1 when given, else
  // under the decimal process identifier).
  void awakeFromNib() override;

  // The names of the service classes in declaration order, then the
  // controller's own: empty slots give an empty name.
  std::vector<std::string_view> helperClasses() const;

  // What is wrong with the binding of rows to performers: a served row
  // without a performer or with more than one, an unserved row with one.
  // Empty when every row of the remote interface is bound as it should be.
  std::vector<std::string> performerProblems() const;

  std::optional<ipc::MethodSignature> methodSignatureForSelector(
      std::string_view selector) override;
  archive::Value invoke(const std::string& selector,
                        const std::vector<archive::Value>& arguments) override;
  // Hands a message the controller does not perform to the first service
  // answering it: qtObject, qtOverlayWriter, qtSettingsParser (queued to the
  // main thread; nil returned at once), mediaDocumentWriter.
  archive::Value forwardInvocation(const std::string& selector,
                                   const std::vector<archive::Value>& arguments);

  std::optional<std::vector<std::shared_ptr<QRLApplication>>> mandatoryRunningApplications()
      const override;

  std::shared_ptr<QRLServiceObject> qtObject() const { return qtObject_.load(); }
  void setQtObject(std::shared_ptr<QRLServiceObject> s) { qtObject_.store(std::move(s)); }
  std::shared_ptr<QRLServiceObject> qtSettingsParser() const { return qtSettingsParser_.load(); }
  void setQtSettingsParser(std::shared_ptr<QRLServiceObject> s) {
    qtSettingsParser_.store(std::move(s));
  }
  std::shared_ptr<QRLServiceObject> qtOverlayWriter() const { return qtOverlayWriter_.load(); }
  void setQtOverlayWriter(std::shared_ptr<QRLServiceObject> s) {
    qtOverlayWriter_.store(std::move(s));
  }
  std::shared_ptr<QRLServiceObject> mediaDocumentWriter() const {
    return mediaDocumentWriter_.load();
  }
  void setMediaDocumentWriter(std::shared_ptr<QRLServiceObject> s) {
    mediaDocumentWriter_.store(std::move(s));
  }

 private:
  void createServices();

  QRLConduitServiceFactory factory_;
  std::atomic<std::shared_ptr<QRLServiceObject>> qtObject_;
  std::atomic<std::shared_ptr<QRLServiceObject>> qtSettingsParser_;
  std::atomic<std::shared_ptr<QRLServiceObject>> qtOverlayWriter_;
  std::atomic<std::shared_ptr<QRLServiceObject>> mediaDocumentWriter_;
};

}  // namespace qrl
