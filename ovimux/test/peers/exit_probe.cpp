// A program that ends in a way that its arguments choose, as applications do: KEY=VALUE...
//   way       return, exit, callback_exit, sigterm, stuck (returns while a writer never comes back),
//             await_sigint, return_on_sigint (waits for the shutdown, or returns as soon as it is asked for),
//             fork_exit, many_exits, own_sigterm, last_words (returns after what applications do besides)
//   ending    none, shutdown, clear
//   holder    local, static_before, static_after (before or after the middleware's start)
//   publishes 0, 1: another thread publishes and requests until the end
//   on_signal sleep, exit, clear: what the exit callback does
//   renews    1: the participant is made anew again and again
//   stderr    full: nobody reads it
// Exit code 7.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <thread>

#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/dds/dds_node_factory.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"

namespace ovimux = norvik::ovimux;

namespace {

constexpr int kExitCode = 7;

std::atomic<bool> g_exit_in_callback{false};
std::atomic<bool> g_callback_done{false};

// A message that is never done being written, with its writer locked.
struct EndlessMessage {};
std::atomic<bool> g_stuck{false};

}  // namespace

template <>
struct norvik::ovimux::PayloadCodec<EndlessMessage> {
  static size_t byte_size(const EndlessMessage& /*message*/) { return 1; }
  static bool can_encode(const EndlessMessage& /*message*/) { return true; }
  static bool encode(const EndlessMessage& /*message*/, uint8_t* /*target*/, size_t /*size*/) {
    g_stuck = true;
    std::this_thread::sleep_for(std::chrono::hours(1));
    return false;
  }
  static std::string type_name() { return "raw"; }
};

namespace {

void get_stuck(ovimux::Node& node) {
  const auto writer = node.CreateWriter<EndlessMessage>("exit/stuck", ovimux::Qos{});
  std::thread([writer] { writer->Publish(std::make_shared<EndlessMessage>()); }).detach();
  while (!g_stuck) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

// What an application keeps: a node, and endpoints of every kind.
struct Endpoints {
  std::unique_ptr<ovimux::Node> node;
  std::shared_ptr<ovimux::RawWriter> writer;
  std::shared_ptr<ovimux::RawReader> reader;
  std::shared_ptr<ovimux::RawReader> large_reader;
  std::shared_ptr<ovimux::RawClient> client;

  void open() {
    node = ovimux::CreateNode("exit_probe", "");
    writer = node->CreateWriter("exit", ovimux::Qos{}, true);
    const auto on_message = [](const void*, int, const void*) {
      if (g_exit_in_callback.exchange(false)) {
        std::exit(kExitCode);
      }
    };
    reader = node->CreateReader("exit", on_message, ovimux::Qos{}, nullptr, true);
    ovimux::Qos large;
    large.payload_kind = ovimux::kLargePayloadKind;
    large_reader = node->CreateReader("exit/large", on_message, large, nullptr, true);
    client = node->CreateClient("exit/service", ovimux::RpcQos{}, true);
  }
};

Endpoints& static_holder() {
  static Endpoints endpoints;
  return endpoints;
}

// A function-local static that opens its endpoints while it is constructed, as the facades do.
Endpoints& self_opening_holder() {
  static Endpoints endpoints = [] {
    Endpoints result;
    result.open();
    return result;
  }();
  return endpoints;
}

void talk(std::shared_ptr<ovimux::RawWriter> writer, std::shared_ptr<ovimux::RawClient> client) {
  std::thread([writer] {
    while (true) {
      writer->Publish(std::make_shared<std::string>(100, 'x'));
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  }).detach();
  std::thread([client] {
    while (true) {
      client->SendRequest(std::string("x"), std::chrono::seconds(1));
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  }).detach();
}

// Waits for a shutdown by a real signal. Status 9 when it is told too early that the shutdown has finished.
void await_sigint() {
  kill(getpid(), SIGINT);
  ovimux::WaitForShutdown();
  if (!g_callback_done) {
    std::_Exit(9);
  }
  ovimux::Clear();
}

void on_signal(const std::string& reaction) {
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  if (reaction == "exit") {
    std::exit(kExitCode);
  }
  if (reaction == "clear") {
    ovimux::Clear();
  }
  g_callback_done = true;
}

void fill_standard_error() {
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0 || fcntl(ends[1], F_SETFL, O_NONBLOCK) != 0) {
    std::_Exit(8);
  }
  while (write(ends[1], "x", 1) == 1) {
  }
  fcntl(ends[1], F_SETFL, 0);
  dup2(ends[1], STDERR_FILENO);
}

// Status 9 when the child, which has none of the threads, does not end as it wants to.
void fork_exit() {
  const pid_t child = fork();
  if (child == 0) {
    std::exit(5);
  }
  int status = 0;
  for (int i = 0; i < 500 && waitpid(child, &status, WNOHANG) == 0; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 5 || !ovimux::OK()) {
    kill(child, SIGKILL);
    std::_Exit(9);
  }
}

// The first one decides the status, though others come while it is still busy, more than there are exit handlers.
void exit_many_times() {
  new ovimux::ShutdownTask([](auto) { std::this_thread::sleep_for(std::chrono::milliseconds(50)); });  // Lasts.
  for (int later = 10; later < 30; ++later) {
    std::thread([later] {
      while (ovimux::OK()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(later));
      std::exit(later);
    }).detach();
  }
  std::exit(kExitCode);
}

// The application takes SIGTERM over when the library has it already: SIGINT, which is the library's, changes nothing.
void take_sigterm() {
  static std::atomic<bool> heard{false};
  std::signal(SIGTERM, [](int) { heard = true; });
  std::raise(SIGINT);
  std::raise(SIGTERM);
  if (!heard) {
    std::_Exit(9);
  }
}

void leave(const std::string& way, Endpoints& endpoints) {
  if (way == "fork_exit") {
    fork_exit();
  }
  if (way == "many_exits") {
    exit_many_times();
  }
  if (way == "own_sigterm") {
    take_sigterm();
  }
  if (way == "last_words") {
    std::ios::sync_with_stdio(false);
    std::cout << "last words";
  }
  if (way == "await_sigint") {
    await_sigint();
  }
  if (way == "return_on_sigint") {
    kill(getpid(), SIGINT);
    ovimux::sleep_while_running(std::chrono::steady_clock::now() + std::chrono::seconds(10));
  }
  if (way == "exit") {
    std::exit(kExitCode);
  }
  if (way == "sigterm") {
    std::raise(SIGTERM);
    while (ovimux::OK()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  if (way == "stuck") {
    get_stuck(*endpoints.node);
  }
  if (way == "callback_exit") {
    const auto writer = endpoints.writer;  // The holder is destroyed under this thread's feet.
    g_exit_in_callback = true;
    while (true) {
      writer->Publish(std::string("exit now"));
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  alarm(20);
  std::map<std::string, std::string> options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    options[argument.substr(0, argument.find('='))] = argument.substr(argument.find('=') + 1);
  }
  Endpoints local;
  Endpoints* endpoints = &local;
  if (options["holder"] == "static_before") {
    endpoints = &static_holder();
  }
  if (options["stderr"] == "full") {
    fill_standard_error();
    ovimux::Logger::getInstance().set_log_level(ovimux::kTrace);
  }
  ovimux::OvimuxInitInternal();
  ovimux::OvimuxSetExitCallback([reaction = options["on_signal"]] { on_signal(reaction); }, {});
  if (options["holder"] == "static_after") {
    endpoints = &self_opening_holder();
  } else {
    endpoints->open();
  }
  if (options["publishes"] == "1") {
    talk(endpoints->writer, endpoints->client);
  }
  if (options["renews"] == "1") {
    std::thread([] {
      while (true) {
        ovimux::DDSNodeFactory::Instance()->Renew();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
      }
    }).detach();
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(std::atoi(options["ms"].c_str())));
  if (options["ending"] != "none" && options["way"] != "callback_exit") {
    ovimux::AsyncShutdown();
    ovimux::WaitForShutdown();
  }
  if (options["ending"] == "clear") {
    ovimux::Clear();
  }
  leave(options["way"], *endpoints);
  return kExitCode;
}
