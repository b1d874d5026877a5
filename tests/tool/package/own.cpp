// Prints the systems that the library sees (its own one, and none of the default catalogue), and a message
// that has been read, changed and written.
#include <catalogue/Pets.h>
#include <kwxml/KwXMLMsgsBase.h>

#include <iostream>
#include <memory>

int main()
{
  for (unsigned system = 0; system < 206; ++system) {
    if (kwxml::findClass(system, 0) != nullptr) {
      short index = static_cast<short>(system);
      int classIndex = 0;
      const std::unique_ptr<YMMessageBase> message(YMMessageBase::createObjectFromIndices(index, classIndex));
      std::cout << message->getSubsystemName() << ": ";
    }
  }
  Pets::Cat cat;
  if (XMLDecoder().unSerialize(cat, std::string(R"(<Pets_Cat lives="9"/>)")) != 0) {
    return 1;
  }
  const FieldDef& name = *kwxml::findField(*cat.getClass(), kwxml::nameHash("name", 4));
  cat.setstring(name.fieldNumber, name.slot, "Tom", Pets::Cat::tag, name.hash);
  std::string xml;
  if (XMLEncoder().serialize(cat, xml, true) != 0) {
    return 1;
  }
  std::cout << xml << "\n";
}
