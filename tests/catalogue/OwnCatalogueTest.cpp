// Linked with a catalogue of its own; names none of its symbols, so that only the link itself can bring it
// in.
#include <kwxml/model/Metadata.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cwchar>

// Behind headers whose macros are the names of enumerators.
#include <catalogue/Own.h>

#include <gtest/gtest.h>

namespace {

TEST(OwnCatalogue, IsTheOneThatTheLibrarySees)
{
  for (unsigned system = 0; system < 206; ++system) {
    EXPECT_EQ(kwxml::findClass(system, 0) != nullptr, system == 77) << system;
  }
  const _ClassDef* cls = kwxml::findClass(77, 0);
  ASSERT_NE(cls, nullptr);
  EXPECT_STREQ(cls->name, "Thing");
  ASSERT_EQ(cls->numberOfFields, 1);
  EXPECT_STREQ(cls->fields[0].getName(), "label");
}

TEST(OwnCatalogue, EnumeratorsNamedLikeMacros)
{
  EXPECT_EQ(static_cast<int>(Own::Macros::EIO_), 1);
  EXPECT_EQ(static_cast<int>(Own::Macros::INT_MAX_), 5);
  EXPECT_EQ(static_cast<int>(Own::Macros::EIO__), 14);
  EXPECT_STREQ(kwxml::findClass(77, 1)->fields[0].getName(), "EIO");
}

}  // namespace
