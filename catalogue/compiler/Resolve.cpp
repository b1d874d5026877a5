// Names to what they mean: field types, class references, defaults, password types and XPaths.
#include "SchemaTypes.h"
#include "Stages.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace kwxml::catalogue {
namespace {

class Resolver
{
public:
  Resolver(Catalogue& catalogue, Diagnostics& diagnostics) : catalogue_(catalogue), diagnostics_(diagnostics)
  {
    // Of elements with one name the first counts; the repetition is an error of its own.
    for (const System& system : catalogue.systems) {
      for (const Class& cls : system.classes) {
        classes_.emplace(tagName(cls), &cls);
      }
      systems_.emplace(system.name, &system);
    }
  }

  void run()
  {
    for (System& system : catalogue_.systems) {
      for (Class& cls : system.classes) {
        for (Field& field : cls.fields) {
          resolveField(field);
        }
      }
    }
    for (System& system : catalogue_.systems) {
      for (XPath& xpath : system.xpaths) {
        resolveXPath(system, xpath);
      }
    }
  }

private:
  void resolveField(Field& field)
  {
    if (field.isEnumerator()) {
      return;
    }
    field.type = resolveType(field);
    if (field.passwordName) {
      const std::optional<int> type = passwordType(*field.passwordName);
      if (type) {
        field.passwordType = *type;
      } else {
        diagnostics_.error(field.at, "unknown password type " + inQuotes(*field.passwordName) + " of field " +
                                         inQuotes(field.name) + "; known: " + passwordNames());
      }
    }
    if (field.type == FIELD_INVALID) {
      return;
    }
    resolveReferences(field);
    if (field.defaultText) {
      resolveDefault(field);
    }
  }

  FieldDataType resolveType(const Field& field)
  {
    const bool list = field.typeName == "list";
    const bool map = field.typeName == "map";
    bool complete = require(field, "of", field.of, list || map);
    complete = require(field, "key", field.key, map) && complete;
    std::optional<FieldDataType> type;
    std::string known;
    std::string what = field.typeName;
    if (list) {
      type = complete ? listType(*field.of) : FIELD_INVALID;
      what += " of " + inQuotes(field.of.value_or(""));
      known = listElementNames();
    } else if (map) {
      type = complete ? mapType(*field.key, *field.of) : FIELD_INVALID;
      what += " of " + inQuotes(field.key.value_or("")) + " to " + inQuotes(field.of.value_or(""));
      known = mapTypeNames();
    } else {
      type = scalarType(field.typeName);
      what = inQuotes(what);
      known = scalarNames();
    }
    if (!type) {
      diagnostics_.error(field.at,
                         "unknown type " + what + " of field " + inQuotes(field.name) + "; known: " + known);
    }
    return type.value_or(FIELD_INVALID);
  }

  /// True when an attribute is there exactly when its field's type wants it; reports it otherwise.
  bool require(const Field& field, const char* name, const std::optional<std::string>& value, bool wanted)
  {
    if (value.has_value() == wanted) {
      return true;
    }
    diagnostics_.error(field.at, "field " + inQuotes(field.name) + (wanted ? " needs" : " takes no") +
                                     " attribute " + inQuotes(name));
    return false;
  }

  void resolveReferences(Field& field)
  {
    const int references = FieldDef::packedReferences(field.type);
    if (require(field, "class", field.className, references > 0) && field.className) {
      const FieldTypeInfo& info = fieldTypeInfo(field.type);
      const bool isEnum = field.type == FIELD_ENUM || info.element == FIELD_ENUM;
      field.reference = resolveClass(field, *field.className, isEnum);
    }
    if (require(field, "keyClass", field.keyClassName, references > 1) && field.keyClassName) {
      field.keyReference = resolveClass(field, *field.keyClassName, false);
    }
  }

  const Class* resolveClass(const Field& field, const std::string& name, bool isEnum)
  {
    const auto found = classes_.find(name);
    if (found == classes_.end()) {
      // A tag name is split at its first underscore.
      const bool knownSystem = systems_.contains(name.substr(0, name.find('_')));
      diagnostics_.error(field.at, "unknown class " + inQuotes(name) + " of field " + inQuotes(field.name) +
                                       (knownSystem ? "" : "; no schema has its message system"));
      return nullptr;
    }
    if (found->second->isEnum != isEnum) {
      diagnostics_.error(field.at, "field " + inQuotes(field.name) + " refers to " +
                                       (isEnum ? "a message" : "an enumeration") + ", " + inQuotes(name) +
                                       ", where " + (isEnum ? "an enumeration" : "a message") + " is wanted");
      return nullptr;
    }
    return found->second;
  }

  static std::optional<long long> integer(std::string text)
  {
    const bool negative = text.starts_with('-');
    text.erase(0, negative ? 1 : 0);
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    text.erase(0, hexadecimal ? 2 : 0);
    if (text.starts_with('-')) {
      return std::nullopt;
    }
    text.insert(0, negative ? "-" : "");
    long long value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, hexadecimal ? 16 : 10);
    return result.ec == std::errc() && result.ptr == end ? std::optional<long long>(value) : std::nullopt;
  }

  /// A decimal number within limits, as decimal text.
  template <class Limits>
  static std::optional<std::string> integerDefault(const std::string& text)
  {
    const std::optional<long long> value = integer(text);
    using Wide = std::numeric_limits<Limits>;
    if (!value || *value < static_cast<long long>(Wide::min()) ||
        (Wide::digits < 63 && *value > static_cast<long long>(Wide::max()))) {
      return std::nullopt;
    }
    return std::to_string(*value);
  }

  template <class Floating>
  static std::optional<std::string> floatingDefault(const std::string& text)
  {
    Floating value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value)) {
      return std::nullopt;
    }
    return text;
  }

  /// Names and values of a class's members; found once, since any number of fields and paths may ask.
  struct Members
  {
    std::unordered_map<std::string_view, const Field*> byName;  // of equal ones the first
    std::unordered_set<long long> values;
  };

  const Members& membersOf(const Class& cls)
  {
    const auto [known, isNew] = members_.try_emplace(&cls);
    if (isNew) {
      for (const Field& field : cls.fields) {
        known->second.byName.emplace(field.name, &field);
        known->second.values.insert(field.value);
      }
    }
    return known->second;
  }

  std::optional<std::string> enumDefault(const Field& field)
  {
    const std::string& text = *field.defaultText;
    const Members& members = membersOf(*field.reference);
    if (const auto named = members.byName.find(text); named != members.byName.end()) {
      return std::to_string(named->second->value);
    }
    const std::optional<long long> number = integer(text);
    return number && members.values.contains(*number) ? std::optional(std::to_string(*number)) : std::nullopt;
  }

  /// Brings a default into the form that the library reads: integers and enumeration values in decimal.
  void resolveDefault(Field& field)
  {
    const std::string& text = *field.defaultText;
    switch (field.type) {
      case FIELD_INT:
      case FIELD_TIME32:
        field.defaultValue = integerDefault<int>(text);
        break;
      case FIELD_UINT:
        field.defaultValue = integerDefault<unsigned int>(text);
        break;
      case FIELD_LONG:
      case FIELD_LONGLONG:
      case FIELD_TIME64:
        field.defaultValue = integerDefault<long long>(text);
        break;
      // The library reads a default as a signed 64-bit number, so the upper half of the unsigned range has
      // none.
      case FIELD_ULONG:
      case FIELD_ULONGLONG:
        field.defaultValue = integerDefault<unsigned long long>(text);
        break;
      case FIELD_BOOL:
        if (text == "true" || text == "false") {
          field.defaultValue = text;
        }
        break;
      case FIELD_ENUM:
        if (field.reference == nullptr) {
          return;  // already reported
        }
        field.defaultValue = enumDefault(field);
        break;
      case FIELD_DOUBLE:
        field.defaultValue = floatingDefault<double>(text);
        break;
      case FIELD_FLOAT:
        field.defaultValue = floatingDefault<float>(text);
        break;
      case FIELD_STRING:
      case FIELD_BSTRING:
        field.defaultValue = text;
        break;
      default:
        diagnostics_.error(field.at, "a field of the type of " + inQuotes(field.name) + " has no default");
        return;
    }
    if (!field.defaultValue) {
      diagnostics_.error(field.at, "default " + inQuotes(text) + " of field " + inQuotes(field.name) +
                                       " is no value of its type");
    }
  }

  /// A path is name[1]/name[1]/@attribute for a scalar, name[1]/name[1]/list for a list of scalars; the steps
  /// before the last lead through objects and lists of objects.
  void resolveXPath(const System& system, XPath& xpath)
  {
    const auto found = classes_.find(system.name + "_" + xpath.message);
    if (found == classes_.end() || found->second->isEnum) {
      diagnostics_.error(xpath.at, "unknown message " + inQuotes(xpath.message) + " of xpath");
      return;
    }
    const Class* cls = found->second;
    std::string rest = xpath.path;
    while (cls != nullptr) {
      const std::size_t slash = rest.find('/');
      const bool last = slash == std::string::npos;
      const std::string step = rest.substr(0, slash);
      const Field* field = nullptr;
      if (last) {
        field = xpathValue(*cls, step, xpath);
      } else {
        field = xpathObject(*cls, step, xpath);
        rest.erase(0, slash + 1);
      }
      if (field == nullptr) {
        xpath.fieldIndices.clear();
        return;
      }
      xpath.fieldIndices.push_back(static_cast<int>(field - cls->fields.data()));
      cls = last ? nullptr : field->reference;
    }
  }

  const Field* xpathObject(const Class& cls, const std::string& step, const XPath& xpath)
  {
    constexpr std::string_view first = "[1]";
    if (!step.ends_with(first)) {
      return refuseStep(step, xpath, "does not end with [1]");
    }
    const Field* field = fieldNamed(cls, step.substr(0, step.size() - first.size()), step, xpath);
    if (field != nullptr && field->type != FIELD_OBJECT && field->type != FIELD_LIST_OBJECT) {
      return refuseStep(step, xpath, "leads through no object");
    }
    // An object whose class is unknown has been reported.
    return field != nullptr && field->reference != nullptr ? field : nullptr;
  }

  const Field* xpathValue(const Class& cls, const std::string& step, const XPath& xpath)
  {
    const bool attribute = step.starts_with('@');
    const Field* field = fieldNamed(cls, step.substr(attribute ? 1 : 0), step, xpath);
    if (field == nullptr) {
      return nullptr;
    }
    const FieldTypeInfo& info = fieldTypeInfo(field->type);
    const bool scalar = info.storage != Storage::None && info.element == FIELD_UNSET &&
                        info.mapKey == FIELD_UNSET && field->type != FIELD_OBJECT;
    const bool list = info.element != FIELD_UNSET && info.element != FIELD_OBJECT;
    if (attribute ? !scalar : !list) {
      return refuseStep(step, xpath, attribute ? "names no scalar field" : "names no list of scalars");
    }
    return field;
  }

  const Field* fieldNamed(const Class& cls, const std::string& name, const std::string& step,
                          const XPath& xpath)
  {
    const Members& members = membersOf(cls);
    if (const auto found = members.byName.find(name); found != members.byName.end()) {
      return found->second->type != FIELD_INVALID ? found->second
                                                  : nullptr;  // invalid: reported where it stands
    }
    return refuseStep(step, xpath, "names no field of " + tagName(cls));
  }

  const Field* refuseStep(const std::string& step, const XPath& xpath, const std::string& why)
  {
    diagnostics_.error(xpath.at, "step " + inQuotes(step) + " of xpath " + inQuotes(xpath.path) + " " + why);
    return nullptr;
  }

  Catalogue& catalogue_;
  Diagnostics& diagnostics_;
  std::unordered_map<std::string, const System*> systems_;
  std::unordered_map<std::string, const Class*> classes_;
  std::unordered_map<const Class*, Members> members_;
};

}  // namespace

void resolve(Catalogue& catalogue, Diagnostics& diagnostics)
{
  Resolver(catalogue, diagnostics).run();
}

}  // namespace kwxml::catalogue
