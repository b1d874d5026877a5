// The stages of the catalogue compiler, in the order in which they run.
#pragma once

#include "Diagnostics.h"
#include "Schema.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml::catalogue {

/// What a schema file holds; `file` is its number in the diagnostics.
struct SchemaText
{
  std::uint32_t file;
  std::string text;
};

/// Reads schema files, as far as they can be read and are not too large.
std::vector<SchemaText> read(const std::vector<std::string>& files, Diagnostics& diagnostics);

/// The elements of schemas, validated against the built-in grammar. Opens no file: a document type
/// declaration is refused, and nothing that a schema names is fetched.
Catalogue parse(const std::vector<SchemaText>& schemas, Diagnostics& diagnostics);

/// A valid schema in its canonical layout, which compiles to the same files; none, and the reason, for one in
/// an encoding that has none.
std::optional<std::string> format(std::string_view text, std::string& reason);

/// Turns type names, class references, defaults, password names and XPaths into what they mean.
void resolve(Catalogue& catalogue, Diagnostics& diagnostics);

/// Refuses what the tables cannot hold or the library cannot live with, and warns of what they hold badly.
void check(const Catalogue& catalogue, Diagnostics& diagnostics);

/// Assigns class indices and slots, and refuses a layout that does not fit.
void layOut(Catalogue& catalogue, Diagnostics& diagnostics);

/// Warns of what the forms of a message lose; of a catalogue without errors.
void checkForms(const Catalogue& catalogue, Diagnostics& diagnostics);

/// One file to be written; the name is relative to the output directory.
struct OutputFile
{
  std::string name;
  std::string text;
};

/// How to write a catalogue.
struct Emission
{
  std::string headLine;            ///< the first line of each file
  std::string name = "catalogue";  ///< of the catalogue: a C++ identifier
  unsigned shards = 0;             ///< the number of table files; 0: by the number of classes
  bool builtIn = false;  ///< the catalogue of the library itself, which every other one comes before
};

/// Takes the generated files one by one: together they may be large.
using TakeFile = std::function<void(const OutputFile& file)>;

/// All generated files of a laid-out catalogue. The same catalogue gives the same bytes.
void emit(const Catalogue& catalogue, const Emission& emission, const TakeFile& take);

// The emitters, one per artefact.
void emitTables(const Catalogue& catalogue, const Emission& emission, const TakeFile& take);
void emitRegistry(const Catalogue& catalogue, const Emission& emission, const TakeFile& take);
OutputFile emitHeader(const System& system, const Emission& emission);

/// Where the catalogues' objects are named: the inline namespace goes with CatalogueTables::currentVersion.
inline constexpr const char* objectNamespace = "kwxml::catalogues::inline v2";

// The arrays between these lines are seen inside the catalogue's library alone, however it is compiled.
inline constexpr const char* hiddenFromHere = "#pragma GCC visibility push(hidden)\n";
inline constexpr const char* hiddenToHere = "#pragma GCC visibility pop\n";

}  // namespace kwxml::catalogue
