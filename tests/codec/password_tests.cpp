// Passwords in messages: which algorithm serves which type, in both directions, and that no secret shows.
#include "support/DataFile.h"
#include "support/Documents.h"
#include "support/Hex.h"
#include "support/Messages.h"
#include "support/PasswordKey.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/platform/KWPassword.h>
#include <kwxml/text/Base64.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <memory>
#include <stdexcept>

using namespace kwxml::test;
using Annotation::PasswordEncryptType;

static_assert(offsetof(EncodingFlags, keepPasswordForm) == 17);

namespace {

constexpr int missing = kwxml::passwordHandlerMissing;

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
std::string sealed(int number, const std::string& plain)
{
  return "<" + std::to_string(number) + ">" + std::string(plain.rbegin(), plain.rend());
}

template <int Type>
bstring encrypt(bstring text, KwXMLContextInfo* context)
{
  look(context);
  return bstring(base64_encode(sealed(Type, text)));
}

template <int Type>
bstring decrypt(bstring text, KwXMLContextInfo* context)
{
  look(context);
  const std::string mark = sealed(Type, "");
  return text.text().starts_with(mark)
             ? bstring(std::string(text.text().rbegin(), text.text().rend() - std::ssize(mark)))
             : bstring();
}

constexpr PasswordAlgorithm fail = [](bstring, KwXMLContextInfo*) { return bstring(); };
constexpr PasswordAlgorithm throwUp = [](bstring, KwXMLContextInfo*) -> bstring {
  throw std::runtime_error("no");
};

void registerBoth(int number, PasswordAlgorithm encryption, PasswordAlgorithm decryption)
{
  XMLDecoder::registerPasswordEncAlgo(type(number), encryption);
  XMLDecoder::registerPasswordDecAlgo(type(number), decryption);
}

/// Serves the types that protect.
void registerTransformation()
{
  [&]<int... Types>(std::integer_sequence<int, Types...>)
  {
    (registerBoth(Types, encrypt<Types>, decrypt<Types>), ...);
  }
  (std::integer_sequence<int, 2, 3, 4, 5, 7, 8, 9, 10>());
}

class Passwords : public testing::Test
{
protected:
  ~Passwords() override { clearPasswordAlgorithms(); }
};

class StandInPasswords : public testing::Test
{
protected:
  PasswordKey key_;
};

std::string name(int number)
{
  return "password" + std::to_string(number);
}

/// A text as files of cases have it: base64 of what the transformation made as "64:<3>terces".
std::string shown(const std::string& text)
{
  const std::string bytes = text.starts_with("PD") ? base64_decode(text) : "";  // "<" and a digit
  return bytes.starts_with('<') && base64_encode(bytes) == text ? "64:" + bytes : text;
}

std::string shown(const pstring& value)
{
  return std::to_string(value.getEncryptionType()) + ":" + shown(value.text());
}

/// The value of a password field with its type.
std::string password(const YMMessageBase& m, const std::string& fieldName)
{
  return isSet(m, fieldName)
             ? shown(*static_cast<const pstring*>(field(m, fieldName).getFieldAddrResolved(m)))
             : "unset";
}

/// A document with one password and a neighbour that must survive.
std::string document(const std::string& fieldName, const std::string& text)
{
  return "<Types_Annotated " + fieldName + "='" + text + "' marked='1'/>";
}

/// The value of a field from its received text; "nothing" without one.
std::string received(const FieldDef& def, const std::string& text, KwXMLContextInfo* context)
{
  const std::u16string wide(text.begin(), text.end());
  auto* out = reinterpret_cast<pstring*>(1);
  const bool done =
      XMLDecoder(context).decryptPassword(def, reinterpret_cast<const unsigned short*>(wide.c_str()), out);
  const std::unique_ptr<pstring> owner(out);
  EXPECT_EQ(done, out != nullptr);
  return done ? shown(*out) : "nothing";
}

/// One line of a file of cases: the transformation for all types but those that are named, and a call.
struct Case : Settings
{
  explicit Case(const std::string& line)
      : Settings(line), fieldName(name(number("field"))), text(Settings::text("text"))
  {
    registerTransformation();
    registerBoth(number("without", -1), nullptr, nullptr);
    registerBoth(number("fails", -1), fail, fail);
    registerBoth(number("throws", -1), throwUp, throwUp);
    flags.targetPasswordType = number("target");
    flags.keepPasswordForm = has("keep") ? 1 : 0;
    flags.passwordEncoderArg = 77;
    context.setPasswordEncType(type(number("context")));
    if (has("session")) {
      context.addParam("MessageInfo", &session);
    }
    if (text.starts_with("64:")) {
      text = base64_encode(text.substr(3));
    }
  }
  KwXMLContextInfo* given() { return has("context") ? &context : nullptr; }

  std::string fieldName;
  std::string text;
  EncodingFlags flags;
  KwXMLContextInfo context;
  int session = 0;
};

/// With a context and without.
std::string write(Case& one)
{
  std::string answer;
  int other = 0;
  one.context.addParam("passwordType", &other);  // a parameter of the caller's comes back
  for (KwXMLContextInfo* given : {static_cast<KwXMLContextInfo*>(nullptr), &one.context}) {
    seen = Seen();
    pstring value(one.text, one.number("own", 1));
    std::string out = "before";
    const int result = XMLDecoder(one.flags, given).encryptPassword(one.number("field"), value, out);
    EXPECT_EQ(value.text(), one.text);
    EXPECT_EQ(result, out.empty() ? missing : 0);
    EXPECT_TRUE(seen.calls == 0 || out.empty() || seen.encoderArg == 77);
    EXPECT_TRUE(given == nullptr || seen.calls == 0 || (seen.context == given) == !out.empty());
    EXPECT_EQ(one.context.getParam("passwordType"), &other);
    EXPECT_EQ(one.context.getPasswordEncType(), one.number("context"));
    const std::string now = (out.empty() ? "refused" : shown(out)) + " (calls " + std::to_string(seen.calls) +
                            ", type " + std::to_string(seen.textType) + ", context " +
                            std::to_string(seen.contextType) + ")\n";
    answer += answer == now ? "" : now;
  }
  return answer;
}

/// In an attribute, and where that gives another value in an element and alone.
std::string readByField(Case& one)
{
  LogCapture log(10);
  const auto attribute = readXml(document(one.fieldName, one.text), one.given());
  EXPECT_EQ(getInt(*attribute, "marked"), 1);
  const std::string logged = log.taken();
  const std::string value = password(*attribute, one.fieldName);
  const auto m = readXml("<Types_Annotated marked='1'><" + one.fieldName + ">" + one.text + "</" +
                             one.fieldName + "></Types_Annotated>",
                         one.given());
  const std::string element = password(*m, one.fieldName);
  EXPECT_EQ(getInt(*m, "marked"), 1);
  EXPECT_EQ(log.has("MySAX2Handler::endElement",
                    "Password Handler Not Found while serializing bstring field [" + one.fieldName + "]"),
            element == "unset" && !one.text.empty());
  const std::string alone = received(field(make("Types_Annotated"), one.fieldName), one.text, one.given());
  EXPECT_EQ(alone, value == "unset" ? "nothing" : value);
  return value + "\n" + logged + (element != value ? element + "\n" : "");
}

/// The field has another annotation record.
std::string readByRecord(Case& one)
{
  const std::string record = fromHex(one.Settings::text("record"));
  FieldDef def = field(make("Types_Annotated"), "plainPassword");
  def.annotations = record.empty() ? nullptr : reinterpret_cast<const unsigned char*>(record.data());
  const LogCapture log(10);
  const std::string value = received(def, one.text, nullptr);
  return value + "\n" + toText(log);
}

std::string process(Case& one)
{
  std::string answer;
  for (const bool reEncrypt : {false, true}) {
    LogCapture log;
    bstring value(one.text);
    const int result = XMLDecoder(one.flags, one.given()).ProcessPasswordAnnotation(value, reEncrypt);
    EXPECT_EQ(result == 0 ? seen.reEncrypt : reEncrypt, reEncrypt ? 1 : 0);
    EXPECT_EQ(one.context.getParam("reEncrypt"), nullptr);
    EXPECT_TRUE(result == 0 || value.text() == one.text);
    const std::string now = (result == 0 ? value.text() : std::to_string(result)) + "\n" + log.taken();
    answer += answer == now ? "" : now;
  }
  return answer;
}

std::string decryptText(Case& one)
{
  bstring out("before");
  const PasswordEncryptType own = type(one.number("own"));
  const int result = DecryptPasswordString(bstring(one.text), out, own, one.given());
  EXPECT_EQ(seen.context, one.given());
  return std::to_string(result) + " " + out.text();
}

}  // namespace

TEST_F(Passwords, RegistriesHaveElevenSlotsEach)
{
  const auto registered = [](const std::string& line) -> std::string {
    const PasswordEncryptType number = type(std::stoi(line));
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordEncAlgo(number), nullptr);
    const bool done = number == 3 ? XMLEncoder::registerPasswordEncAlgo(number, encrypt<2>)
                                  : XMLDecoder::registerPasswordEncAlgo(number, encrypt<2>);
    EXPECT_EQ(XMLDecoder::registerPasswordDecAlgo(number, decrypt<2>), done);
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordEncAlgo(number), done ? encrypt<2> : nullptr);
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordDecAlgo(number), done ? decrypt<2> : nullptr);
    return done ? "" : "refused";
  };
  expectCases("codec/register.cases", "", registered, 10);
}

TEST_F(Passwords, AreServedByTheTypesOfFieldValueFlagsAndContext)
{
  const std::map<std::string, std::string (*)(Case&)> calls = {{"write", write},
                                                               {"read", readByField},
                                                               {"record", readByRecord},
                                                               {"process", process},
                                                               {"decrypt", decryptText}};
  for (const auto& [file, call] : calls) {
    expectCases("codec/" + file + ".cases", "", [call = call](const std::string& line) {
      SCOPED_TRACE(line);
      seen = Seen();
      Case one(line);
      return call(one);
    });
  }
  FieldDef def = field(make("Types_Annotated"), "plainPassword");
  pstring* out = nullptr;
  EXPECT_FALSE(XMLDecoder().decryptPassword(def, nullptr, out));
  const unsigned short lone[] = {0xD800, 0};
  EXPECT_FALSE(XMLDecoder().decryptPassword(def, lone, out));
}

// ---- Canary

namespace {

constexpr const char* canary = "cAn4ry&bird";

/// Everything that comes out of writing the message in one form, reading it and reading a damaged copy.
std::string everything(YMMessageBase& m, const EncodingFlags& flags)
{
  const LogCapture log(25);
  KwXMLContextInfo context;
  context.setPasswordEncType(type(flags.targetPasswordType));
  std::string xml;
  EXPECT_EQ(XMLEncoder(flags, &context).serialize(m, xml), 0);
  (void)readXml(xml, &context);
  (void)readXml(xml.substr(0, xml.size() - 2), &context);
  return xml + "\n" + context.getErrorDetails() + toText(log);
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

}  // namespace

TEST_F(StandInPasswords, NoSecretShowsUnlessItsTypeSaysPlain)
{
  for (const int registered : {0, 1, 2}) {  // nothing, the transformation, the platform's
    clearPasswordAlgorithms();
    if (registered == 1) {
      registerTransformation();
    } else if (registered == 2) {
      EXPECT_TRUE(kwxml::registerPasswordAlgorithms());
    }
    const auto protects = [](int number) {
      return number != Annotation::PASS_THROUGH &&
             XMLDecoder::GetRegisteredPasswordEncAlgo(type(number)) != nullptr;
    };
    YMMessageBase m = make("Types_Annotated");
    for (const FieldDef& def : *m.getClass()) {
      if (def.type != FIELD_PSTRING) {
        continue;
      }
      const int fieldType = kwxml::AnnotationRecord(def.annotations).passwordType();
      for (int own = 0; own <= 11; ++own) {
        m.wipeBitset();
        setPassword(m, def.getName(), pstring(canary, own));
        for (const EncodingFlags& flags : everyForm()) {
          const int target = flags.targetPasswordType != 0 ? flags.targetPasswordType : fieldType;
          const std::string all = everything(m, flags);
          // A plain value shows where nothing protects it; what is to be carried unchanged shows as it is.
          const bool plain = own == Annotation::PLAIN_TEXT && !protects(fieldType) && !protects(target);
          const bool carried = own == Annotation::PASS_THROUGH && target == own && registered == 2;
          const bool shows = flags.maskPasswords == 0 && fieldType != 0 && (plain || carried);
          const bool base64 = target == Annotation::BASE64 || fieldType == Annotation::BASE64;
          const std::string text = base64_encode(canary).substr(0, 12);
          EXPECT_TRUE((all.find(canary, 0, 6) != std::string::npos) == shows &&
                      (base64 || all.find(text) == std::string::npos))
              << def.getName() << " with a value of type " << own << ", target " << target << ", algorithms "
              << registered << "\n"
              << all;
        }
      }
    }
  }
}

// ---- The platform's algorithms

TEST_F(StandInPasswords, PasswordsComeBackFromEveryTypeThatIsServed)
{
  YMMessageBase m = bare("Types_Annotated");
  const std::string secret = "p\xC3\xA4ss <&> word ";
  for (const int number : {1, 3, 4, 5, 6, 9, 10}) {
    setPassword(m, name(number), pstring(number == 1 || number == 6 ? "plain" : secret));
  }
  for (const unsigned char elements : {0, 1}) {
    EncodingFlags flags;
    flags.valuesAsElements = elements;
    const std::string xml = toXml(m, flags);
    EXPECT_EQ(xml.find("ss "), std::string::npos) << xml;
    const auto copy = readXml(xml);
    ASSERT_NE(copy, nullptr);
    for (const int number : {3, 4, 5, 9, 10}) {
      EXPECT_EQ(password(*copy, name(number)), "1:" + secret) << number;
    }
    EXPECT_EQ(password(*copy, name(1)), "1:plain");
    EXPECT_EQ(password(*copy, name(6)), "6:plain");
    EXPECT_EQ(password(*readXml(toXml(*copy, flags)), name(6)), "6:plain");
    // Passed through by one that has no key: the same bytes.
    KwXMLContextInfo through;
    through.setPasswordEncType(Annotation::PASS_THROUGH);
    const auto carried = readXml(xml, &through);
    unsetenv("KWXML_SETTINGS");
    flags.targetPasswordType = Annotation::PASS_THROUGH;
    EXPECT_EQ(toXml(*carried, flags), xml);
    key_.use();
  }
  // Kept protected in memory, still a password of that generation, and written without being laid open.
  KwXMLContextInfo kept;
  kept.setPasswordEncType(Annotation::KWPASSWORD_ENCRYPTION_VER3);
  const auto copy = readXml(toXml(m), &kept);
  for (const int number : {3, 4, 5, 9, 10}) {
    const std::string value = password(*copy, name(number));
    EXPECT_TRUE(value.starts_with("5:")) << value;
    EXPECT_EQ(pstring(value.substr(2), 5).getPlainPassword().text(), secret);
  }
  const auto again = readXml(toXml(*copy));
  EXPECT_EQ(password(*again, name(5)) + password(*again, name(10)), "1:" + secret + "1:" + secret);
}

TEST_F(StandInPasswords, ValuesInMemoryAreOfTheirTypeOrRefused)
{
  expectCases("codec/memory.cases", "", [](const std::string& line) {
    const Settings settings(line);
    std::string text = settings.text("text");
    if (const int generation = settings.number("generation"); generation != 0) {
      char out[KWPassword::maxTextLength + 1];
      unsigned int length = sizeof out;
      EXPECT_NE(KWPassword().encrypt(generation, text.c_str(), out, &length), 0);
      text.assign(out, length);
    }
    text.resize(settings.has("long") ? KWPassword::maxPlainLength + 1 : text.size(), 'x');
    text.insert(text.size() / 2, settings.has("zero") ? 1 : 0, '\0');
    const std::string fieldName = name(settings.number("field"));
    YMMessageBase m = bare("Types_Annotated");
    setPassword(m, fieldName, pstring(text, settings.number("own", 1)));
    setInt(m, "marked", 1);
    const std::string xml = toXml(m);
    EXPECT_NE(xml.find("marked=\"1\""), std::string::npos);
    const LogCapture reading;
    return password(*readXml(xml), fieldName);
  });
}

TEST_F(StandInPasswords, DamageAndForeignKeysLeaveTheFieldUnset)
{
  const auto of = [](int number, const std::string& text) {
    const auto m = readXml(document(name(number), text));
    EXPECT_EQ(getInt(*m, "marked"), 1);
    return password(*m, name(number));
  };
  pstring value("secret");
  std::string text;
  ASSERT_EQ(XMLDecoder().encryptPassword(5, value, text), 0);
  ASSERT_EQ(of(5, text), "1:secret");
  LogCapture log;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::string damaged = text;
    damaged[i] = damaged[i] == 'A' ? 'B' : 'A';
    EXPECT_EQ(of(5, damaged), "unset") << i;
    EXPECT_EQ(of(5, text.substr(0, i)), i == 0 ? "1:" : "unset") << i;
  }
  EXPECT_EQ(of(3, text), "unset") << "a text of another generation";
  key_.renew();
  EXPECT_EQ(of(5, text), "unset") << "a text of another key";
  EXPECT_EQ(toText(log).find("secret"), std::string::npos);
}
