// What the command line says about the files that the compiler writes.
#pragma once

#include <string>

namespace kwxml::catalogue {

struct Options
{
  std::string name = "catalogue";  ///< of the catalogue: a C++ identifier
  unsigned shards = 0;             ///< table files; 0: as many as the number of classes asks for
};

}  // namespace kwxml::catalogue
