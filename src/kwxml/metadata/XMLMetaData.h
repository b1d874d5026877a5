// The values of a message as a list of records with numbers, and back: some message systems give each value
// that has an XPath an ID, under which it can be stored or indexed outside the message.
//
// The XPath of a value is made of the fields on the way to it: "article[1]/@price" for a scalar,
// "article[1]/labels" for a list of scalars, each element of which is a record of its own. The tables of a
// system (Metadata.h) come from the catalogue.
#pragma once

#include <kwxml/model/YMMessageBase.h>

#include <string>
#include <vector>

class MsgFieldContext;

/// One value.
struct XPathMetaData
{
  int id = 0;
  std::string xpath;
  std::string value;             ///< as getStringFromFld() writes it (FieldText.h)
  int appType = 0;               ///< 10000 and XMLMetaData::getAppType() of the field's type
  bool singleInstanced = false;  ///< the field has the annotation SingleInstanced
  bool isList = false;           ///< one element of a list
};

/// An object serves one message system, the one of its first successful look-up: it keeps that system's
/// tables. Distinct objects may be used by distinct threads. Failures are logged, as errors unless said
/// otherwise.
class XMLMetaData
{
public:
  /// Appends the records of the values in the nested messages of `message`, in the order of the fields: those
  /// of all set nested messages, or only of those whose field has the XPath mark. Values without an ID are
  /// left out, and so is all that lies in lists of messages (a line at level 25 each) or below the deepest
  /// nesting that encodings accept (logged). 0; 1, with `out` unchanged, for null, without a class, or for a
  /// system without XPath tables.
  [[nodiscard]] int getXpathMetaData(YMMessageBase* message, std::vector<XPathMetaData>& out, bool all);

  /// Stores values into a message of a class of the system, by ID; the other members of a record do not
  /// count. Nested messages on the way are made when they are missing; a record that leads through a list of
  /// messages adds an element to it. A record with an unknown ID is logged and passed over. 0; 1 at the first
  /// record that cannot be stored, with those before it stored (and what it made on its way), and in the
  /// cases above.
  [[nodiscard]] int setXpathMetaData(YMMessageBase*& message, std::vector<XPathMetaData> records,
                                     short systemIndex);

  /// The ID of an XPath in the tables that this object keeps; false, with `id` unchanged, when there is none.
  [[nodiscard]] bool getXPathIDFromXPath(const char* xpath, int& id) const;
  /// The XPath of an ID; false when there is none, and, with `xpath` empty, for a system without tables.
  [[nodiscard]] bool getXPathFromID(short systemIndex, int id, std::string& xpath) const;
  /// The index that belongs to an ID among the entries 0 to `last` of a table sorted by ID; -1 when there is
  /// none or `last` is negative.
  int getXPathFieldsInfoIndex(const XPathIDHelper* table, int last, int id) const;
  /// Whether an ID leads to a field. A system without tables gives a line at level 10.
  bool doesXPathIDExist(short systemIndex, int id) const;

  /// The application type of a FieldDataType; 0 for a number that is none.
  static int getAppType(char type);
  /// Whether an annotation record (its first four bytes) has the XPath mark. False for null, and for a record
  /// that is empty but for a length below four.
  static bool hasXPath(const char* info);
  /// Reads a value from its text by the type of the field and stores it with MsgFieldContext::replaceValue();
  /// to a list it is appended. False, with nothing stored, for a text that is no value of the type and for
  /// types without a text (wide strings, ulonglong and lists of them, messages, maps).
  ///
  /// Integers are decimal and of the type's range, those of enumerations signed or unsigned of 32 bits;
  /// "true" in any case and "1" are true, "false" and "0" false; floating numbers are decimal, "inf" or
  /// "nan". A number takes the whole text. The text of byte strings and passwords is decoded when it is
  /// base64 exactly as getStringFromFld() writes it (each line ended), and stands for itself when it is
  /// anything else; a password becomes a plain one.
  [[nodiscard]] static bool replaceValuefromString(MsgFieldContext& field, const std::string& text);

private:
  struct Collector;

  int setValue(YMMessageBase* message, const kwxml::XPathFieldsInfo& path, int level,
               const std::string& value) const;

  const XPathDataRow* data_ = nullptr;
};
