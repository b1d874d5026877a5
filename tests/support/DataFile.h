// Cases and expected texts in files beside the tests.
//
// A file of cases holds what goes in and what must come out, one case below the other:
//
//   # a comment
//   input                    => output
//                            => a second line of output
//
// An input may have several lines; its output stands behind or below the last one. With KWXML_UPDATE=1 the
// files are written anew, with what comes out.
#pragma once

#include "support/LogCapture.h"

#include <kwxml/model/YMMessageBase.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace kwxml::test {

/// `answer` gets the input of each case, its lines divided by '\n', and gives the output, each line ended.
void expectCases(const std::string& path, const std::function<std::string(const std::string& input)>& answer);

/// The whole file, but for its last line end.
void expectGolden(const std::string& path, const std::string& actual);

/// The message that an input has as XML. Throws when there is none in it.
YMMessageBase fromXml(const std::string& xml);
/// The element of a message alone.
std::string toXml(YMMessageBase& message);

/// The lines of a log, each as "10 function: text".
std::string toText(const LogCapture& log);

/// The settings of an input "open a=b text=all the rest": "open" has an empty value, and text goes on to the
/// end.
class Settings
{
public:
  explicit Settings(const std::string& input);
  bool has(const std::string& name) const { return values_.contains(name); }
  std::string text(const std::string& name) const { return has(name) ? values_.at(name) : std::string(); }
  int number(const std::string& name, int otherwise = 0) const;

private:
  std::map<std::string, std::string> values_;
};

}  // namespace kwxml::test
