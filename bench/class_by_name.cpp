// Finds every class of the catalogue in use by its name, under callgrind: see full-size.
#include <kwxml/model/Registry.h>

#include <valgrind/callgrind.h>

#include <cstdio>

int main()
{
  const kwxml::Registry& registry = kwxml::Registry::current();
  unsigned classes = 0;
  unsigned found = 0;
  CALLGRIND_START_INSTRUMENTATION;
  for (unsigned i = 0; i < XML_KWMessage_MessageSystemChooser::numberOfSystems; ++i) {
    const MessageSystemRow& row = registry.row(i);
    for (int j = 0; j < row.numberOfClasses; ++j) {
      if (row.classes[j].name == nullptr) {
        continue;
      }
      const std::string_view system = row.name;
      const std::string_view name = row.classes[j].name;
      short system_ = 0;
      int index = -1;
      ++classes;
      CALLGRIND_TOGGLE_COLLECT;
      const bool isThere = registry.findClass(system, name, system_, index);
      CALLGRIND_TOGGLE_COLLECT;
      found += isThere && index == j ? 1 : 0;
    }
  }
  CALLGRIND_STOP_INSTRUMENTATION;
  std::printf("%u\n", classes);
  return found == classes ? 0 : 1;
}
