#pragma once

#include "decoding/confined/descriptor.h"
#include "decoding/picturefile.h"

namespace kivra {

/// A file that is open to be read.
struct OpenedFile
{
    Descriptor descriptor; ///< not open unless the state is that of a file
    FileState state;
};

/// Opens the file at \a path if it is a regular one of at most mostFileBytes, or a link to one.
/// Never blocks on a pipe or a device.
OpenedFile openFile(const QString &path);

} // namespace kivra
