#include "Documents.h"

#include <catalogue/Bench.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>

namespace kwxml::bench {

namespace {

/// Values that do not change from run to run, of the sizes that such fields have in practice.
class Values
{
public:
  int number() { return static_cast<int>(below(2'000'000)) - 1'000'000; }
  long long stamp() { return 1'700'000'000'000 + static_cast<long long>(below(1'000'000'000)); }
  /// Of six digits, which is what the XML form keeps.
  double amount() { return static_cast<double>(below(1'000'000)) / 100; }
  int state() { return 1 + static_cast<int>(below(3)); }
  bool truth() { return below(2) != 0; }
  std::string text(std::size_t length)
  {
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJKLMNOPQRSTUVWXYZ 0123456789";
    std::string out(length, 'x');
    for (char& c : out) {
      c = letters[below(letters.size())];
    }
    return out;
  }

private:
  // The engine's sequence is fixed by the language; that of the standard distributions is not.
  std::size_t below(std::size_t bound) { return random_() % bound; }
  std::minstd_rand random_{20};
};

/// Fills a message by field names, as one without its class's generated wrapper does.
class Fields
{
public:
  explicit Fields(YMMessageBase& message) : message_(message) {}

  void put(const char* name, long long value)
  {
    const FieldDef& f = field(name);
    message_.setint64(f.fieldNumber, f.slot, value, message_.getTagID(), f.hash);
  }
  void put(const char* name, double value)
  {
    const FieldDef& f = field(name);
    message_.setdouble(f.fieldNumber, f.slot, value, message_.getTagID(), f.hash);
  }
  void put(const char* name, const std::string& value)
  {
    const FieldDef& f = field(name);
    message_.setstring(f.fieldNumber, f.slot, value, message_.getTagID(), f.hash);
  }
  template <class List>
  void putWith(void (YMMessageBase::*set)(short, short, const List*, unsigned long, unsigned),
               const char* name, const List& value)
  {
    const FieldDef& f = field(name);
    (message_.*set)(f.fieldNumber, f.slot, &value, message_.getTagID(), f.hash);
  }
  void putObject(const char* name, const YMMessageBase& value)
  {
    const FieldDef& f = field(name);
    message_.setObjectAccessor(&value, f.fieldNumber, f.slot, message_.getTagID(), f.hash);
  }

private:
  const FieldDef& field(const std::string& name) const
  {
    const int number = YMMessageBase::getFieldNumberFromName(message_.getClass(), name);
    if (number < 0) {
      std::fprintf(stderr, "no field %s\n", name.c_str());
      std::abort();
    }
    return message_.getClass()->fields[number];
  }
  YMMessageBase& message_;
};

}  // namespace

FlatValues flatValues()
{
  Values values;
  FlatValues flat;
  for (int& value : flat.ints) {
    value = values.number();
  }
  for (long long& value : flat.longs) {
    value = values.stamp();
  }
  for (bool& value : flat.bools) {
    value = values.truth();
  }
  for (double& value : flat.doubles) {
    value = values.amount();
  }
  for (int& value : flat.states) {
    value = values.state();
  }
  flat.strings[0] = values.text(12);
  flat.strings[1] = values.text(24);
  flat.strings[2] = values.text(48);
  return flat;
}

OrderValues orderValues()
{
  Values values;
  OrderValues order{values.stamp(),  values.state(),  values.text(24), values.amount(), values.truth(),
                    values.text(24), values.text(12), values.number(), values.truth(),  {}};
  for (int i = 0; i < 100; ++i) {
    order.items.push_back({values.text(24),
                           values.amount(),
                           values.state(),
                           {values.text(8), values.text(12), values.text(16)},
                           values.stamp()});
  }
  return order;
}

BulkValues bulkValues()
{
  Values values;
  BulkValues bulk;
  for (int i = 0; i < 1000; ++i) {
    bulk.counts.push_back(values.number());
    bulk.samples.push_back(values.amount());
  }
  for (int i = 0; i < 200; ++i) {
    bulk.names.push_back(values.text(20));
    bulk.entries.emplace("key " + std::to_string(1000 + i), values.text(20));
  }
  return bulk;
}

YMMessageBase makeMessage(const FlatValues& values)
{
  Bench::Flat message;
  Fields fields(message);
  const char* const ints[] = {"id", "version", "priority", "retries", "line", "channel"};
  const char* const longs[] = {"created", "modified", "bytesSent", "bytesReceived"};
  const char* const bools[] = {"active", "urgent", "archived"};
  for (std::size_t i = 0; i < std::size(ints); ++i) {
    fields.put(ints[i], static_cast<long long>(values.ints[i]));
  }
  for (std::size_t i = 0; i < std::size(longs); ++i) {
    fields.put(longs[i], values.longs[i]);
  }
  for (std::size_t i = 0; i < std::size(bools); ++i) {
    fields.put(bools[i], static_cast<long long>(values.bools[i]));
  }
  fields.put("ratio", values.doubles[0]);
  fields.put("amount", values.doubles[1]);
  fields.put("state", static_cast<long long>(values.states[0]));
  fields.put("origin", static_cast<long long>(values.states[1]));
  fields.put("code", values.strings[0]);
  fields.put("title", values.strings[1]);
  fields.put("remark", values.strings[2]);
  return message;
}

YMMessageBase makeMessage(const OrderValues& values)
{
  Bench::Order message;
  Fields fields(message);
  fields.put("number", values.number);
  fields.put("state", static_cast<long long>(values.state));
  fields.put("customer", values.customer);
  fields.put("total", values.total);
  fields.put("paid", static_cast<long long>(values.paid));
  Bench::Address address;
  Fields addressFields(address);
  addressFields.put("street", values.street);
  addressFields.put("city", values.city);
  addressFields.put("postcode", static_cast<long long>(values.postcode));
  addressFields.put("verified", static_cast<long long>(values.verified));
  fields.putObject("address", address);
  std::vector<YMMessageBase> items;
  for (const ItemValues& value : values.items) {
    Bench::Item item;
    Fields itemFields(item);
    itemFields.put("name", value.name);
    itemFields.put("price", value.price);
    itemFields.put("state", static_cast<long long>(value.state));
    itemFields.putWith(&YMMessageBase::setliststring, "labels", value.labels);
    itemFields.put("stock", value.stock);
    items.push_back(std::move(item));
  }
  fields.putWith(&YMMessageBase::setlistobject, "items", items);
  return message;
}

YMMessageBase makeMessage(const BulkValues& values)
{
  Bench::Bulk message;
  Fields fields(message);
  fields.putWith(&YMMessageBase::setlistint, "counts", values.counts);
  fields.putWith(&YMMessageBase::setlistdouble, "samples", values.samples);
  fields.putWith(&YMMessageBase::setliststring, "names", values.names);
  fields.putWith(&YMMessageBase::setMapStringAndString, "entries", values.entries);
  return message;
}

}  // namespace kwxml::bench
