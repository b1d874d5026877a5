// A program with a catalogue of its own opens a library with another one, linked into it statically and
// compiled with hidden symbols: each works with its own, whichever the process found first.
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/model/Registry.h>

#include <catalogue/Own.h>

#include "platform/TempDirectory.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
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

/// Why the library cannot be loaded, without its path.
std::string refusal(const std::string& path)
{
  std::string problem;
  EXPECT_EQ(kwxml::Registry::fromLibrary(path, problem), nullptr);
  EXPECT_TRUE(problem.starts_with(path + ": ")) << problem;
  return problem.substr(std::min(problem.size(), path.size() + 2));
}

TEST(Libraries, AreRefusedByName)
{
  const kwxml::test::TempDirectory folder;
  std::ifstream in(KWXML_PLUGIN, std::ios::binary);
  const std::string whole((std::istreambuf_iterator<char>(in)), {});
  std::string otherMachine = whole;
  otherMachine[18] = static_cast<char>(0xB7);  // e_machine: AArch64
  otherMachine[19] = 0;
  std::string otherWidth = whole;
  otherWidth[4] = 1;  // ELFCLASS32
  EXPECT_EQ(refusal(folder.write("machine.so", otherMachine)), "it is built for another machine");
  EXPECT_EQ(refusal(folder.write("width.so", otherWidth)), "it is built for another machine");
  EXPECT_EQ(refusal(folder.write("head.so", whole.substr(0, 20))), "the file is cut short");
  EXPECT_EQ(refusal(folder.write("half.so", whole.substr(0, whole.size() / 2))), "the file is cut short");
  EXPECT_EQ(refusal(folder.write("text.so", std::string(100, ' '))), "it is no shared library");
  EXPECT_NE(refusal(folder.path() + "/none.so").find("No such file or directory"), std::string::npos);
  EXPECT_EQ(refusal(KWXML_LATER), "its tables are of version 3, this library reads version 2");
  EXPECT_EQ(refusal(KWXML_OTHER), "it holds no catalogue of this library's kind");
}

}  // namespace
