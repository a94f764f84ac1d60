#pragma once

#include <QByteArray>
#include <QStringList>

namespace kivra {

/// Which parts of the confinement hold in this process. Each is independent of the others.
struct Confinement
{
    int fileRules = 0;        ///< version of Landlock, 0 where the kernel has none
    bool systemCalls = false; ///< the filter
    bool privileges = false;  ///< none can be gained by running a program
    bool secrecy = false;     ///< no other process of the user can look inside, no core is written
    bool memory = false;      ///< limit of address space
    bool files = false;       ///< limits of the number and the size of files
    bool firstToGo = false;   ///< when the machine is short of memory
};

/// Gives up everything that decoding does not need, for good, and for threads that start later.
/// Call it while there is only one thread, after plug-ins are loaded.
Confinement confine();

/// A line for each part, for people.
QByteArray inWords(const Confinement &confinement);

/// \name Parts that have a source file of their own.
/// @{

/// From now on, files can only be opened for reading, and only \a paths and what lies
/// below them. Returns the version of Landlock, 0 if there is none or it refuses.
int allowReadingOf(const QStringList &paths);
/// Where libraries, plug-ins, fonts, their configuration and caches lie: folders and files, some of
/// which may not exist.
QStringList pathsToRead();
/// Makes all system calls fail except those that decoding needs. False if the kernel cannot do
/// that.
bool filterSystemCalls();

/// @}

} // namespace kivra
