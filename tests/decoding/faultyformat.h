#pragma once

#include <QByteArray>

namespace kivra::test {

/// Content of a file in a format that only the tests' decoder program knows. Its reader does what
/// the file says:
///
/// - "well": a white picture of one pixel; "size W H": one of W x H
/// - "crash", "wait" and "work" (without end), "leave" (ends the process)
/// - "work MS": uses this much processor time, then gives a white picture
/// - "memory N": takes N MiB; gives a white picture if it got them
/// - "try WHAT": a picture whose width is 1 if WHAT (forbidden.h) was refused, 2 if it was done, 3
///   if nobody knows it; its height is the error's number, or 1
inline QByteArray faultyPicture(const QByteArray &what)
{
    return QByteArrayLiteral("FAULTY ") + what;
}

} // namespace kivra::test
