// A server of NATS with JetStream for one test: on loopback, on a port of the system's choice, with its store
// in a temporary folder. It ends with the object, by its process id.
#pragma once

#include "platform/TempDirectory.h"

#include <kwxml/nats/Connection.h>

#include <sys/types.h>

#include <string>
#include <vector>

namespace kwxml::test {

class Server
{
public:
  /// Whether the program is installed. Tests are skipped without it.
  static bool isInstalled();
  /// Lines of the server's configuration file beside the usual ones.
  explicit Server(const std::string& more = {});
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  /// At once, as by a loss of power.
  void kill();
  /// With the port and the store of before.
  void start();
  /// Holds it, so that it answers nothing.
  void pause();
  void goOn();

  nats::ConnectionSettings settings() const;
  pid_t process() const { return process_; }

private:
  TempDirectory folder_;
  std::string more_;
  std::string port_ = "-1";
  pid_t process_ = -1;
};

}  // namespace kwxml::test
