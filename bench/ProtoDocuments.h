// The documents as messages of protobuf, filled from the same plain values as ours.
#pragma once

#include "Documents.h"

#include <Bench.pb.h>

namespace kwxml::bench {

/// Which protobuf message holds the values.
template <class Values>
struct ProtoFor;
template <>
struct ProtoFor<FlatValues>
{
  using Message = proto::Flat;
};
template <>
struct ProtoFor<OrderValues>
{
  using Message = proto::Order;
};
template <>
struct ProtoFor<BulkValues>
{
  using Message = proto::Bulk;
};

/// Sets every field of a new message.
void fillProto(const FlatValues& values, proto::Flat& message);
void fillProto(const OrderValues& values, proto::Order& message);
void fillProto(const BulkValues& values, proto::Bulk& message);

}  // namespace kwxml::bench
