// What schema files hold, for people: the documentation in the grammar, and what the compiler's tables know
// beyond it.
#pragma once

#include <commandline/Manual.h>

namespace kwxml::catalogue {

/// The page of the manual, whose blocks are also the help on schemas. The XML parser must have been started.
commandline::Page schemaPage();

}  // namespace kwxml::catalogue
