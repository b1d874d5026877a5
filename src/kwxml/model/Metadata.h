// The constant records that describe message classes, and the lookups over them.
//
// The catalogue compiler writes these records as constant arrays; they are linked into the program, never
// allocated, never freed, and read from any thread without a lock. Code outside the model reads them and
// never changes them. Sizes and member orders are part of the contract with compiled catalogues.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <kwxml/model/FieldTypes.h>

#include <cstdint>
#include <string>
#include <string_view>

/// One field of a message class, or one enumerator of an enumeration. The records of a class are contiguous
/// and in declaration order.
struct KWXML_API FieldDef
{
  /// NUL-terminated name behind its packed class references: one (4 bytes, big-endian: system index, then the
  /// 24-bit class index) for types 10, 19, 22, 23, 35 and 38, two (key class, value class) for type 39. The
  /// reference may hold zero bytes. getName() skips them.
  const char* name;
  /// The field's annotation record (see docs/formats.md) or null.
  const unsigned char* annotations;
  /// The 24-bit hash of the name, 0 for a hidden field; for an enumerator (type 32) its value instead.
  std::uint32_t hash;
  /// Always zero.
  std::uint32_t reserved;
  /// Position of the record in its class and the field's bit in the is-set bitset; 0 for records of type 0.
  std::int16_t fieldNumber;
  /// First 8-byte slot of the value. Not derivable from the position: slots need not follow declaration
  /// order.
  std::int16_t slot;
  /// The type of the value; FIELD_ENUMERATOR for an enumerator.
  FieldDataType type;

  /// The name past its packed class references.
  const char* getName() const { return name + packedReferences(type) * 4; }

  /// Number of packed class references before the name of a field of type `t`: 0, 1 or 2.
  static constexpr int packedReferences(FieldDataType t)
  {
    switch (t) {  // an irregular set: map keys and lists differ in what they reference
      case FIELD_ENUM:
      case FIELD_LIST_ENUM:
      case FIELD_LIST_OBJECT:
      case FIELD_OBJECT:
      case FIELD_MAP_INT64_OBJECT:
      case FIELD_MAP_STRING_OBJECT:
        return 1;
      case FIELD_MAP_OBJECT_OBJECT:
        return 2;
      default:
        return 0;
    }
  }

  /// Whether values of the type are maps.
  static bool isMapType(FieldDataType t);
  /// The type of a map's keys; FIELD_UNSET for a type that is no map.
  static FieldDataType getMapKeyType(FieldDataType t);
  /// The type of a map's values; FIELD_UNSET for a type that is no map.
  static FieldDataType getMapValueType(FieldDataType t);
  /// The type's name in a schema listing; "Unknown Type " for a type without one.
  static const char* getFieldTypeName(FieldDataType t);
  /// The same text as a string.
  static std::string convertFieldToTypeString(FieldDataType t);
  /// True when the field is an enumeration or a list of them and `value` is one of its enumerators. Logs and
  /// returns false when the enumeration's class cannot be found.
  static bool isValidEnumValue(const FieldDef& field, int value);

  /// Where a message keeps this field's value: the address of its first slot for a value in place, the
  /// pointer in its slot (null until created) for an object, null for a type without storage.
  const void* getFieldAddrResolved(const YMMessageBase& message) const;
};
static_assert(sizeof(FieldDef) == 32, "field records are packed");

/// One message class or enumeration. An enumeration is a class whose records are all enumerators.
struct _ClassDef
{
  const char* name;             ///< without its system's name
  const FieldDef* fields;       ///< `numberOfFields` records
  std::uint64_t classId;        ///< low 24 bits of the tag identifier
  std::int32_t defaultsIndex;   ///< first entry in the system's defaults table, or -1
  std::int16_t numberOfFields;  ///< of an enumeration: of its enumerators
  std::int16_t numberOfSlots;   ///< 8-byte slots that the values need

  /// Whether the class is an enumeration. One without enumerators is none.
  bool isEnum() const { return numberOfFields > 0 && fields[0].type == FIELD_ENUMERATOR; }
  /// The first record.
  const FieldDef* begin() const { return fields; }
  /// The end behind the last record.
  const FieldDef* end() const { return fields + numberOfFields; }
};
static_assert(sizeof(_ClassDef) == 32);

namespace kwxml {

/// An entry of a system's defaults table. A class's entries start at its defaultsIndex and run in field
/// order.
struct DefaultValue
{
  std::uint16_t fieldNumber;  ///< noField marks an entry that matches no field and ends a class's run
  const char* text;           ///< decimal number, "true"/"false", or a string
  static constexpr std::uint16_t noField = 65535;  ///< ends a class's run
};

/// An entry of a system's class-ID table, sorted ascending by ID; IDs may repeat.
struct ClassIdIndex
{
  std::uint64_t classId;    ///< low 24 bits of a tag identifier
  std::int16_t classIndex;  ///< position of the class in its system
};

/// Path of field indices from a top-level class down to the field that holds a value.
struct XPathFieldsInfo
{
  const std::int16_t* fieldIndices;  ///< `depth` field numbers, that of the top-level class first
  std::int32_t depth;                ///< length of the path
};

}  // namespace kwxml

/// XPath identifier and its index into the fields-info array; arrays are sorted by identifier.
struct XPathIDHelper
{
  std::int32_t id;               ///< XPath identifier
  std::int32_t fieldsInfoIndex;  ///< index into XPathDataRow::fieldsInfo
};

/// XPath identifier and its text; arrays are sorted by text in strcmp order.
struct XPathIDToXPath
{
  std::uint32_t id;   ///< XPath identifier
  const char* xpath;  ///< its text
};

/// The XPath tables of one message system. The arrays have one entry more than `count`.
struct XPathDataRow
{
  std::int64_t system;                       ///< message-system index in the low 16 bits
  const kwxml::XPathFieldsInfo* fieldsInfo;  ///< the paths
  const XPathIDHelper* idToFieldsInfo;       ///< from identifiers to paths
  const XPathIDToXPath* idToXPath;           ///< from texts to identifiers
  std::int32_t count;                        ///< entries of each array, without the one behind them
};

/// One row of the registry of message systems; the row's position is the system index.
struct MessageSystemRow
{
  const char* name;                     ///< null in an empty row
  const _ClassDef* classes;             ///< `numberOfClasses` records
  const kwxml::ClassIdIndex* classIds;  ///< positions of the classes by their IDs
  const kwxml::DefaultValue* defaults;  ///< the default values of all classes
  std::int16_t numberOfClasses;         ///< also the length of classIds
  std::int16_t eager;  ///< 1: messages build all nested objects and mark every primitive when made
};
static_assert(sizeof(MessageSystemRow) == 40);

namespace kwxml {
class Registry;
struct ClassPlan;
}  // namespace kwxml

/// The first registry of the process (see Registry.h). Its tables are defined by the catalogue that a program
/// is linked with, or that the library is. Visible to the library whatever flags a catalogue is compiled
/// with.
struct KWXML_API XML_KWMessage_MessageSystemChooser
{
  static constexpr int numberOfSystems = 206;  ///< rows of msgSysStruct
  /// The systems by their indices. Row 0 is always empty.
  static const MessageSystemRow msgSysStruct[numberOfSystems];
  /// One row per system with XPath data; ends with a row of system 0, null pointers and count -1.
  static const XPathDataRow xpathData[];
  /// The same tables as an object. A library's own tables are the first registry only where no catalogue
  /// defines this one; so it may be missing, which only the library asks.
  static const kwxml::Registry* const catalogue;
  /// The systems whose eager flag is 1. Tag identifiers travel in encoded messages, so the numbers are fixed.
  static constexpr std::uint16_t oldXFilesSubsystemIDS[28] = {1,  2,   3,   4,   5,   6,   7,   9,  10, 11,
                                                              13, 15,  16,  17,  19,  25,  31,  33, 34, 36,
                                                              50, 103, 110, 111, 113, 114, 116, 201};
};

namespace kwxml {

/// An entry of the index of names. A class stands in it under the hash of its tag name, and of its former
/// one; a system under that of its name, "_" and nothing.
struct ClassNameIndex
{
  std::uint32_t hash;       ///< classNameHash()
  std::int16_t system;      ///< index of the system
  std::int16_t classIndex;  ///< position of the class in its system; -1: the system itself
};

/// A name that a class or one of its fields had before, by which readers still find it.
struct FormerName
{
  std::int16_t system;      ///< index of the system
  std::int16_t classIndex;  ///< position of the class in its system
  std::int16_t field;       ///< position of its record, or -1 for the class itself
  std::int16_t reserved;    ///< 0
  std::uint32_t hash;       ///< nameHash() of the name
  const char* name;         ///< the former name
};

/// What a schema says about a system, a class, a field or an enumerator, for people.
struct DocText
{
  std::int16_t system;      ///< index of the system
  std::int16_t classIndex;  ///< position of the class in its system; -1: the system itself
  std::int16_t field;       ///< position of the record; -1: the class itself
  std::int16_t reserved;    ///< 0
  const char* text;         ///< what the schema says
};

/// Everything that the compiler writes of a catalogue. Constant data; the arrays are sorted as their rows are
/// ordered, member by member, but for xpath.
struct CatalogueTables
{
  /// Changes with every change of the records and of the order in which they are found. So does the name of
  /// the inline namespaces that hold what programs and catalogues refer to by symbols: what is compiled for
  /// another version does not link.
  static constexpr std::uint32_t currentVersion = 2;

  std::uint32_t version;              ///< currentVersion of the compiler that wrote them
  std::uint32_t numberOfClassNames;   ///< length of classNames
  std::uint32_t numberOfFormerNames;  ///< length of formerNames
  std::uint32_t numberOfDocs;         ///< length of docs
  const char* name;                   ///< of the catalogue: a C++ identifier
  const MessageSystemRow* systems;    ///< numberOfSystems rows
  const XPathDataRow* xpath;          ///< ends as XML_KWMessage_MessageSystemChooser::xpathData does
  const ClassNameIndex* classNames;   ///< the index of names
  const FormerName* formerNames;      ///< names that classes and fields had before
  const DocText* docs;                ///< what the schemas say for people
};

/// One step of classNameHash(): a part of the name, eight bytes at a time, its length with the last of them.
constexpr std::uint64_t classNameHashStep(std::uint64_t h, std::string_view part)
{
  constexpr std::uint64_t factor = 0x9E3779B97F4A7C15U;
  const auto load = [](const char* bytes, std::size_t count) {
    std::uint64_t word = 0;
    for (std::size_t i = 0; i < count; ++i) {
      word |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << i * 8;
    }
    return word;
  };
  const char* at = part.data();
  std::size_t left = part.size();
  for (; left >= 8; at += 8, left -= 8) {
    h = (h ^ load(at, 8)) * factor;
    h ^= h >> 32;
  }
  std::uint64_t last = part.size() << 56;
  if (left >= 4) {  // two words of four, which may overlap
    last ^= load(at, 4) | load(at + left - 4, 4) << 24;
  } else if (left > 0) {
    last ^= load(at, 1) | load(at + left / 2, 1) << 8 | load(at + left - 1, 1) << 16;
  }
  h = (h ^ last) * factor;
  return h ^ h >> 32;
}

/// The hash of the index of classes by name, of a tag name's parts: its values are spread evenly.
constexpr std::uint32_t classNameHash(std::string_view system, std::string_view cls)
{
  return static_cast<std::uint32_t>(classNameHashStep(classNameHashStep(0, system), cls) >> 32);
}

/// The hash by which fields are found: h = h * 31 + c over the bytes read as signed characters, in wrapping
/// 32-bit arithmetic, kept to its low 24 bits. 0 for a null pointer or no bytes.
constexpr std::uint32_t nameHash(const char* text, std::size_t length)
{
  std::uint32_t h = 0;
  for (std::size_t i = 0; text != nullptr && i < length; ++i) {
    h = h * 31 + static_cast<std::uint32_t>(static_cast<signed char>(text[i]));
  }
  return h & 0xFFFFFF;
}
static_assert(nameHash("errorCode", 9) == 0x9CB015 && nameHash("\xC3", 1) == 0xFFFFC3);

/// Where fingerprints begin: the fingerprint of a class without records.
inline constexpr std::uint32_t fingerprintStart = 2166136261U;
/// What a program compiled with a class's wrapper counts on: the fingerprint of the class's records, one step
/// for each, from `fingerprintStart` on; of an enumerator, a second one with the hash of its name alone. Of
/// two catalogues whose classes have one fingerprint each reads the other's messages in place.
constexpr std::uint32_t fingerprintStep(std::uint32_t fingerprint, std::uint32_t hash, int number, int slot,
                                        int type)
{
  const std::uint32_t parts[] = {hash,
                                 static_cast<std::uint32_t>(number) << 16 | static_cast<std::uint16_t>(slot),
                                 static_cast<std::uint32_t>(type)};
  for (const std::uint32_t part : parts) {
    for (int shift = 0; shift < 32; shift += 8) {
      fingerprint = (fingerprint ^ (part >> shift & 0xFF)) * 16777619U;
    }
  }
  return fingerprint;
}

/// The fingerprint of the first `count` records of a class.
inline std::uint32_t fingerprintOf(const _ClassDef& cls, int count)
{
  std::uint32_t value = fingerprintStart;
  for (int i = 0; i < count; ++i) {
    const FieldDef& def = cls.fields[i];
    value = fingerprintStep(value, def.hash, def.fieldNumber, def.slot, def.type);
    if (def.type == FIELD_ENUMERATOR) {
      value = fingerprintStep(value, nameHash(def.name, std::string_view(def.name).size()), 0, 0, 0);
    }
  }
  return value;
}

/// A packed class reference as it stands before a field's name.
struct PackedReference
{
  int system;                          ///< index of the system
  int classIndex;                      ///< position of the class in its system
  const Registry* registry = nullptr;  ///< in which it is looked up; null: in the one in use
  /// The reference in the four bytes at `fourBytes`, without a registry.
  static PackedReference read(const void* fourBytes)
  {
    const auto* b = static_cast<const unsigned char*>(fourBytes);
    return {b[0], b[1] << 16 | b[2] << 8 | b[3]};
  }
};

/// The reference before the name of `field`, `which` being 0 or (type 39: the value's class) 1.
KWXML_API PackedReference packedReference(const FieldDef& field, int which = 0);

/// Class record at an index of a system; null when either is out of range. Logs nothing.
KWXML_API const _ClassDef* findClass(int system, int classIndex);
KWXML_API const _ClassDef* findClass(const PackedReference& reference);

/// The tag identifier of a class of a system.
constexpr unsigned long tagOf(int system, const _ClassDef& cls)
{
  return static_cast<unsigned long>(system) << 24 | cls.classId;
}

/// The tag name of a class of a system: the names of both with "_" between them.
KWXML_API std::string tagNameOf(int system, const _ClassDef& cls);

/// Whether messages of a system build their nested messages when they are made. The rows of all catalogues
/// say the same, since the numbers are fixed.
constexpr bool isEager(int system)
{
  for (const std::uint16_t number : XML_KWMessage_MessageSystemChooser::oldXFilesSubsystemIDS) {
    if (number == system) {
      return true;
    }
  }
  return false;
}

/// The tag of the processing-instruction class, which the library reaches by it in any catalogue.
inline constexpr unsigned long processingInstructionTag = 0x12454EA9;

/// First record of an ordinary class whose stored hash is `hash`; null when there is none.
KWXML_API const FieldDef* findField(const _ClassDef& cls, std::uint64_t hash);
/// The same, or else the field that had a name of that hash before.
KWXML_API const FieldDef* findFieldOrFormer(const _ClassDef& cls, std::uint64_t hash);

/// The enumerator of a number; null when there is none, and without a class.
inline const FieldDef* findEnumerator(const _ClassDef* enumeration, long long value)
{
  const auto number = static_cast<std::int32_t>(value);
  return enumeration != nullptr && number == value
             ? findField(*enumeration, static_cast<std::uint32_t>(number))
             : nullptr;
}

/// The enumerator of a name, in any case of its letters, or else the one that had the name before; null when
/// there is none, and without an enumeration.
KWXML_API const FieldDef* findEnumeratorNamed(const PackedReference& enumeration, std::string_view name);

/// False for nested messages, lists and maps of them, and types without a value; true for all else, numbers
/// of no type included. An irregular set, which encodings rely on.
KWXML_API bool isPrimitiveType(unsigned type);
/// Whether encodings take the type for a list. An irregular set, which they rely on: it has a scalar
/// (ulonglong) and lacks the list of ulonglong and that of bstring.
constexpr bool isListType(unsigned type)
{
  constexpr auto bit = [](FieldDataType one) { return std::uint64_t{1} << one; };
  constexpr std::uint64_t set = bit(FIELD_ULONGLONG) | bit(FIELD_LIST_INT) | bit(FIELD_LIST_UINT) |
                                bit(FIELD_LIST_LONG) | bit(FIELD_LIST_ULONG) | bit(FIELD_LIST_LONGLONG) |
                                bit(FIELD_LIST_ENUM) | bit(FIELD_LIST_STRING) | bit(FIELD_LIST_WSTRING) |
                                bit(FIELD_LIST_OBJECT) | bit(FIELD_LIST_BOOL) | bit(FIELD_LIST_FLOAT) |
                                bit(FIELD_LIST_DOUBLE);
  return type < fieldTypeCount && (set >> type & 1) != 0;
}
/// Whether a value of the type is written with elements of its own: the types of isListType(), the list of
/// bstring, and maps.
constexpr bool isCollectionType(unsigned type)
{
  return isListType(type) || type == FIELD_LIST_BSTRING || fieldTypeInfo(type).mapKey != FIELD_UNSET;
}

}  // namespace kwxml
