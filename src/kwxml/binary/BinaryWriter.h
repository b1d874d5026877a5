// The walks that write a message's body. Not installed.
//
// Most messages are small: one walk writes them into a little memory of its own, from where they are copied
// to a buffer of just their size. Larger ones are measured by a walk and written by another.
#pragma once

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/binary/BinaryStream.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class BinaryBuffer;
class YMMessageBase;

namespace kwxml {

/// One call of the encoder.
struct EncodeCall
{
  int version;
  PasswordSettings passwords;
  bool trace = false;  ///< log each field
  /// What the measuring walk made of each password, in its order (none: refused). Two encryptions of one
  /// password may differ in length, so the writing walk takes these, where they are kept.
  bool keepPasswords = false;
  std::vector<std::optional<std::string>> passwordTexts{};
  std::size_t nextPassword = 0;
  /// What the measuring walk found for each nested message and each map, in the order in which the walks come
  /// to them, where it is kept. A message's own cached size does not serve: another thread may write the same
  /// message with other settings.
  bool keepSizes = false;
  std::vector<std::uint32_t> sizes{};
  std::size_t nextSize = 0;
  const char* begin = nullptr;  ///< position 0 of traces
  int depth = 0;
  int lost = 0;          ///< values that could not be written
  bool tooDeep = false;  ///< nested deeper than a reader accepts (logged)
};

/// Writes the body to where there may be too little room, and gives the byte behind it; null where that is
/// so, or where there might be too little, or where the body has a password. It is not traced. Each message
/// keeps the size of its body in its cached size.
char* writeBodyWithin(const YMMessageBase& message, char* to, char* end, EncodeCall& call);

/// The bytes of the body. Each message keeps those of its own in its cached size.
std::uint64_t measureBody(const YMMessageBase& message, EncodeCall& call);

/// Writes the body to where measureBody() has found room for it, and gives the byte behind it. `begin` is the
/// position 0 of traces.
char* writeBody(const YMMessageBase& message, char* to, const char* begin, EncodeCall& call);
/// Writes the body into a stream that may end before it does.
void writeBody(const YMMessageBase& message, BinaryStream& out, EncodeCall& call);

/// BinarySerializer::serialize() for who writes many messages: memory that the buffer owns stays where it is
/// large enough, so that its capacity may be more than its length. 0 on failure; the length is anything then.
unsigned long serializeReusing(const YMMessageBase& message, BinaryBuffer& buffer);

/// The message as XML, for a trace; false without one. Defined by the room that knows both forms.
bool traceXml(const YMMessageBase& message, std::string& xml);

}  // namespace kwxml
