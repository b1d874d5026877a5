// What the accessors do stands in the head of each wrapper header; see EmitHeader.cpp.
#include "EmitAccessors.h"

#include "CppText.h"
#include "Tables.h"

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>

namespace kwxml::catalogue {
namespace {

/// The accessors of one field.
class Accessors
{
public:
  /// `timeName` is that of the accessor of a date; empty for other fields.
  Accessors(const Field& field, std::size_t number, std::string name, std::string timeName,
            const std::string& tag)
      : field_(field),
        name_(std::move(name)),
        timeName_(std::move(timeName)),
        // A getter of a scalar is called with its slot alone; of the others the field number is held against
        // the class.
        number_(std::to_string(number)),
        slot_(std::to_string(field.slot)),
        ownPlace_(number_ + ", " + slot_),
        place_("ifOwn(" + number_ + ", " + tag + "), " + slot_),
        tag_(tag),
        key_(tag + ", " + hexadecimal(field.recordHash()))
  {
  }

  std::string text() const
  {
    const std::string value = visitFieldType(field_.type, [this](auto tag) { return valueAccessors(tag); });
    return value.empty() ? value : "\n" + comment(field_.doc, "  ") + value + marks();
  }

private:
  /// A call of a generic accessor: `arguments` stand before the field's address, or behind it.
  std::string call(const std::string& function, const std::string& value = {},
                   const std::string& last = {}) const
  {
    return function + "(" + place_ + (value.empty() ? "" : ", " + value) + ", " + key_ +
           (last.empty() ? "" : ", " + last) + ")";
  }
  std::string marks() const
  {
    return "  bool has_" + name_ + "() const { return hasOwn(" + number_ + ", " + key_ +
           "); }\n  void clear_" + name_ + "() { clearOwn(" + number_ + ", " + key_ + "); }\n";
  }
  std::string getter(const std::string& type, const std::string& expression) const
  {
    return "  " + type + " " + name_ + "() const { return " + expression + "; }\n";
  }
  /// A setter of a view, which no conversion leads to; a template, so that it stands back where one would do.
  std::string viewer(const std::string& statement) const
  {
    return "  template <::kwxml::TextView T>\n  void set_" + name_ + "(T value) { " + statement + "; }\n";
  }
  /// A setter of what its owner gives away; a template, so that it stands back where a conversion would do.
  std::string taker(const std::string& type, const std::string& statement) const
  {
    return "  template <::kwxml::GivenAway<" + type + "> T>\n  void set_" + name_ + "(T&& value) { " +
           statement + "; }\n";
  }
  std::string setter(const std::string& type, const std::string& statement) const
  {
    return "  void set_" + name_ + "(" + type + " value) { " + statement + "; }\n";
  }
  std::string changer(const std::string& type, const std::string& expression) const
  {
    return "  " + type + " mutable_" + name_ + "() { return " + expression + "; }\n";
  }

  /// The same of a function of wrappers alone.
  std::string ownCall(const std::string& function, const std::string& value = {}) const
  {
    return function + "(" + ownPlace_ + (value.empty() ? "" : ", " + value) + ", " + key_ + ")";
  }
  std::string integer(const std::string& type) const
  {
    return getter(type, "static_cast<" + type + ">(int64Own(" + slot_ + ", " + key_ + "))") +
           setter(type, ownCall("setInt64Own", "static_cast<long long>(value)"));
  }
  /// Types that would convert to the setter's without being meant.
  std::string refused(const std::string& types) const
  {
    return "  template <::kwxml::" + types + " T>\n  void set_" + name_ + "(T value) = delete;\n";
  }
  /// A text or byte string that is given by reference.
  std::string object(const std::string& type, const std::string& get, const std::string& set,
                     const std::string& change) const
  {
    return getter("const " + type + "&", get) + setter("const " + type + "&", set) +
           changer(type + "&", change);
  }
  /// A text, given as a view or given away.
  std::string text(const std::string& type, const std::string& get, const std::string& set,
                   const std::string& change) const
  {
    const std::string view = type + "_view";
    return getter("const " + type + "&", get) + setter(view, ownCall(set, "value")) +
           taker(type, ownCall(set, "static_cast<T&&>(value)")) + changer(type + "&", change) +
           refused("NoText");
  }
  std::string collection(const std::string& type, const std::string& family) const
  {
    return object(type, "::kwxml::orEmpty(" + call("get" + family + "_const") + ")",
                  call("set" + family, "&value"), made(family)) +
           setter(type + "&&", made(family) + " = static_cast<" + type + "&&>(value)");
  }
  /// The collection itself, made when it is missing, and marked set.
  std::string made(const std::string& family) const
  {
    return "::kwxml::orScratch(" + call("get" + family, {}, "true") + ")";
  }
  /// The accessors of a collection that is given as a view: templates, so that the views that a program does
  /// not use are not made for it.
  std::string viewed(const std::string& view, const std::string& family) const
  {
    const std::string to = "  template <class List = ::kwxml::";
    return to + "Const" + view + ">\n" + getter("List", call("get" + family + "_const")) + to + view + ">\n" +
           changer("List", call("get" + family, {}, "true"));
  }
  std::string messageList() const
  {
    const std::string wrapper = qualified(*field_.reference);
    const std::string view = "MessageList<" + wrapper + ">";
    return viewed(view, "listobject") + "  template <class List = ::kwxml::Const" + view + ">\n" +
           setter("const ::std::type_identity_t<List>&", call("setlistobject", "&value.messages()")) +
           "  template <class List = ::std::vector<" + wrapper + ">>\n" +
           setter("::std::type_identity_t<List>",
                  "::kwxml::assignMessages(" + made("listobject") + ", static_cast<List&&>(value))");
  }
  /// The numbers are taken as well: generic code has them.
  std::string enumList() const
  {
    const std::string type = qualified(*field_.reference);
    const std::string to = "  template <class List = ::std::";
    const std::string assign = "::kwxml::assignEnumerators(" + made("listuint") + ", value)";
    return viewed("EnumList<" + type + ">", "listuint") +
           setter("const ::std::vector<unsigned int>&", call("setlistuint", "&value")) + to + "vector<" +
           type + ">>\n" + setter("const ::std::type_identity_t<List>&", assign) + to + "initializer_list<" +
           type + ">>\n" + setter("::std::type_identity_t<List>", assign);
  }
  std::string messageMap(const std::string& key, const std::string& family) const
  {
    const std::string type = "::std::map<" + key + ", ::YMMessageBase>";
    const std::string typed = "::std::map<" + key + ", " + qualified(*field_.reference) + ">";
    return viewed("MessageMap<" + key + ", " + qualified(*field_.reference) + ">", family) +
           setter("const " + type + "&", call("set" + family, "&value")) +
           setter(type + "&&", made(family) + " = static_cast<" + type + "&&>(value)") +
           "  template <class Map = " + typed + ">\n" +
           setter("::std::type_identity_t<Map>", "::kwxml::assignEntries(" + made(family) + ", value)");
  }
  /// The number of a date as a point in time.
  std::string time(const std::string& type) const
  {
    const std::string seconds = "::std::chrono::sys_seconds";
    return "  " + seconds + " " + timeName_ + "() const { return " + seconds + "(::std::chrono::seconds(" +
           name_ + "())); }\n" +
           setter(seconds,
                  "set_" + name_ + "(::kwxml::numberOf<" + type + ">(value.time_since_epoch().count()))");
  }
  std::string message() const
  {
    const std::string wrapper = qualified(*field_.reference);
    const std::string address = "(*this, " + ownPlace_ + ", " + key_;
    const std::string checked = address + ", " + hexadecimal(tagId(*field_.reference), 8) + ", " +
                                hexadecimal(fingerprint(*field_.reference), 8) + ", kwxmlClass)";
    const std::string made = "::kwxml::mutableNestedMessage" + checked;
    return getter("const " + wrapper + "*", "hasOwn(" + number_ + ", " + key_ + ") ? static_cast<const " +
                                                wrapper + "*>(::kwxml::nestedMessage" + checked +
                                                ") : nullptr") +
           setter("const " + wrapper + "&", "::kwxml::setNestedMessage" + address + ", &value)") +
           changer(wrapper + "&", "*static_cast<" + wrapper + "*>(" + made + ")");
  }

  template <class Tag>
  std::string valueAccessors(Tag) const
  {
    using Native = NativeValue<Tag::type>;
    if constexpr (Tag::type == FIELD_ENUM) {
      return integer(qualified(*field_.reference));
    } else if constexpr (Tag::type == FIELD_BOOL) {
      // Any pointer would do for a truth value.
      return getter("bool", "int64Own(" + slot_ + ", " + key_ + ") != 0") +
             setter("bool", ownCall("setInt64Own", "value ? 1 : 0")) + "  template <class T>\n  void set_" +
             name_ + "(T* value) = delete;\n";
    } else if constexpr (IntegerSlot<Tag>) {
      const std::string type = nativeName<Native>();
      return integer(type) + refused("Floating") + (timeName_.empty() ? "" : time(type));
    } else if constexpr (FloatingSlot<Tag>) {
      const std::string type = std::is_same_v<Native, double> ? "double" : "float";
      return getter(type, "get" + type + "(ifOwn(" + slot_ + ", " + tag_ + "), " + key_ + ")") +
             setter(type, call("set" + type, "value"));
    } else if constexpr (Tag::type == FIELD_STRING) {
      return text("::std::string", ownCall("stringOwn"), "setStringOwn", ownCall("mutableStringOwn"));
    } else if constexpr (Tag::type == FIELD_WSTRING) {
      return text("::std::wstring", call("getwstring_const"), "setWideStringOwn", call("getwstringByRef"));
    } else if constexpr (ByteString<Tag>) {
      return object("::bstring", "::kwxml::orEmpty(" + call("getbstringobject_const") + ")",
                    call("setbstringobject", "value"), call("getbstringobjectByRef")) +
             setter("::bstring&&", ownCall("setBytesOwn", "static_cast<::bstring&&>(value)")) +
             viewer(ownCall("setBytesOwn", "::bstring(value.data(), value.size())")) + refused("NoText");
    } else if constexpr (PasswordString<Tag>) {
      return object("::pstring", "::kwxml::orEmpty(" + call("getpstringobject_const") + ")",
                    call("setpstringobject",
                         "value, static_cast<::Annotation::PasswordEncryptType>(value.getEncryptionType())"),
                    call("getpstringobjectByRef")) +
             viewer("set_" + name_ + "(::pstring(::std::string(value)))") + refused("NoText");
    } else if constexpr (MessageValue<Tag>) {
      return message();
    } else if constexpr (Tag::type == FIELD_LIST_OBJECT) {
      return messageList();
    } else if constexpr (Tag::type == FIELD_LIST_ENUM) {
      return enumList();
    } else if constexpr (ListValue<Tag>) {
      using Element = typename Tag::Value::value_type;
      return collection("::std::vector<" + elementName<Element>() + ">", "list" + familyName<Element>());
    } else if constexpr (MapValue<Tag>) {
      const std::string key = partName(Tag::info.mapKey);
      const std::string family =
          "Map" + partFamily(Tag::info.mapKey) + "And" + partFamily(Tag::info.mapValue);
      if constexpr (isTypedMap(Tag::type)) {
        return messageMap(key, family);
      }
      return collection("::std::map<" + key + ", " + partName(Tag::info.mapValue) + ">", family);
    } else {
      return {};
    }
  }

  template <class T>
  static std::string nativeName()
  {
    return std::is_same_v<T, int>             ? "int"
           : std::is_same_v<T, unsigned>      ? "unsigned int"
           : std::is_same_v<T, long>          ? "long"
           : std::is_same_v<T, unsigned long> ? "unsigned long"
           : std::is_same_v<T, long long>     ? "long long"
                                              : "unsigned long long";
  }
  template <class T>
  static std::string elementName()
  {
    return std::is_same_v<T, std::string>    ? "::std::string"
           : std::is_same_v<T, std::wstring> ? "::std::wstring"
           : std::is_same_v<T, double>       ? "double"
           : std::is_same_v<T, float>        ? "float"
           : std::is_integral_v<T>           ? nativeName<T>()
                                             : "::bstring";
  }
  /// As the list accessors are named.
  template <class T>
  static std::string familyName()
  {
    return std::is_same_v<T, std::string>          ? "string"
           : std::is_same_v<T, std::wstring>       ? "wstring"
           : std::is_same_v<T, double>             ? "double"
           : std::is_same_v<T, float>              ? "float"
           : std::is_same_v<T, int>                ? "int"
           : std::is_same_v<T, unsigned>           ? "uint"
           : std::is_same_v<T, long>               ? "long"
           : std::is_same_v<T, unsigned long>      ? "ulong"
           : std::is_same_v<T, long long>          ? "longlong"
           : std::is_same_v<T, unsigned long long> ? "ulonglong"
                                                   : "bstring";
  }
  static std::string partName(FieldDataType part)
  {
    return part == FIELD_INT64 ? "long long" : part == FIELD_STRING ? "::std::string" : "::YMMessageBase";
  }
  static std::string partFamily(FieldDataType part)
  {
    return part == FIELD_INT64 ? "Int64" : part == FIELD_STRING ? "String" : "Object";
  }

  const Field& field_;
  std::string name_;
  std::string timeName_;
  std::string number_;
  std::string slot_;
  std::string ownPlace_;  ///< of a function that minds foreign tags itself
  std::string place_;
  std::string tag_;
  std::string key_;
};

}  // namespace

std::string accessors(const Field& field, std::size_t number, const std::string& name,
                      const std::string& timeName, const std::string& tag)
{
  return Accessors(field, number, name, timeName, tag).text();
}

std::string comment(const std::string& text, const std::string& indent)
{
  std::string doc = shown(text);  // no characters that turn the line around
  for (std::size_t at = 0; (at = doc.find("?\?/", at)) != std::string::npos;) {
    doc.insert(at + 1, " ");  // to some compilers it is a backslash
  }
  constexpr std::size_t width = 110;
  std::string out;
  std::string line;
  const auto endLine = [&] {
    out += indent + "///" + line + (line.ends_with('\\') ? "." : "") + "\n";
    line.clear();
  };
  for (std::size_t at = 0; at < doc.size();) {
    const std::size_t end = std::min(doc.find(' ', at), doc.size());
    if (!line.empty() && indent.size() + 3 + line.size() + 1 + (end - at) > width) {
      endLine();
    }
    line += " " + doc.substr(at, end - at);
    at = end + 1;
  }
  if (!line.empty()) {
    endLine();
  }
  return out;
}

std::string qualified(const Class& cls)
{
  return "::" + cls.system->name + "::" + cppName(cls.name);
}

}  // namespace kwxml::catalogue
