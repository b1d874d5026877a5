#include <kwxml/traverse/FirstTexts.h>

#include <kwxml/annotation/PasswordFields.h>
#include <kwxml/traverse/PageText.h>
#include <kwxml/traverse/PageWalk.h>

#include <vector>

namespace kwxml {

namespace {

constexpr std::size_t mostTexts = 3;
constexpr std::size_t textLimit = 60;
constexpr int searchDepth = 3;

/// Texts of the message itself come before those of what it holds, of which the first ones are looked at.
void collectTexts(const YMMessageBase& message, int depth, std::vector<std::string>& texts)
{
  const _ClassDef* const cls = message.getClass();
  if (cls == nullptr) {
    return;
  }
  const auto forEach = [&](FieldDataType type, auto visit) {
    for (const FieldDef& def : *cls) {
      if (texts.size() < mostTexts && def.type == type && !isSecret(def) && isShown(message, def)) {
        visit(def);
      }
    }
  };
  forEach(FIELD_STRING, [&](const FieldDef& def) {
    const auto& text = MessageAccess::inPlace<std::string>(message, def.slot);
    if (!text.empty()) {
      appendCutLine(texts.emplace_back(), text, textLimit);
    }
  });
  if (depth == searchDepth) {
    return;
  }
  forEach(FIELD_LIST_OBJECT, [&](const FieldDef& def) {
    const auto* list = MessageAccess::pointer<std::vector<YMMessageBase>>(message, def.slot);
    if (list != nullptr && !list->empty()) {
      collectTexts(list->front(), depth + 1, texts);
    }
  });
  forEach(FIELD_OBJECT, [&](const FieldDef& def) {
    const auto* object = MessageAccess::pointer<YMMessageBase>(message, def.slot);
    if (object != nullptr) {
      collectTexts(*object, depth + 1, texts);
    }
  });
}

}  // namespace

std::string firstTexts(const YMMessageBase& message)
{
  std::vector<std::string> texts;
  collectTexts(message, 0, texts);
  std::string line;
  for (const std::string& text : texts) {
    line += (line.empty() ? "<q>" : " <q>") + text + "</q>";
  }
  return line;
}

}  // namespace kwxml
