// Reading a whole file into memory.
//
//   tessivo::Bytes bytes;
//   std::string reason;
//   if (!tessivo::readWholeFile(path, bytes, reason)) report(path, reason);   // "No such file or directory"
//
// The file is read with read(2), never mapped: a file that another process
// shortens while it is read gives the bytes that were still there, where a
// mapping would kill the process with SIGBUS. A regular file is read up to
// the size it had when opened; other files (pipes, devices) to their end.
// Safe to call from any thread; contents may be reused across calls to keep
// its capacity.
#pragma once

#include <string>

#include "tessivo/foundation/value.h"

namespace tessivo {

// Replaces contents with the bytes of the file at path. False when the file
// cannot be opened or read, with reason set (the strerror text, or "is a
// directory"); contents then holds what was read before the failure.
bool readWholeFile(const std::string& path, Bytes& contents, std::string& reason);

}  // namespace tessivo
