// The one generic message class: it holds the values of any message of the catalogue.
//
// A message knows its class only through its tag identifier and a pointer to the class's constant record;
// there is no per-class code. Values are reached through typed accessors that all take the same address:
// field number, slot, expected tag and name hash, as generated wrappers know them. When the expected tag is
// the message's own, field number and slot are trusted (within the message's slots); otherwise the field is
// found again by its name hash in the message's own class, so that programs built against different
// catalogues understand each other.
//
// Ownership: a message owns everything its slots point to. Copies are deep; a move takes everything over and
// leaves the source without a class. Thread safety: several threads may read, copy, compare and encode one
// message as long as none changes it; distinct messages share only constant data.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <kwxml/model/Metadata.h>
#include <kwxml/model/Owned.h>
#include <kwxml/model/StringTypes.h>
#include <kwxml/model/XMLChstring.h>
#include <kwxml/model/YMMessageBuffer.h>

#include <map>
#include <new>
#include <string>
#include <string_view>
#include <vector>

/// What integers of all widths are in a message.
typedef long long XML_INT64;

namespace KwEntities {
/// The typed wrapper of the processing-instruction class, defined by the header of a catalogue that has it.
/// Like every wrapper it derives from YMMessageBase alone and adds no member.
class ProcessingInstructionInfo;
}  // namespace KwEntities

namespace kwxml {
struct MessageAccess;
struct AccessorRules;
struct MessageLife;
inline namespace v2 {
struct WrapperClass;
}
}  // namespace kwxml

/// A message of any class: the values of its fields, which of them are set, and the texts that are cached
/// with it. The head of this file says how fields are addressed.
class KWXML_API YMMessageBase
{
public:
  // ---- Construction

  /// A message without a class: it has no fields until it is assigned or initialised.
  /// (Not defaulted: a defaulted one would have all slots zeroed wherever a message is value-initialised.)
  YMMessageBase() noexcept {}
  /// A message of class `classIndex` of `system`, with its defaults; without a class when there is none.
  YMMessageBase(int system, int classIndex);
  /// The same of a catalogue of one's own choice.
  YMMessageBase(const kwxml::Registry& registry, int system, int classIndex);
  /// The same in storage of the caller (8-byte aligned, `sizeInBytes` bytes), which must outlive the message
  /// and is zeroed first. Throws KwException (and logs) when the slots and the is-set bits need more bytes.
  YMMessageBase(int system, int classIndex, long long* buffer, int sizeInBytes);
  /// A deep copy of the values, class included, and of the cached texts.
  YMMessageBase(const YMMessageBase& source);
  /// Takes over the values, class included, without copying; `source` is left without a class.
  YMMessageBase(YMMessageBase&& source) noexcept;
  /// Destroys all values. Storage of the caller stays the caller's.
  ~YMMessageBase();

  /// Copies all set fields and the cached texts. Fields that are unset in the source are unset afterwards. A
  /// message without a class takes on the source's; otherwise different classes throw KwException (and log),
  /// and the target is unchanged.
  YMMessageBase& operator=(const YMMessageBase& source);
  /// The same by taking over, without copying and without throwing. Throws (and logs) only where a copy
  /// would, and copies where the target's values lie in storage of the caller.
  YMMessageBase& operator=(YMMessageBase&& source);  // NOLINT(*-noexcept-move-constructor,*-exception-escape)

  /// Gives a message its class and storage, as the constructors do. What it held before is destroyed.
  void initialize(int system, int classIndex, bool external, long long* buffer, int size);
  /// Does nothing; kept for callers of the interface.
  void initialize() {}
  /// Initialises the XML machinery of the process.
  static void Initialize();

  // ---- Making messages of any class
  // The functions that make a message give null, without a line, when there is no memory for it. All other
  // members throw std::bad_alloc then, and leave what they change valid. Each message that is made belongs to
  // the caller. With kwxml::owned the type of the result says so.

  /// New message for a tag; the caller owns it. Null (and a log line) when the tag does not resolve. The flag
  /// has no effect.
  [[nodiscard]] static YMMessageBase* createObject(unsigned long tag, bool flag = false);
  [[nodiscard]] static std::unique_ptr<YMMessageBase> createObject(unsigned long tag, kwxml::Owned);
  /// New message from indices that other look-ups gave; null when there is no such class.
  [[nodiscard]] static YMMessageBase* createObjectFromIndices(short& system, int& classIndex);
  [[nodiscard]] static std::unique_ptr<YMMessageBase> createObjectFromIndices(short system, int classIndex,
                                                                              kwxml::Owned);
  /// New message from the packed class reference in the first four bytes at `packed`; null for a null pointer
  /// or (with a log line) a system above 205. The flag has no effect.
  [[nodiscard]] static YMMessageBase* createObjectFromClassID(const unsigned long* packed, bool flag = false);
  [[nodiscard]] static std::unique_ptr<YMMessageBase> createObjectFromClassID(const unsigned long* packed,
                                                                              kwxml::Owned);
  /// The same, but null for the processing-instruction class.
  [[nodiscard]] static YMMessageBase* createFromClassIDIfNotProcessingInstructionInfo(
      const unsigned long* packed);
  [[nodiscard]] static std::unique_ptr<YMMessageBase> createFromClassIDIfNotProcessingInstructionInfo(
      const unsigned long* packed, kwxml::Owned);
  /// New message in `out`, filled from `xml` when `parseNow` is set, else keeping `xml` (which may be null)
  /// as its serialized text. 0 on success; 1 on failure, with `out` null and the reason in `errorText`.
  [[nodiscard]] static int ConstructObject(unsigned long tag, const char* xml, YMMessageBase*& out,
                                           bool parseNow, std::string& errorText);
  [[nodiscard]] static int ConstructObject(unsigned long tag, const char* xml,
                                           std::unique_ptr<YMMessageBase>& out, bool parseNow,
                                           std::string& errorText);
  /// The same for the class with the 24-bit class ID `classId` of the system.
  [[nodiscard]] static int constructObject(unsigned long system, unsigned long classId, const char* xml,
                                           YMMessageBase*& out, bool parseNow, std::string& errorText);
  [[nodiscard]] static int constructObject(unsigned long system, unsigned long classId, const char* xml,
                                           std::unique_ptr<YMMessageBase>& out, bool parseNow,
                                           std::string& errorText);

  /// Deletes every field and applies the defaults; then an old-way class builds its sub-objects and marks
  /// every primitive set, and any other unmarks every primitive, so that its defaults are values but not set
  /// ones. Throws std::bad_alloc when memory ends on the way; then every field has been deleted, and some
  /// have their defaults.
  void reset();
  /// Sets the field at position `onlyField`, or every field (-1), to its default value, where it has one.
  void setDefaults(short onlyField);
  /// Creates empty lists and nested messages (old-way classes do so at construction).
  void constructSubObjects();

  // ---- Class and look-ups

  // Those without a message ask the catalogue in use (Registry.h). Where nothing is said of the log, nothing
  // is logged.

  /// The index of the system of that name; false, with `system` unchanged, when there is none.
  [[nodiscard]] static bool getMessageSystemIndexFromName(const char* name, short& system);
  /// The position of the class of that name in the system `system`; false, with nothing changed, when there
  /// is none.
  [[nodiscard]] static bool getMessageIndexFromName(const char* name, short& system, int& index);
  /// System and position of the class of a tag; false when there is none. Stores the system also when the tag
  /// does not resolve.
  [[nodiscard]] static bool getIndicesFromTagID(short& system, int& index, unsigned long tag);
  /// The tag of the class at a position of a system; false, with `tag` unchanged, when there is none.
  [[nodiscard]] static bool getTagIDFromIndices(short system, short index, unsigned long& tag);
  /// The record of a class; of a message the record of its own class. Null when there is no such class: of
  /// indices with a log line, of a tag or a null message without one.
  static const _ClassDef* GetClassDef(short system, int index);
  static const _ClassDef* GetClassDef(unsigned long tag);
  static const _ClassDef* GetClassDef(const YMMessageBase* message);
  /// Class of the packed reference before the field's name, or at `packed`; null (and a log line) when it is
  /// invalid.
  static const _ClassDef* GetClassDefFromClassID(const FieldDef& field);
  static const _ClassDef* GetClassDefFromClassID(const unsigned long* packed);
  /// The tag name of a class ("Demo_Status"): the names of its system and its own with "_" between them. An
  /// empty text for a tag without a class.
  static std::string getTagNameFromTagID(unsigned long tag);
  /// The number of fields of a class; false, with `count` unchanged, when the tag has none.
  [[nodiscard]] static bool getNumberOfFields(unsigned long tag, int& count);
  /// Position of the field (found by name hash) or enumerator (found by name); -1 when there is none.
  static int getFieldNumberFromName(const _ClassDef* cls, const std::string& name);
  /// Name of the enumerator with `value` in the enumeration of that name; an empty text and a log line when
  /// there is none. Never null.
  static const char* getEnumString(short system, const char* enumName, int value);
  /// XPath tables of a system; null when it has none.
  static const XPathDataRow* getXPathData(short system);
  /// Whether the class of a tag is an old-way one, whose messages build all nested messages and mark every
  /// primitive set when they are made. That is so for all classes of some systems.
  static bool isOldWay(unsigned long tag);
  /// Writes the table of a class and its fields into `out`; false, with `out` unchanged, when there is no
  /// such class.
  [[nodiscard]] static bool getMessageSchemaString(std::string& out, short systemIndex, int classIndex,
                                                   bool includeHidden, bool showHash);
  [[nodiscard]] static bool getMessageSchemaString(unsigned long tagID, std::string& out, bool includeHidden,
                                                   bool showHash);

  /// The message's tag identifier; 0 for one without a class.
  unsigned long getTagID() const noexcept { return tagId_; }
  /// The index of the message's system; 0 for one without a class.
  int getSubsysID() const noexcept { return static_cast<int>(tagId_ >> 24); }
  /// The position of the message's class in its system; 0 for a message without a class.
  int getClassIndex() const noexcept { return classIndex_; }
  /// The message's tag name ("Demo_Status"); empty for one without a class.
  std::string getTagName() const;
  /// The name of the message's system; empty for one without a class.
  std::string getSubsystemName() const;
  /// The number of the class's fields; 0 for a message without a class.
  [[nodiscard]] int getNumberOfFields() const noexcept { return buffer_.bitCount(); }
  /// The record of the message's class; null for one without a class.
  const _ClassDef* getClass() const noexcept { return class_; }

  // ---- Is-set bits
  // `field`, `tag` and `hash` address a field as the head of this file says. A field that is not there is an
  // error line, and nothing is changed.

  /// Whether the field is set; false where there is no such field.
  bool isSet(short field, unsigned long tag, unsigned long hash) const
  {
    if (tag == tagId_ && static_cast<unsigned short>(field) < buffer_.bitCount()) [[likely]] {
      return buffer_.bit(field);
    }
    return isSetSlow("bool YMMessageBase::isSet(short int, long unsigned int, long unsigned int) const",
                     field, tag, hash);
  }
  /// Also tells whether the field has a name hash (a hidden one has none) and its name.
  bool isSet(short field, bool& hasHash, std::string& name) const;
  /// Marks the field set and leaves its value.
  void setField(short field, unsigned long tag, unsigned int hash);
  /// Marks the field unset and leaves its value.
  void unsetField(short field, unsigned long tag, unsigned int hash);
  /// Marks the field at a position set or unset and leaves its value. A field that is no primitive (see
  /// XMLDecoder::isPrimitive()) or is a list is an error line, and nothing is changed.
  void setPrimitiveBitValue(int field, bool on);
  /// Marks every field that is not hidden and has its value in place set or unset. Byte strings and passwords
  /// become empty ones when `on` is true, and are dropped when it is false.
  void setEveryPrimitiveBitset(bool on);
  /// Drops the value of the field of that name, as deleteMember() does. With `on` true nothing but an error
  /// line happens: a field cannot be marked without a value. A name that no field has does nothing.
  void setMemberTestBit(const std::string& name, bool on);
  /// Marks every field unset and leaves all values.
  void wipeBitset();

  // ---- Scalars
  // A field is addressed as the head of this file says. On failure (one log line) a getter returns zero or a
  // reference to a default that the caller may overwrite but never frees, and a setter changes nothing.

  /// The value of a field whose value is an integer in place: all integers, enumerators, truth values, dates.
  XML_INT64 getint64(short slot, unsigned long tag, unsigned int hash) const
  {
    if (ownSlot(slot, tag)) [[likely]] {
      return buffer_[slot];
    }
    return getSlotSlow("XML_INT64 YMMessageBase::getint64(short int, long unsigned int, unsigned int) const",
                       slot, tag, hash);
  }
  /// The value of a float field.
  float getfloat(short slot, unsigned long tag, unsigned int hash) const
  {
    return bitsTo<float>(
        ownSlot(slot, tag)
            ? buffer_[slot]
            : getSlotSlow("float YMMessageBase::getfloat(short int, long unsigned int, unsigned int) const",
                          slot, tag, hash));
  }
  /// The value of a double field.
  double getdouble(short slot, unsigned long tag, unsigned int hash) const
  {
    return bitsTo<double>(
        ownSlot(slot, tag)
            ? buffer_[slot]
            : getSlotSlow("double YMMessageBase::getdouble(short int, long unsigned int, unsigned int) const",
                          slot, tag, hash));
  }
  /// A reference to the slot of an integer, which marks the field set. It holds as long as the message has
  /// its class.
  XML_INT64& getint64ByRef(short field, short slot, unsigned long tag, unsigned int hash);

  /// Stores the value and marks the field set. On a string, byte-string or password field the number's
  /// decimal text is stored.
  void setint64(short field, short slot, XML_INT64 value, unsigned long tag, unsigned int hash)
  {
    if (ownScalar(field, slot, tag)) [[likely]] {
      buffer_[slot] = value;
      buffer_.setBit(field);
    } else {
      setSlotSlow(
          "void YMMessageBase::setint64(short int, short int, XML_INT64, long unsigned int, unsigned int)",
          field, slot, value, true, tag, hash);
    }
  }
  /// Stores the value and marks the field set.
  void setfloat(short field, short slot, float value, unsigned long tag, unsigned int hash)
  {
    if (ownScalar(field, slot, tag)) [[likely]] {
      buffer_[slot] = bitsFrom(value);
      buffer_.setBit(field);
    } else {
      setSlotSlow(
          "void YMMessageBase::setfloat(short int, short int, float, long unsigned int, unsigned int)", field,
          slot, bitsFrom(value), false, tag, hash);
    }
  }
  /// Stores the value and marks the field set.
  void setdouble(short field, short slot, double value, unsigned long tag, unsigned int hash)
  {
    if (ownScalar(field, slot, tag)) [[likely]] {
      buffer_[slot] = bitsFrom(value);
      buffer_.setBit(field);
    } else {
      setSlotSlow(
          "void YMMessageBase::setdouble(short int, short int, double, long unsigned int, unsigned int)",
          field, slot, bitsFrom(value), false, tag, hash);
    }
  }

  // ---- Strings
  // A field is addressed, and failure is told, as for scalars. References and pointers hold as long as the
  // message keeps the value; what they refer to stays the message's.

  /// The text of a string field, which may be written to; the field is not marked set.
  std::string& getstring(short field, short slot, unsigned long tag, unsigned int hash);
  /// The text of a string field.
  const std::string& getstring_const(short field, short slot, unsigned long tag, unsigned int hash) const;
  /// The text of a string field, which may be written to; the field is marked set.
  std::string& getstringByRef(short field, short slot, unsigned long tag, unsigned int hash);
  /// Stores a copy of the text and marks the field set.
  void setstring(short field, short slot, const std::string& value, unsigned long tag, unsigned int hash);
  /// The text of a wide-string field, which may be written to; the field is not marked set.
  std::wstring& getwstring(short field, short slot, unsigned long tag, unsigned int hash);
  /// The text of a wide-string field.
  const std::wstring& getwstring_const(short field, short slot, unsigned long tag, unsigned int hash) const;
  /// The text of a wide-string field, which may be written to; the field is marked set.
  std::wstring& getwstringByRef(short field, short slot, unsigned long tag, unsigned int hash);
  /// Stores a copy of the text and marks the field set.
  void setwstring(short field, short slot, const std::wstring& value, unsigned long tag, unsigned int hash);

  /// The pointer in the slot of a byte-string field, null until there is a value; marks nothing. What a
  /// caller stores there becomes the message's.
  bstring*& getbstringobject(short field, short slot, unsigned long tag, unsigned int hash);
  /// The byte string of a field; null when there is none.
  const bstring* getbstringobject_const(short field, short slot, unsigned long tag, unsigned int hash) const;
  /// The byte string of a field, made when there is none; the field is marked set.
  bstring& getbstringobjectByRef(short field, short slot, unsigned long tag, unsigned int hash);
  /// Stores a copy of the bytes and marks the field set. On a password field they become a plain password.
  void setbstringobject(short field, short slot, const bstring& value, unsigned long tag, unsigned int hash);
  /// The pointer in the slot of a password field, null until there is a value; marks nothing. What a caller
  /// stores there becomes the message's.
  pstring*& getpstringobject(short field, short slot, unsigned long tag, unsigned int hash);
  /// The password of a field; null when there is none.
  const pstring* getpstringobject_const(short field, short slot, unsigned long tag, unsigned int hash) const;
  /// The password of a field, made when there is none; the field is marked set.
  pstring& getpstringobjectByRef(short field, short slot, unsigned long tag, unsigned int hash);
  /// Stores a copy of the text of `value` under the encryption type `type`, and marks the field set.
  void setpstringobject(short field, short slot, const pstring& value, Annotation::PasswordEncryptType type,
                        unsigned long tag, unsigned int hash);

  /// Deprecated: logs a line and returns a reference to a default.
  cdata& getcdataobject(short field, short slot, unsigned long tag, unsigned int hash);
  /// Deprecated: logs a line and returns a reference to a default.
  const cdata& getcdataobject_const(short field, short slot, unsigned long tag, unsigned int hash) const;
  /// Deprecated: logs a line and stores nothing.
  void setcdataobject(short field, short slot, const cdata& value, unsigned long tag, unsigned int hash);

  // ---- Nested messages

  /// The slot as an untyped pointer; marks nothing. A foreign tag with an unknown hash logs and throws
  /// KwException.
  void*& getObject(short field, short slot, unsigned long tag, unsigned int hash);
  /// The value that the slot points to; null when there is none. Fails as getObject() does.
  const void* getObject_const(short field, short slot, unsigned long tag, unsigned int hash) const;
  /// Destroys the field's value and stores `value`, which must be of the field's C++ type: the pointer
  /// itself, then owned by the message, when `takeOwnership` is true, else a copy of what it points to.
  void setObject(short field, short slot, const void* value, bool takeOwnership, unsigned long tag,
                 unsigned int hash, bool markSet);
  /// The nested message, which stays this message's. It is made as one of (system, classIndex) when it is
  /// missing and `create` or `markSet` is true; null when it is missing otherwise. `markSet` marks the field
  /// set.
  YMMessageBase* getObjectAccessor(bool create, bool markSet, short field, short slot, unsigned long tag,
                                   unsigned int hash, int system, int classIndex);
  /// Stores a copy of the message at `value` and marks the field set.
  void setObjectAccessor(const void* value, short field, short slot, unsigned long tag, unsigned int hash);

  // ---- Lists and maps
  // A getter creates an empty collection when there is none and marks the field set only when asked; a _const
  // form does neither and may return null. A setter stores a copy (an empty collection for a null pointer)
  // and marks the field set. Lists of enumerations and of bools are lists of uint. Collections stay the
  // message's. A field is addressed, and failure is told, as for scalars.

  /// What each family of the rows has: getlistint(), getlistint_const(), setlistint() and so on.
#define KWXML_COLLECTION(family, text, ...)                                                               \
  /** The collection, to change; made when there is none, and marked set where `markSet` is true. */      \
  __VA_ARGS__*& get##family(short field, short slot, unsigned long tag, unsigned int hash, bool markSet); \
  /** The collection, to read; null when there is none. */                                                \
  const __VA_ARGS__* get##family##_const(short field, short slot, unsigned long tag, unsigned int hash)   \
      const;                                                                                              \
  /** Stores a copy of `values` (null: an empty collection) and marks the field set. */                   \
  void set##family(short field, short slot, const __VA_ARGS__* values, unsigned long tag, unsigned int hash);
#include <kwxml/platform/StandardParts.h>
#include <kwxml/model/CollectionAccessors.def>
#undef KWXML_COLLECTION

  // ---- Whole messages

  /// Same class, same fields set, equal values. In-place floating values are compared by their bits, those in
  /// lists numerically.
  bool operator==(const YMMessageBase& other) const;
  /// Always false: a map keyed by messages holds at most one entry.
  bool operator<(const YMMessageBase&) const
  {
    return false;
  }
  /// Clears the field's bit and drops its value: strings are emptied, collections and nested messages
  /// destroyed, scalars zeroed. With `destroying` the value objects themselves end.
  void deleteMember(short field, unsigned long tag, unsigned long hash, bool destroying);

  /// The processing-instruction message in field 0. A message whose class has something else there (or none)
  /// gives a null pointer, and its field 0 is never touched.
  KwEntities::ProcessingInstructionInfo*& getProcessinginstructioninfo(bool create);
  /// Stores a copy; null deletes the field. Logs and changes nothing where field 0 is not that message.
  void setProcessinginstructioninfo(KwEntities::ProcessingInstructionInfo* info);

  // ---- Cached texts
  // A message can keep an XML text: ConstructObject() and XMLDecoder::CreateObjByName() keep one that they do
  // not read, and callers may. Encoders do not look at it, and nothing keeps it in step with the values.

  /// The serialized text; empty when there is none. It holds until the text is changed.
  const char* getSerializedXMLString() const
  {
    return serializedXml_ ? serializedXml_->c_str() : "";
  }
  /// The serialized text, which may be written to.
  std::string& getSerializedXMLStringRef();
  /// Stores a copy of the text. `markSerialized` marks the message serialized; false leaves the mark.
  void setSerializedXMLString(const std::string& text, bool markSerialized);
  /// Stores a copy of the text that was written last.
  void setLastSerializedXMLString(const std::string& text);
  /// Empties the serialized text and takes the mark away.
  void clearSerializedXMLString();
  /// Whether the message is marked as one whose serialized text stands for it.
  bool isSerialized() const noexcept
  {
    return serialized_;
  }
  /// Marks the message serialized.
  void setSerialized() noexcept
  {
    serialized_ = true;
  }
  /// Always null.
  const unsigned short* getSerializedXMLStringUTF16() const noexcept
  {
    return nullptr;
  }
  /// Kept for callers of the interface: always false.
  bool getXmlWriteFlag() const noexcept
  {
    return false;
  }
  /// Kept for callers of the interface: without effect.
  void setXmlWriteFlag(bool) noexcept {}

  /// Stores a copy of the text of the CDATA section that belongs to the message.
  void setCDATABuffer(const std::string& text);
  /// Drops that text.
  void resetCDATABuffer();
  /// Whether setCDATABuffer() was called since.
  bool isCDATABufferSet() const noexcept;
  /// That text; empty when there is none.
  std::string getCDATABuffer() const;

  /// The message's error text: null, since no function sets it.
  const unsigned short* getLastErrorEnglishW() const;
  /// The message's error text: empty, since no function sets it.
  XMLChstring getLastErrorEnglishStrW() const;
  /// Kept for callers of the interface: stores nothing.
  void setLastErrorEnglishA(const char* format, ...) __attribute__((format(printf, 2, 3)));
  /// Kept for callers of the interface: stores nothing.
  void setLastErrorEnglishStrA(const std::string&) {}
  /// Kept for callers of the interface: stores nothing.
  void setLastErrorEnglishW(const unsigned short*) {}
  /// Kept for callers of the interface: stores nothing.
  void setLastErrorEnglishStrW(const XMLChstring&) {}

  /// Keeps the byte length of the message's binary body. It is a cache, which threads that write one constant
  /// message share.
  void SetCachedSize(unsigned int size) const noexcept
  {
    __atomic_store_n(&cachedSize_, size, __ATOMIC_RELAXED);
  }
  /// Byte length of the message's binary body when it was written, measured or read last.
  unsigned int GetCachedSize() const noexcept
  {
    return __atomic_load_n(&cachedSize_, __ATOMIC_RELAXED);
  }

protected:
  /// A message of a wrapper's class, in the catalogue that the wrapper names. Throws KwException (and logs)
  /// when that catalogue has no such class, or has it with other fields than the wrapper was compiled for.
  explicit YMMessageBase(const kwxml::WrapperClass& wrapper);
  /// A field number or slot as a wrapper knows it, or 0 on a message of another tag: there the name's hash
  /// alone says which field is meant, and the place would only be held against bounds that it was not made
  /// for.
  short ifOwn(short place, unsigned long tag) const noexcept
  {
    return tag == tagId_ ? place : short{0};
  }

  // ---- What most accessors of wrappers do
  // One call each: headers of a thousand classes are parsed again and again.

  /// isSet().
  bool hasOwn(short field, unsigned long tag, unsigned int hash) const
  {
    return isSet(ifOwn(field, tag), tag, hash);
  }
  /// deleteMember().
  void clearOwn(short field, unsigned long tag, unsigned int hash)
  {
    deleteMember(ifOwn(field, tag), tag, hash, false);
  }
  /// getint64().
  XML_INT64 int64Own(short slot, unsigned long tag, unsigned int hash) const
  {
    return getint64(ifOwn(slot, tag), tag, hash);
  }
  /// setint64().
  void setInt64Own(short field, short slot, XML_INT64 value, unsigned long tag, unsigned int hash)
  {
    setint64(ifOwn(field, tag), slot, value, tag, hash);
  }
  /// getstring_const().
  const std::string& stringOwn(short field, short slot, unsigned long tag, unsigned int hash) const
  {
    return getstring_const(ifOwn(field, tag), slot, tag, hash);
  }
  /// setstring(): copies the text, or takes it over where it is given away.
  void setStringOwn(short field, short slot, std::string_view value, unsigned long tag, unsigned int hash);
  void setStringOwn(short field, short slot, std::string&& value, unsigned long tag, unsigned int hash);
  /// setwstring(): copies the text, or takes it over where it is given away.
  void setWideStringOwn(short field, short slot, std::wstring_view value, unsigned long tag,
                        unsigned int hash);
  void setWideStringOwn(short field, short slot, std::wstring&& value, unsigned long tag, unsigned int hash);
  /// setbstringobject(): takes the bytes over.
  void setBytesOwn(short field, short slot, bstring&& value, unsigned long tag, unsigned int hash);
  /// getstringByRef().
  std::string& mutableStringOwn(short field, short slot, unsigned long tag, unsigned int hash)
  {
    return getstringByRef(ifOwn(field, tag), slot, tag, hash);
  }

private:
  friend struct kwxml::MessageAccess;
  friend struct kwxml::AccessorRules;
  friend struct kwxml::MessageLife;
  struct CdataBuffer;

  /// One-slot values in place, one bit per type: 1..7, 10, 11, 12, 41 and 42.
  static constexpr std::uint64_t scalarSlotTypes = [] {
    std::uint64_t set = 0;
    for (const kwxml::FieldTypeInfo& info : kwxml::fieldTypeTable) {
      set |= static_cast<std::uint64_t>(info.storage == kwxml::Storage::InPlace && info.slots == 1)
             << info.type;
    }
    return set;
  }();
  static constexpr bool isScalarSlot(FieldDataType type) noexcept
  {
    return type < kwxml::fieldTypeCount && (scalarSlotTypes >> type & 1) != 0;
  }
  bool ownSlot(short slot, unsigned long tag) const noexcept
  {
    return tag == tagId_ && static_cast<unsigned short>(slot) < buffer_.slotCount();
  }
  /// The fast path of scalar setters: own tag, an existing field of a scalar type, and that field's slot.
  bool ownScalar(short field, short slot, unsigned long tag) const noexcept
  {
    return tag == tagId_ && static_cast<unsigned short>(field) < buffer_.bitCount() &&
           class_->fields[field].slot == slot && isScalarSlot(class_->fields[field].type);
  }
  template <class T>
  static T bitsTo(long long slot) noexcept
  {
    T value;
    __builtin_memcpy(&value, &slot, sizeof value);
    return value;
  }
  template <class T>
  static long long bitsFrom(T value) noexcept
  {
    long long slot = 0;
    __builtin_memcpy(&slot, &value, sizeof value);
    return slot;
  }
  bool isSetSlow(const char* signature, short field, unsigned long tag, unsigned long hash) const;
  long long getSlotSlow(const char* signature, short slot, unsigned long tag, unsigned int hash) const;
  void setSlotSlow(const char* signature, short field, short slot, long long value, bool isInteger,
                   unsigned long tag, unsigned int hash);

  unsigned long tagId_ = 0;
  YMMessageBuffer buffer_{YMMessageBuffer::NotZeroed()};
  const _ClassDef* class_ = nullptr;
  const kwxml::ClassPlan* plan_ = nullptr;  ///< of class_
  std::string* serializedXml_ = nullptr;
  std::string* lastSerializedXml_ = nullptr;
  XMLChstring* m_SerializedXMLUTF16 = nullptr;
  XMLChstring* m_wsLastErrorEnglish = nullptr;
  CdataBuffer* cdataBuffer_ = nullptr;
  mutable unsigned int cachedSize_ = 0;
  short classIndex_ = 0;
  bool serialized_ = false;
};
static_assert(sizeof(YMMessageBase) <= 320, "a message of a small class is one object of fixed size");
