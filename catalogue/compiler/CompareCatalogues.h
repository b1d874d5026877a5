// kwxml-catalogue --against: two catalogues compared.
#pragma once

#include <string>
#include <vector>

namespace kwxml::catalogue {

struct CompareArguments
{
  std::string older;  ///< a schema file, a folder of them, or a library with a compiled catalogue
  std::string newer;
  std::string format = "text";       ///< or "json"
  std::vector<std::string> allowed;  ///< names of rules that there are
};

/// Writes the differences to standard output, and mistakes in the schemas to standard error. Returns the
/// exit status: 0, 1 when a difference breaks data and is not allowed or a catalogue has errors.
int compareCatalogues(const CompareArguments& arguments);

}  // namespace kwxml::catalogue
