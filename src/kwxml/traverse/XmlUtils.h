// Localized labels of fields.
#pragma once

#include <kwxml/model/Metadata.h>
#include <kwxml/platform/Export.h>

#include <string>

/// Localized labels of fields. There is no catalogue of translations: every label is the field's name.
class KWXML_API XmlUtils
{
public:
  /// Makes `text` empty and returns true: the field has no label but its name.
  [[nodiscard]] static bool getLocalizedMessage(const FieldDef& field, std::string& text, int localeId);
  /// Leaves `text` as it is and returns true.
  [[nodiscard]] static bool getLocalizedMessage(unsigned long tag, std::string& text, int localeId);
};
