// The wrapper header of one message system:
//
//   namespace Demo {
//
//   class Status;
//   enum class Color : int;
//
//   enum class Color : int {
//     RED = 1,
//   };
//   inline const char* nameOf(Color value) ...
//   inline bool valueOf(const std::string& name, Color& value) ...
//
//   class Status : public ::YMMessageBase
//   {
//   public:
//     static constexpr unsigned long tag = 0x010003F0;
//     static constexpr int systemIndex = 1;
//     static constexpr int classIndex = 0;
//     static constexpr ::kwxml::WrapperClass kwxmlClass = {..., "10268693,0,0,1;..."};
//     Status() : ::YMMessageBase(kwxmlClass) {}
//
//     int errorCode() const ...
//     void set_errorCode(int value) ...
//     bool has_errorCode() const ...
//     void clear_errorCode() ...
//   };
//
//   void RegisterSubsystem();
//
//   }  // namespace Demo
//
// Classes refer to each other across systems, in circles too. So each header declares what it refers to, and
// includes no other system's: the headers of a large catalogue would be megabytes in every file that needs
// one class. Accessors need no complete class.
#include "CppText.h"
#include "SchemaTypes.h"
#include "Stages.h"
#include "Tables.h"

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/text/ShownText.h>

#include <algorithm>
#include <map>
#include <set>

namespace kwxml::catalogue {
namespace {

constexpr const char* explanation = R"(
// Each field `x` of a message has
//
//   x()          its value: a number, an enumerator, a const reference to a text, list or map (empty when unset),
//                a pointer to a nested message (null when unset), or a view of a collection of messages or enumerators
//                (<kwxml/model/TypedCollections.h>)
//   set_x(v)     stores a value, or a copy of it, and marks the field set; texts, lists and maps that are given away
//                (std::move) are taken over
//   mutable_x()  what has parts, to change in place: made when it is missing, and marked set
//   has_x()      whether the field is set
//   clear_x()    drops the value and the mark
//   x_time()     of a field with a date: the number as seconds since the Unix epoch (0 when unset); set_x() takes such a
//                time, too, and throws std::out_of_range where the field's type does not hold it
//
// Fields without a value in memory have no accessors. Lists of bools are lists of unsigned int; maps whose keys are
// messages are maps of YMMessageBase (kwxml::as<Wrapper>(m) takes one for its wrapper).
//
// Names: a character that no C++ name has becomes "_", a digit at the front gets a "_" before it. A field, class or
// enumerator whose name is a word of C++ or of its standard headers, is that of a member of every message or of its
// own class, is List, or is taken by an earlier one gets "_" at its end, as often as it takes: class_(), set_class_(...).
//
// A class of another system that a field refers to is declared here; whoever uses its members includes that system's
// header.
//
// A message of another class, or of a class of the same name and another ID, can be read and written through a
// wrapper: fields are found by their names. Failures are those of the accessors of YMMessageBase; mutable_x() of a
// nested message throws KwException where the message has no such field, or no message in it. A program that runs with
// tables that have other fields for a class than these wrappers gets a KwException where it makes or takes a message
// of that class.
)";

/// `wanted`, with as many "_" behind it as make it new among `names`.
std::string uniqueName(std::string wanted, std::set<std::string>& names)
{
  while (!names.insert(wanted).second) {
    wanted.push_back('_');
  }
  return wanted;
}

/// A schema's text as a comment on lines of its own. It ends in no backslash, which would join the next line.
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

std::string enumeration(const Class& cls, const std::string& catalogue)
{
  const std::string name = cppName(cls.name);
  std::string out = "\n" + comment(cls.doc, "") + "enum class " + name + " : int {\n";
  std::set<std::string> names;
  for (const Field& field : cls.fields) {
    // Messages hold enumeration values as 32 bits; the upper half of the unsigned range is the negative half
    // here.
    out += comment(field.doc, "  ") + "  " + uniqueName(cppName(field.name), names) + " = " +
           (static_cast<std::int32_t>(field.value) == INT32_MIN
                ? "-2147483647 - 1"
                : std::to_string(static_cast<std::int32_t>(field.value))) +
           ",\n";
  }
  const std::string self = "  static constexpr ::kwxml::WrapperEnum self{&::kwxml::catalogues::" + catalogue +
                           ", " + literal(catalogue) + ", " + literal(cls.system->name) + ", " +
                           literal(cls.name) + ", " + std::to_string(cls.system->index) + ", " +
                           std::to_string(cls.index) + ", " + std::to_string(cls.fields.size()) + ", " +
                           hexadecimal(fingerprint(cls), 8) + "};\n";
  return out +
         "};\n/// The enumerator's name; an empty text for another number.\ninline const char* nameOf(" +
         name + " value)\n{\n" + self +
         "  return ::kwxml::enumeratorName(self, static_cast<int>(value));\n}\n"
         "/// False, with `value` unchanged, for another name.\ninline bool valueOf(const ::std::string& "
         "name, " +
         name + "& value)\n{\n" + self +
         "  int number = 0;\n  if (!::kwxml::enumeratorValue(self, name, number)) {\n    return false;\n  "
         "}\n  value = static_cast<" +
         name +
         ">(number);\n  return true;\n}\n"
         "/// Writes the enumerator's name, or the number where there is none.\ninline ::std::ostream& "
         "operator<<(::std::ostream& out, " +
         name +
         " value)\n{\n  return ::kwxml::writeEnumerator(out, nameOf(value), static_cast<int>(value));\n}\n";
}

/// Maps of messages by keys that are none.
constexpr bool isTypedMap(FieldDataType type)
{
  const FieldTypeInfo& info = fieldTypeInfo(type);
  return info.mapValue == FIELD_OBJECT && info.mapKey != FIELD_OBJECT;
}

bool isTime(const Field& field)
{
  return field.dateForm.has_value();
}

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
    return viewed("MessageMap<" + key + ", " + qualified(*field_.reference) + ">", family) +
           setter("const " + type + "&", call("set" + family, "&value")) +
           setter(type + "&&", made(family) + " = static_cast<" + type + "&&>(value)");
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
             taker("::std::string_view", ownCall("setBytesOwn", "::bstring(value.data(), value.size())")) +
             refused("NoText");
    } else if constexpr (PasswordString<Tag>) {
      return object("::pstring", "::kwxml::orEmpty(" + call("getpstringobject_const") + ")",
                    call("setpstringobject",
                         "value, static_cast<::Annotation::PasswordEncryptType>(value.getEncryptionType())"),
                    call("getpstringobjectByRef")) +
             refused("NoText");
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

/// What the wrapper was compiled for. The records are one text, which takes compilers less than an array.
std::string wrapperClass(const Class& cls, const std::string& catalogue)
{
  std::string fields;
  for (std::size_t i = 0; i < cls.fields.size(); ++i) {
    const FieldRow row = fieldRow(cls.fields[i], i);
    fields += std::to_string(row.hash) + "," + std::to_string(row.number) + "," + std::to_string(row.slot) +
              "," + std::to_string(row.type) + ";";
  }
  return "  static constexpr ::kwxml::WrapperClass kwxmlClass = {\n      &::kwxml::catalogues::" + catalogue +
         ", " + literal(catalogue) + ", " + literal(cls.system->name) + ", " + literal(cls.name) +
         ", tag, classIndex, " + hexadecimal(fingerprint(cls), 8) + ", " + std::to_string(cls.fields.size()) +
         ",\n      " + literal(fields) + "};\n";
}

std::string wrapper(const Class& cls, const std::string& catalogue)
{
  const std::string name = cppName(cls.name);
  // As a number in each accessor: to look up a name thousands of times takes compilers long.
  const std::string tag = hexadecimal(tagId(cls), 8) + "UL";
  std::string out = "\n" + comment(cls.doc, "") + "class " + name +
                    " : public ::YMMessageBase\n{\npublic:\n  static constexpr unsigned long tag = " + tag +
                    ";\n  static constexpr int systemIndex = " + std::to_string(cls.system->index) +
                    ";\n  static constexpr int classIndex = " + std::to_string(cls.index) + ";\n" +
                    wrapperClass(cls, catalogue) + "  " + name + "() : ::YMMessageBase(kwxmlClass) {}\n";
  // And the accessors' template parameter.
  std::set<std::string> names = {name, "List", "kwxmlClass"};
  // What a field is called does not depend on which other fields have a date.
  std::set<std::string> fieldNames = names;
  for (const Field& field : cls.fields) {
    fieldNames.insert(cppName(field.name));
  }
  for (std::size_t i = 0; i < cls.fields.size(); ++i) {
    std::string base = cppName(cls.fields[i].name);
    const auto taken = [&names](const std::string& candidate) {
      for (const char* prefix : {"", "set_", "mutable_", "has_", "clear_"}) {
        if (names.contains(prefix + candidate) || isMessageMember(prefix + candidate)) {
          return true;
        }
      }
      return false;
    };
    while (taken(base)) {
      base.push_back('_');
    }
    for (const char* prefix : {"", "set_", "mutable_", "has_", "clear_"}) {
      names.insert(prefix + base);
    }
    std::string timeName;
    if (isTime(cls.fields[i])) {
      timeName = base + "_time";
      while (fieldNames.contains(timeName) || taken(timeName)) {
        timeName.push_back('_');
      }
      names.insert(timeName);
    }
    out += Accessors(cls.fields[i], i, base, timeName, tag).text();
  }
  return out + "};\n";
}

std::string declaration(const Class& cls)
{
  return cls.isEnum ? "enum class " + cppName(cls.name) + " : int;\n" : "class " + cppName(cls.name) + ";\n";
}

bool hasTimes(const System& system)
{
  return std::any_of(system.classes.begin(), system.classes.end(), [](const Class& cls) {
    return std::any_of(cls.fields.begin(), cls.fields.end(), isTime);
  });
}

/// What the classes of the system refer to, by system.
std::map<const System*, std::set<const Class*>> references(const System& system)
{
  std::map<const System*, std::set<const Class*>> result;
  for (const Class& cls : system.classes) {
    for (const Field& field : cls.fields) {
      const bool named = field.type == FIELD_ENUM || field.type == FIELD_OBJECT ||
                         field.type == FIELD_LIST_ENUM || field.type == FIELD_LIST_OBJECT ||
                         isTypedMap(field.type);
      if (named && field.reference != nullptr && field.reference->system != &system) {
        result[field.reference->system].insert(field.reference);
      }
    }
  }
  return result;
}

}  // namespace

OutputFile emitHeader(const System& system, const Emission& emission)
{
  std::string out =
      emission.headLine + "//" + explanation + "#pragma once\n\n#include <kwxml/model/TypedCollections.h>\n" +
      (hasTimes(system) ? "\n#include <chrono>\n" : "") + "\nnamespace " + std::string(objectNamespace) +
      " {\n"
      "extern const ::kwxml::Registry* const " +
      emission.name + ";\n}  // namespace " + objectNamespace + "\n\n";
  std::map<std::string, std::set<std::string>> others;  // sorted by name: equal schemas give equal bytes
  for (const auto& [other, classes] : references(system)) {
    for (const Class* cls : classes) {
      others[other->name].insert(declaration(*cls));
    }
  }
  for (const auto& [name, declarations] : others) {
    out += "namespace " + name + " {\n";
    for (const std::string& declared : declarations) {
      out += declared;
    }
    out += "}  // namespace " + name + "\n\n";
  }
  out += comment(system.doc, "") + "namespace " + system.name + " {\n\n";
  for (const Class& cls : system.classes) {
    out += declaration(cls);
  }
  for (const Class& cls : system.classes) {
    if (cls.isEnum) {
      out += enumeration(cls, emission.name);
    }
  }
  for (const Class& cls : system.classes) {
    if (!cls.isEnum) {
      out += wrapper(cls, emission.name);
    }
  }
  out +=
      "\n/// Does nothing; a call forces the system's tables to be linked.\nvoid RegisterSubsystem();\n\n"
      "}  // namespace " +
      system.name + "\n";
  return {system.name + ".h", out};
}

}  // namespace kwxml::catalogue
