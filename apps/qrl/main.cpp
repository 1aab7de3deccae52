// qrl: the command-line parent application. Each subcommand lives in its own source file;
// add it to the table below and declare it in Command.h.
#include <iostream>
#include <span>
#include <string>
#include <vector>

#include "apps/qrl/Command.h"

namespace {

using qrl::app::Command;

constexpr Command kCommands[] = {
    {"timecode", "convert, check and count timecodes with the timecode engine",
     qrl::app::runTimecodeCommand},
    {"demo", "show the timecode engine at work on a few examples", qrl::app::runDemoCommand},
    {"xmeml", "write an xmeml (Final Cut Pro 7 XML) edit list for a set of clips",
     qrl::app::runXmemlCommand},
    {"call", "send any remote method to a conduit and print its result", qrl::app::runCallCommand},
    {"inspect", "show a movie's tracks, durations, codecs and start timecodes",
     qrl::app::runInspectCommand},
    {"compact", "rewrite a movie file without the space left by saving it in place",
     qrl::app::runCompactCommand},
    {"burn-timecode", "burn the running timecode into every frame of a movie",
     qrl::app::runBurnTimecodeCommand},
    {"watermark", "lay a picture over a movie for its whole length", qrl::app::runWatermarkCommand},
    {"text", "lay a line of text over a movie for its whole length", qrl::app::runTextCommand},
    {"settings", "describe and make compression settings (QuickTime atom containers)",
     qrl::app::runSettingsCommand},
};

void printUsage(std::ostream& out) {
  out << "usage: qrl <command> [arguments]\n\n"
         "Work with movies and timecodes through the conduit.\n\n"
         "commands:\n";
  for (const auto& command : kCommands) {
    out << "  " << command.name << std::string(15 - command.name.size(), ' ') << command.summary
        << "\n";
  }
  out << "\nRun 'qrl <command> --help' for a command's arguments.\n";
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + std::min(argc, 1), argv + argc);
  if (args.empty()) {
    printUsage(std::cerr);
    return qrl::app::kExitUsage;
  }
  const std::string& name = args.front();
  if (name == "--help" || name == "-h" || name == "help") {
    printUsage(std::cout);
    return qrl::app::kExitOk;
  }
  for (const auto& command : kCommands) {
    if (command.name == name) {
      std::vector<std::string> rest(args.begin() + 1, args.end());
      try {
        return command.run(rest, std::cout, std::cerr);
      } catch (const std::exception& e) {
        std::cerr << "qrl " << name << ": " << e.what() << "\n";
        return qrl::app::kExitFailed;
      }
    }
  }
  std::cerr << "qrl: unknown command '" << name << "'\n\n";
  printUsage(std::cerr);
  return qrl::app::kExitUsage;
}
