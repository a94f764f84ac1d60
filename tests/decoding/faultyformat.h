#pragma once

#include <QByteArray>

namespace kivra::test {

/// Content of a file in a format that only the tests' decoder program knows, whose reader does what
/// the file says:
///
/// - "well": a white picture of one pixel; "size W H": of so many
/// - "crash", "wait" and "work" (without end), "leave" (ends the process)
/// - "work MS": so much processor time, then a white picture
/// - "memory N": takes N MiB; a white picture if it got them
/// - "try WHAT": a picture whose width is 1 when WHAT was refused, 2 when it was done
/// (forbidden.h),
///   and 3 when nobody knows it; its height is the error's number, or 1
inline QByteArray faultyPicture(const QByteArray &what)
{
    return QByteArrayLiteral("FAULTY ") + what;
}

} // namespace kivra::test
