#include "Documents.h"

#include <catalogue/Bench.h>

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

/// Fills a message's fields in the order of the schema, with addresses from the class record: what a wrapper
/// with constant addresses does, and a load for each.
class Fields
{
public:
  explicit Fields(YMMessageBase& message)
      : message_(message), tag_(message.getTagID()), next_(message.getClass()->fields)
  {
  }

  void put(long long value)
  {
    const FieldDef& f = *next_++;
    message_.setint64(f.fieldNumber, f.slot, value, tag_, f.hash);
  }
  void put(double value)
  {
    const FieldDef& f = *next_++;
    message_.setdouble(f.fieldNumber, f.slot, value, tag_, f.hash);
  }
  void put(const std::string& value)
  {
    const FieldDef& f = *next_++;
    message_.setstring(f.fieldNumber, f.slot, value, tag_, f.hash);
  }
  template <class List>
  void putWith(void (YMMessageBase::*set)(short, short, const List*, unsigned long, unsigned),
               const List& value)
  {
    const FieldDef& f = *next_++;
    (message_.*set)(f.fieldNumber, f.slot, &value, tag_, f.hash);
  }
  template <class Nested>
  YMMessageBase& object()
  {
    const FieldDef& f = *next_++;
    return *message_.getObjectAccessor(true, true, f.fieldNumber, f.slot, tag_, f.hash, Nested::systemIndex,
                                       Nested::classIndex);
  }
  std::vector<YMMessageBase>& objects()
  {
    const FieldDef& f = *next_++;
    return *message_.getlistobject(f.fieldNumber, f.slot, tag_, f.hash, true);
  }

private:
  YMMessageBase& message_;
  const unsigned long tag_;
  const FieldDef* next_;
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
  for (const int value : values.ints) {
    fields.put(static_cast<long long>(value));
  }
  for (const long long value : values.longs) {
    fields.put(value);
  }
  for (const bool value : values.bools) {
    fields.put(static_cast<long long>(value));
  }
  for (const double value : values.doubles) {
    fields.put(value);
  }
  for (const int value : values.states) {
    fields.put(static_cast<long long>(value));
  }
  for (const std::string& value : values.strings) {
    fields.put(value);
  }
  return message;
}

YMMessageBase makeMessage(const OrderValues& values)
{
  Bench::Order message;
  Fields fields(message);
  fields.put(values.number);
  fields.put(static_cast<long long>(values.state));
  fields.put(values.customer);
  fields.put(values.total);
  fields.put(static_cast<long long>(values.paid));
  Fields address(fields.object<Bench::Address>());
  address.put(values.street);
  address.put(values.city);
  address.put(static_cast<long long>(values.postcode));
  address.put(static_cast<long long>(values.verified));
  std::vector<YMMessageBase>& items = fields.objects();
  items.reserve(values.items.size());
  for (const ItemValues& value : values.items) {
    Fields item(items.emplace_back(Bench::Item::systemIndex, Bench::Item::classIndex));
    item.put(value.name);
    item.put(value.price);
    item.put(static_cast<long long>(value.state));
    item.putWith(&YMMessageBase::setliststring, value.labels);
    item.put(value.stock);
  }
  return message;
}

YMMessageBase makeMessage(const BulkValues& values)
{
  Bench::Bulk message;
  Fields fields(message);
  fields.putWith(&YMMessageBase::setlistint, values.counts);
  fields.putWith(&YMMessageBase::setlistdouble, values.samples);
  fields.putWith(&YMMessageBase::setliststring, values.names);
  fields.putWith(&YMMessageBase::setMapStringAndString, values.entries);
  return message;
}

}  // namespace kwxml::bench
