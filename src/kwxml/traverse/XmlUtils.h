// Localized labels of fields. There is no catalogue of translations: every label is the field's name.
#pragma once

#include <kwxml/model/Metadata.h>

#include <string>

class XmlUtils
{
public:
  /// Empties `text` and returns true: no label of its own.
  [[nodiscard]] static bool getLocalizedMessage(const FieldDef& field, std::string& text, int localeId);
  /// Leaves `text` as it is and returns true.
  [[nodiscard]] static bool getLocalizedMessage(unsigned long tag, std::string& text, int localeId);
};
