// Records every attempt of the process to open a file, a socket or a host name while it lives, whoever makes
// it.
#pragma once

#include <string>
#include <vector>

namespace kwxml::test {

class OpenTrace
{
public:
  OpenTrace();
  ~OpenTrace();
  OpenTrace(const OpenTrace&) = delete;
  OpenTrace& operator=(const OpenTrace&) = delete;
  const std::vector<std::string>& opened() const;
};

}  // namespace kwxml::test
