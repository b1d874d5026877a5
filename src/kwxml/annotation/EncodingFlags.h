// The switches of one encoding or decoding call.
#pragma once

#include <kwxml/platform/CxxStandard.h>

/// The switches of one call. XMLEncoder, XMLDecoder and serializers copy the record that they are given.
struct EncodingFlags
{
  unsigned char switch0 = 1;           ///< carried, never interpreted
  unsigned char valuesAsElements = 0;  ///< scalar values as child elements with text instead of attributes
  /// The form for people: pretty-printed, enumerations by name, numbers that the schema says are dates or
  /// times of day as such.
  unsigned char readableForm = 0;
  int targetPasswordType = 0;           ///< an Annotation::PasswordEncryptType; 0: the field's own
  int passwordEncoderArg = -1;          ///< passed on to the password algorithms (PasswordAlgorithms.h)
  unsigned char auxSwitchA = 0;         ///< carried, never interpreted
  unsigned char auxSwitchB = 1;         ///< carried, never interpreted
  unsigned char enumsAsNames = 0;       ///< enumerations by name also when readableForm is clear
  unsigned char maskPasswords : 1 = 0;  ///< every password is written as "*******"
  unsigned char auxSwitchC = 0;         ///< carried, never interpreted
  /// A protected password is handed to the encryption algorithm as it is. Without the flag the password is
  /// decrypted first where its type is not the one wanted.
  unsigned char keepPasswordForm = 0;
  /// Floating values are written as the shortest text that reads back to the same bits, instead of six
  /// digits.
  unsigned char exactNumbers = 0;
};
