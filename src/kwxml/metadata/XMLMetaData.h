// The values of a message as a list of records with numbers, and back: some message systems give each value
// that has an XPath an ID, under which it can be stored or indexed outside the message.
//
// The XPath of a value is made of the fields on the way to the value: "article[1]/@price" for a scalar,
// "article[1]/labels" for a list of scalars, each element of which is a record of its own. The tables of a
// system (Metadata.h) come from the catalogue.
#pragma once

#include <kwxml/model/YMMessageBase.h>
#include <kwxml/platform/Export.h>

#include <string>
#include <vector>

class MsgFieldContext;

/// One value of a message, as a record.
struct XPathMetaData
{
  int id = 0;                    ///< the ID of the XPath
  std::string xpath;             ///< the XPath of the value
  std::string value;             ///< the value as getStringFromFld() (FieldText.h) writes it
  int appType = 0;               ///< 10000 and XMLMetaData::getAppType() of the field's type
  bool singleInstanced = false;  ///< the field has the annotation SingleInstanced
  bool isList = false;           ///< one element of a list
};

/// Turns the values of a message into records, and back. An object serves one message system, that of its
/// first getXpathMetaData() or setXpathMetaData() for a system with XPath tables: it keeps that system's
/// tables. An object belongs to one thread at a time. Failures are logged, as errors unless said otherwise.
class KWXML_API XMLMetaData
{
public:
  /// Appends the records of the values in the nested messages of `message` to `out`, in the order of the
  /// fields: with `all` those of all set nested messages, otherwise of those whose field has the XPath mark.
  /// Left out are values without an ID, values in lists of messages (a line at level 25 for each list), and
  /// values below the deepest nesting that encodings accept (logged). The message stays the caller's.
  /// Returns 0, or 1, with `out` unchanged, for null, for a message without a class, and for a
  /// system without XPath tables.
  [[nodiscard]] int getXpathMetaData(YMMessageBase* message, std::vector<XPathMetaData>& out, bool all);

  /// Stores values into a message of a class of the system, by XPathMetaData::id and value alone. Nested
  /// messages on the way are made when they are missing; a record that leads through a list of messages adds
  /// an element to the list. A record with an unknown ID is logged and passed over. The message stays the
  /// caller's and is not replaced. Returns 0, or 1 for null, for a message without a class, for a system
  /// without XPath tables, and at the first record that cannot be stored: the records before are stored then,
  /// and nested messages that were made stay. A text that is no value of its field is logged at level 15.
  [[nodiscard]] int setXpathMetaData(YMMessageBase*& message, std::vector<XPathMetaData> records,
                                     short systemIndex);

  /// Gives the ID of an XPath in the tables that this object keeps. False, with `id` unchanged and nothing
  /// logged, when there is no such XPath, for null, and while the object keeps no tables.
  [[nodiscard]] bool getXPathIDFromXPath(const char* xpath, int& id) const;
  /// Gives the XPath of an ID of a system. False, with `xpath` unchanged and nothing logged, when the system
  /// has no such ID; false, with `xpath` empty and an error in the log, for a system without tables.
  [[nodiscard]] bool getXPathFromID(short systemIndex, int id, std::string& xpath) const;
  /// The index that belongs to an ID among the entries 0 to `last` of a table that is sorted by ID; -1 when
  /// no entry has the ID, when `last` is negative, and for a null table, which is logged.
  int getXPathFieldsInfoIndex(const XPathIDHelper* table, int last, int id) const;
  /// Whether an ID of a system leads to a field. False for a system without tables, with a line at level 10.
  bool doesXPathIDExist(short systemIndex, int id) const;

  /// The application type of a FieldDataType; 0 for a number that is no type.
  static int getAppType(char type);
  /// Whether the annotation record at `info` has the XPath mark; four bytes are read. False for null, and for
  /// a record that is empty but for a length below four.
  static bool hasXPath(const char* info);
  /// Reads a value from its text by the type of the field and stores the value with
  /// MsgFieldContext::replaceValue(); to a list the value is appended. False, with nothing stored and nothing
  /// logged, for a text that is no value of the type and for types without a text (wide strings, ulonglong
  /// and lists of them, messages, maps).
  ///
  /// Integers are decimal and of the type's range, those of enumerations signed or unsigned of 32 bits;
  /// "true" in any case and "1" are true, "false" and "0" false; floating numbers are decimal, "inf" or
  /// "nan". A number takes the whole text. The text of byte strings and passwords is decoded when it is
  /// base64 exactly as getStringFromFld() writes it (each line ended), and taken as it is when it is
  /// anything else; a password becomes a plain one.
  [[nodiscard]] static bool replaceValuefromString(MsgFieldContext& field, const std::string& text);

private:
  struct Collector;

  int setValue(YMMessageBase* message, const kwxml::XPathFieldsInfo& path, int level,
               const std::string& value) const;

  const XPathDataRow* data_ = nullptr;
};
