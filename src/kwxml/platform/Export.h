// Which names the shared libraries export: what public headers mark with KWXML_API, and nothing else.
#pragma once

/// Marks a class or function that the libraries export. They are compiled with hidden visibility, so a name
/// without the mark is a library's own.
#define KWXML_API __attribute__((visibility("default")))
