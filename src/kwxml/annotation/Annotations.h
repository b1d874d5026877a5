// The annotations that schemas attach to fields and enumerators, as objects to be filled from the catalogue's
// records (XMLDecoder::FillAnnotation and its kin).
//
// An object is made empty and filled once or more. Each filling replaces all members; a filling that fails
// changes nothing. Objects are values with copies of the catalogue's texts. An object belongs to one thread
// at a time.
#pragma once

#include <kwxml/annotation/AnnotationKinds.h>
#include <kwxml/platform/Export.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What annotations of all kinds have in common: the kind, and the members that the schema gives.
class KWXML_API AnnotationBase
{
public:
  /// Name and value of each member, UTF-8, in the schema's order.
  using Members = std::vector<std::pair<std::string, std::string>>;

  virtual ~AnnotationBase();

  /// The kind's name, such as "CommandParam"; a constant.
  const char* getName() const noexcept { return kind_; }
  /// The identifier of the kind, which XMLDecoder::FillAnnotationIds gives and for which serialization
  /// listeners register.
  unsigned long getTagID() const noexcept { return kwxml::annotationTag(kind_); }

  /// The members of the last successful filling, owned by this object.
  const Members& members() const noexcept { return members_; }
  /// The value of a member, owned by this object; null when the schema does not give the member.
  const std::string* findMember(std::string_view name) const noexcept;

  /// Takes the members as an annotation record holds them (AnnotationRecord.h). False, with the object
  /// unchanged, when the members are cut short or a value does not fit its member's type.
  [[nodiscard]] bool fill(std::string_view encodedMembers);

protected:
  /// An object without members. `kind` is a constant that outlives the object.
  explicit AnnotationBase(const char* kind) noexcept : kind_(kind) {}
  AnnotationBase(const AnnotationBase&) = default;
  AnnotationBase& operator=(const AnnotationBase&) = default;

  /// Takes the values of the derived class's own members out of those of the schema; called by fill(). False,
  /// with the object unchanged, when a value does not fit. The base class takes nothing and returns true.
  virtual bool take(const Members& members);

private:
  const char* kind_;
  Members members_;
};

namespace Annotation {

/// The field is a parameter of a command.
class KWXML_API CommandParam : public AnnotationBase
{
public:
  /// Without members.
  CommandParam() noexcept : AnnotationBase("CommandParam") {}
  /// Whether an unset field takes its default value; empty when the schema does not say. Written "true",
  /// "false", "1" or "0".
  std::optional<bool> useDefault;

protected:
  bool take(const Members& members) override;
};

/// A text for people, shown in place of the name.
class KWXML_API Text : public AnnotationBase
{
public:
  /// With an empty text.
  Text() noexcept : AnnotationBase("Text") {}
  /// The text, UTF-8; empty when the schema gives none.
  std::string text;

protected:
  bool take(const Members& members) override;
};

/// The field is not shown in summaries.
class Suppress : public AnnotationBase
{
public:
  /// Without members.
  Suppress() noexcept : AnnotationBase("Suppress") {}
};

/// The field is not shown in summaries and reports.
class HideInReports : public AnnotationBase
{
public:
  /// Without members.
  HideInReports() noexcept : AnnotationBase("HideInReports") {}
};

/// The field is secret and not shown in summaries. How a password field is protected in encodings is said
/// elsewhere: by AnnotationRecord::passwordType().
class Password : public AnnotationBase
{
public:
  /// Without members.
  Password() noexcept : AnnotationBase("Password") {}
};

/// The value of the field exists once, also where the field lies in an element of a list.
class SingleInstanced : public AnnotationBase
{
public:
  /// Without members.
  SingleInstanced() noexcept : AnnotationBase("SingleInstanced") {}
};

/// How the field is searched for. members() are as the schema gives them.
class SearchCriteriaDef : public AnnotationBase
{
public:
  /// Without members.
  SearchCriteriaDef() noexcept : AnnotationBase("SearchCriteriaDef") {}
};

/// The procedure of a database that serves the field. members() are as the schema gives them.
class StoredProcedure : public AnnotationBase
{
public:
  /// Without members.
  StoredProcedure() noexcept : AnnotationBase("StoredProcedure") {}
};

}  // namespace Annotation
