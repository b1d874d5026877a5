// A library with a catalogue inside; see PluginTest.cpp.
#include <catalogue/Evolving.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

extern "C" __attribute__((visibility("default"))) void describe(std::string& text)
{
  Evolving::Item item;
  XMLDecoder().unSerialize(item, std::string("<Evolving_Item name=\"Saw\" count=\"3\" grade=\"GOOD\"/>"));
  XMLEncoder().serialize(item, text, true);
  text = std::string(kwxml::Registry::of(item).name()) + ": " + text + " " + nameOf(item.grade()) +
         "; first " + kwxml::Registry::current().name();
}

extern "C" __attribute__((visibility("default"))) YMMessageBase* give()
{
  auto* item = new Evolving::Item;
  item->set_name("Saw");
  return item;
}
