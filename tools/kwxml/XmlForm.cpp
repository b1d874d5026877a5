#include "XmlForm.h"

#include "Command.h"
#include "Digits.h"
#include "Files.h"
#include "Report.h"
#include "TextPlaces.h"

#include <kwxml/codec/Decode.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/xml/XMLSerializer.h>

#include <utility>

namespace kwxml::tool {
namespace {

class XmlSource final : public MessageSource
{
public:
  XmlSource(const Input& input, const ReadOptions& options) : input_(input), options_(options) {}

  /// Several documents may stand one behind the other, as the messages of other forms do.
  Next next(ReadObserver& observer) override
  {
    if (first_) {
      bytes_ = input_.all();
    } else if (at_ == bytes_.size()) {
      return {.end = true};
    }
    first_ = false;
    const std::size_t size = firstDocument(std::string_view(bytes_).substr(at_));
    const bool isWhole = size == bytes_.size();
    const TextPlace from = place_;
    const std::string document = isWhole ? std::exchange(bytes_, {}) : bytes_.substr(at_, size);
    at_ = isWhole ? 0 : at_ + size;
    if (!isWhole) {
      place_.pass(document, 0, document.size());
    }
    InFile shifted(observer, from);
    KwXMLContextInfo context = contextFor(options_);
    std::unique_ptr<YMMessageBase> message(XMLDecoder().unSerialize(document, &context, &shifted));
    if (message == nullptr) {
      throw Failure(exitData, input_.name() + ": not a message in the form xml");
    }
    return {.message = std::move(message)};
  }

private:
  const Input& input_;
  const ReadOptions options_;
  bool first_ = true;
  std::string bytes_;
  std::size_t at_ = 0;
  TextPlace place_;
};

class XmlSink final : public MessageSink
{
public:
  XmlSink(Output& output, const WriteOptions& options) : output_(output), options_(options) {}
  int encode(YMMessageBase& message) override
  {
    XMLSerializer serializer(options_.flags);
    if (serializer.serialize(message, text_, !options_.xmlDeclaration) != 0) {
      throw Failure(exitData, message.getTagName() + " cannot be written in the form xml");
    }
    if (!text_.ends_with('\n')) {
      text_ += '\n';
    }
    if (options_.flags.exactNumbers == 0) {
      if (const std::string fields = fieldsThatLoseDigits(message); !fields.empty()) {
        report("warning: " + message.getTagName() + ": " + fields +
               ": written with six digits; --exact keeps all");
      }
    }
    return serializer.lost();
  }
  void write() override { output_.append(text_); }

private:
  Output& output_;
  const WriteOptions options_;
  std::string text_;
};

}  // namespace

std::unique_ptr<MessageSource> xmlSource(const Input& input, const ReadOptions& options)
{
  return std::make_unique<XmlSource>(input, options);
}

std::unique_ptr<MessageSink> xmlSink(Output& output, const WriteOptions& options, LibraryLog&)
{
  return std::make_unique<XmlSink>(output, options);
}

}  // namespace kwxml::tool
