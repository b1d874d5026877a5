#include "NatsCost.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

extern char** environ;

namespace kwxml::bench {

namespace {

double seconds(const timespec& time)
{
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double seconds(clockid_t clock)
{
  timespec time{};
  if (clock_gettime(clock, &time) != 0) {
    throw std::runtime_error("a clock does not answer");
  }
  return seconds(time);
}

double seconds(const timeval& time)
{
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

/// A process of the tool, which ends with the object.
class Worker
{
public:
  /// `setting`: a variable of the environment beside the program's own.
  Worker(const std::vector<std::string>& words, const std::string& setting)
  {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
      arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    std::vector<char*> variables{const_cast<char*>(setting.c_str())};  // the first of a name counts
    for (char** variable = environ; *variable != nullptr; ++variable) {
      variables.push_back(*variable);
    }
    variables.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    const int failed =
        posix_spawn(&process_, words.front().c_str(), &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
      process_ = -1;
      throw std::runtime_error("cannot start " + words.front());
    }
  }
  ~Worker()
  {
    if (process_ > 0) {
      ::kill(process_, SIGKILL);
      ::waitpid(process_, nullptr, 0);
    }
  }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Waits for its end; the processor time that it took.
  double end()
  {
    int status = 0;
    rusage used{};
    const bool ended = ::wait4(process_, &status, 0, &used) == process_;
    process_ = -1;
    if (!ended || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      throw std::runtime_error("a worker has failed");
    }
    return seconds(used.ru_utime) + seconds(used.ru_stime);
  }

private:
  pid_t process_ = -1;
};

}  // namespace

Cost Meter::now() const
{
  Cost cost;
  cost.seconds = seconds(CLOCK_MONOTONIC);
  cost.own = seconds(CLOCK_PROCESS_CPUTIME_ID);
  clockid_t clock{};
  if (clock_getcpuclockid(server_.process(), &clock) != 0) {
    throw std::runtime_error("the server has no clock");
  }
  cost.server = seconds(clock);
  std::ifstream in("/proc/" + std::to_string(server_.process()) + "/io");
  std::string name;
  if (!(in >> name >> cost.read >> name >> cost.written)) {  // "rchar: 1", "wchar: 2"
    throw std::runtime_error("the system does not tell what the server reads and writes");
  }
  return cost;
}

Cost Meter::perMessage(std::size_t count) const
{
  const Cost end = now();
  const auto each = [count](double from, double to) { return (to - from) / static_cast<double>(count); };
  return {.seconds = each(begin_.seconds, end.seconds),
          .own = each(begin_.own, end.own),
          .server = each(begin_.server, end.server),
          .read = each(begin_.read, end.read),
          .written = each(begin_.written, end.written)};
}

Cost work(Ground& ground, const std::string& stream, const Load& load, int workers)
{
  const test::TempDirectory folder;
  const std::string settings =
      folder.write("settings.ini", "[Nats]\nServers = " + ground.server.settings().servers.front() + "\n");
  makeAnew(ground, "OUT", "xml");
  // Each run has a durable consumer of its own: it begins with the first message.
  static int runs = 0;
  const std::string durable = "worked" + std::to_string(++runs);

  const Meter meter(ground.server);
  std::vector<std::unique_ptr<Worker>> processes;
  for (int i = 0; i < workers; ++i) {
    processes.push_back(std::make_unique<Worker>(
        std::vector<std::string>{KWXML_BENCH_TOOL, "--catalogue", KWXML_BENCH_SCHEMA, "work", "--from-stream",
                                 stream, "--to-stream", "OUT", "--to", "xml", "--durable", durable},
        "KWXML_SETTINGS=" + settings));
  }
  const auto until = std::chrono::steady_clock::now() + patience;
  while (messagesIn(ground, "OUT") < load.worked) {
    if (std::chrono::steady_clock::now() > until) {
      throw std::runtime_error("the workers take too long");
    }
    constexpr auto look = std::chrono::milliseconds(20);
    std::this_thread::sleep_for(look);
  }
  Cost cost = meter.perMessage(load.worked);
  cost.own = 0;
  for (const auto& process : processes) {
    cost.own += process->end() / static_cast<double>(load.worked);
  }
  if (messagesIn(ground, "OUT") != load.worked) {
    throw std::runtime_error("the workers have stored a message twice");
  }
  removeStream(ground, "OUT");
  return cost;
}

}  // namespace kwxml::bench
