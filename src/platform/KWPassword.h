// The password library: texts protected by one of its schemes, back to plain text or into the newest scheme.
// This header is the contract; libKwPlatform does not define these functions, so a program that calls them
// needs a library that does.
//
// All functions take a zero-terminated input, of which decrypt reads 2048 bytes at most, and an output
// buffer. `*length` is the buffer's usable length in bytes on entry, the terminating zero not counted for
// decrypt and counted for ConvertToV8; on success the buffer holds a zero-terminated result and `*length` its
// length. They return non-zero on success. On 0 the buffer's contents are undefined and hold no part of a
// password. Objects are independent of each other: different threads may each use their own.
#pragma once

class KWPassword
{
public:
  KWPassword();
  ~KWPassword();
  KWPassword(const KWPassword&) = delete;
  KWPassword& operator=(const KWPassword&) = delete;

  int decrypt(const char* input, char* output, unsigned int* length);
  /// The form of the later schemes. `extra` is additional key material, null for none.
  int decrypt(const char* input, char* output, unsigned int* length, const void* extra);
  /// Converts a text of any scheme into one of the newest, whose texts begin with "8".
  int ConvertToV8(const char* input, char* output, unsigned int* length);
};
