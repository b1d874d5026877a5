// The value string types: texts with zero bytes, password schemes (against a password library of the test's
// own) and counted UTF-16 strings with their bounds.
#include "support/DataFile.h"

#include <kwxml/model/StringTypes.h>
#include <kwxml/model/XMLChstring.h>
#include <kwxml/platform/KWPassword.h>

#include <gtest/gtest.h>
#include <climits>
#include <cstring>
#include <new>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

using namespace kwxml::test;
using namespace std::string_literals;

namespace {

const std::string rows = "model/strings.cases";

/// What the password library below saw last, and what it is to answer.
struct FakePasswords
{
  bool succeed = true;
  std::string result = "plain";
  std::string call;
  std::string input;
  unsigned int length = 0;
};
FakePasswords& fake()
{
  static FakePasswords state;
  return state;
}

int answer(const char* call, const char* input, char* output, const unsigned int* length)
{
  fake().call = call;
  fake().input = input;
  fake().length = *length;
  std::memcpy(output, fake().result.data(), fake().result.size());
  return fake().succeed ? 1 : 0;
}

}  // namespace

KWPassword::KWPassword() = default;
KWPassword::~KWPassword() = default;
int KWPassword::decrypt(const char* input, char* output, unsigned int* length)
{
  return answer("decrypt3", input, output, length);
}
int KWPassword::decrypt(const char* input, char* output, unsigned int* length, const void* extra)
{
  return answer(extra == nullptr ? "decrypt4" : "decrypt4 with extra", input, output, length);
}
int KWPassword::ConvertToV8(const char* input, char* output, unsigned int* length)
{
  return answer("convert", input, output, length);
}
int KWPassword::encrypt(int, const char* input, char* output, unsigned int* length)
{
  return answer("encrypt", input, output, length);
}

namespace {

class StringTypes : public testing::Test
{
protected:
  StringTypes() { fake() = FakePasswords(); }
};

template <class Text>
class ByteText : public testing::Test
{
};
using ByteTexts = testing::Types<bstring, cdata>;
TYPED_TEST_SUITE(ByteText, ByteTexts, );

TYPED_TEST(ByteText, KeepsEveryByteThroughStreamsAndConcatenation)
{
  static_assert(std::has_virtual_destructor_v<TypeParam> && std::is_nothrow_move_constructible_v<TypeParam> &&
                std::is_nothrow_move_assignable_v<TypeParam>);
  const std::string bytes = "a\0b\xFF"s;
  const TypeParam value(bytes);
  EXPECT_EQ(TypeParam(bytes.data(), bytes.size()).text(), bytes);
  EXPECT_EQ(TypeParam(bytes.data()).text(), "a");
  EXPECT_EQ(TypeParam(nullptr, 0).size(), 0u);

  std::ostringstream out;
  out.width(20);
  out << value;
  EXPECT_EQ(out.str(), bytes);

  static_assert(std::is_same_v<decltype(value + value), std::string>);
  EXPECT_EQ(value + value, bytes + bytes);
  EXPECT_EQ("x\0"s + value, "x\0"s + bytes);
  EXPECT_EQ(value + "\0x"s, bytes + "\0x"s);
  EXPECT_EQ("x" + value + "y", "x" + bytes + "y");

  TypeParam assigned;
  assigned = bytes;
  EXPECT_EQ(assigned, value);
  assigned = "other";
  EXPECT_FALSE(assigned == value);
}

// Bytes and CDATA never mix.
static_assert(!std::is_constructible_v<bstring, cdata> && !std::is_constructible_v<cdata, bstring>);
static_assert(!std::is_assignable_v<bstring&, cdata> && !std::is_assignable_v<cdata&, bstring>);
static_assert(std::is_base_of_v<bstring, pstring> && !std::is_base_of_v<bstring, cdata>);

TEST_F(StringTypes, AssigningATextMakesAPasswordPlain)
{
  EXPECT_EQ(pstring().getEncryptionType(), 1);
  EXPECT_EQ(pstring("x"s).getEncryptionType(), 1);
  for (const auto& [given, kept] :
       std::vector<std::pair<int, int>>{{12, 1}, {INT_MAX, 1}, {11, 11}, {0, 0}, {-3, -3}}) {
    EXPECT_EQ(pstring("x", given).getEncryptionType(), kept) << given;
  }
  pstring value("x", 5);
  pstring copy(value);
  EXPECT_TRUE(copy.getEncryptionType() == 5 && copy.text() == "x");
  copy = "y"s;
  EXPECT_EQ(copy.getEncryptionType(), 1);
  copy = value;
  EXPECT_EQ(copy.getEncryptionType(), 5);
  copy = bstring("z");
  EXPECT_TRUE(copy.getEncryptionType() == 1 && copy.text() == "z");
  copy.setEncryptionType(99);
  EXPECT_EQ(copy.getEncryptionType(), 99);

  EXPECT_STREQ(kwxml::passwordEncryptTypeName(Annotation::BASE64), "BASE64");
  EXPECT_STREQ(kwxml::passwordEncryptTypeName(11), "KWPASSWORD_ENCRYPTION_VER8");
  EXPECT_EQ(kwxml::passwordEncryptTypeName(-1) + std::string(kwxml::passwordEncryptTypeName(12)),
            "UNKNOWNUNKNOWN");
}

TEST_F(StringTypes, PlainPasswordOfEveryScheme)
{
  expectRows(rows, "plain passwords", [](const Lines& cells) {
    const int type = std::stoi(cells[0]);
    std::string plain;
    for (const bool succeed : {false, true}) {
      fake() = FakePasswords();
      fake().succeed = succeed;
      pstring value("text");
      value.setEncryptionType(type);
      plain = value.getPlainPassword().text();
      EXPECT_TRUE(succeed || type == 1 || plain.empty());
      value.setEncryptedPassword("other");
      EXPECT_EQ(value.text(), "text");
      EXPECT_EQ(value.getEncryptionType(), type);
    }
    const bool asked = !fake().call.empty();
    EXPECT_TRUE(!asked || (fake().length == 511 && fake().input == "text"));
    return (plain.empty() ? "nothing" : plain) + (asked ? " by " + fake().call : "");
  });
}

TEST_F(StringTypes, PasswordBuffersHoldTheirLimits)
{
  for (const std::size_t length : {2047u, 2048u, 2049u, 5000u}) {
    pstring(std::string(length, 'p'), 3).getPlainPassword();
    EXPECT_EQ(fake().input, std::string(std::min<std::size_t>(length, 2048), 'p')) << length;
  }
  fake().result = std::string(512, 'q');  // no terminating zero in the plain buffer
  EXPECT_EQ(pstring("text", 3).getPlainPassword().text(), fake().result);
  fake().result = std::string(2048, 'q');
  EXPECT_EQ(pstring("text", 3).getV8Password().text(), fake().result);
  EXPECT_EQ(fake().length, 2048u);
}

TEST_F(StringTypes, NewestSchemeOfEveryScheme)
{
  expectRows(rows, "newest passwords", [](const Lines& cells) {
    std::string made;
    for (const bool succeed : {false, true}) {
      fake() = FakePasswords();
      fake().result = "8new";
      fake().succeed = succeed;
      const pstring result = pstring(cells[1], std::stoi(cells[0])).getV8Password();
      made = (result.size() == 0 ? "nothing" : result.text()) + ", type " +
             std::to_string(result.getEncryptionType());
      EXPECT_TRUE(succeed || fake().call.empty() || made == "nothing, type 1");
    }
    return made + (fake().call.empty() ? "" : " by " + fake().call);
  });
}

std::string narrow(const XMLChstring& text)
{
  std::string result;
  for (unsigned int i = 0; i < text.length(); ++i) {
    const unsigned short unit = text[static_cast<int>(i)];
    result += unit < 0x100 ? static_cast<char>(unit) : '?';
  }
  return text.c_str() != nullptr ? result : "(null)";
}

TEST(XMLChstringTest, AssignsExactlyWhatItIsGiven)
{
  static_assert(std::is_nothrow_move_constructible_v<XMLChstring> &&
                std::is_nothrow_move_assignable_v<XMLChstring>);
  const unsigned short units[] = {'a', 0, 'b', 0};
  EXPECT_EQ(narrow(XMLChstring()), "(null)");
  EXPECT_EQ(narrow(XMLChstring("")), "");
  EXPECT_EQ(narrow(XMLChstring(units)), "a");
  XMLChstring text;
  text.assign(units, 3);
  EXPECT_EQ(narrow(text), "a\0b"s);
  EXPECT_EQ(text.c_str()[3], 0);
  EXPECT_EQ(narrow(XMLChstring(text)), "a\0b"s);
  text = "\xE4\xFF";  // widened, not transcoded
  EXPECT_EQ(text[0], 0xE4);
  text = reinterpret_cast<const unsigned char*>("\xFF");
  EXPECT_EQ(text[0], 0xFF);

  text = "abcdef";
  text = text.c_str() + 2;
  EXPECT_EQ(narrow(text), "cdef");
  XMLChstring moved(std::move(text));
  EXPECT_EQ(narrow(moved), "cdef");
  moved = *&moved;
  EXPECT_EQ(narrow(moved), "cdef");
  moved = XMLChstring();
  EXPECT_EQ(narrow(moved), "(null)");
  moved.clear();
  EXPECT_EQ(moved.length(), 0u);
  EXPECT_THROW(moved.assign(units, std::size_t{UINT_MAX}), std::bad_array_new_length);
}

TEST(XMLChstringTest, IndexesOutsideTheTextReadZeroAndStoreNothing)
{
  XMLChstring text("abc");
  for (const int index : {-1, 3, INT_MIN, INT_MAX}) {
    EXPECT_TRUE(text.getAt(index) == 0 && text[index] == 0) << index;
    text.setAt(index, 'x');
  }
  EXPECT_EQ(narrow(text), "abc");
  EXPECT_EQ(text.c_str()[3], 0);
  text.setAt(2, 'x');
  EXPECT_EQ(narrow(text), "abx");
  EXPECT_EQ(XMLChstring()[0], 0);
}

TEST(XMLChstringTest, AppendsAndCompares)
{
  XMLChstring text;
  text += XMLChstring();
  text += "";
  EXPECT_EQ(narrow(text), "(null)");
  text += "ab";
  const unsigned short* before = text.c_str();
  text += XMLChstring("");
  EXPECT_EQ(text.c_str(), before);
  text += text;
  EXPECT_EQ(narrow(text), "abab");
  const unsigned short c[] = {'c', 0};
  text += c;
  EXPECT_EQ(narrow(text), "ababc");
  EXPECT_EQ(narrow("x" + XMLChstring("y") + XMLChstring("z")), "xyz");
  EXPECT_EQ(narrow(c + XMLChstring("y")), "cy");
  EXPECT_EQ(narrow(XMLChstring() + XMLChstring("y")), "y");

  EXPECT_TRUE("ababc" == text);
  EXPECT_TRUE(c == XMLChstring("c"));
  EXPECT_TRUE(XMLChstring() == XMLChstring(""));
  EXPECT_FALSE(XMLChstring("aba") == text || XMLChstring("ababd") == text);
}

TEST(XMLChstringTest, SubstringBounds)
{
  const XMLChstring text("abc");
  expectRows(rows, "parts of abc", [&](const Lines& cells) {
    return narrow(text.substr(std::stoi(cells[0]), std::stoi(cells[1])));
  });
  EXPECT_EQ(narrow(XMLChstring().substr(0, 1)), "(null)");
  EXPECT_THROW(text.substr(2, -1), std::bad_array_new_length);
  EXPECT_THROW(text.substr(INT_MIN + 3, INT_MAX), std::bad_array_new_length);
}

}  // namespace
