#pragma once

#include <QObject>

namespace kivra::rendu {

/// Turns Ctrl+C, the end of the terminal and a request to terminate into an event. At most one
/// object at a time; needs an event loop. A signal that was ignored when the program started stays
/// ignored. Writing to a closed pipe, or beyond the limit of a file's size, fails instead of ending
/// the program.
class Interruption : public QObject
{
    Q_OBJECT

public:
    Interruption();
    ~Interruption() override;

    /// The number of the first signal; 0 if none came yet. Known at once, before the event.
    static int number();

signals:
    void came();
};

} // namespace kivra::rendu
