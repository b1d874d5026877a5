// Settings of the platform: an INI file that the environment variable KWXML_SETTINGS names.
//
//     [EventManager]              for every process
//     XMLMessage_DEBUGLEVEL = 15
//     [EventManager@backup]       for processes with the focus "backup"
//     XMLMessage_DEBUGLEVEL = 25
//
// A key in the section of a focus wins over the same key in the section without one.
//
// Section and key names are case-sensitive. Comments start with ';' or '#', within a line with " ;". A line
// may have 197 bytes, a section name 48 (the parser would cut longer ones), and a key stands once in its
// section. Without the variable, or with an empty one, there are no settings. A file that cannot be read, is
// malformed or is larger than 1 MB is reported on standard error, once per process and problem, and then
// counts as no settings. Set-user-ID programs have no settings.
#pragma once

#include <kwxml/platform/Export.h>

#include <map>
#include <set>
#include <string>

/// The settings as they were when the object was made. An object belongs to one thread at a time.
class KWXML_API KWPlatformInfo
{
public:
  /// Reads the settings file, for no focus. A failure leaves the object without settings.
  KWPlatformInfo();

  /// Sets the focus whose sections win from now on; null or empty for none. The text is copied.
  void setFocus(const char* focus);
  void setFocus(const std::string& focus) { setFocus(focus.c_str()); }

  /// Non-zero when the setting exists and is a number (decimal, or hexadecimal with 0x), which then is in
  /// `number`. Otherwise 0, and `number` is unchanged; a setting that exists and is no 64-bit number is
  /// reported on standard error, once per process. A null section or key names no setting.
  [[nodiscard]] int getNumber(const char* section, const char* key, long long& number) const;

  /// Non-zero when the setting exists, also with an empty value; the value then is in `text`. Otherwise 0,
  /// and `text` is unchanged. A null section or key names no setting.
  [[nodiscard]] int getString(const char* section, const char* key, std::string& text) const;

  /// The keys of a section, those of the focus included, in the order of their bytes: for readers that take
  /// no others. A null section has none.
  std::set<std::string> keys(const char* section) const;

  /// Whether the settings file was read; true also where none is named. For callers whose defaults would not
  /// do in its place.
  bool isReadable() const { return readable_; }

  /// Whether nobody but the process's user and root may have written the settings file. Asked before a
  /// setting that protects secrets is used, such as the name of the key file. True without settings.
  bool isTrusted() const { return trusted_; }

private:
  const std::string* find(const char* section, const char* key) const;

  std::map<std::string, std::map<std::string, std::string>> sections_;
  std::string focus_;
  bool trusted_ = true;
  bool readable_ = true;
};
