#include "nats/Server.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace kwxml::test {

namespace {

/// Debian's package puts it where only root's path leads.
std::string program()
{
  for (const char* path : {"/usr/sbin/nats-server", "/usr/bin/nats-server", "/usr/local/bin/nats-server"}) {
    if (::access(path, X_OK) == 0) {
      return path;
    }
  }
  return {};
}

}  // namespace

bool Server::isInstalled()
{
  return !program().empty();
}

Server::Server(const std::string& more) : more_(more)
{
  start();
}

Server::~Server()
{
  kill();
}

void Server::start()
{
  const std::string config =
      folder_.write("server.conf", "listen: \"127.0.0.1:" + port_ + "\"\njetstream { store_dir: \"" +
                                       folder_.path() + "/store\" }\nports_file_dir: \"" + folder_.path() +
                                       "\"\nlog_file: \"" + folder_.path() + "/log\"\n" + more_);
  const std::string path = program();
  process_ = ::fork();
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);  // with the test, however that ends
    ::execl(path.c_str(), path.c_str(), "-c", config.c_str(), nullptr);
    ::_exit(1);
  }
  if (process_ < 0) {
    throw std::runtime_error("no server");
  }
  // The file is there when the server listens.
  const std::string ports = "nats-server_" + std::to_string(process_) + ".ports";
  for (int i = 0; i < 3000 && port_ == "-1"; ++i) {
    const std::string text = std::filesystem::exists(folder_ / ports) ? folder_.read(ports) : std::string();
    const std::size_t at = text.find("://127.0.0.1:");
    if (at != std::string::npos && text.find('}') != std::string::npos) {
      port_ = text.substr(at + 13, text.find_first_not_of("0123456789", at + 13) - at - 13);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (port_ == "-1") {
    throw std::runtime_error("the server does not begin: " + folder_.read("log"));
  }
}

void Server::kill()
{
  if (process_ > 0) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    process_ = -1;
  }
}

void Server::pause()
{
  ::kill(process_, SIGSTOP);
  ::waitpid(process_, nullptr, WUNTRACED);  // its threads go on until the first of them has had its turn
}

void Server::goOn()
{
  ::kill(process_, SIGCONT);
}

nats::ConnectionSettings Server::settings() const
{
  nats::ConnectionSettings settings;
  settings.servers = {"nats://127.0.0.1:" + port_};
  settings.reconnectFirst = std::chrono::milliseconds(20);
  settings.reconnectMost = std::chrono::milliseconds(200);
  return settings;
}

}  // namespace kwxml::test
