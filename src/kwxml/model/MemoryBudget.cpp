#include <kwxml/model/MemoryBudget.h>

#include <kwxml/model/MessageInternal.h>

namespace kwxml {

namespace {

std::uint64_t footprint(const YMMessageBase& message)
{
  if (message.getClass() == nullptr) {
    return sizeof(YMMessageBase);
  }
  const ClassPlan& plan = MessageAccess::planOf(message);
  std::uint64_t bytes = plan.footprint;
  if (plan.eager) [[unlikely]] {  // it has made its nested messages
    MessageAccess::forEachSet(message, [&](const FieldDef& def) {
      if (def.type == FIELD_OBJECT) {
        const auto* const nested = MessageAccess::pointer<YMMessageBase>(message, def.slot);
        bytes += nested != nullptr ? footprint(*nested) : 0;
      }
    });
  }
  return bytes;
}

}  // namespace

bool MemoryBudget::take(const YMMessageBase& made)
{
  taken_ += footprint(made);
  return taken_ <= limit_;
}

std::string MemoryBudget::explain() const
{
  return "the messages take " + std::to_string(taken_) + " bytes of memory or more, the limit is " +
         std::to_string(limit_) + "; KwXMLContextInfo::setMemoryLimit() raises it, and kwxml --memory-limit";
}

}  // namespace kwxml
