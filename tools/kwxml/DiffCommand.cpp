// The command that shows in which fields two messages differ: diff.
#include "Command.h"
#include "Messages.h"
#include "PageForm.h"
#include "Report.h"

#include <commandline/Values.h>
#include <CLI/CLI.hpp>

#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/traverse/DifferencePage.h>
#include <kwxml/traverse/MessageDiff.h>

namespace kwxml::tool {

namespace {

struct DiffOptions
{
  std::string from;
  std::string to = "lines";
  std::string left;
  std::string right;
  std::string outputFile;
  ReadChoices read;
};

/// What is made of differences, handed on piece by piece.
class Differences
{
public:
  virtual ~Differences() = default;
  /// Begins a record; its number is 0 when there is one alone.
  virtual void setRecord(unsigned long long) {}
  /// Takes a record of each side; one of them may be null, where that side has no more.
  virtual void add(const YMMessageBase* left, const YMMessageBase* right) = 0;
  virtual void finish() = 0;
  virtual unsigned long long count() const = 0;
};

/// A line for each.
class Lines final : public Differences, private MessageDiffVisitor
{
public:
  explicit Lines(Output& output) : output_(output) {}

  /// Begins the paths of what follows: with the number of a record, or (0) with nothing.
  void setRecord(unsigned long long number) override
  {
    prefix_ = number == 0 ? "" : "#" + std::to_string(number);
  }
  void add(const YMMessageBase* left, const YMMessageBase* right) override
  {
    if (left != nullptr && right != nullptr) {
      diffMessages(*left, *right, *this);
    } else if (left != nullptr) {
      differs({MessageDifference::Kind::OnlyLeft, "", left->getTagName(), ""});
    } else {
      differs({MessageDifference::Kind::OnlyRight, "", "", right->getTagName()});
    }
  }
  void finish() override
  {
    output_.append(text_);
    text_.clear();
  }
  unsigned long long count() const override { return count_; }

private:
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
      finish();
    }
  }

  Output& output_;
  std::string prefix_;
  std::string text_;
  unsigned long long count_ = 0;
};

/// A page for people.
class Page final : public Differences
{
public:
  Page(Output& output, const DiffOptions& options)
      : page_(
            [&output](std::string_view text) {
              output.append(text);
              return true;
            },
            inputName(options.left), inputName(options.right), pageTime())
  {
  }
  void setRecord(unsigned long long number) override
  {
    record_ = number == 0 ? "" : "#" + std::to_string(number);
  }
  void add(const YMMessageBase* left, const YMMessageBase* right) override
  {
    check(page_.add(left, right, record_));
  }
  void finish() override { check(page_.finish()); }
  unsigned long long count() const override { return page_.count(); }

private:
  static void check(bool isTaken)
  {
    if (!isTaken) {
      throw Failure(exitData, "the page cannot be written");
    }
  }

  DifferencePage page_;
  std::string record_;
};

std::unique_ptr<Differences> differencesFor(Output& output, const DiffOptions& options)
{
  if (options.to == "page") {
    return std::make_unique<Page>(output, options);
  }
  return std::make_unique<Lines>(output);
}

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

ExitStatus diff(const DiffOptions& options, LibraryLog& log)
{
  if (isStandard(options.left) && isStandard(options.right)) {
    throw Failure(exitUsage, "A and B are both standard input");
  }
  Side left(options.left, options.from, log);
  Side right(options.right, options.from, log);
  const ReadOptions how{.strictness = strictness(options.read),
                        .passwordsAsReceived = !isPasswordKeyConfigured(),
                        .memoryLimit = memoryLimit(options.read)};
  left.input().open(how);
  right.input().open(how);
  Output output(options.outputFile);
  const auto differences = differencesFor(output, options);
  const bool many = left.isMany() || right.isMany();
  for (unsigned long long record = 1;; ++record) {
    left.read();
    right.read();
    // Behind a record that ends a file before its time nobody knows what the other one's would be held
    // against.
    if (!left.failure().empty() || !right.failure().empty() || (left.atEnd() && right.atEnd())) {
      break;
    }
    differences->setRecord(many || record > 1 ? record : 0);  // documents of XML count from the second on
    const bool both = left.message() != nullptr && right.message() != nullptr;
    if (both || (left.message() != nullptr && right.atEnd()) ||
        (right.message() != nullptr && left.atEnd())) {
      differences->add(left.message(), right.message());
    }
    progress(record);
  }
  showProgress({});
  differences->finish();
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
  return failed ? exitData : differences->count() > 0 ? exitDifferent : exitDone;
}

}  // namespace

void addDiffCommand(CLI::App& app, Session& session)
{
  const auto options = std::make_shared<DiffOptions>();
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
      "Exit status: 0 there is no difference, 1 there is one, 2 usage. It is 1 too, with a line on standard "
      "error,\n"
      "when A or B cannot be read: a message that has lost a field is not compared.\n\n"
      "Example:\n  kwxml diff order.xml changed.xml\n"
      "  ~\titems[1].price\t0.25\t0.3\n"
      "  -\tstatus.errorMessage\t\"\"\n"
      "  +\titems[2].name\t\t\"Saw\"\n"
      "  kwxml diff messages.dat expected.dat --from records | cut -f 2\n"
      "  kwxml diff order.xml changed.xml --to page -o differences.html",
      options->outputFile);
  command.add_option("A", options->left, "A message, or a file of them; - is standard input")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("")
      ->required();
  command.add_option("B", options->right, "What it is compared with; only one of them may be -")
      ->check(commandline::ofKind(commandline::fileKind))
      ->type_name("")
      ->required();
  addFromOption(command, options->from, "both inputs");
  command
      .add_option("--to", options->to,
                  "Form of the output (lines, page); default: lines. A page has A and B side by side")
      ->check(formName({"lines", "page"}))
      ->type_name("FORM");
  addReadOptions(command, options->read);
  command.callback([options, &session] {
    session.run = [options, &session](LibraryLog& log) { session.status = diff(*options, log); };
  });
}

}  // namespace kwxml::tool
