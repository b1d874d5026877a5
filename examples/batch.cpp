// Writes many messages into a file of batches with one call, and reads them back some at a time, as a program
// does that does not want to hold all of a large file.
#include <catalogue/Inventory.h>
#include <kwxml/KwXMLMsgsBase.h>
#include <kwxml/platform/CYxFile.h>

#include <iostream>
#include <vector>

int main(int argc, char** argv)
{
  kwxml::logToStandardError();
  if (argc != 2) {
    std::cerr << "usage: batch_example FILE\n";
    return 2;
  }
  CYxError error;
  CYxFile file(argv[1], CYxFile::Mode::Truncate, &error);
  if (!file.IsValid()) {
    std::cerr << argv[1] << ": " << error.AsString() << "\n";
    return 1;
  }

  std::vector<Inventory::Movement> movements(6);
  std::vector<const YMMessageBase*> toWrite;
  for (Inventory::Movement& movement : movements) {
    movement.set_quantity(static_cast<int>(toWrite.size()) * 10 - 20);
    movement.set_by(toWrite.size() % 2 == 0 ? "ada" : "grace");
    toWrite.push_back(&movement);
  }
  YMMessageBaseFileHandler batch(&file);
  if (batch.appendBinaryBufferToFile(toWrite) != YMMessageBaseFileHandler::Success || file.Seek(0) != 0) {
    std::cerr << argv[1] << ": cannot be written\n";
    return 1;
  }

  // The end is looked for first: reading beyond it gives NothingMore, and logs an error.
  while (!file.IsEOF()) {
    std::vector<std::unique_ptr<YMMessageBase>> some;
    if (batch.readBinaryBufferFromFile(some, 3) != YMMessageBaseFileHandler::Success) {
      std::cerr << argv[1] << ": cannot be read to its end\n";
      return 1;
    }
    std::cout << some.size() << " messages\n";
    for (const auto& message : some) {
      if (const auto* movement = kwxml::cast<Inventory::Movement>(message.get())) {
        std::cout << "  " << movement->quantity() << " by " << movement->by() << "\n";
      }
    }
  }
  return 0;
}
