// Bounds on what decoding accepts from outside. Every form of a message (XML, binary, files) uses the same
// ones.
#pragma once

#include <cstdint>

namespace kwxml {

/// How deep messages may nest in an encoded message, the outermost message counting as 1. Real classes nest a
/// dozen deep; a hostile text nests without end and would exhaust the stack of whoever walks the decoded
/// message. At this depth reading, writing, copying, comparing and destroying all fit a thread with a stack
/// of 256 KiB.
inline constexpr int maxMessageNesting = 64;

/// How deep elements may nest in an XML document: a message inside a map stands two elements below the
/// message that holds it (entry, value), and a list or map of scalars adds two more. Deeper documents hold no
/// readable message.
inline constexpr int maxElementNesting = 2 * maxMessageNesting + 2;

/// How many messages a walk makes at most where it fills in what is missing. A class that holds others that
/// hold others unfolds by the power of the depth; messages of the product hold some thousands.
inline constexpr int maxCreatedMessages = 1 << 16;

/// How many bytes of memory a decoder takes at most for the messages within one that it makes, in every form
/// (each message of a file counts for itself), where its caller does not say otherwise
/// (KwXMLContextInfo::setMemoryLimit()). What is counted is the storage of messages, those of lists and maps
/// among them, without what lists keep in reserve; texts, numbers and the entries of maps are in proportion
/// to the input anyway. A message takes its class's storage, up to 4 KiB, while five bytes say that there is
/// one: encoders write such bytes too, of messages with hardly a field set, so that no proportion tells those
/// from hostile ones. 65,000 messages of the widest classes are read from any input, and any number of
/// messages of which one in a few fields is set.
constexpr std::uint64_t usualDecodeMemory(std::uint64_t inputBytes)
{
  return (std::uint64_t{256} << 20) + 64 * inputBytes;
}

}  // namespace kwxml
