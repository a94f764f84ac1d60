#pragma once

#include <QObject>

namespace kivra::rendu {

/// Ctrl+C, the end of the terminal and the wish that the program end, as an event. At most one
/// object at a time; needs an event loop. Signals that whoever started the program ignores stay
/// ignored. A closed pipe and a limit of a file's size become errors of the write.
class Interruption : public QObject
{
    Q_OBJECT

public:
    Interruption();
    ~Interruption() override;

    /// The number of the signal that came first; 0 as long as none came. At once, before the event.
    static int number();

signals:
    void came();
};

} // namespace kivra::rendu
