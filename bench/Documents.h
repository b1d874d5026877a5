// The documents that are measured, as plain values. Ours and the floor are both made from them, so that each
// converts the same numbers and copies the same texts.
#pragma once

#include <kwxml/model/YMMessageBase.h>

#include <map>
#include <string>
#include <vector>

namespace kwxml::bench {

/// W1: twenty scalars.
struct FlatValues
{
  int ints[6];
  long long longs[4];
  bool bools[3];
  double doubles[2];
  int states[2];
  std::string strings[3];  ///< of 12, 24 and 48 characters
};

/// W2: an order with a hundred items.
struct ItemValues
{
  std::string name;
  double price;
  int state;
  std::vector<std::string> labels;
  long long stock;
};
struct OrderValues
{
  long long number;
  int state;
  std::string customer;
  double total;
  bool paid;
  std::string street;
  std::string city;
  int postcode;
  bool verified;
  std::vector<ItemValues> items;
};

/// W3: long lists and a map.
struct BulkValues
{
  std::vector<int> counts;
  std::vector<double> samples;
  std::vector<std::string> names;
  std::map<std::string, std::string> entries;
};

/// The same values in every run.
FlatValues flatValues();
OrderValues orderValues();
BulkValues bulkValues();

/// The messages that hold them.
YMMessageBase makeMessage(const FlatValues& values);
YMMessageBase makeMessage(const OrderValues& values);
YMMessageBase makeMessage(const BulkValues& values);

}  // namespace kwxml::bench
