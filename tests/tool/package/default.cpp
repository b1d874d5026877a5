// Names no class of a catalogue: prints the first system of the one that the program is linked with.
#include <kwxml/KwXMLMsgsBase.h>

#include <iostream>
#include <memory>

int main()
{
  for (short system = 0; system < 206; ++system) {
    if (const _ClassDef* cls = kwxml::findClass(static_cast<unsigned>(system), 0)) {
      short index = system;
      int classIndex = 0;
      const std::unique_ptr<YMMessageBase> message(YMMessageBase::createObjectFromIndices(index, classIndex));
      std::cout << message->getSubsystemName() << "\n";
      return cls == message->getClass() ? 0 : 1;
    }
  }
  return 1;
}
