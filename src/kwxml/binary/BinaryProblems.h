// What the binary form's reader tells an observer. Not installed.
#pragma once

#include <kwxml/model/Metadata.h>
#include <kwxml/reading/ReadObserver.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kwxml {

/// Follows one call of the reader; there is none without an observer.
class BinaryProblems
{
public:
  explicit BinaryProblems(ReadObserver& observer) : observer_(observer) {}

  /// A message is read that is the value of a field: an element of its list, or a part of an entry of its
  /// map.
  void enter(const FieldDef& field, std::uint32_t index, const char* part)
  {
    steps_.push_back({&field, index, part});
  }
  void leave() { steps_.pop_back(); }

  struct Met
  {
    const FieldDef* field = nullptr;
    const _ClassDef* owner = nullptr;
    std::string_view text{};
    std::string_view remark{};
  };
  void tell(ProblemKind kind, std::uint64_t offset, const Met& met);
  /// What ends the reading: the innermost one says why, those around it only follow.
  void tellEnd(ProblemKind kind, std::uint64_t offset, const Met& met);

private:
  struct Step
  {
    const FieldDef* field;
    std::uint32_t index;
    const char* part;  ///< of a map's entry: ".key", ".value"; null elsewhere
  };
  std::string path(const FieldDef* field) const;

  ReadObserver& observer_;
  std::vector<Step> steps_;
  bool ended_ = false;
};

/// "varint", as people are told of the code of a key.
std::string wireCodeName(std::uint32_t code);

}  // namespace kwxml
