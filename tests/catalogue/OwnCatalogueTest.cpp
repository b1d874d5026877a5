// Linked with a catalogue of its own; names none of its symbols, so that only the link itself can bring it
// in.
#include <kwxml/model/Metadata.h>

#include <gtest/gtest.h>

namespace {

TEST(OwnCatalogue, IsTheOneThatTheLibrarySees)
{
  for (unsigned system = 0; system < 206; ++system) {
    const _ClassDef* cls = kwxml::findClass(system, 0);
    if (system == 77) {
      ASSERT_NE(cls, nullptr);
      EXPECT_STREQ(cls->name, "Thing");
      ASSERT_EQ(cls->numberOfFields, 1);
      EXPECT_STREQ(cls->fields[0].getName(), "label");
    } else {
      EXPECT_EQ(cls, nullptr) << system;
    }
  }
}

}  // namespace
