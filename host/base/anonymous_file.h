#pragma once

#include <cstddef>
#include <string>

#include "host/base/FileDescriptor.h"

namespace zrhost {

// A new empty file without a name, to be written and read, in the folder that TMPDIR names (or /tmp): it is gone with
// its last descriptor, however the process ends. Throws HostError kInputOutput.
FileDescriptor anonymousFile();

// Writes all of it; throws HostError kInputOutput that names `what`.
void writeAll(const FileDescriptor& file, const char* bytes, std::size_t size, const std::string& what);

}  // namespace zrhost
