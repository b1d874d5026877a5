#include "SchemaFiles.h"

#include "Stages.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace kwxml::catalogue {

std::vector<std::string> schemaFiles(const std::vector<std::string>& paths)
{
  namespace fs = std::filesystem;
  std::vector<std::string> files;
  for (const std::string& path : paths) {
    if (!fs::is_directory(path)) {
      files.push_back(path);
      continue;
    }
    std::vector<std::string> found;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
      if (entry.path().extension() == ".xml") {
        found.push_back(entry.path().string());
      }
    }
    if (found.empty()) {
      throw std::runtime_error(path + " has no *.xml files");
    }
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
  }
  return files;
}

Catalogue loadSchemas(const std::vector<std::string>& files, Diagnostics& diagnostics)
{
  Catalogue catalogue;
  try {
    catalogue = parse(read(files, diagnostics), diagnostics);
    if (!diagnostics.hasErrors()) {  // what follows counts on the structure that the grammar asks for
      resolve(catalogue, diagnostics);
      check(catalogue, diagnostics);
      layOut(catalogue, diagnostics);
    }
  } catch (const TooManyErrors&) {
    // They are printed as any others.
  }
  return catalogue;
}

}  // namespace kwxml::catalogue
