#pragma once

#include <QSize>
#include <string>
#include <vector>

namespace kivra::benchmarks {

/// What one measurement is of. The benchmark's name contains all three fields, see nameOf().
struct Subject
{
    /// The operation, e.g. "posterise" or "frame: Texte".
    std::string operation;
    /// "product", "reference", or "copy" for the yardstick, a one-thread memcpy of the picture.
    std::string side;
    QSize size;
};

std::string nameOf(const Subject &subject);
/// The subject of a name that nameOf() made.
Subject subjectOf(const std::string &name);

/// Registers every measurement of the program with the benchmark library. Returns them in the order
/// of the table.
std::vector<Subject> registerAll();

} // namespace kivra::benchmarks
