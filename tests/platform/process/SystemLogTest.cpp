#include "platform/process/SystemLog.h"

#include <gtest/gtest.h>

namespace qrl::process {
namespace {

TEST(SystemLog, CapturingLogSeesMessagesInOrderAndRestoresPreviousSink) {
  std::vector<std::string> outer;
  auto before = SystemLog::setSink([&](std::string_view m) { outer.emplace_back(m); });
  {
    CapturingLog log;
    SystemLog::write("Insertion of the time code failed");
    SystemLog::write("Track");
    EXPECT_EQ(log.messages(),
              (std::vector<std::string>{"Insertion of the time code failed", "Track"}));
    EXPECT_TRUE(log.contains("Track"));
    EXPECT_FALSE(log.contains("Trac"));
    log.clear();
    EXPECT_TRUE(log.messages().empty());
  }
  SystemLog::write("after");
  EXPECT_EQ(outer, std::vector<std::string>{"after"});
  SystemLog::setSink(std::move(before));
}

}  // namespace
}  // namespace qrl::process
