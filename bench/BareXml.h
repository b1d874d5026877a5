// The floor of the XML measurements: what a program pays that calls xerces-c itself. It makes the same DOM
// document from the same values, with names that need no conversion, and serializes it with the same
// settings; it parses the same text with a reader of the same settings into a handler that does nothing.
#pragma once

#include "Documents.h"

#include <memory>
#include <string>

namespace kwxml::bench {

void writeBare(const FlatValues& values, std::string& out);
void writeBare(const OrderValues& values, std::string& out);
void writeBare(const BulkValues& values, std::string& out);

/// The same documents by pugixml: its tree built from the values and written; the order of the attributes is
/// that in which they are set. Only where that library was found.
void writePugi(const FlatValues& values, std::string& out);
void writePugi(const OrderValues& values, std::string& out);
void writePugi(const BulkValues& values, std::string& out);

void parseBare(const std::string& xml);

/// The same with one parser for all documents.
class BareParser
{
public:
  BareParser();
  ~BareParser();
  void parse(const std::string& xml);

private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace kwxml::bench
