// Whole files in and out: what a command reads and writes, standard input and output included.
#pragma once

#include <string>
#include <string_view>

namespace kwxml::tool {

/// The bytes of a file; "" and "-" are standard input. Throws Failure (data) with the system's reason.
std::string readInput(const std::string& file);

/// How a file is named in diagnostics.
std::string inputName(const std::string& file);

/// Writes the bytes to a file; "" and "-" are standard output. A file is written under another name beside
/// its place and takes that place complete, so that a failure leaves the former file as it was; what is no
/// regular file (a device, a pipe) is written as it stands. Throws Failure (data) with the system's reason.
void writeOutput(const std::string& file, std::string_view bytes);

/// The same for a text, which is given the line end that ends it if it has none.
void writeText(const std::string& file, std::string text);

/// Call first: a standard file that is closed would be given to the next file that is opened, and what is
/// meant for the one would go to the other. Afterwards its use fails.
void occupyStandardFiles();

}  // namespace kwxml::tool
