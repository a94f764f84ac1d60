#pragma once

#include <QByteArray>
#include <QList>

namespace kivra::test {

/// Which part of the decoder's confinement prevents a deed: one of them, either of the two alone,
/// or the way in which the decoder is started.
enum class Guard { Files, SystemCalls, Either, Start };

struct Deed
{
    const char *name;
    Guard guard;
};

/// What a decoder must not be able to do.
const QList<Deed> &forbiddenDeeds();

struct Attempt
{
    enum class Outcome { Refused, Done, Unknown } outcome;
    int error; ///< errno of what was refused
};

/// Tries \a deed in this process.
Attempt attemptForbidden(const QByteArray &deed);

} // namespace kivra::test
