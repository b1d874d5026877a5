#include "NamedCatalogue.h"

#include "Command.h"
#include "Report.h"

#include <kwxml/model/CatalogueLibrary.h>
#include <kwxml/model/Registry.h>
#include <kwxml/text/ShownText.h>

#include <filesystem>
#include <ostream>

namespace kwxml::tool {

void useNamedCatalogue(const std::string& path, std::ostream& warnings)
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
  if (!std::filesystem::is_directory(path, error) && isSharedLibrary(path)) {
    const Registry* const registry = Registry::fromLibrary(path, problems);
    if (registry == nullptr) {
      throw Failure(exitData, "--catalogue: " + problems);
    }
    useCatalogue(*registry);
    return;
  }
  Registry::Owner schemas = Registry::fromSchemas({path}, problems);
  warnings << problems;
  if (schemas == nullptr) {
    throw Failure(exitData, "--catalogue: " + shown(path) + " is no catalogue");
  }
  useCatalogue(
      *schemas.release());  // for the rest of the process: threads may hold messages of it to the end
}

}  // namespace kwxml::tool
