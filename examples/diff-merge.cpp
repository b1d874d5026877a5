// Compares two messages value by value, and merges one into the other: what is set in the one replaces what
// the other has, messages in it merge, and elements of lists of messages or texts are added.
#include <catalogue/Inventory.h>
#include <kwxml/KwXMLMsgsBase.h>

#include <iostream>

namespace {

class PrintDifferences : public kwxml::MessageDiffVisitor
{
public:
  void differs(const kwxml::MessageDifference& difference) override
  {
    using Kind = kwxml::MessageDifference::Kind;
    std::cout << difference.path << ": "
              << (difference.kind == Kind::OnlyRight ? "(nothing)" : difference.left) << " becomes "
              << (difference.kind == Kind::OnlyLeft ? "(nothing)" : difference.right) << "\n";
  }
};

}  // namespace

int main()
{
  kwxml::logToStandardError();
  Inventory::Movement bought;
  bought.set_quantity(20);
  bought.set_by("grace");
  Inventory::Stock stock;
  stock.mutable_article().set_title("Hammer");
  stock.mutable_article().set_labels({"steel", "500 g"});
  stock.set_movements({bought});
  stock.set_remark("count again");

  Inventory::Stock changed = stock;
  changed.mutable_article().mutable_labels().pop_back();
  changed.mutable_article().set_kind(Inventory::Kind::TOOL);
  changed.mutable_movements()[0].set_quantity(19);
  PrintDifferences print;
  std::cout << kwxml::diffMessages(stock, changed, print) << " differences\n";

  Inventory::Movement sold;
  sold.set_quantity(-3);
  Inventory::Stock news;
  news.mutable_article().set_price(19.95);
  news.set_movements({sold});
  if (!XmlTraverse().merge(news, stock)) {
    std::cerr << "the messages are of different classes\n";
    return 1;
  }
  std::cout << "merged: ";
  if (XMLEncoder().serialize(stock, std::cout, true) != 0) {
    return 1;
  }
  std::cout << "\n";
  return 0;
}
