// Passwords in messages: which algorithm serves which type, in both directions, and that no secret shows.
#include "platform/TempDirectory.h"
#include "support/DataFile.h"
#include "support/LogCapture.h"
#include "support/Messages.h"

#include <kwxml/annotation/AnnotationRecord.h>
#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/codec/StandInPasswords.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>
#include <kwxml/platform/KWPassword.h>
#include <kwxml/platform/PasswordKeyFile.h>
#include <kwxml/xml/Base64.h>
#include <kwxml/xml/XMLSerializer.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>

using namespace kwxml::test;
using Annotation::PasswordEncryptType;

static_assert(offsetof(EncodingFlags, keepPasswordForm) == 17);

namespace {

constexpr int missing = kwxml::passwordHandlerMissing;
constexpr const char* decryptFunction = "XMLDecoder::decryptPassword";

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

bstring fail(bstring, KwXMLContextInfo*)
{
  return bstring();
}

bstring throwUp(bstring, KwXMLContextInfo*)
{
  throw std::runtime_error("no");
}

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

/// No algorithm is left from one test to the next.
class Passwords : public testing::Test
{
protected:
  Passwords() { clear(); }
  ~Passwords() override { clear(); }
  static void clear()
  {
    for (int i = 0; i <= kwxml::maxPasswordAlgorithmType; ++i) {
      registerBoth(i, nullptr, nullptr);
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
    newKey();
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

/// A text as files of cases have it: base64 of what the transformation made as "64:<3>terces".
std::string shown(const std::string& text)
{
  const std::string bytes = base64_decode(text);
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

std::unique_ptr<YMMessageBase> read(const std::string& xml, KwXMLContextInfo* context = nullptr)
{
  return std::unique_ptr<YMMessageBase>(XMLDecoder().unSerialize(xml, context));
}

/// A document with one password and a neighbour that must survive.
std::string document(const std::string& fieldName, const std::string& text)
{
  return "<Types_Annotated " + fieldName + "='" + text + "' marked='1'/>";
}

/// The value of a field from its received text; "nothing" without one.
std::string received(const FieldDef& def, const std::string& text, KwXMLContextInfo* context = nullptr)
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
  explicit Case(const std::string& line) : Settings(line), text(Settings::text("text"))
  {
    registerTransformation();
    registerBoth(number("without", -1), nullptr, nullptr);
    registerBoth(number("fails", -1), fail, fail);
    registerBoth(number("throws", -1), throwUp, throwUp);
    seen = Seen();
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

  std::string text;
  EncodingFlags flags;
  KwXMLContextInfo context;
  int session = 0;
};

void expectPasswords(const std::string& file, const std::function<std::string(Case&)>& answer)
{
  expectCases(KWXML_SOURCE_DIR "/tests/codec/" + file, [&](const std::string& line) {
    SCOPED_TRACE(line);
    Case one(line);
    return answer(one);
  });
}

}  // namespace

TEST_F(Passwords, RegistriesHaveElevenSlotsEach)
{
  LogCapture log(10);
  expectCases(KWXML_SOURCE_DIR "/tests/codec/register.cases", [&](const std::string& line) {
    const PasswordEncryptType number = type(std::stoi(line));
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordEncAlgo(number), nullptr);
    log.clear();
    const bool done = number == 3 ? XMLEncoder::registerPasswordEncAlgo(number, encrypt<2>)
                                  : XMLDecoder::registerPasswordEncAlgo(number, encrypt<2>);
    EXPECT_EQ(XMLDecoder::registerPasswordDecAlgo(number, decrypt<2>), done);
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordEncAlgo(number), done ? encrypt<2> : nullptr);
    EXPECT_EQ(XMLDecoder::GetRegisteredPasswordDecAlgo(number), done ? decrypt<2> : nullptr);
    return (done ? "" : "refused\n") + toText(log);
  });
}

TEST_F(Passwords, AreEncryptedForTheTarget)
{
  expectPasswords("write.cases", [](Case& one) {
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
      EXPECT_TRUE(seen.calls == 0 || out.empty() || given == nullptr || seen.context == given);
      EXPECT_EQ(one.context.getParam("passwordType"), &other);
      const std::string now = (out.empty() ? "refused" : shown(out)) +
                              (seen.textType != -1 ? " told " + std::to_string(seen.textType) : "") + "\n";
      EXPECT_TRUE(answer.empty() || answer == now) << now;
      answer = now;
    }
    return answer;
  });
}

TEST_F(Passwords, TheTypeOfTheValueReachesItsDecryption)
{
  Case one("without=3 context=9 session");
  pstring value(sealed(2, "secret"), 2);
  std::string out;
  EXPECT_EQ(XMLDecoder(&one.context).encryptPassword(3, value, out), missing) << "decrypted, yet not written";
  EXPECT_EQ(out, "");
  EXPECT_EQ(seen.calls, 1);
  EXPECT_NE(seen.context, &one.context);
  EXPECT_EQ(seen.contextType, 2);
  EXPECT_EQ(one.context.getPasswordEncType(), 9);
}

TEST_F(Passwords, AreReadByTheTypesOfFieldAndContext)
{
  expectPasswords("read.cases", [](Case& one) {
    const std::string fieldName = name(one.number("field"));
    LogCapture log(10);
    std::string answer;
    const auto add = [&](const std::string& xml, const char* function) {
      log.clear();
      const auto m = read(xml, one.given());
      const std::string value = password(*m, fieldName);
      EXPECT_EQ(getInt(*m, "marked"), 1);
      EXPECT_EQ(
          log.has(function, "Password Handler Not Found while serializing bstring field [" + fieldName + "]"),
          value == "unset" && !one.text.empty());
      std::string now = value + "\n";
      for (const LogLine& line : log.lines()) {
        now += line.function == decryptFunction ? std::to_string(line.level) + " " + line.text + "\n" : "";
      }
      answer += answer == now ? "" : now;
    };
    add(document(fieldName, one.text), "MySAZ2Handler::processAttributes");
    const std::string alone = received(field(make("Types_Annotated"), fieldName), one.text, one.given());
    EXPECT_EQ(alone, answer.starts_with("unset") ? "nothing" : answer.substr(0, answer.find('\n')));
    add("<Types_Annotated marked='1'><" + fieldName + ">" + one.text + "</" + fieldName +
            "></Types_Annotated>",
        "MySAX2Handler::endElement");
    return answer;
  });
}

TEST_F(Passwords, FieldsWithoutATypeOrWithAnUnknownOne)
{
  LogCapture log(10);
  const YMMessageBase m = make("Types_Annotated");
  FieldDef def = field(m, "plainPassword");
  const LogLine plain{10, decryptFunction,
                      "Encryption Type Not Found for Pstring Field plainPassword. Marking it As Plain "};
  const std::pair<std::vector<unsigned char>, LogLine> rows[] = {
      {{}, plain},
      {{0, 2}, plain},
      {{0, 0}, plain},
      {{0, 5, 0x00, 0, 0}, plain},
      {{0, 5, 0x0F, 0, 0}, plain},
      {{0, 5, 0xC0, 0, 0}, {0, decryptFunction, "Password Decryption Handler Not Found for Type 12"}},
      {{0, 5, 0xF0, 0, 0}, {0, decryptFunction, "Password Decryption Handler Not Found for Type 15"}},
  };
  for (const auto& [record, line] : rows) {
    def.annotations = record.empty() ? nullptr : record.data();
    log.clear();
    EXPECT_EQ(received(def, "c2VjcmV0"), line == plain ? "1:c2VjcmV0" : "nothing");
    EXPECT_EQ(log.lines(), std::vector<LogLine>{line});
  }
  pstring* out = nullptr;
  EXPECT_FALSE(XMLDecoder().decryptPassword(def, nullptr, out));
  const unsigned short lone[] = {0xD800, 0};
  EXPECT_FALSE(XMLDecoder().decryptPassword(def, lone, out));
}

TEST_F(Passwords, OneReceivedPasswordIsProcessedInPlace)
{
  expectPasswords("process.cases", [](Case& one) {
    std::string answer;
    for (const bool reEncrypt : {false, true}) {
      LogCapture log;
      bstring value(one.text);
      const int result = XMLDecoder(one.flags, one.given()).ProcessPasswordAnnotation(value, reEncrypt);
      EXPECT_EQ(result == 0 ? seen.reEncrypt : reEncrypt, reEncrypt ? 1 : 0);
      EXPECT_EQ(one.context.getParam("reEncrypt"), nullptr);
      EXPECT_TRUE(result == 0 || value.text() == one.text);
      const std::string now = (result == 0 ? value.text() : std::to_string(result)) + "\n" + toText(log);
      EXPECT_TRUE(answer.empty() || answer == now) << now;
      answer = now;
    }
    return answer;
  });
}

TEST_F(Passwords, OneTextIsDecryptedByItsType)
{
  registerTransformation();
  LogCapture log;
  KwXMLContextInfo context;
  bstring out("before");
  for (KwXMLContextInfo* given : {&context, static_cast<KwXMLContextInfo*>(nullptr)}) {
    EXPECT_EQ(DecryptPasswordString(bstring(sealed(3, "secret")), out, type(3), given), 0);
    EXPECT_EQ(out.text(), "secret");
    EXPECT_EQ(seen.context, given);
  }
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
std::string everything(YMMessageBase& m, const EncodingFlags& flags)
{
  const LogCapture log(25);
  KwXMLContextInfo context;
  context.setPasswordEncType(type(flags.targetPasswordType));
  std::string xml;
  EXPECT_EQ(XMLEncoder(flags, &context).serialize(m, xml), 0);
  (void)read(xml, &context);
  (void)read(xml.substr(0, xml.size() - 2), &context);
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
    clear();
    if (registered == 1) {
      registerTransformation();
    } else if (registered == 2) {
      kwxml::registerPasswordAlgorithms();
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
  YMMessageBase m = make("Types_Annotated");
  m.wipeBitset();
  const std::string secret = "p\xC3\xA4ss <&> word ";
  for (const int number : {1, 3, 4, 5, 6, 9, 10}) {
    setPassword(m, name(number), pstring(number == 1 || number == 6 ? "plain" : secret));
  }
  const auto write = [](YMMessageBase& message, const EncodingFlags& flags = {}) {
    std::string xml;
    EXPECT_EQ(XMLEncoder(flags).serialize(message, xml), 0);
    return xml;
  };
  for (const unsigned char elements : {0, 1}) {
    EncodingFlags flags;
    flags.valuesAsElements = elements;
    const std::string xml = write(m, flags);
    EXPECT_EQ(xml.find("ss "), std::string::npos) << xml;
    const auto copy = read(xml);
    ASSERT_NE(copy, nullptr);
    for (const int number : {3, 4, 5, 9, 10}) {
      EXPECT_EQ(password(*copy, name(number)), "1:" + secret) << number;
    }
    EXPECT_EQ(password(*copy, name(1)), "1:plain");
    EXPECT_EQ(password(*copy, name(6)), "6:plain");
    EXPECT_EQ(password(*read(write(*copy, flags)), name(6)), "6:plain");
    // Passed through by one that has no key: the same bytes.
    KwXMLContextInfo through;
    through.setPasswordEncType(Annotation::PASS_THROUGH);
    const auto carried = read(xml, &through);
    unsetenv("KWXML_SETTINGS");
    flags.targetPasswordType = Annotation::PASS_THROUGH;
    EXPECT_EQ(write(*carried, flags), xml);
    setenv("KWXML_SETTINGS", (directory_ / "settings").c_str(), 1);
  }
  // Kept protected in memory, still a password of that generation, and written without being laid open.
  KwXMLContextInfo kept;
  kept.setPasswordEncType(Annotation::KWPASSWORD_ENCRYPTION_VER3);
  const auto copy = read(write(m), &kept);
  for (const int number : {3, 4, 5, 9, 10}) {
    const std::string value = password(*copy, name(number));
    EXPECT_TRUE(value.starts_with("5:")) << value;
    EXPECT_EQ(pstring(value.substr(2), 5).getPlainPassword().text(), secret);
  }
  const auto again = read(write(*copy));
  EXPECT_EQ(password(*again, name(5)) + password(*again, name(10)), "1:" + secret + "1:" + secret);
}

TEST_F(StandInPasswords, ValuesInMemoryAreOfTheirTypeOrRefused)
{
  expectCases(KWXML_SOURCE_DIR "/tests/codec/memory.cases", [](const std::string& line) {
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
    YMMessageBase m = make("Types_Annotated");
    m.wipeBitset();
    setPassword(m, fieldName, pstring(text, settings.number("own", 1)));
    setInt(m, "marked", 1);
    LogCapture log;
    std::string xml;
    EXPECT_EQ(XMLEncoder().serialize(m, xml), 0);
    EXPECT_NE(xml.find("marked=\"1\""), std::string::npos);
    const std::string written = toText(log);
    return password(*read(xml), fieldName) + "\n" + written;
  });
}

TEST_F(StandInPasswords, DamageAndForeignKeysLeaveTheFieldUnset)
{
  const auto of = [](int number, const std::string& text) {
    const auto m = read(document(name(number), text));
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
  newKey();
  EXPECT_EQ(of(5, text), "unset") << "a text of another key";
  EXPECT_EQ(toText(log).find("secret"), std::string::npos);
}
