// A robot of another make, on this computer, is killed and started again, whatever is on the way to it.
//
// OVIMUX_RESTARTS sets how often each robot is killed.
#include <csignal>
#include <cstdlib>
#include <random>
#include <thread>

#include "support/holdings.hpp"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using test::eventually;
using test::Holdings;
using test::PeerProcess;

constexpr seconds kBackWithin{5};

int restarts() {
  const char* text = std::getenv("OVIMUX_RESTARTS");
  return text != nullptr ? std::atoi(text) : 3;
}

// Calls a function again and again on a thread of its own.
class Repeater {
 public:
  Repeater(std::function<void()> function, milliseconds pause)
      : thread_([this, function = std::move(function), pause] {
          while (!stopped_) {
            function();
            std::this_thread::sleep_for(pause);
          }
        }) {}
  ~Repeater() {
    stopped_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> stopped_{false};
  std::thread thread_;
};

struct Load {
  const char* name;
  size_t request_size;  // Of the requests that are always on the way.
  bool stream;          // 1 kHz of 256 B to the robot.
  bool pictures;        // 30 a second of 500 KB from the robot.
};

std::ostream& operator<<(std::ostream& out, const Load& load) { return out << load.name; }

class Restart : public ::testing::TestWithParam<Load> {
 protected:
  void SetUp() override {
    OvimuxInitInternal();
    node_ = CreateNode("restart_test", "");
    RpcQos large;
    large.payload_kind = kLargePayloadKind;
    small_ = node_->CreateClient("plain/small", RpcQos{}, false);
    large_ = node_->CreateClient("plain/large", large, false);
    stream_ = node_->CreateWriter("plain/stream", Qos{}, false);
    state_ = count("plain/state", Qos{}, seen_.states);
    pictures_ = count("plain/pictures", test::large_qos(), seen_.pictures);
    start_load();
  }

  std::shared_ptr<RawReader> count(const std::string& topic, const Qos& qos, std::atomic<int>& counter) {
    return node_->CreateReader(
        topic, [&counter](const void*, int, const void*) { ++counter; }, qos, nullptr, false);
  }

  void start_load() {
    const auto& load = GetParam();
    if (load.request_size > 0) {
      load_.push_back(std::make_unique<Repeater>(
          [this, request = std::string(load.request_size, 'r')] {
            seen_.large_answers += large_->SendRequest(request, seconds(1)) != nullptr ? 1 : 0;
          },
          milliseconds(1)));
    }
    if (load.stream) {
      load_.push_back(std::make_unique<Repeater>([this] { stream_->Publish(std::string(256, 's')); }, milliseconds(1)));
    }
  }

  std::unique_ptr<PeerProcess> start_robot() const {
    std::vector<std::string> arguments = {std::getenv("OVIMUX_DOMAIN_ID")};
    if (GetParam().pictures) {
      arguments.emplace_back("pictures");
    }
    return std::make_unique<PeerProcess>(OVIMUX_PLAIN_ROBOT, arguments);
  }

  // A request that is lost is given up after 100 ms. The answer tells how much of the stream its robot has received.
  void ask() {
    const auto future = small_->AsyncSendRequest(std::string("x"));
    if (future.valid() && future.wait_for(milliseconds(100)) == std::future_status::ready && future.get() != nullptr) {
      ++seen_.answers;
      seen_.streamed = std::stoi(future.get()->substr(2));
    }
  }

  // Whether all that goes to and comes from a robot that was started at `start` does so again in time.
  bool comes_back(steady_clock::time_point start) {
    const int answers = seen_.answers;
    const int large_answers = seen_.large_answers;
    const int states = seen_.states;
    const int pictures = seen_.pictures;
    const auto& load = GetParam();
    const auto all = [&] {
      ask();
      return seen_.answers > answers && seen_.states > states && (!load.stream || seen_.streamed > 0) &&
             (load.request_size == 0 || seen_.large_answers > large_answers) &&
             (!load.pictures || seen_.pictures > pictures);
    };
    return eventually(all, std::chrono::duration_cast<milliseconds>(start + kBackWithin - steady_clock::now()));
  }

  std::unique_ptr<Node> node_;
  struct {
    int answers = 0;
    int streamed = 0;
    std::atomic<int> large_answers{0};
    std::atomic<int> states{0};
    std::atomic<int> pictures{0};
  } seen_;
  std::shared_ptr<RawClient> small_;
  std::shared_ptr<RawClient> large_;
  std::shared_ptr<RawWriter> stream_;
  std::shared_ptr<RawReader> state_;
  std::shared_ptr<RawReader> pictures_;
  std::vector<std::unique_ptr<Repeater>> load_;
};

TEST_P(Restart, ARobotThatIsKilledIsReachedAgain) {
  std::minstd_rand random(7);
  std::uniform_int_distribution<int> moment(100, 400);
  int lost = 0;
  milliseconds slowest{0};
  std::optional<Holdings> first;
  OVIMUX_LOG(kWarning) << "the log makes its thread with the first line, which is no leak";
  for (int i = 0; i <= restarts(); ++i) {
    const auto start = steady_clock::now();
    auto robot = start_robot();
    seen_.streamed = 0;
    lost += comes_back(start) ? 0 : 1;
    slowest = std::max(slowest, std::chrono::duration_cast<milliseconds>(steady_clock::now() - start));
    if (!first) {
      first = Holdings();
    }
    std::this_thread::sleep_for(milliseconds(moment(random)));
    robot->kill(SIGKILL);
  }
  EXPECT_EQ(0, lost) << "of " << restarts() + 1;
  load_.clear();
  EXPECT_TRUE(eventually([&] { return Holdings().within(*first); }, seconds(15)))
      << Holdings() << ", at first " << *first;
  std::cout << GetParam() << ": " << lost << " of " << restarts() + 1 << " not reached, slowest " << slowest.count()
            << " ms; " << Holdings() << ", at first " << *first << std::endl;
}

INSTANTIATE_TEST_SUITE_P(Loads, Restart,
                         ::testing::Values(Load{"idle", 0, false, false}, Load{"stream", 0, true, false},
                                           Load{"1MB", 1000000, false, false}, Load{"10MB", 10000000, false, false},
                                           Load{"pictures", 0, false, true}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace norvik::ovimux
