#include "platform/base/Exception.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace qrl {
namespace {

TEST(Exception, FromErrnoNamesOperationObjectAndReason) {
  auto e = Exception::fromErrno("open", "/no/such/file", ENOENT);
  EXPECT_EQ(e.kind(), Exception::Kind::IO);
  EXPECT_STREQ(e.what(), "open /no/such/file: No such file or directory");
  EXPECT_EQ(e.errorNumber(), ENOENT);
}

TEST(Exception, KindsFallIntoBadInputOwnBugsAndSystemFailures) {
  using C = Exception::Category;
  const std::pair<Exception, C> cases[] = {
      {Exception::parse("p"), C::BadInput},
      {Exception::range("r"), C::BadInput},
      {Exception::unsupported("u"), C::BadInput},
      {Exception::internal("i"), C::Internal},
      {Exception::io("o"), C::System},
      {Exception::fromErrno("f", "x", EIO), C::System},
  };
  for (const auto& [e, category] : cases) {
    EXPECT_EQ(e.category(), category) << e.what();
    EXPECT_EQ(e.isBadInput(), category == C::BadInput) << e.what();
  }
  EXPECT_EQ(Exception::io("o").errorNumber(), 0);
}

}  // namespace
}  // namespace qrl
