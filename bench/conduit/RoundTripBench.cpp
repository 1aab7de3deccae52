// Round trip of a no-op remote call (communicationLocked) to a real conduit,
// next to a raw Unix-socket echo of the same request and reply bytes measured
// in the same run. Prints median and 99th percentile in microseconds.
//
// usage: conduit_round_trip_bench [CALLS]   (QRL_CONDUIT names the conduit)
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "clients/cpp/QRLConduitClient.h"
#include "platform/ipc/Message.h"
#include "protocol/QRLRemoteInterface.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Figures {
  double median, p99;
};

Figures summarize(std::vector<double>& micros) {
  std::sort(micros.begin(), micros.end());
  return {micros[micros.size() / 2], micros[micros.size() * 99 / 100]};
}

template <typename Call>
std::vector<double> time(int calls, Call call) {
  for (int i = 0; i < calls / 10; ++i)
    call();  // warm up
  std::vector<double> micros;
  micros.reserve(calls);
  for (int i = 0; i < calls; ++i) {
    auto start = Clock::now();
    call();
    micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
  }
  return micros;
}

}  // namespace

int main(int argc, char** argv) {
  int calls = argc > 1 ? std::atoi(argv[1]) : 10000;
  if (calls < 100)
    calls = 100;

  auto conduit = qrl::client::QRLConduitClient::launch();
  auto communication = conduit->communication();
  auto remote = time(calls, [&] { communication.communicationLocked(); });

  // The same bytes over a bare socket pair, echoed by a thread.
  qrl::ipc::Request request;
  request.selector = qrl::remote::communicationLocked.selector();
  auto requestBytes = qrl::ipc::encodeRequest(request);
  qrl::ipc::Reply reply;
  reply.result = qrl::archive::Value(false);
  auto replyBytes = qrl::ipc::encodeReply(reply);
  int fds[2];
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0)
    return 1;
  std::thread echo([&] {
    while (auto frame = qrl::ipc::readFrame(fds[1]))
      qrl::ipc::writeFrame(fds[1], replyBytes);
  });
  auto raw = time(calls, [&] {
    qrl::ipc::writeFrame(fds[0], requestBytes);
    (void)qrl::ipc::readFrame(fds[0]);
  });
  shutdown(fds[0], SHUT_WR);
  echo.join();
  close(fds[0]);
  close(fds[1]);

  Figures r = summarize(remote), e = summarize(raw);
  std::printf("%d calls of communicationLocked\n", calls);
  std::printf("  conduit round trip   median %7.1f us   p99 %7.1f us\n", r.median, r.p99);
  std::printf("  raw socket echo      median %7.1f us   p99 %7.1f us\n", e.median, e.p99);
  std::printf("  ratio (median)       %.2fx\n", r.median / e.median);
  return 0;
}
