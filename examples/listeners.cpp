// Listens while a message is written as XML: a listener sees each field of a class, or each that has an
// annotation, before it is written, and can leave it out.
#include <catalogue/Demo.h>
#include <catalogue/Shop.h>
#include <kwxml/KwXMLMsgsBase.h>

#include <iostream>
#include <string_view>

namespace {

/// What customers are not told.
bool leavePricesOut(ListenerCbData& data)
{
  if (std::string_view(data.field.getName()) == "price") {
    data.result = XMLCB_SKIP_PROCESSING;
  }
  return true;
}

bool tell(ListenerCbData& data)
{
  std::cout << "writing " << data.message->getTagName() << "." << data.field.getName() << "\n";
  return true;
}

}  // namespace

int main()
{
  kwxml::logToStandardError();
  Demo::Item item;
  item.set_name("Saw");
  item.set_price(12.5);
  Shop::Order order;
  order.set_items({item});

  // Listeners belong to one serializer; others write all.
  XMLSerializer serializer;
  XMLSerializationSupport& listeners = serializer.getXMLSerializationSupportObject();
  listeners.addListener(Demo::Item::tag, leavePricesOut);
  listeners.addListener(Shop::Order::tag, tell);
  std::string xml;
  if (serializer.serialize(order, xml, true) != 0) {
    return 1;
  }
  std::cout << xml << "\n";

  listeners.removeListener(Shop::Order::tag, tell);
  listeners.removeListener(Demo::Item::tag, leavePricesOut);
  if (serializer.serialize(order, xml, true) != 0) {
    return 1;
  }
  std::cout << xml << "\n";
  return 0;
}
