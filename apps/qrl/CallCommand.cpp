// qrl call: sends any remote method to a conduit and prints its result.
#include <ostream>

#include "apps/qrl/Arguments.h"
#include "apps/qrl/Command.h"
#include "apps/qrl/JsonValues.h"
#include "clients/cpp/QRLConduitClient.h"
#include "platform/base/Exception.h"
#include "protocol/QRLRemoteInterface.h"

namespace qrl::app {
namespace {

constexpr const char* kHelp = R"(usage: qrl call [--name NAME] [--conduit PATH] SELECTOR [ARG...]
       qrl call --list

Sends one remote method to a conduit and prints its result. Without --name a new conduit
is started for the call (qrl registers itself as the running parent application), at
--conduit PATH or the qrl-conduit program found beside qrl ($QRL_CONDUIT overrides).

Each ARG is converted by the selector's signature:
  strings and paths   as given ("/movies/a b.mov"); a JSON string literal is unquoted
  truth values        true/false, YES/NO, 1/0
  numbers             JSON numbers (frame-rate codes are 0-10)
  point, size         JSON objects: {"x":10,"y":20}, {"width":320,"height":240}
  track               {"path":"/movies/a.mov","index":1}
  data                @FILE reads the file's bytes (a keyed archive, an image, settings)
  objects             any JSON; {"$data":"<base64>"} is data, null is nil

--list prints every remote method, one a line: selector, protocol, argument kinds
(comma-separated) and result kind, separated by tabs.

The result is printed as JSON (a string result as plain text; data as {"$data": base64}).
An error reply is printed to standard error and the exit status is 1.

example: qrl call saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode: \
           '["/tmp/empty.xml"]' '[]' false
)";

// Every row of the remote interface, as --list prints it.
void listRemoteMethods(std::ostream& out) {
  for (const QRLRemoteMethod* method : QRLRemoteInterface()) {
    out << method->selector() << '\t' << QRLProtocolName(method->protocol()) << '\t';
    const char* separator = "";
    for (const ipc::ValueKind& kind : method->argumentKinds()) {
      out << separator << kind.name();
      separator = ",";
    }
    out << '\t' << method->resultKind().name() << '\n';
  }
}

}  // namespace

int runCallCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (wantsHelp(args)) {
    out << kHelp;
    return kExitOk;
  }
  std::string error;
  auto parsed = Arguments::parse(args, {"--name", "--conduit"}, {"--list"}, error);
  if (parsed && parsed->has("--list")) {
    if (!parsed->positionals().empty()) {
      err << "qrl call: --list takes no selector\n" << kHelp;
      return kExitUsage;
    }
    listRemoteMethods(out);
    return kExitOk;
  }
  if (!parsed || parsed->positionals().empty()) {
    err << "qrl call: " << (parsed ? "a selector is required" : error) << "\n" << kHelp;
    return kExitUsage;
  }
  const auto& positionals = parsed->positionals();
  const std::string& selector = positionals.front();

  std::unique_ptr<client::QRLConduitClient> conduit;
  try {
    if (auto name = parsed->value("--name")) {
      conduit = client::QRLConduitClient::connect(*name);
      if (!conduit) {
        err << "qrl call: no conduit serves the name '" << *name << "'\n";
        return kExitFailed;
      }
    } else {
      conduit = client::QRLConduitClient::launch(parsed->value("--conduit"));
    }
  } catch (const Exception& e) {
    err << "qrl call: " << e.what() << "\n";
    return kExitFailed;
  }

  auto signature = conduit->proxy().methodSignatureForSelector(selector);
  if (!signature) {
    err << "qrl call: the conduit does not know the selector '" << selector << "'\n";
    return kExitFailed;
  }
  if (positionals.size() - 1 != signature->arguments.size()) {
    err << "qrl call: " << selector << " takes " << signature->arguments.size() << " arguments, "
        << positionals.size() - 1 << " given\n";
    return kExitUsage;
  }
  std::vector<archive::Value> arguments;
  for (size_t i = 0; i < signature->arguments.size(); ++i) {
    try {
      arguments.push_back(valueFromArgument(positionals[i + 1], signature->arguments[i]));
    } catch (const std::exception& e) {
      err << "qrl call: argument " << i + 1 << ": " << e.what() << "\n";
      return kExitUsage;
    }
  }
  try {
    archive::Value result = conduit->proxy().send(selector, std::move(arguments));
    if (const std::string* text = result.string()) {
      out << *text << "\n";
    } else if (signature->result != kind::None || !result.isNull()) {
      out << jsonFromValue(result).dump() << "\n";
    }
  } catch (const Exception& e) {
    err << "qrl call: " << e.what() << "\n";
    return kExitFailed;
  }
  return kExitOk;
}

}  // namespace qrl::app
