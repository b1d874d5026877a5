#include <kwxml/model/CatalogueLibrary.h>

#include <kwxml/model/Registry.h>

#include <dlfcn.h>

#include <fstream>
#include <string_view>

namespace kwxml {
namespace {

/// Whether an object lies in the library itself, not in one that it needs.
bool isWithin(void* library, const void* object)
{
  Dl_info info{};
  void* holder = nullptr;
  void* own = nullptr;
  return dladdr1(object, &info, &holder, RTLD_DL_LINKMAP) != 0 &&
         dlinfo(library, RTLD_DI_LINKMAP, static_cast<void*>(&own)) == 0 && holder == own;
}

const Registry* findRegistry(void* library)
{
  // XML_KWMessage_MessageSystemChooser::catalogue, of the library or of a catalogue that it is linked with.
  const auto* const* const found = static_cast<const Registry* const*>(
      dlsym(library, "_ZN34XML_KWMessage_MessageSystemChooser9catalogueE"));
  if (found != nullptr) {
    return *found;
  }
  // kwxml::catalogues::builtin, which all that use the message library are linked with.
  const void* const builtin = dlsym(library, "_ZN5kwxml10catalogues7builtinE");
  return builtin != nullptr && isWithin(library, builtin) ? static_cast<const Registry*>(builtin) : nullptr;
}

}  // namespace

const Registry* loadCatalogueLibrary(const std::string& path, std::string& problem)
{
  void* const library = dlopen(path.find('/') == std::string::npos ? ("./" + path).c_str() : path.c_str(),
                               RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (library == nullptr) {
    const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): the text is the thread's own
    problem = reason != nullptr ? reason : "it cannot be loaded";
    if (const std::string place = path + ": "; problem.starts_with(place)) {
      problem.erase(0, place.size());
    }
    return nullptr;
  }
  const Registry* const found = findRegistry(library);
  if (found == nullptr) {
    problem = "it holds no catalogue of this library's kind";
    return nullptr;
  }
  if (const std::uint32_t version = found->tables().version; version != CatalogueTables::currentVersion) {
    problem = "its tables are of version " + std::to_string(version) + ", this library reads version " +
              std::to_string(CatalogueTables::currentVersion);
    return nullptr;
  }
  return found;
}

bool isSharedLibrary(const std::string& path)
{
  constexpr std::string_view begin(
      "\x7F"
      "ELF");
  std::ifstream in(path, std::ios::binary);
  char magic[begin.size()] = {};
  in.read(magic, sizeof magic);
  return in && std::string_view(magic, sizeof magic) == begin;
}

}  // namespace kwxml
