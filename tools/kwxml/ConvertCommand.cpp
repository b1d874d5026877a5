// The command that turns a message of one form into another: convert.
#include "Command.h"
#include "Messages.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <vector>

namespace kwxml::tool {

namespace {

struct ConvertOptions
{
  std::string from;
  std::vector<std::string> inputFiles;
  std::string outputFile;
  ReadChoices read;
  WriteChoices write;
};

/// How far a long conversion has come.
void progress(unsigned long long records, unsigned long long position, unsigned long long size)
{
  constexpr unsigned long long step = 1000;
  if (records % step == 0) {
    showProgress(std::to_string(records) + " records, " +
                 std::to_string(size == 0 ? 100 : position * 100 / size) + " %");
  }
}

std::string leftOut(const MessageInput& input, unsigned long long count)
{
  return input.name() + ": " + std::to_string(count) + " of " + std::to_string(input.records()) +
         (input.records() == 1 ? " record" : " records") + " left out";
}

/// One output with the messages of any number of inputs.
class Conversion
{
public:
  Conversion(const ConvertOptions& options, LibraryLog& log)
      : options_(options),
        log_(log),
        output_(options.outputFile),
        sink_(findForm(options.write.to)->sink(output_, writeOptions(options.write), log))
  {
  }

  void add(const std::string& file)
  {
    MessageInput input(file, options_.from, log_);
    input.open(readOptions(options_.read, options_.write));
    std::string end;
    const unsigned long long bad = addAll(input, end);
    records_ += input.records();
    bad_ += bad;
    if (!end.empty()) {
      failures_.push_back(std::move(end));
    }
    if (bad > 0) {
      failures_.push_back(leftOut(input, bad));
    }
  }

  /// After a failure: what standard output has got so far stays, and gets its end.
  void breakOff()
  {
    if (isWritten_ && isStandard(options_.outputFile)) {
      sink_->breakOff();
      output_.commit();
    }
  }

  /// A former output stays when there is nothing to replace it with.
  void finish()
  {
    showProgress({});
    if (bad_ == 0 || bad_ < records_) {
      sink_->finish();
      output_.commit();
    }
    for (std::size_t i = 0; i + 1 < failures_.size(); ++i) {
      report(failures_[i]);
    }
    if (!failures_.empty()) {
      throw Failure(exitData, failures_.back());
    }
  }

private:
  /// Gives the number of records that were lost; `end`: why not all were read.
  unsigned long long addAll(MessageInput& input, std::string& end)
  {
    const bool many = input.form().many;
    const char* const consequence = many ? "it is left out"
                                    : isWritten_ && isStandard(options_.outputFile)
                                        ? "nothing more is written"
                                        : "nothing is written";
    unsigned long long bad = 0;
    while (true) {
      MessageInput::Record record;
      try {
        record = input.next(consequence);
      } catch (const Failure& failure) {
        if (!many || input.records() == 0) {
          throw;
        }
        end = failure.what();  // what has been read is delivered
        return bad;
      }
      if (record.end) {
        return bad;
      }
      const std::string why =
          record.message == nullptr ? record.why : write(*record.message, input, consequence);
      if (!why.empty()) {
        // A record that is lost does not lose the others; a single message is all there is.
        if (!many) {
          throw Failure(exitData, why);
        }
        report(why);
        ++bad;
      }
      progress(input.records(), input.position(), input.size());
    }
  }
  std::string write(YMMessageBase& message, const MessageInput& input, const char* consequence)
  {
    sink_->from(input.recordName());
    std::string why = losses(sink_->encode(message), input.recordName(), "writing", consequence);
    if (why.empty()) {
      sink_->write();
      isWritten_ = true;
    }
    return why;
  }

  const ConvertOptions& options_;
  LibraryLog& log_;
  Output output_;
  std::unique_ptr<MessageSink> sink_;
  unsigned long long records_ = 0;
  unsigned long long bad_ = 0;
  bool isWritten_ = false;
  std::vector<std::string> failures_;
};

void convert(const ConvertOptions& options, LibraryLog& log)
{
  refuseIdleOptions(options.write);
  if (std::count_if(options.inputFiles.begin(), options.inputFiles.end(), isStandard) > 1) {
    throw Failure(exitUsage, "standard input is named more than once");
  }
  Conversion conversion(options, log);
  try {
    if (options.inputFiles.empty()) {
      conversion.add("");
    }
    for (const std::string& file : options.inputFiles) {
      conversion.add(file);
    }
  } catch (const Failure&) {
    conversion.breakOff();
    throw;
  }
  conversion.finish();
}

}  // namespace

void addConvertCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<ConvertOptions>();
  CLI::App& command = addCommand(
      app, "convert", "Turns messages of one form into another.",
      "A field that cannot be read or written is an error: nothing is written "
      "then. Attributes and elements that\n"
      "the class of the message does not have are passed over, with a warning. Several FILEs, and several "
      "documents\n"
      "one behind the other in a file, are read one by one. Documents of XML with a document type, a "
      "processing\ninstruction or namespaces, and in other encodings than UTF-8, only as the last.\n\n"
      "Passwords are decrypted and encrypted with the key file that the settings "
      "name. The settings are the INI\n"
      "file that the environment variable KWXML_SETTINGS names; kwxml key create "
      "makes a key file:\n\n"
      "  [Password]\n  keyfile = /etc/kwxml/password.key\n\n"
      "--mask-passwords needs no key: no password is decrypted, and none is shown in diagnostics.\n\n"
      "Example:\n  kwxml convert status.xml --readable\n"
      "  kwxml convert order.xml --elements --enum-names -o order-elements.xml\n"
      "  generate | kwxml convert --no-declaration > message.xml\n"
      "  kwxml convert --to json monday/*.xml > monday.jsonl\n"
      "  kwxml convert --to records monday/*.xml -o monday.dat\n"
      "  kwxml convert --to binary status.xml -o status.bin\n"
      "  kwxml convert --to page order.xml -o order.html\n"
      "  kwxml convert --from records messages.dat --no-declaration",
      options->outputFile);
  command.add_option("FILE", options->inputFiles, "The messages; - or nothing: standard input")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("");
  addFromOption(command, options->from, "the input");
  addReadOptions(command, options->read);
  addWriteOptions(command, options->write);
  command.callback(
      [options, &session] { session.run = [options](LibraryLog& log) { convert(*options, log); }; });
}

}  // namespace kwxml::tool
