#include "Records.h"

#include <kwxml/annotation/KwXMLContextInfo.h>
#include <kwxml/binary/BinarySerializer.h>
#include <kwxml/binary/RecordScan.h>
#include <kwxml/binary/YMMessageBaseFileHandler.h>
#include <kwxml/platform/CYxFile.h>

#include <optional>
#include <utility>

namespace py = pybind11;

namespace kwxml::python {

namespace {

/// Runs C++ of this module under pybind11, which has its own exception for a Python one that is set.
template <class Work>
auto bound(Work work) -> decltype(work())
{
  try {
    return work();
  } catch (const PythonError&) {
    throw py::error_already_set();
  }
}

[[noreturn]] void failFile(const CYxError& error, const std::string& path)
{
  const Ref arguments = own(Py_BuildValue("(isN)", error.GetCode(), error.AsString(), text(path).release()));
  PyErr_SetObject(PyExc_OSError, arguments.get());
  throw PythonError();
}

/// Says that an object is in use by one thread at a time.
class Turn
{
public:
  Turn(bool& taken, const char* what) : taken_(taken)
  {
    if (taken) {
      fail(supported("BusyError").get(), std::string("another thread uses the ") + what);
    }
    taken = true;
  }
  ~Turn() { taken_ = false; }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

private:
  bool& taken_;
};

RecordLayout layoutNamed(const py::object& name)
{
  const bool isText = PyUnicode_Check(name.ptr());
  const std::optional<std::string_view> known = isText ? utf8IfAny(name.ptr()) : std::nullopt;
  if (known != "records" && known != "batch") {
    PyErr_Format(isText ? PyExc_ValueError : PyExc_TypeError,
                 "the layout of a file is 'records' or 'batch', not %A", name.ptr());
    throw PythonError();
  }
  return known == "records" ? RecordLayout::Single : RecordLayout::Batch;
}

/// The path, which a file system would read up to its first zero byte alone.
std::string whole(std::string path)
{
  if (path.find('\0') != std::string::npos) {
    fail(PyExc_ValueError, "a path holds no zero byte");
  }
  return path;
}

/// May wait: for the other end of a pipe, perhaps.
void open(CYxFile& file, const std::string& path, CYxFile::Mode mode)
{
  CYxError error;
  bool isOpen = false;
  {
    const Released released;
    isOpen = file.Open(path.c_str(), mode, &error);
  }
  if (!isOpen) {
    failFile(error, path);
  }
}

/// The layout that a file which is not empty begins with.
std::optional<RecordLayout> layoutOf(CYxFile& file, const std::string& path)
{
  char head[12];
  CYxError error;
  const long long size = file.Size(&error);
  const long long read = size >= 0 ? file.Read(head, sizeof head, &error) : -1;
  if (read < 0 || file.Seek(0, CYxFile::Origin::Begin, &error) < 0) {
    failFile(error, path);
  }
  return recordLayout({head, static_cast<std::size_t>(read)}, static_cast<std::uint64_t>(size));
}

class RecordReader
{
public:
  RecordReader(const py::object& catalogue, std::string path, const py::object& layout, bool lenient,
               bool strict, const py::object& problems, unsigned long long memoryLimit)
      : owner_(catalogue),
        catalogue_(catalogueOf(catalogue.ptr())),
        path_(whole(std::move(path))),
        list_(problems)
  {
    if (lenient && strict) {
      fail(PyExc_ValueError, "reading is lenient or strict, not both");
    }
    if (!problems.is_none() && !PyList_Check(problems.ptr())) {
      fail(PyExc_TypeError, std::string("problems is a list, not ") + Py_TYPE(problems.ptr())->tp_name);
    }
    rules_ = {
        .lenient = lenient, .strict = strict, .problems = problems.is_none() ? nullptr : problems.ptr()};
    context_.setMemoryLimit(memoryLimit);
    open(file_, path_, CYxFile::Mode::Read);
    if (!layout.is_none()) {
      layout_ = layoutNamed(layout);
    } else {
      guessLayout();
    }
    handler_.setFile(&file_);
    handler_.setContext(&context_);
    handler_.setObserver(&problems_);
  }

  /// The next message; null at the end.
  Ref next()
  {
    const Turn turn(taken_, "reader");
    if (!file_.IsValid()) {
      fail(PyExc_ValueError, path_ + ": the file is closed");
    }
    if (!layout_) {
      return nullptr;
    }
    problems_.clear();
    offset_ = static_cast<unsigned long long>(std::max(0LL, file_.Tell()));
    std::unique_ptr<YMMessageBase> message;
    int result = 0;
    {
      const Released released;
      const UsingCatalogue use(catalogue_.registry());
      result = *layout_ == RecordLayout::Single ? handler_.GetObjectFromFile(message) : nextOfBatch(message);
    }
    if (result != YMMessageBaseFileHandler::Success) {
      layout_.reset();  // nothing more can be read
      if (result == atEnd) {
        return nullptr;
      }
      failRecord(reason(result));
    }
    if (message == nullptr && problems_.empty()) {
      failRecord("the record holds no message");
    }
    judge(problems_, rules_, message == nullptr);
    if (message->getClass() == nullptr || message->getClass()->isEnum()) {
      failRecord("the record holds no message, but an enumeration's name");
    }
    return wrap(catalogue_, std::move(message));
  }

  unsigned long long offset() const { return offset_; }
  void close()
  {
    const Turn turn(taken_, "reader");
    (void)file_.Close();  // nothing was written
  }

private:
  static constexpr int atEnd = YMMessageBaseFileHandler::NothingMore;
  static constexpr int badLength = -1;

  void guessLayout()
  {
    CYxError error;
    const long long size = file_.Size(&error);
    if (size < 0) {
      failFile(error, path_);
    }
    if (size == 0) {
      return;  // no record
    }
    layout_ = layoutOf(file_, path_);
    if (!layout_) {
      failRecord("the file holds neither records nor a batch");
    }
  }

  int nextOfBatch(std::unique_ptr<YMMessageBase>& message)
  {
    if (file_.IsEOF() && file_.Tell() > 0) {
      return atEnd;
    }
    std::vector<std::unique_ptr<YMMessageBase>> messages;
    const bool atBegin = file_.Tell() == 0;
    const int result = handler_.readBinaryBufferFromFile(messages, 1);
    if (!messages.empty()) {
      message = std::move(messages.front());
    }
    if (result == atEnd) {
      constexpr long long versionSize = 4;
      return atBegin && file_.Size() == versionSize ? atEnd : badLength;
    }
    return result;
  }

  static const char* reason(int result)
  {
    switch (result) {
      case YMMessageBaseFileHandler::UnknownVersion:
        return "the file does not begin with the version of a batch";
      case YMMessageBaseFileHandler::NoMemory:
        return "there is no memory for the record";
      case YMMessageBaseFileHandler::ReadFailed:
        return "the file ends within the record, or cannot be read";
      case badLength:
        return "the length of the record cannot be read";
      default:
        return "the record cannot be read";
    }
  }

  [[noreturn]] void failRecord(const std::string& why) const
  {
    raise(callSupport("record_error", "(NsK)", text(path_).release(), why.c_str(), offset_));
  }

  py::object owner_;
  Catalogue& catalogue_;
  std::string path_;
  py::object list_;
  ReadRules rules_;
  KwXMLContextInfo context_;
  Problems problems_;
  CYxFile file_;
  YMMessageBaseFileHandler handler_;
  std::optional<RecordLayout> layout_;
  unsigned long long offset_ = 0;
  bool taken_ = false;
};

class RecordWriter
{
public:
  RecordWriter(std::string path, const py::object& layout, bool append, bool durable)
      : path_(whole(std::move(path))), layout_(layoutNamed(layout))
  {
    open(file_, path_, append ? CYxFile::Mode::Update : CYxFile::Mode::Truncate);
    handler_.setFile(&file_);
    handler_.setDurable(durable);
    if (!append || file_.Size() == 0) {
      return;
    }
    // Of a file that ends within its first record nothing is known but that.
    if (const auto found = layoutOf(file_, path_); found.has_value() && found != layout_) {
      fail(PyExc_ValueError, path_ + ": the file is " +
                                 (*found == RecordLayout::Batch ? "a batch" : "one of records") +
                                 ": nothing is appended in the other layout");
    }
    bool isWhole = false;
    {
      const Released released;
      isWhole = handler_.cutTornTail(cut_) == YMMessageBaseFileHandler::Success;
    }
    if (!isWhole) {
      fail(supported("EncodeError").get(), path_ + ": the file is damaged: nothing is appended");
    }
  }

  void write(PyObject* object)
  {
    const Turn turn(taken_, "writer");
    if (!file_.IsValid()) {
      fail(PyExc_ValueError, path_ + ": the file is closed");
    }
    if (!isMessage(object)) {
      fail(PyExc_TypeError, std::string("expected a message, got ") + Py_TYPE(object)->tp_name);
    }
    MessageObject& message = asMessage(object);
    // What is not in the record is known before it is in the file.
    // By the type's own name: a field may be named like the method.
    const Ref bytes =
        own(PyObject_CallMethod(reinterpret_cast<PyObject*>(support.messageType), "to_bytes", "O", object));
    constexpr Py_ssize_t mostOfBatch = 9999;  // four digits say its length
    if (layout_ == RecordLayout::Batch && PyBytes_GET_SIZE(bytes.get()) > mostOfBatch) {
      fail(supported("EncodeError").get(), message.cls->name + ": " +
                                               std::to_string(PyBytes_GET_SIZE(bytes.get())) +
                                               " bytes; a batch holds messages of up to 9999");
    }
    int result = 0;
    {
      const Writing writing(message);
      const Released released;
      const UsingCatalogue use(message.cls->catalogue->registry());
      result = layout_ == RecordLayout::Single ? handler_.AddObjectToFile(*message.message)
                                               : append(*message.message);
    }
    if (result != YMMessageBaseFileHandler::Success) {
      fail(PyExc_OSError, path_ + ": the record cannot be written");
    }
  }

  unsigned long long cut() const { return cut_; }
  void close()
  {
    const Turn turn(taken_, "writer");
    CYxError error;
    if (!file_.Close(&error)) {
      failFile(error, path_);
    }
  }

private:
  int append(const YMMessageBase& message)
  {
    if (file_.Seek(0) < 0) {
      return YMMessageBaseFileHandler::WriteFailed;
    }
    const YMMessageBase* const one[] = {&message};
    return handler_.appendBinaryBufferToFile(one);
  }

  std::string path_;
  RecordLayout layout_;
  CYxFile file_;
  YMMessageBaseFileHandler handler_;
  std::uint64_t cut_ = 0;
  bool taken_ = false;
};

}  // namespace

void addRecords(py::module_& module)
{
  py::class_<RecordReader>(module, "RecordReader", py::is_final(),
                           "The messages of a file, one after the other.")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__",
           [](RecordReader& self) {
             Ref message = bound([&] { return self.next(); });
             if (message == nullptr) {
               throw py::stop_iteration();
             }
             return py::reinterpret_steal<py::object>(message.release());
           })
      .def_property_readonly("offset", &RecordReader::offset, "Where the last record begins, in bytes.")
      .def("close", [](RecordReader& self) { bound([&] { self.close(); }); })
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__", [](RecordReader& self, const py::args&) { bound([&] { self.close(); }); });
  py::class_<RecordWriter>(module, "RecordWriter", py::is_final(), "Writes messages to a file.")
      .def("write",
           [](RecordWriter& self, const py::object& message) { bound([&] { self.write(message.ptr()); }); })
      .def_property_readonly("cut", &RecordWriter::cut,
                             "Bytes of a torn record that were cut off before appending.")
      .def("close", [](RecordWriter& self) { bound([&] { self.close(); }); })
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__", [](RecordWriter& self, const py::args&) { bound([&] { self.close(); }); });
  for (const char* name : {"RecordReader", "RecordWriter"}) {
    // Objects are made below alone: one without its constructor would have no memory of its own.
    auto* const type = reinterpret_cast<PyTypeObject*>(module.attr(name).ptr());
    type->tp_new = nullptr;
    seal(type);
  }
  module.def(
      "open_reader",
      [](const py::object& catalogue, const std::string& path, const py::object& layout, bool lenient,
         bool strict, const py::object& problems, unsigned long long memoryLimit) {
        return bound([&] {
          return std::make_unique<RecordReader>(catalogue, path, layout, lenient, strict, problems,
                                                memoryLimit);
        });
      },
      py::arg("catalogue"), py::arg("path"), py::kw_only(), py::arg("layout") = py::none(),
      py::arg("lenient") = false, py::arg("strict") = false, py::arg("problems") = py::none(),
      py::arg("memory_limit") = 0ULL);
  module.def(
      "open_writer",
      [](const std::string& path, const py::object& layout, bool append, bool durable) {
        return bound([&] { return std::make_unique<RecordWriter>(path, layout, append, durable); });
      },
      py::arg("path"), py::kw_only(), py::arg("layout"), py::arg("append"), py::arg("durable"));
}

}  // namespace kwxml::python
