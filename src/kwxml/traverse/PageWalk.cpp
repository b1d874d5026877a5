#include <kwxml/traverse/PageWalk.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/model/Limits.h>
#include <kwxml/traverse/DiffText.h>
#include <kwxml/traverse/FieldWords.h>
#include <kwxml/traverse/PageShell.h>
#include <kwxml/traverse/PageText.h>

#include <algorithm>

namespace kwxml {

namespace {

constexpr std::size_t mostColumns = 24;      ///< a table with more is wider than anybody reads
constexpr std::size_t mostInCell = 8;        ///< elements of a list
constexpr std::size_t smallCollection = 20;  ///< what is open at first
constexpr int openDepth = 2;
/// Tables in tables get narrow; besides, they nest many elements, and browsers follow some 500.
constexpr int mostTables = 2;

/// A value, or a few of them, that can stand in a cell.
bool fitsCell(const YMMessageBase& message, const FieldDef& def)
{
  return visitFieldType(def.type, [&]<class Tag>(Tag) {
    if constexpr (ListValue<Tag> && Tag::info.element != FIELD_OBJECT) {
      const auto* list = MessageAccess::pointer<typename Tag::Value>(message, def.slot);
      return isSecret(def) || list == nullptr || list->size() <= mostInCell;
    } else {
      return isSecret(def) || InPlaceValue<Tag> || ByteString<Tag>;
    }
  });
}

/// What stands for an object that is not there, or that holds nothing.
template <class Tag>
constexpr std::string_view nothing()
{
  if constexpr (MessageValue<Tag>) {
    return "null";
  } else if constexpr (MapValue<Tag>) {
    return "{}";
  } else {
    return "[]";
  }
}

template <class Value>
bool isNothing(const Value* value)
{
  if constexpr (std::is_same_v<Value, YMMessageBase>) {
    return value == nullptr;
  } else {
    return value == nullptr || value->empty();
  }
}

/// A name is shown beside every value; what is said of it at length stands with its class.
constexpr std::size_t longestTitle = 300;

std::string bold(const std::string& markup)
{
  return "<b>" + markup + "</b>";
}

/// The name of a field, with what the catalogue says of it where a pointer rests on the name.
std::string fieldName(const YMMessageBase& message, const FieldDef& def)
{
  const PackedReference place{message.getSubsysID(), message.getClassIndex(), &Registry::of(message)};
  std::string markup = "<b";
  appendTitle(markup, docOf(place, *message.getClass(), def), longestTitle);
  markup += '>';
  appendLine(markup, def.getName());
  return markup + "</b>";
}

std::string elementLabel(long long number)
{
  std::string label = "[";
  appendNumber(label, number);
  return label + "]";
}

std::string keyLabel(long long key)
{
  return elementLabel(key);
}

std::string keyLabel(const std::string& key)
{
  std::string label;
  appendKeyBox(label, key);
  return label;
}

}  // namespace

// ---- Messages

void PageWalk::message(const YMMessageBase& message, int depth)
{
  const _ClassDef* const cls = message.getClass();
  if (cls == nullptr) {
    out_ += "<p>(no class)</p>\n";
    return;
  }
  if (depth >= maxMessageNesting) {
    out_ += "<p>(nested too deep to be shown)</p>\n";
    return;
  }
  bool isBegun = false;
  for (const FieldDef& def : *cls) {
    if (isShown(message, def)) {
      out_ += isBegun ? "" : "<ul>\n";
      isBegun = true;
      visitFieldType(def.type, [&](auto tag) { field(tag, message, def, depth); });
    }
  }
  out_ += isBegun ? "</ul>\n" : "<p>(no field is set)</p>\n";
  unset(*cls, {{{}, &message}});
}

template <class Tag>
void PageWalk::field(Tag, const YMMessageBase& message, const FieldDef& def, int depth)
{
  using Value = typename Tag::Value;
  if (isSecret(def)) {
    textRow(message, def, mask);
    return;
  }
  if constexpr (Tag::type == FIELD_INVALID) {
    textRow(message, def, "(unknown type)");
  } else if constexpr (NoStorage<Tag>) {
    textRow(message, def, "(set)");
  } else if constexpr (InPlaceValue<Tag> || ByteString<Tag> || PasswordString<Tag>) {
    row(message, def);
    scalar(message, def, false);
    out_ += "</li>\n";
  } else {
    const Value* const value = MessageAccess::pointer<Value>(message, def.slot);
    if (isNothing(value)) {
      textRow(message, def, nothing<Tag>());
      return;
    }
    if constexpr (MessageValue<Tag>) {
      nested(fieldName(message, def), *value, depth < openDepth, depth + 1);
    } else if constexpr (MapValue<Tag>) {
      map<Tag>(*value, message, def, depth);
    } else {
      list<Tag::info.element>(*value, message, def, depth);
    }
  }
}

void PageWalk::row(const YMMessageBase& message, const FieldDef& def)
{
  out_ += "<li>" + fieldName(message, def) + ' ';
  appendLine(out_, typeWords(def));
  out_ += ' ';
}

void PageWalk::textRow(const YMMessageBase& message, const FieldDef& def, std::string_view text)
{
  ++count_;
  row(message, def);
  appendValueBox(out_, text);
  out_ += "</li>\n";
}

void PageWalk::nested(const std::string& label, const YMMessageBase& message, bool isOpen, int depth)
{
  out_ += isOpen ? "<li><details open><summary>" : "<li><details><summary>";
  out_ += label;
  out_ += ' ';
  if (message.getClass() != nullptr) {
    classes_.appendLink(out_, {message.getSubsysID(), message.getClassIndex(), &Registry::of(message)});
  }
  out_ += "</summary>\n";
  this->message(message, depth);
  out_ += "</details></li>\n";
}

/// One item: those that are not set. Several of a class: those that none of them has.
void PageWalk::unset(const _ClassDef& cls, const std::vector<Item>& items)
{
  std::string names;
  std::size_t count = 0;
  std::size_t all = 0;
  for (const FieldDef& def : cls) {
    if (def.hash == 0) {
      continue;
    }
    ++all;
    if (std::none_of(items.begin(), items.end(),
                     [&](const Item& item) { return MessageAccess::isSet(*item.message, def); })) {
      names += count++ == 0 ? "" : ", ";
      appendLine(names, def.getName());
    }
  }
  constexpr std::size_t few = 10;
  if (count > 0) {
    out_ +=
        "<p class=\"u\">Unset: " + (count == all && all > few ? "all " + countText(all, "field") : names) +
        "</p>\n";
  }
}

// ---- Collections

template <class Group>
void PageWalk::inGroups(std::size_t size, Group group)
{
  for (std::size_t from = 0; from < size; from += groupSize) {
    const std::size_t to = std::min(from + groupSize, size);
    if (size > groupSize) {
      out_ += "<details class=\"g\"><summary>" + std::to_string(from + 1) + " to " + std::to_string(to) +
              "</summary>\n";
    }
    group(from, to);
    out_ += size > groupSize ? "</details>\n" : "";
  }
}

void PageWalk::beginFold(const YMMessageBase& message, const FieldDef& def, std::size_t size,
                         std::string_view one, int depth)
{
  out_ +=
      size <= smallCollection && depth < openDepth ? "<li><details open><summary>" : "<li><details><summary>";
  out_ += fieldName(message, def) + ' ';
  appendLine(out_, typeWords(def));
  out_ += ", " + countText(size, one) + "</summary>\n";
}

void PageWalk::endFold()
{
  out_ += "</details></li>\n";
}

template <FieldDataType Element, class List>
void PageWalk::elements(const List& list, const FieldDef& def, std::size_t from, std::size_t to)
{
  out_ += "<ol class=\"v\" start=\"" + std::to_string(from) + "\">";
  for (std::size_t i = from; i < to; ++i) {
    ++count_;
    out_ += "<li>";
    value<Element>(list[i], def, true);
    out_ += "</li>";
  }
  out_ += "</ol>\n";
}

template <FieldDataType Element, class List>
void PageWalk::list(const List& list, const YMMessageBase& message, const FieldDef& def, int depth)
{
  if constexpr (Element == FIELD_OBJECT) {
    beginFold(message, def, list.size(), "element", depth);
    inGroups(list.size(), [&](std::size_t from, std::size_t to) {
      std::vector<Item> group;
      for (std::size_t i = from; i < to; ++i) {
        group.push_back({elementLabel(static_cast<long long>(i)), &list[i]});
      }
      items(group, depth + 1);
    });
    endFold();
  } else if (list.size() <= smallCollection) {
    row(message, def);
    elements<Element>(list, def, 0, list.size());
    out_ += "</li>\n";
  } else {
    beginFold(message, def, list.size(), "element", depth);
    inGroups(list.size(), [&](std::size_t from, std::size_t to) { elements<Element>(list, def, from, to); });
    endFold();
  }
}

template <class Tag, class Map>
void PageWalk::map(const Map& map, const YMMessageBase& message, const FieldDef& def, int depth)
{
  beginFold(message, def, map.size(), "entry", depth);
  auto entry = map.begin();
  inGroups(map.size(), [&](std::size_t from, std::size_t to) {
    if constexpr (Tag::info.mapKey == FIELD_OBJECT) {
      out_ += "<ul>\n";
      for (std::size_t i = from; i < to; ++i, ++entry) {
        const std::string label = elementLabel(static_cast<long long>(i));
        nested(bold(label + ".key"), entry->first, false, depth + 1);
        nested(bold(label + ".value"), entry->second, false, depth + 1);
      }
      out_ += "</ul>\n";
    } else if constexpr (Tag::info.mapValue == FIELD_OBJECT) {
      std::vector<Item> group;
      for (std::size_t i = from; i < to; ++i, ++entry) {
        group.push_back({keyLabel(entry->first), &entry->second});
      }
      items(group, depth + 1);
    } else {
      out_ +=
          "<div class=\"w\"><table>\n<thead><tr><th scope=\"col\">key</th><th "
          "scope=\"col\">value</th></tr></thead>\n";
      for (std::size_t i = from; i < to; ++i, ++entry) {
        ++count_;
        out_ += "<tbody><tr><th scope=\"row\">" + keyLabel(entry->first) + "</th><td>";
        value<Tag::info.mapValue>(entry->second, def, true);
        out_ += "</td></tr></tbody>\n";
      }
      out_ += "</table></div>\n";
    }
  });
  endFold();
}

void PageWalk::items(const std::vector<Item>& items, int depth)
{
  const std::vector<const FieldDef*> columns = columnsOf(items);
  if (!columns.empty()) {
    table(items, columns, depth);
    return;
  }
  const bool isOpen = items.size() <= smallCollection && depth < openDepth;
  out_ += "<ul>\n";
  for (const Item& item : items) {
    nested(bold(item.label), *item.message, isOpen, depth);
  }
  out_ += "</ul>\n";
}

std::vector<const FieldDef*> PageWalk::columnsOf(const std::vector<Item>& items) const
{
  const _ClassDef* const cls = items.front().message->getClass();
  if (cls == nullptr || tables_ == mostTables ||
      std::any_of(items.begin(), items.end(),
                  [&](const Item& item) { return item.message->getClass() != cls; })) {
    return {};
  }
  std::vector<const FieldDef*> columns;
  for (const FieldDef& def : *cls) {
    const auto isIn = [&](const Item& item) { return isShown(*item.message, def); };
    const auto fits = [&](const Item& item) { return !isIn(item) || fitsCell(*item.message, def); };
    if (std::any_of(items.begin(), items.end(), isIn) && std::all_of(items.begin(), items.end(), fits)) {
      columns.push_back(&def);
    }
  }
  return columns.size() > mostColumns ? std::vector<const FieldDef*>() : columns;
}

void PageWalk::table(const std::vector<Item>& items, const std::vector<const FieldDef*>& columns, int depth)
{
  const YMMessageBase& first = *items.front().message;
  out_ += "<div class=\"w\"><table>\n<thead><tr><th scope=\"col\">";
  classes_.appendLink(out_, {first.getSubsysID(), first.getClassIndex(), &Registry::of(first)});
  out_ += "</th>";
  for (const FieldDef* column : columns) {
    out_ += "<th scope=\"col\">" + fieldName(first, *column) + ' ';
    appendLine(out_, typeWords(*column));
    out_ += "</th>";
  }
  out_ += "</tr></thead>\n";
  ++tables_;
  for (const Item& item : items) {
    tableRow(item, columns, depth);
  }
  --tables_;
  out_ += "</table></div>\n";
  unset(*first.getClass(), items);
}

/// What does not fit a cell stands in a line of its own below the cells.
void PageWalk::tableRow(const Item& item, const std::vector<const FieldDef*>& columns, int depth)
{
  const YMMessageBase& message = *item.message;
  out_ += "<tbody><tr><th scope=\"row\">" + item.label + "</th>";
  for (const FieldDef* column : columns) {
    out_ += "<td>";
    if (isShown(message, *column)) {
      scalar(message, *column, true);
    }
    out_ += "</td>";
  }
  out_ += "</tr>";
  bool isBegun = false;
  auto column = columns.begin();
  for (const FieldDef& def : *message.getClass()) {
    if (column != columns.end() && *column == &def) {
      ++column;
    } else if (isShown(message, def)) {
      out_ += isBegun ? "" : "<tr><td colspan=\"" + std::to_string(columns.size() + 1) + "\"><ul>\n";
      isBegun = true;
      visitFieldType(def.type, [&](auto tag) { field(tag, message, def, depth); });
    }
  }
  out_ += isBegun ? "</ul></td></tr></tbody>\n" : "</tbody>\n";
}

// ---- Values

void PageWalk::scalar(const YMMessageBase& message, const FieldDef& def, bool isAlone)
{
  if (isSecret(def)) {
    ++count_;
    valueBox(mask, isAlone);
    return;
  }
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Value = typename Tag::Value;
    if constexpr (StringSlot<Tag>) {
      ++count_;
      value<Tag::type>(MessageAccess::inPlace<Value>(message, def.slot), def, isAlone);
    } else if constexpr (InPlaceValue<Tag>) {
      ++count_;
      value<Tag::type>(MessageAccess::raw(message, def.slot), def, isAlone);
    } else if constexpr (ByteString<Tag>) {
      ++count_;
      const bstring* bytes = MessageAccess::pointer<bstring>(message, def.slot);
      value<Tag::type>(bytes != nullptr ? *bytes : bstring(), def, isAlone);
    } else if constexpr (ListValue<Tag> && Tag::info.element != FIELD_OBJECT) {
      const auto* list = MessageAccess::pointer<Value>(message, def.slot);
      if (list != nullptr && !list->empty()) {
        elements<Tag::info.element>(*list, def, 0, list->size());
      } else {
        valueBox("[]", isAlone);
      }
    }
  });
}

/// Where a value stands alone it needs no element of its own, and the page fewer of them.
void PageWalk::valueBox(std::string_view text, bool isAlone)
{
  if (isAlone) {
    appendEscaped(out_, text);
  } else {
    appendValueBox(out_, text);
  }
}

template <FieldDataType T, class Value>
void PageWalk::value(const Value& value, const FieldDef& def, bool isAlone)
{
  if constexpr (std::is_base_of_v<bstring, Value>) {
    appendBytesBox(out_, value.text());
  } else if constexpr (T == FIELD_STRING || T == FIELD_WSTRING) {
    appendTextBox(out_, value);
  } else if constexpr (T == FIELD_ENUM) {
    const long long number = std::is_same_v<Value, unsigned int> ? static_cast<int>(value) : value;
    const FieldDef* enumerator = enumeratorOf(number, def);
    valueBox(enumerator != nullptr ? std::string(enumerator->getName()) + " (" + std::to_string(number) + ")"
                                   : std::to_string(number),
             isAlone);
  } else {
    std::string text;
    appendValue<T>(text, value, def);
    std::string note;
    if constexpr (std::is_same_v<Value, long long> && T != FIELD_INT64) {
      appendTimeNote(note, def, value);
    }
    valueBox(text, isAlone && note.empty());
    out_ += note;
  }
}

}  // namespace kwxml
