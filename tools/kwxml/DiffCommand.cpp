// The command that shows in which fields two messages differ: diff.
#include "Command.h"
#include "Messages.h"
#include "Report.h"

#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/traverse/MessageDiff.h>

namespace kwxml::tool {

namespace {

struct Options
{
  std::string from;
  std::string left;
  std::string right;
  std::string outputFile;
  ReadChoices read;
};

/// The lines of the output, handed on piece by piece.
class Lines : public MessageDiffVisitor
{
public:
  explicit Lines(Output& output) : output_(output) {}

  /// Begins the paths of what follows: with the number of a record, or (0) with nothing.
  void setRecord(unsigned long long number) { prefix_ = number == 0 ? "" : "#" + std::to_string(number); }

  void differs(const MessageDifference& difference) override
  {
    const bool inLeft = difference.kind != MessageDifference::Kind::OnlyRight;
    const bool inRight = difference.kind != MessageDifference::Kind::OnlyLeft;
    ++count_;
    text_ += !inRight ? '-' : !inLeft ? '+' : '~';
    text_ += '\t';
    text_ += prefix_;
    text_ += prefix_.empty() || difference.path.empty() ? "" : " ";
    text_ += prefix_.empty() && difference.path.empty() ? "(message)" : difference.path;
    text_ += '\t';
    text_ += difference.left;
    if (inRight) {
      text_ += '\t';
      text_ += difference.right;
    }
    text_ += '\n';
    constexpr std::size_t piece = 64 * 1024;
    if (text_.size() >= piece) {
      flush();
    }
  }
  void flush()
  {
    output_.append(text_);
    text_.clear();
  }
  unsigned long long count() const { return count_; }

private:
  Output& output_;
  std::string prefix_;
  std::string text_;
  unsigned long long count_ = 0;
};

/// One of the two inputs.
class Side
{
public:
  Side(const std::string& file, const std::string& from, LibraryLog& log) : input_(file, from, log) {}

  MessageInput& input() { return input_; }
  bool isMany() const { return input_.form().many; }
  /// The record last read; null when it is lost, or when there was none.
  const YMMessageBase* message() const { return record_.message.get(); }
  bool atEnd() const { return record_.end; }
  /// Why no more can be read; empty while that is not so.
  const std::string& failure() const { return failure_; }
  unsigned long long lost() const { return lost_; }

  void read()
  {
    if (record_.end) {
      return;
    }
    try {
      record_ = input_.next(isMany() ? "it is not compared" : "nothing is compared");
    } catch (const Failure& failure) {
      if (!isMany() || input_.records() == 0) {
        throw;
      }
      failure_ = failure.what();
      return;
    }
    if (!record_.end && record_.message == nullptr) {
      if (!isMany()) {  // it is all there is
        throw Failure(exitData, record_.why);
      }
      report(record_.why);
      ++lost_;
    }
  }

private:
  MessageInput input_;
  MessageInput::Record record_;
  std::string failure_;
  unsigned long long lost_ = 0;
};

void progress(unsigned long long record)
{
  constexpr unsigned long long step = 1000;
  if (record % step == 0) {
    showProgress(std::to_string(record) + " records");
  }
}

ExitStatus diff(const Options& options, LibraryLog& log)
{
  if (isStandard(options.left) && isStandard(options.right)) {
    throw Failure(exitUsage, "A and B are both standard input");
  }
  Side left(options.left, options.from, log);
  Side right(options.right, options.from, log);
  const ReadOptions how{.strictness = strictness(options.read),
                        .passwordsAsReceived = !isPasswordKeyConfigured()};
  left.input().open(how);
  right.input().open(how);
  Output output(options.outputFile);
  Lines lines(output);
  const bool many = left.isMany() || right.isMany();
  for (unsigned long long record = 1;; ++record) {
    left.read();
    right.read();
    // Behind a record that ends a file before its time nobody knows what the other one's would be held
    // against.
    if (!left.failure().empty() || !right.failure().empty() || (left.atEnd() && right.atEnd())) {
      break;
    }
    lines.setRecord(many || record > 1 ? record : 0);  // documents of XML count from the second on
    if (left.message() != nullptr && right.message() != nullptr) {
      diffMessages(*left.message(), *right.message(), lines);
    } else if (left.message() != nullptr && right.atEnd()) {
      lines.differs({MessageDifference::Kind::OnlyLeft, "", left.message()->getTagName(), ""});
    } else if (right.message() != nullptr && left.atEnd()) {
      lines.differs({MessageDifference::Kind::OnlyRight, "", "", right.message()->getTagName()});
    }
    progress(record);
  }
  showProgress({});
  lines.flush();
  output.commit();
  bool failed = false;
  for (Side* side : {&left, &right}) {
    if (!side->failure().empty()) {
      report(side->failure());
      failed = true;
    }
    if (side->lost() > 0) {
      report(side->input().name() + ": " + std::to_string(side->lost()) + " of " +
             std::to_string(side->input().records()) +
             (side->input().records() == 1 ? " record" : " records") + " not compared");
      failed = true;
    }
  }
  return failed ? exitData : lines.count() > 0 ? exitDifferent : exitDone;
}

}  // namespace

void addDiffCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<Options>();
  CLI::App& command = addCommand(
      app, "diff",
      "Shows the fields in which two messages differ, a line each; the exit status is 1 when there "
      "are any.",
      "A line has columns with tabs between them: \"-\" (only A has it), \"+\" (only B) or \"~\" "
      "(changed), the path of\n"
      "the field, the value of A, the value of B. Texts are quoted and escaped, so that neither "
      "tabs nor line\n"
      "ends are in them. Of passwords and byte strings it is only said that they differ; passwords "
      "are decrypted\n"
      "when there is a key for it, and compared as they were received otherwise.\n\n"
      "The forms records and batch, and documents of XML behind one another, are compared one by one:\n"
      "\"#2 items[0].price\" is in the second one.\n\n"
      "The exit status is 0 when there is no difference and 1 when there is one. It is 1 too, with a line on "
      "standard\n"
      "error, when A or B cannot be read: a message that has lost a field is not compared.\n\n"
      "Example:\n  kwxml diff order.xml changed.xml\n"
      "  ~\titems[1].price\t0.25\t0.3\n"
      "  -\tstatus.errorMessage\t\"\"\n"
      "  +\titems[2].name\t\t\"Saw\"\n"
      "  kwxml diff messages.dat expected.dat --from records | cut -f 2",
      options->outputFile);
  command.add_option("A", options->left, "A message, or a file of them; - is standard input")
      ->type_name("")
      ->required();
  command.add_option("B", options->right, "What it is compared with; only one of them may be -")
      ->type_name("")
      ->required();
  addFromOption(command, options->from, "both inputs");
  addReadOptions(command, options->read);
  command.callback([options, &session] {
    session.run = [options, &session](LibraryLog& log) { session.status = diff(*options, log); };
  });
}

}  // namespace kwxml::tool
