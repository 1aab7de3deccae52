#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace qrl::app {

// Exit statuses shared by every subcommand.
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;  // the input was understood but judged bad
constexpr int kExitUsage = 2;   // the command line itself was wrong

// A subcommand: its arguments exclude the program and subcommand names. It writes its
// results to out and its complaints (prefixed with "qrl <name>: ") to err.
using CommandFunction = int (*)(const std::vector<std::string>& args, std::ostream& out,
                                std::ostream& err);

struct Command {
  std::string_view name;
  std::string_view summary;
  CommandFunction run;
};

int runTimecodeCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runDemoCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runXmemlCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runCallCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runInspectCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runCompactCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runBurnTimecodeCommand(const std::vector<std::string>& args, std::ostream& out,
                           std::ostream& err);
int runWatermarkCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runTextCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);
int runSettingsCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace qrl::app
