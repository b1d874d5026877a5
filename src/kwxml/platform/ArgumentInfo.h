// The arguments of an event. Who reports an event makes the list; the event's messages carry the list to its
// receivers.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <concepts>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

/// The arguments of an event: an ordered list of numbers and texts, each with a kind. A value: copies are
/// independent. A list belongs to one thread at a time.
class KWXML_API ArgumentInfo
{
public:
  /// Tells receivers of which type an argument is. The numbers are fixed, since they leave the process.
  enum Kind : int
  {
    kInt = 5,                ///< int
    kUnsignedInt = 6,        ///< unsigned int
    kLong = 7,               ///< long
    kUnsignedLong = 8,       ///< unsigned long
    kLongLong = 9,           ///< long long
    kUnsignedLongLong = 10,  ///< unsigned long long
    kString = 11,            ///< a text
  };

  /// One argument.
  struct Argument
  {
    /// Holds a number in the type in which it was added, or a text.
    using Value =
        std::variant<int, unsigned int, long, unsigned long, long long, unsigned long long, std::string>;

    int kind = 0;  ///< a Kind where the reporter used one; any other number is kept as given
    Value value;   ///< the number or the text itself

    /// The value as a T, whatever the kind says. A number that T cannot hold is reduced to T's lowest bits. A
    /// text gives the number 0. A number gives its decimal text.
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
  /// Goes over the arguments in the order of adding.
  using const_iterator = std::vector<Argument>::const_iterator;

  /// How many arguments the list has.
  int NoOfArgs() const { return static_cast<int>(arguments_.size()); }

  /// Appends the value. The kind is stored as given, also a kind that does not fit the value's type.
  void AddArgument(int value, int kind);
  void AddArgument(unsigned int value, int kind);
  void AddArgument(long value, int kind);
  void AddArgument(unsigned long value, int kind);
  void AddArgument(long long value, int kind);
  void AddArgument(unsigned long long value, int kind);
  void AddArgument(std::string value, int kind);
  /// Appends a copy of the zero-terminated text; null counts as an empty text.
  void AddArgument(const char* value, int kind);

  /// Removes all arguments.
  void Clear() { arguments_.clear(); }

  /// The arguments in the order of adding, owned by this object. Iterators and references hold until the next
  /// AddArgument() or Clear().
  const std::vector<Argument>& arguments() const { return arguments_; }
  /// The first of arguments().
  const_iterator begin() const { return arguments_.begin(); }
  /// Behind the last of arguments().
  const_iterator end() const { return arguments_.end(); }

  friend bool operator==(const ArgumentInfo&, const ArgumentInfo&) = default;

private:
  std::vector<Argument> arguments_;
};
