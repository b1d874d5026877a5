#include "RandomCatalogue.h"

#include "Evolution.h"

#include <algorithm>
#include <sstream>

namespace kwxml::test {

namespace {

constexpr SchemaType types[] = {
    {"type=\"int\"", FIELD_INT, 0, false, {"1", "-2"}},
    {"type=\"uint\"", FIELD_UINT, 0, false, {"1", "2"}},
    {"type=\"long\"", FIELD_LONG, 0, false, {"1", "-2"}},
    {"type=\"ulong\"", FIELD_ULONG, 0, false, {"1", "2"}},
    {"type=\"longlong\"", FIELD_LONGLONG, 0, false, {"1", "-2"}},
    {"type=\"ulonglong\"", FIELD_ULONGLONG, 0, false, {"1", "2"}},
    {"type=\"bool\"", FIELD_BOOL, 0, false, {"true", "false"}},
    {"type=\"string\"", FIELD_STRING, 0, false, {"one", "two"}},
    {"type=\"wstring\"", FIELD_WSTRING},
    {"type=\"enum\"", FIELD_ENUM, 1, true},
    {"type=\"double\"", FIELD_DOUBLE, 0, false, {"1.5", "2"}},
    {"type=\"float\"", FIELD_FLOAT, 0, false, {"1.5", "2"}},
    {"type=\"bstring\"", FIELD_BSTRING, 0, false, {"one", "two"}},
    {"type=\"time32\"", FIELD_TIME32, 0, false, {"1", "-2"}},
    {"type=\"time64\"", FIELD_TIME64, 0, false, {"1", "-2"}},
    {"type=\"none\"", FIELD_UNSET},
    {"type=\"utf16\"", FIELD_UTF16},
    {"type=\"object\"", FIELD_OBJECT, 1},
    {"type=\"list\" of=\"int\"", FIELD_LIST_INT},
    {"type=\"list\" of=\"uint\"", FIELD_LIST_UINT},
    {"type=\"list\" of=\"long\"", FIELD_LIST_LONG},
    {"type=\"list\" of=\"ulong\"", FIELD_LIST_ULONG},
    {"type=\"list\" of=\"longlong\"", FIELD_LIST_LONGLONG},
    {"type=\"list\" of=\"ulonglong\"", FIELD_LIST_ULONGLONG},
    {"type=\"list\" of=\"enum\"", FIELD_LIST_ENUM, 1, true},
    {"type=\"list\" of=\"string\"", FIELD_LIST_STRING},
    {"type=\"list\" of=\"wstring\"", FIELD_LIST_WSTRING},
    {"type=\"list\" of=\"bstring\"", FIELD_LIST_BSTRING},
    {"type=\"list\" of=\"bool\"", FIELD_LIST_BOOL},
    {"type=\"list\" of=\"float\"", FIELD_LIST_FLOAT},
    {"type=\"list\" of=\"double\"", FIELD_LIST_DOUBLE},
    {"type=\"list\" of=\"object\"", FIELD_LIST_OBJECT, 1},
    {"type=\"map\" key=\"longlong\" of=\"longlong\"", FIELD_MAP_INT64_INT64},
    {"type=\"map\" key=\"longlong\" of=\"string\"", FIELD_MAP_INT64_STRING},
    {"type=\"map\" key=\"longlong\" of=\"object\"", FIELD_MAP_INT64_OBJECT, 1},
    {"type=\"map\" key=\"string\" of=\"longlong\"", FIELD_MAP_STRING_INT64},
    {"type=\"map\" key=\"string\" of=\"string\"", FIELD_MAP_STRING_STRING},
    {"type=\"map\" key=\"string\" of=\"object\"", FIELD_MAP_STRING_OBJECT, 1},
    {"type=\"map\" key=\"object\" of=\"object\"", FIELD_MAP_OBJECT_OBJECT, 2},
};

/// Few, so that what is new often has the name of something that was before. Two have one hash.
constexpr const char* names[] = {"a", "b", "c", "d", "e", "f", "g", "h", "k", "m", "n", "p", "Aa", "BB"};

}  // namespace

RandomCatalogue::RandomCatalogue(std::mt19937& random) : random_(&random)
{
  systems_.push_back({"First", 60, {}});
  if (oneIn(2)) {
    systems_.push_back({"Second", oneIn(2) ? 50 : 61, {}});  // 50: its messages build those within them
  }
  for (RandomSystem& system : systems_) {
    system.classes.push_back(anyClass(true));
  }
  for (RandomSystem& system : systems_) {
    for (std::size_t count = 2 + below(4); count > 0; --count) {
      system.classes.push_back(anyClass(oneIn(5)));
    }
  }
}

std::string RandomCatalogue::anyName()
{
  return anyOf(names);
}

RandomClass RandomCatalogue::anyClass(bool isEnum)
{
  RandomClass cls{numbers_, isEnum, "C" + std::to_string(numbers_), {}, numbers_ + 1, -1, {}};
  ++numbers_;
  for (std::size_t count = 1 + below(9); count > 0; --count) {
    RandomMember member = isEnum ? anyEnumerator() : anyField();
    const bool isTaken = std::any_of(cls.members.begin(), cls.members.end(),
                                     [&](const RandomMember& other) { return other.name == member.name; });
    if (!isTaken) {
      cls.members.push_back(member);
    }
  }
  return cls;
}

/// Seldom one that spoils what stands behind it in the binary form.
const SchemaType& RandomCatalogue::anyType()
{
  const SchemaType& type = anyOf(types);
  const bool spoils =
      type.type == FIELD_ULONGLONG || type.type == FIELD_LIST_ULONGLONG || type.type == FIELD_LIST_WSTRING;
  return spoils && !oneIn(8) ? anyOf(types) : type;
}

RandomMember RandomCatalogue::anyField()
{
  RandomMember field;
  field.name = anyName();
  setType(field, anyType());
  field.hidden = oneIn(20);
  if (oneIn(12)) {
    field.formerly = anyName();
  }
  return field;
}

RandomMember RandomCatalogue::anyEnumerator()
{
  RandomMember enumerator;
  enumerator.name = anyName();
  enumerator.value = static_cast<int>(below(12));
  return enumerator;
}

/// -1 when there is none.
int RandomCatalogue::anyReference(bool toEnum)
{
  std::vector<int> found;
  for (const RandomSystem& system : systems_) {
    for (const RandomClass& cls : system.classes) {
      if (cls.isEnum == toEnum) {
        found.push_back(cls.number);
      }
    }
  }
  return found.empty() ? -1 : anyOf(found);
}

void RandomCatalogue::setType(RandomMember& field, const SchemaType& type)
{
  field.type = &type;
  field.defaultText = type.defaults[0] != nullptr && oneIn(3) ? static_cast<int>(below(2)) : -1;
  field.cdata = false;
  field.date = "";
  for (int i = 0; i < type.references; ++i) {
    field.classes[i] = anyReference(type.toEnum);
    if (field.classes[i] < 0) {
      field.type = &types[0];  // no class yet
      field.defaultText = -1;
      return;
    }
  }
}

/// Half of the time to a type that keeps the data, where there is one.
void RandomCatalogue::retype(RandomMember& field)
{
  std::vector<const SchemaType*> harmless;
  for (const SchemaType& type : types) {
    if (type.type != field.type->type &&
        catalogue::evolutionRule(catalogue::retypeRule(field.type->type, type.type)).kind !=
            catalogue::ChangeKind::DataBreaking) {
      harmless.push_back(&type);
    }
  }
  setType(field, oneIn(2) && !harmless.empty() ? *anyOf(harmless) : anyType());
}

void RandomCatalogue::rename(std::string& name, std::string& formerly, const std::string& next)
{
  formerly = oneIn(5) ? formerly : oneIn(5) ? std::string() : name;
  name = next;
}

void RandomCatalogue::changeMessage(RandomClass& cls)
{
  RandomMember added = anyField();
  if (cls.members.empty() || oneIn(4)) {
    const std::size_t position = oneIn(2) ? cls.members.size() : below(cls.members.size() + 1);
    cls.members.insert(cls.members.begin() + static_cast<std::ptrdiff_t>(position), added);
    return;
  }
  RandomMember& field = anyOf(cls.members);
  const FieldTypeInfo& info = fieldTypeInfo(field.type->type);
  switch (below(12)) {
    case 0:
      cls.members.erase(cls.members.begin() + (&field - cls.members.data()));
      break;
    case 1:
    case 2:
    case 3:
      rename(field.name, field.formerly, anyName());
      break;
    case 4:
    case 5:
      retype(field);
      break;
    case 6:
    case 7:
      std::swap(field, anyOf(cls.members));
      break;
    case 8:
      field.defaultText = field.type->defaults[0] != nullptr ? static_cast<int>(below(3)) - 1 : -1;
      break;
    case 9:
      field.hidden = !field.hidden;
      break;
    case 10:
      if (field.type->type >= FIELD_INT && field.type->type <= FIELD_ULONGLONG) {
        constexpr const char* marks[] = {"", " date=\"DATE\"", " date=\"DATE_TIME\"", " timeOfDay=\"true\""};
        field.date = anyOf(marks);
      } else if (info.storage == Storage::InPlace || info.type == FIELD_LIST_STRING) {
        field.cdata = !field.cdata;
      }
      break;
    default:
      if (oneIn(2)) {
        field.formerly.clear();
      } else {
        field.noted = !field.noted;
      }
  }
}

void RandomCatalogue::changeEnum(RandomClass& cls)
{
  if (cls.members.empty()) {
    return;
  }
  RandomMember& enumerator = anyOf(cls.members);
  switch (below(6)) {
    case 5:  // readers take names in any case
      enumerator.name[0] = static_cast<char>(enumerator.name[0] ^ 0x20);
      break;
    case 0:
      cls.members.erase(cls.members.begin() + (&enumerator - cls.members.data()));
      break;
    case 1:
      enumerator.value = static_cast<int>(below(12));
      break;
    case 2:
    case 3:
      rename(enumerator.name, enumerator.formerly, anyName());
      break;
    default:
      cls.members.push_back(anyEnumerator());
  }
}

bool RandomCatalogue::isReferredTo(int number) const
{
  for (const RandomSystem& system : systems_) {
    for (const RandomClass& cls : system.classes) {
      for (const RandomMember& member : cls.members) {
        const int references = member.type != nullptr ? member.type->references : 0;
        if (std::find(member.classes, member.classes + references, number) != member.classes + references) {
          return true;
        }
      }
    }
  }
  return false;
}

void RandomCatalogue::changeClass(RandomSystem& system, std::size_t position)
{
  RandomClass& cls = system.classes[position];
  switch (below(6)) {
    case 0:
      system.classes.push_back(anyClass(oneIn(4)));
      break;
    case 1:
      if (!isReferredTo(cls.number) && system.classes.size() > 1) {
        system.classes.erase(system.classes.begin() + static_cast<std::ptrdiff_t>(position));
      }
      break;
    case 2:
      rename(cls.name, cls.formerly, "C" + std::to_string(20 + below(3)));
      break;
    case 3:
      cls.id = static_cast<int>(1 + below(20));
      break;
    case 4:
      std::swap(cls, anyOf(system.classes));
      break;
    default:
      system.classes.back().index = static_cast<int>(20 + below(3));
  }
}

void RandomCatalogue::change()
{
  RandomSystem& system = anyOf(systems_);
  if (oneIn(40)) {
    if (oneIn(2)) {
      system.name = "Third";
    } else {
      system.index = oneIn(2) ? 50 : 62;
    }
    return;
  }
  const std::size_t position = below(system.classes.size());
  if (oneIn(5)) {
    changeClass(system, position);
  } else if (system.classes[position].isEnum) {
    changeEnum(system.classes[position]);
  } else {
    changeMessage(system.classes[position]);
  }
}

std::string RandomCatalogue::tagName(int number) const
{
  for (const RandomSystem& system : systems_) {
    for (const RandomClass& cls : system.classes) {
      if (cls.number == number) {
        return system.name + "_" + cls.name;
      }
    }
  }
  return {};
}

std::string RandomCatalogue::text() const
{
  std::ostringstream out;
  const auto formerly = [](const std::string& name) {
    return name.empty() ? name : " formerly=\"" + name + "\"";
  };
  out << "<catalogue>\n";
  for (const RandomSystem& system : systems_) {
    out << "  <system name=\"" << system.name << "\" index=\"" << system.index << "\">\n";
    for (const RandomClass& cls : system.classes) {
      const char* const kind = cls.isEnum ? "enum" : "message";
      out << "    <" << kind << " name=\"" << cls.name << "\" id=\"" << cls.id << '"';
      if (cls.index >= 0) {
        out << " index=\"" << cls.index << '"';
      }
      out << formerly(cls.formerly) << ">\n";
      for (const RandomMember& member : cls.members) {
        if (cls.isEnum) {
          out << "      <enumerator name=\"" << member.name << "\" value=\"" << member.value << '"'
              << formerly(member.formerly) << "/>\n";
          continue;
        }
        out << "      <field name=\"" << member.name << "\" " << member.type->attributes;
        if (member.type->references > 0) {
          out << " class=\"" << tagName(member.classes[0]) << '"';
        }
        if (member.type->references > 1) {
          out << " keyClass=\"" << tagName(member.classes[1]) << '"';
        }
        if (member.defaultText >= 0) {
          out << " default=\"" << member.type->defaults[member.defaultText] << '"';
        }
        const bool mayHaveFormerName =
            !member.hidden && fieldTypeInfo(member.type->type).storage != Storage::None;
        out << (mayHaveFormerName ? formerly(member.formerly) : "") << member.date
            << (member.hidden ? " hidden=\"true\"" : "") << (member.cdata ? " cdata=\"true\"" : "")
            << (member.noted ? "><annotation name=\"Suppress\"/></field>\n" : "/>\n");
      }
      out << "    </" << kind << ">\n";
    }
    out << "  </system>\n";
  }
  out << "</catalogue>\n";
  return out.str();
}

}  // namespace kwxml::test
