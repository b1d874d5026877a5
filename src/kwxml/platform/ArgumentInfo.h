// The arguments of an event: an ordered list of numbers and texts, each with a kind that tells receivers what
// it is. The user is the event's reporter; the kinds' numbers are fixed, since they leave the process.
#pragma once

#include <kwxml/platform/CxxStandard.h>

#include <concepts>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

class ArgumentInfo
{
public:
  enum Kind : int
  {
    kInt = 5,
    kUnsignedInt = 6,
    kLong = 7,
    kUnsignedLong = 8,
    kLongLong = 9,
    kUnsignedLongLong = 10,
    kString = 11,
  };

  struct Argument
  {
    using Value =
        std::variant<int, unsigned int, long, unsigned long, long long, unsigned long long, std::string>;

    int kind = 0;  // a Kind where the reporter kept to them; any other number is kept as given
    Value value;

    /// The value as a T, whatever the kind says. A number that T cannot hold is reduced to T's bits, a text
    /// reads as the number 0, a number as its decimal text.
    template <class T>
    requires((std::integral<T> && !std::same_as<T, bool>) || std::same_as<T, std::string>) T as()
    const
    {
      return std::visit(
          [](const auto& held) -> T {
            constexpr bool isText = std::is_same_v<std::decay_t<decltype(held)>, std::string>;
            if constexpr (std::is_same_v<T, std::string>) {
              if constexpr (isText) {
                return held;
              } else {
                return std::to_string(held);
              }
            } else if constexpr (isText) {
              return T{};
            } else {
              return static_cast<T>(held);  // modulo 2^n, also for signed types
            }
          },
          value);
    }

    friend bool operator==(const Argument&, const Argument&) = default;
  };
  using const_iterator = std::vector<Argument>::const_iterator;

  int NoOfArgs() const { return static_cast<int>(arguments_.size()); }

  /// Appends the value. The kind is stored as given, also one that does not fit the value's type.
  void AddArgument(int value, int kind);
  void AddArgument(unsigned int value, int kind);
  void AddArgument(long value, int kind);
  void AddArgument(unsigned long value, int kind);
  void AddArgument(long long value, int kind);
  void AddArgument(unsigned long long value, int kind);
  void AddArgument(std::string value, int kind);
  /// A null text is an empty one.
  void AddArgument(const char* value, int kind);

  void Clear() { arguments_.clear(); }

  /// In the order of adding. Iterators and references hold until the next AddArgument or Clear.
  const std::vector<Argument>& arguments() const { return arguments_; }
  const_iterator begin() const { return arguments_.begin(); }
  const_iterator end() const { return arguments_.end(); }

  friend bool operator==(const ArgumentInfo&, const ArgumentInfo&) = default;

private:
  std::vector<Argument> arguments_;
};
