// Passwords in messages: which algorithm serves which type, in both directions, and that no secret shows.
#include "platform/TempDirectory.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/platform/KWPassword.h>
#include <kwxml/platform/PasswordKeyFile.h>
#include <kwxml/text/Base64.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <stdexcept>

using namespace kwxml::test;
using Annotation::PasswordEncryptType;

static_assert(offsetof(EncodingFlags, keepPasswordForm) == 17);

namespace {

constexpr int missing = kwxml::passwordHandlerMissing;
constexpr const char* attributes = "MySAZ2Handler::processAttributes";
constexpr const char* decryptFunction = "XMLDecoder::decryptPassword";
constexpr const char* sessionLine =
    "Password Encryption Type is SESSION_ENCRYPTION. Context Object Not Passed.Exiting Decryption";

PasswordEncryptType type(int number)
{
  return static_cast<PasswordEncryptType>(number);
}

/// What the last algorithm found in its context.
struct Seen
{
  KwXMLContextInfo* context = nullptr;
  int contextType = -1;
  int textType = -1;
  int encoderArg = 0;
  int reEncrypt = -1;
  int calls = 0;
};
Seen seen;

template <class T>
int fact(const KwXMLContextInfo& context, const char* name)
{
  const void* value = context.getParam(name);
  return value != nullptr ? static_cast<int>(*static_cast<const T*>(value)) : -1;
}

void look(KwXMLContextInfo* context)
{
  ++seen.calls;
  seen.context = context;
  if (context != nullptr) {
    seen.contextType = context->getPasswordEncType();
    seen.textType = fact<int>(*context, "passwordType");
    seen.encoderArg = fact<int>(*context, "passwordEncoderArg");
    seen.reEncrypt = fact<bool>(*context, "reEncrypt");
  }
}

/// A reversible transformation, marked with its type: the text of no other type passes.
template <int Type>
std::string sealed(const std::string& plain)
{
  std::string text = "<" + std::to_string(Type) + ">";
  for (const char c : plain) {
    text += static_cast<char>(c ^ 0x15);
  }
  return text;
}

template <int Type>
bstring encrypt(bstring text, KwXMLContextInfo* context)
{
  look(context);
  return bstring(base64_encode(sealed<Type>(text)));
}

template <int Type>
bstring decrypt(bstring text, KwXMLContextInfo* context)
{
  look(context);
  const std::string mark = "<" + std::to_string(Type) + ">";
  if (text.text().rfind(mark, 0) != 0) {
    return bstring();
  }
  return bstring(sealed<Type>(text.text().substr(mark.size())).substr(mark.size()));
}

bstring fail(bstring, KwXMLContextInfo*)
{
  return bstring();
}

bstring throwUp(bstring, KwXMLContextInfo*)
{
  throw std::runtime_error("no");
}

template <int... Types>
void registerTransformation(std::integer_sequence<int, Types...>)
{
  (XMLDecoder::registerPasswordEncAlgo(type(Types), encrypt<Types>), ...);
  (XMLDecoder::registerPasswordDecAlgo(type(Types), decrypt<Types>), ...);
}
using Protecting = std::integer_sequence<int, 2, 3, 4, 5, 7, 8, 9, 10>;

std::string sealedAs(int number, const std::string& plain)
{
  const std::string parts[] = {"",
                               "",
                               sealed<2>(plain),
                               sealed<3>(plain),
                               sealed<4>(plain),
                               sealed<5>(plain),
                               "",
                               sealed<7>(plain),
                               sealed<8>(plain),
                               sealed<9>(plain),
                               sealed<10>(plain)};
  return parts[number];
}

std::string wire(int number, const std::string& plain)
{
  return base64_encode(sealedAs(number, plain));
}

/// No algorithm is left from one test to the next.
class Passwords : public testing::Test
{
protected:
  Passwords() { clear(); }
  ~Passwords() override { clear(); }
  static void clear()
  {
    for (int i = 0; i <= kwxml::maxPasswordAlgorithmType; ++i) {
      XMLDecoder::registerPasswordEncAlgo(type(i), nullptr);
      XMLDecoder::registerPasswordDecAlgo(type(i), nullptr);
    }
    seen = Seen();
  }
};

/// With a settings file that names a new key.
class StandInPasswords : public Passwords
{
protected:
  StandInPasswords()
  {
    std::string error;
    EXPECT_TRUE(kwxml::createKeyFile(directory_ / "key", error)) << error;
    setenv("KWXML_SETTINGS",
           directory_.write("settings", "[Password]\nkeyfile = " + directory_ / "key\n").c_str(), 1);
    kwxml::registerPasswordAlgorithms();
  }
  ~StandInPasswords() override { unsetenv("KWXML_SETTINGS"); }
  void newKey()
  {
    std::string error;
    std::filesystem::remove(directory_ / "key");
    EXPECT_TRUE(kwxml::createKeyFile(directory_ / "key", error)) << error;
  }
  TempDirectory directory_;
};

std::string name(int number)
{
  return "password" + std::to_string(number);
}

void setPassword(YMMessageBase& m, const std::string& fieldName, const pstring& value)
{
  const FieldDef& def = field(m, fieldName);
  m.setpstringobject(def.fieldNumber, def.slot, value, type(value.getEncryptionType()), m.getTagID(),
                     def.hash);
}

/// The value of a password field as (type, text); type -1 when it is unset.
std::pair<int, std::string> password(const YMMessageBase& m, const std::string& fieldName)
{
  if (!isSet(m, fieldName)) {
    return {-1, ""};
  }
  const auto* value = static_cast<const pstring*>(field(m, fieldName).getFieldAddrResolved(m));
  return {value->getEncryptionType(), value->text()};
}

std::unique_ptr<YMMessageBase> read(const std::string& xml, KwXMLContextInfo* context = nullptr)
{
  return std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(xml, context));
}

/// A document with one password and a neighbour that must survive.
std::string document(const std::string& fieldName, const std::string& text)
{
  return "<Types_Annotated " + fieldName + "='" + text + "' marked='1'/>";
}

std::string shown(const std::vector<LogLine>& lines)
{
  std::string all;
  for (const LogLine& line : lines) {
    all += line.function + ": " + line.text + "\n";
  }
  return all;
}

}  // namespace

TEST_F(Passwords, RegistriesHaveElevenSlotsEach)
{
  LogCapture log(10);
  for (int i = 0; i <= 10; ++i) {
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordEncAlgo(type(i)), nullptr);
    EXPECT_TRUE(i == 3 ? XMLEncoder::registerPasswordEncAlgo(type(i), encrypt<2>)
                       : XMLDecoder::registerPasswordEncAlgo(type(i), encrypt<2>));
    EXPECT_EQ(log.lines().back(),
              (LogLine{10, "XMLDecoder::registerPasswordEncAlgo",
                       std::string("Successfully Registered Password Encryption Algorithm for type = [") +
                           kwxml::passwordEncryptTypeName(i) + "]"}));
    EXPECT_TRUE(XMLDecoder::registerPasswordDecAlgo(type(i), decrypt<2>));
    EXPECT_EQ(log.lines().back(),
              (LogLine{10, "XMLDecoder::registerPasswordDecAlgo",
                       "Successfully Registered Password Encryption Algorithm for type = [" +
                           std::to_string(i) + "]"}));
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordEncAlgo(type(i)), encrypt<2>);
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordDecAlgo(type(i)), decrypt<2>);
  }
  for (const int i : {11, 12, -1}) {
    EXPECT_FALSE(XMLDecoder::registerPasswordEncAlgo(type(i), encrypt<2>));
    EXPECT_FALSE(XMLDecoder::registerPasswordDecAlgo(type(i), decrypt<2>));
    EXPECT_EQ(log.lines().back(),
              (LogLine{10, "XMLDecoder::registerPasswordDecAlgo",
                       "Password Encryption Algorithm type [" + std::to_string(i) + "] out of range"}));
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordEncAlgo(type(i)), nullptr);
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordDecAlgo(type(i)), nullptr);
  }
}

TEST_F(Passwords, AreEncryptedForTheTarget)
{
  registerTransformation(Protecting());
  const struct
  {
    int fieldType, override, own;
    const char* text;
    bool keep;
    std::string expected;  // "-": refused
    int textType;          // what the encryption algorithm is told, -1 when it is not called
  } rows[] = {
      {3, 0, 1, "secret", false, wire(3, "secret"), 1},
      {3, 9, 1, "secret", false, wire(9, "secret"), 1},
      {2, 0, 1, "secret", false, wire(2, "secret"), 1},  // the algorithm's own business what session it needs
      // A protected value of another type is decrypted first, unless the flags say otherwise.
      {3, 0, 5, "<5>fpvgpa", false, wire(3, "secret"), 1},
      {3, 9, 5, "<5>fpvgpa", false, wire(9, "secret"), 1},
      {3, 9, 5, "<5>fpvgpa", true, wire(9, "<5>fpvgpa"), 5},
      {3, 0, 3, "<3>fpvgpa", false, wire(3, "<3>fpvgpa"), 3},
      // It stays protected where its own algorithm is missing or fails.
      {3, 0, 6, "x", false, wire(3, "x"), 6},
      {3, 0, 11, "8x", false, wire(3, "8x"), 11},
      {3, 0, 5, "damaged", false, wire(3, "damaged"), 5},
      {3, 0, 0, "x", false, wire(3, "x"), 0},
      {3, 0, -3, "x", false, wire(3, "x"), -3},
      // Without an algorithm for the target only a plain value is written, and as it is.
      {11, 0, 1, "secret", false, "secret", -1},
      {6, 0, 1, "secret", false, "secret", -1},
      {1, 0, 1, "secret", false, "secret", -1},
      // The protection that the field's type gives is not taken away by a target that gives none.
      {3, 1, 1, "secret", false, wire(3, "secret"), 1},
      {3, 6, 1, "secret", false, wire(3, "secret"), 1},
      {3, 11, 1, "secret", false, wire(3, "secret"), 1},
      {11, 0, 3, "<3>fpvgpa", false, "-", 3},
      {11, 0, 11, "8x", false, "-", -1},
      {6, 0, 6, "x", false, "-", -1},
      {1, 0, 3, "<3>fpvgpa", false, "-", -1},
      {3, 1, 3, "<3>fpvgpa", false, "-", -1},
      {3, 6, 3, "<3>fpvgpa", false, "-", -1},
      // Targets that nobody knows.
      {12, 0, 1, "secret", false, "-", -1},
      {15, 0, 1, "secret", false, "-", -1},
      {3, 12, 1, "secret", false, "-", -1},
      {3, -1, 1, "secret", false, "-", -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE("field type " + std::to_string(row.fieldType) + ", override " +
                 std::to_string(row.override) + ", own type " + std::to_string(row.own) + ", " + row.text);
    EncodingFlags flags;
    flags.targetPasswordType = row.override;
    flags.keepPasswordForm = row.keep ? 1 : 0;
    flags.passwordEncoderArg = 77;
    KwXMLContextInfo context;
    int other = 0;
    context.addParam("passwordType", &other);  // a parameter of the caller's comes back
    for (KwXMLContextInfo* given : {static_cast<KwXMLContextInfo*>(nullptr), &context}) {
      seen = Seen();
      pstring value(row.text, row.own);
      std::string out = "before";
      const int result = XMLDecoder(flags, given).encryptPassword(row.fieldType, value, out);
      EXPECT_EQ(result, row.expected == "-" ? missing : 0);
      EXPECT_EQ(out, row.expected == "-" ? "" : row.expected);
      EXPECT_EQ(value.text(), row.text);
      EXPECT_EQ(seen.textType, row.textType);
      if (row.expected != "-" && row.textType != -1) {
        EXPECT_EQ(seen.encoderArg, 77);
        EXPECT_TRUE(given == nullptr || seen.context == given);
      }
      EXPECT_EQ(context.getParam("passwordType"), &other);
    }
  }
  XMLDecoder::registerPasswordEncAlgo(type(3), fail);
  pstring value("secret");
  std::string out;
  EXPECT_EQ(XMLDecoder().encryptPassword(3, value, out), missing)
      << "what cannot be protected is not written";
  XMLDecoder::registerPasswordEncAlgo(type(3), throwUp);
  EXPECT_EQ(XMLDecoder().encryptPassword(3, value, out), missing);
  EXPECT_EQ(out, "");
}

TEST_F(Passwords, TheTypeOfTheValueReachesItsDecryption)
{
  registerTransformation(Protecting());
  XMLDecoder::registerPasswordEncAlgo(type(3), nullptr);
  KwXMLContextInfo context;
  int session = 0;
  context.addParam("MessageInfo", &session);
  context.setPasswordEncType(type(9));
  pstring value(sealedAs(2, "secret"), 2);
  std::string out;
  EXPECT_EQ(XMLDecoder(&context).encryptPassword(3, value, out), missing) << "decrypted, yet not written";
  EXPECT_EQ(out, "");
  EXPECT_EQ(seen.calls, 1);
  EXPECT_NE(seen.context, &context);
  EXPECT_EQ(seen.contextType, 2);
  EXPECT_EQ(context.getPasswordEncType(), 9);
}

TEST_F(Passwords, AreReadByTheTypesOfFieldAndContext)
{
  registerTransformation(Protecting());
  int session = 0;
  const struct
  {
    int fieldType;
    std::string text;
    int contextType;  // -1: no context
    bool session;
    std::pair<int, std::string> expected;
    std::string log;  // a line that must be there
    int level = 0;
  } rows[] = {
      {1, "secret", -1, false, {1, "secret"}, ""},
      {3, wire(3, "secret"), -1, false, {1, "secret"}, ""},
      {4, wire(4, "secret"), 0, false, {1, "secret"}, ""},
      {9, wire(9, "secret"), 1, false, {1, "secret"}, ""},
      {10, wire(10, "secret"), 3, false, {1, "secret"}, ""},
      {11, "OGFiYw==", -1, false, {-1, ""}, "Password Decryption Handler Not Found for Type 11"},
      {6, "as/it*is", -1, false, {6, "as/it*is"}, ""},
      // Sessions.
      {2, wire(2, "secret"), 0, true, {1, "secret"}, ""},
      {7, wire(7, "secret"), 0, true, {1, "secret"}, ""},
      {8, wire(8, "secret"), 0, true, {1, "secret"}, ""},
      {2, wire(2, "secret"), -1, false, {-1, ""}, sessionLine},
      {2, wire(2, "secret"), 0, false, {-1, ""}, sessionLine},
      {7, wire(7, "secret"), 0, false, {-1, ""}, sessionLine},
      {8, wire(8, "secret"), -1, false, {-1, ""}, sessionLine},
      // Passed through: as received, whatever could decrypt it.
      {3,
       wire(3, "secret"),
       6,
       false,
       {6, wire(3, "secret")},
       "Password Encryption Type Marked as PassThrough",
       10},
      {2, "YWJj", 6, false, {6, "YWJj"}, "Password Encryption Type Marked as PassThrough", 10},
      {11, "OGFiYw==", 6, false, {6, "OGFiYw=="}, "Password Encryption Type Marked as PassThrough", 10},
      {6, "*", 6, false, {6, "*"}, "Password Encryption Type Marked as PassThrough", 10},
      {1, "secret", 6, false, {1, "secret"}, "Password Encryption Type Marked as PassThrough", 10},
      {3, "*", 6, false, {-1, ""}, ""},
      // Kept under the context's type.
      {5, wire(5, "secret"), 5, false, {5, sealedAs(5, "secret")}, ""},
      {4, wire(4, "secret"), 4, false, {4, sealedAs(4, "secret")}, ""},
      {3, wire(3, "secret"), 5, false, {5, sealedAs(5, "secret")}, ""},
      {2, wire(2, "secret"), 4, true, {4, sealedAs(4, "secret")}, ""},
      {2, wire(2, "secret"), 4, false, {-1, ""}, sessionLine},
      {1, "secret", 5, false, {1, "secret"}, ""},
      {6, "x", 5, false, {6, "x"}, ""},
      // Damage.
      {3, "YWJ", -1, false, {-1, ""}, ""},
      {9, "*", -1, false, {-1, ""}, ""},
      {3,
       wire(4, "secret"),
       -1,
       false,
       {-1, ""},
       "The password of field [password3] cannot be decrypted",
       10},
      {3, wire(4, "secret"), 5, false, {-1, ""}, "The password of field [password3] cannot be decrypted", 10},
      {3, "", -1, false, {-1, ""}, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE("field type " + std::to_string(row.fieldType) + ", context " +
                 std::to_string(row.contextType) + ", " + row.text);
    KwXMLContextInfo context;
    context.setPasswordEncType(type(std::max(row.contextType, 0)));
    if (row.session) {
      context.addParam("MessageInfo", &session);
    }
    KwXMLContextInfo* given = row.contextType == -1 ? nullptr : &context;
    LogCapture log(10);
    const bool stays = row.expected.first == -1;
    for (const std::string& xml : {document(name(row.fieldType), row.text),
                                   "<Types_Annotated marked='1'><" + name(row.fieldType) + ">" + row.text +
                                       "</" + name(row.fieldType) + "></Types_Annotated>"}) {
      log.clear();
      const auto m = read(xml, given);
      ASSERT_NE(m, nullptr);
      const bool element = xml.find("></Types") != std::string::npos;
      if (row.text.empty()) {  // an empty attribute is an empty password, an empty element is none
        EXPECT_EQ(password(*m, name(row.fieldType)).first, element ? -1 : 1);
        continue;
      }
      EXPECT_EQ(password(*m, name(row.fieldType)), row.expected);
      EXPECT_EQ(getInt(*m, "marked"), 1);
      EXPECT_EQ(
          log.has(element ? "MySAX2Handler::endElement" : attributes,
                  "Password Handler Not Found while serializing bstring field [" + name(row.fieldType) + "]"),
          stays);
      if (!row.log.empty()) {
        EXPECT_TRUE(log.has(decryptFunction, row.log)) << shown(log.lines());
      }
    }
    const FieldDef& def = field(make("Types_Annotated"), name(row.fieldType));
    const std::u16string wide(row.text.begin(), row.text.end());
    auto* out = reinterpret_cast<pstring*>(1);
    const bool done =
        XMLDecoder(given).decryptPassword(def, reinterpret_cast<const unsigned short*>(wide.c_str()), out);
    const std::unique_ptr<pstring> owner(out);
    EXPECT_EQ(done, out != nullptr);
    EXPECT_EQ(done, !stays || row.text.empty());
  }
}

TEST_F(Passwords, FieldsWithoutATypeOrWithAnUnknownOne)
{
  LogCapture log(10);
  const YMMessageBase m = make("Types_Annotated");
  FieldDef def = field(m, "plainPassword");
  const std::u16string text = u"c2VjcmV0";
  const auto* received = reinterpret_cast<const unsigned short*>(text.c_str());
  for (const std::vector<unsigned char>& record :
       {std::vector<unsigned char>{}, {0, 2}, {0, 0}, {0, 5, 0x00, 0, 0}, {0, 5, 0x0F, 0, 0}}) {
    def.annotations = record.empty() ? nullptr : record.data();
    log.clear();
    pstring* out = nullptr;
    ASSERT_TRUE(XMLDecoder().decryptPassword(def, received, out));
    EXPECT_EQ(*out, pstring("c2VjcmV0"));
    EXPECT_EQ(out->getEncryptionType(), 1);
    delete out;
    EXPECT_EQ(log.lines(),
              (std::vector<LogLine>{{10, decryptFunction,
                                     "Encryption Type Not Found for Pstring Field plainPassword. "
                                     "Marking it As Plain "}}));
  }
  for (const int unknown : {12, 15}) {
    const unsigned char record[] = {0, 5, static_cast<unsigned char>(unknown << 4), 0, 0};
    def.annotations = record;
    log.clear();
    pstring* out = nullptr;
    EXPECT_FALSE(XMLDecoder().decryptPassword(def, received, out));
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(log.texts(), std::vector<std::string>{"Password Decryption Handler Not Found for Type " +
                                                    std::to_string(unknown)});
  }
  pstring* out = nullptr;
  EXPECT_FALSE(XMLDecoder().decryptPassword(def, nullptr, out));
  const unsigned short lone[] = {0xD800, 0};
  EXPECT_FALSE(XMLDecoder().decryptPassword(def, lone, out));
}

TEST_F(Passwords, OneReceivedPasswordIsProcessedInPlace)
{
  registerTransformation(Protecting());
  XMLDecoder::registerPasswordDecAlgo(type(10), nullptr);
  XMLDecoder::registerPasswordDecAlgo(type(9), fail);
  int session = 0;
  const struct
  {
    int flagsType, contextType;  // -1: no context
    bool session;
    std::string text;
    int result;
    std::string log;
  } rows[] = {
      {3, -1, false, sealedAs(3, "secret"), 0, ""},
      {3, 0, false, sealedAs(3, "secret"), 0, ""},
      {5, 3, false, sealedAs(3, "secret"), 0, ""},
      {0, 2, true, sealedAs(2, "secret"), 0, ""},
      {2, -1, false, "x", 1, sessionLine},
      {0, 7, false, "x", 1, sessionLine},
      {8, 0, false, "x", 1, sessionLine},
      {3, -1, false, "", 1, "Empty Password Input String"},
      {0, -1, false, "x", 1, "Password Encryption Type[0] is not Valid. Exiting Decoding"},
      {0, 1, false, "x", 1, "Password Encryption Type[1] is not Valid. Exiting Decoding"},
      {12, -1, false, "x", 1, "Password Encryption Type[12] is not Valid. Exiting Decoding"},
      {-2, -1, false, "x", 1, "Password Encryption Type[-2] is not Valid. Exiting Decoding"},
      {6, -1, false, "x", missing, "Password Decryption Handler Not Found for type [6]"},
      {10, -1, false, "x", missing, "Password Decryption Handler Not Found for type [10]"},
      {11, -1, false, "x", missing, "Password Decryption Handler Not Found for type [11]"},
      {9, -1, false, "x", 1, "A password of type [9] cannot be decrypted"},
  };
  for (const auto& row : rows) {
    for (const bool reEncrypt : {false, true}) {
      EncodingFlags flags;
      flags.targetPasswordType = row.flagsType;
      KwXMLContextInfo context;
      context.setPasswordEncType(type(std::max(row.contextType, 0)));
      if (row.session) {
        context.addParam("MessageInfo", &session);
      }
      LogCapture log;
      seen = Seen();
      bstring value(row.text);
      EXPECT_EQ(XMLDecoder(flags, row.contextType == -1 ? nullptr : &context)
                    .ProcessPasswordAnnotation(value, reEncrypt),
                row.result)
          << row.log;
      EXPECT_EQ(value.text(), row.result == 0 ? "secret" : row.text);
      if (row.result == 0) {
        EXPECT_EQ(seen.reEncrypt, reEncrypt ? 1 : 0);
        EXPECT_EQ(context.getParam("reEncrypt"), nullptr);
      } else {
        EXPECT_EQ(log.lines(), (std::vector<LogLine>{{0, "XMLDecoder::ProcessPasswordAnnotation", row.log}}));
      }
    }
  }
}

TEST_F(Passwords, OneTextIsDecryptedByItsType)
{
  registerTransformation(Protecting());
  LogCapture log;
  KwXMLContextInfo context;
  bstring out("before");
  EXPECT_EQ(DecryptPasswordString(bstring(sealedAs(3, "secret")), out, type(3), &context), 0);
  EXPECT_EQ(out.text(), "secret");
  EXPECT_EQ(seen.context, &context);
  EXPECT_EQ(DecryptPasswordString(bstring(sealedAs(3, "secret")), out, type(3), nullptr), 0);
  EXPECT_EQ(seen.context, nullptr);
  for (const int number : {0, 1, 6, 11, 12}) {
    EXPECT_EQ(DecryptPasswordString(bstring("x"), out, type(number), nullptr), missing);
    EXPECT_EQ(log.lines().back(),
              (LogLine{0, "DecryptPasswordString",
                       "Handler is not Registered for the encryption type:[" + std::to_string(number) + "][" +
                           kwxml::passwordEncryptTypeName(number) + "]"}));
  }
  XMLDecoder::registerPasswordDecAlgo(type(3), throwUp);
  EXPECT_EQ(DecryptPasswordString(bstring("x"), out, type(3), nullptr), missing);
  EXPECT_EQ(out.text(), "secret");
}

// ---- Canary

namespace {

constexpr const char* canary = "cAn4ry&bird";

/// Everything that comes out of writing the message in one form, reading it and reading a damaged copy.
std::string everything(YMMessageBase& m, const EncodingFlags& flags, int contextType, LogCapture& log)
{
  log.clear();
  KwXMLContextInfo context;
  context.setPasswordEncType(type(contextType));
  std::string xml;
  EXPECT_EQ(XMLEncoder(flags, &context).serialize(m, xml), 0);
  (void)read(xml, &context);
  (void)read(xml.substr(0, xml.size() - 2), &context);
  return xml + "\n" + context.getErrorDetails() + shown(log.lines());
}

/// The forms: plain, elements, readable, masked; then every target, with and without keepPasswordForm.
std::vector<EncodingFlags> everyForm()
{
  std::vector<EncodingFlags> forms(4);
  forms[1].valuesAsElements = 1;
  forms[2].readableForm = 1;
  forms[3].maskPasswords = 1;
  for (int target = 1; target <= 11; ++target) {
    for (const unsigned char keep : {0, 1}) {
      EncodingFlags& flags = forms.emplace_back();
      flags.targetPasswordType = target;
      flags.keepPasswordForm = keep;
    }
  }
  return forms;
}

bool shows(const std::string& all, const std::string& secret)
{
  std::string escaped = secret;
  escaped.replace(escaped.find('&'), 1, "&amp;");
  return all.find(secret) != std::string::npos || all.find(escaped) != std::string::npos;
}

}  // namespace

TEST_F(StandInPasswords, NoSecretShowsUnlessItsTypeSaysPlain)
{
  LogCapture log(25);
  for (const int registered : {0, 1, 2}) {  // nothing, the transformation, the platform's
    clear();
    if (registered == 1) {
      registerTransformation(Protecting());
    } else if (registered == 2) {
      kwxml::registerPasswordAlgorithms();
    }
    YMMessageBase whole = make("Types_Annotated");
    for (const FieldDef& def : *whole.getClass()) {
      if (def.type != FIELD_PSTRING) {
        continue;
      }
      const int fieldType = kwxml::AnnotationRecord(def.annotations).passwordType();
      const bool served = XMLDecoder::GetRegisteredPasswordEncAlgo(type(fieldType)) != nullptr;
      const bool protects = served && fieldType != Annotation::PASS_THROUGH;
      for (int own = 0; own <= 11; ++own) {
        YMMessageBase m = make("Types_Annotated");
        m.wipeBitset();
        setPassword(m, def.getName(), pstring(canary, own));
        for (const EncodingFlags& flags : everyForm()) {
          const int target = flags.targetPasswordType != 0 ? flags.targetPasswordType : fieldType;
          const bool targetProtects = target != Annotation::PASS_THROUGH &&
                                      XMLDecoder::GetRegisteredPasswordEncAlgo(type(target)) != nullptr;
          const std::string all = everything(m, flags, flags.targetPasswordType, log);
          // A plain value shows where nothing protects it; what is to be carried unchanged shows as it is.
          const bool plain = own == Annotation::PLAIN_TEXT && fieldType != 0 && !protects && !targetProtects;
          const bool carried =
              own == Annotation::PASS_THROUGH && target == own && registered == 2 && fieldType != 0;
          EXPECT_EQ(shows(all, canary), flags.maskPasswords == 0 && (plain || carried))
              << def.getName() << " with a value of type " << own << ", target " << target << ", algorithms "
              << registered << "\n"
              << all;
          if (target != Annotation::BASE64 && fieldType != Annotation::BASE64) {
            EXPECT_EQ(all.find(base64_encode(canary).substr(0, 12)), std::string::npos)
                << def.getName() << " with a value of type " << own << ", target " << target << "\n"
                << all;
          }
        }
      }
    }
  }
}

// ---- The platform's algorithms

TEST_F(StandInPasswords, PasswordsComeBackFromEveryTypeThatIsServed)
{
  YMMessageBase m = make("Types_Annotated");
  m.wipeBitset();
  const std::string secret = "p\xC3\xA4ss <&> word ";
  for (const int number : {1, 3, 4, 5, 6, 9, 10}) {
    setPassword(m, name(number), pstring(number == 1 || number == 6 ? "plain" : secret));
  }
  for (const bool elements : {false, true}) {
    EncodingFlags flags;
    flags.valuesAsElements = elements ? 1 : 0;
    std::string xml;
    ASSERT_EQ(XMLEncoder(flags).serialize(m, xml), 0);
    EXPECT_EQ(xml.find("ss "), std::string::npos) << xml;
    const auto copy = read(xml);
    ASSERT_NE(copy, nullptr);
    for (const int number : {3, 4, 5, 9, 10}) {
      EXPECT_EQ(password(*copy, name(number)), (std::pair<int, std::string>(1, secret))) << number;
    }
    EXPECT_EQ(password(*copy, name(1)), (std::pair<int, std::string>(1, "plain")));
    EXPECT_EQ(password(*copy, name(6)), (std::pair<int, std::string>(6, "plain")));
    std::string again;
    ASSERT_EQ(XMLEncoder(flags).serialize(*copy, again), 0);
    EXPECT_EQ(password(*read(again), name(6)), (std::pair<int, std::string>(6, "plain")));
    // Passed through by one that has no key: the same bytes.
    KwXMLContextInfo through;
    through.setPasswordEncType(Annotation::PASS_THROUGH);
    const auto carried = read(xml, &through);
    unsetenv("KWXML_SETTINGS");
    flags.targetPasswordType = Annotation::PASS_THROUGH;
    ASSERT_EQ(XMLEncoder(flags).serialize(*carried, again), 0);
    EXPECT_EQ(again, xml);
    setenv("KWXML_SETTINGS", (directory_ / "settings").c_str(), 1);
  }
  // Kept protected in memory, still a password of that generation, and written without being laid open.
  KwXMLContextInfo kept;
  kept.setPasswordEncType(Annotation::KWPASSWORD_ENCRYPTION_VER3);
  std::string xml;
  ASSERT_EQ(XMLEncoder().serialize(m, xml), 0);
  const auto copy = read(xml, &kept);
  for (const int number : {3, 4, 5, 9, 10}) {
    const auto [own, text] = password(*copy, name(number));
    EXPECT_EQ(own, 5);
    EXPECT_EQ(pstring(text, own).getPlainPassword().text(), secret);
  }
  ASSERT_EQ(XMLEncoder().serialize(*copy, xml), 0);
  EXPECT_EQ(password(*read(xml), name(5)).second, secret);
  EXPECT_EQ(password(*read(xml), name(10)).second, secret);
}

TEST_F(StandInPasswords, ValuesInMemoryAreOfTheirTypeOrRefused)
{
  const auto text = [](int generation, const char* plain) {
    char out[KWPassword::maxTextLength + 1];
    unsigned int length = sizeof out;
    EXPECT_NE(KWPassword().encrypt(generation, plain, out, &length), 0);
    return std::string(out, length);
  };
  const struct
  {
    int fieldType;
    pstring value;
    const char* expected;  // read again; null: refused
  } rows[] = {
      {3, pstring(text(1, "secret"), 3), "secret"},
      {3, pstring(text(2, "secret"), 4), "secret"},  // decrypted, and encrypted as the field wants it
      {9, pstring(text(3, "secret"), 5), "secret"},
      {10, pstring(text(5, "secret"), 10), "secret"},
      {9, pstring("c2VjcmV0", 9), "secret"},
      {3, pstring("c2VjcmV0", 9), "secret"},
      {3, pstring(text(2, "secret"), 3), nullptr},  // not of the generation that its type says
      {3, pstring(text(8, "secret"), 11), nullptr},
      {3, pstring("secret", 3), nullptr},
      {3, pstring("secret", 5), nullptr},
      {3, pstring("secret", 6), nullptr},
      {9, pstring("secret*", 9), nullptr},
      {6, pstring(text(1, "secret"), 3), nullptr},
      {3, pstring(std::string("a\0b", 3)), nullptr},
      {3, pstring(std::string(KWPassword::maxPlainLength + 1, 'x')), nullptr},
      {3, pstring(""), ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.value.text() + " of type " + std::to_string(row.value.getEncryptionType()));
    YMMessageBase m = make("Types_Annotated");
    m.wipeBitset();
    setPassword(m, name(row.fieldType), row.value);
    setInt(m, "marked", 1);
    LogCapture log;
    std::string xml;
    ASSERT_EQ(XMLEncoder().serialize(m, xml), 0);
    EXPECT_NE(xml.find("marked=\"1\""), std::string::npos);
    EXPECT_EQ(
        log.has("XMLSerializer::serializeXMLRecur",
                "Password Handler Not Found while serializing bstring field [" + name(row.fieldType) + "]"),
        row.expected == nullptr);
    const auto copy = read(xml);
    EXPECT_EQ(password(*copy, name(row.fieldType)), row.expected != nullptr
                                                        ? std::make_pair(1, std::string(row.expected))
                                                        : std::make_pair(-1, std::string()));
  }
}

TEST_F(StandInPasswords, DamageAndForeignKeysLeaveTheFieldUnset)
{
  YMMessageBase m = make("Types_Annotated");
  m.wipeBitset();
  setPassword(m, name(5), pstring("secret"));
  pstring value("secret");
  std::string text;
  ASSERT_EQ(XMLDecoder().encryptPassword(5, value, text), 0);
  ASSERT_EQ(password(*read(document(name(5), text)), name(5)).second, "secret");
  LogCapture log;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string damaged = text;
    damaged[i] = damaged[i] == 'A' ? 'B' : 'A';
    const auto read1 = read(document(name(5), damaged));
    EXPECT_EQ(password(*read1, name(5)).first, -1) << i;
    EXPECT_EQ(getInt(*read1, "marked"), 1);
    EXPECT_EQ(password(*read(document(name(5), text.substr(0, i))), name(5)).second, "") << i;
  }
  EXPECT_EQ(password(*read(document(name(3), text)), name(3)).first, -1) << "a text of another generation";
  newKey();
  EXPECT_EQ(password(*read(document(name(5), text)), name(5)).first, -1) << "a text of another key";
  EXPECT_EQ(shown(log.lines()).find("secret"), std::string::npos);
}
