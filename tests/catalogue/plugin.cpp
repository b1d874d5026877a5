// A library with a catalogue inside; see PluginTest.cpp.
#include <catalogue/Evolving.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

extern "C" __attribute__((visibility("default"))) void describe(std::string& text)
{
  Evolving::Item item;
  if (XMLDecoder().unSerialize(item, "<Evolving_Item name=\"Saw\" count=\"3\" grade=\"GOOD\"/>") != 0 ||
      XMLEncoder().serialize(item, text, true) != 0) {
    text = "failed";
    return;
  }
  text = std::string(kwxml::Registry::of(item).name()) + ": " + text + " " + nameOf(item.grade()) +
         "; first " + kwxml::Registry::current().name();
}

extern "C" __attribute__((visibility("default"))) YMMessageBase* give()
{
  auto* item = new Evolving::Item;
  item->set_name("Saw");
  return item;
}
