#include "Forms.h"

#include "Command.h"
#include "Files.h"
#include "Inspect.h"
#include "JsonForm.h"
#include "PageForm.h"
#include "Report.h"
#include "SummaryForms.h"
#include "XmlForm.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/platform/CYxFile.h>

#include <algorithm>
#include <utility>

namespace kwxml::tool {

namespace {

/// Looks past the zero bytes of UTF-16.
bool looksLikeXml(std::string_view head, unsigned long long)
{
  for (const std::string_view mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
    if (head.starts_with(mark)) {
      head.remove_prefix(mark.size());
      break;
    }
  }
  constexpr std::string_view blanks(" \t\r\n\0", 5);
  const auto first = head.find_first_not_of(blanks);
  const auto second =
      first == std::string_view::npos ? first : head.find_first_not_of(std::string_view("\0", 1), first + 1);
  if (second == std::string_view::npos || head[first] != '<') {
    return false;
  }
  const auto c = static_cast<unsigned char>(head[second]);
  return c >= 0x80 || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '?' || c == '!' || c == '_' ||
         c == ':';
}

/// The binary forms are told apart as for inspect, which explains what convert reads.
template <InspectForm Form>
bool looksLike(std::string_view head, unsigned long long size)
{
  return guessInspectForm(head, size) == Form;
}

// ---- Binary: one message

class BinarySource final : public MessageSource
{
public:
  BinarySource(const Input& input, const ReadOptions& options) : input_(input), options_(options) {}
  Next next(ReadObserver& observer) override
  {
    if (std::exchange(done_, true)) {
      return {.end = true};
    }
    const std::string bytes = input_.all();
    KwXMLContextInfo context = contextFor(options_);
    BinaryBuffer buffer;
    buffer.SetReadBuffer(bytes.data(), bytes.size(), true);
    std::unique_ptr<YMMessageBase> message(BinarySerializer::unserialize(buffer, &context, false, &observer));
    if (message == nullptr) {
      throw Failure(exitData, input_.name() + ": not a message in the form binary");
    }
    return {.message = std::move(message)};
  }

private:
  const Input& input_;
  const ReadOptions options_;
  bool done_ = false;
};

/// A sink of a binary form. These have no place for some values of some types; who writes one that a reader
/// will not find as it was is told.
class BinarySinkBase : public MessageSink
{
public:
  explicit BinarySinkBase(LibraryLog& log) : log_(log) {}

protected:
  static constexpr int binaryVersion = 2;  ///< that of files

  void warnOfLosses(YMMessageBase& message, const BinaryBuffer& written)
  {
    const LibraryLog::Silence silence(log_);
    BinaryBuffer buffer;
    buffer.SetReadBuffer(written.data(), written.length(), true);
    const std::unique_ptr<YMMessageBase> back(BinarySerializer::unserialize(buffer, nullptr, false));
    if (back == nullptr || !(*back == message)) {
      report("warning: " + message.getTagName() +
             " has values that its binary form does not keep (see docs/formats.md)");
    }
  }
  LibraryLog& log_;
};

class BinarySink final : public BinarySinkBase
{
public:
  BinarySink(Output& output, const WriteOptions& options, LibraryLog& log)
      : BinarySinkBase(log), output_(output), version_(options.binaryVersion)
  {
  }
  int encode(YMMessageBase& message) override
  {
    if (written_) {
      throw Failure(exitData, "the form binary holds one message; records and batch hold many");
    }
    int lost = 0;
    const BinarySerializerParameters parameters{.lost = &lost};
    if (BinarySerializer::serialize(message, buffer_, version_, &parameters) == 0) {
      throw Failure(exitData, message.getTagName() + " cannot be written in the form binary");
    }
    warnOfLosses(message, buffer_);
    return lost;
  }
  void write() override
  {
    bytes_.assign(buffer_.data(), buffer_.length());
    written_ = true;
  }
  void finish() override
  {
    if (!written_) {
      throw Failure(exitData, "there is no message to write in the form binary");
    }
    output_.append(bytes_);
  }

private:
  Output& output_;
  const int version_;
  BinaryBuffer buffer_;
  std::string bytes_;
  bool written_ = false;
};

// ---- Files of messages

/// A file of messages, by the library's handler.
class FileSource : public MessageSource
{
public:
  FileSource(const Input& input, const ReadOptions& options)
      : name_(input.name()), context_(contextFor(options))
  {
    handler_.setContext(&context_);
    CYxError error;
    if (!file_.Open(input.path().c_str(), CYxFile::Mode::Read, &error)) {
      throw Failure(exitData, "cannot read " + name_ + ": " + error.AsString());
    }
    handler_.setFile(&file_);
  }
  unsigned long long position() const override
  {
    return static_cast<unsigned long long>(std::max(file_.Tell(), 0LL));
  }

protected:
  [[noreturn]] void fail(const std::string& why) const
  {
    throw Failure(exitData, name_ + ": record " + std::to_string(number_) + " " + why);
  }
  std::string name_;
  KwXMLContextInfo context_;
  CYxFile file_;
  YMMessageBaseFileHandler handler_;
  unsigned long long number_ = 0;
};

class RecordsSource final : public FileSource
{
public:
  using FileSource::FileSource;
  Next next(ReadObserver& observer) override
  {
    handler_.setObserver(&observer);
    ++number_;
    YMMessageBase* message = nullptr;
    switch (handler_.GetObjectFromFile(message)) {
      case YMMessageBaseFileHandler::Success:
        return {.message = std::unique_ptr<YMMessageBase>(message)};
      case YMMessageBaseFileHandler::NothingMore:
        return {.end = true};
      case YMMessageBaseFileHandler::NoMemory:  // a record without bytes too
        return {};
      default:
        fail("cannot be read: the file ends inside it");
    }
  }
};

class BatchSource final : public FileSource
{
public:
  using FileSource::FileSource;
  Next next(ReadObserver& observer) override
  {
    handler_.setObserver(&observer);
    if (number_ > 0 && file_.IsEOF()) {
      return {.end = true};
    }
    std::vector<YMMessageBase*> messages;
    if (number_++ == 0) {
      if (handler_.readBinaryBufferFromFile(messages, 0) != YMMessageBaseFileHandler::Success) {
        throw Failure(exitData, name_ + ": not messages in the form batch");
      }
      return next(observer);
    }
    const int result = handler_.readBinaryBufferFromFile(messages, 1);
    std::unique_ptr<YMMessageBase> message(messages.empty() ? nullptr : messages.front());
    if (result != YMMessageBaseFileHandler::Success) {
      number_ -= 1;
      fail("cannot be read");
    }
    return {.message = std::move(message)};
  }
};

class FileSink : public BinarySinkBase
{
public:
  FileSink(Output& output, const WriteOptions&, LibraryLog& log) : BinarySinkBase(log)
  {
    CYxError error;
    if (!file_.Open(output.path().c_str(), CYxFile::Mode::Write, &error)) {
      throw Failure(exitData, std::string("cannot write the output: ") + error.AsString());
    }
    handler_.setFile(&file_);
  }

  /// The handler encodes the message once more.
  int encode(YMMessageBase& message) override
  {
    BinaryBuffer buffer;
    int lost = 0;
    const BinarySerializerParameters parameters{.lost = &lost};
    message_ = &message;
    length_ = BinarySerializer::serialize(message, buffer, binaryVersion, &parameters);
    if (length_ == 0) {
      throw Failure(exitData, message.getTagName() + " cannot be written");
    }
    warnOfLosses(message, buffer);
    return lost;
  }
  void write() override
  {
    if (append(*message_) != YMMessageBaseFileHandler::Success) {
      throw Failure(exitData, message_->getTagName() + " cannot be written");
    }
  }

protected:
  virtual int append(YMMessageBase& message) = 0;
  CYxFile file_;
  YMMessageBaseFileHandler handler_;
  unsigned long length_ = 0;

private:
  YMMessageBase* message_ = nullptr;
};

class RecordsSink final : public FileSink
{
  using FileSink::FileSink;
  int append(YMMessageBase& message) override { return handler_.AddObjectToFile(message); }
};

class BatchSink final : public FileSink
{
  using FileSink::FileSink;
  int encode(YMMessageBase& message) override
  {
    constexpr unsigned long longest = 9999;
    const int lost = FileSink::encode(message);
    if (length_ > longest) {
      report(message.getTagName() + " takes " + std::to_string(length_) +
             " bytes; a record of a batch holds 9999 at most");
      return lost + 1;
    }
    return lost;
  }
  int append(YMMessageBase& message) override { return appendAll({&message}); }
  /// A batch without messages has its version all the same.
  void finish() override
  {
    if (appendAll({}) != YMMessageBaseFileHandler::Success) {
      throw Failure(exitData, "the batch cannot be written");
    }
  }
  int appendAll(std::vector<YMMessageBase*> messages)
  {
    CYxError error;
    if (file_.Seek(0, CYxFile::Origin::Begin, &error) < 0) {
      throw Failure(exitData, std::string("the batch cannot be written: ") + error.AsString());
    }
    return handler_.appendBinaryBufferToFile(messages);
  }
};

template <class Source>
std::unique_ptr<MessageSource> sourceOf(const Input& input, const ReadOptions& options)
{
  return std::make_unique<Source>(input, options);
}
template <class Sink>
std::unique_ptr<MessageSink> binarySink(Output& output, const WriteOptions& options, LibraryLog& log)
{
  return std::make_unique<Sink>(output, options, log);
}

}  // namespace

KwXMLContextInfo contextFor(const ReadOptions& options)
{
  KwXMLContextInfo context;
  context.setMemoryLimit(options.memoryLimit);
  if (options.passwordsAsReceived) {
    context.setPasswordEncType(Annotation::PASS_THROUGH);
  }
  return context;
}

std::span<const Form> forms()
{
  static constexpr Form table[] = {
      {"xml", looksLikeXml, xmlSource, xmlSink, false, true},
      {"json", looksLikeJson, jsonSource, jsonSink, false, true},
      {"binary", looksLike<InspectForm::Binary>, sourceOf<BinarySource>, binarySink<BinarySink>, false, true},
      {"records", looksLike<InspectForm::Records>, sourceOf<RecordsSource>, binarySink<RecordsSink>, true,
       true},
      {"batch", looksLike<InspectForm::Batch>, sourceOf<BatchSource>, binarySink<BatchSink>, true, true},
      {"text", nullptr, nullptr, textSink, false, false},
      {"html", nullptr, nullptr, htmlSink, false, false},
      {"gui", nullptr, nullptr, guiSink, false, false},
      {"page", nullptr, nullptr, pageSink, false, false},
  };
  return table;
}

const Form* findForm(std::string_view name)
{
  for (const Form& form : forms()) {
    if (name == form.name) {
      return &form;
    }
  }
  return nullptr;
}

const Form& guessForm(std::string_view head, unsigned long long size)
{
  // XML last: what the binary forms are told by never stands in it.
  const std::span<const Form> all = forms();
  const auto found = std::find_if(all.rbegin(), all.rend(), [&](const Form& form) {
    return form.source != nullptr && form.looksLike(head, size);
  });
  return found != all.rend()                         ? *found
         : head.find('\0') == std::string_view::npos ? *findForm("xml")
                                                     : *findForm("binary");
}

std::vector<std::string> formNames(bool readable)
{
  std::vector<std::string> names;
  for (const Form& form : forms()) {
    if (readable ? form.source != nullptr : form.sink != nullptr) {
      names.emplace_back(form.name);
    }
  }
  return names;
}

}  // namespace kwxml::tool
