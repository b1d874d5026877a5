#include <kwxml/traverse/DifferencePage.h>

#include <kwxml/text/ShownText.h>
#include <kwxml/traverse/MessageDiff.h>
#include <kwxml/traverse/PageShell.h>
#include <kwxml/traverse/PageText.h>

namespace kwxml {

namespace {

using Kind = MessageDifference::Kind;

/// The style and the words that mark a row.
struct Mark
{
  const char* style;
  const char* words;
};

Mark markOf(Kind kind)
{
  switch (kind) {
    case Kind::OnlyLeft:
      return {"left", "only in A"};
    case Kind::OnlyRight:
      return {"right", "only in B"};
    case Kind::Changed:
      return {"changed", "changed"};
    case Kind::Equal:
      break;
  }
  return {"equal", "equal"};
}

constexpr std::size_t mostRows = 1000;  ///< of a table

/// Makes tables of values beside each other, those of equal ones folded.
class Tables : public MessageDiffVisitor
{
public:
  void differs(const MessageDifference& difference) override
  {
    const bool isEqual = difference.kind == Kind::Equal;
    if (isEqual != isEqual_ || count_ == mostRows) {
      end();
      isEqual_ = isEqual;
    }
    ++count_;
    const Mark mark = markOf(difference.kind);
    rows_ += "<tbody class=\"";
    rows_ += mark.style;
    rows_ += "\"><tr><th scope=\"row\">";
    appendEscaped(rows_, difference.path.empty() ? "(message)" : difference.path);
    rows_ += "</th><td>";
    value(difference.kind == Kind::OnlyRight, difference.left);
    rows_ += "</td><td>";
    value(difference.kind == Kind::OnlyLeft, difference.right);
    rows_ += "</td><td>";
    rows_ += mark.words;
    rows_ += "</td></tr></tbody>\n";
  }

  std::string text()
  {
    end();
    return std::move(markup_);
  }

private:
  /// Differences have texts quoted and escaped; in a box of their own they have their lines.
  void value(bool isAbsent, std::string_view value)
  {
    std::string text;
    if (isAbsent) {
      rows_ += "–";
    } else if (value.size() >= 2 && value.front() == '"' &&
               unquoteShown(value.substr(1, value.size() - 2), text, "\"\\")) {
      appendTextBox(rows_, text);
    } else {
      appendValueBox(rows_, value);
    }
  }

  void end()
  {
    if (count_ > 0) {
      markup_ += isEqual_
                     ? "<details class=\"g\"><summary>" + countText(count_, "equal value") + "</summary>\n"
                     : "";
      markup_ +=
          "<div class=\"w\"><table class=\"d\">\n<thead><tr><th scope=\"col\">Path</th><th "
          "scope=\"col\">A</th><th scope=\"col\">B</th><th scope=\"col\">What</th></tr></thead>\n" +
          rows_ + "</table></div>\n";
      markup_ += isEqual_ ? "</details>\n" : "";
    }
    rows_.clear();
    count_ = 0;
  }

  std::string markup_;
  std::string rows_;
  std::size_t count_ = 0;
  bool isEqual_ = false;
};

}  // namespace

struct DifferencePage::Parts
{
  PageShell shell;
  std::size_t count = 0;
};

DifferencePage::DifferencePage(TakeText take, std::string_view left, std::string_view right,
                               std::string_view made)
    : parts_(new Parts{PageShell(
          std::move(take), {.title = "Differences",
                            .textsName = "Result",
                            .facts = {{"A", lineOf(left)}, {"B", lineOf(right)}, {"Made", lineOf(made)}},
                            .hasUnset = false})})
{
}

DifferencePage::~DifferencePage() = default;

bool DifferencePage::add(const YMMessageBase* left, const YMMessageBase* right, std::string_view record)
{
  const auto nameOf = [](const YMMessageBase& message) {
    return message.getClass() != nullptr ? message.getTagName() : std::string("(no class)");
  };
  Tables tables;
  std::size_t count = 1;
  if (left != nullptr && right != nullptr) {
    count = diffMessages(*left, *right, tables, DiffExtent::Everything);
  } else if (left != nullptr) {
    tables.differs({Kind::OnlyLeft, "", nameOf(*left), ""});
  } else {
    tables.differs({Kind::OnlyRight, "", "", nameOf(*right)});
  }
  parts_->count += count;
  PageShell::Section section;
  section.name = "Differences: " + lineOf(nameOf(left != nullptr ? *left : *right));
  section.body = tables.text();
  section.texts = count == 0 ? "no difference" : countText(count, "difference");
  section.note = lineOf(record);
  return parts_->shell.add(std::move(section));
}

bool DifferencePage::finish()
{
  return parts_->shell.finish({});
}

std::size_t DifferencePage::count() const
{
  return parts_->count;
}

}  // namespace kwxml
