#include "platform/base/FileIO.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/base/Exception.h"
#include "tests/fsutil/TempDirectory.h"
#include "tests/platform/base/InterruptingSignals.h"

namespace qrl {
namespace {

std::span<const uint8_t> bytesOf(const std::string& s) {
  return {reinterpret_cast<const uint8_t*>(s.data()), s.size()};
}

struct Pipe {
  FileDescriptor readEnd, writeEnd;
  Pipe() {
    int fds[2];
    EXPECT_EQ(::pipe2(fds, O_CLOEXEC), 0);
    readEnd.reset(fds[0]);
    writeEnd.reset(fds[1]);
  }
};

TEST(FileIO, ReadsAndWritesWholeBuffersThroughInterruptsAndShortTransfers) {
  // The blocked reads and writes are interrupted over and over; a pipe moves
  // at most 64 KiB a call, so both sides also see short transfers.
  testing::InterruptingSignals interrupts;
  Pipe pipe;
  std::string sent(1 << 20, '\0');
  for (size_t i = 0; i < sent.size(); ++i)
    sent[i] = static_cast<char>(i * 7);
  std::thread writer([&] {
    for (size_t at = 0; at < sent.size(); at += 300000) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      writeFully(pipe.writeEnd.get(),
                 bytesOf(sent).subspan(at, std::min<size_t>(300000, sent.size() - at)), "pipe");
    }
    pipe.writeEnd.reset();
  });
  std::vector<uint8_t> received(sent.size() + 10);
  const size_t n = readFully(pipe.readEnd.get(), received, "pipe");
  writer.join();

  // Fewer than asked only because the writer closed its end.
  ASSERT_EQ(n, sent.size());
  EXPECT_EQ(std::memcmp(sent.data(), received.data(), sent.size()), 0);
}

TEST(FileIO, OffsetTransfersLeaveTheFilePositionAndReportShortFiles) {
  testing::TempDirectory dir;
  const std::string path = dir.path("f");
  FileDescriptor fd = openFile(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  writeFully(fd.get(), bytesOf("0123456789"), path);
  writeFullyAt(fd.get(), bytesOf("ab"), 2, path);
  std::vector<uint8_t> out(4);
  EXPECT_EQ(readFullyAt(fd.get(), out, 8, path), 2u);  // only two bytes lie there
  EXPECT_EQ(std::string(out.begin(), out.begin() + 2), "89");
  EXPECT_EQ(::lseek(fd.get(), 0, SEEK_CUR), 10);
  EXPECT_EQ(readFullyAt(fd.get(), out, 0, path), 4u);
  EXPECT_EQ(std::string(out.begin(), out.end()), "01ab");
}

TEST(FileIO, FailuresNameTheOperationTheObjectAndTheReason) {
  testing::TempDirectory dir;
  const std::string missing = dir.path("missing");
  try {
    openFile(missing, O_RDONLY, 0, "open for writing");
    ADD_FAILURE() << "opened a missing file";
  } catch (const Exception& e) {
    EXPECT_EQ(e.what(), "open for writing " + missing + ": No such file or directory");
    EXPECT_EQ(e.errorNumber(), ENOENT);
  }
  EXPECT_FALSE(tryOpenFile(missing, O_RDONLY).valid());
  EXPECT_EQ(errno, ENOENT);

  FileDescriptor readOnly = openFile(dir.touch("r"), O_RDONLY | O_CLOEXEC);
  try {
    writeFully(readOnly.get(), bytesOf("x"), "the file r");
    ADD_FAILURE() << "wrote to a read-only descriptor";
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(), "write the file r: Bad file descriptor");
  }

  // A peer that has gone away is an error, not a SIGPIPE that ends the test.
  int pair[2];
  ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
  FileDescriptor mine(pair[0]);
  ::close(pair[1]);
  try {
    sendFully(mine.get(), bytesOf("hello"), "connection");
    ADD_FAILURE() << "sent to a closed peer";
  } catch (const Exception& e) {
    EXPECT_STREQ(e.what(), "write connection: Broken pipe");
  }
}

}  // namespace
}  // namespace qrl
