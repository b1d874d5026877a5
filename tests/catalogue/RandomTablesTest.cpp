// Random catalogues, each by both back ends of the compiler: in memory, and through C++ into a shared
// library.
#include "RandomCatalogue.h"
#include "TablesText.h"

#include "platform/TempDirectory.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>

namespace {

using namespace kwxml;
namespace fs = std::filesystem;

/// Null when the compiler refuses the schema.
const Registry* compile(const fs::path& folder, const std::string& schema)
{
  const std::string library = folder / "libcatalogue.so";
  const auto run = [](const std::string& command) {
    return std::system(command.c_str()) == 0;  // NOLINT(concurrency-mt-unsafe)
  };
  const std::string out = folder / "out";
  if (!run("'" KWXML_COMPILER "' --name tables -o '" + out + "' '" + schema + "' 2>/dev/null")) {
    return nullptr;
  }
  std::ofstream all(folder / "all.cpp");  // one unit of translation: most of the time goes into the headers
  std::set<fs::path> sources;
  for (const fs::directory_entry& entry : fs::directory_iterator(out)) {
    if (entry.path().extension() == ".cpp") {
      sources.insert(entry.path());
    }
  }
  for (const fs::path& source : sources) {
    all << "#include \"" << source.string() << "\"\n";
  }
  all.close();
  EXPECT_TRUE(run("'" KWXML_CXX "' -std=c++20 -O0 -fPIC -shared -I '" KWXML_SOURCE_DIR "/src' -o '" +
                  library + "' '" + (folder / "all.cpp").string() + "'"));
  std::string problem;
  const Registry* const registry = Registry::fromLibrary(library, problem);
  EXPECT_NE(registry, nullptr) << problem;
  return registry;
}

/// KWXML_RANDOM_CATALOGUES says how many; the first ones are always the same.
TEST(RandomTables, AreTheCompiledOnes)
{
  const char* const wanted = std::getenv("KWXML_RANDOM_CATALOGUES");  // NOLINT(concurrency-mt-unsafe)
  const unsigned count = wanted != nullptr ? static_cast<unsigned>(std::atoi(wanted)) : 4;
  unsigned made = 0;
  for (unsigned seed = 1; made < count && !HasFailure(); ++seed) {
    ASSERT_LT(seed, 20 * count) << "hardly any catalogue is valid";
    SCOPED_TRACE("seed " + std::to_string(seed));
    const test::TempDirectory folder;
    std::mt19937 random(seed);
    const test::RandomCatalogue schema(random);
    const std::string file = folder.write("Random.xml", schema.text());
    std::string problems;
    const Registry::Owner loaded = Registry::fromSchemas({file}, problems);
    const Registry* const compiled = compile(folder.path(), file);
    ASSERT_EQ(loaded == nullptr, compiled == nullptr) << problems;
    if (loaded != nullptr) {
      test::expectSameCatalogue(*loaded, *compiled);
      ++made;
    }
  }
}

}  // namespace
