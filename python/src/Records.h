// Files of messages, one message at a time.
#pragma once

#include "Codec.h"

#include <pybind11/pybind11.h>

namespace kwxml::python {

/// Adds RecordReader and RecordWriter to the module.
void addRecords(pybind11::module_& module);

}  // namespace kwxml::python
