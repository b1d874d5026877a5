#include "Inspect.h"

#include <kwxml/binary/RecordPrefix.h>
#include <kwxml/binary/RecordScan.h>
#include <kwxml/binary/WireFormat.h>

#include <algorithm>
#include <cstdio>
#include <istream>
#include <limits>
#include <string>

namespace kwxml::tool {

namespace {

constexpr std::size_t prefixSize = recordPrefixSize;

class FileWalker
{
public:
  FileWalker(std::istream& in, const ShowInput& show) : in_(in), show_(show) {}

  bool message() { return explain(read(std::numeric_limits<std::size_t>::max()), 0); }

  bool records()
  {
    bool good = true;
    std::string prefix;
    for (std::uint64_t n = 1; !(prefix = read(prefixSize)).empty(); ++n) {
      if (prefix.size() < prefixSize) {
        return stop("record " + std::to_string(n) + " is torn: the bytes end within its length", prefix);
      }
      const std::uint32_t length = singlePrefix(prefix);
      line(prefix, title(n, length));
      if (!record(n, length, good)) {
        return false;
      }
    }
    return good;
  }

  bool batch()
  {
    std::string prefix = read(prefixSize);
    if (batchPrefix(prefix) != batchVersion) {
      return stop("the version of the batch is not 1", prefix);
    }
    line(prefix, "batch, version 1");
    bool good = true;
    for (std::uint64_t n = 1; !(prefix = read(prefixSize)).empty(); ++n) {
      const unsigned long length = batchPrefix(prefix);
      constexpr unsigned long longest = 9999;  // four digits; only a sign makes more of them
      if (length == 0 || length > longest) {
        return stop("record " + std::to_string(n) + " has no length, so that none behind it is found",
                    prefix);
      }
      line(prefix, title(n, length));
      if (!record(n, length, good)) {
        return false;
      }
    }
    return good;
  }

private:
  /// Up to so many bytes; memory grows with those that are there.
  std::string read(std::size_t count)
  {
    constexpr std::size_t most = std::size_t{1} << 20;
    std::string bytes;
    while (bytes.size() < count && in_) {
      const std::size_t begin = bytes.size();
      bytes.resize(begin + std::min({count - begin, most, std::max(begin, std::size_t{4096})}));
      in_.read(bytes.data() + begin, static_cast<std::streamsize>(bytes.size() - begin));
      bytes.resize(begin + static_cast<std::size_t>(in_.gcount()));
    }
    return bytes;
  }
  static std::string title(std::uint64_t n, std::uint64_t length)
  {
    return "record " + std::to_string(n) + ", length " + std::to_string(length);
  }
  void line(std::string_view bytes, const std::string& text, std::uint64_t more = 0)
  {
    show_({.offset = at_, .bytes = bytes, .text = text}, more);
    at_ += bytes.size() + more;
  }
  /// Nothing is read on behind `begun`.
  bool stop(const std::string& reason, std::string begun = {})
  {
    const std::uint64_t point = at_;
    begun += read(4 * prefixSize);  // as many as a line shows
    if (!begun.empty()) {
      in_.clear();
      in_.ignore(std::numeric_limits<std::streamsize>::max());
      line(begun, "not read", static_cast<std::uint64_t>(in_.gcount()));
    }
    char place[24];
    std::snprintf(place, sizeof place, "0x%08llX", static_cast<unsigned long long>(point));
    line({}, std::string("damaged at ") + place + ": " + reason);
    return false;
  }
  bool explain(std::string_view bytes, int depth)
  {
    const bool good = explainBinary(bytes, at_, [&](const BinaryPiece& piece) {
      BinaryPiece deeper = piece;
      deeper.depth += depth;
      show_(deeper, 0);
    });
    at_ += bytes.size();
    return good;
  }
  /// What is there of a torn record is explained all the same. False when nothing can follow.
  bool record(std::uint64_t n, std::uint64_t length, bool& good)
  {
    const std::string bytes = read(length);
    if (!bytes.empty() || length == 0) {
      good = explain(bytes, 1) && good;
    }
    return bytes.size() == length ||
           stop("record " + std::to_string(n) + " is torn: " + std::to_string(bytes.size()) + " of its " +
                std::to_string(length) + (length == 1 ? " byte" : " bytes") +
                (bytes.size() == 1 ? " is" : " are") + " there");
  }

  std::istream& in_;
  const ShowInput& show_;
  std::uint64_t at_ = 0;  ///< the bytes before it are shown
};

}  // namespace

bool inspect(std::istream& in, InspectForm form, const ShowInput& show)
{
  FileWalker walker(in, show);
  switch (form) {
    case InspectForm::Binary:
      return walker.message();
    case InspectForm::Records:
      return walker.records();
    case InspectForm::Batch:
      return walker.batch();
  }
  return false;
}

std::optional<InspectForm> guessInspectForm(std::string_view head, std::uint64_t size)
{
  if (const auto layout = recordLayout(head, size)) {
    return *layout == RecordLayout::Batch ? InspectForm::Batch : InspectForm::Records;
  }
  return head.size() >= wire::headerSize && wire::isVersionWord(head) ? std::optional(InspectForm::Binary)
                                                                      : std::nullopt;
}

}  // namespace kwxml::tool
