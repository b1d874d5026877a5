// Catalogues in shared libraries: for the library, and for the schema compiler beside it. Not installed.
#pragma once

#include <string>

namespace kwxml {

class Registry;

/// The catalogue of a shared library, or else the one inside a message library; null when it cannot be
/// loaded, has none or has one of another version, and `problem` says why, without the path. The library
/// stays loaded; loading runs its code.
const Registry* loadCatalogueLibrary(const std::string& path, std::string& problem);

/// Whether a file begins as shared libraries do; its name says nothing, for they go by version numbers too.
/// False for one that cannot be read.
bool isSharedLibrary(const std::string& path);

}  // namespace kwxml
