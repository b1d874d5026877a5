#include "ProtoDocuments.h"

namespace kwxml::bench {

void fillProto(const FlatValues& values, proto::Flat& message)
{
  message.set_id(values.ints[0]);
  message.set_version(values.ints[1]);
  message.set_priority(values.ints[2]);
  message.set_retries(values.ints[3]);
  message.set_line(values.ints[4]);
  message.set_channel(values.ints[5]);
  message.set_created(values.longs[0]);
  message.set_modified(values.longs[1]);
  message.set_bytessent(values.longs[2]);
  message.set_bytesreceived(values.longs[3]);
  message.set_active(values.bools[0]);
  message.set_urgent(values.bools[1]);
  message.set_archived(values.bools[2]);
  message.set_ratio(values.doubles[0]);
  message.set_amount(values.doubles[1]);
  message.set_state(static_cast<proto::State>(values.states[0]));
  message.set_origin(static_cast<proto::State>(values.states[1]));
  message.set_code(values.strings[0]);
  message.set_title(values.strings[1]);
  message.set_remark(values.strings[2]);
}

void fillProto(const OrderValues& values, proto::Order& message)
{
  message.set_number(values.number);
  message.set_state(static_cast<proto::State>(values.state));
  message.set_customer(values.customer);
  message.set_total(values.total);
  message.set_paid(values.paid);
  proto::Address& address = *message.mutable_address();
  address.set_street(values.street);
  address.set_city(values.city);
  address.set_postcode(values.postcode);
  address.set_verified(values.verified);
  message.mutable_items()->Reserve(static_cast<int>(values.items.size()));
  for (const ItemValues& value : values.items) {
    proto::Item& item = *message.add_items();
    item.set_name(value.name);
    item.set_price(value.price);
    item.set_state(static_cast<proto::State>(value.state));
    item.mutable_labels()->Add(value.labels.begin(), value.labels.end());
    item.set_stock(value.stock);
  }
}

void fillProto(const BulkValues& values, proto::Bulk& message)
{
  message.mutable_counts()->Add(values.counts.begin(), values.counts.end());
  message.mutable_samples()->Add(values.samples.begin(), values.samples.end());
  message.mutable_names()->Add(values.names.begin(), values.names.end());
  message.mutable_entries()->insert(values.entries.begin(), values.entries.end());
}

}  // namespace kwxml::bench
