// A program with a catalogue of its own opens a library with another one, linked into it statically and
// compiled with hidden symbols: each works with its own, whichever the process found first.
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Registry.h>

#include <catalogue/Own.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

TEST(Plugin, BringsItsCatalogueWithIt)
{
  void* library = dlopen(KWXML_PLUGIN, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  auto* make = reinterpret_cast<void (*)(std::string&)>(dlsym(library, "describe"));
  ASSERT_NE(make, nullptr);
  std::string text;
  make(text);
  EXPECT_EQ(text, "evolving: <Evolving_Item count=\"3\" grade=\"1\" name=\"Saw\"/> GOOD; first own_static");
  // A message of the library's catalogue in the program, whose look-ups without a message are the program's
  // own.
  auto* give = reinterpret_cast<YMMessageBase* (*)()>(dlsym(library, "give"));
  const std::unique_ptr<YMMessageBase> given(give());
  EXPECT_EQ(given->getTagName(), "Evolving_Item");
  const kwxml::Registry& registry = kwxml::Registry::of(*given);
  EXPECT_STREQ(registry.name(), "evolving");
  EXPECT_STREQ(kwxml::Registry::of(Own::Thing()).name(), "own_static");
  const YMMessageBase copy = *given;
  EXPECT_TRUE(copy == *given);
  EXPECT_EQ(&kwxml::Registry::of(copy), &registry);
  const std::string xml = "<Evolving_Item><parts name=\"Blade\"/></Evolving_Item>";
  YMMessageBase target = copy;
  EXPECT_EQ(XMLDecoder().unSerialize(target, xml), 0) << "the target says which catalogue is meant";
  std::unique_ptr<YMMessageBase> made(XMLDecoder().unSerialize(xml));
  EXPECT_EQ(made, nullptr) << "the program's catalogue has no such class";
  const kwxml::UsingCatalogue scope(registry);
  made.reset(XMLDecoder().unSerialize(xml));
  ASSERT_NE(made, nullptr);
  EXPECT_TRUE(*made == target);
  dlclose(library);  // stays loaded, since messages point into its tables
  EXPECT_EQ(copy.getTagName(), "Evolving_Item");
}

}  // namespace
