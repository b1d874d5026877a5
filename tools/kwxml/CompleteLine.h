// What shells ask while a command line of the tool is typed.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace kwxml::tool {

// Kinds of values, as the options of commands name them (commandline/Values.h).
inline constexpr const char* systemKind = "system";
inline constexpr const char* messageKind = "message";  ///< tag names of messages
inline constexpr const char* classKind = "class";      ///< those of enumerations, and systems, too

/// Writes to standard output what the last word can become, in the form that commandline/Completion.h says.
/// Names of classes and systems are those of the catalogue that the line names, or else the environment.
/// Never fails: a shell that gets no answer offers nothing.
void completeLine(CLI::App& app, const std::vector<std::string>& words) noexcept;

}  // namespace kwxml::tool
