// What stands around the values of a page: heading, index, the controls, style and script. Not installed.
#pragma once

#include <kwxml/xml/TakeText.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kwxml {

/// How many sections, and how many elements of a collection, fold together.
inline constexpr std::size_t groupSize = 1000;

/// One page, written while it is made. Its sections become known one after the other, and whether there will
/// be more of them than one is what its heading depends on: so the first one is kept until that is known. The
/// index is written behind them and shown before them.
///
/// All texts are markup.
class PageShell
{
public:
  struct Section
  {
    std::string name;                                        ///< one line: what it is
    std::string texts;                                       ///< one line: what it is about; may be empty
    std::string link;                                        ///< to what is said of its class; may be empty
    std::string note;                                        ///< what else the index says
    std::vector<std::pair<std::string, std::string>> facts;  ///< what is said beside it, by name
    std::string body;
  };
  /// The title is that of a page with any other number of sections than one.
  struct Heading
  {
    std::string title;
    std::string textsName;  ///< what the texts of a section are
    std::vector<std::pair<std::string, std::string>> facts;
    bool hasUnset;  ///< whether there are unset fields to be shown on demand
  };

  PageShell(TakeText take, Heading heading) : take_(std::move(take)), heading_(std::move(heading)) {}

  /// False when the text was not taken.
  [[nodiscard]] bool add(Section section);
  /// Writes the end, with what stands behind the sections.
  [[nodiscard]] bool finish(std::string_view behind);

private:
  bool begin(const Section* only);
  bool writeFolded(const Section& section);
  bool write(std::string_view text) { return isTaken_ = isTaken_ && take_(text); }

  TakeText take_;
  const Heading heading_;
  Section first_;
  std::size_t count_ = 0;
  std::string index_;
  bool isTaken_ = true;
};

}  // namespace kwxml
