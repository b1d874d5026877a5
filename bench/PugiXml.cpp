#include "BareXml.h"

#include <pugixml.hpp>

#include <charconv>
#include <iterator>
#include <string_view>

namespace kwxml::bench {

namespace {

struct Append final : pugi::xml_writer
{
  explicit Append(std::string& text) : out(text) {}
  void write(const void* data, std::size_t size) override
  {
    out.append(static_cast<const char*>(data), size);
  }
  std::string& out;
};

/// Values as the library takes them, but for floating ones, to which it would give seventeen digits.
class Element
{
public:
  explicit Element(pugi::xml_node node) : node_(node) {}
  Element child(const char* name) const { return Element(node_.append_child(name)); }
  void set(const char* name, const std::string& value) const { attribute(name).set_value(value.c_str()); }
  void set(const char* name, bool value) const { attribute(name).set_value(value); }
  void set(const char* name, int value) const { attribute(name).set_value(value); }
  void set(const char* name, long long value) const { attribute(name).set_value(value); }
  void set(const char* name, double value) const
  {
    char digits[32];
    *std::to_chars(digits, std::end(digits), value, std::chars_format::general, 6).ptr = '\0';
    attribute(name).set_value(digits);
  }

private:
  pugi::xml_attribute attribute(const char* name) const
  {
    pugi::xml_node node = node_;
    return node.append_attribute(name);
  }
  mutable pugi::xml_node node_;
};

void fill(const Element& root, const FlatValues& values)
{
  constexpr const char* ints[] = {"id", "version", "priority", "retries", "line", "channel"};
  constexpr const char* longs[] = {"created", "modified", "bytesSent", "bytesReceived"};
  constexpr const char* bools[] = {"active", "urgent", "archived"};
  for (std::size_t i = 0; i < std::size(ints); ++i) {
    root.set(ints[i], values.ints[i]);
  }
  for (std::size_t i = 0; i < std::size(longs); ++i) {
    root.set(longs[i], values.longs[i]);
  }
  for (std::size_t i = 0; i < std::size(bools); ++i) {
    root.set(bools[i], values.bools[i]);
  }
  root.set("ratio", values.doubles[0]);
  root.set("amount", values.doubles[1]);
  root.set("state", values.states[0]);
  root.set("origin", values.states[1]);
  root.set("code", values.strings[0]);
  root.set("title", values.strings[1]);
  root.set("remark", values.strings[2]);
}

void fill(const Element& root, const OrderValues& values)
{
  root.set("number", values.number);
  root.set("state", values.state);
  root.set("customer", values.customer);
  root.set("total", values.total);
  root.set("paid", values.paid);
  const Element address = root.child("address");
  address.set("street", values.street);
  address.set("city", values.city);
  address.set("postcode", values.postcode);
  address.set("verified", values.verified);
  for (const ItemValues& value : values.items) {
    const Element item = root.child("items");
    item.set("name", value.name);
    item.set("price", value.price);
    item.set("state", value.state);
    for (const std::string& label : value.labels) {
      item.child("labels").set("val", label);
    }
    item.set("stock", value.stock);
  }
}

void fill(const Element& root, const BulkValues& values)
{
  for (const int value : values.counts) {
    root.child("counts").set("val", value);
  }
  for (const double value : values.samples) {
    root.child("samples").set("val", value);
  }
  for (const std::string& value : values.names) {
    root.child("names").set("val", value);
  }
  for (const auto& [key, value] : values.entries) {
    const Element entry = root.child("entries");
    entry.child("__mapKey__").set("val", key);
    entry.child("__mapValue__").set("val", value);
  }
}

template <class Values>
void write(const char* root, const Values& values, std::string& out)
{
  pugi::xml_document document;
  fill(Element(document.append_child(root)), values);
  out.clear();
  Append writer(out);
  document.save(writer, "", pugi::format_raw);
}

}  // namespace

void writePugi(const FlatValues& values, std::string& out)
{
  write("Bench_Flat", values, out);
}
void writePugi(const OrderValues& values, std::string& out)
{
  write("Bench_Order", values, out);
}
void writePugi(const BulkValues& values, std::string& out)
{
  write("Bench_Bulk", values, out);
}

}  // namespace kwxml::bench
