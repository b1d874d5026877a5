// Takes a message apart into values with numbers and XPaths, as they are kept in the columns of a database,
// and puts another message together of some of them. The schema says which fields have XPaths.
#include <catalogue/Inventory.h>
#include <kwxml/KwXMLMsgsBase.h>

#include <iostream>

int main()
{
  kwxml::logToStandardError();
  Inventory::Stock stock;
  Inventory::Article& article = stock.mutable_article();
  article.set_number(4711);
  article.set_title("Hammer");
  article.set_price(19.95);
  article.set_labels({"steel", "500 g"});
  stock.mutable_location().mutable_site().set_name("North");

  XMLMetaData metaData;
  std::vector<XPathMetaData> values;
  if (metaData.getXpathMetaData(&stock, values, false) != 0) {
    std::cerr << "the message has no XPaths\n";
    return 1;
  }
  for (const XPathMetaData& value : values) {
    std::cout << value.id << "  " << value.xpath << " = " << value.value
              << (value.isList ? "  (of a list)" : "") << "\n";
  }

  // Values are stored by their numbers.
  XPathMetaData price;
  if (!metaData.getXPathIDFromXPath("article[1]/@price", price.id)) {
    std::cerr << "the schema has no such XPath\n";
    return 1;
  }
  price.value = "17.5";
  Inventory::Stock cheaper;
  YMMessageBase* into = &cheaper;
  if (metaData.setXpathMetaData(into, {price}, Inventory::Stock::systemIndex) != 0) {
    std::cerr << "the price cannot be stored\n";
    return 1;
  }
  if (XMLEncoder().serialize(cheaper, std::cout, true) != 0) {
    return 1;
  }
  std::cout << "\n";
  return 0;
}
