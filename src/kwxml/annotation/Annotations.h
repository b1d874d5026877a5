// The annotations that schemas attach to fields and enumerators, as objects to be filled from the catalogue's
// records (XMLDecoder::FillAnnotation and its kin).
//
// An object is made empty and filled once or more; each filling replaces all members, and one that fails
// changes nothing. Values with copies of the catalogue's texts; distinct objects may be used by distinct
// threads.
#pragma once

#include <kwxml/annotation/AnnotationKinds.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class AnnotationBase
{
public:
  /// Name and value of each member, UTF-8, in schema order.
  using Members = std::vector<std::pair<std::string, std::string>>;

  virtual ~AnnotationBase();

  /// The kind's name ("CommandParam"), a constant.
  const char* getName() const noexcept { return kind_; }
  /// The identifier of the kind, which XMLDecoder::FillAnnotationIds gives and for which serialization
  /// listeners register.
  unsigned long getTagID() const noexcept { return kwxml::annotationTag(kind_); }

  const Members& members() const noexcept { return members_; }
  /// The value of a member; null when the schema does not give it.
  const std::string* findMember(std::string_view name) const noexcept;

  /// Takes the members as an annotation record holds them (AnnotationRecord.h). False when they are cut short
  /// or a value is none of its member's type.
  [[nodiscard]] bool fill(std::string_view encodedMembers);

protected:
  /// `kind` is a constant that outlives the object.
  explicit AnnotationBase(const char* kind) noexcept : kind_(kind) {}
  AnnotationBase(const AnnotationBase&) = default;
  AnnotationBase& operator=(const AnnotationBase&) = default;

  /// Takes the typed members out of those of the schema. False, with the object unchanged, when a value does
  /// not fit.
  virtual bool take(const Members& members);

private:
  const char* kind_;
  Members members_;
};

namespace Annotation {

/// The field is a parameter of a command.
class CommandParam : public AnnotationBase
{
public:
  CommandParam() noexcept : AnnotationBase("CommandParam") {}
  /// Whether an unset field takes its default value; empty when the schema does not say. Written "true",
  /// "false", "1" or "0".
  std::optional<bool> useDefault;

protected:
  bool take(const Members& members) override;
};

/// A text for people, shown in place of the name.
class Text : public AnnotationBase
{
public:
  Text() noexcept : AnnotationBase("Text") {}
  std::string text;

protected:
  bool take(const Members& members) override;
};

/// The field is not shown in summaries.
class Suppress : public AnnotationBase
{
public:
  Suppress() noexcept : AnnotationBase("Suppress") {}
};

/// The field is not shown in summaries and reports.
class HideInReports : public AnnotationBase
{
public:
  HideInReports() noexcept : AnnotationBase("HideInReports") {}
};

/// The field is secret and not shown in summaries. How a password field is protected in encodings is another
/// matter: a mark of the record.
class Password : public AnnotationBase
{
public:
  Password() noexcept : AnnotationBase("Password") {}
};

/// The value of the field exists once, whatever the list around it.
class SingleInstanced : public AnnotationBase
{
public:
  SingleInstanced() noexcept : AnnotationBase("SingleInstanced") {}
};

/// How the field is searched for. Its members are those of the schema; see members().
class SearchCriteriaDef : public AnnotationBase
{
public:
  SearchCriteriaDef() noexcept : AnnotationBase("SearchCriteriaDef") {}
};

/// The procedure of a database that serves the field. Its members are those of the schema; see members().
class StoredProcedure : public AnnotationBase
{
public:
  StoredProcedure() noexcept : AnnotationBase("StoredProcedure") {}
};

}  // namespace Annotation
