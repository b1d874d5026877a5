// The encoded annotation record of a field or an enumerator.
#pragma once

#include "Schema.h"

#include <string>

namespace kwxml::catalogue {

// Limits that the record's length fields set.
inline constexpr std::size_t maxAnnotationRecord = 65535;
inline constexpr std::size_t maxAttachedAnnotations = 255;
inline constexpr std::size_t maxAnnotationMemberName = 255;

/// The bytes of the field's annotation record, empty when the field has no annotation. A caller checks the
/// limits above first (annotationRecordSize()).
///
///   0-1  total length, these two bytes included; big-endian, as are all numbers here
///   2    bits 0-1 date form (1 DATE_TIME, 2 DATE), bit 3 time of day, bits 4-7 password type
///   3    bit 7 XPath mark
///   4    bit 7 CDATA mark
///   ---- a record without attached annotations ends here
///   5    number of attached annotations, each:
///          4 bytes  annotation tag identifier: the hash of its name. Its system byte is 0, an empty system,
///          so it
///                   never equals a message's tag.
///          2 bytes  length of the members that follow, each:
///            1 byte name length, the name, 2 bytes value length, the value (UTF-8)
std::string annotationRecord(const Field& field);

/// The length that annotationRecord() would have, without the limits of its length fields.
std::size_t annotationRecordSize(const Field& field);

}  // namespace kwxml::catalogue
