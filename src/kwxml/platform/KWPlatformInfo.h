// Settings of the platform: an INI file named by the environment variable KWXML_SETTINGS, read when the
// object is made.
//
//     [EventManager]              for every process
//     XMLMessage_DEBUGLEVEL = 15
//     [EventManager@backup]       for processes with the focus "backup"; wins over the section above, key by
//     key XMLMessage_DEBUGLEVEL = 25
//
// Section and key names are case-sensitive. Comments start with ';' or '#', within a line with " ;". A line
// may have 197 bytes, a section name 48 (beyond that the parser would cut), and a key stands once in its
// section. Without the variable, or with an empty one, there are no settings. A file that cannot be read or
// is malformed is reported on standard error, once per process and file, and then counts as no settings.
// Set-user-ID programs have no settings. An object belongs to one thread at a time.
#pragma once

#include <map>
#include <string>

class KWPlatformInfo
{
public:
  KWPlatformInfo();

  /// The focus whose sections win from now on; null or empty for none.
  void setFocus(const char* focus);
  void setFocus(const std::string& focus) { setFocus(focus.c_str()); }

  /// Non-zero when the setting exists and is a number (decimal, or hexadecimal with 0x), which is then
  /// stored. Otherwise 0, and `number` is unchanged; a setting that exists and is no 64-bit number is
  /// reported on standard error.
  int getNumber(const char* section, const char* key, long long& number) const;

  /// Non-zero when the setting exists (an empty value included), which is then stored; otherwise 0.
  int getString(const char* section, const char* key, std::string& text) const;

  /// Whether nobody but the process's user and root may have written the settings: what decides whose key is
  /// used is taken from no others. True without settings.
  bool isTrusted() const { return trusted_; }

private:
  const std::string* find(const char* section, const char* key) const;

  std::map<std::string, std::map<std::string, std::string>> sections_;
  std::string focus_;
  bool trusted_ = true;
};
