#include "Codec.h"

#include "Shown.h"
#include "Values.h"

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/codec/JSONDecoder.h>
#include <kwxml/codec/JSONEncoder.h>
#include <kwxml/codec/XMLDecoder.h>
#include <kwxml/codec/XMLEncoder.h>

#include <cctype>
#include <cstring>
#include <optional>
#include <span>

namespace kwxml::python {

namespace {

/// Raises a DecodeError. Its problems are in the caller's list, too. Throws PythonError.
[[noreturn]] void refuse(const Ref& error, const ReadRules& rules)
{
  if (rules.problems != nullptr) {
    const Ref problems = own(PyObject_GetAttrString(error.get(), "problems"));
    checked(PyList_SetSlice(rules.problems, PY_SSIZE_T_MAX, PY_SSIZE_T_MAX, problems.get()));
  }
  raise(error);
}

/// The bytes of a text or of an object with a buffer, such that they stay while other threads run: those of a
/// str or of bytes in place, all others as a copy.
class Input
{
public:
  Input(Form form, PyObject* data, const ReadRules& rules)
  {
    if (PyUnicode_Check(data) && form != Form::Binary) {
      const std::optional<std::string_view> utf8 = utf8IfAny(data);
      if (!utf8) {
        refuse(callSupport("lone_surrogate", "(O)", data), rules);
      }
      view_ = *utf8;
      if (view_.starts_with(byteOrderMark)) {
        view_.remove_prefix(byteOrderMark.size());
      }
      if (form == Form::Xml) {
        refuseOtherEncoding(rules);
      }
    } else if (PyBytes_Check(data)) {
      view_ = {PyBytes_AS_STRING(data), static_cast<std::size_t>(PyBytes_GET_SIZE(data))};
    } else {
      copy_ = bufferOf(data);
      if (!copy_) {
        fail(PyExc_TypeError, std::string("expected ") + (form == Form::Binary ? "bytes" : "str or bytes") +
                                  ", got " + Py_TYPE(data)->tp_name);
      }
      view_ = *copy_;
    }
  }

  std::string_view view() const { return view_; }
  /// For readers that want a zero byte behind the text. Strings, bytes and copies have one.
  TextToRead text() const
  {
    return std::memchr(view_.data(), 0, view_.size()) == nullptr ? TextToRead(view_.data())
                                                                 : TextToRead(view_);
  }

private:
  static constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

  /// A str has no encoding any more: one that its declaration names would be undone a second time. What is no
  /// declaration, or one without a name, is left to the reader.
  void refuseOtherEncoding(const ReadRules& rules) const
  {
    constexpr std::string_view begin = "<?xml";
    constexpr std::string_view blanks = " \t\r\n";
    if (!view_.starts_with(begin) || blanks.find(view_.substr(begin.size(), 1)) == std::string_view::npos) {
      return;
    }
    const std::string_view declaration = view_.substr(0, view_.find("?>"));
    const std::size_t at = declaration.find("encoding");
    const std::size_t quote = at != std::string_view::npos ? declaration.find_first_of("'\"", at) : at;
    if (quote == std::string_view::npos) {
      return;
    }
    const std::string_view rest = declaration.substr(quote + 1);
    std::string name(rest.substr(0, rest.find(declaration[quote])));
    for (char& letter : name) {
      letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    }
    if (!name.empty() && name != "utf-8" && name != "utf8" && name != "us-ascii" && name != "ascii") {
      refuse(callSupport("other_encoding", "(NN)", python::text(declaration.substr(0, quote + 1)).release(),
                         python::text(name).release()),
             rules);
    }
  }

  std::string_view view_;
  std::optional<std::string> copy_;
};

std::unique_ptr<YMMessageBase> decode(Form form, const Input& input, KwXMLContextInfo& context,
                                      Problems& problems)
{
  switch (form) {
    case Form::Xml:
      return XMLDecoder().unSerialize(input.text(), owned, &context, &problems);
    case Form::Json:
      return JSONDecoder(&context).unSerialize(input.view(), &problems);
    case Form::Binary:
      break;
  }
  BinaryBuffer buffer(std::as_bytes(std::span(input.view())));
  return BinarySerializer::unserialize(buffer, owned, &context, &problems);
}

Ref problemObject(const Problems::Entry& entry)
{
  return callSupport("Problem", "(ssKKKNN)", nameOf(entry.kind),
                     severityOf(entry.kind) == Severity::Error ? "error" : "warning", entry.place.line,
                     entry.place.column, entry.place.offset, text(entry.path).release(),
                     text(entry.text).release());
}

PyObject* readOf(PyObject* type, Form form, PyObject* arguments, PyObject* keywords) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    const ClassInfo* const cls = Catalogue::ofType(reinterpret_cast<PyTypeObject*>(type));
    if (cls == nullptr) {
      fail(PyExc_TypeError,
           "kwxml.Message is no class of a catalogue; a catalogue reads messages of any class");
    }
    return readCall(*cls->catalogue, cls, form, arguments, keywords);
  });
}

void refuseLost(const ClassInfo& cls, int lost, bool lenient)
{
  if (lost > 0 && !lenient) {
    fail(supported("EncodeError").get(),
         cls.name + ": " + std::to_string(lost) + (lost == 1 ? " value" : " values") +
             " cannot be written (a password that nothing protects, or a text that is no UTF-8); "
             "kwxml.log_to_standard_error() shows which");
  }
}

[[noreturn]] void failEncoding(const ClassInfo& cls, const char* form)
{
  fail(supported("EncodeError").get(), cls.name + ": the message cannot be written as " + form +
                                           " (it nests too deep, or is too large); "
                                           "kwxml.log_to_standard_error() shows why");
}

/// Runs `write(lost)` without the GIL, which gives whether it succeeded.
template <class Write>
void writeOut(MessageObject& message, const char* form, bool lenient, Write write)
{
  int lost = 0;
  bool done = false;
  {
    const Writing writing(message);
    const Released released;
    const UsingCatalogue use(message.cls->catalogue->registry());
    done = write(lost);
  }
  if (!done) {
    failEncoding(*message.cls, form);
  }
  refuseLost(*message.cls, lost, lenient);
}

Ref textObject(const std::string& out)
{
  return own(PyUnicode_DecodeUTF8(out.data(), static_cast<Py_ssize_t>(out.size()), nullptr));
}

/// Raises EncodeError where the written message does not read as it was.
void checkKept(MessageObject& message, Form form, PyObject* written)
{
  const Ref back = read(*message.cls->catalogue, form, written, {.lenient = true}, message.cls);
  const Ref lost = differences(*message.message, *asMessage(back.get()).message);
  if (PyList_GET_SIZE(lost.get()) > 0) {
    raise(callSupport("not_kept", "(sO)", message.cls->name.c_str(), lost.get()));
  }
}

}  // namespace

void judge(const Problems& problems, const ReadRules& rules, bool none)
{
  const bool failed =
      none || (rules.strict && !problems.empty()) || (!rules.lenient && problems.count(Severity::Error) > 0);
  if (problems.empty() && !failed) {
    return;
  }
  const Ref all = own(PyList_New(0));
  for (const Problems::Entry& entry : problems.entries()) {
    const Ref one = problemObject(entry);
    checked(PyList_Append(all.get(), one.get()));
    if (rules.problems != nullptr) {
      checked(PyList_Append(rules.problems, one.get()));
    }
  }
  if (failed) {
    raise(callSupport("decode_error", "(OnO)", all.get(), static_cast<Py_ssize_t>(problems.more()),
                      rules.strict ? Py_True : Py_False));
  }
}

Ref read(Catalogue& catalogue, Form form, PyObject* data, const ReadRules& rules, const ClassInfo* expected)
{
  const Input input(form, data, rules);
  KwXMLContextInfo context;
  context.setMemoryLimit(rules.memoryLimit);
  Problems problems(rules.problems != nullptr ? 1000 : Problems::usualMost);
  std::unique_ptr<YMMessageBase> message;
  {
    const Released released;
    const UsingCatalogue use(catalogue.registry());
    message = decode(form, input, context, problems);
  }
  judge(problems, rules, message == nullptr);
  // The library takes the name of an enumeration for that of a message without fields.
  const _ClassDef* const cls = message->getClass();
  if (cls == nullptr || cls->isEnum() || (expected != nullptr && cls != expected->def)) {
    const std::string wanted = expected != nullptr ? expected->tagName() : "message";
    refuse(callSupport("other_class", "(ss)", wanted.c_str(), message->getTagName().c_str()), rules);
  }
  return wrap(catalogue, std::move(message));
}

namespace {

/// A number of bytes, for PyArg_ParseTupleAndKeywords().
int takeLimit(PyObject* value, void* limit)
{
  *static_cast<unsigned long long*>(limit) = PyLong_AsUnsignedLongLong(value);
  return PyErr_Occurred() == nullptr ? 1 : 0;
}

}  // namespace

PyObject* readCall(Catalogue& catalogue, const ClassInfo* expected, Form form, PyObject* arguments,
                   PyObject* keywords)
{
  static const char* const names[] = {"data", "lenient", "strict", "problems", "memory_limit", nullptr};
  PyObject* data = nullptr;
  int lenient = 0;
  int strict = 0;
  PyObject* problems = Py_None;
  ReadRules rules;
  if (PyArg_ParseTupleAndKeywords(arguments, keywords, "O|$ppOO&", const_cast<char**>(names), &data, &lenient,
                                  &strict, &problems, takeLimit, &rules.memoryLimit) == 0) {
    throw PythonError();
  }
  if (problems != Py_None && !PyList_Check(problems)) {
    fail(PyExc_TypeError, std::string("problems is a list, not ") + Py_TYPE(problems)->tp_name);
  }
  if (lenient != 0 && strict != 0) {
    fail(PyExc_ValueError, "reading is lenient or strict, not both");
  }
  rules.lenient = lenient != 0;
  rules.strict = strict != 0;
  rules.problems = problems != Py_None ? problems : nullptr;
  return read(catalogue, form, data, rules, expected).release();
}

PyObject* fromXml(PyObject* type, PyObject* arguments, PyObject* keywords) noexcept
{
  return readOf(type, Form::Xml, arguments, keywords);
}

PyObject* fromJson(PyObject* type, PyObject* arguments, PyObject* keywords) noexcept
{
  return readOf(type, Form::Json, arguments, keywords);
}

PyObject* fromBytes(PyObject* type, PyObject* arguments, PyObject* keywords) noexcept
{
  return readOf(type, Form::Binary, arguments, keywords);
}

PyObject* toXml(PyObject* self, PyObject* arguments, PyObject* keywords) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    static const char* const names[] = {"declaration",    "elements", "readable", "enum_names", "exact",
                                        "mask_passwords", "check",    "lenient",  nullptr};
    int declaration = 1;
    int elements = 0;
    int readable = 0;
    int enumNames = 0;
    int exact = 1;
    int mask = 0;
    int check = 0;
    int lenient = 0;
    if (PyArg_ParseTupleAndKeywords(arguments, keywords, "|$pppppppp:to_xml", const_cast<char**>(names),
                                    &declaration, &elements, &readable, &enumNames, &exact, &mask, &check,
                                    &lenient) == 0) {
      throw PythonError();
    }
    EncodingFlags flags;
    flags.valuesAsElements = elements != 0;
    flags.readableForm = readable != 0;
    flags.enumsAsNames = enumNames != 0;
    flags.exactNumbers = exact != 0;
    flags.maskPasswords = mask != 0;
    MessageObject& message = asMessage(self);
    std::string out;
    writeOut(message, "XML", lenient != 0, [&](int& lost) {
      return XMLEncoder(flags).serialize(*message.message, out, declaration == 0, &lost) == 0;
    });
    Ref written = textObject(out);
    if (check != 0) {
      checkKept(message, Form::Xml, written.get());
    }
    return written.release();
  });
}

PyObject* toJson(PyObject* self, PyObject* arguments, PyObject* keywords) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    static const char* const names[] = {"readable", "mask_passwords", "lenient", nullptr};
    int readable = 0;
    int mask = 0;
    int lenient = 0;
    if (PyArg_ParseTupleAndKeywords(arguments, keywords, "|$ppp:to_json", const_cast<char**>(names),
                                    &readable, &mask, &lenient) == 0) {
      throw PythonError();
    }
    EncodingFlags flags;
    flags.readableForm = readable != 0;
    flags.maskPasswords = mask != 0;
    MessageObject& message = asMessage(self);
    std::string out;
    writeOut(message, "JSON", lenient != 0,
             [&](int& lost) { return JSONEncoder(flags).serialize(*message.message, out, &lost) == 0; });
    return textObject(out).release();
  });
}

PyObject* toBytes(PyObject* self, PyObject* arguments, PyObject* keywords) noexcept
{
  return guarded(static_cast<PyObject*>(nullptr), [&] {
    static const char* const names[] = {"check", "lenient", nullptr};
    int check = 0;
    int lenient = 0;
    if (PyArg_ParseTupleAndKeywords(arguments, keywords, "|$pp:to_bytes", const_cast<char**>(names), &check,
                                    &lenient) == 0) {
      throw PythonError();
    }
    MessageObject& message = asMessage(self);
    BinaryBuffer out;
    writeOut(message, "bytes", lenient != 0, [&](int& lost) {
      BinarySerializerParameters parameters;
      parameters.lost = &lost;
      return BinarySerializer::serialize(*message.message, out, 2, &parameters) != 0;
    });
    Ref bytes = own(PyBytes_FromStringAndSize(out.data(), static_cast<Py_ssize_t>(out.length())));
    if (check != 0) {
      checkKept(message, Form::Binary, bytes.get());
    }
    return bytes.release();
  });
}

}  // namespace kwxml::python
