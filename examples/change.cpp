// Reads an order from a file, changes it, and writes it to standard output: another price for the first item,
// the colour of the second, and a status. Fields are looked up by name once and then addressed by number,
// slot and hash.
#include <kwxml/KwXMLMsgsBase.h>

#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

namespace {

const FieldDef& fieldNamed(const YMMessageBase& message, const std::string& name)
{
  return message.getClass()->fields[YMMessageBase::getFieldNumberFromName(message.getClass(), name)];
}

}  // namespace

int main(int argc, char** argv)
{
  std::stringstream text;
  text << std::ifstream(argc > 1 ? argv[1] : "").rdbuf();
  const std::unique_ptr<YMMessageBase> order(XMLDecoder().unSerialize(text.str()));
  if (order == nullptr || order->getTagName() != "Shop_Order") {
    std::cerr << "usage: change ORDER.xml\n";
    return 2;
  }
  const unsigned long tag = order->getTagID();
  const FieldDef& items = fieldNamed(*order, "items");
  auto& list = *order->getlistobject(items.fieldNumber, items.slot, tag, items.hash, false);
  const FieldDef& price = fieldNamed(list.at(0), "price");
  const FieldDef& color = fieldNamed(list.at(1), "color");
  list.at(0).setdouble(price.fieldNumber, price.slot, 9.99, list.at(0).getTagID(), price.hash);
  list.at(1).setint64(color.fieldNumber, color.slot, 1, list.at(1).getTagID(), color.hash);

  const FieldDef& status = fieldNamed(*order, "status");
  YMMessageBase& report =
      *static_cast<YMMessageBase*>(order->getObject(status.fieldNumber, status.slot, tag, status.hash));
  const FieldDef& code = fieldNamed(report, "errorCode");
  report.setint64(code.fieldNumber, code.slot, 404, report.getTagID(), code.hash);

  std::string xml;
  if (XMLEncoder().serialize(*order, xml) != 0) {
    return 1;
  }
  std::cout << xml << "\n";
  return 0;
}
