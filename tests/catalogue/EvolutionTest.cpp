// What the rules of changes promise, held against what the readers do: random pairs of catalogues, and data
// of each read with the other.
#include "Evolution.h"
#include "RandomCatalogue.h"
#include "ReadTables.h"
#include "Stages.h"

#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Registry.h>
#include <kwxml/reading/Problems.h>

#include "platform/TempDirectory.h"
#include "support/LogCapture.h"
#include "support/Messages.h"
#include "support/ParserFeed.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <sstream>

namespace {

using namespace kwxml;
using catalogue::ChangeKind;
using Owned = std::unique_ptr<YMMessageBase>;

// ---- The forms of a message

/// What a writer makes of a message, and what each reader of the form makes of that.
struct Form
{
  const char* name;
  bool hasNames;  ///< of roots and enumerators
  bool readable;
  std::string (*write)(YMMessageBase& message);
  Owned (*read)(const std::string& text, ReadObserver* observer);
};

template <class Encoder, bool readable>
std::string writeText(YMMessageBase& message)
{
  EncodingFlags flags;
  flags.readableForm = readable;
  flags.exactNumbers = 1;
  std::string out;
  return Encoder(flags).serialize(message, out) == 0 ? out : std::string();
}

std::string writeElements(YMMessageBase& message)
{
  EncodingFlags flags;
  flags.valuesAsElements = 1;
  flags.enumsAsNames = 1;
  flags.exactNumbers = 1;
  std::string out;
  return XMLEncoder(flags).serialize(message, out) == 0 ? out : std::string();
}

std::string writeBinary(YMMessageBase& message)
{
  BinaryBuffer buffer;
  BinarySerializer::serialize(message, buffer);
  return {buffer.data(), buffer.length()};
}

Owned readBinary(const std::string& bytes, ReadObserver* observer)
{
  BinaryBuffer buffer;
  buffer.SetReadBuffer(bytes.data(), bytes.size(), true);
  return Owned(BinarySerializer::unserialize(buffer, nullptr, false, observer));
}

Owned readXml(const std::string& xml, ReadObserver* observer)
{
  return Owned(XMLDecoder().unSerialize(xml, nullptr, observer));
}

Owned readJson(const std::string& json, ReadObserver* observer)
{
  return JSONDecoder().unSerialize(json, observer);
}

const Form forms[] = {
    {"binary", false, false, writeBinary, readBinary},
    {"XML", true, false, writeText<XMLEncoder, false>, readXml},
    {"XML by the parser", true, false, writeText<XMLEncoder, false>, test::readByParser},
    {"XML elements", true, false, writeElements, readXml},
    {"readable XML", true, true, writeText<XMLEncoder, true>, test::readByParser},
    {"JSON", true, false, writeText<JSONEncoder, false>, readJson},
    {"readable JSON", true, true, writeText<JSONEncoder, true>, readJson},
};

// ---- Values

/// As text in which numbers of all widths are alike.
template <class T>
void append(std::string& out, const T& value)
{
  if constexpr (std::is_integral_v<T>) {
    out += std::to_string(static_cast<long long>(value));
  } else if constexpr (std::is_floating_point_v<T>) {
    char digits[64];
    std::snprintf(digits, sizeof digits, "%a", static_cast<double>(value));
    out += digits;
  } else if constexpr (std::is_same_v<T, std::string>) {
    out += value;
  } else if constexpr (std::is_same_v<T, std::wstring>) {
    for (const wchar_t c : value) {
      append(out, static_cast<long>(c));
    }
  } else if constexpr (std::is_base_of_v<bstring, T>) {
    out += value.text();
  }
  out += ';';
}

/// A value without messages in it.
std::string textOf(const YMMessageBase& message, const FieldDef& def)
{
  std::string out;
  visitFieldType(def.type, [&]<class Tag>(Tag) {
    using Value = typename Tag::Value;
    if constexpr (InPlaceValue<Tag>) {
      append(out, MessageAccess::inPlace<Value>(message, def.slot));
    } else if constexpr (ObjectValue<Tag>) {
      const auto* value = MessageAccess::pointer<Value>(message, def.slot);
      if (value == nullptr) {
        return;
      }
      if constexpr (ListValue<Tag> && Tag::type != FIELD_LIST_OBJECT) {
        for (const auto& element : *value) {
          append(out, element);
        }
      } else if constexpr (MapValue<Tag> && Tag::info.mapValue != FIELD_OBJECT) {
        for (const auto& [key, mapped] : *value) {
          append(out, key);
          append(out, mapped);
        }
      } else if constexpr (ByteString<Tag> || PasswordString<Tag>) {
        append(out, *value);
      }
    }
  });
  return out;
}

enum class Direction
{
  OldDataReadByNew,
  NewDataReadByOld,
};

/// Two readings of one document: with the catalogue that wrote it, and with the other one.
class Common
{
public:
  Common(Direction direction, bool byName) : direction_(direction), byName_(byName) {}

  void compare(const YMMessageBase& own, const YMMessageBase& other, const std::string& path)
  {
    for (const FieldDef& def : *own.getClass()) {
      const FieldDef* const found = MessageAccess::isSet(own, def) ? partner(def, own, other) : nullptr;
      if (found != nullptr && isComparable(def, *found, own)) {
        compareField(def, own, *found, other, path + "." + def.getName());
      }
    }
  }

  int compared() const { return compared_; }

private:
  /// The field of the same name; of old data that the name was before, too.
  const FieldDef* partner(const FieldDef& def, const YMMessageBase& own, const YMMessageBase& other) const
  {
    if (def.hash == 0 || fieldTypeInfo(def.type).storage == Storage::None) {
      return nullptr;
    }
    if (findField(*own.getClass(), def.hash) != &def) {
      return nullptr;  // another one has its hash, and all its values
    }
    for (const FieldDef& candidate : *other.getClass()) {
      if (std::strcmp(candidate.getName(), def.getName()) == 0) {
        return candidate.hash != 0 ? &candidate : nullptr;
      }
    }
    std::size_t count = 0;
    const FormerName* names = nullptr;
    if (direction_ == Direction::OldDataReadByNew) {
      names = Registry::of(other).formerNames(other.getSubsysID(), indexOf(other), count);
    }
    for (std::size_t i = 0; i < count; ++i) {
      if (names[i].field >= 0 && std::strcmp(names[i].name, def.getName()) == 0) {
        return &other.getClass()->fields[names[i].field];
      }
    }
    return nullptr;
  }

  static int indexOf(const YMMessageBase& message)
  {
    return static_cast<int>(message.getClass() -
                            Registry::of(message).row(static_cast<unsigned>(message.getSubsysID())).classes);
  }

  /// Older programs cut wider numbers, and do not know new names of enumerators.
  bool isComparable(const FieldDef& def, const FieldDef& found, const YMMessageBase& own) const
  {
    if (direction_ == Direction::OldDataReadByNew) {
      return true;
    }
    if (def.type != found.type) {
      return false;
    }
    if (!byName_ || def.type != FIELD_ENUM) {
      return byName_ ? def.type != FIELD_LIST_ENUM : true;
    }
    const FieldDef* const enumerator =
        findEnumerator(findClass(packedReference(def)), MessageAccess::raw(own, def.slot));
    return enumerator == nullptr ||
           findEnumeratorNamed(packedReference(found), enumerator->getName()) != nullptr;
  }

  void compareField(const FieldDef& def, const YMMessageBase& own, const FieldDef& found,
                    const YMMessageBase& other, const std::string& path)
  {
    ++compared_;
    EXPECT_TRUE(MessageAccess::isSet(other, found)) << path << " is lost";
    EXPECT_EQ(textOf(own, def), textOf(other, found)) << path;
    if (def.type == found.type) {
      compareMessages(def, own, found, other, path);
    }
  }

  void compareMessages(const FieldDef& def, const YMMessageBase& own, const FieldDef& found,
                       const YMMessageBase& other, const std::string& path)
  {
    visitFieldType(def.type, [&]<class Tag>(Tag) {
      using Value = typename Tag::Value;
      if constexpr (ObjectValue<Tag>) {
        const auto* a = MessageAccess::pointer<Value>(own, def.slot);
        const auto* b = MessageAccess::pointer<Value>(other, found.slot);
        if (a == nullptr || b == nullptr) {
          EXPECT_TRUE(a == nullptr && b == nullptr) << path;
          return;
        }
        if constexpr (MessageValue<Tag>) {
          compare(*a, *b, path);
        } else if constexpr (Tag::type == FIELD_LIST_OBJECT || Tag::info.mapValue == FIELD_OBJECT) {
          ASSERT_EQ(a->size(), b->size()) << path;
          for (auto [i, j] = std::pair(a->begin(), b->begin()); i != a->end(); ++i, ++j) {
            if constexpr (Tag::type == FIELD_LIST_OBJECT) {
              compare(*i, *j, path);
            } else {
              if constexpr (Tag::info.mapKey == FIELD_OBJECT) {
                compare(i->first, j->first, path + ".key");
              } else {
                EXPECT_EQ(i->first, j->first) << path;
              }
              compare(i->second, j->second, path + ".value");
            }
          }
        }
      }
    });
  }

  Direction direction_;
  bool byName_;
  int compared_ = 0;
};

// ---- Pairs of catalogues

/// A catalogue as the compiler and as the library have it. Null registry: its schema has errors.
struct Version
{
  Version(const test::TempDirectory& folder, const std::string& name, const std::string& schema)
      : registry(Registry::fromSchemas({folder.write(name, schema)}, problems))
  {
    catalogue::Diagnostics diagnostics;
    parsed = catalogue::parse({{diagnostics.addFile(name), schema}}, diagnostics);
    if (!diagnostics.hasErrors()) {
      catalogue::resolve(parsed, diagnostics);
      catalogue::check(parsed, diagnostics);
      catalogue::layOut(parsed, diagnostics);
    }
    EXPECT_EQ(diagnostics.hasErrors(), registry == nullptr) << problems;
  }

  std::string problems;
  Registry::Owner registry;
  catalogue::Catalogue parsed;
};

/// A class and all that it leads to.
struct Reach
{
  std::set<std::string> names;
  bool hasUncoded = false;  ///< a type of which no reader knows where a binary value ends
};

void addReachable(const Registry& registry, int system, int index, Reach& reach)
{
  const _ClassDef* const cls = registry.findClass(system, index);
  if (!reach.names.insert(tagNameOf(system, *cls)).second) {
    return;
  }
  for (const FieldDef& def : *cls) {
    reach.hasUncoded = reach.hasUncoded || def.type == FIELD_ULONGLONG || def.type == FIELD_LIST_ULONGLONG ||
                       def.type == FIELD_LIST_WSTRING;
    for (int i = 0; i < FieldDef::packedReferences(def.type); ++i) {
      const PackedReference to = packedReference(def, i);
      addReachable(registry, to.system, to.classIndex, reach);
    }
  }
}

class Pair
{
public:
  Pair(const Version& older, const Version& newer) : older_(older), newer_(newer)
  {
    differences_ = catalogue::compare(older.parsed, newer.parsed);
    for (const catalogue::Difference& difference : differences_) {
      using Id = catalogue::EvolutionRuleId;
      if (catalogue::evolutionRule(difference.rule).kind == ChangeKind::DataBreaking) {
        allBroken_ = allBroken_ || difference.cls.empty();
        broken_.insert(difference.cls);
      }
      hasNewDates_ = hasNewDates_ || difference.rule == Id::DateMarkAdded;
    }
    addOldNames();
  }

  void run(std::mt19937& random)
  {
    read(Direction::OldDataReadByNew, *older_.registry, *newer_.registry, random);
    read(Direction::NewDataReadByOld, *newer_.registry, *older_.registry, random);
  }

  int compared() const { return compared_; }

  std::string describe() const { return describe(differences_); }

  static std::string describe(const std::vector<catalogue::Difference>& differences)
  {
    std::string text;
    for (const catalogue::Difference& difference : differences) {
      const catalogue::EvolutionRule& rule = catalogue::evolutionRule(difference.rule);
      text += std::string(catalogue::kindName(rule.kind)) + ": " + rule.name + ": " + difference.text + "\n";
    }
    return text;
  }

private:
  /// Differences have the new name of a class that has another one now.
  void addOldNames()
  {
    for (const catalogue::System& system : newer_.parsed.systems) {
      for (const catalogue::System& before : older_.parsed.systems) {
        for (const catalogue::Class& cls : system.classes) {
          for (const catalogue::Class& old : before.classes) {
            if (before.name == system.name && (old.id == cls.id || old.name == cls.formerly) &&
                broken_.contains(tagName(cls))) {
              broken_.insert(tagName(old));
            }
          }
        }
      }
    }
  }

  bool isBroken(const Registry& registry, int system, int index, const Form& form) const
  {
    Reach reach;
    addReachable(registry, system, index, reach);
    return allBroken_ || (!form.hasNames && reach.hasUncoded) ||
           std::any_of(reach.names.begin(), reach.names.end(),
                       [this](const std::string& name) { return broken_.contains(name); });
  }

  void read(Direction direction, const Registry& from, const Registry& to, std::mt19937& random)
  {
    for (int system = 0; system < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++system) {
      for (int index = 0; index < from.row(static_cast<unsigned>(system)).numberOfClasses; ++index) {
        const _ClassDef* const cls = from.findClass(system, index);
        if (cls->name == nullptr || cls->isEnum()) {
          continue;
        }
        for (const bool full : {true, false}) {
          for (const Form& form : forms) {
            SCOPED_TRACE(tagNameOf(system, *cls) + " as " + form.name +
                         (direction == Direction::OldDataReadByNew ? ", old data" : ", new data"));
            std::string text;
            Owned own;
            {
              const UsingCatalogue scope(from);
              YMMessageBase message(system, index);
              for (const FieldDef& def : *cls) {
                if (full || random() % 2 == 0) {
                  test::fill(message, def, static_cast<int>(random() % 90) + 1, 1);
                }
              }
              text = form.write(message);
              own = form.read(text, nullptr);
            }
            const UsingCatalogue scope(to);
            const Owned other = form.read(text, nullptr);
            if (own != nullptr && !isBroken(from, system, index, form)) {
              compare(direction, form, *own, other.get(), to);
            }
          }
        }
      }
    }
  }

  void compare(Direction direction, const Form& form, const YMMessageBase& own, const YMMessageBase* other,
               const Registry& to)
  {
    short system = 0;
    int index = 0;
    const bool isKnown = form.hasNames
                             ? to.findClass(own.getSubsystemName(), own.getClass()->name, system, index)
                             : to.findTag(own.getTagID(), system, index);
    if (direction == Direction::NewDataReadByOld && (!isKnown || (form.readable && hasNewDates_))) {
      return;  // a new class, or a new name
    }
    if (isKnown && isBroken(to, system, index, form)) {
      return;
    }
    ASSERT_NE(other, nullptr);
    Common common(direction, form.hasNames);
    common.compare(own, *other, own.getTagName());
    compared_ += common.compared();
  }

  const Version& older_;
  const Version& newer_;
  std::vector<catalogue::Difference> differences_;
  std::set<std::string> broken_;
  bool allBroken_ = false;
  bool hasNewDates_ = false;
  int compared_ = 0;
};

/// KWXML_EVOLUTION_PAIRS says how many pairs; each has a seed of its own, the first pairs are always the
/// same.
TEST(Evolution, WhatIsNoBreakOfDataKeepsIt)
{
  const char* const wanted = std::getenv("KWXML_EVOLUTION_PAIRS");  // NOLINT(concurrency-mt-unsafe)
  const unsigned pairs = wanted != nullptr ? static_cast<unsigned>(std::atoi(wanted)) : 150;
  const test::TempDirectory folder;
  unsigned made = 0;
  long compared = 0;
  for (unsigned seed = 1; made < pairs && !HasFailure(); ++seed) {
    ASSERT_LT(seed, 20 * pairs) << "hardly any catalogue is valid";
    const test::LogCapture log;
    std::mt19937 random(seed);
    test::RandomCatalogue schema(random);
    const std::string before = schema.text();
    const Version older(folder, "older.xml", before);
    for (auto changes = older.registry != nullptr ? 1 + random() % 4 : 0; changes > 0; --changes) {
      schema.change();
    }
    const std::string after = schema.text();
    const Version newer(folder, "newer.xml", after);
    if (older.registry == nullptr || newer.registry == nullptr) {
      continue;
    }
    ++made;
    Pair pair(older, newer);
    SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + before + after + pair.describe());
    pair.run(random);
    compared += pair.compared();
  }
  EXPECT_GT(compared, 100 * static_cast<long>(pairs)) << "hardly anything was compared";
}

// ---- Compiled catalogues

/// Tables are in another order than schemas.
std::multiset<std::string> sorted(const std::vector<catalogue::Difference>& differences)
{
  std::multiset<std::string> lines;
  for (const catalogue::Difference& difference : differences) {
    lines.insert(Pair::describe({difference}));
  }
  return lines;
}

/// The same differences, whether a version is there as schemas or as tables.
void compareTables(const Version& older, const Version& newer)
{
  const catalogue::Catalogue before = catalogue::readTables(older.registry->tables());
  const catalogue::Catalogue after = catalogue::readTables(newer.registry->tables());
  const std::multiset<std::string> expected = sorted(catalogue::compare(older.parsed, newer.parsed));
  EXPECT_EQ(sorted(catalogue::compare(before, newer.parsed)), expected);
  EXPECT_EQ(sorted(catalogue::compare(older.parsed, after)), expected);
}

TEST(Evolution, TablesAreComparedAsTheirSchemasAre)
{
  const test::TempDirectory folder;
  int differences = 0;
  for (unsigned seed = 1; seed < 200 && !HasFailure(); ++seed) {
    std::mt19937 random(seed);
    test::RandomCatalogue schema(random);
    const Version older(folder, "older.xml", schema.text());
    for (int changes = 0; changes < 5; ++changes) {
      schema.change();
    }
    const Version newer(folder, "newer.xml", schema.text());
    if (older.registry != nullptr && newer.registry != nullptr) {
      SCOPED_TRACE("seed " + std::to_string(seed));
      compareTables(older, newer);
      compareTables(newer, newer);
      differences += static_cast<int>(catalogue::compare(older.parsed, newer.parsed).size());
    }
  }
  EXPECT_GT(differences, 200);
}

/// Tables do not say of which message a path is, and two have the same fields.
TEST(Evolution, PathsOfMessagesThatAreAlike)
{
  const auto schema = [](const char* fields, const char* last, int firstId) {
    const auto path = [&](int id, const char* message, const char* text) {
      return "<xpath id='" + std::to_string(firstId + id) + "' message='" + message + "' path='" + text +
             "'/>";
    };
    const bool renamed = std::strstr(fields, "yy") != nullptr;
    return std::string("<catalogue><system name='Paths' index='12'><message name='A' id='1'>") + fields +
           "</message><message name='B' id='2'>" + fields + "</message><message name='C' id='3'>" + last +
           "</message><enum name='E' id='4'><enumerator name='z' value='1'/></enum>" + path(1, "A", "@x") +
           path(2, "B", "@x") + path(3, "A", renamed ? "@yy" : "@y") +
           path(4, "C", std::strstr(last, "zz") != nullptr ? "@zz" : "@z") + "</system></catalogue>";
  };
  const char* const fields = "<field name='x' type='int'/><field name='y' type='int'/>";
  const char* const last = "<field name='z' type='int'/>";
  const test::TempDirectory folder;
  const Version older(folder, "older.xml", schema(fields, last, 0));
  ASSERT_NE(older.registry, nullptr) << older.problems;
  const std::string changed[] = {
      schema("<field name='x' type='int'/><field name='yy' type='int' formerly='y'/>", last, 0),
      schema(fields, "<field name='zz' type='int' formerly='z'/>", 0),
      schema(fields, last, 10),
  };
  for (const std::string& text : changed) {
    const Version newer(folder, "newer.xml", text);
    ASSERT_NE(newer.registry, nullptr) << newer.problems;
    compareTables(older, newer);
  }
}

// ---- Former names

constexpr const char* oldSchema = R"(<catalogue><system name="Names" index="60">
  <message name="OldOrder" id="1">
    <field name="oldText" type="string"/>
    <field name="oldState" type="enum" class="Names_State"/>
    <field name="oldStates" type="list" of="enum" class="Names_State"/>
    <field name="oldPart" type="object" class="Names_OldPart"/>
    <field name="oldParts" type="list" of="object" class="Names_OldPart"/>
    <field name="oldMap" type="map" key="string" of="object" class="Names_OldPart"/>
    <field name="kept" type="int"/>
  </message>
  <message name="OldPart" id="2"><field name="oldNumber" type="double"/></message>
  <enum name="State" id="3"><enumerator name="OldOpen" value="5"/></enum>
</system></catalogue>)";

constexpr const char* newSchema = R"(<catalogue><system name="Names" index="60">
  <message name="Order" id="1" formerly="OldOrder">
    <field name="map" type="map" key="string" of="object" class="Names_Part" formerly="oldMap"/>
    <field name="kept" type="int"/>
    <field name="text" type="string" formerly="oldText"/>
    <field name="state" type="enum" class="Names_State" formerly="oldState"/>
    <field name="states" type="list" of="enum" class="Names_State" formerly="oldStates"/>
    <field name="part" type="object" class="Names_Part" formerly="oldPart"/>
    <field name="parts" type="list" of="object" class="Names_Part" formerly="oldParts"/>
  </message>
  <message name="Part" id="2" formerly="OldPart">
    <field name="number" type="double" formerly="oldNumber"/>
  </message>
  <enum name="State" id="3"><enumerator name="Open" value="5" formerly="OldOpen"/></enum>
</system></catalogue>)";

constexpr const char* oldData =
    R"({"Names_OldOrder":{"oldText":"t","oldState":"oldOPEN","oldStates":["OldOpen",5],)"
    R"("oldPart":{"oldNumber":1.5},"oldParts":[{"oldNumber":2.5},{}],"oldMap":{"k":{"oldNumber":3.5}},"kept":7}})";
constexpr const char* newData =
    R"({"Names_Order":{"map":{"k":{"number":3.5}},"kept":7,"text":"t","state":"Open","states":["Open","Open"],)"
    R"("part":{"number":1.5},"parts":[{"number":2.5},{}]}})";

TEST(FormerNames, EveryReaderTakesThem)
{
  const test::TempDirectory folder;
  const Version older(folder, "older.xml", oldSchema);
  const Version newer(folder, "newer.xml", newSchema);
  ASSERT_TRUE(older.registry != nullptr && newer.registry != nullptr) << older.problems << newer.problems;
  EXPECT_EQ(Pair(older, newer).describe().find("data-breaking"), std::string::npos);
  for (const Form& form : forms) {
    SCOPED_TRACE(form.name);
    std::string text;
    {
      const UsingCatalogue scope(*older.registry);
      const Owned message = readJson(oldData, nullptr);
      ASSERT_NE(message, nullptr);
      text = form.write(*message);
    }
    const UsingCatalogue scope(*newer.registry);
    for (const bool watched : {false, true}) {
      Problems problems;
      const Owned message = form.read(text, watched ? &problems : nullptr);
      ASSERT_NE(message, nullptr);
      EXPECT_EQ((writeText<JSONEncoder, false>(*message)), newData);
      EXPECT_TRUE(problems.empty()) << toText(problems, text);
    }
  }
}

}  // namespace
