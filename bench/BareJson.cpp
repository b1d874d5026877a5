#include "BareJson.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/src.hpp>

namespace kwxml::bench {

namespace {

namespace json = boost::json;

struct Nothing
{
  using Text = json::string_view;
  using Error = json::error_code;
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);

  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) { return true; }
  bool on_object_end(std::size_t, Error&) { return true; }
  bool on_array_begin(Error&) { return true; }
  bool on_array_end(std::size_t, Error&) { return true; }
  bool on_key_part(Text, std::size_t, Error&) { return true; }
  bool on_key(Text, std::size_t, Error&) { return true; }
  bool on_string_part(Text, std::size_t, Error&) { return true; }
  bool on_string(Text, std::size_t, Error&) { return true; }
  bool on_number_part(Text, Error&) { return true; }
  bool on_int64(std::int64_t, Text, Error&) { return true; }
  bool on_uint64(std::uint64_t, Text, Error&) { return true; }
  bool on_double(double, Text, Error&) { return true; }
  bool on_bool(bool, Error&) { return true; }
  bool on_null(Error&) { return true; }
  bool on_comment_part(Text, Error&) { return true; }
  bool on_comment(Text, Error&) { return true; }
};

}  // namespace

bool parseBareJson(std::string_view text)
{
  json::basic_parser<Nothing> parser{json::parse_options()};
  json::error_code error;
  return parser.write_some(false, text.data(), text.size(), error) == text.size() && !error;
}

}  // namespace kwxml::bench
