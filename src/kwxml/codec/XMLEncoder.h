// The encoder that callers use: it carries flags and context into a fresh serializer for every call. A cheap
// value.
#pragma once

#include <kwxml/annotation/EncodingFlags.h>
#include <kwxml/annotation/PasswordAlgorithms.h>
#include <kwxml/platform/Export.h>

#include <kwxml/xml/TakeText.h>

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>

class BinaryBuffer;
class KwXMLContextInfo;
class YMMessageBase;

/// Writes messages as XML or in the binary form, each call by itself.
class KWXML_API XMLEncoder
{
public:
  /// Default flags and no context.
  XMLEncoder() = default;
  /// The flags (default ones where none are given) hold for every call. The context (null: none) stays the
  /// caller's and must outlive the encoder.
  explicit XMLEncoder(const EncodingFlags& flags) : flags_(flags) {}
  XMLEncoder(const EncodingFlags& flags, KwXMLContextInfo* context) : context_(context), flags_(flags) {}
  explicit XMLEncoder(KwXMLContextInfo* context) : context_(context) {}

  /// The message as UTF-8 XML: the root element alone when `elementOnly`, else with the XML declaration. 0 on
  /// success; 1, with `out` empty, on failure. A value that cannot be written is left out, and a text that is
  /// no UTF-8 goes out as if its bytes were Latin-1; both are logged, and counted in `lost` (null: not
  /// asked). Not counted are types that the form never holds (docs/formats.md), and digits of floating-point
  /// numbers.
  [[nodiscard]] int serialize(const YMMessageBase& message, std::string& out, bool elementOnly = false,
                              int* lost = nullptr) const;
  /// In parts, to a stream, and into memory of the caller; see XMLSerializer::serialize.
  [[nodiscard]] int serialize(const YMMessageBase& message, const kwxml::TakeText& take,
                              bool elementOnly = false, int* lost = nullptr) const;
  [[nodiscard]] int serialize(const YMMessageBase& message, std::ostream& out, bool elementOnly = false,
                              int* lost = nullptr) const;
  [[nodiscard]] int serialize(const YMMessageBase& message, std::span<char> memory, std::size_t& size,
                              bool elementOnly = false, int* lost = nullptr) const;

  /// The message in its binary form; see BinarySerializer::serialize, whose result it gives. Passwords are
  /// encrypted with default flags and no context.
  [[nodiscard]] static unsigned long SerializeBinary(const YMMessageBase& message, BinaryBuffer& buffer);
  [[nodiscard]] static unsigned long SerializeBinary(const YMMessageBase& message, BinaryBuffer& buffer,
                                                     int version);

  /// See XMLDecoder::registerPasswordEncAlgo.
  [[nodiscard]] static bool registerPasswordEncAlgo(Annotation::PasswordEncryptType type,
                                                    PasswordAlgorithm algorithm);

private:
  KwXMLContextInfo* context_ = nullptr;
  EncodingFlags flags_;
};
