// Places in a file of texts that are read one by one.
#pragma once

#include <kwxml/reading/ReadObserver.h>
#include <kwxml/text/TextPlace.h>

namespace kwxml::tool {

/// Hands problems on with their places in the file.
class InFile : public ReadObserver
{
public:
  /// `begin`: where the text begins.
  InFile(ReadObserver& observer, TextPlace begin) : observer_(observer), begin_(begin) {}
  void met(const Problem& problem) override
  {
    Problem shifted = problem;
    if (shifted.place.line != 0) {
      shifted.place.column += shifted.place.line == 1 ? begin_.column - 1 : 0;
      shifted.place.line += begin_.line - 1;
    }
    observer_.met(shifted);
  }

private:
  ReadObserver& observer_;
  const TextPlace begin_;
};

}  // namespace kwxml::tool
