#include "NamedCatalogue.h"

#include "Command.h"
#include "Report.h"

#include <kwxml/model/Registry.h>
#include <kwxml/text/ShownText.h>

#include <filesystem>
#include <fstream>
#include <iostream>

namespace kwxml::tool {

namespace {

/// Whether a file begins as shared libraries do. Its name says nothing: they go by version numbers too.
bool isLibrary(const std::string& path)
{
  std::ifstream in(path, std::ios::binary);
  char magic[4] = {};
  in.read(magic, sizeof magic);
  return in && std::string_view(magic, sizeof magic) ==
                   "\x7F"
                   "ELF";
}

}  // namespace

void useNamedCatalogue(const std::string& path)
{
  if (path.empty()) {
    return;
  }
  std::error_code error;
  if (!std::filesystem::exists(path, error)) {
    throw Failure(exitData, "--catalogue: " + shown(path) + ": " +
                                (error ? error.message() : std::string("no such file or folder")));
  }
  std::string problems;
  if (!std::filesystem::is_directory(path, error) && isLibrary(path)) {
    const Registry* const registry = Registry::fromLibrary(path, problems);
    if (registry == nullptr) {
      throw Failure(exitData, "--catalogue: " + problems);
    }
    useCatalogue(*registry);
    return;
  }
  Registry::Owner schemas = Registry::fromSchemas({path}, problems);
  std::cerr << problems;
  if (schemas == nullptr) {
    throw Failure(exitData, "--catalogue: " + shown(path) + " is no catalogue");
  }
  useCatalogue(
      *schemas.release());  // for the rest of the process: threads may hold messages of it to the end
}

}  // namespace kwxml::tool
