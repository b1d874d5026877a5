#include <kwxml/model/MessageReuse.h>

void kwxml::MessageReuse::finish(YMMessageBase& message) noexcept
{
  forEachUnsetField(buffer(message), message.getClass()->fields, [&message](const FieldDef& def) {
    if (contains(scalarTypes, def.type)) {
      raw(message, def.slot) = 0;
    } else {
      dropValue(message, def, false);
    }
  });
}
