// The switches of one encoding or decoding call.
#pragma once

#include <kwxml/platform/CxxStandard.h>

/// A plain record; copied into every facade and serializer.
struct EncodingFlags
{
  unsigned char switch0 = 1;           ///< carried, never interpreted
  unsigned char valuesAsElements = 0;  ///< scalar values as child elements with text instead of attributes
  /// Pretty-printed, enumerations by name, annotated numbers as dates and clock times.
  unsigned char readableForm = 0;
  int targetPasswordType = 0;           ///< an Annotation::PasswordEncryptType; 0: the field's own
  int passwordEncoderArg = -1;          ///< passed on to the password encoder
  unsigned char auxSwitchA = 0;         ///< carried, never interpreted
  unsigned char auxSwitchB = 1;         ///< carried, never interpreted
  unsigned char enumsAsNames = 0;       ///< enumerations by name also when readableForm is clear
  unsigned char maskPasswords : 1 = 0;  ///< every password is written as "*******"
  unsigned char auxSwitchC = 0;         ///< carried, never interpreted
  /// A protected password is handed to the encryption algorithm as it is, not decrypted first when its type
  /// is not the one wanted. Byte 17 of the record.
  unsigned char keepPasswordForm = 0;
  /// Floating values as the shortest text that reads back to the same bits, instead of six digits.
  unsigned char exactNumbers = 0;
};
