#pragma once

#include <QByteArray>

namespace kivra::test {

/// Content of a file in a format that only this test program knows, whose reader does what the file
/// says: "crash", "wait" and "work" (without end), "leave" (ends the process), or "memory" and a
/// number of MiB: takes so much, and gives a picture of one pixel if it got it.
QByteArray faultyPicture(const char *what);

} // namespace kivra::test
