// The string-like values of message fields: bstring (opaque bytes), cdata (text that is written as a CDATA
// section) and pstring (a password with the scheme that protects its text).
//
// They are thin, distinct types around a std::string: the type alone tells the encodings what to do with the
// text. No encoding of the bytes is assumed, and bytes of value zero are text like any other. Values are
// copied deeply and share nothing, so distinct objects may be used by distinct threads at the same time.
#pragma once

#include <kwxml/platform/CxxStandard.h>
#include <kwxml/platform/Export.h>

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

class bstring;
class cdata;

namespace Annotation {

/// The schemes by which the text of a password field is protected; the numbers are those of field
/// annotations.
enum PasswordEncryptType : int
{
  UNKNOWN = 0,                       ///< none is named
  PLAIN_TEXT = 1,                    ///< not protected
  SESSION_ENCRYPTION = 2,            ///< by the key of a session
  KWPASSWORD_ENCRYPTION_VER1 = 3,    ///< by the product's key, first version
  KWPASSWORD_ENCRYPTION_VER2 = 4,    ///< by the product's key, second version
  KWPASSWORD_ENCRYPTION_VER3 = 5,    ///< by the product's key, third version
  PASS_THROUGH = 6,                  ///< passed on as it was received
  SESSION_PLUS_KWPASSWORD_VER2 = 7,  ///< by the session's key over the second version
  SESSION_PLUS_KWPASSWORD_VER3 = 8,  ///< by the session's key over the third version
  BASE64 = 9,                        ///< base64, which protects nothing
  KWPASSWORD_ENCRYPTION_VER5 = 10,   ///< by the product's key, fifth version
  KWPASSWORD_ENCRYPTION_VER8 = 11    ///< by the product's key, the newest version
};

}  // namespace Annotation

namespace kwxml {

/// The names of the schemes, indexed by their numbers, as the XML form and the log spell them.
inline constexpr const char* passwordEncryptTypeNames[] = {"UNKNOWN",
                                                           "PLAIN_TEXT",
                                                           "SESSION_ENCRYPTION",
                                                           "KWPASSWORD_ENCRYPTION_VER1",
                                                           "KWPASSWORD_ENCRYPTION_VER2",
                                                           "KWPASSWORD_ENCRYPTION_VER3",
                                                           "PASS_THROUGH",
                                                           "SESSION_PLUS_KWPASSWORD_VER2",
                                                           "SESSION_PLUS_KWPASSWORD_VER3",
                                                           "BASE64",
                                                           "KWPASSWORD_ENCRYPTION_VER5",
                                                           "KWPASSWORD_ENCRYPTION_VER8"};
/// Number of schemes.
inline constexpr int passwordEncryptTypeCount = Annotation::KWPASSWORD_ENCRYPTION_VER8 + 1;
static_assert(sizeof(passwordEncryptTypeNames) / sizeof(passwordEncryptTypeNames[0]) ==
              passwordEncryptTypeCount);

/// The name of a scheme; "UNKNOWN" for a number outside the table.
constexpr const char* passwordEncryptTypeName(int type) noexcept
{
  return passwordEncryptTypeNames[type >= 0 && type < passwordEncryptTypeCount ? type : 0];
}

}  // namespace kwxml

/// A byte string: the value of byte-string and, through pstring, of password fields.
class KWXML_API bstring
{
public:
  /// No bytes.
  bstring() noexcept = default;
  /// The bytes of `text`: a copy, or the text itself where it is given away.
  bstring(const std::string& text) : text_(text) {}
  bstring(std::string&& text) noexcept : text_(std::move(text)) {}
  /// The bytes up to the first zero byte; null gives an empty text.
  bstring(const char* text) : text_(text != nullptr ? text : "") {}
  /// `length` bytes, zero bytes included. `bytes` may be null when `length` is 0.
  bstring(const char* bytes, std::size_t length)
      : text_(length != 0 ? std::string(bytes, length) : std::string())
  {
  }
  bstring(const bstring&) = default;
  bstring(bstring&&) noexcept = default;
  bstring(const cdata&) = delete;
  /// Frees the bytes.
  virtual ~bstring();

  bstring& operator=(const bstring&) = default;
  bstring& operator=(bstring&&) noexcept = default;
  /// The bytes of `text`, as the constructors take it.
  bstring& operator=(const std::string& text)
  {
    text_ = text;
    return *this;
  }
  bstring& operator=(std::string&& text) noexcept
  {
    text_ = std::move(text);
    return *this;
  }
  bstring& operator=(const char* text) { return *this = std::string(text != nullptr ? text : ""); }
  bstring& operator=(const cdata&) = delete;

  /// The bytes. The reference, or what it converts to, holds as long as the object.
  const std::string& text() const noexcept { return text_; }
  std::string& text() noexcept { return text_; }
  /// The same.
  operator const std::string&() const noexcept { return text_; }
  /// The same, as a view.
  operator std::string_view() const noexcept { return text_; }
  /// The same, with a zero byte behind the last one.
  const char* c_str() const noexcept { return text_.c_str(); }
  /// Number of bytes.
  std::size_t size() const noexcept { return text_.size(); }
  /// Whether there are no bytes.
  bool empty() const noexcept { return text_.empty(); }

private:
  std::string text_;
};

/// Equal when all bytes are; a pstring compares by its text alone.
inline bool operator==(const bstring& a, const bstring& b) noexcept
{
  return a.text() == b.text();
}
/// Writes all bytes of the text, zero bytes included, whatever width or fill the stream is set to.
KWXML_API std::ostream& operator<<(std::ostream& out, const bstring& value);
/// A new text of both, `a` first. A null pointer must not be given.
KWXML_API std::string operator+(const std::string& a, const bstring& b);
KWXML_API std::string operator+(const bstring& a, const std::string& b);
KWXML_API std::string operator+(const bstring& a, const bstring& b);
inline std::string operator+(const char* a, const bstring& b)
{
  return std::string(a) + b;
}
inline std::string operator+(const bstring& a, const char* b)
{
  return a + std::string(b);
}

/// Text that the XML writer puts into a CDATA section. Deliberately unrelated to bstring: neither converts to
/// the other without naming the std::string between them.
class KWXML_API cdata
{
public:
  /// An empty text.
  cdata() noexcept = default;
  /// The text: a copy, or `text` itself where it is given away.
  cdata(const std::string& text) : text_(text) {}
  cdata(std::string&& text) noexcept : text_(std::move(text)) {}
  /// The bytes up to the first zero byte; null gives an empty text.
  cdata(const char* text) : text_(text != nullptr ? text : "") {}
  /// `length` bytes, zero bytes included. `bytes` may be null when `length` is 0.
  cdata(const char* bytes, std::size_t length)
      : text_(length != 0 ? std::string(bytes, length) : std::string())
  {
  }
  cdata(const cdata&) = default;
  cdata(cdata&&) noexcept = default;
  cdata(const bstring&) = delete;
  /// Frees the text.
  virtual ~cdata();

  cdata& operator=(const cdata&) = default;
  cdata& operator=(cdata&&) noexcept = default;
  /// The text, as the constructors take it.
  cdata& operator=(const std::string& text)
  {
    text_ = text;
    return *this;
  }
  cdata& operator=(std::string&& text) noexcept
  {
    text_ = std::move(text);
    return *this;
  }
  cdata& operator=(const char* text) { return *this = std::string(text != nullptr ? text : ""); }
  cdata& operator=(const bstring&) = delete;

  /// The text. The reference, or what it converts to, holds as long as the object.
  const std::string& text() const noexcept { return text_; }
  std::string& text() noexcept { return text_; }
  /// The same.
  operator const std::string&() const noexcept { return text_; }
  /// The same, as a view.
  operator std::string_view() const noexcept { return text_; }
  /// The same, with a zero byte behind it.
  const char* c_str() const noexcept { return text_.c_str(); }
  /// Number of bytes.
  std::size_t size() const noexcept { return text_.size(); }
  /// Whether the text is empty.
  bool empty() const noexcept { return text_.empty(); }

private:
  std::string text_;
};

/// Equal when all bytes are.
inline bool operator==(const cdata& a, const cdata& b) noexcept
{
  return a.text() == b.text();
}
/// Writes all bytes of the text, zero bytes included, whatever width or fill the stream is set to.
KWXML_API std::ostream& operator<<(std::ostream& out, const cdata& value);
/// A new text of both, `a` first. A null pointer must not be given.
KWXML_API std::string operator+(const std::string& a, const cdata& b);
KWXML_API std::string operator+(const cdata& a, const std::string& b);
KWXML_API std::string operator+(const cdata& a, const cdata& b);
inline std::string operator+(const char* a, const cdata& b)
{
  return std::string(a) + b;
}
inline std::string operator+(const cdata& a, const char* b)
{
  return a + std::string(b);
}

/// A password: a text and the scheme that protects it, a number of Annotation::PasswordEncryptType (kept as
/// an int, since texts from elsewhere may carry a scheme that is not known here).
class KWXML_API pstring : public bstring
{
public:
  /// An empty plain text.
  pstring() noexcept = default;
  /// A plain text; of a pointer the bytes up to the first zero byte, none for null.
  pstring(const std::string& text) : bstring(text) {}
  pstring(const char* text) : bstring(text) {}
  /// A type above the newest scheme becomes PLAIN_TEXT; every other one, negative ones included, is kept.
  pstring(const std::string& text, int type)
      : bstring(text),
        encryptionType_(type > Annotation::KWPASSWORD_ENCRYPTION_VER8 ? Annotation::PLAIN_TEXT : type)
  {
  }
  pstring(const pstring&) = default;
  pstring(pstring&&) noexcept = default;
  /// Frees the text.
  ~pstring() override;

  pstring& operator=(const pstring&) = default;
  pstring& operator=(pstring&&) noexcept = default;
  /// Assigning a text that says nothing of a scheme always means a plain password.
  pstring& operator=(const std::string& text)
  {
    bstring::operator=(text);
    encryptionType_ = Annotation::PLAIN_TEXT;
    return *this;
  }
  pstring& operator=(const bstring& bytes) { return *this = bytes.text(); }
  pstring& operator=(const char* text) { return *this = std::string(text != nullptr ? text : ""); }

  /// Names another scheme; the text stays as it is.
  void setEncryptionType(int type) noexcept { encryptionType_ = type; }
  /// The scheme that protects the text.
  int getEncryptionType() const noexcept { return encryptionType_; }

  /// The plain password. Empty when the scheme cannot be undone here or the text is damaged; nothing is
  /// logged.
  bstring getPlainPassword() const;
  /// Deliberately without effect on this object, whatever the argument.
  void setEncryptedPassword(const std::string& text);
  /// This password under the newest scheme: itself when it already is (or is empty), an empty plain password
  /// when its scheme cannot be converted or the conversion fails. Nothing is logged.
  pstring getV8Password() const;

private:
  int encryptionType_ = Annotation::PLAIN_TEXT;
};
