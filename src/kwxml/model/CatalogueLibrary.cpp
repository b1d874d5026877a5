#include <kwxml/model/CatalogueLibrary.h>

#include <kwxml/model/Registry.h>

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

namespace kwxml {
namespace {

/// The header of the library or program that this code is in.
const ElfW(Ehdr) * ownHeader()
{
  static const char here = 0;
  Dl_info info{};
  return dladdr(&here, &info) != 0 ? static_cast<const ElfW(Ehdr)*>(info.dli_fbase) : nullptr;
}

/// Why a file cannot be loaded; null when it may be. The loader itself would not tell of another machine, and
/// map what is not there.
const char* findFault(const std::string& path)
{
  std::error_code unknown;
  const std::filesystem::file_status status = std::filesystem::status(path, unknown);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    return "it is no regular file";
  }
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  if (!in) {
    return nullptr;  // the loader says why
  }
  const auto size = static_cast<std::uint64_t>(in.tellg());
  const auto read = [&in](std::uint64_t at, auto& record) {
    in.seekg(static_cast<std::streamoff>(at));
    in.read(reinterpret_cast<char*>(&record), sizeof record);
    return static_cast<bool>(in);
  };
  constexpr const char* cut = "the file is cut short";
  ElfW(Ehdr) header{};
  if (!read(0, header)) {
    return cut;
  }
  const ElfW(Ehdr)* const own = ownHeader();
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_type != ET_DYN) {
    return "it is no shared library";
  }
  if (own != nullptr &&
      (header.e_ident[EI_CLASS] != own->e_ident[EI_CLASS] ||
       header.e_ident[EI_DATA] != own->e_ident[EI_DATA] || header.e_machine != own->e_machine)) {
    return "it is built for another machine";
  }
  std::vector<ElfW(Phdr)> segments(header.e_phnum);
  for (std::size_t i = 0; i < segments.size(); ++i) {
    ElfW(Phdr)& segment = segments[i];
    if (!read(header.e_phoff + i * sizeof segment, segment) || segment.p_offset > size ||
        segment.p_filesz > size - segment.p_offset) {
      return cut;
    }
  }
  for (const ElfW(Phdr) & segment : segments) {
    const bool loaded = std::any_of(segments.begin(), segments.end(), [&](const ElfW(Phdr) & other) {
      return other.p_type == PT_LOAD && segment.p_vaddr >= other.p_vaddr &&
             other.p_memsz >= segment.p_memsz &&
             segment.p_vaddr - other.p_vaddr <= other.p_memsz - segment.p_memsz;
    });
    if ((segment.p_type == PT_LOAD && segment.p_memsz < segment.p_filesz) ||
        (segment.p_type == PT_DYNAMIC && !loaded)) {
      return "the file is damaged";
    }
  }
  return nullptr;
}

/// Whether an object lies in the library itself, not in one that it needs.
bool isWithin(void* library, const void* object)
{
  Dl_info info{};
  void* holder = nullptr;
  void* own = nullptr;
  return dladdr1(object, &info, &holder, RTLD_DL_LINKMAP) != 0 &&
         dlinfo(library, RTLD_DI_LINKMAP, static_cast<void*>(&own)) == 0 && holder == own;
}

/// The library's own one: a look-up goes on in the libraries that it needs.
const Registry* findRegistry(void* library)
{
  for (const char* symbol : {
           "_ZN34XML_KWMessage_MessageSystemChooser9catalogueE",
           "_ZN5kwxml10catalogues2v27builtinE",  // the catalogue inside a message library
       }) {
    const auto* const* const found = static_cast<const Registry* const*>(dlsym(library, symbol));
    if (found != nullptr && isWithin(library, *found)) {
      return *found;
    }
  }
  return nullptr;
}

}  // namespace

const Registry* loadCatalogueLibrary(const std::string& path, std::string& problem)
{
  if (const char* fault = findFault(path)) {
    problem = fault;
    return nullptr;
  }
  const std::string name =
      path.find('/') == std::string::npos ? "./" + path : path;  // not one that the loader looks for
  void* const library = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (library == nullptr) {
    const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): the text is the thread's own
    problem = reason != nullptr ? reason : "it cannot be loaded";
    if (const std::string place = name + ": "; problem.starts_with(place)) {
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
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(path, unknown)) {  // nothing is taken from a pipe
    return false;
  }
  std::ifstream in(path, std::ios::binary);
  char magic[begin.size()] = {};
  in.read(magic, sizeof magic);
  return in && std::string_view(magic, sizeof magic) == begin;
}

}  // namespace kwxml
