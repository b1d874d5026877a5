// Bounds on what decoding accepts from outside. Every form of a message (XML, binary, files) uses the same
// ones.
#pragma once

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

}  // namespace kwxml
