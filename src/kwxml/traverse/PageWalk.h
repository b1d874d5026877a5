// The values of a message as the markup of a page. Not installed.
#pragma once

#include <kwxml/model/MessageInternal.h>
#include <kwxml/traverse/PageClasses.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

/// A set field that stands for something: records of type 0 have the bit of the first field, and do only
/// where that is hidden.
inline bool isShown(const YMMessageBase& message, const FieldDef& def)
{
  if (def.hash == 0 || !MessageAccess::isSet(message, def)) {
    return false;
  }
  const FieldDef& owner = message.getClass()->fields[def.fieldNumber];
  return &owner == &def || owner.hash == 0 || fieldTypeInfo(def.type).storage != Storage::None;
}

/// Shows one message as a tree of rows, lists and maps of messages of one class as tables. A row has the
/// name, the type and the value; what holds others can be folded. Long lists are folded in groups, so that a
/// browser lays out what is looked at alone.
///
/// Recursion is bounded by the nesting that encodings accept, and a level takes little of the stack.
class PageWalk
{
public:
  PageWalk(std::string& out, PageClasses& classes) : out_(out), classes_(classes) {}

  /// The values of the message; `depth` is 0 for the outermost.
  void message(const YMMessageBase& message, int depth);
  /// The number of values that have been shown.
  std::size_t count() const { return count_; }

private:
  /// An element of a list or map that is a message: its name in the path, as the content of an element.
  struct Item
  {
    std::string label;
    const YMMessageBase* message;
  };

  template <class Tag>
  [[gnu::noinline]] void field(Tag, const YMMessageBase& message, const FieldDef& def, int depth);
  /// The elements from `from` on as a list of lines, each with its number.
  template <FieldDataType Element, class List>
  void elements(const List& list, const FieldDef& def, std::size_t from, std::size_t to);
  template <FieldDataType Element, class List>
  [[gnu::noinline]] void list(const List& list, const YMMessageBase& message, const FieldDef& def, int depth);
  template <class Tag, class Map>
  [[gnu::noinline]] void map(const Map& map, const YMMessageBase& message, const FieldDef& def, int depth);
  /// Calls `group(from, to)` for the elements in groups, each folded when there are several.
  template <class Group>
  void inGroups(std::size_t size, Group group);

  void row(const YMMessageBase& message, const FieldDef& def);
  void textRow(const YMMessageBase& message, const FieldDef& def, std::string_view text);
  void beginFold(const YMMessageBase& message, const FieldDef& def, std::size_t size, std::string_view one,
                 int depth);
  void endFold();
  [[gnu::noinline]] void nested(const std::string& label, const YMMessageBase& message, bool isOpen,
                                int depth);
  void items(const std::vector<Item>& items, int depth);
  /// The columns of a table of the items; none when they are shown better otherwise.
  std::vector<const FieldDef*> columnsOf(const std::vector<Item>& items) const;
  void table(const std::vector<Item>& items, const std::vector<const FieldDef*>& columns, int depth);
  void tableRow(const Item& item, const std::vector<const FieldDef*>& columns, int depth);
  void unset(const _ClassDef& cls, const std::vector<Item>& items);
  template <FieldDataType T, class Value>
  void value(const Value& value, const FieldDef& def, bool isAlone = false);
  void valueBox(std::string_view text, bool isAlone);
  /// The value of a field whose values are none that hold others. `isAlone`: nothing stands beside it.
  void scalar(const YMMessageBase& message, const FieldDef& def, bool isAlone);

  std::string& out_;
  PageClasses& classes_;
  std::size_t count_ = 0;
  int tables_ = 0;  ///< that are open
};

}  // namespace kwxml
