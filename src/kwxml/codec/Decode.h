// A message from a text or from bytes in one call, with a result that says what was wrong.
#pragma once

#include <kwxml/codec/StrictReading.h>
#include <kwxml/platform/Export.h>

#include <cstddef>
#include <span>
#include <vector>

namespace kwxml {

/// The message in a text: JSON where its first character beside blanks is "{", else XML. There is a message
/// when nothing was dropped or bent; names that the catalogue does not know, as later versions may write, are
/// warnings and leave it. Either way `problems` tells what was met. (readStrict() takes warnings for errors.)
/// The context (null: none) concerns passwords and the limit of memory. Nothing is thrown but std::bad_alloc
/// where even the result finds no memory.
///
///     const kwxml::ReadResult order = kwxml::decode(text);
///     if (!order) {
///       std::cerr << kwxml::toText(order.problems, "order.xml");
///     }
[[nodiscard]] KWXML_API ReadResult decode(TextToRead text, KwXMLContextInfo* context = nullptr);
/// The same of the binary form.
[[nodiscard]] KWXML_API ReadResult decode(std::span<const std::byte> bytes,
                                          KwXMLContextInfo* context = nullptr);

/// How many bytes of `xml` the first of several XML documents takes that stand one behind the other, with
/// blanks and comments behind it. All of them where that document is not well-formed or has a document type:
/// decode() then says what is wrong.
[[nodiscard]] KWXML_API std::size_t firstDocument(std::string_view xml);

/// The message in its binary form, passwords as with default flags. Empty on failure (no memory, nested
/// too deep), which is logged. A password that cannot be protected is left out, which is logged too: programs
/// with passwords call registerPasswordAlgorithms() and look at its result.
[[nodiscard]] KWXML_API std::vector<std::byte> encodeBinary(const YMMessageBase& message);

}  // namespace kwxml
