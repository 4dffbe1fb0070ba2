// UdsClient against a real listener: delivery, reconnection, and every
// failure text, each provoked through the system rather than simulated.
#include "notify/UdsClient.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <exception>
#include <functional>
#include <stdexcept>
#include <thread>

#include "SocketSupport.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

using namespace CorvConfigStore;
using CorvTest::IsOpenDescriptor;
using CorvTest::NextDescriptor;
using CorvTest::UnixListener;

namespace {

// The text of the std::runtime_error that action throws; "(no error)" when
// it throws nothing.
std::string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const std::runtime_error& e) {
    return e.what();
  }
  return "(no error)";
}

// Installs a signal disposition for the life of the object.
class ScopedSignal {
 public:
  ScopedSignal(int signal, void (*handler)(int)) : signal_(signal) {
    struct sigaction action;
    std::memset(&action, 0, sizeof(action));
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;  // no SA_RESTART: a blocked write returns early
    sigaction(signal_, &action, &previous_);
  }
  ~ScopedSignal() { sigaction(signal_, &previous_, nullptr); }

 private:
  int signal_;
  struct sigaction previous_;
};

void IgnoreSignal(int) {}

class UdsClientTest : public ::testing::Test {
 protected:
  CorvTest::TempDir dir_;
  CorvTest::ScopedWorkingDirectory cwd_{dir_.Path()};
};

TEST_F(UdsClientTest, SendDeliversExactlyTheBytesGiven) {
  UnixListener listener("endpoint");
  {
    UdsClient client("endpoint");
    client.Connect();
    client.Send(std::string("hello\0world\r\n", 13));
  }
  std::string received;
  ASSERT_TRUE(listener.ReceiveOne(&received));
  EXPECT_EQ(received, std::string("hello\0world\r\n", 13));
}

TEST_F(UdsClientTest, AbsoluteEndpointWorksToo) {
  UnixListener listener(dir_.File("absolute"));
  {
    UdsClient client(dir_.File("absolute"));
    client.Connect();
    client.Send("x");
  }
  std::string received;
  ASSERT_TRUE(listener.ReceiveOne(&received));
  EXPECT_EQ(received, "x");
}

TEST_F(UdsClientTest, ConnectWhenConnectedKeepsTheOneSocket) {
  UnixListener listener("endpoint");
  int socketFd = NextDescriptor();
  UdsClient client("endpoint");
  client.Connect();
  client.Connect();
  EXPECT_TRUE(IsOpenDescriptor(socketFd));
  // A second socket would have connected too and be waiting here.
  int connection = listener.Accept();
  ASSERT_GE(connection, 0);
  EXPECT_FALSE(listener.HasPendingConnection());
  close(connection);
}

TEST_F(UdsClientTest, DestructorClosesTheSocket) {
  UnixListener listener("endpoint");
  int socketFd = NextDescriptor();
  {
    UdsClient client("endpoint");
    client.Connect();
    EXPECT_TRUE(IsOpenDescriptor(socketFd));
  }
  EXPECT_FALSE(IsOpenDescriptor(socketFd));
  // The peer sees the end of the stream and nothing before it.
  std::string received;
  ASSERT_TRUE(listener.ReceiveOne(&received));
  EXPECT_EQ(received, "");
}

TEST_F(UdsClientTest, DisconnectThenConnectOpensANewConnection) {
  UnixListener listener("endpoint");
  UdsClient client("endpoint");
  client.Connect();
  client.Send("first");
  client.Disconnect();
  client.Connect();
  client.Send("second");
  client.Disconnect();
  std::string first, second;
  ASSERT_TRUE(listener.ReceiveOne(&first));
  ASSERT_TRUE(listener.ReceiveOne(&second));
  EXPECT_EQ(first, "first");
  EXPECT_EQ(second, "second");
}

TEST_F(UdsClientTest, NoSocketFileFailsToConnectAndClosesTheSocket) {
  int socketFd = NextDescriptor();
  UdsClient client("endpoint");
  EXPECT_EQ(ErrorOf([&] { client.Connect(); }),
            "Failed to connect socket: No such file or directory");
  EXPECT_FALSE(IsOpenDescriptor(socketFd));
  EXPECT_EQ(ErrorOf([&] { client.Send("x"); }), "Not connected to an endpoint.");
}

TEST_F(UdsClientTest, NobodyListeningFailsToConnect) {
  UnixListener listener("endpoint");
  listener.Close();
  UdsClient client("endpoint");
  EXPECT_EQ(ErrorOf([&] { client.Connect(); }), "Failed to connect socket: Connection refused");
}

TEST_F(UdsClientTest, EmptyEndpointFailsToConnect) {
  UdsClient client("");
  EXPECT_EQ(ErrorOf([&] { client.Connect(); }), "Failed to connect socket: Invalid argument");
}

TEST_F(UdsClientTest, EndpointOf107BytesIsAccepted) {
  const std::string endpoint(107, 'e');
  UnixListener listener(endpoint);
  {
    UdsClient client(endpoint);
    client.Connect();
    client.Send("long");
  }
  std::string received;
  ASSERT_TRUE(listener.ReceiveOne(&received));
  EXPECT_EQ(received, "long");
}

TEST_F(UdsClientTest, EndpointOf108BytesIsTooLongAndKeepsTheSocketUntilDisconnect) {
  int socketFd = NextDescriptor();
  UdsClient client(std::string(108, 'e'));
  EXPECT_EQ(ErrorOf([&] { client.Connect(); }), "Endpoint address too long.");
  EXPECT_TRUE(IsOpenDescriptor(socketFd));
  // Still counts as connected: a second Connect returns without a check.
  EXPECT_EQ(ErrorOf([&] { client.Connect(); }), "(no error)");
  client.Disconnect();
  EXPECT_FALSE(IsOpenDescriptor(socketFd));
}

TEST_F(UdsClientTest, SocketCreationFailureNamesTheReason) {
  rlimit previous;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &previous), 0);
  rlimit limited = previous;
  // Every descriptor from the lowest free one up is out of reach.
  limited.rlim_cur = static_cast<rlim_t>(NextDescriptor());
  UdsClient client("endpoint");
  // The failure is only looked at once descriptors are available again: the
  // sanitizers' type checks may need one.
  std::exception_ptr failure;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limited), 0);
  try {
    client.Connect();
  } catch (...) {
    failure = std::current_exception();
  }
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &previous), 0);
  EXPECT_EQ(ErrorOf([&] {
              if (failure) std::rethrow_exception(failure);
            }),
            "Failed to create socket: Too many open files");
}

TEST_F(UdsClientTest, SendWithoutConnectFails) {
  UdsClient client("endpoint");
  EXPECT_EQ(ErrorOf([&] { client.Send("x"); }), "Not connected to an endpoint.");
}

TEST_F(UdsClientTest, SendAfterDisconnectFails) {
  UnixListener listener("endpoint");
  UdsClient client("endpoint");
  client.Connect();
  client.Disconnect();
  EXPECT_EQ(ErrorOf([&] { client.Send("x"); }), "Not connected to an endpoint.");
}

TEST_F(UdsClientTest, SendOfNothingSucceeds) {
  UnixListener listener("endpoint");
  UdsClient client("endpoint");
  client.Connect();
  EXPECT_EQ(ErrorOf([&] { client.Send(""); }), "(no error)");
}

TEST_F(UdsClientTest, SendToAClosedPeerNamesTheReasonWithoutSignal) {
  // SIGPIPE keeps its default action: were it raised, the test run would end.
  UnixListener listener("endpoint");
  UdsClient client("endpoint");
  client.Connect();
  int connection = listener.Accept();
  ASSERT_GE(connection, 0);
  close(connection);
  EXPECT_EQ(ErrorOf([&] { client.Send("x"); }), "Failed to send data: Broken pipe");
}

TEST_F(UdsClientTest, InterruptedWriteReportsAPartialWrite) {
  // More than the socket buffers hold while nobody reads: the write blocks
  // after the first bytes, and a signal then ends it early.
  const std::string data(16 * 1024 * 1024, 'x');
  ScopedSignal interrupt(SIGUSR1, IgnoreSignal);
  UnixListener listener("endpoint");
  UdsClient client("endpoint");
  client.Connect();

  std::atomic<bool> sent{false};
  pthread_t writer = pthread_self();
  std::thread interrupter([&] {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(CorvTest::kWaitMs);
    while (!sent && std::chrono::steady_clock::now() < deadline) {
      pthread_kill(writer, SIGUSR1);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    if (sent) return;
    // The write was never interrupted: drain it so that it completes and the
    // test fails instead of hanging.
    int connection = listener.Accept();
    std::string ignored;
    if (connection >= 0) UnixListener::ReadUntilClosed(connection, &ignored);
    if (connection >= 0) close(connection);
  });
  std::string error = ErrorOf([&] { client.Send(data); });
  sent = true;
  client.Disconnect();
  interrupter.join();

  const std::string prefix = "Partial write: ";
  const std::string suffix = "B written, expected 16777216B.";
  ASSERT_GT(error.size(), prefix.size() + suffix.size()) << error;
  ASSERT_EQ(error.compare(0, prefix.size(), prefix), 0) << error;
  ASSERT_EQ(error.compare(error.size() - suffix.size(), suffix.size(), suffix), 0) << error;
  const std::string count =
      error.substr(prefix.size(), error.size() - prefix.size() - suffix.size());
  ASSERT_EQ(count.find_first_not_of("0123456789"), std::string::npos) << error;
  long written = std::stol(count);
  EXPECT_GT(written, 0);
  EXPECT_LT(written, 16777216);
}

TEST_F(UdsClientTest, FailedCloseIsLoggedAndTheClientDisconnectsAnyway) {
  UnixListener listener("endpoint");
  int socketFd = NextDescriptor();
  UdsClient client("endpoint");
  client.Connect();
  // Make sure the descriptor is the client's before taking it away.
  sockaddr_un peer;
  socklen_t length = sizeof(peer);
  ASSERT_EQ(getpeername(socketFd, reinterpret_cast<sockaddr*>(&peer), &length), 0);
  ASSERT_STREQ(peer.sun_path, "endpoint");
  ASSERT_EQ(close(socketFd), 0);

  CorvTest::LogCapture log(4);
  client.Disconnect();
  EXPECT_EQ(log.Lines(), (std::vector<std::pair<int, std::string>>{
                             {0, "Failed to close socket: Bad file descriptor"}}));
  log.Clear();
  client.Disconnect();
  EXPECT_TRUE(log.Lines().empty());
  EXPECT_EQ(ErrorOf([&] { client.Send("x"); }), "Not connected to an endpoint.");
}

TEST_F(UdsClientTest, DisconnectWithoutConnectDoesNothing) {
  CorvTest::LogCapture log(4);
  UdsClient client("endpoint");
  client.Disconnect();
  EXPECT_TRUE(log.Lines().empty());
}

}  // namespace

namespace {

using Clock = std::chrono::steady_clock;

long MillisecondsSince(Clock::time_point start) {
  return static_cast<long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

// Scheduling slack allowed on top of a time limit before a wait counts as
// unbounded.
constexpr long kSlackMs = 400;

TEST_F(UdsClientTest, FullBacklogFailsToConnectAtTheTimeLimit) {
  UnixListener listener("endpoint", 0);
  std::vector<int> fillers = CorvTest::FillBacklog("endpoint");
  ASSERT_FALSE(fillers.empty());
  UdsClient client("endpoint", std::chrono::milliseconds(100));
  int socketFd = NextDescriptor();
  Clock::time_point start = Clock::now();
  EXPECT_EQ(ErrorOf([&] { client.Connect(); }),
            "Failed to connect socket: Resource temporarily unavailable");
  long elapsed = MillisecondsSince(start);
  // It waited for room, but not beyond the limit.
  EXPECT_GE(elapsed, 90);
  EXPECT_LT(elapsed, 100 + kSlackMs);
  EXPECT_FALSE(IsOpenDescriptor(socketFd));
  for (int fd : fillers) close(fd);
}

TEST_F(UdsClientTest, RoomMadeInTheBacklogWithinTheLimitLetsTheConnectThrough) {
  UnixListener listener("endpoint", 0);
  std::vector<int> fillers = CorvTest::FillBacklog("endpoint");
  ASSERT_FALSE(fillers.empty());
  std::thread daemon([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    int connection = listener.Accept();
    if (connection >= 0) close(connection);
  });
  UdsClient client("endpoint", std::chrono::milliseconds(2000));
  Clock::time_point start = Clock::now();
  EXPECT_EQ(ErrorOf([&] { client.Connect(); }), "(no error)");
  EXPECT_LT(MillisecondsSince(start), 1000);
  daemon.join();
  for (int fd : fillers) close(fd);
}

TEST_F(UdsClientTest, PeerThatNeverReadsStopsTheSendAtTheTimeLimit) {
  // More than the socket buffers hold: the send blocks once they are full,
  // and the limit ends it with what went through.
  UnixListener listener("endpoint");
  UdsClient client("endpoint", std::chrono::milliseconds(100));
  client.Connect();
  Clock::time_point start = Clock::now();
  std::string error = ErrorOf([&] { client.Send(std::string(16 * 1024 * 1024, 'x')); });
  EXPECT_LT(MillisecondsSince(start), 100 + kSlackMs);
  EXPECT_EQ(error.rfind("Partial write: ", 0), 0u) << error;
}

TEST_F(UdsClientTest, TheLimitCoversConnectAndSendTogether) {
  UnixListener listener("endpoint");
  UdsClient client("endpoint", std::chrono::milliseconds(300));
  client.Connect();
  const std::string large(16 * 1024 * 1024, 'x');
  std::this_thread::sleep_for(std::chrono::milliseconds(310));
  // Nothing of the limit is left: the send takes what the buffers hold at
  // once and waits no further (a wait would take the whole limit again).
  Clock::time_point start = Clock::now();
  std::string error = ErrorOf([&] { client.Send(large); });
  EXPECT_LT(MillisecondsSince(start), 150);
  EXPECT_EQ(error.rfind("Partial write: ", 0), 0u) << error;
}

TEST_F(UdsClientTest, ANotificationSizedSendToAPeerThatNeverReadsDoesNotWait) {
  CorvTest::SilentDaemon daemon("endpoint");
  UdsClient client("endpoint");
  Clock::time_point start = Clock::now();
  client.Connect();
  client.Send(std::string(4096, 'x'));
  EXPECT_LT(MillisecondsSince(start), kSlackMs);
}

TEST(NotificationTimeLimitTest, IsAFewHundredMilliseconds) {
  EXPECT_GT(kNotificationTimeLimit.count(), 0);
  EXPECT_LE(kNotificationTimeLimit.count(), 500);
}

}  // namespace
