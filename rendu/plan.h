#pragma once

#include "rendu/options.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace kivra::rendu {

/// A picture to render, and the path of the resulting file; empty for a page of a document.
struct Job
{
    QString source;
    QString target;
};

struct Plan
{
    std::vector<Job> jobs; ///< in the order of the sources
    QStringList faults;    ///< why nothing may be written; empty when all is well
};

/// Decides which file each source becomes. It is a fault if two results have the same name, or if a
/// result would overwrite any source, under whatever path. Writes nothing.
Plan planFor(const Options &options);

} // namespace kivra::rendu
