// Matchers for GoogleTest. Only for programs that have GoogleTest; the library neither needs nor includes it.
#pragma once

#include <kwxml/traverse/MessageDiff.h>
#include <kwxml/traverse/MessageText.h>

#include <gtest/gtest-matchers.h>

#include <memory>
#include <ostream>
#include <string>

namespace kwxml {

/// Matches messages that equal a copy of the expected one (`YMMessageBase::operator==`). On a mismatch the
/// matcher prints each value that differs: `status.errorCode: 7, expected 8`. Passwords are masked.
///
///     EXPECT_THAT(answer, kwxml::EqualsMessage(expected));
class MessageMatcher
{
public:
  /// Keeps a copy of the message.
  explicit MessageMatcher(const YMMessageBase& expected)
      : expected_(std::make_shared<YMMessageBase>(expected))
  {
  }

  /// Whether the messages are equal; otherwise `listener`, which is not null, gets the differences. A null
  /// message does not match.
  bool MatchAndExplain(const YMMessageBase& actual, testing::MatchResultListener* listener) const
  {
    Explain explain(*listener);
    return diffMessages(actual, *expected_, explain) == 0;
  }
  bool MatchAndExplain(const YMMessageBase* actual, testing::MatchResultListener* listener) const
  {
    if (actual == nullptr) {
      *listener << "which is null";
    }
    return actual != nullptr && MatchAndExplain(*actual, listener);
  }
  /// Says what matches, as GoogleTest asks for it.
  void DescribeTo(std::ostream* out) const { *out << "equals " << *expected_; }
  /// Says what does not match, as GoogleTest asks for it.
  void DescribeNegationTo(std::ostream* out) const { *out << "does not equal " << *expected_; }

private:
  class Explain : public MessageDiffVisitor
  {
  public:
    explicit Explain(testing::MatchResultListener& out) : out_(out) {}
    void differs(const MessageDifference& found) override
    {
      out_ << "\n  " << (found.path.empty() ? "the message" : found.path) << ": "
           << (found.kind == MessageDifference::Kind::OnlyRight ? "nothing" : found.left) << ", expected "
           << (found.kind == MessageDifference::Kind::OnlyLeft ? "nothing" : found.right);
    }

  private:
    testing::MatchResultListener& out_;
  };

  std::shared_ptr<const YMMessageBase> expected_;
};

/// Matches messages, and pointers to messages, that equal `expected`.
inline testing::PolymorphicMatcher<MessageMatcher> EqualsMessage(const YMMessageBase& expected)
{
  return testing::MakePolymorphicMatcher(MessageMatcher(expected));
}

}  // namespace kwxml
