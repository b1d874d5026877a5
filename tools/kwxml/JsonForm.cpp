#include "JsonForm.h"

#include "Command.h"
#include "Files.h"
#include "TextPlaces.h"

#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>

#include <fstream>
#include <utility>

namespace kwxml::tool {

namespace {

constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// Finds where a document ends in a text that comes in pieces. What begins with no bracket is none, and ends
/// with its line.
class DocumentEnd
{
public:
  /// The bytes of the piece that belong to the document, and whether it ends with them.
  std::size_t pass(std::string_view piece, bool& ends)
  {
    ends = true;
    for (std::size_t i = 0; i < piece.size(); ++i) {
      if (passes(piece[i])) {
        return i + 1;
      }
    }
    ends = false;
    return piece.size();
  }

private:
  bool passes(char c)
  {
    if (inText_) {
      inText_ = escaped_ || c != '"';
      escaped_ = !escaped_ && c == '\\';
      return false;
    }
    switch (c) {
      case '"':
        inText_ = true;
        return false;
      case '{':
      case '[':
        ++depth_;
        return false;
      case '}':
      case ']':
        return depth_ == 0 || --depth_ == 0;
      case '\n':
        return depth_ == 0 && begun_;
      default:
        begun_ = begun_ || blanks.find(c) == std::string_view::npos;
        return false;
    }
  }

  std::size_t depth_ = 0;
  bool begun_ = false;
  bool inText_ = false;
  bool escaped_ = false;
};

class JsonSource final : public MessageSource
{
public:
  JsonSource(const Input& input, const ReadOptions& options)
      : input_(input), options_(options), file_(input.path(), std::ios::binary)
  {
  }

  /// No more of the file is in memory than one document and a piece.
  Next next(ReadObserver& observer) override
  {
    const bool isFirst = !std::exchange(begun_, true);
    const TextPlace from = place_;
    const std::string document = nextDocument();
    place_.pass(document, 0, document.size());
    if (!isFirst && document.find_first_not_of(blanks) == std::string::npos) {
      return {.end = true};
    }
    InFile shifted(observer, from);
    KwXMLContextInfo context = contextFor(options_);
    std::unique_ptr<YMMessageBase> message = JSONDecoder(&context).unSerialize(document, &shifted);
    if (message == nullptr) {
      throw Failure(exitData, input_.name() + ": not a message in the form json");
    }
    return {.message = std::move(message)};
  }
  unsigned long long position() const override { return position_; }

private:
  std::string nextDocument()
  {
    std::string document;
    DocumentEnd end;
    for (bool ends = false; !ends;) {
      if (piece_.size() == at_ && !readPiece()) {
        break;
      }
      const std::size_t size = end.pass(std::string_view(piece_).substr(at_), ends);
      document.append(piece_, at_, size);
      at_ += size;
      position_ += size;
    }
    return document;
  }
  /// False at the end of the file.
  bool readPiece()
  {
    constexpr std::size_t size = 64 * 1024;
    piece_.resize(size);
    file_.read(piece_.data(), size);
    piece_.resize(static_cast<std::size_t>(file_.gcount()));
    at_ = 0;
    if (piece_.empty() && !file_.eof()) {
      throw Failure(exitData, "cannot read " + input_.name());
    }
    return !piece_.empty();
  }

  const Input& input_;
  const ReadOptions options_;
  std::ifstream file_;
  bool begun_ = false;
  std::string piece_;
  std::size_t at_ = 0;  ///< in it
  unsigned long long position_ = 0;
  TextPlace place_;
};

class JsonSink final : public MessageSink
{
public:
  JsonSink(Output& output, const WriteOptions& options) : output_(output), encoder_(options.flags) {}
  int encode(YMMessageBase& message) override
  {
    int lost = 0;
    if (encoder_.serialize(message, text_, &lost) != 0) {
      throw Failure(exitData, message.getTagName() + " cannot be written in the form json");
    }
    text_ += '\n';
    return lost;
  }
  void write() override { output_.append(text_); }

private:
  Output& output_;
  const JSONEncoder encoder_;
  std::string text_;
};

}  // namespace

bool looksLikeJson(std::string_view head, unsigned long long)
{
  head.remove_prefix(head.starts_with(byteOrderMark) ? byteOrderMark.size() : 0);
  const auto first = head.find_first_not_of(blanks);
  if (first == std::string_view::npos || head[first] != '{') {
    return false;
  }
  const auto second = head.find_first_not_of(blanks, first + 1);
  return second == std::string_view::npos || head[second] == '"' || head[second] == '}';
}

std::unique_ptr<MessageSource> jsonSource(const Input& input, const ReadOptions& options)
{
  return std::make_unique<JsonSource>(input, options);
}

std::unique_ptr<MessageSink> jsonSink(Output& output, const WriteOptions& options, LibraryLog&)
{
  return std::make_unique<JsonSink>(output, options);
}

}  // namespace kwxml::tool
