// A page of the manual as what it says, and its two looks: for man, and as plain text.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kwxml::commandline {

struct Block
{
  enum class Kind
  {
    Section,    ///< a heading; page titles are in capitals
    Part,       ///< a heading below it
    Paragraph,  ///< filled; its line ends count as blanks
    Literal,    ///< lines that stay as they are
    Item,       ///< term and argument, and behind them the text, filled
  };
  Kind kind;
  std::string text;
  std::string term = {};      ///< to be typed as it stands
  std::string argument = {};  ///< what the user puts there
};

struct Page
{
  std::string name;
  char section;  ///< of the manual: '1' programs, '5' files
  std::string summary;
  std::vector<Block> blocks;

  /// The name of the page's file: name.section.
  std::string fileName() const { return name + '.' + section; }
};

/// The blocks of a text of help. Paragraphs have empty lines between them, and lines that begin with blanks
/// stay as they are. "Example:", "Exit status:" and "Environment:" at the beginning of a paragraph begin
/// sections.
std::vector<Block> blocksOf(std::string_view help);

/// The page in the language of man. `version` names the program and its version ("kwxml 1.0"): it stands
/// where others have a date, which would make other bytes each day.
std::string toRoff(const Page& page, const std::string& version);

/// The blocks as text, in lines of at most 100 columns where no word is longer.
std::string toText(const std::vector<Block>& blocks);

}  // namespace kwxml::commandline
